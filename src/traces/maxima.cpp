#include "traces/maxima.h"

#include "base/goldensection.h"
#include "settings/log.h"

namespace tarnvisor {

namespace {

// Samples where a fall ends, the first of level ones; with both ends of the range.
std::vector<size_t> minimaOf(std::span<const double> samples) {
  std::vector<size_t> minima{0};
  size_t lowest = 0;
  bool falling = false;
  for (size_t i = 1; i < samples.size(); ++i) {
    if (samples[i] < samples[i - 1]) {
      falling = true;
      lowest = i;
    } else if (samples[i] > samples[i - 1] && falling) {
      minima.push_back(lowest);
      falling = false;
    }
  }
  minima.push_back(samples.size() - 1);
  return minima;
}

// The greatest sample of a range, both ends included, and how many were looked at.
Maximum greatestBetween(std::span<const double> samples, size_t first, size_t last) {
  constexpr int32_t kFew = 16;  // so few are walked
  GoldenSection section;
  uint32_t looks = 0;
  auto at = static_cast<size_t>(section.start(static_cast<int32_t>(first), static_cast<int32_t>(last)));
  for (bool isFirst = true; section.high - section.low > kFew; isFirst = false) {
    const double value = samples[at];
    ++looks;
    if (!isFirst && (value == section.bestValue || !section.divides())) break;
    at = static_cast<size_t>(section.step(value));
  }
  size_t best = static_cast<size_t>(section.low);
  for (size_t i = best; i <= static_cast<size_t>(section.high); ++i, ++looks)
    if (samples[i] > samples[best]) best = i;
  return {static_cast<uint32_t>(best), samples[best], looks};
}

}  // namespace

std::vector<Maximum> goldenSearchMaxima(const ZZTrace& trace, Selection selection) {
  std::vector<Maximum> maxima;
  const RingSpan span = ringSpan(trace, selection);
  if (!hasSamples(trace) || span.count < 3) return maxima;
  const CdataVect::Own copy = readSamples(trace, span);
  if (!copy) return maxima;
  const std::span<double> samples = doublesOf(*copy);
  for (double& sample : samples) sample = trace.displayed(sample);
  const std::vector<size_t> minima = minimaOf(samples);
  for (size_t k = 1; k < minima.size(); ++k) {
    Maximum found = greatestBetween(samples, minima[k - 1], minima[k]);
    if (!(found.value > samples[minima[k - 1]] && found.value > samples[minima[k]])) continue;
    found.index = span.at(found.index);
    logPrintf("x=%i val=%f n=%i\n", static_cast<int>(found.index), found.value,
              static_cast<int>(found.evaluations));
    maxima.push_back(found);
  }
  return maxima;
}

}  // namespace tarnvisor
