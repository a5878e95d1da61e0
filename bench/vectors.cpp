// The transform beside FFTW's, correlation of rows, and the loops over items beside merely reading them.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <random>

#include "archive/archive.h"
#include "vectors/fft.h"
#include "vectors/rowvect.h"

#ifdef HAS_FFTW
#include <fftw3.h>
#endif

namespace tarnvisor {
namespace {

constexpr uint32_t kMany = 10'000'000;

std::vector<double> noise(size_t count) {
  std::mt19937 random(1);
  std::vector<double> values(count);
  for (double& value : values) value = static_cast<double>(random() % 4096);
  return values;
}

void realpower(benchmark::State& state) {
  const auto n = static_cast<int32_t>(state.range(0));
  CFFT fft;
  fft.setup(n);
  const std::vector<double> in = noise(2 * static_cast<size_t>(n));
  std::vector<double> out(static_cast<size_t>(n));
  for (auto _ : state) {
    fft.realpower(in.data(), out.data());
    benchmark::DoNotOptimize(out.data());
  }
}
BENCHMARK(realpower)->Arg(256)->Arg(1024)->Arg(4096);

#ifdef HAS_FFTW
void peerFftw(benchmark::State& state) {
  const auto n = static_cast<int>(state.range(0));
  auto* in = fftw_alloc_real(2 * static_cast<size_t>(n));
  auto* bins = fftw_alloc_complex(static_cast<size_t>(n) + 1);
  const auto plan = fftw_plan_dft_r2c_1d(2 * n, in, bins, FFTW_MEASURE);
  std::ranges::copy(noise(2 * static_cast<size_t>(n)), in);
  std::vector<double> out(static_cast<size_t>(n));
  for (auto _ : state) {
    fftw_execute(plan);
    for (int i = 0; i < n; ++i)
      out[static_cast<size_t>(i)] = bins[i][0] * bins[i][0] + bins[i][1] * bins[i][1];
    benchmark::DoNotOptimize(out.data());
  }
  fftw_destroy_plan(plan);
  fftw_free(bins);
  fftw_free(in);
}
BENCHMARK(peerFftw)->Arg(256)->Arg(1024)->Arg(4096);
#endif

template <class Vect>
Vect filled(uint32_t count, uint16_t width = 1) {
  Vect vect(count, width);
  std::mt19937 random(1);
  for (uint64_t i = 0; i < uint64_t{count} * width; ++i)
    vect.data[i] = static_cast<std::remove_reference_t<decltype(*vect.data)>>(random() % 120);
  return vect;
}

template <class Vect>
void halves(benchmark::State& state) {
  const auto first = filled<Vect>(256);
  const auto second = filled<Vect>(300);
  CdoubleVect result(256);
  for (auto _ : state) first.correlatehalves(second, result, true);
}
BENCHMARK(halves<Cubyte2Vect>);
BENCHMARK(halves<Cubyte1Vect>);
BENCHMARK(halves<CdoubleVect>);

void correlogram(benchmark::State& state) {
  const auto rows = filled<CArrayVect>(12'000, 256);
  CArrayVect result(12'000, 129);
  for (auto _ : state) rows.correlatewindow(result, 0, 11'999, 1);
}
BENCHMARK(correlogram)->Unit(benchmark::kMillisecond);

// What merely reading costs: all the bytes, in words.
template <class Vect>
void peerRead(benchmark::State& state) {
  const auto vect = filled<Vect>(kMany);
  const auto* words = reinterpret_cast<const uint64_t*>(vect.data);
  const size_t count = uint64_t{kMany} * vect.elementsize / 8;
  for (auto _ : state) {
    uint64_t total = 0;
    for (size_t i = 0; i < count; ++i) total += words[i];
    benchmark::DoNotOptimize(total);
  }
}
// Reading and writing back, for what works in place.
template <class Vect>
void peerReadWrite(benchmark::State& state) {
  auto vect = filled<Vect>(kMany);
  auto* words = reinterpret_cast<uint64_t*>(vect.data);
  const size_t count = uint64_t{kMany} * vect.elementsize / 8;
  for (auto _ : state) {
    for (size_t i = 0; i < count; ++i) words[i] ^= 1;
    benchmark::ClobberMemory();
  }
}
template <class Vect>
void meanOfMany(benchmark::State& state) {
  const auto vect = filled<Vect>(kMany);
  for (auto _ : state) benchmark::DoNotOptimize(vect.mean());
}
template <class Vect>
void maxOfMany(benchmark::State& state) {
  const auto vect = filled<Vect>(kMany);
  for (auto _ : state) benchmark::DoNotOptimize(vect.maxvalue());
}
template <class Vect>
void meanMinMaxOfMany(benchmark::State& state) {
  const auto vect = filled<Vect>(kMany);
  double mean = 0, min = 0, max = 0;
  for (auto _ : state) benchmark::DoNotOptimize(vect.meanminmax(mean, min, max, 0, 0));
}
template <class Vect>
void scaleMany(benchmark::State& state) {
  auto vect = filled<Vect>(kMany);
  for (auto _ : state) vect.scale(1.0);
}
#define LOOPS(type)                                                 \
  BENCHMARK(peerRead<type>)->Unit(benchmark::kMicrosecond);         \
  BENCHMARK(meanOfMany<type>)->Unit(benchmark::kMicrosecond);       \
  BENCHMARK(maxOfMany<type>)->Unit(benchmark::kMicrosecond);        \
  BENCHMARK(meanMinMaxOfMany<type>)->Unit(benchmark::kMicrosecond); \
  BENCHMARK(peerReadWrite<type>)->Unit(benchmark::kMicrosecond);    \
  BENCHMARK(scaleMany<type>)->Unit(benchmark::kMicrosecond)
LOOPS(Cubyte1Vect);
LOOPS(Cbyte1Vect);
LOOPS(Cubyte2Vect);
LOOPS(Cbyte2Vect);
LOOPS(Cbyte4Vect);
LOOPS(CfloatVect);
LOOPS(CdoubleVect);

// A stored vector of 400 MB from a file in the system's cache.
void load400MB(benchmark::State& state) {
  const auto vect = filled<CdoubleVect>(50'000'000);
  std::FILE* file = std::tmpfile();
  FileStream out(file);
  Archive store(out, Archive::Direction::Storing);
  CdoubleVect(vect).serialize(store);
  store.close();
  for (auto _ : state) {
    std::rewind(file);
    FileStream in(file);
    Archive load(in, Archive::Direction::Loading);
    CdoubleVect fresh;
    fresh.serialize(load);
    benchmark::DoNotOptimize(fresh.data);
  }
  std::fclose(file);
}
BENCHMARK(load400MB)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tarnvisor
