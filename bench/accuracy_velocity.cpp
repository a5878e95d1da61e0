// How right velocities from linescans are.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "analysis/linescan.h"
#include "synth/cellcolumn.h"

namespace tarnvisor {
namespace {

// A linescan with all its traces, held as a document holds them.
struct Scan {
  Scan(const VelocityParameters& with, uint32_t rows, uint16_t points, double period)
      : parameters(with),
        scan(kWordRowsCode, rows, points),
        difference(kDoubleRowsCode, rows, points),
        correllogram(kWordRowsCode, rows, correllogramWidth(with, points)),
        correlation(kDoubleCode, rows),
        cbv(kDoubleCode, rows),
        uncut(kDoubleCode, rows),
        ratio(kDoubleCode, rows),
        line1(kDoubleCode, rows),
        line2(kDoubleCode, rows) {
    traces = {&scan, &scan,  &difference, &correllogram, nullptr, &correlation,
              &cbv,  &uncut, &line1,      &line2,        &ratio};
    for (ZZTrace* t : all()) {
      t->circular = 1;
      t->period = period;
    }
    for (ZZTrace* t : {&correlation, &cbv, &uncut}) t->data->fill(kNoReading);
  }
  std::vector<ZZTrace*> all() {
    return {&scan, &difference, &correllogram, &correlation, &cbv, &uncut, &ratio, &line1, &line2};
  }
  void put(const CellColumn& column) {
    std::vector<double> values(scan.width());
    for (uint32_t row = 0; row < scan.size(); ++row) {
      column.row(row, values);
      for (uint32_t i = 0; i < values.size(); ++i) scan.data->putcell(row, i, values[i]);
      scan.setextent(row, scan.width());
    }
  }
  void calculate() {
    for (uint32_t row = 0; row < scan.size(); ++row) {
      for (ZZTrace* t : all()) t->origin = row;
      if (parameters.cbvmethod == kTwoLines)
        twolinestep(parameters, traces, row, row);
      else
        stepper.rowstep(parameters, traces, row);
    }
    for (ZZTrace* t : all()) t->origin = 0;
  }

  VelocityParameters parameters;
  C2DTrace scan, difference, correllogram;
  ZZTrace correlation, cbv, uncut, ratio, line1, line2;
  LinescanTraces traces;
  RowVelocity stepper;
};

uint32_t seeds = 3;

void rowsTable(bool additions, std::vector<uint16_t> lines) {
  std::printf("rows, gap for 15 points, %s\n", additions ? "with the additions" : "as set");
  std::printf("%8s %8s %8s %6s | share of cases within 3 %% at noise 0, 5, 10, 20\n", "points/s", "line",
              "rate", "gap");
  for (const bool slow : {true, false}) {
    for (const uint16_t line : lines) {
      for (const double noise : {0.0, 5.0, 10.0, 20.0}) {
        int cases = 0, right = 0, none = 0;
        double worst = 0;
        std::string words;
        for (const double rate : {30.0, 60.0, 120.0})
          for (const double velocity : slow ? std::vector<double>{2, 5, 10, 20}
                                            : std::vector<double>{30, 50, 100, 200, 500, 1000, 2000})
            for (uint64_t seed = 1; seed <= seeds; ++seed) {
              const int32_t gap = std::max(1, static_cast<int32_t>(std::lround(15 * rate / velocity)));
              if (velocity / rate * gap > line / 2 - 2) continue;
              VelocityParameters with;
              with.gap = gap;
              with.subpoint = with.bothways = additions;
              Scan scan(with, static_cast<uint32_t>(std::max(300, 4 * gap)), line, 1 / rate);
              scan.put(CellColumn({.seed = seed, .velocity = velocity, .rate = rate, .noise = noise}));
              scan.calculate();
              const VelocityStatistics s = velocityStatistics(scan.traces, with, 0, 0);
              ++cases;
              none += !s.hasReading();
              const double error = s.hasReading() ? s.mean / velocity - 1 : 1;
              right += std::abs(error) <= 0.03;
              if (std::getenv("VERBOSE"))
                std::printf(
                    "   v %5.0f rate %4.0f gap %4d noise %2.0f line %d: %8.2f %+6.1f%% share %.2f r2 %.2f ratio %.2f\n",
                    velocity, rate, gap, noise, line, s.mean, 100 * error, s.share(), s.correlation,
                    s.peakRatio);
              worst = std::max(worst, std::abs(error));
            }
        std::printf("%8s line %3d noise %2.0f: %5.1f %% of %3d right, %5.1f %% none, worst %6.1f %%\n",
                    slow ? "<30" : ">=30", line, noise, 100.0 * right / cases, cases, 100.0 * none / cases,
                    100 * worst);
      }
    }
  }
}

void gapOne(bool additions) {
  std::printf("rows, gap 1\n");
  for (const double points : {0.5, 1.5, 2.5, 5.5, 16.5})
    for (const double noise : {0.0, 5.0, 10.0, 20.0}) {
      std::vector<double> errors;
      for (uint64_t seed = 1; seed <= seeds; ++seed) {
        VelocityParameters with;
        with.subpoint = with.bothways = additions;
        Scan scan(with, 400, 64, 1 / 60.0);
        scan.put(CellColumn({.seed = seed, .velocity = points * 60, .rate = 60, .noise = noise}));
        scan.calculate();
        const VelocityStatistics s = velocityStatistics(scan.traces, with, 0, 0);
        errors.push_back(100 * (s.mean / (points * 60) - 1));
      }
      std::sort(errors.begin(), errors.end());
      std::printf("  %4.1f noise %2.0f: median error %+6.1f %% worst %+.1f %+.1f\n", points, noise,
                  errors[errors.size() / 2], errors.front(), errors.back());
    }
}

void twoLines(bool additions) {
  std::printf("two lines\n");
  for (const double delay : {1.5, 2.0, 2.5, 3.0, 5.0, 7.5, 10.0, 20.0})
    for (const double noise : {0.0, 5.0}) {
      std::vector<double> errors;
      for (uint64_t seed = 1; seed <= seeds; ++seed) {
        VelocityParameters with;
        with.cbvmethod = kTwoLines;
        with.noofpoints = 64;
        with.linedistance = 20;
        with.subpoint = with.bothways = additions;
        Scan scan(with, 1000, 64, 1 / 60.0);
        const CellColumn column({.seed = seed, .velocity = 20 / delay * 60, .rate = 60, .noise = noise});
        std::vector<double> values(32);
        for (uint32_t row = 0; row < 1000; ++row) {
          column.row(row, values);
          const auto meanAt = [&](size_t at) {
            return (values[at] + values[at + 1] + values[at + 2] + values[at + 3]) / 4;
          };
          scan.line1.data->putval(row, meanAt(2));
          scan.line2.data->putval(row, meanAt(22));
        }
        scan.calculate();
        const VelocityStatistics s = velocityStatistics(scan.traces, with, 0, 0);
        errors.push_back(100 * (s.mean / (20 / delay * 60) - 1));
        if (std::getenv("VERBOSE"))
          std::printf("   mean %f min %f max %f share %f r %f\n", s.mean, s.least, s.greatest, s.share(),
                      s.correlation);
      }
      std::sort(errors.begin(), errors.end());
      std::printf("  delay %4.1f noise %2.0f: median error %+6.1f %% worst %+.1f %+.1f\n", delay, noise,
                  errors[errors.size() / 2], errors.front(), errors.back());
    }
}

void hough(bool additions) {
  std::printf("Hough, one stripe\n");
  for (const double points : {0.5, 1.0, 2.0, 5.0, 10.0, 20.0, 40.0}) {
    std::vector<double> errors;
    size_t found = 0;
    for (uint64_t seed = 1; seed <= 8; ++seed) {
      VelocityParameters with;
      with.houghmin = 10;
      with.subpoint = additions;
      Scan scan(with, 256, 128, 1 / 60.0);
      for (uint32_t row = 0; row < 256; ++row) {
        scan.difference.setextent(row, 128);
        for (uint32_t c = 0; c < 128; ++c) {
          const double away = c - 64.0 - points * (row - 128.0 + static_cast<double>(seed) * 0.37);
          scan.difference.data->putcell(row, c, 64 + 60 * std::exp(-away * away / 8));
        }
      }
      C2DTrace map(kWordRowsCode, houghRows(scan.difference, scan.scan), kHoughColumns);
      houghMap(with, scan.difference, scan.scan, map);
      const auto slopes = houghSlopes(with, scan.difference, scan.scan, map);
      found += slopes.size();
      if (!slopes.empty()) errors.push_back(100 * (slopes[0].velocity() / 60 / points - 1));
    }
    std::sort(errors.begin(), errors.end(), [](double a, double b) { return std::abs(a) < std::abs(b); });
    if (errors.empty()) {
      std::printf("  %4.1f: none\n", points);
      continue;
    }
    std::printf("  %4.1f points a row: median %+6.1f %% worst %+6.1f %%, %.1f slopes\n", points,
                errors[errors.size() / 2], errors.back(), static_cast<double>(found) / 8);
  }
}

void others(bool additions) {
  std::printf("standing, backward, noise\n");
  for (const char* kind : {"standing", "backward", "noise"})
    for (const uint16_t line : {uint16_t{20}, uint16_t{64}, uint16_t{128}})
      for (const double noise : {2.0, 10.0, 20.0}) {
        double share = 0, mean = 0, worst = 0;
        for (uint64_t seed = 1; seed <= seeds; ++seed) {
          VelocityParameters with;
          with.subpoint = with.bothways = additions;
          Scan scan(with, 400, line, 1 / 60.0);
          CellColumn::Settings set{.seed = seed, .velocity = 0, .rate = 60, .noise = noise};
          if (kind[0] == 'b') set.velocity = -300;
          if (kind[0] == 'n') set.depth = 0;
          scan.put(CellColumn(set));
          scan.calculate();
          const VelocityStatistics s = velocityStatistics(scan.traces, with, 0, 0);
          share += s.share() / seeds;
          mean += s.mean / seeds;
          worst = std::max(worst, std::abs(s.mean));
        }
        std::printf("  %-9s line %3d noise %2.0f: good rows %5.1f %%, mean %8.1f worst |%.1f|\n", kind, line,
                    noise, 100 * share, mean, worst);
      }
}

}  // namespace

void printAll(bool additions, const std::string& what) {
  if (what.find('r') != what.npos) rowsTable(additions, {20, 64, 100, 200});
  if (what.find('g') != what.npos) gapOne(additions);
  if (what.find('t') != what.npos) twoLines(additions);
  if (what.find('h') != what.npos) hough(additions);
  if (what.find('o') != what.npos) others(additions);
}
}  // namespace tarnvisor

int main(int argc, char** argv) {
  const std::string what = argc > 1 ? argv[1] : "rgtho";
  if (argc > 3) tarnvisor::seeds = static_cast<uint32_t>(std::atoi(argv[3]));
  if (argc <= 2 || argv[2][0] == '0') tarnvisor::printAll(false, what);
  if (argc <= 2 || argv[2][0] == '1') tarnvisor::printAll(true, what);
}
