#include "measure/distance.h"

#include <algorithm>
#include <cmath>

namespace tarnvisor {

double distanceToPoint(double x, double y, Point point) {
  return std::max(std::abs(x - point.x), std::abs(y - point.y));
}

double distanceToSegment(double x, double y, Point a, Point b) {
  const double dx = double(b.x) - a.x, dy = double(b.y) - a.y;
  const double square = dx * dx + dy * dy;
  const double along = square > 0 ? std::clamp(((x - a.x) * dx + (y - a.y) * dy) / square, 0.0, 1.0) : 0.0;
  return std::hypot(x - (a.x + along * dx), y - (a.y + along * dy));
}

double distanceToBox(double x, double y, const Rect& box) {
  const Point corners[] = {
      {box.left, box.top}, {box.right, box.top}, {box.right, box.bottom}, {box.left, box.bottom}};
  double nearest = kNever;
  for (size_t i = 0; i < 4; ++i)
    nearest = std::min(nearest, distanceToSegment(x, y, corners[i], corners[(i + 1) % 4]));
  return nearest;
}

}  // namespace tarnvisor
