// What lies over the picture of an image: grid, region of interest, target, origin and dimensions, and in a
// window the rubber band and the scale bar.
#pragma once

#include <string>

#include "drawing/zoomcanvas.h"

namespace tarnvisor {

class ZBasicDoc;

// A cross whose middle pixel stays free.
void drawGappedCross(Canvas& canvas, Point at, int32_t halfSize, Colour colour);

// Whether marks have their numbers and labels, on the screen and on paper: a choice of the profile.
bool drawsLabels();
void setDrawsLabels(bool on);

// In this order: the grid, the region of interest, the target, the origin, the lists that are not current,
// the current list with the selected dimension. canvas takes pixels of the image's parent frame; visible is
// the part of that plane that is seen, and may reach beyond the image.
void drawOverlays(ZoomCanvas& canvas, const ZBasicDoc& document, int32_t selected, const Rect& visible);

// A bar of a round length: 1, 2 or 5 times a power of ten of the document's units, and the longest of those
// that is at most a quarter of the window's width.
struct ScaleBar {
  double units = 0;    // 0: there is none
  int32_t pixels = 0;  // of the window
  std::string label;   // "100 um"
};
ScaleBar scaleBarFor(const ZBasicDoc& document, int32_t zoomnum, int32_t zoomden, int32_t windowWidth);
// At the bottom right of that area, whose pixels the bar's are.
void drawScaleBar(Canvas& canvas, const ScaleBar& bar, const Rect& area);

// Words on a dark ground beside a place of the window, and within it.
void drawBeside(Canvas& canvas, Point at, const std::string& words, Size window);

}  // namespace tarnvisor
