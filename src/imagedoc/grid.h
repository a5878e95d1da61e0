// The grid over an image: lines or points at a spacing through imageoffset, or a drawing over the central
// square.
#pragma once

#include "drawing/zoomcanvas.h"

namespace tarnvisor {

class ZBasicDoc;

// Pixels of the image between two grid lines; in user units the raw magnification counts, calibrated or not.
struct GridSpacing {
  double x = 0;
  double y = 0;
};
GridSpacing gridSpacing(const ZBasicDoc& document);

// As large as the image's shorter side, centred on the longer one.
Rect centralSquare(Size image);

// canvas takes pixels of the image's parent frame; visible is the part of that plane that is seen. A spacing
// that is no length, and a drawing that couldn't be loaded, draw nothing.
void drawGrid(ZoomCanvas& canvas, const ZBasicDoc& document, const Rect& visible);

}  // namespace tarnvisor
