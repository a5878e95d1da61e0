// A linescan with all its traces, walked as a document walks it.
#pragma once

#include "analysis/linescan.h"
#include "support/testing.h"
#include "synth/cellcolumn.h"

namespace tarnvisor {

struct Scan {
  Scan(const VelocityParameters& with, uint32_t count, uint16_t points, double period = 1.0)
      : parameters(with),
        scan(kDoubleRowsCode, count, points),
        difference(kDoubleRowsCode, count, points),
        correllogram(kWordRowsCode, count, correllogramWidth(with, points)),
        correlation(kDoubleCode, count),
        cbv(kDoubleCode, count),
        uncut(kDoubleCode, count),
        ratio(kDoubleCode, count),
        line1(kDoubleCode, count),
        line2(kDoubleCode, count) {
    traces = {&scan, &scan,  &difference, &correllogram, nullptr, &correlation,
              &cbv,  &uncut, &line1,      &line2,        &ratio};
    for (ZZTrace* trace : all()) {
      trace->circular = 1;
      trace->period = period;
    }
  }
  std::vector<ZZTrace*> all() {
    return {&scan, &difference, &correllogram, &correlation, &cbv, &uncut, &line1, &line2, &ratio};
  }
  void put(uint32_t row, std::span<const double> values) {
    for (uint32_t i = 0; i < values.size(); ++i) scan.data->putcell(row, i, values[i]);
    scan.setextent(row, scan.width());
  }
  void fill(const CellColumn& column) {
    std::vector<double> values(scan.width());
    for (uint32_t row = 0; row < scan.size(); ++row) {
      column.row(row, values);
      put(row, values);
    }
  }
  void calculate() {
    for (ZZTrace* trace : {&correlation, &cbv, &uncut}) trace->data->fill(kNoReading);
    stepper.restart();
    stepper.resetMean();
    for (uint32_t row = 0; row < scan.size(); ++row) {
      for (ZZTrace* trace : all()) trace->origin = row;
      if (parameters.cbvmethod == kTwoLines)
        twolinestep(parameters, traces, row, row);
      else if (scan.extent(row) != 0)
        stepper.rowstep(parameters, traces, row);
    }
    for (ZZTrace* trace : all()) trace->origin = 0;
  }
  VelocityStatistics statistics() const { return velocityStatistics(traces, parameters, 0, 0); }

  VelocityParameters parameters;
  C2DTrace scan, difference, correllogram;
  ZZTrace correlation, cbv, uncut, ratio, line1, line2;
  LinescanTraces traces;
  RowVelocity stepper;
};

// Three points a row, at 10 rows a second.
struct Flowing : Scan {
  explicit Flowing(const VelocityParameters& with, uint32_t count = 60, uint16_t points = 64,
                   double velocity = 30)
      : Scan(with, count, points, 0.1) {
    fill(CellColumn({.seed = 3, .velocity = velocity, .rate = 10, .noise = 2}));
  }
};

}  // namespace tarnvisor
