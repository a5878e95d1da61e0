#include "base/goldensection.h"

#include "base/numbers.h"

namespace tarnvisor {

bool GoldenSection::widerAbove() const { return int64_t{high} - mid > int64_t{mid} - low; }

double GoldenSection::part() const {
  constexpr double kGolden = 0.38196601124999996;
  return static_cast<double>(int64_t{high} - low) * kGolden;
}

int32_t GoldenSection::start(int32_t from, int32_t to) {
  low = from;
  high = to;
  bestValue = 0.0;
  return mid = probe = truncated(low + part());
}

int32_t GoldenSection::step(double value) {
  if (mid == probe) {
    bestValue = value;
    return probe = truncated(high - part());
  }
  if (int64_t{high} - low <= tolerance) return probe = static_cast<int32_t>(low + (int64_t{high} - low) / 2);
  const bool isBetter = value > bestValue;
  const bool cutsAbove = isBetter != widerAbove();
  (cutsAbove ? high : low) = isBetter ? mid : probe;
  if (isBetter) {
    bestValue = value;
    mid = probe;
  }
  return probe = truncated(cutsAbove ? low + part() : high - part());
}

}  // namespace tarnvisor
