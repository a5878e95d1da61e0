// Tracing 100,000 pixels, each under a threshold of its own. The vessels wind through the nailfold of the
// other benchmarks, so that the walk turns, branches and comes back.
#include "analysis/trace.h"

#include <benchmark/benchmark.h>

#include "benchimage.h"

namespace tarnvisor {
namespace {

constexpr int32_t kTraced = 100000;

// Darkens a band that winds from side to side until it has the number of pixels; it is `width` rows high.
void drawVessel(CZZimage& image, int32_t width) {
  int32_t drawn = 0;
  for (int32_t turn = 0; drawn < kTraced; ++turn) {
    const int32_t top = 20 + turn * 3 * width;
    for (int32_t y = top; y < top + width && drawn < kTraced; ++y)
      for (int32_t x = 20; x < image.width - 20 && drawn < kTraced; ++x, ++drawn) image.row(y)[x] = 20;
    const int32_t side = turn % 2 == 0 ? image.width - 20 - width : 20;
    for (int32_t y = top + width; y < top + 3 * width && drawn < kTraced; ++y)
      for (int32_t x = side; x < side + width && drawn < kTraced; ++x, ++drawn) image.row(y)[x] = 20;
  }
}

// Arguments: the vessel's width and the window.
void trace(benchmark::State& state) {
  const auto original = bench::nailfold();
  drawVessel(*original, static_cast<int32_t>(state.range(0)));
  CZZimage image;
  int64_t traced = 0;
  for (auto _ : state) {
    image.copyImage(*original);
    benchmark::DoNotOptimize(traceVessel(image, {20, 20}, static_cast<int32_t>(state.range(1))));
    traced = image.countValue(0) - original->countValue(0);
  }
  state.counters["pixels"] = static_cast<double>(traced);
}
BENCHMARK(trace)->Args({12, 100})->Args({1, 100})->Args({12, 1000})->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tarnvisor
