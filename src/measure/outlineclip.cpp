#include "measure/outlineclip.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "base/numbers.h"

namespace tarnvisor {

namespace {

OutlinePoint middleOf(const Rect& r) {
  return {(double(r.left) + r.right) * 0.5, (double(r.top) + r.bottom) * 0.5};
}

// Above 0 on the inner side of a border that runs clockwise on the screen.
double inward(OutlinePoint from, OutlinePoint to, OutlinePoint p) {
  return (to.x - from.x) * (p.y - from.y) - (to.y - from.y) * (p.x - from.x);
}

// After Sutherland and Hodgman: one straight border of a convex region at a time.
Outline cutBy(OutlinePoint from, OutlinePoint to, const Outline& outline) {
  constexpr double kOnBorder = -1e-7;
  Outline kept;
  for (size_t i = 0; i < outline.size(); ++i) {
    const OutlinePoint a = outline[i], b = outline[(i + 1) % outline.size()];
    const double sideA = inward(from, to, a), sideB = inward(from, to, b);
    if (sideA >= kOnBorder) kept.push_back(a);
    if ((sideA >= kOnBorder) == (sideB >= kOnBorder)) continue;
    const double part = sideA / (sideA - sideB);
    kept.push_back({a.x + (b.x - a.x) * part, a.y + (b.y - a.y) * part});
  }
  return kept;
}

}  // namespace

Outline circleOutline(double cx, double cy, double radius) {
  constexpr int kCorners = 180;  // a multiple of 4: the same on either side of both axes
  const double step = 2 * std::numbers::pi / kCorners;
  const double reach = radius * std::sqrt(step / std::sin(step));
  Outline corners;
  for (int i = 0; i < kCorners; ++i)
    corners.push_back({cx + reach * std::cos((i + 0.5) * step), cy + reach * std::sin((i + 0.5) * step)});
  return corners;
}

Outline rectOutline(const Rect& r) {
  const double left = r.left, top = r.top, right = r.right, bottom = r.bottom;
  return {{left, top}, {right, top}, {right, bottom}, {left, bottom}};
}

Outline clippedOutline(Outline outline, const Rect& rect, bool circle) {
  if (rect.isEmpty()) return {};
  const OutlinePoint middle = middleOf(rect);
  const double radius = std::min(double(rect.right) - rect.left, double(rect.bottom) - rect.top) * 0.5;
  constexpr double kRounding = 0.75;  // above half a pixel's diagonal
  const auto isNear = [&](OutlinePoint p) {
    return std::hypot(p.x - middle.x, p.y - middle.y) <= radius + kRounding;
  };
  if (circle && std::all_of(outline.begin(), outline.end(), isNear)) return outline;
  const Outline region = circle ? circleOutline(middle.x, middle.y, radius) : rectOutline(rect);
  for (size_t i = 0; i < region.size() && !outline.empty(); ++i)
    outline = cutBy(region[i], region[(i + 1) % region.size()], outline);
  return outline;
}

double outlineArea(const Outline& outline) {
  double sum = 0.0;
  for (size_t i = 0; i < outline.size(); ++i) {
    const OutlinePoint a = outline[i], b = outline[(i + 1) % outline.size()];
    sum += (a.y + b.y) * (a.x - b.x);
  }
  return std::abs(sum) * 0.5;
}

std::vector<Point> wholePixels(const Outline& outline) {
  std::vector<Point> points;
  for (const OutlinePoint& p : outline) {
    const Point at{truncated(std::floor(p.x + 0.5)), truncated(std::floor(p.y + 0.5))};
    if (points.empty() || points.back() != at) points.push_back(at);
  }
  while (points.size() > 1 && points.back() == points.front()) points.pop_back();
  return points;
}

}  // namespace tarnvisor
