#include "measure/segmentclip.h"

#include <algorithm>
#include <cmath>

#include "base/numbers.h"

namespace tarnvisor {

namespace {

struct Spot {
  double x, y;
};

enum Side { kInside = 0, kLeft = 1, kRight = 2, kAbove = 4, kBelow = 8 };

int sideOf(Spot p, const Rect& r) {
  return (p.x < r.left    ? kLeft
          : p.x > r.right ? kRight
                          : 0) |
         (p.y < r.top      ? kAbove
          : p.y > r.bottom ? kBelow
                           : 0);
}

// Where the whole line crosses the border that the side names. Always from the line's original ends, so that
// a second cut doesn't build on the rounding of the first.
Spot crossing(Spot a, Spot b, int side, const Rect& r) {
  if (side & (kLeft | kRight)) {
    const double x = side & kLeft ? r.left : r.right;
    return {x, a.y + (b.y - a.y) * (x - a.x) / (b.x - a.x)};
  }
  const double y = side & kAbove ? r.top : r.bottom;
  return {a.x + (b.x - a.x) * (y - a.y) / (b.y - a.y), y};
}

// After Cohen and Sutherland.
bool clipToRect(Point& a, Point& b, const Rect& rect) {
  const Spot from{double(a.x), double(a.y)}, to{double(b.x), double(b.y)};
  Spot first = from, last = to;
  int firstSide = sideOf(first, rect), lastSide = sideOf(last, rect);
  for (int cuts = 0; (firstSide | lastSide) != kInside; ++cuts) {
    // Rounding may leave a cut beside a corner for ever: each end has two borders at most to cross.
    if ((firstSide & lastSide) != 0 || cuts == 4) return false;
    if (firstSide != kInside) {
      first = crossing(from, to, firstSide, rect);
      firstSide = sideOf(first, rect);
    } else {
      last = crossing(from, to, lastSide, rect);
      lastSide = sideOf(last, rect);
    }
  }
  a = {truncated(first.x), truncated(first.y)};
  b = {truncated(last.x), truncated(last.y)};
  return true;
}

}  // namespace

double shareInCircle(Point a, Point b, const Rect& rect) {
  if (rect.isEmpty()) return 0.0;
  const double radius = (double(rect.right) - rect.left) * 0.5;
  const double ax = a.x - (double(rect.left) + rect.right) * 0.5;
  const double ay = a.y - (double(rect.top) + rect.bottom) * 0.5;
  const double dx = double(b.x) - a.x, dy = double(b.y) - a.y;
  const double squaredLength = dx * dx + dy * dy;
  if (squaredLength == 0.0) return 0.0;
  const double foot = -(ax * dx + ay * dy) / squaredLength;
  const double cross = ax * dy - ay * dx;
  const double squaredHalfChord = radius * radius - cross * cross / squaredLength;
  if (squaredHalfChord <= 0.0) return 0.0;
  const double half = std::sqrt(squaredHalfChord / squaredLength);
  return std::max(0.0, std::min(1.0, foot + half) - std::max(0.0, foot - half));
}

bool clipSegment(Point& a, Point& b, const Rect& rect, bool circle) {
  if (rect.isEmpty()) return false;
  if (!circle) return clipToRect(a, b, rect);
  const double radius = (double(rect.right) - rect.left) * 0.5;
  const double cx = (double(rect.left) + rect.right) * 0.5, cy = (double(rect.top) + rect.bottom) * 0.5;
  const double ax = a.x - cx, ay = a.y - cy;
  const double dx = double(b.x) - a.x, dy = double(b.y) - a.y;
  const double squaredLength = dx * dx + dy * dy;
  if (squaredLength == 0.0) return ax * ax + ay * ay <= radius * radius;
  // The foot of the perpendicular from the centre, and half the chord along the line's direction.
  const double cross = ax * (ay + dy) - (ax + dx) * ay;
  const double squaredHalfChord = radius * radius - cross * cross / squaredLength;
  if (squaredHalfChord < 0.0) return false;
  const double footX = cx + cross * dy / squaredLength, footY = cy - cross * dx / squaredLength;
  const double along = std::sqrt(squaredHalfChord / squaredLength);
  Rect chord = Rect{truncated(footX - along * dx), truncated(footY - along * dy),
                    truncated(footX + along * dx), truncated(footY + along * dy)}
                   .normalised();
  if (chord.left == chord.right) chord.right = truncated(double(chord.right) + 1);
  if (chord.top == chord.bottom) chord.bottom = truncated(double(chord.bottom) + 1);
  return clipToRect(a, b, chord);
}

}  // namespace tarnvisor
