// The red cells of one simulated capillary: columns, a little grainy, with gaps of plasma between them. The
// pattern goes on without end both ways and never repeats; it moves along the vessel as a whole.
#pragma once

#include <cstdint>
#include <span>

#include "synth/fingersettings.h"

namespace tarnvisor {

class RedCells {
 public:
  // clearness 0..1: most of a full column's darkening that a gap spares, as share.
  RedCells(uint64_t seed, size_t capillary, const FingerFlow& flow, double clearness);

  // What share of a full column's darkening is left at arc lengths first, first + step, ... along the vessel
  // when the cells have moved by distance since frame 0, seen with that blur along the vessel.
  void darkening(double distance, double blur, double first, double step, std::span<float> out) const;

 private:
  struct Gap {
    double begin, end, clear;
  };
  Gap gap(int64_t number) const;
  void fillGrain(double place, double step, double grain, std::span<float> out) const;

  uint64_t key;
  double pitch = 0;  // from gap to gap on average; 0 when there are none
  double meanGap = 0;
  double variation = 0;  // of a gap's length, as share of the mean
  double clear;
};

}  // namespace tarnvisor
