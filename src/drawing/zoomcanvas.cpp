#include "drawing/zoomcanvas.h"

#include <array>
#include <cmath>
#include <numbers>

namespace tarnvisor {

namespace {

constexpr int32_t kPenMargin = 450;      // more than half of the widest line
constexpr int32_t kFarAway = 1 << 14;    // from what is seen
constexpr int32_t kCharacterWidth = 40;  // none is wider: texts are judged before they are measured

Rect boundsOf(std::span<const Point> points) {
  Rect r{points.front().x, points.front().y, points.front().x, points.front().y};
  for (const Point& p : points)
    r = {std::min(r.left, p.x), std::min(r.top, p.y), std::max(r.right, p.x), std::max(r.bottom, p.y)};
  return r;
}

// The part of a segment within the limits, both included (Liang and Barsky 1984); false when there is none.
bool cutSegment(Point& a, Point& b, const Rect& limits) {
  const double dx = double(b.x) - a.x, dy = double(b.y) - a.y;
  const std::array<std::array<double, 2>, 4> sides{{{-dx, double(a.x) - limits.left},
                                                    {dx, double(limits.right) - a.x},
                                                    {-dy, double(a.y) - limits.top},
                                                    {dy, double(limits.bottom) - a.y}}};
  double from = 0, to = 1;
  for (const auto& [speed, room] : sides) {
    if (speed == 0) {
      if (room < 0) return false;
      continue;
    }
    if (speed < 0)
      from = std::max(from, room / speed);
    else
      to = std::min(to, room / speed);
  }
  if (from > to) return false;
  const Point start = a;
  const auto at = [&](double t) {
    return Point{static_cast<int32_t>(std::lround(start.x + t * dx)),
                 static_cast<int32_t>(std::lround(start.y + t * dy))};
  };
  a = from > 0 ? at(from) : a;
  b = to < 1 ? at(to) : b;
  return true;
}

// Points on the ellipse within a rectangle, the first again at the end.
std::vector<Point> pointsOnEllipse(const Rect& r) {
  constexpr int kSteps = 720;
  std::vector<Point> points;
  const double rx = (double(r.right) - r.left) / 2, ry = (double(r.bottom) - r.top) / 2;
  for (int i = 0; i <= kSteps; ++i) {
    const double angle = 2 * std::numbers::pi * (i % kSteps) / kSteps;
    points.push_back({static_cast<int32_t>(std::lround(r.left + rx + rx * std::cos(angle))),
                      static_cast<int32_t>(std::lround(r.top + ry + ry * std::sin(angle)))});
  }
  return points;
}

}  // namespace

// The bounds are in the target's pixels, all sides included.
ZoomCanvas::Place ZoomCanvas::placeOf(const Rect& bounds) const {
  if (seen.isEmpty()) return Place::Near;
  const Rect reach = seen.inflatedBy(kPenMargin), wide = seen.inflatedBy(kFarAway);
  if (bounds.right < reach.left || bounds.left > reach.right || bounds.bottom < reach.top ||
      bounds.top > reach.bottom)
    return Place::Outside;
  const bool isFar = bounds.left < wide.left || bounds.right > wide.right || bounds.top < wide.top ||
                     bounds.bottom > wide.bottom;
  return isFar ? Place::Far : Place::Near;
}

void ZoomCanvas::setPen(const Pen& wanted) {
  pen = wanted;
  penWaits = true;
}

void ZoomCanvas::penDown() {
  if (penWaits) under.setPen(pen);
  penWaits = false;
}

std::span<const Point> ZoomCanvas::mapped(std::span<const Point> points) {
  moved.clear();
  for (const Point& p : points) moved.push_back(toTarget(p));
  return moved;
}

// points: the target's, longer than one; drawn are the pieces that come near what is seen.
void ZoomCanvas::cutLine(std::span<const Point> points) {
  const Rect limits = seen.inflatedBy(kFarAway);
  for (size_t i = 1; i < points.size(); ++i) {
    std::array<Point, 2> piece{points[i - 1], points[i]};
    if (!cutSegment(piece[0], piece[1], limits)) continue;
    penDown();
    under.polyline(piece);
  }
}

void ZoomCanvas::polyline(std::span<const Point> points) {
  if (points.empty()) return;
  const auto line = mapped(points);
  const Place place = placeOf(boundsOf(line));
  if (place == Place::Outside) return;
  if (place == Place::Far) return cutLine(line);
  penDown();
  under.polyline(line);
}

void ZoomCanvas::polygon(std::span<const Point> points) {
  if (points.empty()) return;
  const auto line = mapped(points);
  const Place place = placeOf(boundsOf(line));
  if (place == Place::Outside) return;
  if (place == Place::Far) {
    moved.push_back(Point(moved.front()));
    return cutLine(moved);
  }
  penDown();
  under.polygon(line);
}

void ZoomCanvas::rectangle(const Rect& bounds) {
  const Rect r = toTarget(bounds);
  const Place place = placeOf(r.normalised());
  if (place == Place::Outside) return;
  const std::array<Point, 5> sides{
      {{r.left, r.top}, {r.right, r.top}, {r.right, r.bottom}, {r.left, r.bottom}, {r.left, r.top}}};
  if (place == Place::Far) return cutLine(sides);
  penDown();
  under.rectangle(r);
}

void ZoomCanvas::ellipse(const Rect& bounds) {
  const Rect r = toTarget(bounds);
  const Place place = placeOf(r.normalised());
  if (place == Place::Outside) return;
  if (place == Place::Far) return cutLine(pointsOnEllipse(r));
  penDown();
  under.ellipse(r);
}

void ZoomCanvas::point(Point at) {
  const Point p = toTarget(at);
  if (placeOf({p.x, p.y, p.x, p.y}) == Place::Outside) return;
  penDown();
  under.point(p);
}

void ZoomCanvas::text(Point at, const std::string& words, Colour colour) {
  const Point p = toTarget(at);
  const auto characters = static_cast<int32_t>(std::min<size_t>(words.size(), 1 << 20));
  if (placeOf({p.x, p.y, p.x + characters * kCharacterWidth, p.y}) == Place::Outside) return;
  under.text(p, words, colour);
}

}  // namespace tarnvisor
