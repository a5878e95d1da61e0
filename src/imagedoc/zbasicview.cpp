#include "imagedoc/zbasicview.h"

#include "imagedoc/picturepainter.h"
#include "settings/log.h"

namespace tarnvisor {

int32_t tool = kToolNone;

ZBasicView::ZBasicView(ZBasicDoc& document)
    : CView(document), doc(document), painter(std::make_unique<PicturePainter>()) {}
ZBasicView::~ZBasicView() = default;

void ZBasicView::onUpdate() {
  painter->invalidate();
  contentChanged();
}

void ZBasicView::onActivate() { site().panesChanged(); }

Size ZBasicView::contentSize() const {
  const CZZimage* image = doc.theImage();
  if (!image) return {};
  return {image->width * zoomnum / zoomden, image->height * zoomnum / zoomden};
}

std::vector<StatusPane> ZBasicView::panes() const { return {}; }

Point ZBasicView::toImage(Point window) const {
  const Point at = window + scrollPosition();
  return {at.x * zoomden / zoomnum, at.y * zoomden / zoomnum};
}

Point ZBasicView::toWindow(Point imagePoint) const {
  return Point{imagePoint.x * zoomnum / zoomden, imagePoint.y * zoomnum / zoomden} - scrollPosition();
}

void ZBasicView::zoomIn() {
  if (zoomnum < zoomden) {
    zoomnum /= 3;
    zoomden /= 4;
  } else {
    zoomnum *= 5;
    zoomden *= 4;
  }
  contentChanged();
}

void ZBasicView::zoomOut() {
  if (zoomnum <= zoomden) {
    zoomnum *= 3;
    zoomden *= 4;
  } else {
    zoomnum /= 5;
    zoomden /= 4;
  }
  contentChanged();
}

void ZBasicView::fitTo(Size) {}
void ZBasicView::zoomAbout(Point, bool in) { in ? zoomIn() : zoomOut(); }

}  // namespace tarnvisor
