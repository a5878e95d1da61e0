// Velocity of linescans: one row as it is sampled, a whole scan, and its Hough transform.
#include <benchmark/benchmark.h>

#include "support/linescans.h"

namespace tarnvisor {
namespace {

VelocityParameters asSet() { return {}; }
VelocityParameters withAdditions() { return {.subpoint = true, .bothways = true}; }

void row(benchmark::State& state, const VelocityParameters& parameters) {
  SimulatedScan scan(parameters, 1000, static_cast<uint16_t>(state.range(0)), 60);
  scan.fill({.velocity = 300});
  uint32_t row = 0;
  for (auto _ : state) {
    scan.step(row);
    row = row + 1 == 1000 ? 0 : row + 1;
  }
}
BENCHMARK_CAPTURE(row, as_set, asSet())->Arg(64)->Arg(256)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(row, with_additions, withAdditions())->Arg(64)->Arg(256)->Unit(benchmark::kMicrosecond);

void calculate(benchmark::State& state, const VelocityParameters& parameters) {
  SimulatedScan scan(parameters, 12000, 128, 60);
  scan.fill({.velocity = 300});
  for (auto _ : state) scan.calculate();
}
BENCHMARK_CAPTURE(calculate, as_set, asSet())->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(calculate, with_additions, withAdditions())->Unit(benchmark::kMillisecond);

void hough(benchmark::State& state, const VelocityParameters& parameters) {
  SimulatedScan scan(parameters, 2000, 128, 60);
  scan.fill({.velocity = 300});
  scan.calculate();
  for (auto _ : state) benchmark::DoNotOptimize(scan.slopes());
}
BENCHMARK_CAPTURE(hough, as_set, asSet())->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(hough, with_additions, withAdditions())->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace tarnvisor
