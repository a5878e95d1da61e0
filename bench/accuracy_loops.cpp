// How right the finder of nailfold loops is: simulated stills of many kinds whose loops are known, what a
// turn, a mirror, another scale, light, colour or compression changes, the real still where it is (the folder
// of the recorded pictures as second argument or in TARNVISOR_TEST_DATA), and the time. bench_accuracy_loops
// [stills of each kind] [folder]; or: turns [stills of each kind], what changes alone
#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/clock.h"
#include "base/files.h"
#include "base/parallel.h"
#include "image/stillimport.h"
#include "support/loops.h"

namespace tarnvisor {
namespace {

constexpr const char* kLine =
    "%-14s %6zu %5.0f %5.0f | %5.0f %5.0f | %6.2f %6.2f %6.2f | %6.2f %6.2f %6.2f %6.2f | %5zu\n";

void print(const char* name, const LoopTally& t) {
  const auto percent = [](size_t part, size_t all) { return 100 * LoopTally::share(part, all); };
  std::printf(kLine, name, t.stills, percent(t.told, t.stills), percent(t.good, t.stills),
              percent(t.directed, t.told), percent(t.onRow, t.told), t.recall(), t.precision(),
              t.clearPrecision(), t.bias(), 1.96 * t.deviation(), t.absoluteError(), t.spearman(), t.badGood);
}

void simulated(size_t count) {
  std::printf("%-14s %6s %5s %5s | %5s %5s | %6s %6s %6s | %6s %6s %6s %6s | %5s\n", "kind", "stills",
              "told%", "good%", "side%", "row%", "recall", "precis", "clear", "bias", "+-95%", "abs", "spear",
              "amiss");
  LoopTally all;
  for (size_t kind = 0; kind < kFoldKinds; ++kind) {
    LoopTally tally;
    std::vector<LoopJudgement> found(count);
    parallelFor(static_cast<int64_t>(count), 1, [&](int64_t begin, int64_t end) {
      for (int64_t i = begin; i < end; ++i)
        found[static_cast<size_t>(i)] =
            judged(usualField(static_cast<FoldKind>(kind), static_cast<uint64_t>(i) + 1));
    });
    for (const LoopJudgement& one : found) {
      tally.take(one);
      if (canBeCounted(static_cast<FoldKind>(kind))) all.take(one);
    }
    print(nameOf(static_cast<FoldKind>(kind)), tally);
  }
  print("all countable", all);
}

// A half turn, or mirrored.
void turnOver(CZZimage& image, bool mirror) {
  CZZimage source;
  if (!source.copyImage(image)) std::abort();
  for (int32_t y = 0; y < image.height; ++y)
    for (int32_t x = 0; x < image.width; ++x)
      std::copy_n(source.row(mirror ? y : image.height - 1 - y) + 3 * (image.width - 1 - x), 3,
                  image.row(y) + 3 * x);
}

struct Change {
  const char* name;
  void (*field)(WideField&);
  void (*image)(CZZimage&);
};
constexpr Change kChanges[] = {
    {"half turn", nullptr, [](CZZimage& i) { turnOver(i, false); }},
    {"mirror", nullptr, [](CZZimage& i) { turnOver(i, true); }},
    {"twice the size", [](WideField& f) { f.width *= 2, f.height *= 2, f.pixelSize /= 2, f.quality = 90; },
     nullptr},
    {"JPEG 50", [](WideField& f) { f.quality = 50; }, nullptr},
    {"light 0.5", [](WideField& f) { f.exposure = 0.5; }, nullptr},
    {"light 1.5", [](WideField& f) { f.exposure = 1.5; }, nullptr},
    {"warm light", [](WideField& f) { f.warmth = 0.15; }, nullptr},
    {"cold light", [](WideField& f) { f.warmth = -0.15; }, nullptr},
    {"blur 8 um", [](WideField& f) { f.extraBlur = 8; }, nullptr},
    {"blur 16 um", [](WideField& f) { f.extraBlur = 16; }, nullptr}};

NailfoldLoops foundIn(const WideField& field, void (*change)(CZZimage&)) {
  WideFieldTruth truth;
  const auto image = renderWideField(field, truth);
  if (!image) std::abort();
  if (change) change(*image);
  return findLoops(*image, {field.pixelSize, {}});
}

// Of pairs of densities.
struct Moves {
  size_t pairs = 0, within = 0;
  double sum = 0, absolute = 0;
  void take(double off) { ++pairs, within += std::abs(off) < 0.5, sum += off, absolute += std::abs(off); }
  double mean(double of) const { return of / static_cast<double>(std::max<size_t>(pairs, 1)); }
  double share() const { return 100 * LoopTally::share(within, pairs); }
};

constexpr FoldKind kChangedKinds[] = {FoldKind::Healthy, FoldKind::Sharp, FoldKind::Rarefied,
                                      FoldKind::Giant};

// How much each change moves the density, by itself and where both verdicts are good, and its largest move in
// each kind.
void changed(size_t count) {
  std::printf("\n%-14s %6s %7s %7s %7s %7s | %6s %7s %7s |", "changed", "pairs", "refused", "mean", "abs",
              "<0.5 %", "good", "abs", "<0.5 %");
  std::vector<NailfoldLoops> usual;
  for (const FoldKind kind : kChangedKinds) {
    std::printf(" %9s", nameOf(kind));
    for (uint64_t seed = 1; seed <= count; ++seed) usual.push_back(foundIn(usualField(kind, seed), nullptr));
  }
  std::printf("\n");
  for (const Change& change : kChanges) {
    size_t refusals = 0;
    Moves all, good;
    double worst[std::size(kChangedKinds)] = {};
    for (size_t i = 0; i < usual.size(); ++i) {
      const NailfoldLoops& before = usual[i];
      if (before.perMm < 0) continue;
      WideField field = usualField(kChangedKinds[i / count], i % count + 1);
      if (change.field) change.field(field);
      const NailfoldLoops after = foundIn(field, change.image);
      refusals += after.perMm < 0;
      if (after.perMm < 0) continue;
      const double off = after.perMm - before.perMm;
      all.take(off);
      if (before.verdict == LoopVerdict::Good && after.verdict == LoopVerdict::Good) good.take(off);
      worst[i / count] = std::max(worst[i / count], std::abs(off));
    }
    std::printf("%-14s %6zu %7zu %7.2f %7.2f %7.0f | %6zu %7.2f %7.0f |", change.name, all.pairs, refusals,
                all.mean(all.sum), all.mean(all.absolute), all.share(), good.pairs, good.mean(good.absolute),
                good.share());
    for (const double w : worst) std::printf(" %9.2f", w);
    std::printf("\n");
  }
}

void tell(const char* name, const NailfoldLoops& found) {
  std::printf("%-22s %-8s %3zu loops (%zu clear) on %.2f mm, %.1f per mm, central %.0f", name,
              nameOf(found.verdict), found.loops.size(), found.clearLoops(), found.rowLength, found.perMm,
              found.centralPerMm);
  for (const std::string& reason : found.reasons) std::printf("; %s", reason.c_str());
  std::printf("\n");
}

void recorded(const std::string& folder) {
  std::printf("\nreal still (by eye 17 loops on its row)\n");
  const struct {
    const char* name;
    double pixelSize;
  } files[] = {{"nailfold-2000x1500.jpg", 0.84},
               {"nailfold-1000x750-colour.bmp", 1.68},
               {"nailfold-1000x750-grey.bmp", 1.68}};
  for (const auto& file : files) {
    CZZimage image;
    const Outcome read = importStill(folder + file.name, 0, image);
    if (read)
      tell(file.name, findLoops(image, {file.pixelSize, {}}));
    else
      std::printf("%s\n", read.why().c_str());
  }
}

void timed() {
  setParallelThreads(1);
  std::printf("time on one core, the best of seven\n");
  const struct {
    int32_t width, height;
    double pixelSize;
  } sizes[] = {{1280, 1024, 2.61}, {2048, 1536, 1.6}, {4096, 3072, 0.8}};
  for (const auto& size : sizes) {
    WideFieldTruth truth;
    const auto image =
        renderWideField({.width = size.width, .height = size.height, .pixelSize = size.pixelSize}, truth);
    if (!image) std::abort();
    double best = 1e9;
    for (int32_t i = 0; i < 7; ++i) {
      const double start = steadySeconds();
      const NailfoldLoops found = findLoops(*image, {size.pixelSize, {}});
      best = std::min(best, (steadySeconds() - start) * 1000);
      if (found.perMm > 1e9) std::abort();
    }
    std::printf("%5d x %-5d %7.1f ms\n", size.width, size.height, best);
  }
  setParallelThreads(0);
}

// Of the process; it never falls, so what is measured must need more than all before.
double mostMegabytes() {
  rusage used{};
  getrusage(RUSAGE_SELF, &used);
  return static_cast<double>(used.ru_maxrss) / 1024;
}

// What the largest still that is looked at takes beside its own pixels.
void remembered() {
  constexpr int32_t kWidth = 12000, kHeight = 9000, kTimes = 4;
  WideFieldTruth truth;
  const auto small =
      renderWideField({.width = kWidth / kTimes, .height = kHeight / kTimes, .pixelSize = 2.8}, truth);
  CZZimage large(kWidth, kHeight, -1, 0, kColour);
  if (!small || large.empty()) std::abort();
  for (int32_t y = 0; y < kHeight; ++y)
    for (int32_t x = 0; x < kWidth; ++x)
      std::copy_n(small->row(y / kTimes) + 3 * (x / kTimes), 3, large.row(y) + 3 * x);
  const double before = mostMegabytes();
  const NailfoldLoops found = findLoops(large, {0.7, {}});
  std::printf("%5d x %-5d %7.0f MB beside the picture, %s, %.1f per mm of %.1f\n", kWidth, kHeight,
              mostMegabytes() - before, nameOf(found.verdict), found.perMm, truth.densityPerMm());
}

}  // namespace
}  // namespace tarnvisor

int main(int argc, char** argv) {
  if (argc > 1 && std::string(argv[1]) == "turns") {
    tarnvisor::changed(argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 12);
    return 0;
  }
  const size_t count = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 200;
  const char* folder = argc > 2 ? argv[2] : std::getenv("TARNVISOR_TEST_DATA");
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  tarnvisor::remembered();  // first, before anything else took memory
  tarnvisor::timed();
  if (folder) tarnvisor::recorded(tarnvisor::withSeparator(folder) + "nailfold-still/");
  tarnvisor::simulated(count);
  tarnvisor::changed(std::max<size_t>(count / 16, 1));
  return 0;
}
