// The port for drawing. Coordinates are the device's pixels as the system counts them, y downward; on a
// screen of higher density one of them covers pixelRatio() squared of the screen's own.
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

// 32-bit pixels in memory, 0xffrrggbb each, top row first. Borrowed for the call.
struct PixelBlock {
  const uint32_t* first = nullptr;
  int32_t width = 0;
  int32_t height = 0;
  int32_t stride = 0;  // pixels from row to row
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

  virtual void fill(const Rect& bounds, Colour colour) = 0;
  virtual void fillPolygon(std::span<const Point> points, Colour colour) = 0;
  // The block drawn over the whole of the target; each of its pixels covers a rectangle where the sizes
  // differ.
  virtual void pixels(const PixelBlock& block, const Rect& target) = 0;
  // Of text drawn from now on, in tenths of a point; an empty family is the device's own font.
  virtual void setFont(const std::string& family, int32_t tenthsOfPoint) = 0;
  virtual Size textSize(const std::string& words) const = 0;
  // Nothing outside is drawn from now on; an empty rectangle lifts the limit.
  virtual void setClip(const Rect& bounds) = 0;
  virtual double pixelRatio() const { return 1.0; }
  virtual bool isPrinter() const { return false; }
};

}  // namespace tarnvisor
