#include "linescanpeaks.h"

#include <algorithm>

namespace tarnvisor {

double peakRatio(std::span<const double> values, size_t peak) {
  if (peak >= values.size() || !(values[peak] > 0)) return 0.0;
  // A flat top is one peak.
  size_t first = peak, last = peak;
  while (first > 0 && values[first - 1] == values[peak]) --first;
  while (last + 1 < values.size() && values[last + 1] == values[peak]) ++last;
  double next = 0;
  for (size_t i = 0; i < values.size(); ++i) {
    if (i >= first && i <= last) continue;
    const bool rises = i == 0 || values[i] > values[i - 1];
    const bool falls = i + 1 == values.size() || values[i] >= values[i + 1];
    if (rises && falls) next = std::max(next, values[i]);
  }
  return values[peak] < kMostPeakRatio * next ? values[peak] / next : kMostPeakRatio;
}

double parabolaPeak(double before, double peak, double after) {
  const double bend = before - 2 * peak + after;
  return bend < 0 ? std::clamp(0.5 * (before - after) / bend, -0.5, 0.5) : 0.0;
}

}  // namespace tarnvisor
