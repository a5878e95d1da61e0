#include "desktop/qtprinter.h"

#include <QDir>
#include <QFile>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinterInfo>

#include "app/basicapp.h"
#include "base/files.h"
#include "desktop/paintercanvas.h"
#include "desktop/qtports.h"
#include "desktop/qttext.h"
#include "settings/profile.h"

namespace tarnvisor {

namespace {

class PageJob final : public PrintJob {
 public:
  PageJob(QPrinter& target, QPainter& borrowed) : printer(target), page(borrowed, true) {}

  Size pageSize() const override {
    const QRect area = printer.pageLayout().paintRectPixels(printer.resolution());
    return {area.width(), area.height()};
  }
  double pixelsPerInch() const override { return printer.resolution(); }
  Canvas& canvas() override { return page; }
  bool nextPage() override {
    good = good && printer.newPage();
    return good;
  }
  bool wentWell() const { return good && printer.printerState() != QPrinter::Error; }

 private:
  QPrinter& printer;
  PainterCanvas page;
  bool good = true;
};

void prepare(QPrinter& printer, const std::string& title) {
  printer.setResolution(QtPrinter::kPixelsPerInch);
  printer.setDocName(toQt(title));
  printer.setCreator("Tarnvisor");
  if (!QPrinterInfo::availablePrinters().isEmpty()) return;
  printer.setOutputFormat(QPrinter::PdfFormat);
  std::string name = withoutExtension(fileNameOf(title));
  if (name.empty()) name = "Tarnvisor";
  printer.setOutputFileName(QDir(toQt(rememberedFolder())).filePath(toQt(name + ".pdf")));
}

}  // namespace

bool QtPrinter::drawOn(QPrinter& printer, const Draw& draw) {
  QPainter painter;
  if (!painter.begin(&printer)) {
    host().messages.show(kNoSupport, Buttons::Ok, Icon::Error);
    return false;
  }
  PageJob job(printer, painter);
  {
    const WaitScope wait;
    draw(job);
  }
  const bool drawn = job.wentWell();
  if (painter.end() && drawn) return true;
  const QString file = printer.outputFileName();
  if (!file.isEmpty()) QFile::remove(file);  // half of the pages look like all of them
  host().messages.show(
      file.isEmpty() ? "The printer gave up before the last page." : fromQt(file) + " could not be written.",
      Buttons::Ok, Icon::Error);
  return false;
}

bool QtPrinter::print(const std::string& title, const Draw& draw) {
  QPrinter printer(QPrinter::HighResolution);
  prepare(printer, title);
  {
    const QtWaitCursor::Pause pause;
    QPrintDialog dialog(&printer, dialogParent());
    dialog.setWindowTitle("Print");
    if (dialog.exec() != QDialog::Accepted) return false;
  }
  const std::string file = fromQt(printer.outputFileName());
  if (const Outcome may = theApp().documents.mayOutputTo(file); !may) {
    host().messages.show(may.why(), Buttons::Ok, Icon::Error);
    return false;
  }
  return drawOn(printer, draw);
}

bool QtPrinter::preview(const std::string& title, const Draw& draw) {
  QPrinter printer(QPrinter::HighResolution);
  prepare(printer, title);
  const QtWaitCursor::Pause pause;
  QPrintPreviewDialog dialog(&printer, dialogParent());
  dialog.setWindowTitle("Print preview: " + toQt(title));
  dialog.resize(900, 700);
  QObject::connect(&dialog, &QPrintPreviewDialog::paintRequested, &dialog,
                   [&draw](QPrinter* target) { drawOn(*target, draw); });
  dialog.exec();
  return true;
}

}  // namespace tarnvisor
