// Linescans for tests and benchmarks: simulated ones with all their traces, walked as a document walks them,
// and lines through a recording that doesn't come with the sources.
#pragma once

#include <cmath>
#include <functional>
#include <span>
#include <vector>

#include "analysis/linescan.h"
#include "synth/cellcolumn.h"
#include "video/videoreader.h"

namespace tarnvisor {

struct SimulatedScan {
  SimulatedScan(const VelocityParameters& with, uint32_t rows, uint16_t points, double rate = 1.0)
      : parameters(with),
        scan(kDoubleRowsCode, rows, points),
        difference(kDoubleRowsCode, rows, points),
        correllogram(kWordRowsCode, rows, correllogramWidth(with, points)),
        map(kWordRowsCode, houghRows(scan, scan), kHoughColumns),
        correlation(kDoubleCode, rows),
        cbv(kDoubleCode, rows),
        uncut(kDoubleCode, rows),
        ratio(kDoubleCode, rows),
        line1(kDoubleCode, rows),
        line2(kDoubleCode, rows) {
    traces = {&scan, &scan,  &difference, &correllogram, &map,  &correlation,
              &cbv,  &uncut, &line1,      &line2,        &ratio};
    for (ZZTrace* trace : all) trace->circular = 1;
    for (ZZTrace* trace : all) trace->period = 1 / rate;
  }
  void put(uint32_t row, std::span<const double> values) {
    for (uint32_t i = 0; i < values.size(); ++i) scan.data->putcell(row, i, values[i]);
    scan.setextent(row, scan.width());
  }
  void fill(CellColumn::Settings settings) {
    settings.rate = 1 / scan.period;
    const CellColumn column(settings);
    std::vector<double> values(scan.width());
    for (uint32_t row = 0; row < scan.size(); ++row) {
      column.row(row, values);
      put(row, values);
    }
  }
  // Two lines so many points apart.
  void fillLines(CellColumn::Settings settings, size_t apart) {
    settings.rate = 1 / scan.period;
    const CellColumn column(settings);
    std::vector<double> values(apart + 1);
    for (uint32_t row = 0; row < line1.size(); ++row) {
      column.row(row, values);
      line1.data->putval(row, values.front());
      line2.data->putval(row, values.back());
    }
  }
  void step(uint32_t row) {
    for (ZZTrace* trace : all) trace->origin = row;
    if (parameters.cbvmethod == kTwoLines) return twolinestep(parameters, traces, row, row);
    if (scan.extent(row) != 0) stepper.rowstep(parameters, traces, row);
  }
  void calculate() {
    for (ZZTrace* trace : {&correlation, &cbv, &uncut}) trace->data->fill(kNoReading);
    stepper.restart();
    stepper.resetMean();
    for (uint32_t row = 0; row < scan.size(); ++row) step(row);
    for (ZZTrace* trace : all) trace->origin = 0;
  }
  VelocityStatistics statistics() const { return velocityStatistics(traces, parameters, 0, 0); }
  std::vector<Slope> slopes() {
    return houghSlopes(parameters, difference, scan, map, houghMap(parameters, difference, scan, map));
  }

  VelocityParameters parameters;
  C2DTrace scan, difference, correllogram, map;
  ZZTrace correlation, cbv, uncut, ratio, line1, line2;
  LinescanTraces traces;
  std::vector<ZZTrace*> all{&scan,  &difference, &correllogram, &correlation, &cbv,
                            &uncut, &ratio,      &line1,        &line2};
  RowVelocity stepper;
};

// One bright stripe through the middle of the difference trace.
inline void drawStripe(SimulatedScan& scan, double pointsPerRow, double width, double at = 0.4) {
  const double middleRow = scan.scan.size() / 2 - at, middle = scan.scan.width() / 2;
  for (uint32_t row = 0; row < scan.scan.size(); ++row) {
    scan.difference.setextent(row, scan.scan.width());
    for (uint32_t c = 0; c < scan.scan.width(); ++c) {
      const double away = (c - middle - pointsPerRow * (row - middleRow)) / width;
      scan.difference.data->putcell(row, c, 64 + 60 * std::exp(-away * away / 2));
    }
  }
}

// A line along a vessel of the recording in the direction of the blood, and the speed that its authors found
// there, counting a point of the line as a pixel.
struct RecordedVessel {
  double x0, y0, x1, y1;
  uint16_t points;
  double speed;  // um/s
};
inline constexpr RecordedVessel kRecordedVessels[] = {
    {100, 87, 137, 78, 38, 224.58}, {359, 96, 333, 47, 50, 244.46}, {361, 96, 337, 50, 47, 204.86}};
// Here one cell was measured that is faster than most.
inline constexpr RecordedVessel kUnevenVessel = {147, 63, 179, 57, 33, 133.99};
inline constexpr double kRecordedPixel = 0.77, kRecordedRate = 120;
inline constexpr const char* kRecording = "flow-sequence/flow-425x110-120fps-ffv1.avi";

// Rows of means of five pixels across the line. False where the video can't be read.
inline bool fill(SimulatedScan& scan, VideoReader& reader, const RecordedVessel& vessel) {
  constexpr int32_t kAcross = 2;
  const double dx = vessel.x1 - vessel.x0, dy = vessel.y1 - vessel.y0, length = std::hypot(dx, dy);
  const int32_t width = reader.width();
  std::vector<uint8_t> frame(static_cast<size_t>(width) * static_cast<size_t>(reader.height()));
  std::vector<double> values(vessel.points);
  for (uint32_t row = 0; row < scan.scan.size(); ++row) {
    if (!reader.readGrey(static_cast<int32_t>(row), frame.data(), width)) return false;
    for (size_t i = 0; i < values.size(); ++i) {
      const double t = static_cast<double>(i) / (vessel.points - 1.0);
      values[i] = 0;
      for (int32_t k = -kAcross; k <= kAcross; ++k) {
        const auto x = static_cast<size_t>(std::lround(vessel.x0 + t * dx - k * dy / length));
        const auto y = static_cast<size_t>(std::lround(vessel.y0 + t * dy + k * dx / length));
        values[i] += frame[y * static_cast<size_t>(width) + x] / (2.0 * kAcross + 1);
      }
    }
    scan.put(row, values);
  }
  return true;
}

}  // namespace tarnvisor
