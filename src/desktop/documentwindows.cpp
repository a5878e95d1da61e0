#include "desktop/documentwindows.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <algorithm>
#include <tuple>

#include "desktop/afterdialogs.h"
#include "desktop/icons.h"
#include "desktop/qttext.h"
#include "exams/dbdocument.h"
#include "exams/examselection.h"
#include "framework/documenttype.h"
#include "settings/settings.h"

namespace tarnvisor {

// Closing it asks the document, which takes the window with it.
class DocumentWindows::Window final : public QMdiSubWindow {
 public:
  Window(CBasicApp& application, CDocument& shown, ViewWidget* content)
      : document(&shown), widget(content), app(application) {
    setWidget(content);
    setAttribute(Qt::WA_DeleteOnClose, false);
    setWindowIcon(documentIcon(shown.type() ? shown.type()->face().icon : "document"));
    // Its own menu's keys would contend with the program's, and then neither has them.
    for (QAction* entry : actions()) entry->setShortcut({});
  }
  // Stays in sight when docks and bars take room, and comes back to its place when they give it back.
  void stayWithin(QWidget& viewport) {
    room = &viewport;
    viewport.installEventFilter(this);
  }

  // Whose document it is; empty for nobody's, and for one that a save would make the selected exam's. Asked
  // of the database only when that changed.
  const QString& owner() {
    const auto* bound = dynamic_cast<const CdbDocument*>(document);
    const void* database = app.db.get();
    const CdbDocument::Owner of = bound ? ownerOf(*bound) : CdbDocument::Owner();
    const auto now = std::tuple(database, of.subject, of.exam, bound ? bound->pathName() : "");
    if (bound && now != ownerKey) {
      isFromElsewhere = app.db && bound->isFromElsewhere();
      ownerWords =
          toQt(isFromElsewhere ? of.subject + ", from another folder" : examWords(of.subject, of.exam));
    }
    ownerKey = now;
    return ownerWords;
  }
  static CdbDocument::Owner ownerOf(const CdbDocument& document) {
    if (!document.patientId.empty()) return {document.patientId, document.examIdOfDoc};
    const CdbDocument::Owner of = document.measuredFor();
    return isSelected(of) ? CdbDocument::Owner() : of;
  }
  static bool isSelected(const CdbDocument::Owner& of) {
    return of.subject == theExams().subjectId() && of.exam == theExams().examId();
  }
  bool isForeign() {
    owner();
    return isFromElsewhere;
  }

  CDocument* document;  // null once it has closed
  ViewWidget* widget;
  std::string section;  // of the profile that keeps its place; empty for none

 protected:
  void closeEvent(QCloseEvent* event) override {
    event->ignore();
    // Not from within the event, which goes on after the window has gone.
    afterDialogs(this, [this] {
      if (document) app.documents.close(*document);
    });
  }
  void moveEvent(QMoveEvent* event) override {
    QMdiSubWindow::moveEvent(event);
    notePlace();
  }
  void resizeEvent(QResizeEvent* event) override {
    QMdiSubWindow::resizeEvent(event);
    notePlace();
  }
  bool eventFilter(QObject* object, QEvent* event) override {
    if (room && object == room && event->type() == QEvent::Resize) fitIn(room->rect());
    return QMdiSubWindow::eventFilter(object, event);
  }

 private:
  // One that the user put over the edge is left there.
  void notePlace() {
    if (isFitting || !room || isMaximized() || isMinimized()) return;
    wanted = room->rect().contains(geometry()) ? geometry() : QRect();
  }
  void fitIn(const QRect& all) {
    if (wanted.isNull() || isMaximized() || isMinimized()) return;
    const QSize size = wanted.size().boundedTo(all.size());
    const QPoint at(std::clamp(wanted.x(), 0, all.width() - size.width()),
                    std::clamp(wanted.y(), 0, all.height() - size.height()));
    isFitting = true;
    setGeometry(QRect(at, size));
    isFitting = false;
  }
  QWidget* room = nullptr;
  QRect wanted;  // where the user left it; null where that isn't all in sight
  bool isFitting = false;
  CBasicApp& app;
  std::tuple<const void*, std::string, int32_t, std::string> ownerKey{nullptr, "", -1, ""};
  QString ownerWords;
  bool isFromElsewhere = false;
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
  // Windows of documents that closed last wait for an event loop that may not come again.
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
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

QString DocumentWindows::foreignOwner() const {
  const auto* bound = dynamic_cast<const CdbDocument*>(app.documents.active());
  auto* window = bound ? static_cast<Window*>(windowOf(*bound)) : nullptr;
  if (!window) return {};
  return Window::isSelected(Window::ownerOf(*bound)) && !window->isForeign() ? QString() : window->owner();
}

void DocumentWindows::follow() {
  if (following) return;  // raising a window tells the manager, which tells here
  following = true;
  removeClosed();
  const std::vector<CDocument*> open = app.documents.documents();
  for (CDocument* document : open)
    if (!windowOf(*document) && !document->views().empty()) add(*document);
  raiseFront();
  if (open.empty()) area.setFocus();  // else a field of a bar has it, and takes stray keys
  following = false;
  refreshTitles();
  if (front == app.documents.active()) return;
  front = app.documents.active();
  if (CView* view = activeView()) view->onActivate();
  if (onFrontChanged) onFrontChanged();
}

void DocumentWindows::removeClosed() {
  const auto& open = app.documents.documents();
  const size_t gone = std::erase_if(windows, [&](Window* window) {
    if (std::ranges::find(open, window->document) != open.end()) return false;
    storePlace(*window);
    window->document = nullptr;
    window->widget->forget();
    area.removeSubWindow(window);
    window->hide();
    window->deleteLater();
    return true;
  });
  if (gone > 0 && onGone) onGone();
}

// By the class of the view.
std::string DocumentWindows::placeSection(const CDocument& document) {
  const CView& view = *document.views().front();
  return view.keepsPlace() && document.type() ? document.type()->classes().viewName : "";
}

void DocumentWindows::storePlace(const Window& window) const {
  enum : int32_t { kNormal = 1, kMinimised = 2, kMaximised = 3 };
  if (window.section.empty()) return;
  const bool plain = !window.isMaximized() && !window.isMinimized();
  const QRect place = plain ? window.geometry() : window.normalGeometry();
  const QPoint small = window.isMinimized() ? window.pos() : QPoint(-1, -1);
  const std::pair<const char*, int32_t> keys[] = {{"showcmd", window.isMaximized()   ? kMaximised
                                                              : window.isMinimized() ? kMinimised
                                                                                     : kNormal},
                                                  {"left", place.left()},
                                                  {"top", place.top()},
                                                  {"right", place.left() + place.width()},
                                                  {"bottom", place.top() + place.height()},
                                                  {"minx", small.x()},
                                                  {"miny", small.y()},
                                                  {"maxx", -1},
                                                  {"maxy", -1}};
  for (const auto& [key, value] : keys) settings.setInt(window.section, key, value);
}

// The first of its class gets the place; others lie as windows do.
bool DocumentWindows::restorePlace(Window& window) {
  if (window.section.empty()) return false;
  for (const Window* other : windows)
    if (other != &window && other->section == window.section) return false;
  const auto at = [&](const char* key) { return settings.getInt(window.section, key, 0); };
  const int64_t width = int64_t{at("right")} - at("left"), height = int64_t{at("bottom")} - at("top");
  const QSize room = area.isVisible() ? area.viewport()->size() : QSize(4096, 4096);
  if (width < 64 || height < 64) return false;
  const QSize size(static_cast<int>(std::min<int64_t>(width, room.width())),
                   static_cast<int>(std::min<int64_t>(height, room.height())));
  window.setGeometry(QRect(QPoint(std::clamp(at("left"), 0, std::max(0, room.width() - size.width())),
                                  std::clamp(at("top"), 0, std::max(0, room.height() - size.height()))),
                           size));
  return true;
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
  window->stayWithin(*area.viewport());
  window->section = placeSection(document);
  // Before the main window is shown nothing tells how much room there will be.
  const QSize wanted = window->sizeHint();
  if (!restorePlace(*window))
    window->resize(area.isVisible() ? wanted.boundedTo(area.viewport()->size()) : wanted);
  if (maximised)
    window->showMaximized();
  else
    window->show();
  if (CView* view = widget->view()) view->onUpdate(CView::Change::All);
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
    const QString& owner = window->owner();
    const QString title = toQt(window->document->title()) + (owner.isEmpty() ? "" : " - " + owner) + "[*]";
    if (window->windowTitle() != title) window->setWindowTitle(title);
    if (window->isWindowModified() != window->document->isModified())
      window->setWindowModified(window->document->isModified());
  }
}

}  // namespace tarnvisor
