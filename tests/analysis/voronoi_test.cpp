#include "analysis/voronoi.h"

#include "support/testing.h"

namespace tarnvisor {
namespace {

using Edge = std::array<int32_t, 2>;

// A square of four facets about site 4, two sites at one place, lines that end in blanks.
const std::string output =
    "3\n0 1 4 \n1 4 2 \n4 0 3 2 \n"
    "2\n4 6 1\n-10.101 -10.101 \n    15     15 \n25.9 -15.2\n1e2 0\n"
    "3 1 2 3 \n0\n2 0 1 \n1 2\n0\n3 3 2 1\n";

TEST(Voronoi, OutputGivesEdgesOnceVerticesAndRegions) {
  const auto d = readVoronoi(output);
  ASSERT_TRUE(d);
  // A facet of four has its ring only: 4-0 and 1-4 were there, no diagonal.
  EXPECT_THAT(d->edges, ElementsAre(Edge{0, 1}, Edge{1, 4}, Edge{4, 0}, Edge{4, 2}, Edge{2, 1}, Edge{0, 3},
                                    Edge{3, 2}));
  ASSERT_EQ(d->vertices.size(), 4u);
  EXPECT_EQ(d->vertices[2].x, 25.9);
  EXPECT_EQ(d->vertices[3].x, 100);
  ASSERT_EQ(d->regionCount(), 6u);
  EXPECT_THAT(d->region(0), ElementsAre(1, 2, 3));
  EXPECT_THAT(d->region(1), IsEmpty());
  EXPECT_THAT(d->region(5), ElementsAre(3, 2, 1));
}

TEST(Voronoi, OutputThatIsCutOffOrDamagedGivesNothing) {
  // The last line may lack its end, and nothing else.
  for (size_t length = 0; length + 2 < output.size(); ++length)
    EXPECT_FALSE(readVoronoi(output.substr(0, length))) << length;
  // Three dimensions, vertices that there are not, no numbers, counts beyond the text.
  for (const char* text : {"0\n3\n1 0 1\n0 0\n", "0\n2\n1 1 1\n0 0\n1 1\n", "0\n2\n1 1 1\n0 0\n1 -1\n",
                           "0\n2\n1 1 1\nnan 0\n0\n", "0\n2\n1 1 1\n0 inf\n0\n", "0\n2\n1 1 1\n0 0\n-1\n",
                           "-1\n2\n0 0 1\n", "0\n2\n1 -1 1\n0 0\n", "9999999999999999999\n2\n0 0 1\n",
                           "0\n2\n4000000000 1 1\n0 0\n0\n", "0\n2\n1 1 1\n0 0\n2147483647 0 0 0\n"})
    EXPECT_FALSE(readVoronoi(text)) << text;
  EXPECT_TRUE(readVoronoi("0\r\n2\r\n0 0 1\r\n"));
}

TEST(Voronoi, APointIsInTheRectangleHalfOpenAndInTheCircleWithItsEdge) {
  const Rect r{10, 10, 31, 50};  // centre 20, 30; radius 10.5
  const std::tuple<Point, bool, bool> cases[] = {
      {{20, 30}, true, true},   {{10, 10}, true, false},  {{30, 49}, true, false},
      {{31, 30}, false, false}, {{20, 50}, false, false}, {{9, 30}, false, false},
      {{10, 30}, true, true},   {{30, 33}, true, true},   {{30, 34}, true, false}};
  for (const auto& [point, inRectangle, inCircle] : cases) {
    EXPECT_EQ(isInRegionOfInterest(point, r, false), inRectangle) << point.x << "," << point.y;
    EXPECT_EQ(isInRegionOfInterest(point, r, true), inCircle) << point.x << "," << point.y;
  }
  EXPECT_TRUE(isInRegionOfInterest({10, 20}, {10, 10, 30, 30}, true)) << "just on the edge";
}

TEST(Voronoi, ARegionIsKeptWholeOrDroppedWhole) {
  const auto d = readVoronoi(
      "0\n2\n5 6 1\n-10.101 -10.101\n-0.9 5.9\n40 8\n9.99 20\n1e300 0\n"
      "3 1 2 3\n3 3 2 0\n0\n2 4 3\n1 3\n3 2 1 3\n");
  ASSERT_TRUE(d);
  const Rect image{0, 0, 50, 50};
  const auto kept = [&](size_t i, const Rect& working) { return keptRegion(*d, i, image, working, false); };
  EXPECT_THAT(kept(0, image), ElementsAre(Point{0, 5}, Point{40, 8}, Point{9, 20})) << "truncated";
  EXPECT_THAT(kept(0, {0, 0, 40, 50}), IsEmpty());
  EXPECT_THAT(kept(0, {-90, -90, 90, 90}).size(), 3u);
  EXPECT_THAT(kept(1, {-90, -90, 90, 90}), IsEmpty()) << "infinity is never in the image";
  EXPECT_THAT(kept(2, image), IsEmpty());
  EXPECT_THAT(kept(3, image), IsEmpty());
  EXPECT_THAT(kept(4, image), ElementsAre(Point{9, 20}));
}

TEST(Voronoi, AKroghCircleHasTheAreaAboutItsSite) {
  const double area = 100 * 3.14159265358979;  // radius 10
  EXPECT_THAT(kroghCircle({50.5, 40.5}, area), ElementsAre(Point{41, 40}, Point{61, 40}));
  EXPECT_THAT(kroghCircle({3, 40}, area), ElementsAre(Point{-6, 40}, Point{14, 40})) << "towards zero";
  EXPECT_THAT(kroghCircle({3, 4}, 0), ElementsAre(Point{3, 4}, Point{3, 4}));
}

}  // namespace
}  // namespace tarnvisor
