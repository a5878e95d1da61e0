// The windows of the open documents, one a document: follows the document manager and shows each document's
// first view. The manager and the documents know nothing of it.
#pragma once

#include <QMdiArea>
#include <QMdiSubWindow>
#include <functional>
#include <vector>

#include "app/basicapp.h"
#include "desktop/viewwidget.h"

namespace tarnvisor {

class DocumentWindows {
 public:
  // Borrows both. Every document that is opened from now on gets a window.
  DocumentWindows(CBasicApp& application, QMdiArea& mdiArea);
  ~DocumentWindows();
  DocumentWindows(const DocumentWindows&) = delete;
  DocumentWindows& operator=(const DocumentWindows&) = delete;

  // Makes, takes away and raises windows as the manager's documents now are.
  void follow();
  // Titles with their mark of a changed document.
  void refreshTitles();
  ViewWidget* widgetOf(const CDocument& document) const;  // null when it has none
  QMdiSubWindow* windowOf(const CDocument& document) const;
  CView* activeView() const;
  // The subject and site of the document in front, where it belongs to another exam than the selected one;
  // otherwise empty.
  QString foreignOwner() const;

  std::function<void()> onTouched;       // see ViewWidget
  std::function<void()> onPanesChanged;  // of the document in front
  std::function<void()> onGone;          // documents went with their views
  std::function<void()> onFrontChanged;  // another document is in front, or none
  std::function<void(QPoint)> onContextMenu;

 private:
  class Window;
  void add(CDocument& document);
  void removeClosed();
  static std::string placeSection(const CDocument& document);
  void storePlace(const Window& window) const;
  bool restorePlace(Window& window);
  void raiseFront();
  void resizeFrame(Window& window, Size content);
  void activated(QMdiSubWindow* subWindow);
  CBasicApp& app;
  QMdiArea& area;
  std::vector<Window*> windows;
  const CDocument* front = nullptr;  // for comparison only
  bool following = false;
};

}  // namespace tarnvisor
