// A vector of 100 MB through the archive against the same bytes through fwrite and fread, and the primitive
// numbers through the archive's buffer.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <vector>

#include "archive/archive.h"

namespace tarnvisor {
namespace {

constexpr size_t kValues = 12'500'000;

struct TemporaryFile {
  std::FILE* file = std::tmpfile();
  ~TemporaryFile() { std::fclose(file); }
};

const std::vector<double>& values() {
  static const std::vector<double> filled(kValues, 1.25);
  return filled;
}

void setBytes(benchmark::State& state) {
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kValues * sizeof(double)));
}

void plainWrite(benchmark::State& state) {
  TemporaryFile temporary;
  for (auto _ : state) {
    std::rewind(temporary.file);
    std::fwrite(values().data(), sizeof(double), kValues, temporary.file);
    std::fflush(temporary.file);
  }
  setBytes(state);
}

void archiveWrite(benchmark::State& state) {
  TemporaryFile temporary;
  for (auto _ : state) {
    std::rewind(temporary.file);
    FileStream stream(temporary.file);
    Archive archive(stream, Archive::Direction::Storing);
    archive.writeValues<double>(values());
    archive.close();
  }
  setBytes(state);
}

void plainRead(benchmark::State& state) {
  TemporaryFile temporary;
  std::fwrite(values().data(), sizeof(double), kValues, temporary.file);
  for (auto _ : state) {
    std::rewind(temporary.file);
    std::vector<double> read(kValues);
    benchmark::DoNotOptimize(std::fread(read.data(), sizeof(double), kValues, temporary.file));
  }
  setBytes(state);
}

void archiveRead(benchmark::State& state) {
  TemporaryFile temporary;
  FileStream out(temporary.file);
  Archive store(out, Archive::Direction::Storing);
  store.writeValues<double>(values());
  store.close();
  for (auto _ : state) {
    std::rewind(temporary.file);
    FileStream in(temporary.file);
    Archive archive(in, Archive::Direction::Loading);
    std::vector<double> read;
    archive.readValues(read);
    benchmark::DoNotOptimize(read.data());
  }
  setBytes(state);
}

void archiveNumbers(benchmark::State& state) {
  for (auto _ : state) {
    MemoryStream memory;
    Archive store(memory, Archive::Direction::Storing);
    for (int32_t i = 0; i < 1'000'000; ++i) store.putInt(i);
    store.close();
    Archive load(memory, Archive::Direction::Loading);
    int64_t sum = 0;
    for (int32_t i = 0; i < 1'000'000; ++i) sum += load.getInt();
    benchmark::DoNotOptimize(sum);
  }
}

BENCHMARK(plainWrite)->Unit(benchmark::kMillisecond)->Iterations(8);
BENCHMARK(archiveWrite)->Unit(benchmark::kMillisecond)->Iterations(8);
BENCHMARK(plainRead)->Unit(benchmark::kMillisecond)->Iterations(8);
BENCHMARK(archiveRead)->Unit(benchmark::kMillisecond)->Iterations(8);
BENCHMARK(archiveNumbers)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tarnvisor
