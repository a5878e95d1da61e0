#include "synth/doppler.h"

#include "support/hash.h"
#include "support/testing.h"

namespace tarnvisor {
namespace {

struct Made {
  DopplerTruth truth;  // before the signals, whose making fills it
  DopplerSignals signals;
  explicit Made(const DopplerPulse& pulse) : signals(renderDoppler(pulse, truth)) {}
};

TEST(SimulatedPulse, GivesTheFrozenSignalsAndTruth) {
  const struct {
    DopplerPulse pulse;
    uint64_t hash;
  } cases[] = {
      {{.seconds = 8}, 11349924825485679722U},
      {{.heartRate = 150, .rateVariation = 0, .velocityRate = 500, .signalRate = 1, .seed = 2},
       9296812844292798377U},
      {{.seconds = 40, .heartRate = 40, .rateVariation = 0.1, .signalRate = 100}, 13049554085230390265U},
      {{.seconds = 3, .systolic = 0.5, .diastolic = 0.5, .signalRate = 8192, .noise = 0},
       8581425589782579474U},
      {{.seconds = 3, .signalRate = 9000, .hertzPerMillimetre = 1000, .cells = 3, .noise = 1},
       13712268569835823690U}};
  for (const auto& c : cases) {
    const Made made(c.pulse);
    Hash hash;
    hash.number(made.truth.beatsPerMinute);
    for (const auto* numbers : {&made.truth.systoles, &made.signals.velocity, &made.signals.signal})
      for (const double n : *numbers) hash.number(n);
    EXPECT_EQ(hash.value, c.hash) << &c - cases;
  }
}

TEST(SimulatedPulse, IsTheSameAgainAndItsBeatsDontDependOnTheSignal) {
  const DopplerPulse usual{.seconds = 3};
  const Made one(usual), again(usual);
  EXPECT_EQ(one.signals.signal, again.signals.signal);
  DopplerPulse other = usual;
  other.noise = 0.5;
  other.cells = 3;
  other.signalRate = 1000;
  const Made changed(other);
  EXPECT_EQ(changed.signals.velocity, one.signals.velocity);
  EXPECT_EQ(changed.truth.systoles, one.truth.systoles);
  other.seed = 2;
  EXPECT_NE(Made(other).signals.velocity, one.signals.velocity);
}

TEST(SimulatedPulse, TakesTheNearestBoundForNumbersOutOfRange) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const Made least({nan, -1, nan, -5, 7, nan, 0, -1, 0, nan});
  EXPECT_EQ(least.signals.velocity, std::vector<double>{0.0});
  EXPECT_EQ(least.signals.signal.size(), 1u);
  EXPECT_EQ(least.truth.beatsPerMinute, 0);
  const Made swapped({.seconds = 2, .systolic = 0.5, .diastolic = 0.8, .signalRate = 1});
  for (const double v : swapped.signals.velocity) EXPECT_EQ(v, 0.5);
}

}  // namespace
}  // namespace tarnvisor
