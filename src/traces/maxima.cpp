#include "traces/maxima.h"

#include <algorithm>

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

class GoldenSearch {
 public:
  GoldenSearch(std::span<const double> all, size_t first, size_t last)
      : samples(all), low(first), high(last) {}

  // The index of the greatest sample of the range, both ends included.
  size_t run() {
    constexpr double kGolden = 0.3819660112501051;
    constexpr size_t kFew = 4;
    while (high - low > kFew) {
      const auto step = static_cast<size_t>(static_cast<double>(high - low) * kGolden);
      const size_t left = low + step;
      const size_t right = high - step;
      const double leftValue = look(left);
      const double rightValue = look(right);
      if (leftValue == rightValue) break;
      leftValue < rightValue ? low = left : high = right;
    }
    size_t best = low;
    double bestValue = look(low);
    for (size_t i = low + 1; i <= high; ++i) {
      if (const double value = look(i); value > bestValue) {
        best = i;
        bestValue = value;
      }
    }
    return best;
  }
  uint32_t evaluations() const { return looks; }

 private:
  double look(size_t i) {
    ++looks;
    return samples[i];
  }
  std::span<const double> samples;
  size_t low;
  size_t high;
  uint32_t looks = 0;
};

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
    GoldenSearch search(samples, minima[k - 1], minima[k]);
    const size_t best = search.run();
    if (!(samples[best] > samples[minima[k - 1]] && samples[best] > samples[minima[k]])) continue;
    const Maximum found{span.at(best), samples[best], search.evaluations()};
    logPrintf("x=%i val=%f n=%i\n", static_cast<int>(found.index), found.value,
              static_cast<int>(found.evaluations));
    maxima.push_back(found);
  }
  return maxima;
}

}  // namespace tarnvisor
