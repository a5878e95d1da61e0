#include "traces/cbv.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "base/numbers.h"

namespace tarnvisor {

namespace {

constexpr size_t kNoiseBins = 16;
NoiseFloor noiseFloor;

// The top of the first run from above; 0 for none.
int32_t topOfRun(std::span<const double> spectrum, double threshold, int32_t runLength) {
  int32_t run = 0;
  int32_t top = 0;
  for (auto i = static_cast<int32_t>(spectrum.size()) - 1; i >= 1; --i) {
    if (!(spectrum[static_cast<size_t>(i)] > threshold)) {
      run = 0;
      continue;
    }
    if (++run == 1) top = i;
    if (run >= runLength) return top;
  }
  return 0;
}

void zero(std::span<double> spectrum, int32_t from, size_t to) {
  const size_t first = std::min(static_cast<size_t>(from), spectrum.size());
  const size_t end = std::clamp(to, first, spectrum.size());
  std::fill(spectrum.begin() + static_cast<ptrdiff_t>(first), spectrum.begin() + static_cast<ptrdiff_t>(end),
            0.0);
}

}  // namespace

double cbvfind(CbvAnalysis& analysis, std::span<double> spectrum) {
  const VelocitySettings& parameters = analysis.parameters;
  if (parameters.autonoise)
    analysis.threshold = truncated(autothreshold(parameters, spectrum, *analysis.noise));
  switch (parameters.cbvMethod) {
    case kMaxFrequency:
      return maxfrequency(parameters, spectrum, analysis.threshold, false);
    case kPeakFrequency:
      return maxfrequency(parameters, spectrum, analysis.threshold, true);
    case kPercentPower:
      return percentpower(parameters, spectrum, analysis.threshold);
    case kAverageSpeed:
      return averagespeed(spectrum, analysis.threshold);
    case kAutomatic:
      return automatic(analysis, spectrum);
    case kFirstMoment:
      return firstmoment(analysis, spectrum);
    default:
      return 0;
  }
}

NoiseFloor& processNoiseFloor() { return noiseFloor; }
void resetNoiseFloor() { noiseFloor = {}; }

void CbvAnalysis::beginSignal() {
  *noise = {};
  moment = {};
}

double autothreshold(const VelocitySettings& parameters, std::span<const double> spectrum,
                     NoiseFloor& noise) {
  const auto top = spectrum.last(std::min(kNoiseBins, spectrum.size()));
  const double mean = std::accumulate(top.begin(), top.end(), 0.0) * 0.0625;
  double squares = 0;
  for (const double bin : top) squares += (bin - mean) * (bin - mean);
  const double deviation = std::sqrt(squares * 0.06666666666666667);
  const double timeConstant = parameters.noisefloorRC == 0 ? 1.0 : parameters.noisefloorRC;
  double& held = noise.held;
  held = (parameters.threshOfAv2 * deviation * 0.01 + mean - held) / timeConstant + held;
  if (!std::isfinite(held)) held = 0;  // it would never come back
  return held;
}

int32_t maxfrequency(const VelocitySettings& parameters, std::span<double> spectrum, double threshold,
                     bool peak) {
  int32_t top = topOfRun(spectrum, threshold, parameters.nOverThresh);
  if (peak) {
    double best = 0;
    const int32_t half = top / 2;
    for (int32_t i = top; i > half; --i) {
      const double bin = spectrum[static_cast<size_t>(i)];
      if (bin > best) {
        best = bin;
        top = i;
      }
    }
  }
  if (parameters.cutDopTop) zero(spectrum, top + 1, spectrum.size());
  return top;
}

double percentpower(const VelocitySettings& parameters, std::span<const double> spectrum, double percent) {
  if (spectrum.size() < 2) return 0;
  const auto bins = spectrum.subspan(1);
  const double total = std::accumulate(bins.begin(), bins.end(), 0.0);
  if (!(total / static_cast<double>(bins.size()) > parameters.minThreshold)) return 0;
  const double wanted = percent * total * 0.01;
  double sum = 0;
  for (size_t i = 1; i < spectrum.size(); ++i) {
    sum += spectrum[i];
    if (sum > wanted) return static_cast<double>(i) + 0.5;
  }
  return 0;
}

double averagespeed(std::span<const double> spectrum, double threshold) {
  double total = 0;
  double moment = 0;
  for (size_t k = 1; k < spectrum.size(); ++k) {
    total += spectrum[k];
    moment += static_cast<double>(k) * spectrum[k];
  }
  if (total == 0 || !(total / static_cast<double>(spectrum.size()) > threshold)) return 0;
  return moment / total;
}

int32_t automatic(CbvAnalysis& analysis, std::span<double> spectrum) {
  const VelocitySettings& parameters = analysis.parameters;
  std::span<double> work = spectrum;
  if (parameters.keepDop) {
    analysis.copy.assign(spectrum.begin(), spectrum.end());
    work = analysis.copy;
  }
  const int32_t count = pedestalcut(parameters, work, analysis.threshold);
  const auto size = static_cast<int32_t>(work.size());
  double best = analysis.threshold;
  int32_t index = 0;
  for (int32_t i = 1; i <= count && i < size; ++i) {
    const double bin = work[static_cast<size_t>(i)];
    if (bin > best) {
      best = bin;
      index = i;
    }
  }
  if (parameters.cutDopTop)
    zero(spectrum, index + 1, parameters.keepDop ? spectrum.size() : static_cast<size_t>(count));
  return index;
}

namespace {

constexpr size_t kLeastMomentBins = 16;
constexpr size_t kReach = 3;      // bins to each side that a bin is judged with
constexpr double kStandsOut = 8;  // deviations of the noise
constexpr double kSureTo = 0.85;  // bins, a deviation of the mean

// The mean of each bin and its neighbours, from bin 1 on.
double around(std::span<const double> power, size_t bin) {
  const size_t from = bin > kReach ? bin - kReach : 1;
  const size_t to = std::min(bin + kReach + 1, power.size());
  double sum = 0;
  for (size_t i = from; i < to; ++i) sum += power[i];
  return sum / static_cast<double>(to - from);
}

// The mean of the quietest quarter in a row.
double quietLevel(std::span<const double> power) {
  const size_t length = power.size() / 4;
  double sum = std::accumulate(power.begin() + 1, power.begin() + 1 + static_cast<ptrdiff_t>(length), 0.0);
  double least = sum;
  for (size_t i = 1 + length; i < power.size(); ++i) {
    sum += power[i] - power[i - length];
    least = std::min(least, sum);
  }
  return std::max(0.0, least / static_cast<double>(length));
}

void average(MomentState& state, std::span<const double> spectrum) {
  if (state.average.size() != spectrum.size()) {
    state.average.assign(spectrum.begin(), spectrum.end());
    state.share = 1;
    return;
  }
  const double weight = 1.0 / state.rows;
  for (size_t i = 0; i < spectrum.size(); ++i) state.average[i] += (spectrum[i] - state.average[i]) * weight;
  state.share = (1 - weight) * (1 - weight) * state.share + weight * weight;
}

}  // namespace

double firstmoment(CbvAnalysis& analysis, std::span<const double> spectrum) {
  MomentState& state = analysis.moment;
  state.spread = 0;
  if (spectrum.size() < kLeastMomentBins) return 0;
  average(state, spectrum);
  const double mostRows = std::max(1, analysis.parameters.momentRows);
  state.rows = mostRows;
  const std::span<const double> power = state.average;
  const double noise = quietLevel(power);
  const double level = noise * (1 + kStandsOut * std::sqrt(state.share / (2 * kReach + 1)));
  size_t first = 0, last = 0;
  for (size_t i = 1; i < power.size(); ++i)
    if (around(power, i) > level) {
      if (first == 0) first = i;
      last = i;
    }
  if (first == 0) return 0;
  double total = 0, moment = 0, square = 0;
  for (size_t i = first; i <= last; ++i) {
    const auto bin = static_cast<double>(i);
    total += power[i] - noise;
    moment += bin * (power[i] - noise);
    square += bin * bin * (power[i] - noise);
  }
  if (!(total > 0) || !std::isfinite(moment)) return 0;
  const double mean = std::clamp(moment / total, static_cast<double>(first), static_cast<double>(last));
  state.spread = std::sqrt(std::max(0.0, square / total - mean * mean));
  // Of one spectrum, whose bins scatter as much as they hold.
  double variance = 0;
  for (size_t i = first; i <= last; ++i) {
    const double weighed = (static_cast<double>(i) - mean) * power[i] / total;
    variance += weighed * weighed;
  }
  state.rows = std::clamp((variance / (kSureTo * kSureTo) + 1) / 2, 1.0, mostRows);
  return mean;
}

// The quarters are not whole bins: 4 * i is compared.
int32_t pedestalcut(const VelocitySettings& parameters, std::span<double> spectrum, double level) {
  const int32_t top = topOfRun(spectrum, level, parameters.nOverThresh);
  if (top == 0) {
    zero(spectrum, 0, spectrum.size());
    return 0;
  }
  const double ped1 = parameters.ped1;
  const double ped2 = parameters.ped2;
  const double ped3 = parameters.ped3;
  for (int32_t i = 0; 4 * i < 3 * top; ++i) {
    double factor = i * ped1 * 0.04 / top;
    if (4 * i >= top) factor = i * ped2 * 0.04 / top + (ped1 - ped2) * 0.01;
    if (2 * i >= top) factor = i * ped3 * 0.04 / top + (ped2 - ped3) * 0.01;
    spectrum[static_cast<size_t>(i)] *= factor;
  }
  zero(spectrum, top + 1, spectrum.size());
  return top + 1;
}

void spikecut(std::span<double> spectrum, double factor) {
  for (size_t i = 2; i + 1 < spectrum.size(); ++i) {
    const double before = spectrum[i - 1];
    const double after = spectrum[i + 1];
    if (spectrum[i] > factor * before && spectrum[i] > factor * after) spectrum[i] = (before + after) * 0.5;
  }
}

}  // namespace tarnvisor
