#include "report/distribution.h"

#include "support/testing.h"

namespace tarnvisor {
namespace {

TEST(Distribution, OfAKnownSampleHasItsNumbers) {
  const std::vector<double> values{9, 2, 4, 4, 4, 5, 5, 7};  // squares about the mean sum up to 32
  const Distribution d = distributionOf(values);
  EXPECT_EQ(d.count, 8u);
  EXPECT_DOUBLE_EQ(d.mean, 5);
  EXPECT_DOUBLE_EQ(d.deviation, std::sqrt(32.0 / 7));
  EXPECT_DOUBLE_EQ(d.median, 4.5);
  EXPECT_DOUBLE_EQ(d.lowerQuartile, 4);
  EXPECT_DOUBLE_EQ(d.upperQuartile, 5.5);
}

TEST(Distribution, NamesWhatLiesBeyondTheFencesAndNotOnThem) {
  const std::vector<double> values{1, 2, 3, 4, 5};  // quartiles 2 and 4
  const Distribution d = distributionOf(values);
  EXPECT_FALSE(d.isOutlier(-1));
  EXPECT_TRUE(d.isOutlier(-1.001));
  EXPECT_FALSE(d.isOutlier(7));
  EXPECT_TRUE(d.isOutlier(7.001));
}

TEST(Distribution, OfOneValueHasNoDeviationAndOfNoneNothing) {
  const Distribution one = distributionOf(std::vector{3.0});
  EXPECT_DOUBLE_EQ(one.median, 3);
  EXPECT_TRUE(std::isnan(one.deviation));
  EXPECT_TRUE(std::isnan(distributionOf({}).mean));
}

TEST(Histogram, CountsEachValueOnceInBinsOfARoundWidth) {
  std::vector<double> values;
  for (int i = 0; i <= 1000; ++i) values.push_back(0.3 + i * 0.001);
  const Histogram h = histogramOf(values);
  EXPECT_DOUBLE_EQ(h.width, 0.1);  // 2 * 0.5 / cbrt(1001), rounded up
  EXPECT_DOUBLE_EQ(h.first, 0.3);
  EXPECT_EQ(h.counts, (std::vector<size_t>{100, 100, 100, 100, 100, 100, 100, 100, 100, 101}));
}

TEST(Histogram, StandsOneFarValueAndEqualOnes) {
  EXPECT_LE(histogramOf(std::vector<double>{1, 1.1, 1.2, 1.3, 1e9}).counts.size(), 41u);
  EXPECT_EQ(histogramOf(std::vector<double>{7, 7, 7}).counts, std::vector<size_t>{3});
  EXPECT_TRUE(histogramOf({}).counts.empty());
}

}  // namespace
}  // namespace tarnvisor
