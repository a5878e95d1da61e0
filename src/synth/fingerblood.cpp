#include "synth/fingerblood.h"

#include <algorithm>
#include <cmath>

#include "synth/random.h"

namespace tarnvisor {

namespace {

constexpr uint64_t velocityStream = 1u << 25;

// The clearest gap lets this share of the light through that a full column would take; less where one looks
// along the vessel and sees several gaps and columns behind each other.
constexpr double clearnessAcross = 0.92;
constexpr double clearnessAlong = 0.45;

// Their mean is 1, and none is further from it than the spread.
std::vector<double> velocityFactors(const FingerVideoSettings& set, size_t count) {
  Random random(set.still.seed, velocityStream);
  std::vector<double> factors(count);
  double sum = 0;
  for (double& factor : factors) sum += factor = random.between(-1, 1);
  double furthest = 1;
  for (double& factor : factors) {
    factor -= sum / static_cast<double>(count);
    furthest = std::max(furthest, std::abs(factor));
  }
  for (double& factor : factors) factor = 1.0 + set.flow.spread * factor / furthest;
  return factors;
}

}  // namespace

FingerBlood::FingerBlood(const FingerVideoSettings& set, const FingerScene& shown)
    : scene(shown), shares(velocityFactors(set, shown.capillaries.size())) {
  for (size_t i = 0; i < scene.capillaries.size(); ++i)
    cells.emplace_back(set.still.seed, i, set.flow,
                       scene.capillaries[i].hairpin ? clearnessAcross : clearnessAlong);
}

std::vector<double> FingerBlood::velocities(double mean) const {
  std::vector<double> each;
  for (const double share : shares) each.push_back(mean * share);
  return each;
}

void FingerBlood::darken(size_t capillary, double distance, double blur, std::span<float> table) const {
  const PatternSpan& span = scene.patterns[capillary];
  cells[capillary].darkening(distance * shares[capillary], blur, span.firstArc,
                             1.0 / FingerScene::samplesPerPixel, table.subspan(span.first, span.count));
}

}  // namespace tarnvisor
