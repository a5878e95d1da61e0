#include "measure/dimcircle.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "base/numbers.h"

namespace tarnvisor {

const ArchiveClass& CDimCircle::archiveClass() {
  static const ArchiveClass record{"CDimCircle", 1, &CDim::archiveClass(), [] {
                                     return std::unique_ptr<ArchiveObject>(std::make_unique<CDimCircle>());
                                   }};
  return record;
}

std::unique_ptr<CDim> CDimCircle::Clone() const {
  auto copy = std::make_unique<CDimCircle>();
  copyTo(*copy);
  return copy;
}

void CDimCircle::Update() {
  bounds = {};
  if (points.size() != 2) return;
  const double r = radius();
  Point middle;
  double x = 0.0, y = 0.0;
  Centre(middle, x, y);
  bounds = {truncated(x - r), truncated(y - r), truncated(x + r), truncated(y + r)};
}

double CDimCircle::Area(double sx, double sy) const {
  if (points.size() != 2) return 0.0;
  return radius() * radius() * sx * sy * std::numbers::pi;
}

bool CDimCircle::Overlaps(const Rect& rect, bool circle) const {
  if (points.size() < 2) return CDim::Overlaps(rect, circle);
  Point middle;
  double x = 0.0, y = 0.0;
  Centre(middle, x, y);
  return isWithin(x, y, rect, circle);
}

double CDimCircle::LengthIn(const Rect& rect, bool circle, double sx, double sy) const {
  return Overlaps(rect, circle) ? Length(sx, sy) : 0.0;
}

double CDimCircle::DistanceTo(double x, double y) const {
  if (points.size() != 2) return CDim::DistanceTo(x, y);
  Point middle;
  double cx = 0.0, cy = 0.0;
  Centre(middle, cx, cy);
  const double off = std::hypot(x - cx, y - cy);
  return std::min(off, std::abs(off - radius()));
}

void CDimCircle::MovePoint(int32_t index, Point to) {
  if (points.size() != 2 || !hasPoint(index)) return CDim::MovePoint(index, to);
  const Point ends = points[0] + points[1];  // twice the centre, whole where half of it is not
  points[static_cast<size_t>(index)] = to;
  points[static_cast<size_t>(1 - index)] = ends - to;
  Update();
}

std::unique_ptr<CDim> CDimCircle::Clipped(const Rect& rect, bool circle) const {
  if (points.size() != 2 || points[0] == points[1]) return CDim::Clipped(rect, circle);
  Point middle;
  double x = 0.0, y = 0.0;
  Centre(middle, x, y);
  const double r = radius();
  const double dx = x - (double(rect.left) + rect.right) * 0.5;
  const double dy = y - (double(rect.top) + rect.bottom) * 0.5;
  const double room = std::min(double(rect.right) - rect.left, double(rect.bottom) - rect.top) * 0.5;
  const bool whole =
      circle ? std::hypot(dx, dy) + r <= room
             : x - r >= rect.left && x + r <= rect.right && y - r >= rect.top && y + r <= rect.bottom;
  return whole ? Clone() : clippedArea(circleOutline(x, y, r), rect, circle);
}

void CDimCircle::Centre(Point& out, double& x, double& y) const {
  if (points.empty()) return;
  x = (double(points.front().x) + points.back().x) * 0.5;
  y = (double(points.front().y) + points.back().y) * 0.5;
  out = {truncated(x), truncated(y)};
}

void CDimCircle::Paint(Canvas& canvas, bool isSelected) const {
  if (points.size() == 2) canvas.ellipse(bounds);
  if (isSelected || points.size() == 1) paintCrosses(canvas);
}

}  // namespace tarnvisor
