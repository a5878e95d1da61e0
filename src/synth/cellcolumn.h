// A line along a capillary in which a column of red cells moves, row after row: a linescan whose velocity is
// known.
#pragma once

#include <cstdint>
#include <span>

#include "synth/redcells.h"

namespace tarnvisor {

class CellColumn {
 public:
  struct Settings {
    uint64_t seed = 1;
    double velocity = 100.0;  // points a second, towards the end of the line
    double rate = 60.0;       // rows a second
    double noise = 5.0;       // sigma, grey levels
    double light = 150.0;     // of a gap of plasma
    double depth = 70.0;      // how much darker full columns are; 0: noise alone
    double columnLength = 10.0;
    double gapShare = 0.35;
    double blur = 1.0;  // of the optics: sigma, points
  };
  explicit CellColumn(const Settings& wanted);

  // Whole grey levels, 0 to 255. Rows may be asked for in any order.
  void row(int64_t number, std::span<double> out) const;
  const Settings& settings() const { return set; }

 private:
  Settings set;
  RedCells cells;
};

}  // namespace tarnvisor
