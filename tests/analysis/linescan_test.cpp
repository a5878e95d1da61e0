#include "analysis/linescan.h"

#include "linescans.h"
#include "support/testing.h"

namespace tarnvisor {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(RowVelocities, AreOfRowsLessTheirRunningMean) {
  Scan scan({}, 3, 2);
  scan.put(0, std::array{100.0, 50.0});
  scan.put(1, std::array{120.0, 50.0});
  scan.put(2, std::array{120.0, 60.0});
  scan.calculate();
  EXPECT_EQ(scan.difference.data->at(0, 0), 64);
  EXPECT_EQ(scan.difference.data->at(1, 0), 84);
  EXPECT_EQ(scan.difference.data->at(2, 0), 83);  // the mean has moved by a twentieth
  EXPECT_EQ(scan.difference.data->at(2, 1), 74);
}

TEST(RowVelocities, AreTheBestLagInPointsASecond) {
  Flowing scan({});
  scan.calculate();
  EXPECT_NEAR(scan.uncut.data->at(40), 30, 1e-9);
  // Half of 21 points is 10: five percent too fast.
  Flowing odd({}, 60, 21, 20);
  odd.calculate();
  EXPECT_NEAR(odd.uncut.data->at(40), 21, 1e-9);
  Flowing apart({.gap = 3});
  apart.calculate();
  EXPECT_NEAR(apart.uncut.data->at(40), 30, 1e-9);
}

TEST(RowVelocities, AreOnlyThoseThatPassTheLimit) {
  Flowing scan({});
  scan.calculate();
  const double reached = scan.correlation.data->at(40);
  Flowing passed({.coeflimit = (reached - 1) / 1000});
  passed.calculate();
  EXPECT_NEAR(passed.cbv.data->at(40), 30, 1e-9);
  Flowing equal({.coeflimit = reached / 1000});
  equal.calculate();
  EXPECT_EQ(equal.cbv.data->at(40), kNoReading);
  EXPECT_NEAR(equal.uncut.data->at(40), 30, 1e-9);
}

TEST(RowVelocities, AreTheSameEachTime) {
  Flowing scan({});
  scan.calculate();
  const CdataVect::Own first = scan.correlation.data->clone();
  scan.calculate();
  for (uint32_t row = 0; row < 60; ++row) EXPECT_EQ(scan.correlation.data->at(row), first->at(row)) << row;
}

TEST(RowVelocities, HaveCorrelationsThatAreAveragedInTime) {
  Flowing averaged({.filter = 4}), single({.filter = 1});
  averaged.calculate();
  single.calculate();
  const double before = averaged.correllogram.data->at(20, 3), own = single.correllogram.data->at(21, 3);
  EXPECT_EQ(averaged.correllogram.data->at(21, 3), std::trunc((own - before) / 4 + before));
}

TEST(RowVelocities, AreNoneOfAnEmptyRow) {
  Flowing scan({});
  scan.scan.zeroat(30);
  scan.calculate();
  for (const ZZTrace* trace : {&scan.cbv, &scan.uncut, &scan.correlation})
    EXPECT_EQ(trace->data->at(30), kNoReading);
  scan.stepper.rowstep(scan.parameters, scan.traces, 30);
  EXPECT_EQ(scan.uncut.data->at(0), kNoReading);
}

TEST(RowVelocities, AreAtNoEdgeUnlessAskedFor) {
  // Correlations that fall from lag 0 on.
  const auto still = [](bool zeropeak) {
    Scan scan({.hipass = false, .zeropeak = zeropeak}, 4, 16);
    for (uint32_t row = 0; row < 4; ++row) {
      std::vector<double> values(16);
      for (size_t i = 0; i < 16; ++i)
        values[i] = i == 3 ? 90 : i == 4 ? 40 + row : 10 + 0.5 * static_cast<double>(i);
      scan.put(row, values);
    }
    scan.calculate();
    return scan.cbv.data->at(3);
  };
  EXPECT_EQ(still(true), 0);
  EXPECT_EQ(still(false), kNoReading);
}

TEST(RowVelocities, AreNoneWithoutAnythingToCompare) {
  const auto good = [](const std::function<double(uint32_t, size_t)>& level) {
    Scan scan({.filter = 1}, 12, 32);
    for (uint32_t row = 0; row < 12; ++row) {
      std::vector<double> values(32);
      for (size_t i = 0; i < 32; ++i) values[i] = level(row, i);
      scan.put(row, values);
    }
    scan.calculate();
    return scan.statistics().goodRows;
  };
  const auto wave = [](size_t i) { return 100 + 40 * std::sin(static_cast<double>(i) * 0.9); };
  EXPECT_EQ(good([&](uint32_t row, size_t i) { return wave(i + 29 * row); }), 10);
  EXPECT_EQ(good([&](uint32_t, size_t i) { return wave(i); }), 0);
  EXPECT_EQ(good([&](uint32_t row, size_t i) { return row < 5 ? wave(i) : wave(i + 1); }), 0);
  EXPECT_EQ(good([&](uint32_t row, size_t) { return wave(row); }), 0);
  EXPECT_EQ(good([&](uint32_t row, size_t i) { return row == 5 && i == 9 ? kNaN : wave(i + 29 * row); }), 8);
  EXPECT_EQ(good([&](uint32_t, size_t) { return std::numeric_limits<double>::infinity(); }), 0);
}

TEST(RowVelocities, PassOverWhatIsMissing) {
  RowVelocity rows;
  rows.rowstep({}, {}, 0);
  Scan scan({.gap = 100}, 4, 1);
  scan.put(0, std::array{5.0});
  scan.calculate();
  EXPECT_EQ(scan.cbv.data->at(0), kNoReading);
}

TEST(RowVelocities, CanUseAllColumnsOfTheLine) {
  for (const bool hipass : {true, false}) {
    Flowing scan({.linesperpoint = 2, .hipass = hipass, .twod = true}, 60, 33);
    C2DTrace wide(kWordRowsCode, 60, 66), difference(kDoubleRowsCode, 60, 66);
    for (uint32_t row = 0; row < 60; ++row) {
      wide.setextent(row, 33);
      for (uint32_t i = 0; i < 66; ++i) wide.data->putcell(row, i, scan.scan.data->at(row, i / 2));
    }
    wide.period = difference.period = 0.1;
    scan.traces.scan2D = &wide;
    if (hipass) scan.traces.difference = &difference;
    scan.calculate();
    EXPECT_NEAR(scan.uncut.data->at(40), 30 * 33 / 32.0, 1e-9) << hipass;
  }
}

TEST(TwoLineVelocities, TakeDelaysForOneRowLess) {
  const auto velocityAt = [](uint32_t delay) {
    Scan scan({.cbvmethod = kTwoLines, .linedistance = 12, .noofpoints = 10}, 40, 2, 0.5);
    for (uint32_t row = 0; row < 40; ++row) scan.line1.data->putval(row, 20 * std::sin(row * row * 0.07));
    for (uint32_t row = delay; row < 40; ++row)
      scan.line2.data->putval(row, scan.line1.data->at(row - delay));
    scan.calculate();
    return scan.cbv.data->at(35);
  };
  EXPECT_EQ(velocityAt(5), 12 / (4 * 0.5));
  EXPECT_EQ(velocityAt(8), 12 / (7 * 0.5));
  EXPECT_EQ(velocityAt(1), 0);
  EXPECT_EQ(velocityAt(40), -12 / 0.5);  // no peak
}

TEST(HoughMaps, CountTheStraightLinesThroughWhatIsAboveTheThreshold) {
  Scan scan({}, 30, 10, 0.01);
  for (uint32_t row = 0; row < 30; ++row) scan.difference.setextent(row, 10);
  scan.difference.data->putcell(12, 4, 90.0);
  C2DTrace map(kWordRowsCode, houghRows(scan.difference, scan.scan), kHoughColumns);
  ASSERT_EQ(map.size(), 31);
  houghMap(scan.parameters, scan.difference, scan.scan, map);
  EXPECT_EQ(map.data->at(31 - 18, 255), 1);  // angle 0: rows from the newest one on
  double votes = 0;
  for (uint32_t row = 0; row < 31; ++row)
    for (uint32_t k = 0; k < kHoughColumns; ++k) votes += map.data->at(row, k);
  EXPECT_EQ(votes, 256);
  EXPECT_NEAR(map.yoffset, 26.565, 1e-3);
  EXPECT_NEAR(map.extent(3), 63.435, 1e-3);
}

TEST(HoughSlopes, FollowAStripe) {
  Scan scan({.houghlowpass = 0, .houghmin = 10}, 100, 40, 0.01);
  C2DTrace map(kWordRowsCode, houghRows(scan.difference, scan.scan), kHoughColumns);
  houghMap(scan.parameters, scan.difference, scan.scan, map);
  EXPECT_THAT(houghSlopes(scan.parameters, scan.difference, scan.scan, map), IsEmpty());
  for (uint32_t row = 0; row < 100; ++row) scan.difference.setextent(row, 40);
  for (uint32_t row = 30; row < 72; ++row)
    for (uint32_t i = row < 32 ? 32 - row : 0; i < std::min(3u, 72 - row); ++i)
      scan.difference.data->putcell(row, row - 32 + i, 200.0);
  houghMap(scan.parameters, scan.difference, scan.scan, map);
  const std::vector<Slope> slopes = houghSlopes(scan.parameters, scan.difference, scan.scan, map);
  ASSERT_THAT(slopes, SizeIs(1));
  EXPECT_NEAR(slopes[0].velocity(), 100, 3);
  EXPECT_NEAR(slopes[0].middle(), 0.5, 0.02);
  EXPECT_EQ(slopes[0].y1, 40);
}

TEST(CorrelationSlopes, RunThroughTheMiddleOfTheLine) {
  Scan scan({.correlpeakwindow = 4}, 20, 10, 0.5);
  scan.correlation.data->putval(5, 900.0);
  scan.correlation.data->putval(10, 800.0);
  scan.correlation.data->putval(15, 700.0);
  scan.correlation.data->putval(18, 200.0);  // not above the limit
  scan.cbv.data->putval(5, 2.0);
  scan.cbv.data->putval(10, 20.0);
  const Slope slow{1.5, 3, 3.5, 7}, fast{4.75, 0, 5.25, 10}, standing{7.4, 5, 7.6, 5};
  EXPECT_THAT(slopesFromCorrelation(scan.parameters, scan.traces), ElementsAre(slow, fast, standing));
  scan.cbv.data->putval(5, -2.0);
  EXPECT_EQ(slopesFromCorrelation(scan.parameters, scan.traces)[0], (Slope{1.5, 7, 3.5, 3}));
}

TEST(CorrelationSlopes, AreOneForEachPeakUpToAThousand) {
  Scan scan({.correlpeakwindow = 1}, 1300, 10);
  scan.correlation.data->putval(5, 900.0);
  scan.correlation.data->putval(6, 800.0);
  EXPECT_THAT(slopesFromCorrelation(scan.parameters, scan.traces), SizeIs(2));
  scan.correlation.data->fillrange(1, 1300, 900.0);
  EXPECT_THAT(slopesFromCorrelation(scan.parameters, scan.traces), SizeIs(kMostSlopes));
}

TEST(SlopeLists, AreSortedByTheirMiddles) {
  std::vector<Slope> slopes{{4, 0, 6, 1}, {0, 0, 2, 1}, {1, 5, 1, 1}};
  sortSlopes(slopes);
  EXPECT_THAT(slopes, ElementsAre(Slope{0, 0, 2, 1}, Slope{1, 5, 1, 1}, Slope{4, 0, 6, 1}));
}

TEST(LimitCurve, IsOfTheVelocitiesWhoseCorrelationPassesALimit) {
  Scan scan({}, 4, 10);
  for (uint32_t i = 0; i < 4; ++i) {
    scan.uncut.data->putval(i, std::array{10.0, 20.0, kNoReading, 30.0}[i]);
    scan.correlation.data->putval(i, std::array{40.0, 80.0, 90.0, 1000.0}[i]);  // the last is passed over
  }
  const LimitCurves curves = limitCurves(scan.traces);
  EXPECT_EQ(curves.mean[9], 15);
  EXPECT_EQ(curves.mean[10], 20);
  EXPECT_EQ(curves.least[9], 10);
  EXPECT_EQ(curves.greatest[9], 20);
  EXPECT_EQ(curves.count[9], 2);
  EXPECT_EQ(curves.count[20], 0);
  EXPECT_TRUE(std::isnan(curves.mean[20]));
}

TEST(VelocityFigures, AreOfGoodRowsAlone) {
  Scan scan({.gap = 2}, 10, 10);
  for (uint32_t row = 1; row < 9; ++row) {
    scan.correllogram.setextent(row, 1);
    scan.correlation.data->putval(row, 500.0);
    scan.cbv.data->putval(row, row < 7 ? 10.0 * row : kNoReading);
  }
  scan.cbv.data->putval(5, kNaN);
  const VelocityStatistics found = scan.statistics();
  EXPECT_EQ(found.rows, 8);
  EXPECT_EQ(found.goodRows, 3);  // not the first two, which look back on rows that are not there
  EXPECT_NEAR(found.mean, 130.0 / 3, 1e-9);
  EXPECT_EQ(found.least, 30);
  EXPECT_EQ(found.greatest, 60);
  EXPECT_EQ(found.correlation, 0.5);
  EXPECT_EQ(velocityStatistics(scan.traces, scan.parameters, 4, 5).mean, 40);
  EXPECT_FALSE(velocityStatistics(scan.traces, scan.parameters, 7, 3).hasReading());
}

TEST(TracePairs, CorrelateOverHalfTheShorterOne) {
  CTrace first(kDoubleCode, 8), second(kDoubleCode, 20);
  first.period = 0.25;
  for (uint32_t i = 0; i < 4; ++i) first.data->putval(i, std::array{1.0, 4.0, 2.0, 7.0}[i]);
  for (uint32_t i = 0; i < 4; ++i) second.data->putval(i + 2, first.data->at(i));
  const ZZTrace::Own made = correlateTraces(first, second);
  ASSERT_EQ(made->size(), 4);
  EXPECT_EQ(made->period, 0.25);
  EXPECT_NEAR(made->data->at(2), 1000, 1e-9);
  EXPECT_EQ(correlateTraces(CTrace(kDoubleCode, 1), second), nullptr);
}

TEST(VelocityReviews, PlaceTheLeastCorrelationOfEachRow) {
  C2DTrace source(kWordRowsCode, 4, 8);
  source.period = 0.5;
  const std::array<double, 8> values{9, 1, 7, 2, 8, 3, 1, 5};
  for (const uint32_t row : {0u, 1u, 3u}) {
    source.setextent(row, 8);
    for (uint32_t i = 0; i < 8; ++i) source.data->putcell(row, i, values[i]);
  }
  const VelocityReview made = reviewVelocity(source, 0, 0);
  EXPECT_EQ(made.correlation->width(), 5);
  EXPECT_EQ(made.correlation->ygain, 2);
  EXPECT_EQ(made.correlation->extent(0), 0);
  EXPECT_EQ(made.correlation->extent(1), 8);
  EXPECT_EQ(made.correlation->extent(2), 0);
  EXPECT_EQ(made.correlation->extent(3), 8);  // against the last one that holds something
  EXPECT_EQ(made.correlation->data->at(1, 4), 1000);
  EXPECT_EQ(made.cbv->size(), 4);
  EXPECT_EQ(made.cbv->data->at(2), 0);
}

}  // namespace
}  // namespace tarnvisor
