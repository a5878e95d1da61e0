// A canvas in image pixels on top of one in window pixels: each point goes to (point - origin) * zoomnum /
// zoomden - scroll in integers, where the origin is the place of the image's first pixel in its parent frame.
// Pens, texts and fonts keep their size.
//
// Given the part of the target that is seen, it passes on nothing that lies outside, and cuts lines that run
// far beyond it: a dimension of a damaged file may lie anywhere, and dashes are not to be counted out over
// millions of pixels.
#pragma once

#include <algorithm>
#include <limits>
#include <vector>

#include "host/canvas.h"

namespace tarnvisor {

class ZoomCanvas final : public Canvas {
 public:
  // seen: in the target's pixels; empty for no limit.
  ZoomCanvas(Canvas& target, int32_t zoomnum, int32_t zoomden, Point scroll, const Rect& seenPart = {},
             Point imageOrigin = {})
      : under(target), num(zoomnum), den(zoomden), offset(scroll), seen(seenPart), origin(imageOrigin) {}

  Point toTarget(Point imagePoint) const {
    return {scaled(imagePoint.x, origin.x) - offset.x, scaled(imagePoint.y, origin.y) - offset.y};
  }
  Rect toTarget(const Rect& r) const {
    const Point a = toTarget(Point{r.left, r.top}), b = toTarget(Point{r.right, r.bottom});
    return {a.x, a.y, b.x, b.y};
  }

  void setPen(const Pen& pen) override;  // reaches the target with the first thing drawn
  void polyline(std::span<const Point> points) override;
  void polygon(std::span<const Point> points) override;
  void rectangle(const Rect& bounds) override;
  void ellipse(const Rect& bounds) override;
  void point(Point at) override;
  void text(Point at, const std::string& words, Colour colour) override;
  void fill(const Rect& bounds, Colour colour) override { under.fill(toTarget(bounds), colour); }
  void fillPolygon(std::span<const Point> points, Colour colour) override {
    under.fillPolygon(mapped(points), colour);
  }
  void pixels(const PixelBlock& block, const Rect& target) override { under.pixels(block, toTarget(target)); }
  void setFont(const std::string& family, int32_t tenthsOfPoint) override {
    under.setFont(family, tenthsOfPoint);
  }
  Size textSize(const std::string& words) const override { return under.textSize(words); }
  void setClip(const Rect& bounds) override { under.setClip(bounds.isEmpty() ? bounds : toTarget(bounds)); }
  double pixelRatio() const override { return under.pixelRatio(); }
  bool isPrinter() const override { return under.isPrinter(); }

 private:
  enum class Place { Outside, Near, Far };  // Far: some of it is seen, and some lies a long way off
  Place placeOf(const Rect& bounds) const;
  void penDown();
  void cutLine(std::span<const Point> points);
  // Kept far within 32 bits.
  int32_t scaled(int32_t v, int32_t first) const {
    constexpr int64_t kFar = 1 << 29, kLargest = std::numeric_limits<int32_t>::max();
    const int64_t own = std::clamp(int64_t{v} - first, -kLargest, kLargest);
    return static_cast<int32_t>(std::clamp(own * num / den, -kFar, kFar));
  }
  std::span<const Point> mapped(std::span<const Point> points);
  Canvas& under;
  int32_t num, den;
  Point offset;
  Rect seen;
  Point origin;
  Pen pen;
  bool penWaits = false;
  std::vector<Point> moved;
};

}  // namespace tarnvisor
