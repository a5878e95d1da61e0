// What the image view draws: the picture, its overlays, and on top what only the window shows.
#include <array>

#include "drawing/picturepainter.h"
#include "imagedoc/overlay.h"
#include "imagedoc/zbasicview.h"

namespace tarnvisor {

namespace {

// Dark below light, so that it is seen on any picture.
void drawRubber(Canvas& canvas, const ZBasicView::Rubber& rubber, int32_t dragmode) {
  constexpr Colour kBelow = 0, kAbove = 0xffffff;
  for (const Pen& pen : {Pen{kBelow, 1, false}, Pen{kAbove, 1, true}}) {
    canvas.setPen(pen);
    if (dragmode == ZBasicView::kRectRubber)
      canvas.rectangle(Rect{rubber.from.x, rubber.from.y, rubber.to.x, rubber.to.y}.normalised());
    else
      canvas.polyline(std::array<Point, 2>{rubber.from, rubber.to});
  }
}

}  // namespace

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
  if (dragmode != kNoDrag) drawRubber(zoomed, rubber, dragmode);
  if (showsScaleBar) drawScaleBar(canvas, scaleBarFor(doc, zoomnum, zoomden, area.width), area);
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
  if (wish.scaleBar) drawScaleBar(canvas, scaleBarFor(doc, wish.times, 1, size.width), size);
}

}  // namespace tarnvisor
