// The sound of blood whose speed beats.
#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "sound/pacedsound.h"
#include "synth/heartbeat.h"
#include "synth/scatterers.h"

namespace tarnvisor {

namespace {

constexpr double kBeatSeconds = 0.85;
constexpr double kDiastolicHertz = 1000, kRiseHertz = 2000;  // of the mean speed
constexpr double kDeviation = 1.5;                           // in steps of a sample

class SimulatedSound final : public SoundSource {
 public:
  explicit SimulatedSound(uint64_t chance) : seed(chance) {}
  Outcome open(uint32_t wanted, int32_t) override {
    rate = wanted;
    time = 0;
    ScattererSettings set;
    set.rate = rate;
    set.scale = kDeviation;
    set.scatterers = 40;
    set.seed = seed;
    cells.emplace(set);
    return Outcome::success();
  }
  size_t read(std::span<int16_t> samples) override {
    const double beats = time / kBeatSeconds;
    cells->setMean(kDiastolicHertz + kRiseHertz * beatShape(beats - std::floor(beats)));
    values.resize(samples.size());
    cells->fill(values);
    for (size_t i = 0; i < samples.size(); ++i)
      samples[i] = static_cast<int16_t>(std::lround(std::clamp(values[i], -32768.0, 32767.0)));
    time += static_cast<double>(samples.size()) / rate;
    return samples.size();
  }

 private:
  uint64_t seed;
  double rate = 48000, time = 0;
  std::optional<MovingScatterers> cells;
  std::vector<double> values;
};

}  // namespace

std::unique_ptr<SoundSource> simulatedSound(uint64_t seed) { return std::make_unique<SimulatedSound>(seed); }

}  // namespace tarnvisor
