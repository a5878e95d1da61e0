#include "analysis/autoflash.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <deque>

namespace tarnvisor {
namespace {

TEST(AutoBrightness, ByShares) {
  autoflashcontrol control;
  control.start(30);
  EXPECT_NEAR(control.k, 0.0082988, 1e-6);
  control.step(100);  // 0.083 x 70 = 5.8
  EXPECT_EQ(control.flash, 505);
  EXPECT_EQ(control.lastGood, 500);
  control.step(156);  // near: what gave it is kept, then the step
  EXPECT_EQ(control.lastGood, 505);
  EXPECT_EQ(control.flash, 506);
  control.step(155);
  EXPECT_EQ(control.lastGood, 505) << "an error of 15 is none";
  control.step(29);
  EXPECT_EQ(control.flash, 505) << "an empty field";
  control.flash = 4999;
  control.step(100);
  EXPECT_EQ(control.flash, 505) << "beyond the greatest: not the greatest";
  control.lastGood = 5001;
  control.step(29);
  EXPECT_EQ(control.flash, 2500);
  control.on = 0;
  control.step(100);
  EXPECT_EQ(control.flash, 2500);
  control.on = 1;
  CZZimage picture(10, 17);  // rows 2, 4 ... 16 are nine at n of 7, whose divisor stays 7
  picture.fill(70);
  control.lines = 7;
  control.frame(picture);
  EXPECT_EQ(control.brightness, 80);
}

// A camera whose picture follows the light some frames late; the tissue goes in between.
TEST(AutoBrightness, ByProportionReachesTheTargetAndWaitsForTissue) {
  for (const int delay : {1, 4})
    for (const double right : {45.0, 300.0, 1500.0, 4500.0}) {
      autoflashcontrol control;
      control.method = autoflashcontrol::kByProportion;
      control.start(98);
      std::deque<int32_t> underWay(static_cast<size_t>(delay), control.flash);
      int level = 0;
      const auto run = [&](int frames, double tissue) {
        for (int frame = 0; frame < frames; ++frame) {
          level = static_cast<int>(std::min(255.0, 2 + 168 * tissue * underWay.front() / right));
          underWay.pop_front();
          control.step(level);
          underWay.push_back(control.flash);
        }
      };
      run(16, 1);
      EXPECT_NEAR(level, 170, 8) << right << " us, " << delay << " frames late";
      run(5, 1);
      const int32_t good = control.lastGood;
      run(300, 0);
      EXPECT_EQ(control.flash, good);
      run(delay + 1, 1);
      EXPECT_NEAR(level, 170, 16) << "when it comes back";
    }
}

}  // namespace
}  // namespace tarnvisor
