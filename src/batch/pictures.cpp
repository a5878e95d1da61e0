#include "batch/pictures.h"

#include <QGuiApplication>
#include <clocale>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "desktop/paintercanvas.h"
#include "desktop/picturefile.h"

namespace tarnvisor {

namespace {

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
  needFonts();
  return writePages(path, title, draw);
}

}  // namespace tarnvisor
