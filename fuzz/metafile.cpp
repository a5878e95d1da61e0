// Bytes as a metafile, played on a canvas that counts what it is asked to draw.
#include "imagedoc/metafile.h"

#include <cstdlib>

using namespace tarnvisor;

namespace {

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
  void pixels(const PixelBlock&, const Rect&) override {}
  void setFont(const std::string&, int32_t) override {}
  Size textSize(const std::string&) const override { return {}; }
  void setClip(const Rect&) override {}
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr size_t kMostDrawn = 200'000;
  CountingCanvas canvas;
  playMetafile({data, size}, canvas, {-5, 3, 2000, 1500}, 0x808080);
  if (canvas.drawn > kMostDrawn) std::abort();
  return 0;
}
