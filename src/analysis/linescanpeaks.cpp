#include "linescanpeaks.h"

#include <algorithm>
#include <cmath>

#include "analysis/linescan.h"

namespace tarnvisor {

double nextPeak(std::span<const double> values, size_t peak) {
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
  return next;
}

namespace {

double ratioOf(double peak, double next) {
  if (!(peak > 0)) return 0.0;
  return peak < kMostPeakRatio * next ? peak / next : kMostPeakRatio;
}

}  // namespace

double peakRatio(std::span<const double> values, size_t peak) {
  return peak < values.size() ? ratioOf(values[peak], nextPeak(values, peak)) : 0.0;
}

namespace {

// Of the variance of a chance coefficient, by the smoothing of both rows.
constexpr double kSmoothed = 1.94;
// By how many deviations a peak is higher than the next.
constexpr double kHigher = 1.5;

// How far from the middle one of three values their parabola is greatest.
double parabolaPeak(double before, double peak, double after) {
  const double bend = before - 2 * peak + after;
  return bend < 0 ? std::clamp(0.5 * (before - after) / bend, -0.5, 0.5) : 0.0;
}

double squared(double coefficient) { return coefficient > 0 ? coefficient * coefficient : 0.0; }

}  // namespace

double LagPeak::ratio() const { return ratioOf(square, next); }

// Coefficients are compared as their inverse hyperbolic tangents, whose deviation does not depend on them
// (R. A. Fisher, 1921).
bool LagPeak::isBeyondChance(double deviations, double averaged) const {
  const double independent = pairs * averaged / kSmoothed;
  constexpr double kNearlyOne = 0.9999, kLostInFit = 3;
  const double own = std::atanh(std::sqrt(std::min(square, kNearlyOne)));
  // Of few pairs the deviation is the distribution's own; of many both are the same.
  if (own * std::sqrt(std::max(independent - kLostInFit, 0.0)) <= deviations) return false;
  const double higher = own - std::atanh(std::sqrt(std::min(next, kNearlyOne)));
  return higher * std::sqrt(independent / 2) > kHigher;
}

LagPeak highestPeak(std::span<const double> coefficients, const LagCorrelation& lags, int32_t leastLag,
                    int32_t mostLag, bool between) {
  size_t best = 0;
  double most = 0;
  for (size_t i = 1; i + 1 < coefficients.size(); ++i) {
    const double r = coefficients[i];
    if (lags.lagOf(i) < leastLag || lags.lagOf(i) > mostLag) continue;
    if (!(r > coefficients[i - 1]) || coefficients[i + 1] > r) continue;
    const double weighed = squared(r) * static_cast<double>(lags.overlap(lags.lagOf(i)));
    if (weighed <= most) continue;
    most = weighed;
    best = i;
  }
  if (best == 0) return {};
  LagPeak peak;
  peak.lag = lags.lagOf(best);
  if (between) peak.lag += parabolaPeak(coefficients[best - 1], coefficients[best], coefficients[best + 1]);
  peak.square = squared(coefficients[best]);
  peak.next = squared(nextPeak(coefficients, best));
  peak.pairs = static_cast<double>(lags.overlap(lags.lagOf(best)));
  return peak;
}

void putCorrelogram(std::span<const double> coefficients, const LagCorrelation& lags, int32_t fromLag,
                    CdataVect& rows, uint32_t row) {
  const auto from = static_cast<size_t>(fromLag - lags.lagOf(0));
  for (uint32_t i = 0; i < rows.width; ++i)
    rows.putcell(row, i, from + i < coefficients.size() ? squared(coefficients[from + i]) * 1000 : 0.0);
}

void putAtOrigin(ZZTrace* trace, double value) {
  if (trace && trace->origin < trace->size()) trace->data->putval(trace->origin, value);
}

double readingOf(double velocity) {
  return velocity == kNoReading ? std::nextafter(kNoReading, 0.0) : velocity;
}

}  // namespace tarnvisor
