// The mouse and keys in the image view.
#include <cstdlib>

#include "imagedoc/commandids.h"
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

Aim ZBasicView::aimAt(Point windowPoint) const {
  // From the middle of the mouse's pixel: a zoomed mark is drawn up to a pixel before its place.
  constexpr double kMiddle = 0.499, kReach = 5.5;
  const double pixel = static_cast<double>(zoomden) / zoomnum;
  const Point at = windowPoint + scrollPosition(), origin = doc.imageOrigin();
  return {(at.x + kMiddle) * pixel + origin.x, (at.y + kMiddle) * pixel + origin.y, kReach * pixel, pixel};
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

// The tool and the drag mode that only the held button brought go with it.
void ZBasicView::releaseGrip() {
  if (grip == Grip::None) return;
  if (grip == Grip::Dimension || grip == Grip::Part || grip == Grip::Band || holdsRoi()) {
    tool = kToolNone;
    dragmode = kNoDrag;
    redraw();
  }
  grip = Grip::None;
  site().captureMouse(false);
}

// Ends what a held button does, with nothing done. What was drawn by hand so far stays.
void ZBasicView::cancelGrip() {
  if (grip == Grip::Freehand) finishShape();
  releaseGrip();
}

namespace {

Cursor cursorFor(const Handle& handle) {
  if (!handle) return Cursor::Arrow;
  if (!handle.isPart()) return Cursor::Move;
  const Point side = sidesOf(handle);
  if (side == Point{}) return Cursor::Hand;
  if (side.x == 0) return Cursor::SizeUpDown;
  if (side.y == 0) return Cursor::SizeAcross;
  return side.x == side.y ? Cursor::SizeFalling : Cursor::SizeRising;
}

}  // namespace

Cursor ZBasicView::wantedCursor() const {
  if (grip == Grip::Scroll) return Cursor::ClosedHand;
  if (tool == kToolPan) return Cursor::OpenHand;
  if (tool == kToolDrag || tool == kToolMoveRoi) return cursorFor(held);
  return tool == kToolNone ? cursorFor(grip == Grip::None ? hovered : Handle{}) : Cursor::Cross;
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
      return edit([this] { doc.imageoffset = position; });
    case kToolCrosshair:
      edit([this] { doc.target = position, doc.showtarget = 1; });
      settings.setInt("settings", "targetx", position.x);
      settings.setInt("settings", "targety", position.y);
      settings.setInt("settings", "showtarget", 1);
      return;
    case kToolTrace:
      return traceCapillaries();
    case kToolReview:
      clearSelections();
      return doc.reviewAt(aimAt(event.at));
    default:
      return clickShape();
  }
}

void ZBasicView::pressWithoutTool(const MouseEvent& event) {
  rubber = {position, position};
  held = {};
  if (event.control) return hold(Grip::MayDrawRoi);
  CDimList& dims = doc.currentDims();
  const Aim aim = aimAt(event.at);
  bandAdds = event.shift;
  if (event.shift) {
    const int32_t toggled = dims.toggleSelect(aim.x, aim.y, aim.reach);
    if (toggled >= 0 && toggled == selected) {
      dims.at(toggled).selected = false;
      selected = -1;
    }
    if (toggled >= 0) return selectionChanged();
  } else {
    held = handleUnder(doc, selected, aim);
    wasSelected = held.isOfMark() && held.mark == selected;
    selected = held.isOfMark() ? held.mark : -1;
  }
  held ? pressHandle() : hold(Grip::Band);
  selectionChanged();
}

void ZBasicView::pressHandle() {
  dragmode = held.isOfMark() ? kLineRubber : kRectRubber;
  tool = held.isOfMark() ? kToolDrag : kToolMoveRoi;
  hold(held.isOfMark() ? (held.isPart() ? Grip::Part : Grip::Dimension)
                       : (held.isPart() ? Grip::ReshapeRoi : Grip::MoveRoi));
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
  mouseAt = event.at;
  switch (grip) {
    case Grip::Scroll:
      scrollTo(pressedScroll - (event.at - pressedAt));
      break;
    case Grip::MayDrawRoi:
      if (isFar(event.at, pressedAt)) beginRoi(rubber.from, false);
      break;
    case Grip::Band:
      if (isFar(event.at, pressedAt)) dragmode = kRectRubber;
      break;
    case Grip::None:
      meet(takesHold() ? handleUnder(doc, selected, aimAt(event.at)) : Handle{});
      break;
    case Grip::Freehand:
      addFreehandPoint();
      break;
    default:
      break;
  }
  if (dragmode != kNoDrag) {
    rubber.to = grip == Grip::DrawRoi ? withinImage(position) : position;
    if (const auto inHand = dimensionsToBe(); !inHand.empty()) previewLevelProfile(doc, inHand[0]->points);
    redraw();
  }
  site().panesChanged();
  updateCursor();
}

void ZBasicView::meet(const Handle& under) {
  if (under == hovered) return;
  hovered = under;
  redraw();
}

void ZBasicView::mouseLeft() { meet({}); }

std::vector<std::unique_ptr<CDim>> ZBasicView::dimensionsToBe() const {
  std::vector<std::unique_ptr<CDim>> all;
  const CDimList& dims = doc.currentDims();
  if (grip == Grip::Dimension && hasSelection()) {
    for (const int32_t i : dims.selection(selected)) {
      auto moved = dims.at(i).Clone();
      if (!moved->points.empty()) moved->MoveTo(moved->points.front() + draggedBy());
      // The one under the mouse comes first.
      all.insert(i == selected ? all.begin() : all.end(), std::move(moved));
    }
  } else if (grip == Grip::Part) {
    if (auto shape = reshapedMark(doc, held, held.at + draggedBy())) all.push_back(std::move(shape));
  } else if (isShapeAlive()) {
    auto shape = dims.at(selected).Clone();
    if (dragmode != kNoDrag)
      shape->AddPoint(shape->points.size() == 1 ? doc.placeOfSecond(shape->points[0], position) : position);
    shape->Close();
    all.push_back(std::move(shape));
  }
  return all;
}

Rect ZBasicView::roiToBe() const {
  if (grip == Grip::DrawRoi) return banded();
  const Point by = draggedBy();
  if (grip == Grip::ReshapeRoi)
    return by == Point{} ? doc.roi : reshapedRoi(doc, held, withinImage(held.at + by));
  // A ROI that lay in the image stays in it: what is measured per area counts all of the ROI.
  const CZZimage& image = *doc.theImage();
  const auto kept = [](int32_t step, int32_t first, int32_t last, int32_t size) {
    return first < 0 || last > size ? step : std::clamp(step, -first, size - last);
  };
  const Point origin = image.frameOrigin();
  const Rect own = doc.roi.offsetBy(wrapSub(0, origin.x), wrapSub(0, origin.y));
  return doc.roi.offsetBy(kept(by.x, own.left, own.right, image.width),
                          kept(by.y, own.top, own.bottom, image.frameHeight()));
}

// --- a button goes up

void ZBasicView::mouseUp(const MouseEvent& event) {
  if (grip == Grip::None || event.button != gripButton) return;
  if (!hasImage()) return cancelGrip();
  mouseMove(event);  // the last point may have come with the release alone
  endGrip(event);
  mouseMove(event);  // over what lies there now
}

void ZBasicView::endGrip(const MouseEvent& event) {
  const Grip ended = grip;
  const bool isMoved = draggedBy() != Point{}, isBand = dragmode == kRectRubber;
  auto shapes = dimensionsToBe();
  const Rect area = holdsRoi() ? roiToBe() : Rect{};
  releaseGrip();
  switch (ended) {
    case Grip::Dimension:
      return isMoved ? endDragDimension() : walkOn(event.at);
    case Grip::Part:
      return isMoved ? endReshape(std::move(shapes)) : walkOn(event.at);
    case Grip::MoveRoi:
    case Grip::ReshapeRoi:
      if (!area.isEmpty() && area != doc.roi) edit([&] { doc.roi = area; });
      return;
    case Grip::DrawRoi:
      if (roiChosen || !area.isEmpty()) edit([&] { doc.setRoi(area.isEmpty() ? Rect{} : area); });
      return;
    case Grip::Band:
      if (isBand) return selectBand(banded());
      if (!bandAdds) selectMarks({});
      return;
    case Grip::FirstCorner:
      // Drawn in one pull rather than by two clicks.
      if (drawn && isFar(event.at, pressedAt)) clickShape();
      return;
    case Grip::Freehand:
      return finishShape();
    default:
      return;
  }
}

void ZBasicView::endDragDimension() {
  Point first;
  if (!hasSelection() || !doc.currentDims().at(selected).GetPoint(0, first)) return;
  edit([&] {
    for (const int32_t i : doc.currentDims().selection(selected)) doc.tellByHand(doc.currentDims().at(i));
    doc.currentDims().drag(selected, first + draggedBy());
  });
}

void ZBasicView::endReshape(std::vector<std::unique_ptr<CDim>> shapes) {
  if (shapes.empty()) return;
  CDimList& dims = doc.currentDims();
  edit([&] {
    shapes[0]->selected = dims.at(held.mark).selected;
    doc.tellByHand(*shapes[0]);
    dims.items[static_cast<size_t>(held.mark)] = std::move(shapes[0]);
  });
}

// A second click at the same place takes the next mark there.
void ZBasicView::walkOn(Point windowPoint) {
  if (!wasSelected || !hasSelection()) return;
  const Aim aim = aimAt(windowPoint);
  selected = doc.currentDims().hit(aim.x, aim.y, aim.reach, selected);
  selectionChanged();
}

// Every mark that lies in it whole, beside those that are selected or in their place.
void ZBasicView::selectBand(const Rect& band) {
  const CDimList& dims = doc.currentDims();
  const Rect closed{band.left, band.top, wrapAdd(band.right, 1), wrapAdd(band.bottom, 1)};
  std::vector<size_t> rows;
  for (int32_t i = 0; i < dims.size(); ++i) {
    const bool wasIn = bandAdds && (i == selected || dims.at(i).selected);
    const bool isIn = !dims.hidden && !dims.at(i).points.empty() && dims.at(i).AllInside(closed);
    if (wasIn || isIn) rows.push_back(static_cast<size_t>(i));
  }
  selectMarks(rows);
}

// Comes in place of the second press.
void ZBasicView::mouseDouble(const MouseEvent& event) {
  if (event.button != MouseButton::Left || !isShapeAlive() || !growsByClicks() || drawnWith != tool)
    return mouseDown(event);
  finishShape();
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
  if (tool != kToolNone) {
    takeTool(kToolNone);
    return true;
  }
  if (secondselected >= 0 || hasAnySelection()) {
    selectMarks({});
    return true;
  }
  if (doc.roi.isEmpty()) return false;
  runOnDocument(cmd::ClearRoi);
  return true;
}

// Areas for movement correction keep to their blocks.
bool ZBasicView::nudge(const KeyEvent& event) {
  const std::vector<int32_t> moved = doc.currentDims().selection(selected);
  if (moved.empty() || event.control || !hasImage()) return false;
  constexpr int32_t kFarther = 10, kBlock = 8;
  const int32_t step = (event.shift ? kFarther : 1) * (doc.currentlist == kAmcList ? kBlock : 1);
  const Point by{event.key == Key::Left    ? -step
                 : event.key == Key::Right ? step
                                           : 0,
                 event.key == Key::Up     ? -step
                 : event.key == Key::Down ? step
                                          : 0};
  Point first;
  if (!doc.currentDims().at(moved[0]).GetPoint(0, first)) return false;
  finishShape();
  edit([&] {
    for (const int32_t i : moved) doc.tellByHand(doc.currentDims().at(i));
    doc.currentDims().drag(moved[0], first + by);
  });
  return true;
}

bool ZBasicView::keyDown(const KeyEvent& event) {
  switch (event.key) {
    case Key::Escape:
      return escape();
    case Key::Enter:
      if (!drawn || !growsByClicks()) return false;
      finishShape();
      return true;
    case Key::Delete:
      if (!hasAnySelection()) return false;
      deleteSelected();
      return true;
    case Key::Left:
    case Key::Right:
    case Key::Up:
    case Key::Down:
      return nudge(event) || CView::keyDown(event);
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
