// One paint of the image view after a pan or a zoom step: a 2048 x 1536 still in a window of 1920 x 1080,
// with and without 1,000 dimensions. The canvas copies the picture into a 32-bit buffer and draws lines into
// it.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <random>

#include "app/basicapp.h"
#include "base/parallel.h"
#include "benchimage.h"
#include "exams/examselection.h"
#include "imagedoc/zbasicdoc.h"
#include "imagedoc/zbasicview.h"

namespace tarnvisor {
namespace {

class BufferCanvas final : public Canvas {
 public:
  explicit BufferCanvas(Size logical, double density)
      : ratio(density),
        width(static_cast<int32_t>(logical.width * density)),
        height(static_cast<int32_t>(logical.height * density)),
        buffer(static_cast<size_t>(width) * static_cast<size_t>(height)) {}

  void setPen(const Pen& pen) override { ink = 0xff000000u | pen.colour; }
  void polyline(std::span<const Point> points) override {
    for (size_t i = 1; i < points.size(); ++i) line(points[i - 1], points[i]);
  }
  void polygon(std::span<const Point> points) override {
    polyline(points);
    if (!points.empty()) line(points.back(), points.front());
  }
  void rectangle(const Rect& r) override {
    const Point corners[] = {{r.left, r.top}, {r.right, r.top}, {r.right, r.bottom}, {r.left, r.bottom}};
    polygon(corners);
  }
  void ellipse(const Rect& r) override { rectangle(r); }
  void point(Point p) override { line(p, p); }
  // As many pixels as the characters have.
  void text(Point at, const std::string& words, Colour) override {
    for (int32_t y = 0; y < 10; ++y)
      line({at.x, at.y + y}, {at.x + 7 * static_cast<int32_t>(words.size()), at.y + y});
  }
  void fill(const Rect&, Colour) override {}
  void fillPolygon(std::span<const Point>, Colour) override {}
  void pixels(const PixelBlock& block, const Rect&) override {
    for (int32_t y = 0; y < std::min(height, block.height); ++y)
      std::memcpy(&buffer[static_cast<size_t>(y) * static_cast<size_t>(width)],
                  block.first + static_cast<ptrdiff_t>(y) * block.stride,
                  sizeof(uint32_t) * static_cast<size_t>(std::min(width, block.width)));
  }
  void setFont(const std::string&, int32_t) override {}
  Size textSize(const std::string& words) const override {
    return {7 * static_cast<int32_t>(words.size()), 16};
  }
  void setClip(const Rect&) override {}
  double pixelRatio() const override { return ratio; }

 private:
  void line(Point a, Point b) {
    const int32_t steps = std::max({std::abs(b.x - a.x), std::abs(b.y - a.y), 1});
    for (int32_t n = 0; n <= steps; ++n) {
      const int32_t x = a.x + (b.x - a.x) * n / steps, y = a.y + (b.y - a.y) * n / steps;
      if (x >= 0 && y >= 0 && x < width && y < height)
        buffer[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)] = ink;
    }
  }
  double ratio;
  int32_t width, height;
  std::vector<uint32_t> buffer;
  uint32_t ink = 0;
};

struct Still {
  explicit Still(int32_t colourset) {
    document.silent = 1;
    const auto grey = bench::nailfold();
    document.image = std::make_unique<CZZimage>(bench::kWidth, bench::kHeight);
    document.image->setColourset(colourset);
    for (int32_t y = 0; y < bench::kHeight; ++y)
      for (int32_t x = 0; x < document.image->rowBytes; ++x)
        document.image->row(y)[x] = grey->row(y)[x / document.image->bytesPerPixel];
  }
  CBasicApp app;
  const ExamSelection exams{app};
  ZBasicDoc document;
  ZBasicView view{document};
};

void addDimensions(ZBasicDoc& document, int32_t count) {
  std::mt19937 random(7);
  const auto upTo = [&](uint32_t end) { return static_cast<int32_t>(random() % end); };
  for (int32_t i = 0; i < count; ++i) {
    const Point first{upTo(bench::kWidth), upTo(bench::kHeight)};
    const int32_t index = document.addDimension(first, i % 2 ? 1 : 4);
    document.addPointToDimension(index, first + Point{upTo(80), upTo(80)});
  }
}

// Arguments: zoomnum, zoomden, colourset, dimensions, device pixels a window pixel, threads (0 for all).
void paintAfterPan(benchmark::State& state) {
  constexpr Size kWindow{1920, 1080};
  setParallelThreads(static_cast<int>(state.range(5)));
  Still still(static_cast<int32_t>(state.range(2)));
  addDimensions(still.document, static_cast<int32_t>(state.range(3)));
  still.view.setWindowSize(kWindow);
  still.view.zoomnum = static_cast<int32_t>(state.range(0));
  still.view.zoomden = static_cast<int32_t>(state.range(1));
  BufferCanvas canvas(kWindow, static_cast<double>(state.range(4)));
  still.view.draw(canvas);
  int32_t step = 0;
  for (auto _ : state) {
    ++step;
    still.view.scrollTo({step % 97, step % 53});
    // Where the whole image fits the window nothing moves: the zoom changes instead.
    if (still.view.scrollPosition() == Point{}) still.view.zoomnum += step % 2 ? 1 : -1;
    still.view.draw(canvas);
  }
  setParallelThreads(0);
}
const std::vector<std::vector<int64_t>> kCases = {
    {1, 1, 0, 0, 1, 1},    {1, 1, 1, 0, 1, 1},    {1, 1, 2, 0, 1, 1},     {3, 4, 0, 0, 1, 1},
    {5, 4, 0, 0, 1, 1},    {5, 4, 1, 0, 1, 1},    {625, 256, 0, 0, 1, 1}, {13, 1, 0, 0, 1, 1},
    {1, 1, 0, 1000, 1, 1}, {3, 4, 0, 1000, 1, 1}, {5, 4, 1, 1000, 1, 1},  {5, 4, 0, 0, 2, 1},
    {5, 4, 0, 0, 2, 0},    {5, 4, 0, 0, 1, 0}};
void allCases(benchmark::internal::Benchmark* b) {
  b->ArgNames({"num", "den", "colours", "dims", "density", "threads"});
  for (const auto& c : kCases) b->Args(c);
}
BENCHMARK(paintAfterPan)->Apply(allCases)->Unit(benchmark::kMillisecond);

// The first paint after the image changed, its palette and demosaic included.
void paintAfterChange(benchmark::State& state) {
  setParallelThreads(1);
  Still still(static_cast<int32_t>(state.range(0)));
  still.view.setWindowSize({1920, 1080});
  BufferCanvas canvas({1920, 1080}, 1.0);
  for (auto _ : state) {
    still.view.onUpdate(CView::Change::All);
    still.view.draw(canvas);
  }
  setParallelThreads(0);
}
BENCHMARK(paintAfterChange)->ArgName("colours")->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tarnvisor
