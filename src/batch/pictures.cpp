#include "batch/pictures.h"

#include <QGuiApplication>
#include <clocale>

#include "desktop/paintercanvas.h"
#include "desktop/picturefile.h"

namespace tarnvisor {

namespace {

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
