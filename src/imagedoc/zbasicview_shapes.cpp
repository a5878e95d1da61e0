// Dimensions that the mouse draws: the tools that add one, and its growth from the first click to the last.
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
  if (!growsByClicks()) {
    secondselected = -1;
    finishShape();
  }
  doc.updateAllViews(CView::Change::Marks);
}

void ZBasicView::beginShape() {
  // The marks of dust have their own list, whichever document the tool was chosen in; regions of movement
  // correction, which it draws too, are in theirs already.
  if (tool == kToolDust && doc.currentlist != kDustList && doc.currentlist != kAmcList)
    runOnDocument(cmd::EditDustMask);
  selected = doc.addDimension(position, shapeType());
  rubber = {position, position};
  if (tool != kToolCounting) {
    drawn = &doc.currentDims().at(selected);
    drawnWith = tool;
  }
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
  doc.addPointToDimension(selected, position);
  // The document may have pushed the point.
  rubber.from = doc.currentDims().at(selected).points.back();
}

void ZBasicView::addFreehandPoint() {
  if (!isShapeAlive() || doc.currentDims().at(selected).points.back() == position) return;
  addShapePoint();
  redraw();
}

void ZBasicView::finishShape() {
  if (!drawn) return;
  if (isShapeAlive()) doc.currentDims().at(selected).Close();
  drawn = nullptr;
  drawnWith = kToolNone;
  if (grip == Grip::FirstCorner || grip == Grip::Freehand) releaseGrip();
  dragmode = kNoDrag;
  redraw();
}

// A shape of one point that was never meant goes; what has more points stays.
void ZBasicView::abandonShape() {
  const bool onlyBegun = isShapeAlive() && doc.currentDims().at(selected).points.size() == 1;
  const int32_t index = selected;
  finishShape();
  if (onlyBegun) {
    clearSelections();
    doc.deleteDimension(index);
  } else {
    doc.updateAllViews(CView::Change::Marks);
  }
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
