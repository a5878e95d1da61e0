// The window of any view: turns Qt's events into the view's records and its drawing into pixels on the
// screen.
#pragma once

#include <QAbstractScrollArea>
#include <functional>

#include "desktop/paintercanvas.h"
#include "framework/view.h"

namespace tarnvisor {

class TimelineBar;

class ViewWidget final : public QAbstractScrollArea {
 public:
  // Borrows the view, whose site it is until it goes or the view does.
  explicit ViewWidget(CView& shown, QWidget* parent = nullptr);
  ~ViewWidget() override;
  CView* view() const { return viewShown; }
  // The view has been destroyed.
  void forget();
  // The viewport when no scroll bar is needed.
  QSize largestViewport() const { return maximumViewportSize(); }
  QSize sizeHint() const override { return {640, 480}; }

  // After an event or change that commands, titles or status texts may depend on.
  std::function<void()> onTouched;
  std::function<void()> onPanesChanged;
  // The viewport should have that size.
  std::function<void(Size)> onResizeFrame;
  std::function<void(QPoint)> onContextMenu;  // in screen coordinates

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void scrollContentsBy(int dx, int dy) override;
  void focusInEvent(QFocusEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  bool viewportEvent(QEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;

 private:
  class Site final : public ViewSite {
   public:
    explicit Site(ViewWidget& owner) : widget(owner) {}
    void redraw() override;
    void redrawNow() override;
    void scrollChanged() override;
    void panesChanged() override;
    void setCursor(Cursor cursor) override;
    void captureMouse(bool on) override;
    void setFocus() override;
    void resizeFrame(Size content) override;

   private:
    ViewWidget& widget;
  };

  void touched() const;
  void showScroll();
  void showTimeline();
  void addTimeline();
  void placeTimeline();
  void tellSize();
  bool takesInput() const { return viewShown && !viewShown->isBusy(); }
  CView* viewShown;
  TimelineBar* timeline = nullptr;  // under the view of a sequence; null for other views
  bool timelineComes = false;
  Site site;
  LaidOutTexts texts;
  bool showingScroll = false;
  bool activating = false;     // the press that comes only brings the window to the front
  bool onlyActivated = false;  // that press, until its release
  QPoint wheelRest;            // eighths of a degree that make no whole step yet
};

}  // namespace tarnvisor
