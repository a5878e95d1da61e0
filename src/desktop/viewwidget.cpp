#include "desktop/viewwidget.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <QTimer>
#include <QWheelEvent>
#include <algorithm>
#include <utility>

#include "desktop/paintercanvas.h"
#include "desktop/timelinebar.h"
#include "framework/document.h"

namespace tarnvisor {

namespace {

constexpr int kWheelStep = 120;  // eighths of a degree

MouseButton buttonOf(Qt::MouseButton button) {
  switch (button) {
    case Qt::LeftButton:
      return MouseButton::Left;
    case Qt::MiddleButton:
      return MouseButton::Middle;
    case Qt::RightButton:
      return MouseButton::Right;
    default:
      return MouseButton::None;
  }
}

MouseButton heldButton(Qt::MouseButtons buttons) {
  for (const Qt::MouseButton button : {Qt::LeftButton, Qt::MiddleButton, Qt::RightButton})
    if (buttons & button) return buttonOf(button);
  return MouseButton::None;
}

MouseEvent record(const QMouseEvent& event, MouseButton button) {
  const QPoint at = event.position().toPoint();
  const Qt::KeyboardModifiers keys = event.modifiers();
  return {{at.x(), at.y()}, button, keys.testFlag(Qt::ShiftModifier), keys.testFlag(Qt::ControlModifier)};
}

Key keyOf(int key) {
  struct Pair {
    int qt;
    Key own;
  };
  static constexpr Pair pairs[] = {{Qt::Key_Escape, Key::Escape}, {Qt::Key_Return, Key::Enter},
                                   {Qt::Key_Enter, Key::Enter},   {Qt::Key_Delete, Key::Delete},
                                   {Qt::Key_Left, Key::Left},     {Qt::Key_Right, Key::Right},
                                   {Qt::Key_Up, Key::Up},         {Qt::Key_Down, Key::Down},
                                   {Qt::Key_PageUp, Key::PageUp}, {Qt::Key_PageDown, Key::PageDown},
                                   {Qt::Key_Home, Key::Home},     {Qt::Key_End, Key::End},
                                   {Qt::Key_Plus, Key::Plus},     {Qt::Key_Minus, Key::Minus},
                                   {Qt::Key_Space, Key::Space}};
  for (const Pair& pair : pairs)
    if (pair.qt == key) return pair.own;
  return Key::Other;
}

Qt::CursorShape shapeOf(Cursor cursor) {
  switch (cursor) {
    case Cursor::Cross:
      return Qt::CrossCursor;
    case Cursor::OpenHand:
      return Qt::OpenHandCursor;
    case Cursor::ClosedHand:
      return Qt::ClosedHandCursor;
    case Cursor::Hand:
      return Qt::PointingHandCursor;
    case Cursor::Move:
      return Qt::SizeAllCursor;
    case Cursor::SizeAcross:
      return Qt::SizeHorCursor;
    case Cursor::SizeUpDown:
      return Qt::SizeVerCursor;
    case Cursor::SizeFalling:
      return Qt::SizeFDiagCursor;
    case Cursor::SizeRising:
      return Qt::SizeBDiagCursor;
    case Cursor::Wait:
      return Qt::WaitCursor;
    default:
      return Qt::ArrowCursor;
  }
}

}  // namespace

ViewWidget::ViewWidget(CView& shown, QWidget* parent)
    : QAbstractScrollArea(parent), viewShown(&shown), site(*this) {
  setFrameShape(QFrame::NoFrame);
  setFocusPolicy(Qt::StrongFocus);
  viewport()->setMouseTracking(true);
  viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
  setMinimumSize(64, 48);
  shown.attach(&site);
  if (shown.timeline().count > 0) addTimeline();
}

ViewWidget::~ViewWidget() {
  if (viewShown) viewShown->attach(nullptr);
}

void ViewWidget::forget() {
  delete timeline;
  timeline = nullptr;
  viewShown = nullptr;
  viewport()->update();
}

void ViewWidget::touched() const {
  if (onTouched) onTouched();
}

// --- drawing

void ViewWidget::paintEvent(QPaintEvent*) {
  QPainter painter(viewport());
  painter.fillRect(viewport()->rect(), palette().color(QPalette::Mid));
  if (!viewShown) return;
  PainterCanvas canvas(painter, false, &texts);
  viewShown->draw(canvas);
}

// --- scrolling

void ViewWidget::resizeEvent(QResizeEvent*) {
  placeTimeline();
  if (isVisible()) tellSize();
}

// Sizes before the window is shown are of no frame yet.
void ViewWidget::showEvent(QShowEvent* event) {
  QAbstractScrollArea::showEvent(event);
  placeTimeline();
  tellSize();
}

void ViewWidget::tellSize() {
  if (viewShown) viewShown->setWindowSize({viewport()->width(), viewport()->height()});
}

void ViewWidget::placeTimeline() {
  if (timeline)
    timeline->setGeometry(viewport()->x(), viewport()->geometry().bottom() + 1, viewport()->width(),
                          TimelineBar::kHeight);
}

// The bar comes with the first image of a sequence; not while the viewport is being resized, which it would
// do again.
void ViewWidget::showTimeline() {
  if (timeline) return timeline->update();
  if (!viewShown || timelineComes || viewShown->timeline().count < 1) return;
  timelineComes = true;
  QTimer::singleShot(0, this, [this] { addTimeline(); });
}

void ViewWidget::addTimeline() {
  if (timeline || !viewShown) return;
  timeline = new TimelineBar(*viewShown, this);
  setViewportMargins(0, 0, 0, TimelineBar::kHeight);
  placeTimeline();
  timeline->show();
}

void ViewWidget::showScroll() {
  if (!viewShown || showingScroll) return;
  showingScroll = true;
  const Size content = viewShown->contentSize();
  const QSize most = maximumViewportSize();
  // Without this a bar that is there only because the other one is would stay.
  const bool fits = content.width <= most.width() && content.height <= most.height();
  const QSize window = fits ? most : viewport()->size();
  const Point at = viewShown->scrollPosition();
  horizontalScrollBar()->setPageStep(window.width());
  horizontalScrollBar()->setSingleStep(viewShown->lineStep());
  horizontalScrollBar()->setRange(0, std::max(0, content.width - window.width()));
  horizontalScrollBar()->setValue(at.x);
  verticalScrollBar()->setPageStep(window.height());
  verticalScrollBar()->setSingleStep(viewShown->lineStep());
  verticalScrollBar()->setRange(0, std::max(0, content.height - window.height()));
  verticalScrollBar()->setValue(at.y);
  showingScroll = false;
}

void ViewWidget::scrollContentsBy(int, int) {
  if (viewShown && !showingScroll)
    viewShown->scrollTo({horizontalScrollBar()->value(), verticalScrollBar()->value()});
}

// --- mouse and keys

// Told before the window counts as the active one.
void ViewWidget::focusInEvent(QFocusEvent* event) {
  QAbstractScrollArea::focusInEvent(event);
  const QWidget* at = this;
  while (at && !qobject_cast<const QMdiSubWindow*>(at)) at = at->parentWidget();
  const auto* window = static_cast<const QMdiSubWindow*>(at);
  if (event->reason() != Qt::MouseFocusReason || !window || window->mdiArea()->currentSubWindow() == window)
    return;
  activating = true;
  // The press comes within the same event; one on a scroll bar doesn't come here.
  QTimer::singleShot(0, this, [this] { activating = false; });
}

void ViewWidget::mousePressEvent(QMouseEvent* event) {
  onlyActivated = std::exchange(activating, false);
  if (onlyActivated) return touched();
  if (takesInput()) viewShown->mouseDown(record(*event, buttonOf(event->button())));
  touched();
}

void ViewWidget::mouseReleaseEvent(QMouseEvent* event) {
  if (std::exchange(onlyActivated, false)) return touched();
  if (viewShown) viewShown->mouseUp(record(*event, buttonOf(event->button())));
  touched();
}

void ViewWidget::mouseDoubleClickEvent(QMouseEvent* event) {
  if (takesInput()) viewShown->mouseDouble(record(*event, buttonOf(event->button())));
  touched();
}

void ViewWidget::mouseMoveEvent(QMouseEvent* event) {
  if (takesInput() && !onlyActivated) viewShown->mouseMove(record(*event, heldButton(event->buttons())));
  touched();
}

void ViewWidget::wheelEvent(QWheelEvent* event) {
  if (!viewShown) return;
  wheelRest += event->angleDelta();
  const QPoint at = event->position().toPoint();
  const bool control = event->modifiers().testFlag(Qt::ControlModifier);
  const bool shift = event->modifiers().testFlag(Qt::ShiftModifier);
  const QPoint steps(wheelRest.x() / kWheelStep, wheelRest.y() / kWheelStep);
  wheelRest -= steps * kWheelStep;
  if (steps.y() != 0) viewShown->wheel({{at.x(), at.y()}, steps.y(), shift, control});
  if (steps.x() != 0 && viewShown) viewShown->wheel({{at.x(), at.y()}, steps.x(), true, control});
  event->accept();
  touched();
}

void ViewWidget::keyPressEvent(QKeyEvent* event) {
  const KeyEvent pressed{keyOf(event->key()), event->modifiers().testFlag(Qt::ShiftModifier),
                         event->modifiers().testFlag(Qt::ControlModifier)};
  if (viewShown && viewShown->isBusy()) {
    if (pressed.key == Key::Escape) viewShown->document().stopWork();
  } else if (!viewShown || !viewShown->keyDown(pressed)) {
    event->ignore();
  }
  touched();
}

void ViewWidget::contextMenuEvent(QContextMenuEvent* event) {
  if (onContextMenu) onContextMenu(event->globalPos());
}

// --- what the view asks for

void ViewWidget::Site::redraw() {
  widget.viewport()->update();
  widget.showTimeline();
}
void ViewWidget::Site::redrawNow() {
  widget.viewport()->repaint();
  widget.showTimeline();
}
void ViewWidget::Site::scrollChanged() { widget.showScroll(); }
void ViewWidget::Site::panesChanged() {
  if (widget.onPanesChanged) widget.onPanesChanged();
}
void ViewWidget::Site::setCursor(Cursor cursor) { widget.viewport()->setCursor(shapeOf(cursor)); }
// A press captures the mouse until the release by itself.
void ViewWidget::Site::captureMouse(bool) {}
void ViewWidget::Site::setFocus() { widget.QWidget::setFocus(Qt::OtherFocusReason); }
void ViewWidget::Site::resizeFrame(Size content) {
  if (widget.onResizeFrame) widget.onResizeFrame(content);
}

}  // namespace tarnvisor
