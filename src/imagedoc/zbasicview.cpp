#include "imagedoc/zbasicview.h"

#include <cmath>
#include <limits>

#include "app/processstate.h"
#include "base/numbers.h"
#include "drawing/picturepainter.h"
#include "imagedoc/dimdoc.h"
#include "imagedoc/levelchart.h"
#include "settings/log.h"

namespace tarnvisor {

int32_t tool = kToolNone;

namespace {

constexpr int64_t kLargest = std::numeric_limits<int32_t>::max();

int32_t saturated(int64_t value) { return static_cast<int32_t>(std::clamp(value, -kLargest, kLargest)); }

int32_t scaled(int64_t value, int32_t numerator, int32_t denominator) {
  return saturated(value * numerator / denominator);
}

// Whether the ratio can take factors of this size and still be held.
bool canGrow(int32_t num, int32_t den, int64_t numFactor, int64_t denFactor) {
  return num * numFactor <= kLargest && den * denFactor <= kLargest;
}

}  // namespace

ZBasicView::ZBasicView(ZBasicDoc& document)
    : CView(document), doc(document), painter(std::make_unique<PicturePainter>()) {}

void ZBasicView::loadImageFile(const std::string& path) {
  doc.adoptImageFile(path);
  changesWhenLoaded = doc.changeCount();
}

bool ZBasicView::isUntouched() const {
  return doc.pathName().empty() && doc.changeCount() == changesWhenLoaded;
}

ZBasicView::~ZBasicView() {
  // Another view may come to lie at this address.
  if (process.autoLoadView == this) process.autoLoadView = nullptr;
  // A tool that only a held button brought must not outlive the button.
  if (grip != Grip::None && (tool == kToolDrag || tool == kToolMoveRoi)) tool = kToolNone;
}

// --- the view's life

void ZBasicView::onUpdate(Change what) {
  if (what == Change::All || what == Change::Pixels) {
    painter->invalidate();
    focusShown.reset();
  }
  checkSelections();
  showFirst();
  contentChanged();
  selectionChanged();
}

void ZBasicView::onActivate() {
  keepCountApart();
  site().panesChanged();
  refreshLevelCharts(doc, selected);
}

void ZBasicView::onSize() {
  hasFrame = true;
  showFirst();
}

void ZBasicView::showFirst() {
  if (wasShown || !hasFrame || !hasImage()) return;
  wasShown = true;
  const Size content = contentSize();
  if (content.width <= windowSize().width && content.height <= windowSize().height) return;
  fitTo(windowSize());
  const Size fitted = contentSize();
  site().resizeFrame({fitted.width + 2, fitted.height + 2});
}

// --- selection

void ZBasicView::checkSelections() {
  if (shownList != doc.currentlist) clearSelections();
  shownList = doc.currentlist;
  if (!doc.currentDims().isValid(selected)) selected = -1;
  if (!doc.currentDims().isValid(secondselected)) secondselected = -1;
  if (drawn && !isShapeAlive()) finishShape();
  const bool isGone = (grip == Grip::Dimension && selected < 0) ||
                      (grip == Grip::Part && !doc.currentDims().isValid(held.mark));
  if (isGone) cancelGrip();
  hovered = {};
  if (doc.countedList >= 0) countedHere = doc.countedList;
}

void ZBasicView::selectionChanged() {
  redraw();
  site().panesChanged();
  refreshDimensionList(doc);
  refreshLevelCharts(doc, selected);
}

// --- coordinates and zoom

Size ZBasicView::contentSize() const {
  const CZZimage* image = doc.theImage();
  if (!image) return {};
  return {scaled(image->width, zoomnum, zoomden), scaled(image->frameHeight(), zoomnum, zoomden)};
}

Point ZBasicView::toImage(Point windowPoint) const {
  const Point at = windowPoint + scrollPosition();
  const Point origin = doc.imageOrigin();
  return {saturated(int64_t{scaled(at.x, zoomden, zoomnum)} + origin.x),
          saturated(int64_t{scaled(at.y, zoomden, zoomnum)} + origin.y)};
}

Point ZBasicView::toWindow(Point imagePoint) const {
  const Point origin = doc.imageOrigin();
  return Point{scaled(saturated(int64_t{imagePoint.x} - origin.x), zoomnum, zoomden),
               scaled(saturated(int64_t{imagePoint.y} - origin.y), zoomnum, zoomden)} -
         scrollPosition();
}

void ZBasicView::zoomIn() {
  if (zoomnum < zoomden) {
    zoomnum /= 3;
    zoomden /= 4;
  } else if (canGrow(zoomnum, zoomden, 5, 4)) {
    zoomnum *= 5;
    zoomden *= 4;
  }
  contentChanged();
  site().panesChanged();
}

void ZBasicView::zoomOut() {
  if (zoomnum > zoomden) {
    zoomnum /= 5;
    zoomden /= 4;
  } else if (canGrow(zoomnum, zoomden, 3, 4)) {
    zoomnum *= 3;
    zoomden *= 4;
  }
  contentChanged();
  site().panesChanged();
}

void ZBasicView::fitTo(Size area) {
  constexpr double kSmallest = 1.0 / 13, kLargestFit = 13;
  if (!hasImage() || area.width <= 0 || area.height <= 0) return;
  const CZZimage& image = *doc.theImage();
  const double ai = static_cast<double>(image.width) / image.frameHeight();
  const double aw = static_cast<double>(area.width) / area.height;
  const double wanted = ai >= aw ? static_cast<double>(area.width) / image.width
                                 : static_cast<double>(area.height) / image.frameHeight();
  const double z = std::clamp(wanted, kSmallest, kLargestFit);
  logPrintf("zoomfit %i,%i\n", area.width, area.height);
  logPrintf("ai %f aw %f z %f\n", ai, aw, z);
  const auto ratio = [this] { return static_cast<double>(zoomnum) / zoomden; };
  zoomnum = zoomden = 1;
  if (z < 1) {
    while (ratio() > z) zoomOut();
  } else {
    while (ratio() <= z) zoomIn();
    zoomOut();
  }
  scrollTo({0, 0});
}

void ZBasicView::zoomAbout(Point windowPoint, bool in) {
  const double before = static_cast<double>(zoomnum) / zoomden;
  const Point content = windowPoint + scrollPosition();
  in ? zoomIn() : zoomOut();
  const double factor = static_cast<double>(zoomnum) / zoomden / before;
  // The middle of the pixel under the mouse is what stays.
  const auto moved = [&](int32_t c) { return truncated(std::floor((c + 0.5) * factor)); };
  scrollTo(Point{moved(content.x), moved(content.y)} - windowPoint);
}

}  // namespace tarnvisor
