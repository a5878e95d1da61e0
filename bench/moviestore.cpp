// The movie store beside the plain calls that it can't do without: each benchmark does both in turn, in the
// same run, and prints the ratio of their quickest.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <functional>
#include <random>

#include "base/files.h"
#include "base/parallel.h"
#include "movie/moviefile.h"
#include "movie/movieimage.h"
#include "movie/zzmovie.h"

namespace tarnvisor {
namespace {

class Folder {
 public:
  Folder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "tarnvisor-bench-XXXXXX").string();
    path = withSeparator(::mkdtemp(pattern.data()));
  }
  ~Folder() {
    std::error_code error;
    std::filesystem::remove_all(path, error);
  }
  bool hasRoomFor(int64_t bytes) const { return freeDiscBytes(path) > 2 * static_cast<uint64_t>(bytes); }
  std::string file(const char* name) const { return path + name; }

 private:
  std::string path;
};

// The quickest: other programs only ever add to it.
double bestMs(const std::vector<double>& seconds) {
  return seconds.empty() ? 0 : 1000 * *std::min_element(seconds.begin(), seconds.end());
}

void race(benchmark::State& state, const std::function<void()>& store, const std::function<void()>& plain) {
  std::vector<double> ours, theirs;
  const auto timed = [](const std::function<void()>& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  };
  bool first = false;
  for (auto _ : state) {
    first = !first;
    if (first) ours.push_back(timed(store));
    theirs.push_back(timed(plain));
    if (!first) ours.push_back(timed(store));
  }
  const double store_ms = bestMs(ours), plain_ms = bestMs(theirs);
  state.counters["store_ms"] = store_ms;
  state.counters["plain_ms"] = plain_ms;
  state.counters["ratio"] = plain_ms > 0 ? store_ms / plain_ms : 0;
}

constexpr int32_t kWidth = 2048, kHeight = 1536, kSlots = 48;
constexpr size_t kBytes = size_t{kWidth} * kHeight;

void texture(CZZimage& image) {
  std::mt19937 random(1);
  for (int32_t y = 0; y < image.height; ++y)
    for (int32_t x = 0; x < image.rowBytes; ++x) image.row(y)[x] = static_cast<uint8_t>(random());
}

// Both go round in files of the same length, whose pages are there: what is timed is what each call adds.
void addToDisc(benchmark::State& state) {
  const Folder folder;
  if (!folder.hasRoomFor(int64_t{2 * kSlots} * static_cast<int64_t>(kBytes)))
    return state.SkipWithError("disc is full");
  CZZimage image(kWidth, kHeight, 1);
  texture(image);
  CZZMovie movie;
  movie.ringMode = 1;
  const auto plain = MovieFile::open(folder.file("plain"), MovieFile::Access::Create);
  if (!plain || !movie.record(kSlots, folder.file("a.mve"), 0, 0, kWidth, kHeight, false))
    return state.SkipWithError("no file");
  int32_t slot = 0;
  const auto add = [&] { (void)movie.addFrame(image, 0); };
  const auto write = [&] {
    plain->write(image.pixels, kBytes, MovieLayout::kDataOffset + static_cast<int64_t>(kBytes) * slot);
    slot = (slot + 1) % kSlots;
  };
  for (int32_t i = 0; i < kSlots; ++i) add(), write();
  race(state, add, write);
}

void addToMemory(benchmark::State& state) {
  CZZimage image(kWidth, kHeight, 1);
  texture(image);
  CZZMovie movie;
  movie.ringMode = 1;
  if (!movie.record(kSlots, "", 0, 0, kWidth, kHeight, false)) return state.SkipWithError("no memory");
  std::vector<uint8_t> plain(kBytes * kSlots, 1);
  size_t slot = 0;
  const auto add = [&] { (void)movie.addFrame(image, 0); };
  for (int32_t i = 0; i < kSlots; ++i) add();
  race(state, add, [&] {
    std::memcpy(plain.data() + kBytes * slot, image.pixels, kBytes);
    benchmark::ClobberMemory();
    slot = (slot + 1) % kSlots;
  });
}

// A movie of numbered frames, whose pages the writing leaves in memory.
bool make(const std::string& path, int32_t frames, int32_t width, int32_t height) {
  CZZMovie movie;
  if (!movie.record(frames, path, 0, 0, width, height, false)) return false;
  CZZimage image(width, height, 1);
  texture(image);
  for (int32_t i = 0; i < frames; ++i) {
    image.row(i % height)[0] = static_cast<uint8_t>(i);
    image.frameNumber = 2 * i;
    (void)movie.addFrame(image, 0);
  }
  movie.stopRecording();
  return movie.count == frames;
}

void randomFrame(benchmark::State& state) {
  const Folder folder;
  constexpr int32_t kFrames = 200;
  CZZMovie movie;
  if (!folder.hasRoomFor(int64_t{kFrames} * static_cast<int64_t>(kBytes)) ||
      !make(folder.file("a.mve"), kFrames, kWidth, kHeight) || !movie.open(folder.file("a.mve")))
    return state.SkipWithError("disc is full");
  const auto plain = MovieFile::open(folder.file("a.mve"), MovieFile::Access::Update);
  std::vector<uint8_t> block(kBytes);
  std::mt19937 ours(3), theirs(3);
  race(
      state, [&] { benchmark::DoNotOptimize(movie.frameAt(static_cast<int32_t>(ours() % kFrames)).pixels); },
      [&] {
        const auto slot = static_cast<int64_t>(theirs() % kFrames);
        plain->read(block.data(), kBytes, MovieLayout::kDataOffset + static_cast<int64_t>(kBytes) * slot);
        benchmark::DoNotOptimize(block.data());
      });
}

void averageOfAThousand(benchmark::State& state) {
  const Folder folder;
  constexpr int32_t kFrames = 1000, kColumns = 1280, kRows = 1024;
  constexpr size_t kFrame = size_t{kColumns} * kRows;
  setParallelThreads(static_cast<int>(state.range(0)));
  CZZMovie movie;
  if (!folder.hasRoomFor(int64_t{kFrames} * static_cast<int64_t>(kFrame)) ||
      !make(folder.file("a.mve"), kFrames, kColumns, kRows) || !movie.open(folder.file("a.mve")))
    return state.SkipWithError("disc is full");
  const auto plain = MovieFile::open(folder.file("a.mve"), MovieFile::Access::Update);
  std::vector<uint8_t> block(kFrame);
  race(
      state,
      [&] {
        MovieMean averaging(movie, -1, -1);
        while (averaging.next()) continue;
        benchmark::DoNotOptimize(averaging.take());
      },
      [&] {
        for (int64_t i = 0; i < kFrames; ++i)
          plain->read(block.data(), kFrame, MovieLayout::kDataOffset + static_cast<int64_t>(kFrame) * i);
        benchmark::DoNotOptimize(block.data());
      });
  setParallelThreads(0);
}

BENCHMARK(addToDisc)->Iterations(300)->Unit(benchmark::kMillisecond);
BENCHMARK(addToMemory)->Iterations(300)->Unit(benchmark::kMillisecond);
BENCHMARK(randomFrame)->Iterations(300)->Unit(benchmark::kMillisecond);
BENCHMARK(averageOfAThousand)
    ->Arg(1)
    ->Arg(0)
    ->ArgName("threads")
    ->Iterations(15)
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tarnvisor
