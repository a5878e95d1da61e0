#include "drawing/partcanvas.h"

#include <algorithm>
#include <cmath>

namespace tarnvisor {

namespace {
constexpr double kFar = 1 << 28;  // marks of a damaged document may lie anywhere
int32_t within(double v) { return static_cast<int32_t>(std::lround(std::clamp(v, -kFar, kFar))); }
}  // namespace

PartCanvas::PartCanvas(Canvas& page, const Rect& placeOnPage, Size size)
    : under(page), place(placeOnPage), scale(double(placeOnPage.width()) / std::max(1, size.width)) {
  under.setClip(place);
}

Point PartCanvas::mapped(Point at) const {
  return {within(place.left + at.x * scale), within(place.top + at.y * scale)};
}

Rect PartCanvas::mapped(const Rect& bounds) const {
  const Point a = mapped(Point{bounds.left, bounds.top}), b = mapped(Point{bounds.right, bounds.bottom});
  return {a.x, a.y, b.x, b.y};
}

std::span<const Point> PartCanvas::mapped(std::span<const Point> points) {
  moved.clear();
  for (const Point& p : points) moved.push_back(mapped(p));
  return moved;
}

void PartCanvas::setPen(const Pen& pen) {
  under.setPen({pen.colour, std::max(1, within(pen.width * scale)), pen.dashed});
}

Size PartCanvas::textSize(const std::string& words) const {
  const Size size = under.textSize(words);
  return {within(std::ceil(size.width / scale)), within(std::ceil(size.height / scale))};
}

void PartCanvas::setClip(const Rect& bounds) {
  under.setClip(bounds.isEmpty() ? place : mapped(bounds).intersected(place));
}

}  // namespace tarnvisor
