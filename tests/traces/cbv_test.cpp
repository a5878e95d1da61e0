#include "traces/cbv.h"

#include "support/dopplerrows.h"
#include "traces/tracetests.h"

namespace tarnvisor {
namespace {

TEST(NoiseFloor, FollowsTheTopSixteenBins) {
  // Eight bins of 10 and eight of 14: mean 12, squares 16 * 4, deviation sqrt(64 / 15).
  Doubles spectrum(20, 1e6);
  for (size_t i = 4; i < 20; ++i) spectrum[i] = i % 2 ? 10 : 14;
  VelocitySettings parameters;
  parameters.noisefloorRC = 2;
  const double target = 12 + 0.3 * std::sqrt(64.0 / 15);
  resetNoiseFloor();
  EXPECT_NEAR(autothreshold(parameters, spectrum), target / 2, 1e-9);
  EXPECT_NEAR(autothreshold(parameters, spectrum), target * 0.75, 1e-9);
  parameters.noisefloorRC = 0;
  EXPECT_NEAR(autothreshold(parameters, spectrum), target, 1e-9);
  EXPECT_EQ(autothreshold(parameters, Doubles(16, HUGE_VAL)), 0);
  EXPECT_EQ(autothreshold(parameters, Doubles{16}), 1 + 0.3 * std::sqrt(225 * 0.06666666666666667));
  CbvAnalysis analysis;
  analysis.parameters.autonoise = 1;
  resetNoiseFloor();
  cbvfind(analysis, spectrum);
  EXPECT_EQ(analysis.threshold, 12);
  resetNoiseFloor();
}

struct Found {
  double result;
  Doubles left;
};

Found find(int32_t method, Doubles spectrum, int32_t threshold, VelocitySettings parameters = {}) {
  CbvAnalysis analysis{parameters, threshold, {}};
  analysis.parameters.cbvMethod = method;
  const double result = cbvfind(analysis, spectrum);
  EXPECT_EQ(analysis.threshold, threshold);
  return {result, spectrum};
}

TEST(CbvMethods, FindTheTopOfTheFirstRunFromAbove) {
  const Doubles spectrum{99, 9, 8, 7, 9, 6, 5, 9, 9, 9, 5, 9, 2};
  const std::tuple<int32_t, int32_t, double, double> cases[] = {
      {4, 5, 5, 4}, {3, 5, 9, 9},  {1, 5, 11, 11}, {0, 5, 11, 11},  {4, 4, 11, 11},
      {6, 5, 0, 0}, {4, 99, 0, 0}, {5, 5, 5, 4},   {12, 1, 12, 11}, {13, 1, 0, 0}};
  for (const auto& [length, threshold, maximum, peak] : cases) {
    VelocitySettings parameters;
    parameters.nOverThresh = length;
    EXPECT_EQ(find(0, spectrum, threshold, parameters).result, maximum) << length << " " << threshold;
    // Only bins above half the top compete; of equal ones the higher frequency stays.
    EXPECT_EQ(find(1, spectrum, threshold, parameters).result, peak) << length << " " << threshold;
    EXPECT_EQ(find(1, spectrum, threshold, parameters).left, spectrum);
  }
  VelocitySettings cutting;
  cutting.cutDopTop = 1;
  EXPECT_THAT(find(1, spectrum, 5, cutting).left, ElementsAre(99, 9, 8, 7, 9, 0, 0, 0, 0, 0, 0, 0, 0));
  for (const int32_t method : {0, 1, 2, 3, 4}) {
    EXPECT_EQ(find(method, {50}, 5).result, 0);
    EXPECT_EQ(find(method, {}, 5).result, 0);
  }
  for (const int32_t method : {-1, 5}) EXPECT_EQ(find(method, spectrum, 5).result, 0);
}

TEST(CbvMethods, FindTheShareOfThePower) {
  const Doubles spectrum{1e6, 100, 100, 100, 100};
  EXPECT_EQ(find(2, spectrum, 50).result, 3.5);  // the sum must exceed, not reach
  EXPECT_EQ(find(2, spectrum, 49).result, 2.5);
  EXPECT_EQ(find(2, spectrum, 0).result, 1.5);
  EXPECT_EQ(find(2, spectrum, 100).result, 0);
  VelocitySettings parameters;
  parameters.minThreshold = 100;
  EXPECT_EQ(find(2, spectrum, 50, parameters).result, 0);
}

TEST(CbvMethods, WeighTheFrequenciesByPower) {
  const Doubles spectrum{1e6, 10, 0, 30};
  EXPECT_EQ(find(3, spectrum, 9).result, 2.5);
  EXPECT_EQ(find(3, spectrum, 10).result, 0);  // 40 over four bins, not three
  EXPECT_EQ(find(3, Doubles(4), -1).result, 0);
}

// Top 8: quarters at 2, 4 and 6.
TEST(PedestalCut, WeighsThreeSlopes) {
  VelocitySettings parameters;
  Doubles row{100, 100, 100, 100, 100, 100, 100, 100, 100, 3, 7};
  EXPECT_EQ(pedestalcut(parameters, row, 50), 9);
  const Doubles expected{0, 5, 10, 40, 150, 195, 100, 100, 100, 0, 0};
  for (size_t i = 0; i < row.size(); ++i) EXPECT_NEAR(row[i], expected[i], 1e-9) << i;
  // Quarters of a top of 5 lie between bins, at 1.25, 2.5 and 3.75.
  Doubles odd(6, 100);
  EXPECT_EQ(pedestalcut(parameters, odd, 50), 6);
  const Doubles oddExpected{0,   100 * 0.08, 100 * (2 * 60 * 0.04 / 5 - 0.5), 100 * (3 * 90 * 0.04 / 5 - 0.3),
                            100, 100};
  for (size_t i = 0; i < odd.size(); ++i) EXPECT_NEAR(odd[i], oddExpected[i], 1e-9) << i;
  Doubles none{100, 100, 100, 100};
  EXPECT_EQ(pedestalcut(parameters, none, 50), 0);  // bin 0 doesn't count
  EXPECT_THAT(none, Each(0));
}

TEST(CbvMethods, TakeTheStrongestBinWithoutThePedestal) {
  const Doubles spectrum{900, 900, 900, 100, 100, 100, 120, 100, 100, 3, 7};
  const Found kept = find(4, spectrum, 50);
  EXPECT_EQ(kept.result, 5);  // 195 by the slope of 1.95
  EXPECT_EQ(kept.left, spectrum);
  VelocitySettings parameters;
  parameters.cutDopTop = 1;
  EXPECT_THAT(find(4, spectrum, 50, parameters).left,
              ElementsAre(900, 900, 900, 100, 100, 100, 0, 0, 0, 0, 0));
  parameters.keepDop = 0;
  const Found changed = find(4, spectrum, 50, parameters);
  EXPECT_EQ(changed.result, 5);
  EXPECT_NEAR(changed.left[1], 45, 1e-9);
  EXPECT_THAT(Doubles(changed.left.begin() + 6, changed.left.end()), Each(0));
  EXPECT_EQ(find(4, {1, 2, 3, 2, 1, 3}, 50).result, 0);
  EXPECT_EQ(find(4, Doubles(6, 90.0), 50).result, 3);  // the run reaches the last bin; 100 * 1.86 beats it
}

TEST(SpikeCut, TakesTheMeanOfTheNeighboursOfASpike) {
  Doubles row{0, 99, 1, 10, 2, 6, 1, 30, 9, 50};
  spikecut(row, 3.0);
  EXPECT_THAT(row, ElementsAre(0, 99, 1, 1.5, 2, 6, 1, 5, 9, 50));
  Doubles negative{0, -3, -2, -3, 0};
  spikecut(negative, 3.0);
  EXPECT_THAT(negative, ElementsAre(0, -3, -3, -3, 0));
  Doubles brief{1, 2};
  spikecut(brief, 3.0);
  EXPECT_THAT(brief, ElementsAre(1, 2));
}

TEST(FirstMoment, IsTheMeanAboveTheNoise) {
  CbvAnalysis analysis;
  analysis.parameters.cbvMethod = kFirstMoment;
  Doubles spectrum(64, 10.0);
  EXPECT_EQ(cbvfind(analysis, spectrum), 0) << "nothing stands out";
  for (size_t bin = 20; bin < 30; ++bin) spectrum[bin] = 110;
  analysis.beginSignal();
  EXPECT_NEAR(cbvfind(analysis, spectrum), 24.5, 1e-9);
  EXPECT_NEAR(analysis.moment.spread, std::sqrt(99.0 / 12), 1e-9);
  Doubles few(8, 1.0);
  EXPECT_EQ(cbvfind(analysis, few), 0);
}

TEST(FirstMoment, IsRightOnMovingScatterersAndReadsNothingInNoise) {
  for (const auto profile : {FlowProfile::Plug, FlowProfile::Parabolic})
    for (const double noise : {-20.0, -10.0})
      for (const double bin : {20.0, 38.0}) {
        const auto words = std::to_string(static_cast<int>(profile)) + " " + std::to_string(noise);
        const DopplerErrors errors =
            dopplerErrors(kFirstMoment, {.profile = profile, .noiseDecibels = noise, .meanBin = bin}, 120);
        EXPECT_LT(errors.ofMean, 1) << words;
        EXPECT_GE(errors.withinTwo, 0.9) << words;
      }
  EXPECT_EQ(dopplerErrors(kFirstMoment, {.noiseDecibels = 0, .noiseAlone = true}, 500).read, 0);
}

TEST(NoiseFloor, OfTwoSignalsIsFollowedSideBySide) {
  NoiseFloor first, second;
  VelocitySettings parameters;
  parameters.noisefloorRC = 2;
  autothreshold(parameters, Doubles(16, 8.0), first);
  autothreshold(parameters, Doubles(16, 80.0), second);
  EXPECT_EQ(first.held, 4);
  EXPECT_EQ(second.held, 40);
}

}  // namespace
}  // namespace tarnvisor
