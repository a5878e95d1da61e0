// Video of the simulated finger: frames a second, as a simulated camera needs them, and the making of what
// the frames have in common.
#include "synth/fingervideo.h"

#include <benchmark/benchmark.h>

#include "base/parallel.h"

namespace tarnvisor {
namespace {

// Arguments: width, height, whether it is in colour, threads.
FingerVideo::Settings settingsOf(const benchmark::State& state, FingerVideo::Settings settings) {
  settings.still.width = static_cast<int32_t>(state.range(0));
  settings.still.height = static_cast<int32_t>(state.range(1));
  settings.still.colour = state.range(2) != 0;
  setParallelThreads(static_cast<int>(state.range(3)));
  return settings;
}

void render(benchmark::State& state, FingerVideo::Settings (*preset)(uint64_t)) {
  const FingerVideo video(settingsOf(state, preset(1)));
  CZZimage image;
  int32_t frame = 0;
  for (auto _ : state)
    if (!video.render(frame++ % video.frames(), image)) state.SkipWithError("no frame");
  state.counters["frames/s"] =
      benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
  state.counters["capillaries"] = static_cast<double>(video.capillaries().size());
  setParallelThreads(0);
}

void prepare(benchmark::State& state) {
  const FingerVideo::Settings settings = settingsOf(state, shakingFinger(1));
  for (auto _ : state) benchmark::DoNotOptimize(FingerVideo(settings).empty());
  setParallelThreads(0);
}

void sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Args({640, 480, 0, 1})->Args({640, 480, 0, 2})->Args({640, 480, 1, 2});
  benchmark->Args({1280, 1024, 0, 1})->Args({1280, 1024, 0, 2})->Args({2048, 1536, 0, 2});
  benchmark->Unit(benchmark::kMillisecond)->UseRealTime();
}
BENCHMARK_CAPTURE(render, flowing, flowingFinger)->Apply(sizes);
BENCHMARK_CAPTURE(render, shaking, shakingFinger)->Apply(sizes);
BENCHMARK(prepare)->Apply(sizes);

}  // namespace
}  // namespace tarnvisor
