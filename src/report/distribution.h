// How numbers are distributed: what a study tells of each of its quantities.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace tarnvisor {

// NaN where there is no such number: of no values all of them, the deviation of a single one.
struct Distribution {
  size_t count = 0;
  double mean = 0, deviation = 0;  // the sample's, by n - 1
  double least = 0, most = 0;
  // Quartiles between the two values at either side, in proportion (Hyndman and Fan 1996, their type 7).
  double lowerQuartile = 0, median = 0, upperQuartile = 0;
  // A quartile's distance and a half beyond the quartiles (Tukey 1977).
  double lowerFence = 0, upperFence = 0;
  bool isOutlier(double value) const { return value < lowerFence || value > upperFence; }
};
Distribution distributionOf(std::span<const double> values);

// Bins of a round width, 1, 2 or 5 times a power of ten, from a multiple of it on; each holds its lower edge,
// the last one also its upper.
struct Histogram {
  double first = 0, width = 1;
  std::vector<size_t> counts;  // none without values
};
Histogram histogramOf(std::span<const double> values);

}  // namespace tarnvisor
