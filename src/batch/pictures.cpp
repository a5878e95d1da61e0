#include "batch/pictures.h"

#include <QGuiApplication>
#include <QImageWriter>
#include <QPdfWriter>
#include <clocale>

#include "base/files.h"
#include "base/text.h"
#include "desktop/paintercanvas.h"
#include "desktop/qttext.h"

namespace tarnvisor {

namespace {

// Of a view that fills whatever window it gets.
constexpr Size kPlainWindow{960, 600};
constexpr int32_t kLargestSide = 16384;
constexpr int kPixelsPerInch = 300;

// Fonts need one; it is made for the first picture and wants no display.
void needFonts() {
  if (QCoreApplication::instance()) return;
  ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
  // What it finds missing of a desktop is of no concern here.
  qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
  static int count = 1;
  static char name[] = "tarnvisor-batch";
  static char* arguments[] = {name, nullptr};
  static const QGuiApplication application(count, arguments);
  std::setlocale(LC_NUMERIC, "C");
}

class PdfJob final : public PrintJob {
 public:
  PdfJob(QPdfWriter& target, QPainter& borrowed) : writer(target), page(borrowed, true) {}
  Size pageSize() const override { return {writer.width(), writer.height()}; }
  double pixelsPerInch() const override { return kPixelsPerInch; }
  Canvas& canvas() override { return page; }
  bool nextPage() override { return writer.newPage(); }

 private:
  QPdfWriter& writer;
  PainterCanvas page;
};

}  // namespace

Outcome saveSnapshot(CView& view, const std::string& path) {
  needFonts();
  const std::string kind = lowerCase(extensionOf(path));
  if (kind.empty() || !QImageWriter::supportedImageFormats().contains(kind.c_str()))
    return Outcome::failure(path + ": pictures are written as png, jpg or bmp");
  // A table knows its size once it has measured its words.
  if (view.contentSize() == Size{}) (void)renderView(view, kPlainWindow);
  Size size = view.contentSize();
  if (size == Size{}) size = kPlainWindow;
  if (size.width > kLargestSide || size.height > kLargestSide)
    return Outcome::failure(path + ": the view is too large for a picture");
  const QImage picture = renderView(view, size);
  if (picture.isNull()) return Outcome::failure(path + ": there is not enough memory");
  AtomicFile file(path);
  if (file.isOpen()) {
    file.releaseToWriterByName();
    QImageWriter writer(toQt(file.temporaryPath()), kind.c_str());
    if (!writer.write(picture))
      return Outcome::failure(path + " could not be written: " + fromQt(writer.errorString()));
  }
  return file.commit();
}

Outcome printToPdf(const std::string& title, const Printer::Draw& draw, const std::string& path) {
  needFonts();
  AtomicFile file(path);
  if (file.isOpen()) {
    file.releaseToWriterByName();
    QPdfWriter writer(toQt(file.temporaryPath()));
    writer.setResolution(kPixelsPerInch);
    writer.setPageSize(QPageSize(QPageSize::A4));
    writer.setTitle(toQt(title));
    QPainter painter;
    if (!painter.begin(&writer)) return Outcome::failure(path + " could not be written");
    PdfJob job(writer, painter);
    draw(job);
    if (!painter.end()) return Outcome::failure(path + " could not be written");
  }
  return file.commit();
}

}  // namespace tarnvisor
