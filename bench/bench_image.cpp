// The image buffer's own row loops on a 2048 x 1536 still, in place: levels, extremes, copies, point
// operations.
#include <benchmark/benchmark.h>

#include <array>

#include "base/parallel.h"
#include "benchimage.h"

namespace tarnvisor {
namespace {

template <class Operation>
void run(benchmark::State& state, const Operation& operation) {
  setParallelThreads(1);
  const auto image = bench::nailfold();
  CZZimage other;
  other.copyImage(*image);
  for (auto _ : state) {
    operation(*image, other);
    benchmark::ClobberMemory();
  }
  setParallelThreads(0);
}

#define ONE(name, ...)                                                                                 \
  BENCHMARK_CAPTURE(run, name, [](CZZimage& image, [[maybe_unused]] CZZimage& other) { __VA_ARGS__; }) \
      ->Unit(benchmark::kMillisecond)                                                                  \
      ->UseRealTime()

ONE(histogram, std::array<uint32_t, 256> counts{};
    image.countLevels({0, 0, image.width, image.height}, counts); benchmark::DoNotOptimize(counts));
ONE(min_max, int32_t low = 0; int32_t high = 0; image.statistics(Rect{}, nullptr, &low, &high);
    benchmark::DoNotOptimize(low + high));
ONE(mean_min_max, double mean = 0; int32_t low = 0; int32_t high = 0;
    image.statistics(Rect{}, &mean, &low, &high); benchmark::DoNotOptimize(mean));
ONE(copy, other.copyImage(image));
ONE(threshold, image.threshold(Rect{}, 128));
ONE(linear, image.linear(Rect{}, 1.01, -1.0));
ONE(invert, image.invert(Rect{}));
ONE(subtract, image.subtract(other, 128));
ONE(squared_difference_sum, benchmark::DoNotOptimize(image.sumSquaredDifference(other, Rect{}, 0, 0)));
ONE(laplacian_focus, benchmark::DoNotOptimize(image.laplacianFocus(2, 0)));

}  // namespace
}  // namespace tarnvisor
