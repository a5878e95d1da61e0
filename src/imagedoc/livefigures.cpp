#include "imagedoc/livefigures.h"

#include <cmath>
#include <numbers>

#include "base/text.h"
#include "measure/dimrect.h"

namespace tarnvisor {

namespace {

constexpr const char* kDegrees = "°";

std::string areaText(const ZBasicDoc& document, double area) {
  return format("%.1f %s²", area, document.unitName().c_str());
}

// Degrees; at a line's end the one to the horizontal, from 0 to under 180.
std::string angleText(const CDim& line, Scale s, int32_t vertex) {
  constexpr double kHalfTurn = 180.0;
  const auto degrees = [](double radians) { return radians * kHalfTurn / std::numbers::pi; };
  const int32_t last = line.pointCount() - 1;
  if (last < 1 || line.Length(1, 1) == 0) return {};
  double angle = 0;
  if (last == 1) {
    angle = degrees(-line.Direction(0, 1, s.x, s.y));
    while (angle < 0) angle += kHalfTurn;
    while (angle >= kHalfTurn) angle -= kHalfTurn;
  } else if (vertex > 0 && vertex < last) {
    angle = std::abs(
        degrees(line.Direction(vertex, vertex - 1, s.x, s.y) - line.Direction(vertex, vertex + 1, s.x, s.y)));
    if (angle > kHalfTurn) angle = 2 * kHalfTurn - angle;
  } else {
    return {};
  }
  return format(", angle %.1f%s", angle, kDegrees);
}

}  // namespace

std::string figuresOf(const ZBasicDoc& document, const Rect& box, bool isCircle) {
  const Scale s = document.scale();
  const double width = (double(box.right) - box.left) * s.x, height = (double(box.bottom) - box.top) * s.y;
  const double area = width * height * (isCircle ? std::numbers::pi / 4 : 1.0);
  return format("%.1f x %.1f %s, area ", width, height, document.unitName().c_str()) +
         areaText(document, area);
}

std::string figuresOf(const ZBasicDoc& document, const CDim& shape, int32_t vertex) {
  if (const auto* rect = dynamic_cast<const CDimRect*>(&shape))
    return figuresOf(document, rect->bounds, false);
  const Scale s = document.scale();
  const std::string kind = kindOf(shape);
  const char* name = kind == "circle" ? "diameter" : kind == "polygon" ? "perimeter" : "length";
  const std::string length = format("%s %.1f %s", name, shape.Length(s.x, s.y), document.unitName().c_str());
  if (kind == "circle" || kind == "polygon")
    return length + ", area " + areaText(document, shape.Area(s.x, s.y));
  return length + angleText(shape, s, vertex);
}

}  // namespace tarnvisor
