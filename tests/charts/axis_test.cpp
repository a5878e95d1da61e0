// The scales that axes find, and what they paint.
#include "charts/axis.h"

#include "support/logcapture.h"
#include "support/recordingcanvas.h"

namespace tarnvisor {
namespace {

constexpr double kInfinite = std::numeric_limits<double>::infinity();
constexpr double kTiny = std::numeric_limits<double>::denorm_min();
constexpr double kLargest = std::numeric_limits<double>::max();

TEST(FindFactor, TakesTheFirstBaseStrictlyBetweenTheLimits) {
  const std::tuple<double, double, double, double, int32_t, double, int32_t> cases[] = {
      {0.01, 10, 40, 2, 1, 0.2, 10},  // 0.1 is at the lower limit, not above it
      {0.01, 10, 40, 3, 1, 0.2, 4},  {0.01, 10, 40, 6, 1, 0.2, 2},
      {0.01, 10, 40, 15, 1, 0.2, 1}, {0.01, 10, 40, 99, 1, 0.2, 1},
      {100, 10, 36, 2, 1, 2000, 10}, {1, 10, 20, 1, -1, 1.0, 1},  // 10 and 20 are the limits themselves
      {1, 20, 50, 1, -1, 1.0, 1},    {1, 49, 51, 1, 2, 50, 10},
      {1, 49, 51, 6, 2, 50, 5},      {1, 49, 51, 11, 2, 50, 1}};  // 50 has no half
  for (const auto& [s, minpx, maxpx, u, index, major, minor] : cases) {
    CValueAxis axis;
    axis.minpx = minpx;
    axis.maxpx = maxpx;
    axis.u = u;
    axis.major = 77;
    EXPECT_EQ(axis.findfactor(s, CAxis::decimal()), index);
    EXPECT_DOUBLE_EQ(axis.major, major);
    EXPECT_EQ(axis.minor, minor) << u;
    EXPECT_EQ(axis.s, s);
  }
}

TEST(FindFactor, OfTimeChoosesTheUnitByWhatTheLargestDistanceSpans) {
  const std::tuple<double, double, double, const char*, int32_t, double, int32_t> cases[] = {
      {100, 10, 36, "minutes", 1, 20, 4},                                       // 3600 exactly
      {101, 10, 36, "hours", 0, 1, 10},     {2, 10, 30, "seconds", 2, 50, 10},  // 60 exactly
      {2.1, 10, 30, "minutes", 0, 1, 10},   {0.5, 2.4, 4, "seconds", 4, 1.5, 1},
      {0.25, 1, 4, "seconds", 2, 0.5, 1},      // 1 exactly
      {0.01, 15.5, 19, "seconds", -1, 1, 1}};  // no 0.15 among the decimal bases
  for (const auto& [s, minpx, maxpx, units, index, major, minor] : cases) {
    CTimeAxis axis;
    axis.minpx = minpx;
    axis.maxpx = maxpx;
    axis.u = 2;
    EXPECT_EQ(axis.findTimeFactor(s), index) << s;
    EXPECT_EQ(axis.units, units);
    EXPECT_DOUBLE_EQ(axis.major, major);
    EXPECT_EQ(axis.minor, minor) << s;
    axis.setScale(s);
    EXPECT_EQ(axis.s, s) << "the scale is kept in seconds";
  }
}

TEST(Scales, OfZeroAreALogLineAndNoChange) {
  const LogCapture log;
  CTimeAxis axis;
  axis.maxpx = 40;
  axis.minpx = 10;
  axis.setScale(0.5);
  const double major = axis.major;
  EXPECT_EQ(axis.findfactor(0, CAxis::decimal()), -1);
  EXPECT_EQ(axis.findTimeFactor(-0.0), 0);
  axis.setScale(0);
  EXPECT_EQ(axis.s, 0.5);
  EXPECT_EQ(axis.major, major);
  EXPECT_EQ(log.text(), "CAxis::findfactor s=0\nCAxis::findTimeFactor s=0\nCAxis::setScale = 0\n");
}

TEST(Scales, BeyondAllReasonEndAndPaintWithinTheAxis) {
  for (const double s :
       {kTiny, 3 * kTiny, 1e-310, 1e-200, 1e200, kLargest, kInfinite, -kInfinite, -1.0, double(NAN)})
    for (const int32_t pos : {0, 5, INT32_MAX, INT32_MIN}) {
      RecordingCanvas canvas;
      CValueAxis values;
      CTimeAxis times;
      for (CAxis* axis : std::initializer_list<CAxis*>{&values, &times}) {
        axis->measure(canvas);
        axis->pos = pos;
        axis->size = 300;
        axis->setScale(s);
      }
      values.paintLeft(canvas, {60, 0, 400, 300}, 0);
      times.paintBelow(canvas, {60, 0, 400, 300}, 0);
      EXPECT_LT(canvas.calls.size(), 1000u) << s;
    }
}

TEST(Scales, GiveNoTicksWhereThereAreMoreThanPixels) {
  CValueAxis axis;
  CAxis::Ticks range;
  axis.s = 1.0;
  axis.size = 100;
  axis.pos = 7;
  EXPECT_TRUE(axis.ticks(range));
  EXPECT_EQ(range.first, 7);
  EXPECT_EQ(range.last, 107);
  axis.minor = 2;
  EXPECT_FALSE(axis.ticks(range));
  axis.major = 30;
  EXPECT_TRUE(axis.ticks(range));
  EXPECT_EQ(range.first, 0);
  EXPECT_EQ(range.last, 4);
  axis.pos = -31;
  EXPECT_TRUE(axis.ticks(range));
  EXPECT_EQ(range.first, -2);
}

TEST(Labels, HaveAsManyDigitsAsTheirDistanceNeeds) {
  const std::pair<double, int32_t> cases[] = {{20, 0},   {1, 0},    {0.5, 1},    {0.1, 1},
                                              {0.02, 2}, {1e-9, 9}, {kTiny, 324}};
  for (const auto& [major, digits] : cases) EXPECT_EQ(CAxis::digits(major), digits) << major;
}

TEST(Axes, TakeTheirSizesFromTheFont) {
  struct Proportional final : RecordingCanvas {
    Size textSize(const std::string& words) const override {
      int32_t width = 0;
      for (const char c : words) width += c == 'i' ? 3 : 8;
      return {width, 16};
    }
  };
  CValueAxis values;
  values.measure(Proportional());
  EXPECT_EQ(values.u, 24);
  EXPECT_EQ(values.charw, 8);
  EXPECT_EQ(values.tickLength, 10);
  EXPECT_EQ(values.minpx, 168);
  EXPECT_EQ(values.maxpx, 432);
  CTimeAxis times;
  times.measure(RecordingCanvas());
  EXPECT_EQ(times.u, 16) << "every letter is as wide";
  EXPECT_DOUBLE_EQ(times.minpx, 14.7);
  EXPECT_EQ(times.maxpx, 56);
}

TEST(Axes, OfTimePaintBelowAndAboveAndKeepTheUnitFree) {
  CTimeAxis axis;
  RecordingCanvas below, above;
  axis.measure(below);
  axis.size = 100;
  axis.setScale(0.05);
  axis.paintBelow(below, {10, 20, 110, 50}, 0);
  EXPECT_THAT(below.calls, testing::ElementsAre(
                               "pen 0 width 1", "polyline 10,50 110,50", "text 61,72 0 \"seconds\"",
                               "polyline 10,50 10,70", "text 7,72 0 \"0     \"", "polyline 30,50 30,70",
                               "text 27,72 0 \"1     \"", "polyline 50,50 50,70", "text 47,72 0 \"2     \"",
                               "polyline 70,50 70,70", "polyline 90,50 90,70", "polyline 110,50 110,70"));
  axis.pos = 10;
  axis.paintAbove(above, {10, 20, 110, 50}, 0);
  EXPECT_THAT(above.calls, testing::IsSupersetOf({"polyline 10,20 110,20", "polyline 20,20 20,0",
                                                  "text 17,-18 0 \"1     \"", "text 61,-18 0 \"seconds\""}));
}

TEST(Axes, OfValuesPaintUpwardLeftOfThePlot) {
  CValueAxis axis;
  RecordingCanvas canvas;
  axis.measure(canvas);
  axis.size = 600;
  axis.units = "mm/s";
  axis.setScale(0.01);
  const Rect plot{60, 0, 400, 600};
  axis.paintLeft(canvas, plot, 0);
  // Texts stay beside the axis at its ends, and the unit has the place of the topmost label.
  EXPECT_THAT(canvas.calls, testing::IsSupersetOf({"polyline 60,600 60,0", "text 10,0 0 \"mm/s\"",
                                                   "polyline 40,600 60,600", "text 31,584 0 \"0     \"",
                                                   "polyline 50,580 60,580", "polyline 40,400 60,400",
                                                   "text 31,392 0 \"2     \"", "polyline 40,0 60,0"}));
  EXPECT_EQ(canvas.calls.size(), 3u + 31u + 3u) << "thirty-one ticks, three of them with a label";
  axis.size = 410;  // the label at 4 would touch the unit
  RecordingCanvas shorter;
  axis.paintLeft(shorter, plot, 0);
  EXPECT_THAT(shorter.calls, Not(Contains(StartsWith("text 31,192"))));
  EXPECT_THAT(shorter.calls, Contains("polyline 40,200 60,200"));
  axis.size = 100;  // too short for three labels: the ticks between have theirs
  RecordingCanvas shortest;
  axis.paintLeft(shortest, plot, 0);
  EXPECT_THAT(shortest.calls, Contains("text 17,552 0 \"0.4   \""));
}

}  // namespace
}  // namespace tarnvisor
