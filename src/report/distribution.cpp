#include "report/distribution.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace tarnvisor {

namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

double quantile(const std::vector<double>& sorted, double share) {
  const double place = share * static_cast<double>(sorted.size() - 1);
  const auto below = static_cast<size_t>(place);
  const size_t above = std::min(below + 1, sorted.size() - 1);
  return std::lerp(sorted[below], sorted[above], place - static_cast<double>(below));
}

// The next of 1, 2 and 5 times a power of ten.
double roundedUp(double width) {
  const double power = std::pow(10, std::floor(std::log10(width)));
  for (const double step : {1.0, 2.0, 5.0})
    if (width <= step * power * (1 + 1e-9)) return step * power;
  return 10 * power;
}

}  // namespace

Distribution distributionOf(std::span<const double> values) {
  if (values.empty()) return {0, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone};
  std::vector<double> sorted(values.begin(), values.end());
  std::ranges::sort(sorted);
  Distribution d;
  d.count = sorted.size();
  const auto n = static_cast<double>(d.count);
  d.mean = std::accumulate(sorted.begin(), sorted.end(), 0.0) / n;
  double squares = 0;
  for (const double value : sorted) squares += (value - d.mean) * (value - d.mean);
  d.deviation = d.count > 1 ? std::sqrt(squares / (n - 1)) : kNone;
  d.least = sorted.front();
  d.most = sorted.back();
  d.lowerQuartile = quantile(sorted, 0.25);
  d.median = quantile(sorted, 0.5);
  d.upperQuartile = quantile(sorted, 0.75);
  const double reach = 1.5 * (d.upperQuartile - d.lowerQuartile);
  d.lowerFence = d.lowerQuartile - reach;
  d.upperFence = d.upperQuartile + reach;
  return d;
}

// About as many bins as Freedman and Diaconis (1981) want, whose width outliers don't stretch.
Histogram histogramOf(std::span<const double> values) {
  if (values.empty()) return {};
  constexpr double kMostBins = 40;
  const Distribution d = distributionOf(values);
  const double range = d.most - d.least, n = static_cast<double>(d.count);
  double width = 2 * (d.upperQuartile - d.lowerQuartile) / std::cbrt(n);
  // Half of the values are the same: Sturges (1926).
  if (!(width > 0)) width = range / (std::log2(n) + 1);
  if (!(width > 0)) width = std::max(std::abs(d.least) / 10, 1e-9);
  Histogram h;
  h.width = roundedUp(std::max(width, range / kMostBins));
  const double from = std::floor(d.least / h.width + 1e-9);
  h.first = from * h.width;
  const auto bins = static_cast<size_t>(std::max(1.0, std::ceil(d.most / h.width - from - 1e-9)));
  h.counts.resize(bins);
  for (const double value : values) {
    const double place = std::floor(value / h.width - from + 1e-9);
    ++h.counts[static_cast<size_t>(std::clamp(place, 0.0, static_cast<double>(bins - 1)))];
  }
  return h;
}

}  // namespace tarnvisor
