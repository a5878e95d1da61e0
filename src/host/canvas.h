// The port for drawing. Coordinates are device pixels, y downward.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "base/geometry.h"

namespace tarnvisor {

struct Pen {
  Colour colour = 0;
  int32_t width = 1;
  bool dashed = false;
};

class Canvas {
 public:
  virtual ~Canvas() = default;
  virtual void setPen(const Pen& pen) = 0;
  virtual void polyline(std::span<const Point> points) = 0;
  virtual void polygon(std::span<const Point> points) = 0;  // closed, not filled
  virtual void rectangle(const Rect& bounds) = 0;           // not filled
  virtual void ellipse(const Rect& bounds) = 0;             // not filled
  virtual void point(Point at) = 0;
  // Text on a transparent background, its top left at the point, in the given colour.
  virtual void text(Point at, const std::string& words, Colour colour) = 0;
};

}  // namespace tarnvisor
