#include "desktop/documentwindows.h"

#include <QCloseEvent>
#include <QMenu>
#include <QTimer>
#include <algorithm>

#include "desktop/icons.h"
#include "desktop/qttext.h"

namespace tarnvisor {

// Closing it asks the document, which takes the window with it.
class DocumentWindows::Window final : public QMdiSubWindow {
 public:
  Window(CBasicApp& application, CDocument& shown, ViewWidget* content)
      : document(&shown), widget(content), app(application) {
    setWidget(content);
    setAttribute(Qt::WA_DeleteOnClose, false);
    setWindowIcon(documentIcon());
    // The window's own menu would share its key for closing with the File menu, and then neither works.
    for (QAction* each : systemMenu()->actions()) each->setShortcuts(QList<QKeySequence>{});
  }

  CDocument* document;  // null once it has closed
  ViewWidget* widget;

 protected:
  void closeEvent(QCloseEvent* event) override {
    event->ignore();
    // Not from within the event, which goes on after the window has gone.
    QTimer::singleShot(0, this, [this] {
      if (document) (void)app.documents.close(*document);
    });
  }

 private:
  CBasicApp& app;
};

DocumentWindows::DocumentWindows(CBasicApp& application, QMdiArea& mdiArea)
    : app(application), area(mdiArea) {
  app.documents.onChange = [this] { follow(); };
  QObject::connect(&area, &QMdiArea::subWindowActivated, &area,
                   [this](QMdiSubWindow* window) { activated(window); });
}

DocumentWindows::~DocumentWindows() {
  app.documents.onChange = nullptr;
  QObject::disconnect(&area, nullptr, &area, nullptr);
  for (Window* window : windows) delete window;
}

QMdiSubWindow* DocumentWindows::windowOf(const CDocument& document) const {
  for (Window* window : windows)
    if (window->document == &document) return window;
  return nullptr;
}

ViewWidget* DocumentWindows::widgetOf(const CDocument& document) const {
  auto* window = static_cast<Window*>(windowOf(document));
  return window ? window->widget : nullptr;
}

CView* DocumentWindows::activeView() const {
  const CDocument* active = app.documents.active();
  ViewWidget* widget = active ? widgetOf(*active) : nullptr;
  return widget ? widget->view() : nullptr;
}

void DocumentWindows::follow() {
  if (following) return;  // raising a window tells the manager, which tells here
  following = true;
  removeClosed();
  const std::vector<CDocument*> open = app.documents.documents();
  for (CDocument* document : open)
    if (!windowOf(*document) && !document->views().empty()) add(*document);
  raiseFront();
  following = false;
  refreshTitles();
  if (front == app.documents.active()) return;
  front = app.documents.active();
  if (CView* view = activeView()) view->onActivate();
  if (onFrontChanged) onFrontChanged();
}

void DocumentWindows::removeClosed() {
  const auto& open = app.documents.documents();
  std::erase_if(windows, [&](Window* window) {
    if (std::ranges::find(open, window->document) != open.end()) return false;
    window->document = nullptr;
    window->widget->forget();
    area.removeSubWindow(window);
    window->hide();
    window->deleteLater();
    return true;
  });
}

void DocumentWindows::add(CDocument& document) {
  auto* widget = new ViewWidget(*document.views().front());
  auto* window = new Window(app, document, widget);
  windows.push_back(window);
  widget->onTouched = [this] {
    if (onTouched) onTouched();
  };
  widget->onPanesChanged = [this, &document] {
    if (app.documents.active() == &document && onPanesChanged) onPanesChanged();
  };
  widget->onContextMenu = [this](QPoint at) {
    if (onContextMenu) onContextMenu(at);
  };
  widget->onResizeFrame = [this, window](Size content) { resizeFrame(*window, content); };
  const bool maximised = area.activeSubWindow() && area.activeSubWindow()->isMaximized();
  area.addSubWindow(window);
  window->resize(window->sizeHint().boundedTo(area.viewport()->size()));
  if (maximised)
    window->showMaximized();
  else
    window->show();
  if (CView* view = widget->view()) view->onUpdate();
}

void DocumentWindows::raiseFront() {
  const CDocument* active = app.documents.active();
  QMdiSubWindow* window = active ? windowOf(*active) : nullptr;
  if (window && area.activeSubWindow() != window) area.setActiveSubWindow(window);
}

// Null comes when the whole program loses the keyboard: the document stays in front.
void DocumentWindows::activated(QMdiSubWindow* subWindow) {
  if (!subWindow || following) return;
  for (Window* window : windows)
    if (window == subWindow && window->document && app.documents.active() != window->document)
      return app.documents.activate(*window->document);
}

void DocumentWindows::resizeFrame(Window& window, Size content) {
  if (window.isMaximized() || window.isMinimized()) return;
  const QSize extra = window.size() - window.widget->largestViewport();
  const QSize room = area.viewport()->size();
  const QSize wanted = (QSize(content.width, content.height) + extra).boundedTo(room);
  const QPoint at(std::clamp(window.x(), 0, room.width() - wanted.width()),
                  std::clamp(window.y(), 0, room.height() - wanted.height()));
  window.setGeometry(QRect(at, wanted));
}

void DocumentWindows::refreshTitles() {
  for (Window* window : windows) {
    if (!window->document) continue;
    const QString title = toQt(window->document->title()) + "[*]";
    if (window->windowTitle() != title) window->setWindowTitle(title);
    if (window->isWindowModified() != window->document->isModified())
      window->setWindowModified(window->document->isModified());
  }
}

}  // namespace tarnvisor
