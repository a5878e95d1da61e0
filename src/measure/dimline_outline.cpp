// The polygon around a wide line.
#include <cmath>

#include "base/numbers.h"
#include "measure/dimline.h"

namespace tarnvisor {

namespace {

struct Vector {
  double x, y;
};

double cross(Vector a, Vector b) { return a.x * b.y - a.y * b.x; }
Vector leftOf(Vector v) { return {-v.y, v.x}; }

Point shifted(Point p, Vector by) { return {truncated(p.x + by.x), truncated(p.y + by.y)}; }

// Unit directions of the segments. One between equal points goes on as the one before it, the first ones as
// the first that has a direction.
std::vector<Vector> directionsOf(const std::vector<Point>& points) {
  std::vector<Vector> directions(points.size() - 1, Vector{0.0, 0.0});
  Vector last{1.0, 0.0};
  size_t undirected = 0;
  for (size_t i = 0; i < directions.size(); ++i) {
    const double dx = double(points[i + 1].x) - points[i].x, dy = double(points[i + 1].y) - points[i].y;
    const double length = std::sqrt(dx * dx + dy * dy);
    if (length > 0.0) last = {dx / length, dy / length};
    directions[i] = last;
    if (length == 0.0 && undirected == i) ++undirected;
  }
  if (undirected < directions.size())
    for (size_t i = 0; i < undirected; ++i) directions[i] = directions[undirected];
  return directions;
}

// Slopes are compared as y over x, or for a steep line as x over y.
bool nearlyParallel(Vector a, Vector b) {
  constexpr double tolerance = 0.001;
  const bool steep = std::abs(a.y) >= std::abs(a.x);
  const double scale = steep ? a.y * b.y : a.x * b.x;
  return std::abs(cross(a, b)) < tolerance * std::abs(scale);
}

// From an inner vertex to where the lines beside the two segments meet, `half` to the left of both.
Vector cornerOffset(Vector before, Vector after, double half) {
  const Vector first = leftOf(before), second = leftOf(after);
  if (nearlyParallel(before, after)) return {first.x * half, first.y * half};
  const Vector between{(second.x - first.x) * half, (second.y - first.y) * half};
  const double along = cross(between, after) / cross(before, after);
  return {first.x * half + along * before.x, first.y * half + along * before.y};
}

}  // namespace

void CDimLine::Update() {
  outline.clear();
  if (width <= 1 || points.size() < 2) return;
  const std::vector<Vector> directions = directionsOf(points);
  const size_t count = points.size();
  const double half = width * 0.5;
  outline.resize(2 * count);
  for (size_t i = 0; i < count; ++i) {
    const Vector before = directions[i == 0 ? 0 : i - 1];
    const Vector after = directions[i == count - 1 ? i - 1 : i];
    const Vector offset = cornerOffset(before, after, half);
    outline[i] = shifted(points[i], offset);
    outline[2 * count - 1 - i] = shifted(points[i], {-offset.x, -offset.y});
  }
}

}  // namespace tarnvisor
