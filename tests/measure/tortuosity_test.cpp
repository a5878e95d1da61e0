#include "measure/tortuosity.h"

#include "measure/dimcircle.h"
#include "measure/dimline.h"
#include "measure/dimlist.h"
#include "support/logcapture.h"

namespace tarnvisor {
namespace {

using Points = std::vector<Point>;

class Tortuosity : public testing::Test {
 protected:
  void TearDown() override { tortuositySettings = {}; }
};

// Two steps that turn down, then one that turns up, then down again: curves of 40 over a chord of 20 *
// sqrt(2) and of 30 over 30, in a walk of 100.
const Points stairs{{0, 0}, {20, 0}, {20, 20}, {50, 20}, {50, 50}};

TEST_F(Tortuosity, CountsCurvesAndTheirExcess) {
  const double excess = std::sqrt(2.0) - 1;
  const struct {
    const char* what;
    Points points;
    TortuositySettings limits;
    double tortuosity;
    int32_t curves;
    Points breaks;
  } cases[] = {
      {"two points", {{0, 0}, {50, 0}}, {}, 0.0, 0, {}},
      {"straight", {{0, 0}, {20, 0}, {40, 0}}, {}, 0.0, 0, {{0, 0}}},
      {"one curve", {{0, 0}, {20, 0}, {20, 20}, {40, 20}}, {}, 0.0, 1, {{0, 0}, {20, 20}}},
      {"two curves", stairs, {}, excess / 100, 2, {{0, 0}, {20, 20}, {50, 20}}},
      {"second curve too short", stairs, {.mincurvelength = 30.0}, 0.0, 1, {{0, 0}, {20, 20}, {50, 20}}},
      {"turns too small", stairs, {.minangle = 91.0}, 0.0, 0, {{0, 0}}},
      // Back and forth: pi is a turn the one way, -pi one the other.
      {"reversals",
       {{0, 0}, {20, 0}, {-10, 0}, {40, 0}, {60, 0}},
       {},
       4.0 / 120,
       2,
       {{0, 0}, {-10, 0}, {40, 0}}},
      // Steps of 5 are merged until the chord is over 10: 12 along the axis, so nothing turns.
      {"zigzag", {{0, 0}, {4, 3}, {8, 0}, {12, 0}, {24, 0}}, {.minangle = 40}, 0.0, 0, {{0, 0}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    tortuositySettings = c.limits;
    CDimLine line;
    line.points = c.points;
    int32_t curves = 9;
    for (int again = 0; again < 2; ++again)
      EXPECT_DOUBLE_EQ(line.Tortuosity1(1.0, 1.0, curves), c.tortuosity);
    EXPECT_EQ(curves, c.curves);
    EXPECT_EQ(line.breaks, c.breaks);
  }
}

TEST_F(Tortuosity, OfTheFirstKindIsLengthOverChordInPixels) {
  CDimLine line;
  line.points = {{0, 0}, {10, 0}};
  EXPECT_EQ(line.Tortuosity0(), 1.0);
  line.points = {{0, 0}, {3, 4}, {6, 0}};
  EXPECT_DOUBLE_EQ(line.Tortuosity0(), 10.0 / 6);
  line.points.push_back({0, 0});
  EXPECT_TRUE(std::isinf(line.Tortuosity0()));  // the ends meet
  CDimCircle circle;
  circle.points = stairs;
  int32_t curves = 9;
  EXPECT_EQ(circle.Tortuosity0(), 0.0);
  EXPECT_EQ(circle.Tortuosity1(1, 1, curves), 0.0);
  EXPECT_EQ(curves, 0);
}

TEST_F(Tortuosity, SumsOverAListInScaledUnits) {
  CDimList list;
  for (int i = 0; i < 2; ++i) {
    const int32_t index = list.add(stairs[0], CDimList::kPolyline);
    for (size_t k = 1; k < stairs.size(); ++k) list.addPointTo(index, stairs[k]);
  }
  int32_t curves = 0;
  EXPECT_DOUBLE_EQ(list.totalTortuosity1(2, 2, curves), (std::sqrt(2.0) - 1) / 100);
  EXPECT_EQ(curves, 4);
}

TEST_F(Tortuosity, WritesItsWalkToTheLogWhenAsked) {
  const LogCapture log;
  tortuositySettings.log = true;
  CDimLine line;
  line.points = {stairs[0], {5, 0}, stairs[1], stairs[2], stairs[3], stairs[4]};
  int32_t curves = 0;
  line.Tortuosity1(1, 1, curves);
  EXPECT_EQ(log.text(),
            "  1\t  0\t   5.00\t\n"
            "  2\t  0\t  20.00\t  20.00\t0.000\t0.000\t0.000\t\n"
            "  3\t  2\t  20.00\t  40.00\t1.571\t0.000\t1.571\t1\t\n"
            "  4\t  3\t  30.00\t  70.00\t0.000\t1.571\t-1.571\t0\t  40.00\t 1\t28.28\t0.414\t0.414\t\n"
            "  5\t  4\t  30.00\t 100.00\t1.571\t0.000\t1.571\t1\t  30.00\t 2\t30.00\t0.000\t0.414\t\n");
}

}  // namespace
}  // namespace tarnvisor
