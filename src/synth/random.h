// Chance for the simulated finger. A seed gives the same numbers on every machine: integers are hashed, and
// floating point uses only operations that every machine rounds alike (no library function but sqrt and
// floor).
#pragma once

#include <cmath>
#include <cstdint>

namespace tarnvisor {

// One step of SplitMix64 (G. L. Steele, D. Lea, C. H. Flood, "Fast splittable pseudorandom number
// generators", OOPSLA 2014): a bijection that scatters neighbouring inputs.
inline uint64_t scattered(uint64_t x) {
  x += 0x9E3779B97F4A7C15ULL;
  x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ULL;
  x = (x ^ (x >> 27)) * 0x94D049BB133111EBULL;
  return x ^ (x >> 31);
}

// A sequence of its own for each pair of seed and stream, so that asking for more of one thing (noise, dust)
// does not change another (where the capillaries lie). Draw one number a full expression: compilers differ in
// the order in which they evaluate arguments and operands.
class Random {
 public:
  Random(uint64_t seed, uint64_t stream) : state(scattered(seed) ^ scattered(~stream)) {}

  uint64_t next() {
    const uint64_t value = scattered(state);
    state += 0x9E3779B97F4A7C15ULL;
    return value;
  }
  double unit() { return static_cast<double>(next() >> 11) * 0x1p-53; }  // [0, 1)
  double between(double low, double high) { return low + (high - low) * unit(); }
  double sign() { return next() >> 63 ? 1.0 : -1.0; }
  // Mean 0, deviation 1: the sum of four even numbers, so never past 3.47.
  double normal() {
    const uint64_t v = next();
    const auto sum = static_cast<double>((v & 0xFFFF) + (v >> 16 & 0xFFFF) + (v >> 32 & 0xFFFF) + (v >> 48));
    return (sum - 131070.0) / 37837.0;
  }

 private:
  uint64_t state;
};

inline double smoothStep(double t) { return t * t * (3.0 - 2.0 * t); }

// sin(2 pi turns) to 4e-6, the same bits everywhere: the series of the sine, within a quarter turn of zero.
inline double sineOfTurns(double turns) {
  double x = turns - std::floor(turns + 0.5);
  if (x > 0.25) x = 0.5 - x;
  if (x < -0.25) x = -0.5 - x;
  x *= 6.283185307179586;
  const double s = x * x;
  return x * (1 - s / 6 * (1 - s / 20 * (1 - s / 42 * (1 - s / 72))));
}

// exp(-x) for x of 0 and more, to about 1e-4 of itself up to 20; the same bits everywhere.
inline double expMinus(double x) {
  const double t = x / 256.0;
  double y = 1.0 / (1.0 + t * (1.0 + t * (0.5 + t * (1.0 / 6.0 + t / 24.0))));
  for (int i = 0; i < 8; ++i) y *= y;
  return y;
}

}  // namespace tarnvisor
