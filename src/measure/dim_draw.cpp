// A dimension on a canvas.
#include <algorithm>

#include "measure/dim.h"

namespace tarnvisor {

namespace {
constexpr int32_t kLabelGap = 4;  // from the first point to the label, pixels
constexpr int32_t kCrossHalf = 3;
// Far beyond any image: keeps the arithmetic of what surrounds a point within bounds.
constexpr int32_t kFar = 1 << 30;
Point drawable(Point p) { return {std::clamp(p.x, -kFar, kFar), std::clamp(p.y, -kFar, kFar)}; }
}  // namespace

void CDim::Draw(Canvas& canvas, bool isSelected, const std::string& number) const {
  if (points.empty()) return;
  canvas.setPen({colour, 1, isSelected || selected});
  const std::string text = number.empty() || label.empty() ? number + label : number + " " + label;
  const Point first = drawable(points.front());
  if (!text.empty()) canvas.text({first.x + kLabelGap, first.y}, text, colour);
  Paint(canvas, isSelected);
}

void CDim::DrawBare(Canvas& canvas, bool isSelected) const {
  if (points.empty()) return;
  canvas.setPen({colour, 1, isSelected || selected});
  Paint(canvas, isSelected);
}

void CDim::DrawCross(Canvas& canvas, int32_t index) const {
  if (!hasPoint(index)) return;
  const Point p = drawable(points[static_cast<size_t>(index)]);
  canvas.polyline(std::vector<Point>{{p.x - kCrossHalf, p.y}, {p.x + kCrossHalf, p.y}});
  canvas.polyline(std::vector<Point>{{p.x, p.y - kCrossHalf}, {p.x, p.y + kCrossHalf}});
}

void CDim::paintCrosses(Canvas& canvas) const {
  for (int32_t i = 0; i < pointCount(); ++i) DrawCross(canvas, i);
}

// A single point has no extent to draw, so its cross stands for it, selected or not.
void CDim::Paint(Canvas& canvas, bool isSelected) const {
  if (points.size() > 1) canvas.polyline(points);
  if (isSelected || points.size() == 1) paintCrosses(canvas);
}

}  // namespace tarnvisor
