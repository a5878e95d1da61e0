// The capillary finder: regions against a segmentation by single flood fills, thresholds and circles by hand,
// and the whole road on a picture with known capillaries.
#include "analysis/finder.h"

#include <unistd.h>

#include "analysis/darkregions.h"
#include "plain.h"
#include "support/logcapture.h"

namespace tarnvisor {
namespace {

using plain::Picture;

constexpr FinderParameters kNoFilters{0, 0, 0, 0, 1000000, 1};

// Segments a binary picture both ways; the fast way's regions are the result.
std::vector<CapillaryRegion> segmented(const Picture& p, int32_t umin, int32_t umax, size_t limit = 1000,
                                       int32_t interlace = 0) {
  CZZimage fast, slow;
  for (CZZimage* i : {&fast, &slow}) {
    plain::load(*i, p);
    i->interlace = interlace;
    i->xOrigin = 7;
    i->yOrigin = 11;
  }
  const auto wanted = plain::segmentBinary(slow, umin, umax, limit);
  const auto found = segment(fast, {0, 0, 0, 0, umax, umin}, 128, limit);
  EXPECT_EQ(plain::unload(fast), plain::unload(slow));
  EXPECT_EQ(found.size(), wanted.size());
  for (size_t i = 0; i < std::min(found.size(), wanted.size()); ++i) {
    EXPECT_EQ(found[i].area, wanted[i].area) << i;
    EXPECT_EQ(found[i].cx, wanted[i].cx) << i;
    EXPECT_EQ(found[i].cy, wanted[i].cy) << i;
  }
  return found;
}

TEST(Segment, EqualsSingleFloodFillsOnNoiseOfAllSizes) {
  uint32_t seed = 0;
  for (const Size size :
       {Size{1, 1}, {1, 9}, {9, 1}, {2, 2}, {3, 3}, {8, 3}, {13, 17}, {64, 20}, {65, 31}, {130, 50}})
    for (int32_t density = 20; density <= 80; density += 12)
      for (int32_t repeat = 0; repeat < 6; ++repeat) {
        Picture p = plain::flat(size.width, size.height, 255);
        std::mt19937 random(++seed);
        for (uint8_t& b : p.bytes) b = random() % 100 < static_cast<uint32_t>(density) ? 0 : 255;
        segmented(p, 1, 1000000);
        segmented(p, 3, 40, 1000, repeat % 3);
        segmented(p, 2, 1000000, 4);
        ASSERT_FALSE(HasFailure()) << size.width << " x " << size.height << " seed " << seed;
      }
}

TEST(Segment, EqualsSingleFloodFillsOnNestedRings) {
  // Thick and thin rings inside each other, so that holes hold islands that hold holes.
  for (uint32_t seed = 1; seed <= 60; ++seed) {
    std::mt19937 random(seed);
    Picture p = plain::flat(90, 70, 255);
    for (int32_t ring = 0; ring < 9; ++ring) {
      const int32_t x = static_cast<int32_t>(random() % 70), y = static_cast<int32_t>(random() % 55);
      const int32_t w = 3 + static_cast<int32_t>(random() % 40), h = 3 + static_cast<int32_t>(random() % 40);
      const int32_t wall = 1 + static_cast<int32_t>(random() % 4);
      for (int32_t v = y; v < std::min(y + h, 70); ++v)
        for (int32_t u = x; u < std::min(x + w, 90); ++u)
          if (u < x + wall || v < y + wall || u >= x + w - wall || v >= y + h - wall) p.at(u, v) = 0;
    }
    segmented(p, 1, 1000000);
    segmented(p, 30, 600);
    ASSERT_FALSE(HasFailure()) << "seed " << seed;
  }
}

TEST(Segment, ARegionInRowZeroIsReachedOnlyFromItsOwnRun) {
  // One "U": its body belongs to the left arm, the right arm's pixel in row 0 is a region of its own.
  const auto found = segmented(plain::drawn({"#...#..", "#...#..", "#####..", "......."}), 1, 100);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].area, 8);
  EXPECT_EQ(found[1].area, 1);
  EXPECT_EQ(found[1].cx, 4 + 7);
  EXPECT_EQ(found[1].cy, 0 + 11);
}

TEST(Segment, HolesAreFilledOnlyBehindWallsThatTheLookedAtAreaHolds) {
  // The hole is closed only if the wall to its right is three pixels thick and the one below two.
  const std::pair<std::vector<std::string>, int64_t> cases[] = {
      {{".........", ".######..", ".#..###..", ".######..", ".######..", "........."}, 24},
      {{".........", ".#####...", ".#..##...", ".#####...", ".#####...", "........."}, 18},
      {{".........", ".######..", ".#..###..", ".######..", "........."}, 16}};
  for (const auto& [rows, area] : cases) {
    const auto found = segmented(plain::drawn(rows), 1, 100);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].area, area);
  }
}

TEST(Segment, SizeIsJudgedBeforeHolesAreFilledAndAFieldCountsTwice) {
  const Picture ring = plain::drawn(
      {"..........", ".########.", ".#.....##.", ".########.", ".########.", ".########.", ".........."});
  // 35 pixels and 5 in a gap that leaks through the last two columns.
  EXPECT_EQ(segmented(ring, 35, 35).size(), 1u);
  EXPECT_EQ(segmented(ring, 36, 100).size(), 0u);
  EXPECT_EQ(segmented(ring, 70, 70, 1000, 1).at(0).area, 70);
}

TEST(Segment, StopsAtItsLimitAndLeavesTheRestDark) {
  Picture p = plain::flat(64, 64, 255);
  for (int32_t y = 1; y < 64; y += 2)
    for (int32_t x = 1; x < 64; x += 2) p.at(x, y) = 0;
  EXPECT_EQ(segmented(p, 1, 9, 1000).size(), 1000u);
  CZZimage image;
  plain::load(image, p);
  segment(image, kNoFilters, 128, 1000);
  EXPECT_EQ(image.row(63)[63], 0);
}

TEST(Isodata, StopsOnItsFixedPoint) {
  // Half 40, half 200: mean 120, then 40 / 2 + 200 / 2.
  CZZimage image;
  Picture p = plain::flat(10, 10, 40);
  std::fill(p.bytes.begin() + 50, p.bytes.end(), uint8_t{200});
  plain::load(image, p);
  EXPECT_EQ(isodata(image).threshold, 120);
  EXPECT_TRUE(isodata(image).converged);
  // 90 of 10 and 10 of 251: mean 34; 900 / 180 + 2510 / 20 = 5 + 125 (cut from 125.5).
  p = plain::flat(10, 10, 10);
  std::fill(p.bytes.begin() + 90, p.bytes.end(), uint8_t{251});
  plain::load(image, p);
  EXPECT_EQ(isodata(image).threshold, 130);
}

TEST(Isodata, WithoutAFixedPointIn40RoundsIsThePlainMean) {
  // Counts that fall with the square of the level: 49 small steps up from the mean, 11.
  Picture p = plain::flat(486, 89, 255);
  size_t at = 0;
  const auto add = [&](int level, size_t count) {
    for (; count > 0; --count) p.bytes.at(at++) = static_cast<uint8_t>(level);
  };
  add(1, 29300);
  for (int level = 10; level < 128; ++level) add(level, static_cast<size_t>(140000 / (level * level)));
  ASSERT_EQ(p.bytes.size() - at, 380u);
  CZZimage image;
  plain::load(image, p);
  EXPECT_EQ(isodata(image).threshold, 11);
  EXPECT_FALSE(isodata(image).converged);
}

TEST(Isodata, AnEmptyClassKeepsThePresentValue) {
  CZZimage image;
  for (const uint8_t level : {0, 77, 255}) {
    plain::load(image, plain::flat(6, 6, level));
    EXPECT_EQ(isodata(image).threshold, level);
    EXPECT_TRUE(isodata(image).converged);
  }
  EXPECT_FALSE(isodata(CZZimage()).converged);
}

TEST(ApexKernel, IsADipOfTheDefaultDepth) {
  const auto k = apexKernel({});
  ASSERT_EQ(k.size(), 29u * 29u);
  EXPECT_EQ(k[14 * 29 + 14], -1000);
  EXPECT_EQ(k[14 * 29], 262);  // 2000 exp(-1 / (2 * 0.7079664 ^ 2)) is 737.6
  int64_t sum = 0;
  for (const int32_t cell : k) sum += cell;
  EXPECT_LT(sum, 0);
  EXPECT_EQ(apexKernel({1, 0.7, 1000, 2000, 1, 0}), std::vector<int32_t>{-1000});
  EXPECT_EQ(apexKernel({8, 0.7, 0, 1, 1, 0}).size(), 81u);
  EXPECT_TRUE(apexKernel({-3, 0.7, 0, 1, 1, 0}).empty());
}

TEST(CapillaryCircle, LiesAcrossUnlessItWouldLeaveTheLeftEdge) {
  const double area = 314.16;  // radius 10.0001
  EXPECT_EQ(capillaryCircle(area, 50.7, 40.9), (std::array<Point, 2>{Point{40, 40}, Point{60, 40}}));
  EXPECT_EQ(capillaryCircle(area, 6.2, 40.9), (std::array<Point, 2>{Point{6, 30}, Point{6, 50}}));
  EXPECT_EQ(capillaryCircle(area, 6.2, 3.0), (std::array<Point, 2>{Point{6, 0}, Point{6, 20}}));
}

// Dark round spots on a bright, unevenly lit, noisy ground.
Picture spots(const std::vector<Point>& centres, int32_t width, int32_t height, double radius) {
  std::mt19937 random(1);
  return plain::mapped(plain::flat(width, height, 0), [&](int32_t x, int32_t y) {
    double level = 150 + 40.0 * x / width + static_cast<double>(random() % 9);
    for (const Point& c : centres)
      level -= 60 * std::exp(-((x - c.x) * (x - c.x) + (y - c.y) * (y - c.y)) / (radius * radius));
    return static_cast<int32_t>(level);
  });
}

TEST(Findcaps, RunsTheChainTwiceAndStretchesBetween) {
  CZZimage whole, steps;
  const Picture p = spots({{60, 60}, {140, 70}}, 200, 140, 11);
  plain::load(whole, p);
  plain::load(steps, p);
  const FinderParameters parameters{-5, 51, 0, 0, 5000, 100};
  findcaps(whole, Rect{}, parameters, {});
  steps.stretch(Rect{});
  Picture q = plain::window(plain::window(plain::unload(steps), false, 5), true, 51);
  plain::load(steps, q);
  steps.stretch(Rect{});
  plain::load(steps, plain::kernelNxN(plain::unload(steps), apexKernel({}), 29, 0.5, 128));
  steps.stretch(Rect{});
  plain::load(steps, plain::window(plain::window(plain::unload(steps), false, 5), true, 51));
  steps.binarise(isodata(steps).threshold, 0, 255);
  plain::segmentBinary(steps, 100, 5000, 1000);
  EXPECT_EQ(plain::unload(whole), plain::unload(steps));
}

TEST(Findcaps, LogsItsTime) {
  const LogCapture log;
  CZZimage image;
  plain::load(image, plain::flat(20, 20, 90));
  findcaps(image, Rect{}, {}, {});
  EXPECT_THAT(log.text(), ContainsRegex("(^|\n)findcaps=0\\.[0-9]+ ?secs\n"));
}

TEST(Findcaps, DoesNothingOnAnEmptyArea) {
  CZZimage image, none;
  plain::load(image, plain::noise(50, 50, 1));
  EXPECT_EQ(findcaps(image, Rect{100, 100, 120, 120}, {}, {}).width, 0);
  EXPECT_TRUE(findcaps(none, Rect{}, {}, {}).regions.empty());
  EXPECT_EQ(plain::unload(image), plain::noise(50, 50, 1));
}

}  // namespace
}  // namespace tarnvisor
