#include "imagedoc/zbasicview.h"

#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

#include "app/processstate.h"
#include "base/numbers.h"
#include "drawing/picturepainter.h"
#include "imagedoc/dimdoc.h"
#include "imagedoc/levelchart.h"
#include "settings/log.h"

namespace tarnvisor {

int32_t tool = kToolNone;
const ZBasicDoc* reviewed = nullptr;

namespace {

constexpr int64_t kLargest = std::numeric_limits<int32_t>::max();

int32_t saturated(int64_t value) { return static_cast<int32_t>(std::clamp(value, -kLargest, kLargest)); }

int32_t scaled(int64_t value, int32_t numerator, int32_t denominator) {
  return saturated(value * numerator / denominator);
}

struct ZoomRatio {
  int32_t num = 1;
  int32_t den = 1;
  // A step from 1:1 or from where steps led; false for one that can't be held.
  bool move(bool in) {
    if (in && num < den) return divide(3);
    if (!in && num > den) return divide(5);
    const int64_t factor = in ? 5 : 3;
    if (num * factor > kLargest || den * int64_t{4} > kLargest) return false;
    num *= static_cast<int32_t>(factor);
    den *= 4;
    return true;
  }

 private:
  bool divide(int32_t factor) {
    num /= factor;
    den /= 4;
    return true;
  }
};

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
    marks.forgetLevels();
    focusShown.reset();
  }
  checkSelections();
  showFirst();
  keepFitted();
  contentChanged();
  selectionChanged();
}

void ZBasicView::onActivate() {
  if (tool == kToolReview && reviewed != &doc) chooseTool(kToolReview);
  keepCountApart();
  site().panesChanged();
  refreshLevelCharts(doc, selected);
}

void ZBasicView::onSize() {
  hasFrame = true;
  showFirst();
  keepFitted();
}

void ZBasicView::showFirst() {
  if (wasShown || !hasFrame || !hasImage()) return;
  wasShown = true;
  const Size content = contentSize();
  if (content.width <= windowSize().width && content.height <= windowSize().height) return;
  keepFitted();
  const Size fitted = contentSize();
  site().resizeFrame({fitted.width + 2, fitted.height + 2});
}

// A picture is wholly seen in whatever window it gets, until the user wants it otherwise.
void ZBasicView::keepFitted() {
  const CZZimage* image = doc.theImage();
  if (!isFitted || !hasFrame || !image) return;
  const std::pair now(windowSize(), Size{image->width, image->frameHeight()});
  if (std::exchange(metFrame, now) != now) fitTo(windowSize());
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

void ZBasicView::zoomIn() { takeStep(true); }
void ZBasicView::zoomOut() { takeStep(false); }

// From a ratio between the steps to the next one.
void ZBasicView::takeStep(bool in) {
  const ZoomRatio from{zoomnum, zoomden};
  const bool enlarged = zoomnum >= zoomden;
  ZoomRatio step;
  const auto isShort = [&] {
    const int64_t there = int64_t{step.num} * from.den, here = int64_t{from.num} * step.den;
    return enlarged ? there < here : there > here;
  };
  while (isShort() && step.move(enlarged)) {
  }
  const bool isBeyond = int64_t{step.num} * from.den != int64_t{from.num} * step.den;
  if (!(isBeyond && in == enlarged)) step.move(in);
  setZoom(step.num, step.den);
}

void ZBasicView::setZoom(int32_t num, int32_t den) {
  zoomnum = num;
  zoomden = den;
  isFitted = false;
  contentChanged();
  site().panesChanged();
}

void ZBasicView::fitTo(Size area) {
  constexpr int32_t kMost = 13;
  if (!hasImage() || area.width <= 0 || area.height <= 0) return;
  const Size image{doc.theImage()->width, doc.theImage()->frameHeight()};
  const double ai = static_cast<double>(image.width) / image.height;
  const double aw = static_cast<double>(area.width) / area.height;
  ZoomRatio wanted = ai >= aw ? ZoomRatio{area.width, image.width} : ZoomRatio{area.height, image.height};
  if (wanted.num > int64_t{wanted.den} * kMost) wanted = {kMost, 1};
  if (wanted.den > int64_t{wanted.num} * kMost) wanted = {1, kMost};
  logPrintf("zoomfit %i,%i\n", area.width, area.height);
  logPrintf("ai %f aw %f z %f\n", ai, aw, static_cast<double>(wanted.num) / wanted.den);
  const int32_t common = std::gcd(wanted.num, wanted.den);
  setZoom(wanted.num / common, wanted.den / common);
  isFitted = true;
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
