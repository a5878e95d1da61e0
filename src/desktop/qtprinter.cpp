#include "desktop/qtprinter.h"

#include <QDir>
#include <QFile>
#include <QPaintEngine>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinterInfo>
#include <algorithm>

#include "app/basicapp.h"
#include "base/files.h"
#include "desktop/paintercanvas.h"
#include "desktop/picturefile.h"
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

Outcome drawPages(QPrinter& printer, const Printer::Draw& draw) {
  QPainter painter;
  if (!painter.begin(&printer)) return Outcome::failure(QtPrinter::kNoSupport);
  PageJob job(printer, painter);
  {
    const WaitScope wait;
    draw(job);
  }
  const bool drawn = job.wentWell();
  return painter.end() && drawn ? Outcome::success()
                                : Outcome::failure("The printer gave up before the last page.");
}

// Not the preview on the screen, which draws on a picture.
bool writesPdf(const QPrinter& printer) { return printer.paintEngine()->type() == QPaintEngine::Pdf; }

// Qt says nothing of a disc that was full: only a whole file has its end.
bool isWholePdf(const std::string& path) {
  QFile file(toQt(path));
  constexpr qint64 kEnd = 64;
  return file.open(QIODevice::ReadOnly) && file.seek(std::max<qint64>(0, file.size() - kEnd)) &&
         file.readAll().contains("%%EOF");
}

// Half of the pages look like all of them: a file comes whole, or the one before stays.
Outcome drawIntoFile(QPrinter& printer, const Printer::Draw& draw) {
  const QString wanted = printer.outputFileName();
  AtomicFile file(fromQt(wanted));
  if (!file.isOpen()) return file.commit();
  file.releaseToWriterByName();
  printer.setOutputFileName(toQt(file.temporaryPath()));
  Outcome done = drawPages(printer, draw);
  printer.setOutputFileName(wanted);
  if (done && !isWholePdf(file.temporaryPath()))
    done = Outcome::failure(fromQt(wanted) + " could not be written. Is the disc full?");
  return done ? file.commit() : done;
}

Outcome mayPrintOn(const QPrinter& printer) {
  return writesPdf(printer) ? theApp().documents.mayOutputTo(fromQt(printer.outputFileName()))
                            : Outcome::success();
}

bool printChosen(QPrinter& printer, const Printer::Draw& draw) {
  const Outcome may = mayPrintOn(printer);
  if (!may) host().messages.show(may.why(), Buttons::Ok, Icon::Error);
  return may && QtPrinter::drawOn(printer, draw);
}

}  // namespace

bool QtPrinter::drawOn(QPrinter& printer, const Draw& draw) {
  const Outcome done = writesPdf(printer) ? drawIntoFile(printer, draw) : drawPages(printer, draw);
  if (!done) host().messages.show(done.why(), Buttons::Ok, Icon::Error);
  return static_cast<bool>(done);
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
  const bool isPrinted = printChosen(printer, draw);
  if (isPrinted)
    host().messages.notice({fromQt(writesPdf(printer) ? "Printed to " + printer.outputFileName()
                                                      : "Sent to " + printer.printerName())});
  return isPrinted;
}

Outcome QtPrinter::writePdf(const std::string& path, const std::string& title, const Draw& draw) {
  return writePages(path, title, draw);
}

bool QtPrinter::preview(const std::string& title, const Draw& draw) {
  QPrinter printer(QPrinter::HighResolution);
  prepare(printer, title);
  const QtWaitCursor::Pause pause;
  QPrintPreviewDialog dialog(&printer, dialogParent());
  dialog.setWindowTitle("Print preview: " + toQt(title));
  dialog.resize(900, 700);
  QObject::connect(&dialog, &QPrintPreviewDialog::paintRequested, &dialog,
                   [&draw](QPrinter* target) { printChosen(*target, draw); });
  dialog.exec();
  return true;
}

}  // namespace tarnvisor
