// Filters and the capillary finder on a 2048 x 1536 still: on one thread, and on all cores.
#include <benchmark/benchmark.h>

#include "analysis/blur.h"
#include "analysis/darkregions.h"
#include "analysis/finder.h"
#include "analysis/kernelfilter.h"
#include "analysis/laplacian.h"
#include "analysis/lulu.h"
#include "analysis/minima.h"
#include "analysis/windowfilter.h"
#include "base/parallel.h"
#include "benchimage.h"

namespace tarnvisor {
namespace {

// Runs the filter in place over and over; its time does not depend on the levels.
template <class Filter>
void inPlace(benchmark::State& state, int threads, const Filter& filter) {
  setParallelThreads(threads);
  const auto image = bench::nailfold();
  for (auto _ : state) filter(*image);
  setParallelThreads(0);
}

// The same, but from a fresh copy each time, which is part of the time.
template <class Filter>
void onACopy(benchmark::State& state, int threads, const Filter& filter) {
  setParallelThreads(threads);
  const auto original = bench::nailfold();
  CZZimage image;
  for (auto _ : state) {
    image.copyImage(*original);
    filter(image);
  }
  setParallelThreads(0);
}

void window(CZZimage& image, int32_t w) { windowFilter(image, WindowMode::HighPass, image, Rect{}, w); }
void sharpen(CZZimage& image, double factor) {
  static constexpr std::array<int32_t, 9> kernel = {0, -1, 0, -1, 5, -1, 0, -1, 0};
  filter3x3(image, kernel, factor, 0);
}

#define BOTH(name, how, ...)                                                        \
  BENCHMARK_CAPTURE(how, name, 1, [](CZZimage& image) { __VA_ARGS__; })             \
      ->Unit(benchmark::kMillisecond)                                               \
      ->UseRealTime();                                                              \
  BENCHMARK_CAPTURE(how, name##_all_cores, 0, [](CZZimage& image) { __VA_ARGS__; }) \
      ->Unit(benchmark::kMillisecond)                                               \
      ->UseRealTime()

BOTH(low_pass_7, inPlace, window(image, -7));
BOTH(low_pass_101, inPlace, window(image, -101));
BOTH(low_pass_1501, inPlace, window(image, -1501));
BOTH(high_pass_101, inPlace, window(image, 101));
BOTH(high_pass_1001, inPlace, window(image, 1001));
BOTH(apex_29x29, inPlace, apexFilter(image, {}));
BOTH(filter_3x3, inPlace, sharpen(image, 1.0));
BOTH(filter_3x3_scaled, inPlace, sharpen(image, 0.9));
BOTH(blur_sigma_1, inPlace, gaussianBlur(image, 1.0f));
BOTH(blur_sigma_5, inPlace, gaussianBlur(image, 5.0f));
BOTH(modified_laplacian, inPlace, modifiedLaplacian(image));
BOTH(sum_modified_laplacian, inPlace, sumModifiedLaplacian(image, 5));
BOTH(L3, inPlace, lowerLulu(image));
BOTH(U3, inPlace, upperLulu(image));
BOTH(min_3x3, inPlace, min3x3(image));
BOTH(isodata, inPlace, benchmark::DoNotOptimize(isodata(image)));
BOTH(findcaps, onACopy, benchmark::DoNotOptimize(findcaps(image, Rect{}, {}, {})));
BOTH(dark_regions_of_noise, onACopy, image.binarise(160, 0, 255);
     benchmark::DoNotOptimize(DarkRegions(image)));
BOTH(minima_in_window, inPlace, benchmark::DoNotOptimize(minimaInWindow(image, 128, 50, 50)));
BOTH(minima_in_tolerance, inPlace, benchmark::DoNotOptimize(minimaInTolerance(image, 128, 50)));

}  // namespace
}  // namespace tarnvisor
