#include "desktop/qthost.h"

#include <QApplication>
#include <QDesktopServices>
#include <QUrl>

#include "base/files.h"
#include "desktop/afterdialogs.h"
#include "desktop/qttext.h"

namespace tarnvisor {

void QtHost::connect(CBasicApp& application, CBasicMainFrame& mainFrame) {
  app = &application;
  frame = &mainFrame;
}

bool QtHost::createMainFrame(const std::string& title) {
  if (!app) return false;
  window = std::make_unique<MainWindow>(*app, *frame, toQt(title));
  messages.onNotice = [this](const Notice& told) { window->tell(told); };
  window->onClosed = [] { QCoreApplication::quit(); };
  return true;
}

void QtHost::showMainFrame() {
  if (window) window->showPlaced();
}

void QtHost::closeMainFrame() {
  if (window) afterDialogs(window.get(), [this] { window->close(); });
}

void QtHost::beep() { QApplication::beep(); }
bool QtHost::asksSomething() { return QApplication::activeModalWidget() != nullptr; }

void QtHost::tile() {
  if (window) window->tile();
}

void QtHost::cascade() {
  if (window) window->cascade();
}

void QtHost::refreshBars() {
  if (window) window->refreshBars();
}

void QtHost::popupMenu(int32_t menuId, Point at) {
  if (window) window->popupMenu(menuId, at);
}

bool QtHost::openWithDesktop(const std::string& path) {
  return (fileExists(path) || folderExists(path)) &&
         QDesktopServices::openUrl(QUrl::fromLocalFile(toQt(path)));
}

QtLoop::QtLoop(MessageLoop& driven, std::function<void()> onTurn) : loop(driven), told(std::move(onTurn)) {
  next.setSingleShot(true);
  next.setTimerType(Qt::PreciseTimer);
  QObject::connect(&next, &QTimer::timeout, &next, [this] { turn(); });
  // Queued, as the wake may come from another thread.
  loop.setWaker([this] {
    const auto turnSoon = [this] {
      if (!inTurn && loop.isWoken()) next.start(0);
    };
    QMetaObject::invokeMethod(&next, turnSoon, Qt::QueuedConnection);
  });
  next.start(0);
}

QtLoop::~QtLoop() { loop.setWaker(nullptr); }

void QtLoop::turn() {
  if (inTurn) return;
  if (QApplication::activeModalWidget()) return next.start(kBehindDialogMs);
  inTurn = true;
  const bool works = loop.hasPosted() || loop.untilNextTimerMs(1) == 0;
  const bool again = loop.turn();
  inTurn = false;
  if (works && told) told();
  if (loop.hasQuit()) return QCoreApplication::quit();
  next.start(again || loop.isWoken() ? 0 : loop.untilNextTimerMs(kIdleMs));
}

}  // namespace tarnvisor
