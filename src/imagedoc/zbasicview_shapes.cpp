// Dimensions that the mouse draws: the tools that add one, and its growth from the first click to the last.
#include <algorithm>

#include "app/asked.h"
#include "host/host.h"
#include "imagedoc/commandids.h"
#include "imagedoc/zbasicview.h"

namespace tarnvisor {

int32_t ZBasicView::shapeType() {
  switch (tool) {
    case kToolCounting:
      return CDimList::kPoint;
    case kToolFreehand:
      return CDimList::kFreehand;
    case kToolCircle:
      return CDimList::kCircle;
    case kToolPolygon:
    case kToolFreehandArea:
      return CDimList::kPolygon;
    case kToolDust:
      return CDimList::kRect;
    default:
      return CDimList::kLine;
  }
}

// It may have been deleted, or another list chosen, since its last point.
bool ZBasicView::isShapeAlive() const {
  return drawn && hasSelection() && &doc.currentDims().at(selected) == drawn;
}

void ZBasicView::clickShape() {
  if (!drawn) return beginShape();
  addShapePoint();
  if (growsByClicks()) return doc.updateAllViews(CView::Change::Marks);
  secondselected = -1;
  finishShape();
}

void ZBasicView::beginShape() {
  // The marks of dust have their own list, whichever document the tool was chosen in; regions of movement
  // correction, which it draws too, are in theirs already.
  if (tool == kToolDust && doc.currentlist != kDustList && doc.currentlist != kAmcList)
    runOnDocument(cmd::EditDustMask);
  rubber = {position, position};
  if (tool == kToolCounting) return edit([this] { selected = doc.addDimension(position, shapeType()); });
  changedBefore = doc.isModified();
  selected = doc.addDimension(position, shapeType());
  changesWhenGrown = doc.changeCount();
  drawn = &doc.currentDims().at(selected);
  drawnWith = tool;
  switch (tool) {
    case kToolLines:
    case kToolCircle:
    case kToolDust:
      dragmode = tool == kToolDust ? kRectRubber : kLineRubber;
      hold(Grip::FirstCorner);
      break;
    case kToolPolyline:
    case kToolPolygon:
      dragmode = kPolylineRubber;
      break;
    case kToolFreehand:
    case kToolFreehandArea:
      hold(Grip::Freehand);
      break;
    default:
      break;
  }
  doc.updateAllViews(CView::Change::Marks);
}

void ZBasicView::addShapePoint() {
  const bool isOnlyChange = doc.changeCount() == changesWhenGrown;
  doc.addPointToDimension(selected, position);
  if (isOnlyChange) changesWhenGrown = doc.changeCount();
  // The document may have pushed the point.
  rubber.from = doc.currentDims().at(selected).points.back();
}

void ZBasicView::addFreehandPoint() {
  if (!isShapeAlive() || doc.currentDims().at(selected).points.back() == position) return;
  addShapePoint();
  redraw();
}

// The document as it was before the shape was begun, so that all of it becomes one step of Undo, or none.
std::unique_ptr<CDim> ZBasicView::takeShapeBack() {
  std::unique_ptr<CDim> shape;
  if (isShapeAlive()) {
    auto& items = doc.currentDims().items;
    const auto place = items.begin() + selected;
    shape = std::move(*place);
    items.erase(place);
    if (doc.changeCount() == changesWhenGrown) doc.setModified(changedBefore);
  }
  drawn = nullptr;
  drawnWith = kToolNone;
  if (grip == Grip::FirstCorner || grip == Grip::Freehand) releaseGrip();
  dragmode = kNoDrag;
  return shape;
}

void ZBasicView::finishShape() {
  if (!drawn) return;
  auto shape = takeShapeBack();
  if (!shape) return redraw();
  shape->Close();
  edit([&] {
    auto& items = doc.currentDims().items;
    doc.tellByHand(*shape);
    items.insert(items.begin() + selected, std::move(shape));
  });
}

// A shape of one point that was never meant goes; what has more points stays.
void ZBasicView::abandonShape() {
  if (!isShapeAlive() || doc.currentDims().at(selected).points.size() > 1) return finishShape();
  takeShapeBack();
  clearSelections();
  doc.updateAllViews(CView::Change::Marks);
}

namespace {

bool measures(int32_t chosen) {
  return chosen == kToolLines || chosen == kToolPolyline || chosen == kToolFreehand ||
         chosen == kToolPolygon || chosen == kToolFreehandArea;
}

}  // namespace

// A line drawn to measure would count among what was found.
bool ZBasicView::holdsFound(int32_t list) const {
  const auto& items = doc.dimlists[static_cast<size_t>(list)].items;
  if (list == kNailfoldList && !doc.loopDensityText().empty()) {
    const LoopMarks loops = loopMarksOf(doc.dimlists[kNailfoldList]);
    return !loops.loops.empty() && loops.verdict != kDrawnByHand;
  }
  return doc.holdsCounted(list) && std::ranges::any_of(items, [](const auto& mark) {
           return kindOf(*mark) == std::string_view("circle");
         });
}

// Measures begin in the first empty list of the plain ones, and go on in that. A script chooses lists itself.
void ZBasicView::keepCountApart() {
  if (isUnattended() || !measures(tool) || !hasImage() || !holdsFound(doc.currentlist)) return;
  const auto isFree = [this](int32_t list) { return doc.dimlists[static_cast<size_t>(list)].items.empty(); };
  int32_t wanted = measuresHere >= 0 && !holdsFound(measuresHere) ? measuresHere : -1;
  for (int32_t list = kPlainList; list <= kFcdList && wanted < 0; ++list)
    if (isFree(list)) wanted = list;
  if (wanted < 0) return;
  countKept = doc.currentlist;
  measuresHere = wanted;
  takeList(wanted);
  doc.updateAllViews(CView::Change::Marks);
}

void ZBasicView::traceCapillaries() {
  const CZZimage& image = *doc.theImage();
  const Rect area = image.clipToImage(doc.roi);
  Point own = position - image.frameOrigin();
  if (own.y < 0) return;
  if (image.isField()) own.y /= 2;
  if (!area.contains(own)) return;
  const WaitScope wait;
  if (doc.trace(own - area.topLeft())) doc.updateAllViews(CView::Change::Marks);
}

}  // namespace tarnvisor
