// Widths of drawn vessels, of edges at the samples and between them.
#include "analysis/width.h"

#include "support/testing.h"

namespace tarnvisor {
namespace {

struct Drawn {
  double width = 8, angle = 0, noise = 0, depth = 70, spread = 1.2;
};

struct Scene {
  CZZimage image{120, 120};
  std::vector<Point> line;

  Scene(const Drawn& drawn, std::mt19937& chance) {
    const double half = 1.5 * drawn.width + 6, angle = drawn.angle * std::numbers::pi / 180;
    const auto at = [&](double r) {
      return Point{int32_t(std::lround(60 + r * std::cos(angle))),
                   int32_t(std::lround(60 + r * std::sin(angle)))};
    };
    line = {at(-half), at(half)};
    const double dx = line[1].x - line[0].x, dy = line[1].y - line[0].y, length = std::hypot(dx, dy);
    const double middle = 0.25 * double(chance() % 5) - 0.5;
    std::normal_distribution<double> noise(0, 1);
    const auto risen = [&](double d) { return 0.5 * std::erfc(-d / drawn.spread / std::numbers::sqrt2); };
    for (int32_t y = 0; y < 120; ++y)
      for (int32_t x = 0; x < 120; ++x) {
        const double d = ((x - 60) * dx + (y - 60) * dy) / length - middle;
        const double dark = risen(d + drawn.width / 2) - risen(d - drawn.width / 2);
        const double level = 170 - drawn.depth * dark + drawn.noise * noise(chance);
        image.setPixel(x, y, uint8_t(std::lround(std::clamp(level, 0.0, 255.0))));
      }
  }
  double width(WidthRule rule, int32_t fine) {
    return widthAlong(image, line, 1, rule, {.subSample = fine}).width;
  }
};

// The worst error of those that have a width.
double worstOf(Drawn drawn, WidthRule rule, double outwards) {
  std::mt19937 chance(1);
  double worst = 0;
  for (drawn.angle = 0; drawn.angle <= 90; drawn.angle += 7.5)
    for (drawn.width = 4; drawn.width <= 20; drawn.width += 1.6) {
      const double found = Scene(drawn, chance).width(rule, 1);
      if (found > 0 || (drawn.noise == 0 && drawn.width > 3 * drawn.spread))
        worst = std::max(worst, std::abs(found - drawn.width - 2 * outwards * drawn.spread));
    }
  return worst;
}

TEST(VesselWidth, IsRightToHalfAPixelBetweenTheSamples) {
  EXPECT_LT(worstOf({}, WidthRule::Edge, 0), 0.15);
  EXPECT_LT(worstOf({.spread = 2}, WidthRule::Edge, 0), 0.5);
  EXPECT_LT(worstOf({}, WidthRule::Threshold, 1.2816), 0.3);
  EXPECT_LT(worstOf({}, WidthRule::OuterEdge, 1), 0.3);
  EXPECT_LT(worstOf({.noise = 5}, WidthRule::Edge, 0), 0.75);
  EXPECT_LT(worstOf({.noise = 20}, WidthRule::Edge, 0), 2.5);
}

TEST(VesselWidth, FollowsTheRulesOfTheSamplesWithoutThat) {
  std::mt19937 chance(1);
  Scene scene({.width = 10}, chance);
  EXPECT_EQ(scene.width(WidthRule::Threshold, 0), 12);
  EXPECT_EQ(scene.width(WidthRule::Edge, 0), 10);
  EXPECT_EQ(scene.width(WidthRule::OuterEdge, 0), 13);
}

TEST(VesselWidth, IsNeverMadeUpBetweenTheSamples) {
  std::mt19937 chance(2);
  for (double n = 0; n < 200; ++n)
    EXPECT_EQ(Scene({.width = 4 + n / 20, .angle = n / 2, .noise = 8, .depth = 0}, chance)
                  .width(WidthRule::Edge, 1),
              -1);
  Scene scene({.width = 20}, chance);
  const auto along = [&](Point from, Point to, WidthRule rule) {
    const Point line[] = {from, to};
    return widthAlong(scene.image, line, 1, rule, {.subSample = 1}).width;
  };
  EXPECT_EQ(along({-10, 60}, {110, 60}, WidthRule::Edge), -1) << "it leaves the picture";
  EXPECT_EQ(along({2, 60}, {40, 60}, WidthRule::Edge), -1) << "no vessel";
  EXPECT_GT(along({48, 60}, {75, 60}, WidthRule::Edge), 18);
  EXPECT_EQ(along({48, 60}, {75, 60}, WidthRule::OuterEdge), -1) << "no room for outer edges";
  EXPECT_EQ(along({48, 60}, {48, 60}, WidthRule::Edge), -1);
}

TEST(VesselWidth, HasAMethodNumberOfItsOwnInVideos) {
  WidthSettings set;
  const auto rules = [&](int32_t method) {
    set.method = method;
    return std::pair{set.ruleInImage(), set.ruleAgainstTime()};
  };
  using enum WidthRule;
  EXPECT_EQ(rules(0), std::pair(std::optional(OuterEdge), std::optional(Threshold)));
  EXPECT_EQ(rules(1), std::pair(std::optional(Threshold), std::optional(Edge)));
  EXPECT_EQ(rules(2), std::pair(std::optional(Edge), std::optional(OuterEdge)));
  EXPECT_EQ(rules(3), std::pair(std::optional(OuterEdge), std::optional(Threshold)));
  EXPECT_FALSE(rules(4).first);
  EXPECT_FALSE(rules(-1).second);
}

}  // namespace
}  // namespace tarnvisor
