#include "synth/doppler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace tarnvisor {
namespace {

struct Made {
  DopplerTruth truth;  // before the signals, whose making fills it
  DopplerSignals signals;
  explicit Made(const DopplerPulse& pulse) : signals(renderDoppler(pulse, truth)) {}
};

// Upward passages through the middle of the range, a minute, from the first to the last.
double risesPerMinute(const std::vector<double>& velocity, double rate) {
  const auto [least, greatest] = std::minmax_element(velocity.begin(), velocity.end());
  const double middle = (*least + *greatest) / 2;
  std::vector<double> rises;
  for (size_t i = 1; i < velocity.size(); ++i)
    if (velocity[i - 1] < middle && velocity[i] >= middle) rises.push_back(static_cast<double>(i) / rate);
  return 60.0 * static_cast<double>(rises.size() - 1) / (rises.back() - rises.front());
}

// Power at one frequency, in a Hann window.
double powerAt(const std::vector<double>& signal, size_t from, size_t count, double hertz, double rate) {
  double re = 0, im = 0;
  for (size_t i = 0; i < count; ++i) {
    const double angle = 2 * std::numbers::pi * static_cast<double>(i);
    const double weight = 0.5 - 0.5 * std::cos(angle / static_cast<double>(count));
    re += weight * signal[from + i] * std::cos(angle * hertz / rate);
    im -= weight * signal[from + i] * std::sin(angle * hertz / rate);
  }
  return (re * re + im * im) / static_cast<double>(count);
}

TEST(SimulatedPulse, BeatsAsOftenAndAsFarAsItWasTold) {
  for (const double heartRate : {40.0, 72.0, 150.0})
    for (const double variation : {0.0, 0.1})
      for (uint64_t seed = 1; seed <= 3; ++seed) {
        const Made made({.heartRate = heartRate,
                         .rateVariation = variation,
                         .systolic = 1.2,
                         .diastolic = 0.4,
                         .velocityRate = 500,
                         .signalRate = 1,
                         .seed = seed});
        const auto& v = made.signals.velocity;
        ASSERT_EQ(v.size(), 20000u);
        EXPECT_NEAR(made.truth.beatsPerMinute, heartRate, heartRate * variation * 0.05 + 1e-9);
        EXPECT_NEAR(risesPerMinute(v, 500), made.truth.beatsPerMinute, 0.01 * heartRate);
        EXPECT_NEAR(*std::max_element(v.begin(), v.end()), 1.2, 1e-3);
        EXPECT_NEAR(*std::min_element(v.begin(), v.end()), 0.4, 1e-3);
        // One maximum a beat, at its systole.
        size_t peaks = 0;
        for (size_t i = 1; i + 1 < v.size(); ++i) {
          if (!(v[i] > v[i - 1] && v[i] >= v[i + 1])) continue;
          ASSERT_LT(peaks, made.truth.systoles.size());
          EXPECT_NEAR(static_cast<double>(i) / 500, made.truth.systoles[peaks++], 0.003);
        }
        EXPECT_EQ(peaks, made.truth.systoles.size());
      }
}

TEST(SimulatedPulse, HasASpectrumThatIsLevelUpToTheVelocityAndEndsThere) {
  for (const double velocity : {0.2, 0.5, 1.0}) {
    const Made made(
        {.seconds = 8, .systolic = velocity, .diastolic = velocity, .signalRate = 8192, .noise = 0});
    const double top = velocity * 3420;
    double within[2] = {}, beyond = 0;  // lower and upper half, and above
    for (size_t from = 0; from + 4096 <= made.signals.signal.size(); from += 4096)
      for (int step = 1; step < 40; ++step) {
        const double power = powerAt(made.signals.signal, from, 4096, top * step / 20, 8192);
        if (step < 19) within[step / 10] += power;
        if (step > 21 && top * step / 20 < 4000) beyond += power;
      }
    EXPECT_NEAR(within[0] / within[1], 1.0, 0.35) << velocity;
    EXPECT_LT(beyond, 0.001 * within[0]) << velocity;
  }
}

TEST(SimulatedPulse, LetsTheTopOfTheSpectrumFollowTheVelocity) {
  const Made made({.seconds = 6, .velocityRate = 64, .signalRate = 8192, .noise = 0.01});
  int within = 0, all = 0;
  for (size_t from = 0; from + 512 <= made.signals.signal.size(); from += 512) {
    double top = 0;
    for (double hertz = 16; hertz < 4096; hertz += 16)
      if (powerAt(made.signals.signal, from, 512, hertz, 8192) > 0.003) top = hertz;
    const size_t sample = (from + 256) / 128;
    const auto [low, high] =
        std::minmax({made.signals.velocity[sample - 2], made.signals.velocity[sample],
                     made.signals.velocity[std::min(sample + 2, made.signals.velocity.size() - 1)]});
    within += top > low * 3420 * 0.8 - 32 && top < high * 3420 + 64;
    ++all;
  }
  EXPECT_GT(within, all * 9 / 10);
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
