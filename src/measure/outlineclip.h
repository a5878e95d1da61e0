// The outline of an area cut by a rectangle, or by the circle in it. Unrounded, so that areas don't lose what
// points on whole pixels would. The sides of the rectangle belong to it, as for a segment (segmentclip.h).
#pragma once

#include <vector>

#include "base/geometry.h"

namespace tarnvisor {

struct OutlinePoint {
  double x = 0;
  double y = 0;
};
using Outline = std::vector<OutlinePoint>;  // not closed: its last point leads back to its first

Outline circleOutline(double cx, double cy, double radius);  // of the circle's own area
Outline rectOutline(const Rect& rect);
// What of the outline lies inside; empty when nothing does. A part that leaves and comes back stays joined
// along the border, which adds no area. With circle: the circle about the rectangle's middle, as wide as its
// shorter side; an outline that leaves it by no more than the rounding to whole pixels is not cut again.
Outline clippedOutline(Outline outline, const Rect& rect, bool circle);
double outlineArea(const Outline& outline);
std::vector<Point> wholePixels(const Outline& outline);  // the nearest, none twice in a row

}  // namespace tarnvisor
