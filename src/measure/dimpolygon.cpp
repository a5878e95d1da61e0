#include "measure/dimpolygon.h"

#include <algorithm>
#include <cmath>

#include "base/numbers.h"
#include "measure/distance.h"

namespace tarnvisor {

const ArchiveClass& CDimPolygon::archiveClass() {
  static const ArchiveClass record{"CDimPolygon", 1, &CDim::archiveClass(), [] {
                                     return std::unique_ptr<ArchiveObject>(std::make_unique<CDimPolygon>());
                                   }};
  return record;
}

std::unique_ptr<CDim> CDimPolygon::Clone() const {
  auto copy = std::make_unique<CDimPolygon>();
  copyTo(*copy);
  return copy;
}

void CDimPolygon::Close() {
  if (points.size() > 2 && points.back() != points.front()) AddPoint(Point(points.front()));
}

double CDimPolygon::Area(double sx, double sy) const {
  const size_t corners = points.empty() ? 0 : points.size() - 1;
  double sum = 0.0;
  for (size_t i = 0; i < corners; ++i) {
    const Point a = points[i], b = points[(i + 1) % corners];
    sum += (double(a.y) + b.y) * (double(a.x) - b.x);
  }
  return std::abs(sum) * sx * sy * 0.5;
}

std::unique_ptr<CDim> CDimPolygon::Clipped(const Rect& rect, bool circle) const {
  if (points.size() < 3) return CDim::Clipped(rect, circle);
  Outline outline;
  for (const Point& p : points) outline.push_back({double(p.x), double(p.y)});
  if (points.back() == points.front()) outline.pop_back();
  return clippedArea(std::move(outline), rect, circle);
}

void CDimPolygon::Anchor(Point& out) const {
  if (points.empty()) return;
  const size_t corners = std::max<size_t>(points.size() - 1, 1);
  double x = 0.0, y = 0.0;
  for (size_t i = 0; i < corners; ++i) {
    x += points[i].x;
    y += points[i].y;
  }
  out = {truncated(x / static_cast<double>(corners)), truncated(y / static_cast<double>(corners))};
}

double CDimPolygon::DistanceTo(double x, double y) const {
  if (points.empty()) return CDim::DistanceTo(x, y);
  return std::min(CDim::DistanceTo(x, y), distanceToSegment(x, y, points.back(), points.front()));
}

void CDimPolygon::MovePoint(int32_t index, Point to) {
  const bool isClosed = points.size() > 2 && points.back() == points.front();
  const bool isSeam = index == 0 || index == pointCount() - 1;
  if (isClosed && isSeam) CDim::MovePoint(pointCount() - 1 - index, to);
  CDim::MovePoint(index, to);
}

void CDimPolygon::Paint(Canvas& canvas, bool isSelected) const {
  CDim::Paint(canvas, isSelected);
  if (points.size() > 1) canvas.polyline(std::vector<Point>{points.back(), points.front()});
}

}  // namespace tarnvisor
