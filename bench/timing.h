// Wall-clock times of pieces of work, for benchmarks that take turns with a peer.
#pragma once

#include <algorithm>
#include <functional>
#include <vector>

#include "base/clock.h"

namespace tarnvisor::bench {

inline double milliseconds(const std::function<void()>& work) {
  const double start = steadySeconds();
  work();
  return (steadySeconds() - start) * 1000.0;
}

inline double median(std::vector<double> times) {
  std::nth_element(times.begin(), times.begin() + static_cast<ptrdiff_t>(times.size() / 2), times.end());
  return times[times.size() / 2];
}

}  // namespace tarnvisor::bench
