#include "batch/pictures.h"

#include <QGuiApplication>
#include <QPdfWriter>
#include <clocale>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "base/files.h"
#include "base/text.h"
#include "desktop/paintercanvas.h"
#include "desktop/picturefile.h"
#include "desktop/qttext.h"

namespace tarnvisor {

namespace {

constexpr int kPixelsPerInch = 300;

// What Qt's application changes as it begins, which other parts of the process and programs that it starts
// have their own way.
class KeptForOthers {
 public:
  KeptForOthers() {
    for (const int category : kCategories) locales.emplace_back(std::setlocale(category, nullptr));
    if (const char* set = std::getenv(kPlatform)) platform = set;
    ::setenv(kPlatform, "offscreen", 1);
  }
  ~KeptForOthers() {
    for (size_t i = 0; i < locales.size(); ++i) std::setlocale(kCategories[i], locales[i].c_str());
    platform ? ::setenv(kPlatform, platform->c_str(), 1) : ::unsetenv(kPlatform);
  }
  KeptForOthers(const KeptForOthers&) = delete;
  KeptForOthers& operator=(const KeptForOthers&) = delete;

 private:
  static constexpr const char* kPlatform = "QT_QPA_PLATFORM";
  static constexpr int kCategories[] = {LC_NUMERIC, LC_TIME, LC_COLLATE, LC_MONETARY, LC_MESSAGES};
  std::vector<std::string> locales;
  std::optional<std::string> platform;
};

// Fonts need one; it is made for the first picture and wants no display.
void needFonts() {
  if (QCoreApplication::instance()) return;
  const KeptForOthers kept;
  // What it finds missing of a desktop is of no concern here.
  qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
  static int count = 1;
  static char name[] = "tarnvisor-batch";
  static char* arguments[] = {name, nullptr};
  static const QGuiApplication application(count, arguments);
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

Outcome savePicture(const std::string& path, Size size, PixelSize pixel,
                    const std::function<void(Canvas&)>& draw) {
  needFonts();
  return QtPictureWriter().write(path, size, pixel, draw);
}

Outcome saveSnapshot(CView& view, const std::string& path) {
  needFonts();
  // A table knows its size once it has measured its words.
  if (view.contentSize() == Size{}) renderView(view, kPlainWindow);
  // A chart fills whatever window it gets. A picture keeps that of the snapshot before, which it fits.
  if (view.contentSize() == view.windowSize() && !view.centresContent()) view.setWindowSize(kPlainWindow);
  Size size = view.contentSize();
  if (size == Size{}) size = kPlainWindow;
  view.setWindowSize(size);
  return savePicture(path, size, {}, [&view](Canvas& canvas) { view.draw(canvas); });
}

Outcome printToPdf(const std::string& title, const Printer::Draw& draw, const std::string& path) {
  if (!equalIgnoringCase(extensionOf(path), "pdf"))
    return Outcome::failure(path + ": pages are written as pdf");
  needFonts();
  return writeWhole(path, [&](QIODevice& file) -> QString {
    QPdfWriter writer(&file);
    writer.setResolution(kPixelsPerInch);
    writer.setPageSize(QPageSize(QPageSize::A4));
    writer.setTitle(toQt(title));
    QPainter painter;
    if (!painter.begin(&writer)) return "it can't be drawn";
    PdfJob job(writer, painter);
    draw(job);
    return painter.end() ? "" : "it can't be drawn";
  });
}

}  // namespace tarnvisor
