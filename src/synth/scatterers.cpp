#include "synth/scatterers.h"

#include <algorithm>
#include <cmath>

namespace tarnvisor {

namespace {

constexpr double kShortest = 0.003, kLongest = 0.008;  // seconds in the beam
// Mean square of smoothStep over a rise and a fall, times that of a sine.
constexpr double kMeanSquare = 13.0 / 35 / 2;

}  // namespace

MovingScatterers::MovingScatterers(const ScattererSettings& settings)
    : set(settings), random(settings.seed, 1), noise(settings.seed, 2) {
  noiseDeviation = set.scale * std::pow(10.0, set.noiseDecibels / 20);
  all.resize(static_cast<size_t>(std::clamp(set.scatterers, 1, 10000)));
  for (Scatterer& each : all) {
    renew(each);
    each.seen = random.unit() * each.stay;  // not all begin together
  }
}

void MovingScatterers::renew(Scatterer& scatterer) {
  scatterer.speed = set.profile == FlowProfile::Plug ? 1.0 : 2 * random.unit();
  scatterer.turns = random.unit();
  scatterer.stay = random.between(kShortest, kLongest);
  scatterer.seen = 0;
}

void MovingScatterers::fill(std::span<double> samples) {
  const double amplitude =
      set.scale * set.deviation / std::sqrt(kMeanSquare * static_cast<double>(all.size()));
  for (double& sample : samples) sample = noiseDeviation * noise.normal();
  if (!(amplitude > 0)) return;
  const double step = 1 / set.rate;
  for (Scatterer& each : all)
    for (double& sample : samples) {
      each.turns += each.speed * set.meanHertz * step;
      each.turns -= std::floor(each.turns);
      each.seen += step;
      if (each.seen >= each.stay) renew(each);
      sample += amplitude * smoothStep(1 - std::abs(2 * each.seen / each.stay - 1)) * sineOfTurns(each.turns);
    }
}

}  // namespace tarnvisor
