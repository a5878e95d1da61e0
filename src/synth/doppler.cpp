#include "synth/doppler.h"

#include <algorithm>
#include <cmath>

#include "synth/heartbeat.h"
#include "synth/random.h"

namespace tarnvisor {

namespace {

// Streams of chance.
constexpr uint64_t kBeats = 1;
constexpr uint64_t kCells = 2;
constexpr uint64_t kNoise = 3;

DopplerPulse bounded(DopplerPulse p) {
  // A number that is none counts as the lower bound.
  const auto within = [](double v, double low, double high) { return v > low ? std::min(v, high) : low; };
  p.seconds = within(p.seconds, 1, 600);
  p.heartRate = within(p.heartRate, 20, 300);
  p.rateVariation = within(p.rateVariation, 0, 0.3);
  p.systolic = within(p.systolic, 0, 100);
  p.diastolic = within(p.diastolic, 0, p.systolic);
  p.velocityRate = within(p.velocityRate, 1, 1000);
  p.signalRate = within(p.signalRate, 1, 48000);
  p.hertzPerMillimetre = within(p.hertzPerMillimetre, 0, 1e6);
  p.cells = std::clamp(p.cells, 1, 1000);
  p.noise = within(p.noise, 0, 10);
  return p;
}

// The velocity at moments that are asked for in ascending order.
class Pulse {
 public:
  explicit Pulse(const DopplerPulse& pulse) : rise(pulse.systolic - pulse.diastolic), rest(pulse.diastolic) {
    Random random(pulse.seed, kBeats);
    const double beat = 60.0 / pulse.heartRate;
    // From a beat before the beginning to one after the end, so that every moment lies within one.
    for (double k = -1.5; k * beat < pulse.seconds + 2 * beat; ++k)
      starts.push_back((k + pulse.rateVariation * random.between(-1, 1)) * beat);
  }
  double systoleOf(size_t beat) const { return starts[beat] + kSystole * (starts[beat + 1] - starts[beat]); }
  size_t beats() const { return starts.size() - 1; }
  double at(double time) {
    while (starts[current + 1] <= time) ++current;
    return rest + rise * beatShape((time - starts[current]) / (starts[current + 1] - starts[current]));
  }
  void rewind() { current = 0; }

 private:
  double rise;
  double rest;
  std::vector<double> starts;  // seconds
  size_t current = 0;
};

// One red cell after the other: each seen for a moment, brightening and fading.
class CellStream {
 public:
  CellStream(const DopplerPulse& pulse, uint64_t number)
      : random(scattered(pulse.seed) + number, kCells), rate(pulse.signalRate) {
    next();
    seen = random.unit() * stay;  // not all begin together
  }
  // The signal a sample on, the fastest cells causing this shift.
  double sample(double topHertz) {
    turns += speed * topHertz / rate;
    turns -= std::floor(turns);
    seen += 1 / rate;
    if (seen >= stay) next();
    return smoothStep(1 - std::abs(2 * seen / stay - 1)) * sineOfTurns(turns);
  }

 private:
  void next() {
    speed = random.unit();
    turns = random.unit();
    stay = random.between(0.08, 0.16);
    seen = 0;
  }

  Random random;
  double rate;
  double speed = 0;  // of the velocity
  double turns = 0;
  double stay = 0;  // seconds
  double seen = 0;
};

size_t samplesOf(double seconds, double rate) { return static_cast<size_t>(seconds * rate); }

}  // namespace

DopplerSignals renderDoppler(const DopplerPulse& asked, DopplerTruth& truth) {
  const DopplerPulse drawn = bounded(asked);
  Pulse pulse(drawn);
  truth = {};
  for (size_t beat = 0; beat < pulse.beats(); ++beat)
    if (const double t = pulse.systoleOf(beat); t >= 0 && t < drawn.seconds) truth.systoles.push_back(t);
  if (const size_t n = truth.systoles.size(); n > 1)
    truth.beatsPerMinute =
        60.0 * static_cast<double>(n - 1) / (truth.systoles.back() - truth.systoles.front());

  DopplerSignals made;
  made.velocity.resize(samplesOf(drawn.seconds, drawn.velocityRate));
  for (size_t i = 0; i < made.velocity.size(); ++i)
    made.velocity[i] = pulse.at(static_cast<double>(i) / drawn.velocityRate);

  std::vector<CellStream> cells;
  cells.reserve(static_cast<size_t>(drawn.cells));
  for (int32_t i = 0; i < drawn.cells; ++i) cells.emplace_back(drawn, static_cast<uint64_t>(i));
  const double amplitude = 1 / std::sqrt(static_cast<double>(drawn.cells));
  const double highest = 0.5 * drawn.signalRate;
  Random random(drawn.seed, kNoise);
  pulse.rewind();
  made.signal.resize(samplesOf(drawn.seconds, drawn.signalRate));
  for (size_t i = 0; i < made.signal.size(); ++i) {
    const double velocity = pulse.at(static_cast<double>(i) / drawn.signalRate);
    const double top = std::min(velocity * drawn.hertzPerMillimetre, highest);
    double sum = 0;
    for (CellStream& cell : cells) sum += cell.sample(top);
    made.signal[i] = amplitude * sum + drawn.noise * random.normal();
  }
  return made;
}

}  // namespace tarnvisor
