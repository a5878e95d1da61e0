#include "base/goldensection.h"

#include "support/testing.h"

namespace tarnvisor {
namespace {

TEST(GoldenSection, CutsTheRangeOnTheSideWithoutThePeak) {
  GoldenSection search{.tolerance = 100};
  EXPECT_EQ(search.start(0, 1000), 381);
  EXPECT_EQ(search.step(5), 618) << "the first value is the best so far";
  EXPECT_EQ(search.step(9), 763) << "better, above";
  EXPECT_EQ(search.low, 381);
  EXPECT_EQ(search.step(9), 526) << "level is not better";
  EXPECT_EQ(search.high, 763);
  EXPECT_EQ(search.step(10), 471) << "better, below";
  EXPECT_EQ(search.mid, 526);
  EXPECT_EQ(search.step(4), 561) << "worse, below";
  EXPECT_EQ(search.step(4), 505) << "worse, above";
}

TEST(GoldenSection, EndsAtTheMiddleOfWhatIsWithinTheTolerance) {
  GoldenSection search{.tolerance = 500};
  int32_t tried = search.start(-32512, 32512), steps = 0;
  EXPECT_EQ(tried, -7675);
  for (int32_t next; steps < 50 && (next = search.step(-std::abs(tried - 4000.0))) != tried; ++steps)
    tried = next;
  EXPECT_LE(search.high - search.low, 500);
  EXPECT_EQ(tried, search.low + (search.high - search.low) / 2);
  EXPECT_LT(steps, 14);
}

}  // namespace
}  // namespace tarnvisor
