// How far a place is from what is drawn.
#pragma once

#include <limits>

#include "base/geometry.h"

namespace tarnvisor {

inline constexpr double kNever = std::numeric_limits<double>::infinity();

// On the axis on which it is farther: the points so near make a square, as a cross fills.
double distanceToPoint(double x, double y, Point point);
double distanceToSegment(double x, double y, Point a, Point b);
// From the nearest of its four sides.
double distanceToBox(double x, double y, const Rect& box);

}  // namespace tarnvisor
