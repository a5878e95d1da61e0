// Widths of drawn vessels, of edges at the samples and between them.
#include "analysis/width.h"

#include "support/testing.h"

namespace tarnvisor {
namespace {

struct Drawn {
  double width = 8, angle = 0, noise = 0, depth = 70;
};
constexpr double kSpread = 1.2;

struct Scene {
  CZZimage image{120, 120};
  std::vector<Point> line;

  Scene(const Drawn& drawn, std::mt19937& chance) {
    const double half = 1.5 * drawn.width + 6, angle = drawn.angle * std::numbers::pi / 180;
    const Point reach{int32_t(std::lround(half * std::cos(angle))),
                      int32_t(std::lround(half * std::sin(angle)))};
    line = {Point{60, 60} - reach, Point{60, 60} + reach};
    std::normal_distribution<double> noise(0, 1);
    const auto risen = [](double d) { return 0.5 * std::erfc(-d / kSpread / std::numbers::sqrt2); };
    for (int32_t y = 0; y < 120; ++y)
      for (int32_t x = 0; x < 120; ++x) {
        const double d = ((x - 60) * reach.x + (y - 60) * reach.y) / std::hypot(reach.x, reach.y) - 0.3;
        const double dark = risen(d + drawn.width / 2) - risen(d - drawn.width / 2);
        image.setPixel(
            x, y, uint8_t(std::clamp(170.5 - drawn.depth * dark + drawn.noise * noise(chance), 0., 255.)));
      }
  }
  double width(WidthRule rule, int32_t fine) {
    return widthAlong(image, line, 1, rule, {.subSample = fine}).width;
  }
};

// The worst error of those that have a width, which all have without noise.
double worstOf(Drawn drawn, WidthRule rule, double outwards) {
  std::mt19937 chance(1);
  double worst = 0;
  for (drawn.angle = 0; drawn.angle <= 90; drawn.angle += 7.5)
    for (drawn.width = 4; drawn.width <= 20; drawn.width += 1.6) {
      const double found = Scene(drawn, chance).width(rule, 1);
      if (found > 0 || drawn.noise == 0)
        worst = std::max(worst, std::abs(found - drawn.width - 2 * outwards * kSpread));
    }
  return worst;
}

TEST(VesselWidth, IsRightToHalfAPixelBetweenTheSamples) {
  EXPECT_LT(worstOf({}, WidthRule::Edge, 0), 0.15);
  EXPECT_LT(worstOf({}, WidthRule::Threshold, 1.2816), 0.3);
  EXPECT_LT(worstOf({}, WidthRule::OuterEdge, 1), 0.3);
  EXPECT_LT(worstOf({.noise = 5}, WidthRule::Edge, 0), 0.75);
  EXPECT_LT(worstOf({.noise = 20}, WidthRule::Edge, 0), 2.5);
}

TEST(VesselWidth, IsNeverMadeUpBetweenTheSamples) {
  std::mt19937 chance(2);
  for (double n = 0; n < 100; ++n)
    EXPECT_EQ(Scene({4 + n / 10, n, 8, 0}, chance).width(WidthRule::Edge, 1), -1);
  Scene scene({.width = 20}, chance);
  const auto along = [&](Point from, Point to, WidthRule rule) {
    const Point line[] = {from, to};
    return widthAlong(scene.image, line, 1, rule, {.subSample = 1}).width;
  };
  EXPECT_EQ(along({-10, 60}, {110, 60}, WidthRule::Edge), -1) << "it leaves the picture";
  EXPECT_EQ(along({2, 60}, {40, 60}, WidthRule::Edge), -1) << "no vessel";
  EXPECT_GT(along({48, 60}, {75, 60}, WidthRule::Edge), 18);
  EXPECT_EQ(along({48, 60}, {75, 60}, WidthRule::OuterEdge), -1) << "no room for outer edges";
}

TEST(VesselWidth, FollowsTheMethodNumberWhichIsAnotherInVideos) {
  std::mt19937 chance(1);
  Scene scene({.width = 10}, chance);
  const auto widths = [&](std::optional<WidthRule> (WidthSettings::*ruleOf)() const) {
    std::vector<double> all;
    for (int32_t method = -1; method <= 4; ++method) {
      const WidthSettings set{.method = method, .pointOnRise = 0.3};
      const auto rule = (set.*ruleOf)();
      all.push_back(rule ? widthAlong(scene.image, scene.line, 1, *rule, set).width : 0);
    }
    return all;
  };
  EXPECT_THAT(widths(&WidthSettings::ruleInImage), ElementsAre(0, 13, 9, 10, 13, 0));
  EXPECT_THAT(widths(&WidthSettings::ruleAgainstTime), ElementsAre(0, 9, 10, 13, 9, 0));
}

}  // namespace
}  // namespace tarnvisor
