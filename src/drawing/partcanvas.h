// A canvas of its own size laid over a rectangle of another one, so that what is drawn for a window stands in
// its place on a page: pens and pictures are scaled, fonts keep their points, and nothing is drawn outside.
#pragma once

#include <vector>

#include "host/canvas.h"

namespace tarnvisor {

class PartCanvas final : public Canvas {
 public:
  // The size's width spans the place's; its height is taken to fit. Not larger than a page is in pixels.
  PartCanvas(Canvas& page, const Rect& placeOnPage, Size size);
  ~PartCanvas() override { under.setClip({}); }
  PartCanvas(const PartCanvas&) = delete;
  PartCanvas& operator=(const PartCanvas&) = delete;

  void setPen(const Pen& pen) override;
  void polyline(std::span<const Point> points) override { under.polyline(mapped(points)); }
  void polygon(std::span<const Point> points) override { under.polygon(mapped(points)); }
  void rectangle(const Rect& bounds) override { under.rectangle(mapped(bounds)); }
  void ellipse(const Rect& bounds) override { under.ellipse(mapped(bounds)); }
  void point(Point at) override { under.point(mapped(at)); }
  void text(Point at, const std::string& words, Colour colour) override {
    under.text(mapped(at), words, colour);
  }
  void fill(const Rect& bounds, Colour colour) override { under.fill(mapped(bounds), colour); }
  void fillPolygon(std::span<const Point> points, Colour colour) override {
    under.fillPolygon(mapped(points), colour);
  }
  void pixels(const PixelBlock& block, const Rect& target) override { under.pixels(block, mapped(target)); }
  void setFont(const std::string& family, int32_t tenthsOfPoint) override {
    under.setFont(family, tenthsOfPoint);
  }
  Size textSize(const std::string& words) const override;
  void setClip(const Rect& bounds) override;
  double pixelRatio() const override { return under.pixelRatio(); }
  bool isPrinter() const override { return under.isPrinter(); }

 private:
  Point mapped(Point at) const;
  Rect mapped(const Rect& bounds) const;
  std::span<const Point> mapped(std::span<const Point> points);
  Canvas& under;
  Rect place;
  double scale;
  std::vector<Point> moved;
};

}  // namespace tarnvisor
