// What the image view draws: the picture, then its overlays.
#include "imagedoc/picturepainter.h"
#include "imagedoc/zbasicview.h"

namespace tarnvisor {

void ZBasicView::draw(Canvas& canvas) {
  if (!doc.hasImage()) return;
  painter->paint(canvas, *doc.theImage(), zoomnum, zoomden, scrollPosition(), windowSize());
  ZoomCanvas zoomed(canvas, zoomnum, zoomden, scrollPosition());
  doc.currentDims().draw(zoomed, selected);
}

}  // namespace tarnvisor
