// Flow statistics of images in memory, 1280 x 1024: images a second with one thread and two, beside what a
// plain copy takes that moves as many bytes; and the answer to a new threshold.
#include "analysis/flow.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <deque>
#include <random>

#include "base/parallel.h"

namespace tarnvisor {
namespace {

constexpr int32_t kWidth = 1280, kHeight = 1024;
constexpr size_t kPixels = size_t{kWidth} * kHeight;
// Read and written of each pixel for a pair of images: four sums and the value before, and the images' own.
constexpr size_t kBytesOfPair = 2 * (4 * sizeof(uint32_t) + 1) + 2;

std::deque<CZZimage> noise(size_t count) {
  std::mt19937 random(1);
  std::deque<CZZimage> images;
  for (size_t i = 0; i < count; ++i) {
    CZZimage& image = images.emplace_back(kWidth, kHeight);
    for (size_t at = 0; at < kPixels; ++at) image.pixels[at] = static_cast<uint8_t>(random() >> 24);
  }
  return images;
}

void images(benchmark::State& state) {
  setParallelThreads(static_cast<int>(state.range(0)));
  const std::deque<CZZimage> sequence = noise(16);
  FlowStatistics statistics;
  if (!statistics.begin(kWidth + 3, kHeight + 2)) return state.SkipWithError("no memory");
  statistics.accumulateFirst({&sequence[0], {0, 0}});
  int32_t turn = 0;
  for (auto _ : state) {
    const auto k = static_cast<size_t>(turn++ % 8) * 2;
    const FlowStatistics::Placed pair[] = {{&sequence[k], {turn % 3, turn % 2}}, {&sequence[k + 1], {1, 1}}};
    statistics.accumulateNext(pair);
  }
  state.counters["images/s"] =
      benchmark::Counter(2 * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
  setParallelThreads(0);
}
BENCHMARK(images)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);

void copyOfTheSameBytes(benchmark::State& state) {
  setParallelThreads(static_cast<int>(state.range(0)));
  const size_t bytes = kPixels * kBytesOfPair / 2;  // each is read and written
  std::vector<uint8_t> from(bytes, 1), to(bytes, 2);
  for (auto _ : state) {
    parallelFor(static_cast<int64_t>(bytes), 1 << 20, [&](int64_t begin, int64_t end) {
      std::memcpy(to.data() + begin, from.data() + begin, static_cast<size_t>(end - begin));
    });
    benchmark::ClobberMemory();
  }
  state.counters["images/s"] =
      benchmark::Counter(2 * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
  setParallelThreads(0);
}
BENCHMARK(copyOfTheSameBytes)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);

FlowMaps someMaps() {
  const std::deque<CZZimage> sequence = noise(4);
  FlowStatistics statistics;
  (void)statistics.begin(kWidth, kHeight);
  statistics.accumulateFirst({&sequence[0], {}});
  for (size_t i = 1; i < sequence.size(); ++i)
    statistics.accumulateNext(std::array{FlowStatistics::Placed{&sequence[i], {}}});
  FlowMaps maps;
  (void)statistics.finishStatistics(1, maps);
  return maps;
}

// The map, its picture and its figures.
void threshold(benchmark::State& state) {
  const FlowMaps maps = someMaps();
  std::vector<double> fcf;
  CZZimage picture(kWidth, kHeight);
  double wanted = 5;
  for (auto _ : state) {
    computeFcf(maps, false, wanted += 0.2, fcf);
    showMap(fcf, 64, picture);
    benchmark::DoNotOptimize(flowFigures(maps, fcf, wanted, maps.whole()).fcd);
  }
}
BENCHMARK(threshold)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tarnvisor
