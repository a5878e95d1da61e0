// What changes a dimension, or makes another from it.
#include <algorithm>
#include <cmath>

#include "base/numbers.h"
#include "measure/dim.h"
#include "measure/dimline.h"
#include "measure/dimpolygon.h"
#include "measure/segmentclip.h"

namespace tarnvisor {

namespace {

int32_t saturated(int64_t v) { return static_cast<int32_t>(std::clamp<int64_t>(v, INT32_MIN, INT32_MAX)); }

std::unique_ptr<CDimLine> lineBetween(const CDim& like, Point from, Point to) {
  auto line = std::make_unique<CDimLine>();
  line->colour = like.colour;
  line->width = like.width;
  line->points = {from, to};
  line->Update();
  return line;
}

}  // namespace

int32_t CDim::RemovePoint(int32_t index) {
  if (hasPoint(index)) {
    points.erase(points.begin() + index);
    Update();
  }
  return pointCount();
}

void CDim::RemoveAllPoints() {
  points.clear();
  Update();
}

void CDim::MoveTo(Point point) {
  if (points.empty()) return;
  const int64_t dx = int64_t{point.x} - points.front().x, dy = int64_t{point.y} - points.front().y;
  for (Point& p : points) p = {saturated(p.x + dx), saturated(p.y + dy)};
  Update();
}

void CDim::MovePoint(int32_t index, Point to) {
  if (!hasPoint(index)) return;
  points[static_cast<size_t>(index)] = to;
  Update();
}

void CDim::Rotate(double angle, double cx, double cy) {
  const double c = std::cos(angle), s = std::sin(angle);
  for (Point& p : points) {
    const double dx = p.x - cx, dy = p.y - cy;
    p = {truncated(dx * c + dy * s + cx), truncated(dy * c - dx * s + cy)};
  }
  Update();
}

void CDim::Scale(int32_t numerator, int32_t denominator) {
  if (denominator == 0) return;
  for (Point& p : points)
    p = {saturated(int64_t{p.x} * numerator / denominator),
         saturated(int64_t{p.y} * numerator / denominator)};
  Update();
}

void CDim::copyTo(CDim& copy) const {
  copy.colour = colour;
  copy.width = width;
  copy.label = label;
  copy.points = points;
  copy.Update();
}

std::unique_ptr<CDim> CDim::Clone() const {
  auto copy = std::make_unique<CDim>();
  copyTo(*copy);
  return copy;
}

std::unique_ptr<CDimLine> CDim::Perpendicular(double length) const {
  double dx = 0.0, dy = 0.0;
  if (!chord(dx, dy)) return nullptr;
  const double half = length < 1.0 ? 0.5 : 0.5 * length / std::sqrt(dx * dx + dy * dy);
  const double mx = points.front().x + dx * 0.5, my = points.front().y + dy * 0.5;
  return lineBetween(*this, {truncated(mx - dy * half), truncated(my + dx * half)},
                     {truncated(mx + dy * half), truncated(my - dx * half)});
}

void CDim::PerpendicularsAtStart(std::unique_ptr<CDimLine>& one, std::unique_ptr<CDimLine>& other) const {
  one.reset();
  other.reset();
  double dx = 0.0, dy = 0.0;
  if (!chord(dx, dy)) return;
  const Point start = points.front();
  one = lineBetween(*this, start, {truncated(start.x - dy), truncated(start.y + dx)});
  other = lineBetween(*this, start, {truncated(start.x + dy), truncated(start.y - dx)});
}

bool CDim::Clip(const Rect& rect, bool circle) {
  if (!Overlaps(rect, circle)) return false;
  if (points.size() == 1) return true;
  const std::vector<Point> whole = std::move(points);
  const Rect grown{saturated(int64_t{rect.left} - 1), saturated(int64_t{rect.top} - 1),
                   saturated(int64_t{rect.right} + 1), saturated(int64_t{rect.bottom} + 1)};
  points.clear();
  // A cut always stays: truncated, it may lie a little farther from the circle than the one pixel of grace.
  // One that is there from an earlier clip is not added again.
  const auto keepCut = [&](Point point) {
    if (points.empty() || points.back() != point) points.push_back(point);
  };
  const auto keepIfInside = [&](Point point) {
    points.push_back(point);
    if (!PointIn(pointCount() - 1, grown, circle)) points.pop_back();
  };
  keepIfInside(whole.front());
  for (size_t i = 1; i < whole.size(); ++i) {
    Point a = whole[i - 1], b = whole[i];
    if (clipSegment(a, b, rect, circle)) {
      if (a != whole[i - 1]) keepCut(a);
      if (b != whole[i]) keepCut(b);
      if (a != whole[i - 1] && a == whole[i]) continue;  // it is that cut
    }
    keepIfInside(whole[i]);
  }
  Update();
  return !points.empty();
}

std::unique_ptr<CDim> CDim::Clipped(const Rect& rect, bool circle) const {
  auto part = Clone();
  if (!part->Clip(rect, circle)) return nullptr;
  return part;
}

std::unique_ptr<CDim> CDim::clippedArea(Outline outline, const Rect& rect, bool circle) const {
  auto part = std::make_unique<CDimPolygon>();
  part->colour = colour;
  part->width = width;
  part->label = label;
  part->points = wholePixels(clippedOutline(std::move(outline), rect, circle));
  part->Close();
  if (part->Area(1.0, 1.0) == 0.0) return nullptr;
  return part;
}

}  // namespace tarnvisor
