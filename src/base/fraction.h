// A number as a fraction of whole ones, as files tell rates.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

namespace tarnvisor {

struct Fraction {
  int32_t above = 1, below = 1;
};

// The simplest fraction that is a positive number, or next to it: 29.97 is 2997/100, 30000/1001 itself.
inline Fraction fractionOf(double v) {
  constexpr double kMost = std::numeric_limits<int32_t>::max();
  if (!(v > 0)) return {};
  if (v >= kMost) return {std::numeric_limits<int32_t>::max(), 1};
  // Each whole number of the continued fraction comes nearer.
  double above = 1, below = 0, aboveBefore = 0, belowBefore = 1, rest = v;
  for (int i = 0; i < 64; ++i) {
    const double whole = std::floor(rest);
    const double nextAbove = whole * above + aboveBefore, nextBelow = whole * below + belowBefore;
    if (!(nextAbove <= kMost && nextBelow <= kMost)) break;
    aboveBefore = above, belowBefore = below, above = nextAbove, below = nextBelow;
    if (above / below == v || rest == whole) break;
    rest = 1 / (rest - whole);
  }
  return above >= 1 ? Fraction{static_cast<int32_t>(above), static_cast<int32_t>(below)}
                    : Fraction{1, std::numeric_limits<int32_t>::max()};
}

}  // namespace tarnvisor
