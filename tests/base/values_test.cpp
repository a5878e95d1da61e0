#include <ctime>

#include "base/bytes.h"
#include "base/clock.h"
#include "base/geometry.h"
#include "base/goldensection.h"
#include "base/numbers.h"
#include "base/parallel.h"
#include "base/text.h"
#include "support/testing.h"

namespace tarnvisor {
namespace {

TEST(Values, TruncateTowardsZeroAndToTheNearestBound) {
  const double inf = std::numeric_limits<double>::infinity();
  const std::pair<double, int32_t> cases[] = {{0.999, 0},
                                              {-0.999, 0},
                                              {2.5, 2},
                                              {-2.5, -2},
                                              {2147483646.9, 2147483646},
                                              {2147483647.0, INT32_MAX},
                                              {1e300, INT32_MAX},
                                              {-2147483647.9, -2147483647},
                                              {-2147483648.5, INT32_MIN},
                                              {-1e300, INT32_MIN},
                                              {inf, INT32_MAX},
                                              {-inf, INT32_MIN},
                                              {std::nan(""), 0}};
  for (const auto& [value, expected] : cases) EXPECT_EQ(truncated(value), expected) << value;
  const std::pair<double, int> bytes[] = {{-1, 0}, {-1e9, 0}, {254.99, 254}, {255.5, 255}, {1e9, 255}};
  for (const auto& [value, expected] : bytes) EXPECT_EQ(truncatedToByte(value), expected) << value;
}

TEST(Values, OfOnePeakAreSearchedByGoldenSection) {
  GoldenSection search{.tolerance = 100};
  EXPECT_EQ(search.start(0, 1000), 381);
  // First, better above, level, better below, worse below, worse above; then the middle of 471 to 561.
  const std::pair<double, int32_t> steps[] = {{5, 618}, {9, 763}, {9, 526},  {10, 471},
                                              {4, 561}, {4, 505}, {10, 516}, {11, 516}};
  for (const auto& [value, next] : steps) EXPECT_EQ(search.step(value), next) << value;
  EXPECT_EQ(GoldenSection().start(-32512, 32512), -7675);
}

TEST(Values, HaveTheirLeastByteFirst) {
  uint8_t bytes[8] = {};
  putLittle(bytes, int32_t{-2});
  EXPECT_THAT(std::vector<int>(bytes, bytes + 4), ElementsAre(0xfe, 0xff, 0xff, 0xff));
  EXPECT_EQ(getLittle<int32_t>(bytes), -2);
  EXPECT_EQ(getLittle<int16_t>(bytes), -2);
  putLittle(bytes, uint16_t{0x1234});
  EXPECT_EQ(bytes[0], 0x34);
  putLittleDouble(bytes, 1.0);
  EXPECT_THAT(std::vector<int>(bytes, bytes + 8), ElementsAre(0, 0, 0, 0, 0, 0, 0xf0, 0x3f));
  EXPECT_EQ(getLittleDouble(bytes), 1.0);
}

TEST(Values, RectanglesOfHostileSidesDontOverflow) {
  EXPECT_EQ((Rect{INT32_MIN, 0, INT32_MAX, 5}.width()), -1);
  EXPECT_EQ((Rect{1, 2, 1, 9}.isEmpty()), true);
  EXPECT_EQ((Rect{5, 6, 1, 2}.normalised()), (Rect{1, 2, 5, 6}));
  EXPECT_EQ((Rect{0, 0, 4, 4}.intersected({4, 0, 8, 4})), Rect{});
  EXPECT_EQ((Rect{0, 0, 4, 4}.intersected({2, -1, 8, 3})), (Rect{2, 0, 4, 3}));
  EXPECT_TRUE((Rect{0, 0, 2, 2}.contains({1, 1})));
  EXPECT_FALSE((Rect{0, 0, 2, 2}.contains({2, 1})));
}

TEST(Clock, TellsLocalTimeInEnglish) {
  const std::tuple<const char*, int64_t, const char*, const char*> cases[] = {
      {"UTC0", 795184889, "Tuesday, March 14, 1995, 12:41:29", "Tue Mar 14 12:41:29 1995\n"},
      {"UTC0", 0, "Thursday, January 01, 1970, 00:00:00", "Thu Jan  1 00:00:00 1970\n"},
      {"EST5", 0, "Wednesday, December 31, 1969, 19:00:00", "Wed Dec 31 19:00:00 1969\n"},
      {"CET-1CEST,M3.5.0,M10.5.0/3", 1751500799, "Thursday, July 03, 2025, 01:59:59",
       "Thu Jul  3 01:59:59 2025\n"},
      {"UTC0", 4102444800, "Friday, January 01, 2100, 00:00:00", "Fri Jan  1 00:00:00 2100\n"}};
  for (const auto& [zone, seconds, text, log] : cases) {
    ::setenv("TZ", zone, 1);
    ::tzset();
    EXPECT_EQ(longDateTime(seconds), text) << zone;
    EXPECT_EQ(ascTime(seconds), log) << zone;
  }
  ::unsetenv("TZ");
  ::tzset();
  EXPECT_EQ(localTime(INT64_MAX).year, 1970) << "a time that no calendar has";
}

TEST(Clock, StandsWhileFixed) {
  {
    const FixedClock fixed(5);
    EXPECT_EQ(currentTime(), 5);
  }
  EXPECT_GT(currentTime(), 1600000000);
  const double before = steadySeconds();
  EXPECT_GE(steadySeconds(), before);
}

TEST(Parallel, LoopVisitsEveryIndexOnceWithAnyNumberOfThreads) {
  for (const int threads : {1, 2, 3, 4}) {
    setParallelThreads(threads);
    for (const int64_t count : {0, 1, 3, 4, 7, 1000, 1001})
      for (const int64_t grain : {0, 1, 2, 400, 5000}) {
        std::vector<std::atomic<int>> visits(static_cast<size_t>(count));
        std::atomic<int> pieces = 0;
        parallelFor(count, grain, [&](int64_t from, int64_t to) {
          ++pieces;
          if (count >= grain) {
            EXPECT_GE(to - from, grain);
          }
          for (int64_t i = from; i < to; ++i) ++visits[static_cast<size_t>(i)];
        });
        EXPECT_LE(pieces, threads);
        for (const auto& n : visits) ASSERT_EQ(n, 1) << threads << " threads, " << count << ", " << grain;
      }
  }
  parallelFor(-5, 1, [](int64_t, int64_t) { FAIL(); });
  std::atomic<int> within = 0;
  setParallelThreads(3);
  parallelFor(3, 1, [&](int64_t, int64_t) {
    parallelFor(5, 1, [&](int64_t from, int64_t to) { within += static_cast<int>(to - from); });
  });
  EXPECT_EQ(within, 15) << "a loop within a loop";
  setParallelThreads(0);
  EXPECT_GE(parallelThreads(), 1);
}

TEST(Text, IsFormattedAtAnyLength) {
  EXPECT_EQ(format("%i-%s", 5, std::string(10000, 'x').c_str()), "5-" + std::string(10000, 'x'));
  EXPECT_EQ(format("%s", ""), "");
}

TEST(Text, FoldsAsciiLettersOnly) {
  EXPECT_TRUE(equalIgnoringCase("aZ[1", "Az[1"));
  EXPECT_FALSE(equalIgnoringCase("\xe9", "\xc9"));
  EXPECT_FALSE(equalIgnoringCase("a", "ab"));
  EXPECT_EQ(lowerCase("A\xc9Z@[`"), "a\xc9z@[`");
  EXPECT_TRUE(endsWithIgnoringCase("x.TV1", ".tv1"));
  EXPECT_FALSE(endsWithIgnoringCase("tv1", "x.tv1"));
}

TEST(Text, NamesAreTheSameInWhateverCapitalsAndComposition) {
  EXPECT_TRUE(isSameName("M\u00fcller", "M\u00dcLLER"));
  EXPECT_TRUE(isSameName("M\u00fcller", "mu\u0308ller"));
  EXPECT_FALSE(isSameName("M\u00fcller", "Muller"));
  EXPECT_TRUE(isSameName("M\xfcLLER", "m\xfcller")) << "no UTF-8";
}

TEST(Text, IsTakenApartAndFilledIn) {
  EXPECT_EQ(trimmed(" \t a b\r\n"), "a b");
  EXPECT_EQ(trimmed(" \n"), "");
  EXPECT_THAT(split("a,,b,", ','), ElementsAre("a", "", "b", ""));
  EXPECT_THAT(split("", ','), ElementsAre(""));
  EXPECT_EQ(filledIn("%1 or %1 of %2", "%1x"), "%1x or %1x of %2") << "what was put in is not looked at";
  EXPECT_EQ(replaced("a b ", ' ', '_'), "a_b_");
}

}  // namespace
}  // namespace tarnvisor
