#include "measure/dimline.h"

#include <algorithm>

#include "base/numbers.h"

namespace tarnvisor {

const ArchiveClass& CDimLine::archiveClass() {
  static const ArchiveClass record{"CDimLine", 1, &CDim::archiveClass(), [] {
                                     return std::unique_ptr<ArchiveObject>(std::make_unique<CDimLine>());
                                   }};
  return record;
}

std::unique_ptr<CDim> CDimLine::Clone() const {
  auto copy = std::make_unique<CDimLine>();
  copyTo(*copy);
  return copy;
}

void CDimLine::Centre(Point& out, double& x, double& y) const {
  if (points.empty()) return;
  x = (double(points.front().x) + points.back().x) * 0.5;
  y = (double(points.front().y) + points.back().y) * 0.5;
  out = {truncated(x), truncated(y)};
}

double CDimLine::DistanceTo(double x, double y) const {
  const double fromMiddle = CDim::DistanceTo(x, y);
  return outline.empty() ? fromMiddle : std::max(0.0, fromMiddle - width * 0.5);
}

void CDimLine::Paint(Canvas& canvas, bool isSelected) const {
  if (outline.empty()) {
    CDim::Paint(canvas, isSelected);
  } else {
    canvas.polygon(outline);
    if (isSelected) paintCrosses(canvas);
  }
  if (breaks.empty()) return;
  canvas.setPen({colour, 1, false});
  constexpr int32_t half = 3, far = 1 << 30;
  for (const Point& point : breaks) {
    const Point p{std::clamp(point.x, -far, far), std::clamp(point.y, -far, far)};
    canvas.polygon(
        std::vector<Point>{{p.x - half, p.y}, {p.x, p.y - half}, {p.x + half, p.y}, {p.x, p.y + half}});
  }
}

}  // namespace tarnvisor
