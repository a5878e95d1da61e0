// A canvas that counts what it is asked to draw.
#pragma once

#include <cstddef>
#include <string>

#include "host/canvas.h"

namespace tarnvisor {

class CountingCanvas final : public Canvas {
 public:
  size_t drawn = 0;
  void setPen(const Pen&) override {}
  void polyline(std::span<const Point> points) override { drawn += points.size(); }
  void polygon(std::span<const Point> points) override { drawn += points.size(); }
  void rectangle(const Rect&) override { ++drawn; }
  void ellipse(const Rect&) override { ++drawn; }
  void point(Point) override { ++drawn; }
  void text(Point, const std::string& words, Colour) override { drawn += 1 + words.size() / 70000; }
  void fill(const Rect&, Colour) override {}
  void fillPolygon(std::span<const Point>, Colour) override {}
  void pixels(const PixelBlock& block, const Rect&) override {
    for (int32_t y = 0; y < block.height; ++y) {
      const uint32_t* row = block.first + static_cast<ptrdiff_t>(y) * block.stride;
      drawn += (row[0] >> 24) + (row[block.width - 1] >> 24);
    }
  }
  void setFont(const std::string&, int32_t) override {}
  Size textSize(const std::string& words) const override {
    return {7 * static_cast<int32_t>(words.size()), 16};
  }
  void setClip(const Rect&) override {}
};

}  // namespace tarnvisor
