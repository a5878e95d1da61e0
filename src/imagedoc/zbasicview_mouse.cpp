// The mouse and keys in the image view.
#include <cstdlib>

#include "imagedoc/levelchart.h"
#include "imagedoc/zbasicview.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

// How far the mouse moves before a press counts as a drag where a click means something else, window pixels.
constexpr int32_t kDragStart = 5;
constexpr int32_t kMostWheelSteps = 32;

bool isFar(Point a, Point b) {
  return std::abs(int64_t{a.x} - b.x) >= kDragStart || std::abs(int64_t{a.y} - b.y) >= kDragStart;
}

}  // namespace

// --- what all tools share

void ZBasicView::takePosition(Point windowPoint) {
  position = toImage(windowPoint);
  if (doc.currentlist == kAmcList) position = ZBasicDoc::snappedToBlocks(position);
}

ZBasicView::Aim ZBasicView::aimAt(Point windowPoint) const {
  // From the middle of the mouse's pixel: a zoomed mark is drawn up to a pixel before its place.
  constexpr double kMiddle = 0.499, kReach = 5.5;
  const double pixel = static_cast<double>(zoomden) / zoomnum;
  const Point at = windowPoint + scrollPosition(), origin = doc.imageOrigin();
  return {(at.x + kMiddle) * pixel + origin.x, (at.y + kMiddle) * pixel + origin.y, kReach * pixel};
}

Point ZBasicView::withinImage(Point p) const {
  const CZZimage& image = *doc.theImage();
  const Point origin = image.frameOrigin(), own = p - origin;
  return Point{std::clamp(own.x, 0, image.width), std::clamp(own.y, 0, image.frameHeight())} + origin;
}

void ZBasicView::hold(Grip wanted) {
  grip = wanted;
  gripButton = MouseButton::Left;
  site().captureMouse(true);
}

void ZBasicView::releaseGrip() {
  if (grip == Grip::None) return;
  grip = Grip::None;
  site().captureMouse(false);
}

// Ends what a held button does, with nothing done. What was drawn by hand so far stays.
void ZBasicView::cancelGrip() {
  if (grip == Grip::Freehand) finishShape();
  if (grip == Grip::Dimension || grip == Grip::MoveRoi || grip == Grip::DrawRoi) {
    tool = kToolNone;
    dragmode = kNoDrag;
    redraw();
  }
  releaseGrip();
}

void ZBasicView::changed() {
  doc.setModified();
  doc.updateAllViews(CView::Change::Marks);
}

Cursor ZBasicView::wantedCursor() const {
  if (grip == Grip::Scroll) return Cursor::ClosedHand;
  if (tool == kToolPan) return Cursor::OpenHand;
  if (tool == kToolDrag || tool == kToolMoveRoi) return Cursor::Move;
  return tool == kToolNone ? Cursor::Arrow : Cursor::Cross;
}

void ZBasicView::updateCursor() {
  const Cursor wanted = wantedCursor();
  if (wanted != cursor) site().setCursor(wanted);
  cursor = wanted;
}

// --- a button goes down

void ZBasicView::mouseDown(const MouseEvent& event) {
  site().setFocus();
  if (!hasImage()) return;
  if (event.button == MouseButton::Middle) return beginScroll(event);
  if (event.button != MouseButton::Left) return;
  cancelGrip();
  checkSelections();  // a list made current without telling the views
  if (tool == kToolDrag || tool == kToolMoveRoi) tool = kToolNone;
  takePosition(event.at);
  pressedAt = event.at;
  if (drawn && (drawnWith != tool || !isShapeAlive())) finishShape();
  press(event);
  site().panesChanged();
  updateCursor();
}

void ZBasicView::press(const MouseEvent& event) {
  switch (tool) {
    case kToolNone:
      return pressWithoutTool(event);
    case kToolPan:
      return beginScroll(event);
    case kToolRoi:
      return beginRoi(position, true);
    case kToolOrigin:
      doc.imageoffset = position;
      return changed();
    case kToolCrosshair:
      doc.target = position;
      doc.showtarget = 1;
      settings.setInt("settings", "targetx", position.x);
      settings.setInt("settings", "targety", position.y);
      settings.setInt("settings", "showtarget", 1);
      return changed();
    case kToolTrace:
      return traceCapillaries();
    default:
      return clickShape();
  }
}

void ZBasicView::pressWithoutTool(const MouseEvent& event) {
  CDimList& dims = doc.currentDims();
  const Aim aim = aimAt(event.at);
  if (event.shift) {
    dims.toggleSelect(aim.x, aim.y, aim.reach);
    return selectionChanged();
  }
  selected = dims.hit(aim.x, aim.y, aim.reach, selected);
  rubber = {position, position};
  if (selected >= 0) {
    dragmode = kLineRubber;
    tool = kToolDrag;
    hold(Grip::Dimension);
  } else if (doc.isInRoi(position)) {
    dragmode = kRectRubber;
    tool = kToolMoveRoi;
    hold(Grip::MoveRoi);
  } else {
    hold(Grip::MayDrawRoi);
  }
  selectionChanged();
}

void ZBasicView::beginScroll(const MouseEvent& event) {
  cancelGrip();
  hold(Grip::Scroll);
  gripButton = event.button;
  pressedAt = event.at;
  pressedScroll = scrollPosition();
  updateCursor();
}

void ZBasicView::beginRoi(Point from, bool chosen) {
  tool = kToolRoi;
  roiChosen = chosen;
  rubber.from = rubber.to = withinImage(from);
  dragmode = kRectRubber;
  hold(Grip::DrawRoi);
  redraw();
}

// --- the mouse moves

void ZBasicView::mouseMove(const MouseEvent& event) {
  if (!hasImage()) return cancelGrip();
  takePosition(event.at);
  switch (grip) {
    case Grip::Scroll:
      scrollTo(pressedScroll - (event.at - pressedAt));
      break;
    case Grip::MayDrawRoi:
      if (isFar(event.at, pressedAt)) beginRoi(rubber.from, false);
      break;
    case Grip::Freehand:
      addFreehandPoint();
      break;
    default:
      break;
  }
  if (dragmode != kNoDrag) {
    rubber.to = grip == Grip::DrawRoi ? withinImage(position) : position;
    previewProfile();
    redraw();
  }
  site().panesChanged();
  updateCursor();
}

// The profile of the line as it would be if the button went up here.
void ZBasicView::previewProfile() {
  if (!hasSelection() || !(grip == Grip::Dimension || drawn)) return;
  std::vector<Point> path = doc.currentDims().at(selected).points;
  if (grip == Grip::Dimension)
    for (Point& point : path) point = point + (position - rubber.from);
  else
    path.push_back(position);
  previewLevelProfile(doc, path);
}

// --- a button goes up

void ZBasicView::mouseUp(const MouseEvent& event) {
  if (grip == Grip::None || event.button != gripButton) return;
  if (!hasImage()) return cancelGrip();
  mouseMove(event);  // the last point may have come with the release alone
  const Grip ended = grip;
  releaseGrip();
  switch (ended) {
    case Grip::Dimension:
      endDragDimension();
      break;
    case Grip::MoveRoi:
      endMoveRoi();
      break;
    case Grip::DrawRoi:
      endRoi();
      break;
    case Grip::FirstCorner:
      // Drawn in one pull rather than by two clicks.
      if (drawn && isFar(event.at, pressedAt)) clickShape();
      break;
    case Grip::Freehand:
      finishShape();
      doc.updateAllViews(CView::Change::Marks);
      break;
    default:
      break;
  }
  site().panesChanged();
  updateCursor();
}

void ZBasicView::endRoi() {
  const Rect area = roiBeingDrawn();
  tool = kToolNone;
  dragmode = kNoDrag;
  if (area.isEmpty() && !roiChosen) return redraw();
  doc.setRoi(area.isEmpty() ? Rect{} : area);
  changed();
}

void ZBasicView::endMoveRoi() {
  tool = kToolNone;
  dragmode = kNoDrag;
  // A ROI that lay in the image stays in it: what is measured per area counts all of the ROI.
  const CZZimage& image = *doc.theImage();
  const auto kept = [](int32_t by, int32_t first, int32_t last, int32_t size) {
    return first < 0 || last > size ? by : std::clamp(by, -first, size - last);
  };
  const Point by = position - rubber.from;
  const Point origin = image.frameOrigin();
  const Rect own = doc.roi.offsetBy(wrapSub(0, origin.x), wrapSub(0, origin.y));
  const int32_t dx = kept(by.x, own.left, own.right, image.width);
  const int32_t dy = kept(by.y, own.top, own.bottom, image.frameHeight());
  if (dx == 0 && dy == 0) return redraw();
  doc.roi = doc.roi.offsetBy(dx, dy);
  changed();
}

void ZBasicView::endDragDimension() {
  tool = kToolNone;
  dragmode = kNoDrag;
  const Point by = position - rubber.from;
  Point first;
  if (by == Point{} || !hasSelection() || !doc.currentDims().at(selected).GetPoint(0, first)) return redraw();
  doc.currentDims().drag(selected, first + by);
  changed();
}

// Comes in place of the second press.
void ZBasicView::mouseDouble(const MouseEvent& event) {
  if (event.button != MouseButton::Left || !isShapeAlive() || !growsByClicks() || drawnWith != tool)
    return mouseDown(event);
  finishShape();
  doc.updateAllViews(CView::Change::Marks);
}

// --- wheel and keys

void ZBasicView::wheel(const WheelEvent& event) {
  if (!event.control) return CView::wheel(event);
  for (int32_t i = std::min(std::abs(std::max(event.steps, -kMostWheelSteps)), kMostWheelSteps); i > 0; --i)
    zoomAbout(event.at, event.steps > 0);
}

bool ZBasicView::escape() {
  if (drawn) {
    abandonShape();
    return true;
  }
  if (grip != Grip::None) {
    cancelGrip();
    return true;
  }
  bool hadSelection = selected >= 0 || secondselected >= 0;
  for (const auto& item : doc.currentDims().items) hadSelection = hadSelection || item->selected;
  if (!hadSelection) return false;
  clearSelections();
  doc.currentDims().clearSelection();
  selectionChanged();
  return true;
}

bool ZBasicView::keyDown(const KeyEvent& event) {
  switch (event.key) {
    case Key::Escape:
      return escape();
    case Key::Enter:
      if (!drawn || !growsByClicks()) return false;
      finishShape();
      doc.updateAllViews(CView::Change::Marks);
      return true;
    case Key::Delete:
      if (!hasAnySelection()) return false;
      deleteSelected();
      return true;
    case Key::Plus:
      zoomInCommand();
      return true;
    case Key::Minus:
      zoomOutCommand();
      return true;
    default:
      return CView::keyDown(event);
  }
}

}  // namespace tarnvisor
