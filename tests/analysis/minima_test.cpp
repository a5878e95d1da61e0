// The small finders, on pictures small enough to follow by hand.
#include "analysis/minima.h"

#include "plain.h"

namespace tarnvisor {
namespace {

using plain::Picture;
using Points = std::vector<MinimumPoint>;

Picture levels(const std::vector<std::vector<int>>& rows) {
  Picture p = plain::flat(static_cast<int32_t>(rows[0].size()), static_cast<int32_t>(rows.size()), 0);
  for (int32_t y = 0; y < p.height; ++y)
    for (int32_t x = 0; x < p.width; ++x)
      p.at(x, y) = static_cast<uint8_t>(rows[static_cast<size_t>(y)][static_cast<size_t>(x)]);
  return p;
}

std::vector<MinimumPoint> inWindow(const Picture& p, int32_t threshold, int32_t width, int32_t height) {
  CZZimage image;
  plain::load(image, p);
  return minimaInWindow(image, threshold, width, height);
}

TEST(MinimaInWindow, APixelIsOneWhenNothingInItsWindowIsBelow) {
  for (const int32_t kind : {0, 2})
    for (const Size window : {Size{3, 3}, {9, 2}, {0, 5}, {500, 500}}) {
      const Picture p = plain::noise(47, 31, 9, kind);
      const int32_t halfX = window.width / 2, halfY = window.height / 2;
      Picture work = plain::mapped(p, [&](int32_t x, int32_t y) -> int32_t {
        if (p.at(x, y) >= 100) return 255;
        for (int32_t v = y - halfY; v <= y + halfY; ++v)
          for (int32_t u = x - halfX; u <= x + halfX; ++u)
            if (p.has(u, v) && p.at(u, v) < p.at(x, y)) return 255;
        return p.at(x, y);
      });
      const auto found = inWindow(p, 100, window.width, window.height);
      ASSERT_FALSE(found.empty());
      // Full range noise hardly has plateaus: each point is a candidate and none is lost.
      if (kind == 0 && window.width == 9) {
        int64_t candidates =
            std::count_if(work.bytes.begin(), work.bytes.end(), [](uint8_t b) { return b != 255; });
        EXPECT_EQ(static_cast<int64_t>(found.size()), candidates);
        for (const auto& m : found) EXPECT_EQ(work.at(m.x, m.y), m.value);
      }
      EXPECT_TRUE(
          std::is_sorted(found.begin(), found.end(), [](auto& a, auto& b) { return a.value < b.value; }));
    }
}

TEST(MinimaInWindow, APlateauBecomesItsMeanPositionCut) {
  const int B = 200;
  EXPECT_EQ(
      inWindow(levels({{B, B, B, B, B}, {B, B, B, B, B}, {B, 7, 7, 7, B}, {B, B, B, 7, B}, {B, B, B, B, B}}),
               128, 5, 5),
      (Points{{2, 2, 7}}));
  // Reached from below row 0 is not taken along: two points, of which the lower is a plateau without its top.
  EXPECT_EQ(inWindow(levels({{B, B, 9}, {9, 9, 9}, {9, B, B}}), 128, 3, 3), (Points{{1, 1, 9}}));
  EXPECT_EQ(inWindow(levels({{9, B, 9}, {9, B, 9}, {9, 9, 9}}), 128, 3, 3), (Points{{2, 0, 9}, {0, 1, 9}}));
}

TEST(MinimaInWindow, LevelsNearTheTopSurviveTheWrappingCodes) {
  for (int v = 249; v <= 254; ++v)
    EXPECT_EQ(
        inWindow(levels({{255, 255, 255, 255}, {255, v, v, 255}, {255, v, v, 255}, {255, 255, 255, 255}}),
                 300, 3, 3),
        (Points{{1, 1, static_cast<uint8_t>(v)}}));
  EXPECT_TRUE(inWindow(plain::flat(5, 5, 255), 300, 3, 3).empty());
  EXPECT_TRUE(inWindow(plain::flat(5, 5, 90), 90, 3, 3).empty());
  EXPECT_EQ(inWindow(levels({{5, 9}, {9, 5}}), 99, -8, 4).size(), 4u) << "a negative window holds no cell";
}

TEST(MinimaInTolerance, ADipShallowerThanTheToleranceIsNotOne) {
  // Two dips of 10 and 30 with a saddle of 40 between.
  std::vector<std::vector<int>> rows(7, std::vector<int>(13, 90));
  for (int y = 2; y <= 4; ++y)
    for (int x = 2; x <= 10; ++x) rows[static_cast<size_t>(y)][static_cast<size_t>(x)] = 40;
  rows[3][3] = 10;
  rows[3][9] = 30;
  CZZimage image;
  plain::load(image, levels(rows));
  EXPECT_EQ(minimaInTolerance(image, 128, 5), (Points{{3, 3, 10}, {9, 3, 30}}));
  EXPECT_EQ(minimaInTolerance(image, 128, 10), (Points{{3, 3, 10}}));
  EXPECT_EQ(minimaInTolerance(image, 25, 5), (Points{{3, 3, 10}}));
  EXPECT_TRUE(minimaInTolerance(image, 10, 5).empty());
}

TEST(MinimaInTolerance, AnOddRowLooksTwoColumnsToTheLeft) {
  // The darker pixel up and to the right of (4, 3) is a neighbour in growing, not in the test for candidates:
  // the candidate is there, and growing rejects it. Two columns to the left it is one in the test only.
  for (const int dx : {1, -2}) {
    std::vector<std::vector<int>> rows(7, std::vector<int>(9, 90));
    rows[3][4] = 20;
    rows[2][static_cast<size_t>(4 + dx)] = 15;
    CZZimage image;
    plain::load(image, levels(rows));
    EXPECT_EQ(minimaInTolerance(image, 50, 0), (Points{{4 + dx, 2, 15}})) << dx;
  }
}

TEST(MinimaInTolerance, ThePointIsThePixelOfThePlateauNearestToItsMean) {
  std::vector<std::vector<int>> rows(8, std::vector<int>(12, 90));
  for (size_t x = 2; x <= 8; ++x) rows[4][x] = 20;
  CZZimage image;
  plain::load(image, levels(rows));
  EXPECT_EQ(minimaInTolerance(image, 50, 0), (Points{{5, 4, 20}}));
}

TEST(RegionsByLevel, MarksRegionsIsolatedPixelsAndUntouchedEdges) {
  CZZimage source, target(2, 2);
  plain::load(source, levels({{1, 2, 3, 4}, {5, 9, 6, 7}, {8, 6, 9, 11}, {12, 13, 9, 15}}));
  source.xOrigin = 5;
  ASSERT_TRUE(regionsByLevel(source, target));
  EXPECT_EQ(plain::unload(target),
            levels({{0, 0, 0, 0}, {0, 128, 128, 0}, {0, 128, 128, 0}, {0, 0, 128, 0}}));
  EXPECT_EQ(target.xOrigin, 0);
  plain::load(source, levels({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}));
  ASSERT_TRUE(regionsByLevel(source, target));
  EXPECT_EQ(target.row(1)[1], 255);
}

TEST(WalkToMinima, GoesDownAndStopsAtTheBottomOrTheEdge) {
  CZZimage source, path;
  const int B = 200;
  const Picture valley = levels({{B, B, B, B, B, B},
                                 {B, B, B, B, B, B},
                                 {B, 90, 80, 70, B, B},
                                 {B, B, B, B, 60, B},
                                 {B, B, B, B, B, B}});
  plain::load(source, valley);
  plain::load(path, valley);
  const DownhillWalk walk = walkToMinima(source, path, {1, 2});
  EXPECT_EQ(walk.end, (Point{4, 3}));
  EXPECT_EQ(walk.steps, 3);
  EXPECT_EQ(plain::unload(path), levels({{B, B, B, B, B, B},
                                         {B, B, B, B, B, B},
                                         {B, 0, 1, 2, B, B},
                                         {B, B, B, B, 3, B},
                                         {B, B, B, B, B, B}}));
  // Right and down comes first, though straight on is as good; the edge is reached and not marked.
  const Picture slope = plain::mapped(plain::flat(8, 5, 0), [](int32_t x, int32_t) { return 100 - 10 * x; });
  plain::load(source, slope);
  plain::load(path, slope);
  const DownhillWalk out = walkToMinima(source, path, {2, 2});
  EXPECT_EQ(out.end, (Point{4, 4}));
  EXPECT_EQ(out.steps, 1);
  EXPECT_EQ(path.row(3)[3], 1);
  EXPECT_EQ(path.row(4)[4], 60);
  // A ring: a turn by d - 2 is not among those looked at, by d + 2 the walk goes round until its limit.
  Picture ring = plain::flat(9, 9, 99);
  for (int32_t i = 2; i <= 6; ++i) ring.at(i, 2) = ring.at(i, 6) = ring.at(2, i) = ring.at(6, i) = 10;
  plain::load(source, ring);
  plain::load(path, ring);
  EXPECT_EQ(walkToMinima(source, path, {2, 2}).end, (Point{6, 2}));
  EXPECT_EQ(walkToMinima(source, path, {2, 6}).steps, 81);
  // A flat image is walked straight on, first down to the right.
  plain::load(source, plain::flat(6, 6, 50));
  plain::load(path, plain::flat(6, 6, 50));
  EXPECT_EQ(walkToMinima(source, path, {1, 1}).end, (Point{5, 5}));
  EXPECT_EQ(walkToMinima(source, path, {9, 1}).steps, 0);
}

TEST(SmallFinders, GiveNothingOnTinyAndEmptyImages) {
  CZZimage image, target, empty;
  for (const Size size : {Size{1, 1}, {2, 5}, {5, 2}}) {
    plain::load(image, plain::flat(size.width, size.height, 3));
    EXPECT_TRUE(minimaInTolerance(image, 128, 5).empty());
    EXPECT_EQ(minimaInWindow(image, 128, 50, 50).size(), 1u);
    EXPECT_TRUE(regionsByLevel(image, target));
    EXPECT_EQ(target.countValue(0), int64_t{size.width} * size.height);
  }
  EXPECT_TRUE(minimaInTolerance(empty, 128, 5).empty());
  EXPECT_TRUE(minimaInWindow(empty, 128, 5, 5).empty());
  EXPECT_FALSE(regionsByLevel(empty, target));
  EXPECT_EQ(walkToMinima(empty, target, {0, 0}).steps, 0);
}

}  // namespace
}  // namespace tarnvisor
