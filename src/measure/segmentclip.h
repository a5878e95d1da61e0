// A segment of a line cut by a rectangle, or by the circle in it. Image pixels; here, unlike elsewhere, the
// right and bottom sides belong to the rectangle, so that a cut lies exactly on the border.
#pragma once

#include "base/geometry.h"

namespace tarnvisor {

// Shortens the segment to what lies inside; false, with both ends unchanged, when nothing does. Cut ends are
// truncated. With circle: the crossings of the segment's line with the circle about the rectangle's centre,
// of half its width as radius, make up a rectangle that the segment is then clipped to.
bool clipSegment(Point& a, Point& b, const Rect& rect, bool circle);
// What part of the segment, from 0 to 1, lies in that circle: its ends are not rounded.
double shareInCircle(Point a, Point b, const Rect& rect);

}  // namespace tarnvisor
