#include "measure/dimcircle.h"
#include "measure/dimline.h"
#include "measure/dimlist.h"
#include "measure/dimpolygon.h"
#include "measure/dimrect.h"
#include "measure/segmentclip.h"
#include "support/recordingcanvas.h"

namespace tarnvisor {

void PrintTo(Point p, std::ostream* out) { *out << p.x << "," << p.y; }

namespace {

using Points = std::vector<Point>;
using Calls = std::vector<std::string>;
constexpr double kPi = std::numbers::pi;

template <class Kind>
Kind made(const Points& points, int32_t width = 1) {
  Kind dim;
  dim.width = width;
  for (const Point& point : points) dim.AddPoint(point);
  return dim;
}

TEST(DimensionMeasures, AreScaledPerAxis) {
  auto line = made<CDimLine>({{0, 0}, {3, 4}, {3, 4}, {6, 0}});
  EXPECT_EQ(line.Length(1.0, 1.0), 10.0);
  EXPECT_DOUBLE_EQ(line.Length(2.0, 0.5), 2 * std::sqrt(40.0));
  EXPECT_EQ(line.LengthX(2.0), 12.0);
  EXPECT_EQ(line.LengthY(0.5), 4.0);
  EXPECT_EQ(line.PathLength(1, 3, 1.0, 1.0), 5.0);
  EXPECT_EQ(line.PathLength(1, 99, 1.0, 1.0), 5.0);
  EXPECT_EQ(line.PathLength(3, 1, 1.0, 1.0), 0.0);
  EXPECT_EQ(line.Distance(0, 3, 0.5, 9.0), 3.0);
  EXPECT_DOUBLE_EQ(line.Direction(0, 1, 4.0, 3.0), kPi / 4);
  EXPECT_EQ(line.Direction(0, 4, 1.0, 1.0), 0.0);
  EXPECT_EQ(line.Area(1.0, 1.0), 0.0);
}

TEST(DimensionMeasures, ShapesWithoutEnoughPointsMeasureNothing) {
  for (const Points& points : {Points{}, Points{{4, 5}}}) {
    auto line = made<CDimLine>(points, 5);
    auto circle = made<CDimCircle>(points);
    auto rect = made<CDimRect>(points);
    auto polygon = made<CDimPolygon>(points);
    for (CDim* dim : std::initializer_list<CDim*>{&line, &circle, &rect, &polygon}) {
      for (const double none : {dim->Length(1, 1), dim->LengthX(1), dim->LengthY(1), dim->Area(1, 1)})
        EXPECT_EQ(none, 0.0);
      EXPECT_EQ(dim->AreaIn({0, 0, 9, 9}, true, 1, 1), 0.0);
      EXPECT_EQ(dim->Perpendicular(5), nullptr);
      EXPECT_EQ(dim->DistanceTo(7, 2) <= 3, !points.empty());
      EXPECT_EQ(dim->Overlaps({4, 5, 5, 6}, false), !points.empty());
      dim->Close();
      EXPECT_EQ(dim->points, points);
    }
    EXPECT_TRUE(line.outline.empty());
    EXPECT_EQ(circle.bounds, Rect{});
  }
}

TEST(DimensionMeasures, PointsAlongTheChordAreTruncated) {
  const auto line = made<CDimLine>({{0, 0}, {10, 0}, {10, 10}});
  Point p;
  line.PointAtFraction(0.25, p);
  EXPECT_EQ(p, (Point{2, 2}));
  line.PointAtDistance(15.0, p);  // three quarters of the length, but on the chord
  EXPECT_EQ(p, (Point{7, 7}));
  made<CDimLine>({{3, 4}, {3, 4}}).PointAtDistance(5.0, p);
  EXPECT_EQ(p, (Point{3, 4}));
}

TEST(DimensionMeasures, CirclesAreInARegionWhereTheirCentreIsHoweverDrawn) {
  const Rect rect{100, 100, 200, 200};
  const auto check = [&](Point centre, bool inRect, bool inCircle) {
    SCOPED_TRACE(format("%i,%i", centre.x, centre.y));
    for (const Point half : {Point{20, 0}, Point{0, 20}, Point{-12, 16}}) {
      auto dim =
          made<CDimCircle>({{centre.x - half.x, centre.y - half.y}, {centre.x + half.x, centre.y + half.y}});
      EXPECT_EQ(dim.Overlaps(rect, false), inRect);
      EXPECT_EQ(dim.Overlaps(rect, true), inCircle);
      EXPECT_DOUBLE_EQ(dim.LengthIn(rect, true, 1, 1), inCircle ? 40.0 : 0.0);
      EXPECT_DOUBLE_EQ(dim.AreaIn(rect, false, 1, 1), inRect ? 400 * kPi : 0.0);
    }
  };
  check({150, 101}, true, true);
  check({103, 104}, true, false);
  check({95, 150}, false, false);
}

TEST(DimensionMeasures, CirclesTakeTheDiameterFromTwoPoints) {
  auto circle = made<CDimCircle>({{0, 0}, {6, 8}});
  EXPECT_EQ(circle.bounds, (Rect{-2, -1, 8, 9}));
  EXPECT_DOUBLE_EQ(circle.Area(2.0, 3.0), 150 * kPi);
  Point anchor;
  circle.Anchor(anchor);
  EXPECT_EQ(anchor, (Point{3, 4}));
  circle.RemovePoint(1);
  EXPECT_EQ(circle.bounds, Rect{});
}

TEST(DimensionMeasures, RectanglesAreNormalisedAndPolygonsClosed) {
  const auto rect = made<CDimRect>({{10, 2}, {4, 7}});
  EXPECT_EQ(rect.bounds, (Rect{4, 2, 10, 7}));
  EXPECT_EQ(rect.Area(2.0, 3.0), 180.0);
  EXPECT_EQ(rect.AreaIn({8, 0, 20, 4}, false, 2.0, 3.0), 24.0);
  EXPECT_NEAR(made<CDimRect>({{0, 0}, {40, 40}}).AreaIn({10, 10, 30, 30}, true, 2.0, 3.0), 600 * kPi, 1e-9);

  auto polygon = made<CDimPolygon>({{0, 0}, {10, 0}, {10, 10}, {0, 10}});
  EXPECT_EQ(polygon.Area(1, 1), 50.0);  // open: the last point is taken as the closing one
  polygon.Close();
  polygon.Close();
  EXPECT_EQ(polygon.pointCount(), 5);
  EXPECT_EQ(polygon.points.back(), (Point{0, 0}));
  EXPECT_EQ(polygon.Area(2.0, 0.5), 100.0);
  EXPECT_EQ(polygon.AreaIn({9, 9, 30, 30}, false, 1, 1), 100.0);
  EXPECT_EQ(polygon.AreaIn({3, 3, 5, 5}, false, 1, 1), 0.0);  // no segment comes in
  Point anchor;
  polygon.Anchor(anchor);
  EXPECT_EQ(anchor, (Point{5, 5}));
}

TEST(DimensionEditing, TellsTheDistanceToWhatIsDrawn) {
  const auto line = made<CDimLine>({{10, 20}, {50, 50}});
  EXPECT_DOUBLE_EQ(line.DistanceTo(13, 16), 4) << "the square of a point's cross";
  EXPECT_DOUBLE_EQ(line.DistanceTo(36, 27), 10) << "at right angles from the middle";
  EXPECT_DOUBLE_EQ(made<CDimLine>({{10, 20}, {50, 50}}, 20).DistanceTo(36, 27), 0);
  const auto circle = made<CDimCircle>({{20, 50}, {80, 50}});
  EXPECT_DOUBLE_EQ(circle.DistanceTo(50, 83), 3);
  EXPECT_DOUBLE_EQ(circle.DistanceTo(50, 54), 4) << "from its centre";
  EXPECT_DOUBLE_EQ(made<CDimRect>({{20, 30}, {4, 10}}).DistanceTo(18, 20), 2);
  EXPECT_DOUBLE_EQ(made<CDimPolygon>({{0, 0}, {20, 0}, {20, 20}, {0, 20}}).DistanceTo(3, 10), 3);
}

TEST(DimensionEditing, APointThatIsMovedAltersTheShape) {
  auto circle = made<CDimCircle>({{20, 50}, {81, 50}});
  circle.MovePoint(1, {61, 50});
  EXPECT_EQ(circle.points, (Points{{40, 50}, {61, 50}})) << "the centre stays";
  auto polygon = made<CDimPolygon>({{0, 0}, {20, 0}, {20, 20}, {0, 0}});
  polygon.MovePoint(0, {1, 2});
  EXPECT_EQ(polygon.points, (Points{{1, 2}, {20, 0}, {20, 20}, {1, 2}})) << "it stays closed";
  auto line = made<CDimLine>({{0, 0}, {20, 0}});
  line.MovePoint(2, {5, 5});
  EXPECT_EQ(line.points, (Points{{0, 0}, {20, 0}}));
}

TEST(DimensionEditing, MovesTurnsAndScalesTruncating) {
  auto line = made<CDimLine>({{10, 0}, {20, 5}});
  line.MoveTo({-1, 3});
  EXPECT_EQ(line.points, (Points{{-1, 3}, {9, 8}}));
  auto turned = made<CDimLine>({{10, 0}, {0, 20}});
  turned.Rotate(kPi / 2, 0, 0);
  EXPECT_EQ(turned.points, (Points{{0, -10}, {20, 0}}));
  auto scaled = made<CDimLine>({{7, -7}, {8, 1}});
  scaled.Scale(1, 2);
  EXPECT_EQ(scaled.points, (Points{{3, -3}, {4, 0}}));
  scaled.Scale(5, 0);
  EXPECT_EQ(scaled.points, (Points{{3, -3}, {4, 0}}));
  EXPECT_EQ(scaled.RemovePoint(7), 2);
  EXPECT_EQ(scaled.RemovePoint(0), 1);
}

TEST(DimensionEditing, PerpendicularsCrossTheMiddleOrLeaveTheStart) {
  const auto line = made<CDimLine>({{0, 0}, {10, 0}, {20, 0}}, 3);
  EXPECT_EQ(line.Perpendicular(10)->points, (Points{{10, 5}, {10, -5}}));
  EXPECT_EQ(line.Perpendicular(0.5)->points, (Points{{10, 10}, {10, -10}}));
  std::unique_ptr<CDimLine> one, other;
  line.PerpendicularsAtStart(one, other);
  EXPECT_EQ(one->points, (Points{{0, 0}, {0, 20}}));
  EXPECT_EQ(other->points, (Points{{0, 0}, {0, -20}}));
  EXPECT_EQ(one->width, 3);
}

TEST(WideLines, HaveAnOutlineWhoseCornersMeet) {
  const std::pair<Points, Points> cases[] = {
      {{{0, 0}, {10, 0}}, {{0, 2}, {10, 2}, {10, -2}, {0, -2}}},
      {{{0, 0}, {0, 10}}, {{-2, 0}, {-2, 10}, {2, 10}, {2, 0}}},
      {{{0, 0}, {10, 0}, {10, 10}}, {{0, 2}, {8, 2}, {8, 10}, {12, 10}, {12, -2}, {0, -2}}},
      // Parallel within 0.001 the vertex is offset straight; a little more, and the lines meet before it.
      {{{0, 0}, {10000, 0}, {20000, 9}}, {{0, 2}, {10000, 2}, {19999, 10}, {20000, 7}, {10000, -2}, {0, -2}}},
      {{{0, 0}, {10000, 0}, {20000, 11}}, {{0, 2}, {9999, 2}, {19999, 12}, {20000, 9}, {10000, -2}, {0, -2}}},
      {{{5, 5}, {5, 5}, {5, 9}}, {{3, 5}, {3, 5}, {3, 9}, {7, 9}, {7, 5}, {7, 5}}},
  };
  for (const auto& [points, outline] : cases) EXPECT_EQ(made<CDimLine>(points, 4).outline, outline);
  auto line = made<CDimLine>({{0, 0}, {10, 0}}, 4);
  line.width = 1;
  line.Update();
  EXPECT_TRUE(line.outline.empty());
}

TEST(SegmentClipping, CutsAtTheBorderItselfAndTruncates) {
  const Rect rect{0, 0, 20, 10}, square{0, 0, 20, 20};
  const struct {
    Point a, b;
    Rect rect;
    bool circle, inside;
    Point cutA, cutB;
  } cases[] = {
      {{-10, 5}, {30, 5}, rect, false, true, {0, 5}, {20, 5}},
      {{30, 5}, {-10, 5}, rect, false, true, {20, 5}, {0, 5}},
      {{3, 3}, {4, 4}, rect, false, true, {3, 3}, {4, 4}},
      {{-1, 0}, {2, 1}, rect, false, true, {0, 0}, {2, 1}},
      {{-10, -10}, {30, 30}, rect, false, true, {0, 0}, {10, 10}},
      {{-5, 4}, {4, -6}, rect, false, false, {}, {}},
      {{21, 0}, {21, 10}, rect, false, false, {}, {}},
      {{-5, 10}, {30, 10}, square, true, true, {0, 10}, {20, 10}},
      {{-5, 4}, {30, 4}, square, true, true, {2, 4}, {18, 4}},
      {{-5, -1}, {30, -1}, square, true, false, {}, {}},
      {{25, 10}, {30, 10}, square, true, false, {}, {}},
      {{4, 2}, {4, 30}, square, true, true, {4, 2}, {4, 18}},
      {{2, 2}, {2, 2}, square, true, false, {}, {}},
      {{INT32_MIN, INT32_MIN}, {INT32_MAX, INT32_MAX}, rect, false, true, {0, 0}, {10, 10}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.a) + " to " + testing::PrintToString(c.b));
    Point a = c.a, b = c.b;
    EXPECT_EQ(clipSegment(a, b, c.rect, c.circle), c.inside);
    EXPECT_EQ(a, c.inside ? c.cutA : c.a);
    EXPECT_EQ(b, c.inside ? c.cutB : c.b);
  }
}

TEST(DimensionClipping, KeepsTheInnerPartWithNewPointsOnTheBorder) {
  const std::tuple<Points, bool, Points> cases[] = {
      {{{-10, 5}, {30, 5}}, false, {{0, 5}, {20, 5}}},
      {{{-10, 5}, {10, 5}, {10, 30}}, false, {{0, 5}, {10, 5}, {10, 20}}},
      {{{-10, 5}, {10, 5}, {10, 30}, {15, 30}, {15, 5}},
       false,
       {{0, 5}, {10, 5}, {10, 20}, {15, 20}, {15, 5}}},
      {{{7, 7}}, true, {{7, 7}}},
      {{{10, 10}, {30, 10}}, true, {{10, 10}, {20, 10}}},
      {{{10, 10}, {1, 1}}, true, {{10, 10}, {2, 2}}},
      {{{30, 30}}, false, {}},
      {{{-10, 30}, {30, 30}}, false, {}},
  };
  for (const auto& [points, circle, kept] : cases) {
    auto line = made<CDimLine>(points);
    const bool remains = line.Clip({0, 0, 20, 20}, circle);
    EXPECT_EQ(remains ? line.points : Points{}, kept);
  }
  EXPECT_DOUBLE_EQ(made<CDimLine>({{-10, 5}, {30, 5}}).LengthIn({0, 0, 20, 20}, false, 2.0, 1.0), 40.0);
  EXPECT_DOUBLE_EQ(made<CDimLine>({{-10, 4}, {30, 4}}).LengthIn({0, 0, 20, 20}, true, 1.0, 1.0), 16.0);
  EXPECT_DOUBLE_EQ(made<CDimLine>({{-10, -10}, {10, 10}}).LengthIn({0, 0, 20, 20}, true, 1.0, 1.0), 10.0)
      << "not rounded";
}

TEST(DimensionClipping, LeavesOfAnAreaTheClosedPolygonOfWhatIsDrawn) {
  const Rect rect{0, 0, 100, 100};
  auto polygon = made<CDimPolygon>({{50, -10}, {110, 50}, {50, 110}, {-10, 50}, {50, -10}});
  polygon.label = "a";
  const auto cut = polygon.Clipped({0, 0, 100, 60}, false);
  EXPECT_EQ(cut->Area(1, 1), 4400.0);
  EXPECT_EQ(cut->points.back(), cut->points.front());
  EXPECT_EQ(cut->label, "a");
  EXPECT_EQ(polygon.Clipped({30, 30, 50, 50}, false)->Area(1, 1), 400.0) << "round all of the region";
  EXPECT_EQ(polygon.Clipped({200, 0, 300, 50}, false), nullptr);

  const auto circle = made<CDimCircle>({{50, 50}, {150, 50}});
  const auto half = circle.Clipped(rect, false);
  EXPECT_STREQ(half->classRecord().name, "CDimPolygon");
  EXPECT_NEAR(half->Area(1, 1), 1250 * kPi, 12);
  EXPECT_STREQ(circle.Clipped({50, 0, 150, 100}, false)->classRecord().name, "CDimCircle");
  EXPECT_EQ(made<CDimCircle>({{90, 100}, {110, 100}}).Clipped({0, 0, 20, 20}, false), nullptr);

  const auto square = made<CDimRect>({{50, 50}, {150, 150}});
  EXPECT_EQ(square.Clipped(rect, false)->points, (Points{{50, 50}, {100, 100}}));
  EXPECT_NEAR(square.Clipped(rect, true)->Area(1, 1), 625 * kPi, 8);
}

TEST(DimensionClipping, DoneAgainChangesNothing) {
  const CDim& polygon = made<CDimPolygon>({{3, -40}, {150, 53}, {-40, 91}, {3, -40}});
  const CDim& circle = made<CDimCircle>({{-20, 33}, {71, 45}});
  const CDim& line = made<CDimLine>({{-1, 5}, {30, 5}, {31, 120}});
  for (const CDim* dim : {&polygon, &circle, &line})
    for (const bool round : {false, true}) {
      const auto once = dim->Clipped({0, 0, 100, 100}, round);
      EXPECT_EQ(once->Clipped({0, 0, 100, 100}, round)->points, once->points);
    }
}

TEST(DimensionClipping, PointsBelongToTheHalfOpenRectangleAndTheCircleOfItsHeight) {
  const auto points = made<CDimLine>({{10, 0}, {10, 20}, {2, 2}, {3, 3}});
  const bool inRect[] = {true, false, true, true}, inCircle[] = {true, false, false, true};
  for (int32_t i = 0; i < 4; ++i) {
    EXPECT_EQ(points.PointIn(i, {0, 0, 20, 20}, false), inRect[i]) << i;
    EXPECT_EQ(points.PointIn(i, {0, 0, 20, 20}, true), inCircle[i]) << i;
  }
  EXPECT_FALSE(points.AllInside({0, 0, 20, 20}));
  EXPECT_TRUE(points.AllInside({0, 0, 20, 21}));
  EXPECT_TRUE(points.AnyPointIn({9, 0, 11, 1}, false));
  EXPECT_FALSE(points.AnyPointIn({4, 4, 9, 9}, false));
}

TEST(DimensionDrawing, ShowsLabelThenShapeThenBreaks) {
  RecordingCanvas canvas;
  auto line = made<CDimLine>({{10, 20}, {30, 40}});
  line.colour = 0xFF00;
  line.label = "w=3";
  line.breaks = {{50, 60}};
  line.Draw(canvas, true, "7");
  EXPECT_EQ(canvas.calls,
            (Calls{"pen ff00 width 1 dashed", "text 14,20 ff00 \"7 w=3\"", "polyline 10,20 30,40",
                   "polyline 7,20 13,20", "polyline 10,17 10,23", "polyline 27,40 33,40",
                   "polyline 30,37 30,43", "pen ff00 width 1", "polygon 47,60 50,57 53,60 50,63"}));
}

TEST(DimensionDrawing, EachKindHasItsShape) {
  const auto calls = [](const CDim& dim) {
    RecordingCanvas canvas;
    dim.Draw(canvas, false, "");
    return Calls(canvas.calls.begin() + 1, canvas.calls.end());
  };
  EXPECT_EQ(calls(made<CDimLine>({{0, 0}, {10, 0}}, 4)), Calls{"polygon 0,2 10,2 10,-2 0,-2"});
  EXPECT_EQ(calls(made<CDimLine>({{5, 5}}, 4)), (Calls{"polyline 2,5 8,5", "polyline 5,2 5,8"}));
  EXPECT_EQ(calls(made<CDimCircle>({{0, 0}, {6, 8}})), Calls{"ellipse -2,-1-8,9"});
  EXPECT_EQ(calls(made<CDimRect>({{9, 9}, {2, 3}})), Calls{"rectangle 2,3-9,9"});
  EXPECT_EQ(calls(made<CDimPolygon>({{0, 0}, {6, 8}, {0, 8}})),
            (Calls{"polyline 0,0 6,8 0,8", "polyline 0,8 0,0"}));
}

TEST(HostileCoordinates, SaturateInsteadOfOverflowing) {
  auto line = made<CDimLine>({{INT32_MIN, INT32_MAX}, {INT32_MAX, INT32_MIN}, {0, 1}}, INT32_MAX);
  for (const double sum : {line.Length(1, 1), line.LengthX(1), line.LengthY(1)})
    EXPECT_TRUE(std::isfinite(sum));
  line.MoveTo({INT32_MAX, 0});
  EXPECT_EQ(line.points, (Points{{INT32_MAX, 0}, {INT32_MAX, INT32_MIN}, {INT32_MAX, -INT32_MAX + 1}}));
}

}  // namespace
}  // namespace tarnvisor
