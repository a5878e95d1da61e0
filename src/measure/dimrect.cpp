#include "measure/dimrect.h"

#include "measure/distance.h"

namespace tarnvisor {

namespace {
double areaOf(const Rect& r) { return (double(r.right) - r.left) * (double(r.bottom) - r.top); }
}  // namespace

const ArchiveClass& CDimRect::archiveClass() {
  static const ArchiveClass record{"CDimRect", 1, &CDim::archiveClass(), [] {
                                     return std::unique_ptr<ArchiveObject>(std::make_unique<CDimRect>());
                                   }};
  return record;
}

std::unique_ptr<CDim> CDimRect::Clone() const {
  auto copy = std::make_unique<CDimRect>();
  copyTo(*copy);
  return copy;
}

void CDimRect::Update() {
  bounds = {};
  if (points.size() == 2) bounds = Rect{points[0].x, points[0].y, points[1].x, points[1].y}.normalised();
}

double CDimRect::Area(double sx, double sy) const { return areaOf(bounds) * sx * sy; }

double CDimRect::AreaIn(const Rect& rect, bool circle, double sx, double sy) const {
  const double area = circle ? outlineArea(clippedOutline(rectOutline(bounds), rect, true))
                             : areaOf(bounds.intersected(rect));
  return area * sx * sy;
}

std::unique_ptr<CDim> CDimRect::Clipped(const Rect& rect, bool circle) const {
  if (bounds.isEmpty()) return CDim::Clipped(rect, circle);
  if (circle) return clippedArea(rectOutline(bounds), rect, true);
  const Rect part = bounds.intersected(rect);
  if (part.isEmpty()) return nullptr;
  auto left = Clone();
  left->points = {part.topLeft(), {part.right, part.bottom}};
  left->Update();
  return left;
}

double CDimRect::DistanceTo(double x, double y) const {
  return points.size() == 2 ? distanceToBox(x, y, bounds) : CDim::DistanceTo(x, y);
}

void CDimRect::Paint(Canvas& canvas, bool isSelected) const {
  if (points.size() == 2) canvas.rectangle(bounds);
  if (isSelected || points.size() == 1) paintCrosses(canvas);
}

}  // namespace tarnvisor
