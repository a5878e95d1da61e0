// What the image view draws: the picture, its overlays, and on top what only the window shows.
#include <algorithm>
#include <array>
#include <cmath>

#include "drawing/picturepainter.h"
#include "imagedoc/livefigures.h"
#include "imagedoc/overlay.h"
#include "imagedoc/zbasicview.h"

namespace tarnvisor {

namespace {

// Dark below light, so that it is seen on any picture: dashes on a line, or a line with a rim.
template <class Paint>
void drawTwice(Canvas& canvas, bool isDashed, const Paint& paint) {
  constexpr Colour kBelow = 0, kAbove = 0xffffff;
  for (const Pen& pen : {Pen{kBelow, isDashed ? 1 : 3, false}, Pen{kAbove, 1, isDashed}}) {
    canvas.setPen(pen);
    paint();
  }
}

constexpr int32_t kPartHalf = 4;  // of the square that stands for a part, window pixels

void drawPart(Canvas& canvas, Point at, bool isHovered) {
  const int32_t half = isHovered ? kPartHalf + 1 : kPartHalf;
  const Rect box = Rect{at.x, at.y, at.x, at.y}.inflatedBy(half);
  canvas.fill(box.inflatedBy(1), 0);
  canvas.fill(box, isHovered ? 0xffffff : 0xc0c0c0);
}

}  // namespace

// What is under the mouse stands out, and of the mark that is selected alone, or the ROI, what can be pulled.
void ZBasicView::drawHovered(Canvas& canvas, Canvas& zoomed) const {
  const bool isMark = hovered.isOfMark() && doc.currentDims().isValid(hovered.mark);
  if (hovered.of == Handle::Of::Mark && isMark)
    drawTwice(zoomed, false, [&] { doc.currentDims().at(hovered.mark).Paint(zoomed, false); });
  if (hovered.of == Handle::Of::Roi)
    drawTwice(zoomed, false,
              [&] { doc.hasCircularRoi() ? zoomed.ellipse(doc.roi) : zoomed.rectangle(doc.roi); });
  if (hovered.isOfRoi())
    for (const Handle& part : partsOfRoi(doc)) drawPart(canvas, toWindow(part.at), part == hovered);
  if (hovered.of == Handle::Of::MarksBox && isMark)
    for (const Handle& part : partsOfMark(doc, hovered.mark))
      drawPart(canvas, toWindow(part.at), part == hovered);
  if (hovered.of == Handle::Of::Point && isMark) drawPart(canvas, toWindow(hovered.at), true);
}

std::string ZBasicView::figures() const {
  if (holdsRoi()) return figuresOf(doc, roiToBe(), grip != Grip::DrawRoi && doc.hasCircularRoi());
  if (grip == Grip::Dimension) return {};
  const auto shapes = dimensionsToBe();
  if (shapes.empty()) return {};
  const bool isByHand = drawnWith == kToolFreehand;
  const int32_t vertex = grip == Grip::Part ? held.part : isByHand ? -1 : shapes[0]->pointCount() - 2;
  return figuresOf(doc, *shapes[0], vertex);
}

// A pale cross where a mark was.
void ZBasicView::drawRejected(Canvas& zoomed) const {
  if (tool != kToolReview) return;
  for (const auto& mark : doc.rejected[static_cast<size_t>(doc.currentlist)].items) {
    Point at;
    double x = 0, y = 0;
    mark->Centre(at, x, y);
    const int32_t half = std::max(3, static_cast<int32_t>(std::sqrt(mark->Area(1, 1)) / 3));
    drawTwice(zoomed, false, [&] {
      zoomed.polyline(std::array{Point{at.x - half, at.y - half}, Point{at.x + half, at.y + half}});
      zoomed.polyline(std::array{Point{at.x - half, at.y + half}, Point{at.x + half, at.y - half}});
    });
  }
}

void ZBasicView::drawInHand(Canvas& canvas, Canvas& zoomed) const {
  if (holdsRoi()) {
    const Rect area = roiToBe();
    drawTwice(zoomed, true, [&] {
      grip != Grip::DrawRoi&& doc.hasCircularRoi() ? zoomed.ellipse(area) : zoomed.rectangle(area);
    });
  } else if (grip == Grip::Dimension || grip == Grip::Part || isShapeAlive()) {
    const auto shapes = dimensionsToBe();
    drawTwice(zoomed, true, [&] {
      for (const auto& shape : shapes) shape->Paint(zoomed, false);
    });
  } else if (dragmode != kNoDrag) {
    drawTwice(zoomed, true, [&] {
      if (dragmode == kRectRubber) return zoomed.rectangle(banded());
      zoomed.polyline(std::array<Point, 2>{rubber.from, rubber.to});
    });
  }
  if (const std::string words = figures(); !words.empty()) drawBeside(canvas, mouseAt, words, windowSize());
}

void ZBasicView::draw(Canvas& canvas) {
  const Size area = windowSize();
  if (!doc.hasImage()) {
    canvas.fill({0, 0, area.width, area.height}, PicturePainter::kSurround & 0xffffff);
    return;
  }
  const Point from = scrollPosition() - pictureShift();
  painter->paint(canvas, *doc.theImage(), zoomnum, zoomden, from, area);
  ZoomCanvas zoomed(canvas, zoomnum, zoomden, from, {0, 0, area.width, area.height}, doc.imageOrigin());
  const Point corner = Point{} - pictureShift();
  const Point first = toImage(corner), last = toImage(corner + Point{area.width, area.height});
  drawOverlays(zoomed, doc, selected, {first.x, first.y, wrapAdd(last.x, 1), wrapAdd(last.y, 1)});
  drawRejected(zoomed);
  drawHovered(canvas, zoomed);
  drawInHand(canvas, zoomed);
  if (showsScaleBar)
    drawScaleBar(canvas, scaleBarFor(doc, zoomnum, zoomden, area.width), {0, 0, area.width, area.height});
}

Size ZBasicView::pictureSize(int32_t times) const {
  const CZZimage* image = doc.theImage();
  if (!image) return {};
  constexpr int32_t kFar = 1 << 20;  // more is refused by whoever writes it
  return {std::min(image->width, kFar) * times, std::min(image->frameHeight(), kFar) * times};
}

// The image at a whole number of pixels for each of its own, whatever the zoom.
void ZBasicView::drawPicture(Canvas& canvas, Size size, const PictureWish& wish) {
  PicturePainter own;
  own.paint(canvas, *doc.theImage(), wish.times, 1, {}, size);
  if (wish.overlays) {
    ZoomCanvas zoomed(canvas, wish.times, 1, {}, {0, 0, size.width, size.height}, doc.imageOrigin());
    const Rect frame = doc.theImage()->frameRect();
    drawOverlays(zoomed, doc, -1, {frame.left, frame.top, wrapAdd(frame.right, 1), wrapAdd(frame.bottom, 1)});
  }
  if (wish.scaleBar)
    drawScaleBar(canvas, scaleBarFor(doc, wish.times, 1, size.width), {0, 0, size.width, size.height});
}

}  // namespace tarnvisor
