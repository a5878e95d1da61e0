#include "synth/redcells.h"

#include <algorithm>
#include <cmath>

#include "synth/random.h"

namespace tarnvisor {

namespace {

enum Stream : uint64_t { cellStream = 1u << 27, gapStream, grainStream };

constexpr double grainLength = 6.0;  // about a red cell
constexpr double grainDepth = 0.25;  // share of a column's darkening by which it is thinner here and there
constexpr double ownSoftness = 1.0;  // variance of a column's edge before the optics blur it

}  // namespace

RedCells::RedCells(uint64_t seed, size_t capillary, const FingerFlow& flow, double clearness)
    : key(scattered(scattered(seed) + cellStream + capillary)), clear(clearness) {
  if (!(flow.gapShare > 0)) return;
  pitch = flow.columnLength / (1.0 - flow.gapShare);
  meanGap = pitch - flow.columnLength;
  variation = std::min(0.6, 0.9 * flow.columnLength / meanGap);
}

// Each stretch of one pitch holds one whole gap.
RedCells::Gap RedCells::gap(int64_t number) const {
  Random random(key + static_cast<uint64_t>(number), gapStream);
  const double length = meanGap * (1.0 + variation * random.between(-1, 1));
  const double begin = static_cast<double>(number) * pitch + (pitch - length) * random.unit();
  return {begin, begin + length, clear * random.between(0.6, 1)};
}

void RedCells::fillGrain(double place, double step, double grain, std::span<float> out) const {
  const auto knot = [&](int64_t i) { return Random(key + static_cast<uint64_t>(i), grainStream).unit(); };
  double at = place / grainLength;
  auto cell = static_cast<int64_t>(std::floor(at));
  double left = knot(cell), right = knot(cell + 1);
  for (float& value : out) {
    while (at >= static_cast<double>(cell + 1)) {
      left = right;
      right = knot(++cell + 1);
    }
    const double t = smoothStep(at - static_cast<double>(cell));
    value = static_cast<float>(1.0 - grain * (left + (right - left) * t));
    at += step / grainLength;
  }
}

void RedCells::darkening(double distance, double blur, double first, double step,
                         std::span<float> out) const {
  const double place = first - distance;  // in the moving cells' own measure
  fillGrain(place, step, grainDepth / (1.0 + blur * blur / 6.0), out);
  if (!(pitch > 0) || out.empty()) return;
  // An edge blurred by a parabola of the Gaussian's variance: a smooth step over sqrt(5) sigma either way.
  const double soft = std::sqrt(5.0 * (blur * blur + ownSoftness));
  const auto edge = [&](double away) { return smoothStep(std::clamp(0.5 + 0.5 * away / soft, 0.0, 1.0)); };
  const double last = place + step * static_cast<double>(out.size() - 1);
  const auto to = static_cast<int64_t>(std::floor((last + soft) / pitch));
  for (auto number = static_cast<int64_t>(std::floor((place - soft) / pitch)); number <= to; ++number) {
    const Gap g = gap(number);
    const double from = std::max(0.0, std::ceil((g.begin - soft - place) / step));
    const double until = std::min(static_cast<double>(out.size() - 1), (g.end + soft - place) / step);
    for (double i = from; i <= until; ++i) {
      const double q = place + i * step;
      const double plasma = edge(q - g.begin) - edge(q - g.end);
      out[static_cast<size_t>(i)] *= static_cast<float>(1.0 - g.clear * plasma);
    }
  }
}

}  // namespace tarnvisor
