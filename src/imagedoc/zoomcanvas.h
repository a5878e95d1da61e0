// A canvas in image pixels on top of one in window pixels: each point goes to point * zoomnum / zoomden -
// scroll in integers. Pens, texts and fonts keep their size.
#pragma once

#include <vector>

#include "host/canvas.h"

namespace tarnvisor {

class ZoomCanvas final : public Canvas {
 public:
  ZoomCanvas(Canvas& target, int32_t zoomnum, int32_t zoomden, Point scroll)
      : under(target), num(zoomnum), den(zoomden), offset(scroll) {}

  Point toTarget(Point imagePoint) const {
    return {scaled(imagePoint.x) - offset.x, scaled(imagePoint.y) - offset.y};
  }
  Rect toTarget(const Rect& r) const {
    const Point a = toTarget(Point{r.left, r.top}), b = toTarget(Point{r.right, r.bottom});
    return {a.x, a.y, b.x, b.y};
  }

  void setPen(const Pen& pen) override { under.setPen(pen); }
  void polyline(std::span<const Point> points) override { under.polyline(mapped(points)); }
  void polygon(std::span<const Point> points) override { under.polygon(mapped(points)); }
  void rectangle(const Rect& bounds) override { under.rectangle(toTarget(bounds)); }
  void ellipse(const Rect& bounds) override { under.ellipse(toTarget(bounds)); }
  void point(Point at) override { under.point(toTarget(at)); }
  void text(Point at, const std::string& words, Colour colour) override {
    under.text(toTarget(at), words, colour);
  }
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
  // Kept far within 32 bits: a dimension of a damaged file may lie anywhere.
  int32_t scaled(int32_t v) const {
    constexpr int64_t kFar = 1 << 29;
    return static_cast<int32_t>(std::clamp(static_cast<int64_t>(v) * num / den, -kFar, kFar));
  }
  std::span<const Point> mapped(std::span<const Point> points) {
    moved.clear();
    for (const Point& p : points) moved.push_back(toTarget(p));
    return moved;
  }
  Canvas& under;
  int32_t num, den;
  Point offset;
  std::vector<Point> moved;
};

}  // namespace tarnvisor
