// How right velocities from linescans are, as set and with the additions: on simulated columns of cells whose
// velocity is known, and with the folder of the recorded pictures as argument (or in TARNVISOR_TEST_DATA)
// along vessels whose speed others measured. What is told as unreliable counts as told, not as a number.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "base/files.h"
#include "support/linescans.h"

namespace tarnvisor {
namespace {

constexpr uint64_t kSeeds = 3;
constexpr double kNoises[] = {0, 5, 10, 20};

VelocityParameters parametersFor(bool additions) { return {.subpoint = additions, .bothways = additions}; }

double percentApart(double found, double truth) { return 100 * (found / truth - 1); }

// --- shifts between rows

struct Share {
  int cases = 0, right = 0, told = 0;
};

// The gap is chosen for a shift of about 15 points, or a quarter of the line.
void countRows(bool additions, CellColumn::Settings cells, uint16_t line, Share& share) {
  VelocityParameters with = parametersFor(additions);
  with.gap =
      std::max(1, static_cast<int32_t>(std::lround(std::min(15, line / 4) * cells.rate / cells.velocity)));
  if (cells.velocity / cells.rate * with.gap > line / 2 - 2) return;
  for (cells.seed = 1; cells.seed <= kSeeds; ++cells.seed) {
    SimulatedScan scan(with, static_cast<uint32_t>(std::max(300, 4 * with.gap)), line, cells.rate);
    scan.fill(cells);
    scan.calculate();
    const VelocityStatistics found = scan.statistics();
    const bool isNumber = reliabilityOf(found) > Reliability::Unreliable;
    ++share.cases;
    share.told += !isNumber;
    share.right += found.hasReading() && std::abs(percentApart(found.mean, cells.velocity)) <= 3;
  }
}

void tellRows(bool additions, double columnLength) {
  std::printf(
      "\nrows, cells %.0f points long: percent of cases within 3 %% (told as unreliable or nothing)\n",
      columnLength);
  std::printf("%6s %10s", "line", "points/s");
  for (const double noise : kNoises) std::printf("   at noise %2.0f ", noise);
  for (const uint16_t line : {20, 64, 100, 200})
    for (const bool slow : {true, false}) {
      std::printf("\n%6d %10s", line, slow ? "2 to 20" : "30 to 2000");
      for (const double noise : kNoises) {
        Share share;
        for (const double rate : {30, 60, 120})
          for (const double velocity : slow ? std::vector<double>{2, 5, 10, 20}
                                            : std::vector<double>{30, 50, 100, 200, 500, 1000, 2000})
            countRows(additions,
                      {.velocity = velocity, .rate = rate, .noise = noise, .columnLength = columnLength},
                      line, share);
        std::printf("   %3.0f %% (%3.0f %%)", 100.0 * share.right / share.cases,
                    100.0 * share.told / share.cases);
      }
    }
  std::printf("\n");
}

double medianError(const std::function<double(uint64_t)>& errorOf) {
  std::vector<double> errors;
  for (uint64_t seed = 1; seed <= kSeeds; ++seed) errors.push_back(std::abs(errorOf(seed)));
  std::sort(errors.begin(), errors.end());
  return errors[errors.size() / 2];
}

void tellGapOfOne(bool additions) {
  std::printf("\nrows, gap 1, line 64: median error at noise 0, 5, 10, 20\n");
  for (const double shift : {0.5, 1.5, 2.5, 5.5, 16.5}) {
    std::printf("%5.1f points a row", shift);
    for (const double noise : kNoises)
      std::printf("  %7.1f %%", medianError([&](uint64_t seed) {
                    SimulatedScan scan(parametersFor(additions), 400, 64, 60);
                    scan.fill({.seed = seed, .velocity = shift * 60, .noise = noise});
                    scan.calculate();
                    return percentApart(scan.statistics().mean, shift * 60);
                  }));
    std::printf("\n");
  }
}

void tellOthers(bool additions) {
  std::printf(
      "\nstanding, forward and backward at 300 points/s, noise alone: good rows, mean velocity, what is told; Hough\n");
  struct Kind {
    const char* name;
    double velocity, depth;
  };
  for (const Kind& kind :
       {Kind{"standing", 0, 70}, {"forward", 300, 70}, {"backward", -300, 70}, {"noise", 0, 0}})
    for (const uint16_t line : {20, 64, 128})
      for (const double noise : {2.0, 10.0, 20.0}) {
        SimulatedScan scan(parametersFor(additions), 400, line, 60);
        scan.fill({.velocity = kind.velocity, .noise = noise, .depth = kind.depth});
        scan.calculate();
        const VelocityStatistics found = scan.statistics();
        std::vector<double> stripes;
        for (const Slope& slope : scan.slopes()) stripes.push_back(slope.velocity());
        std::sort(stripes.begin(), stripes.end());
        std::printf("%-9s line %3d noise %2.0f  %5.1f %%  %8.1f  %-10s", kind.name, line, noise,
                    100 * found.share(), found.mean, wordsFor(reliabilityOf(found)));
        stripes.empty()
            ? std::printf("  no stripes\n")
            : std::printf("  %zu stripes, median %.1f\n", stripes.size(), stripes[stripes.size() / 2]);
      }
}

// --- two lines, stripes, a recording

void tellTwoLines(bool additions) {
  std::printf("\ntwo lines, 64 samples: median error\n");
  for (const double delay : {2.0, 3.0, 5.0, 7.5, 10.0, 20.0})
    std::printf("delay %4.1f  %7.1f %%\n", delay, medianError([&](uint64_t seed) {
                  VelocityParameters with = parametersFor(additions);
                  with.cbvmethod = kTwoLines;
                  with.noofpoints = 64;
                  with.linedistance = 20;
                  SimulatedScan scan(with, 1000, 2, 60);
                  scan.fillLines({.seed = seed, .velocity = 1200 / delay}, 20);
                  scan.calculate();
                  return percentApart(scan.statistics().mean, 1200 / delay);
                }));
}

void tellHough(bool additions) {
  std::printf("\nHough, one stripe 2, 4 and 8 points broad: greatest error (-: not found)\n");
  for (const double shift : {0.5, 1.0, 2.0, 5.0, 10.0, 20.0, 40.0}) {
    std::printf("%5.1f points a row", shift);
    for (const double width : {2.0, 4.0, 8.0}) {
      double worst = -1;
      for (int32_t at = 0; at < 8; ++at) {
        VelocityParameters with = parametersFor(additions);
        with.houghmin = 10;
        SimulatedScan scan(with, 256, 128, 60);
        drawStripe(scan, shift, width, 0.37 * at);
        for (const Slope& slope : scan.slopes())
          worst = std::max(worst, std::abs(percentApart(slope.velocity(), shift * 60)));
      }
      worst < 0 ? std::printf("  %9s", "-") : std::printf("  %7.1f %%", worst);
    }
    std::printf("\n");
  }
}

void tellRecording(bool additions, VideoReader& reader) {
  std::printf(
      "\nrecorded vessels: authors' speed, ours in um/s, good rows, r squared, peak ratio, what is told\n");
  std::vector<RecordedVessel> vessels(std::begin(kRecordedVessels), std::end(kRecordedVessels));
  vessels.push_back(kUnevenVessel);
  for (const RecordedVessel& vessel : vessels)
    for (const int32_t gap : {3, 4}) {
      VelocityParameters with = parametersFor(additions);
      with.gap = gap;
      SimulatedScan scan(with, static_cast<uint32_t>(reader.frames()), vessel.points, kRecordedRate);
      if (!fill(scan, reader, vessel)) return;
      scan.calculate();
      const VelocityStatistics found = scan.statistics();
      const double speed = found.mean * kRecordedPixel;
      std::printf("gap %d  %6.1f  %6.1f (%+5.1f %%)  %3.0f %%  %.2f  %4.1f  %s\n", gap, vessel.speed, speed,
                  percentApart(speed, vessel.speed), 100 * found.share(), found.correlation, found.peakRatio,
                  wordsFor(reliabilityOf(found)));
    }
}

}  // namespace
}  // namespace tarnvisor

int main(int argc, char** argv) {
  using namespace tarnvisor;
  const char* named = argc > 1 ? argv[1] : std::getenv("TARNVISOR_TEST_DATA");
  std::string why;
  const auto reader = named ? VideoReader::open(withSeparator(named) + kRecording, why) : nullptr;
  for (const bool additions : {false, true}) {
    std::printf("%s=== %s ===\n", additions ? "\n" : "", additions ? "with the additions" : "as set");
    for (const double columnLength : {10.0, 40.0}) tellRows(additions, columnLength);
    tellGapOfOne(additions);
    tellTwoLines(additions);
    tellHough(additions);
    tellOthers(additions);
    if (reader) tellRecording(additions, *reader);
  }
  return 0;
}
