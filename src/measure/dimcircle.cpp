#include "measure/dimcircle.h"

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
  const double radius = Distance(0, 1, 1.0, 1.0) * 0.5;
  Point middle;
  double x = 0.0, y = 0.0;
  Centre(middle, x, y);
  bounds = {truncated(x - radius), truncated(y - radius), truncated(x + radius), truncated(y + radius)};
}

double CDimCircle::Area(double sx, double sy) const {
  if (points.size() != 2) return 0.0;
  const double radius = Distance(0, 1, 1.0, 1.0) * 0.5;
  return radius * radius * sx * sy * std::numbers::pi;
}

double CDimCircle::AreaIn(const Rect& rect, bool circle, double sx, double sy) const {
  if (!bounds.intersected(rect).isEmpty()) return Area(sx, sy);
  if (!circle) return 0.0;
  Point middle;
  double x = 0.0, y = 0.0;
  Centre(middle, x, y);
  const double dx = x - (double(rect.left) + rect.right) * 0.5,
               dy = y - (double(rect.top) + rect.bottom) * 0.5;
  const double reach = double(rect.right) - rect.left + Length(1.0, 1.0);
  return 2 * (dx * dx + dy * dy) < reach ? Area(sx, sy) : 0.0;
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
