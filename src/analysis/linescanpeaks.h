// Peaks of a row of correlations, and what becomes of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "analysis/lagcorrelation.h"
#include "traces/trace.h"

namespace tarnvisor {

// Ratios are cut to this: of a peak that stands alone.
inline constexpr double kMostPeakRatio = 10.0;

// The greatest peak but for the one at an index; 0 for none. The ends count as peaks where the values rise to
// them: a peak beyond them is another peak too.
double nextPeak(std::span<const double> values, size_t peak);
double peakRatio(std::span<const double> values, size_t peak);

// The highest peak of coefficients at lags, beyond which there are others. Those of few pairs count less.
struct LagPeak {
  double lag = 0;     // by the parabola through the peak and its neighbours, where asked for
  double square = 0;  // of the coefficient
  double next = 0;    // of the greatest other peak
  double pairs = 0;   // 0: there is no peak
  double ratio() const;
  // Whether chance explains it, or that it is higher than others; of coefficients averaged over so many.
  bool isBeyondChance(double deviations, double averaged) const;
};
LagPeak highestPeak(std::span<const double> coefficients, const LagCorrelation& lags, int32_t leastLag,
                    int32_t mostLag, bool between);

// Squares of what is positive, times 1000, as the columns of a correlogram's row, from a lag on.
void putCorrelogram(std::span<const double> coefficients, const LagCorrelation& lags, int32_t fromLag,
                    CdataVect& rows, uint32_t row);

void putAtOrigin(ZZTrace* trace, double value);  // nothing without a trace

// Never what stands for no reading.
double readingOf(double velocity);

}  // namespace tarnvisor
