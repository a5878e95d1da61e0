// The greatest value of a function of whole numbers that has one peak, by golden section search (Kiefer,
// 1953), as a record that is given one value at a time: between two values the world may move, a drive or a
// camera.
#pragma once

#include <cstdint>

namespace tarnvisor {

struct GoldenSection {
  int32_t tolerance = 0;  // of a range this wide only the middle is tried
  int32_t low = 0;
  int32_t mid = 0;  // where bestValue was found
  int32_t high = 0;
  int32_t probe = 0;  // where the next value is wanted
  double bestValue = 0;

  // The first position.
  int32_t start(int32_t from, int32_t to);
  // Takes the value at `probe`. The next position; the one just tried is the end.
  int32_t step(double value);
  // Whether the probe divides the larger part. Cut to whole numbers it may not where the range is small: the
  // peak lies between low and high all the same, but a step could now lose it.
  bool divides() const { return (probe > mid) == widerAbove() && probe != mid; }

 private:
  bool widerAbove() const;
  double part() const;
};

}  // namespace tarnvisor
