// Peaks of a row of correlations.
#pragma once

#include <cstddef>
#include <span>

namespace tarnvisor {

// Ratios are cut to this: of a peak that stands alone.
inline constexpr double kMostPeakRatio = 10.0;

// The peak at an index over the greatest other one. The ends count as peaks where the values rise to them: a
// peak beyond them is another peak too.
double peakRatio(std::span<const double> values, size_t peak);

// How far from the middle one of three values their parabola is greatest, -0.5 to 0.5.
double parabolaPeak(double before, double peak, double after);

}  // namespace tarnvisor
