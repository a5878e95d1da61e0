#include "analysis/linescan.h"

#include "base/files.h"
#include "support/linescans.h"
#include "support/testing.h"

namespace tarnvisor {
namespace {

// Three points a row, at 10 rows a second; calculated.
struct Flowing : SimulatedScan {
  explicit Flowing(const VelocityParameters& with, uint32_t rows = 60, uint16_t points = 64,
                   double velocity = 30)
      : SimulatedScan(with, rows, points, 10) {
    fill({.seed = 3, .velocity = velocity, .noise = 2});
    calculate();
  }
};

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(RowVelocities, AreOfRowsLessTheirRunningMean) {
  SimulatedScan scan({}, 3, 2);
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
  EXPECT_NEAR(Flowing({}).uncut.data->at(40), 30, 1e-9);
  EXPECT_NEAR(Flowing({.gap = 3}).uncut.data->at(40), 30, 1e-9);
  // Half of 21 points is 10: five percent too fast.
  EXPECT_NEAR(Flowing({}, 60, 21, 20).uncut.data->at(40), 21, 1e-9);
}

TEST(RowVelocities, AreOnlyThoseThatPassTheLimit) {
  const double reached = Flowing({}).correlation.data->at(40);
  EXPECT_NEAR(Flowing({.coeflimit = (reached - 1) / 1000}).cbv.data->at(40), 30, 1e-9);
  EXPECT_EQ(Flowing({.coeflimit = reached / 1000}).cbv.data->at(40), kNoReading);
}

TEST(RowVelocities, HaveCorrelationsThatAreAveragedInTime) {
  Flowing averaged({.filter = 4}), single({.filter = 1});
  const double before = averaged.correllogram.data->at(20, 3), own = single.correllogram.data->at(21, 3);
  EXPECT_EQ(averaged.correllogram.data->at(21, 3), std::trunc((own - before) / 4 + before));
  averaged.calculate();
  EXPECT_EQ(averaged.correllogram.data->at(20, 3), before);
}

TEST(RowVelocities, AreNoneOfAnEmptyRow) {
  Flowing scan({});
  scan.scan.zeroat(30);
  scan.stepper.rowstep(scan.parameters, scan.traces, 30);
  for (const ZZTrace* trace : {&scan.cbv, &scan.uncut, &scan.correlation})
    EXPECT_EQ(trace->data->at(0), kNoReading);
}

TEST(RowVelocities, AreAtNoEdgeUnlessAskedFor) {
  // Correlations that fall from lag 0 on.
  const auto still = [](bool zeropeak) {
    SimulatedScan scan({.hipass = false, .zeropeak = zeropeak}, 4, 16);
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
    SimulatedScan scan({.filter = 1}, 12, 32);
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
  EXPECT_FALSE(Flowing({.gap = 100}, 40, 16).statistics().hasReading());
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
    SimulatedScan scan({.cbvmethod = kTwoLines, .linedistance = 12, .noofpoints = 10}, 40, 2, 2);
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
  SimulatedScan scan({}, 30, 10, 100);
  EXPECT_THAT(scan.slopes(), IsEmpty());
  for (uint32_t row = 0; row < 30; ++row) scan.difference.setextent(row, 10);
  scan.difference.data->putcell(12, 4, 90.0);
  houghMap(scan.parameters, scan.difference, scan.scan, scan.map);
  ASSERT_EQ(scan.map.size(), 31);
  EXPECT_EQ(scan.map.data->at(31 - 18, 255), 1);  // angle 0: rows from the newest one on
  EXPECT_EQ(scan.map.data->mean() * 31, 1);       // one vote a column
  EXPECT_NEAR(scan.map.yoffset, 26.565, 1e-3);
  EXPECT_NEAR(scan.map.extent(3), 63.435, 1e-3);
}

TEST(HoughSlopes, FollowAStripe) {
  SimulatedScan scan({.houghmin = 10}, 100, 40, 100);
  drawStripe(scan, 1, 2, 0);
  const std::vector<Slope> slopes = scan.slopes();
  ASSERT_THAT(slopes, SizeIs(1));
  EXPECT_NEAR(slopes[0].velocity(), 100, 3);
  EXPECT_NEAR(slopes[0].middle(), 0.5, 0.02);
  EXPECT_EQ(slopes[0].y1, 40);
}

TEST(CorrelationSlopes, RunThroughTheMiddleOfTheLine) {
  SimulatedScan scan({.correlpeakwindow = 4}, 20, 10, 2);
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
  SimulatedScan scan({.correlpeakwindow = 1}, 1300, 10);
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
  SimulatedScan scan({}, 4, 10);
  for (uint32_t i = 0; i < 4; ++i) {
    scan.uncut.data->putval(i, std::array{10.0, 20.0, kNoReading, 30.0}[i]);
    scan.correlation.data->putval(i, std::array{40.0, 80.0, 90.0, 1000.0}[i]);  // the last is passed over
  }
  const LimitCurves curves = limitCurves(scan.traces);
  EXPECT_EQ(curves.mean[9], 15);
  EXPECT_EQ(curves.mean[10], 20);
  EXPECT_EQ(curves.least[9], 10);
  EXPECT_EQ(curves.count[9], 2);
  EXPECT_EQ(curves.count[20], 0);
  EXPECT_TRUE(std::isnan(curves.mean[20]));
}

TEST(VelocityFigures, AreOfGoodRowsAlone) {
  SimulatedScan scan({.gap = 2}, 10, 10);
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

TEST(VelocityReviews, AreComputedAsALinescanIs) {
  Flowing scan({});
  const VelocityReview made = reviewVelocity(scan.scan, 0, 0);
  ASSERT_NE(made.cbv, nullptr);
  EXPECT_EQ(made.correlation->width(), scan.correllogram.width());
  for (const uint32_t row : {0U, 20U, 40U}) EXPECT_EQ(made.cbv->data->at(row), scan.cbv.data->at(row)) << row;
  EXPECT_TRUE(made.cbv->isAbsent(kNoReading));
}

TEST(VelocityFigures, SayHowFarTheyCanBeTrusted) {
  EXPECT_STREQ(wordsFor(reliabilityOf({100, 90, 64, 30, 20, 40, 0.6, 3})), "good");
  EXPECT_STREQ(wordsFor(reliabilityOf({100, 30, 64, 30, 20, 40, 0.6, 3})), "fair");
  EXPECT_STREQ(wordsFor(reliabilityOf({100, 90, 64, 30, 20, 40, 0.25, 3})), "fair");
  EXPECT_STREQ(wordsFor(reliabilityOf({100, 90, 64, 30, 20, 40, 0.6, 1.4})), "unreliable");
  EXPECT_STREQ(wordsFor(reliabilityOf({100, 5, 64, 30, 20, 40, 0.6, 3})), "unreliable");
  EXPECT_STREQ(wordsFor(reliabilityOf({100, 90, 20, 30, 20, 40, 0.6, 3})), "unreliable");
  EXPECT_STREQ(wordsFor(reliabilityOf({100, 0, 64})), "no reading");
}

TEST(VelocityFigures, WarnOfWhatTheLineCannotTell) {
  const VelocityStatistics found{100, 90, 64, 30, 20, 40, 0.7, 3};
  EXPECT_EQ(velocityWarning(found, {}, 0.1), "");
  EXPECT_EQ(velocityWarning(found, {.gap = 10}, 0.1), "too fast for the line and rate");
  EXPECT_EQ(velocityWarning(found, {}, 0.01), "too slow to tell from standing still");
  EXPECT_EQ(velocityWarning(found, {.cbvmethod = kTwoLines, .linedistance = 30}, 0.6),
            "too fast for the line and rate");
}

TEST(LagCorrelations, AreTheSameOnAllProcessors) {
  std::mt19937 random(7);
  std::vector<double> a(61), b(61 + 45), dots(45);
  for (double& x : a) x = std::sin(random());
  for (double& x : b) x = std::sin(random());
  lagDots(a.data(), b.data(), a.size(), dots.size(), dots.data());
  for (size_t l = 0; l < dots.size(); ++l) {
    double sum = 0;
    for (size_t i = 0; i < a.size(); ++i) sum += a[i] * b[i + l];
    EXPECT_EQ(dots[l], sum) << l;
  }
}

// --- with the additions

constexpr VelocityParameters kFine{.subpoint = true, .bothways = true};

// With a pattern of that height which stands.
VelocityStatistics measured(const CellColumn::Settings& cells, int32_t gap = 1, uint16_t points = 64,
                            double standing = 0) {
  VelocityParameters with = kFine;
  with.gap = gap;
  SimulatedScan scan(with, static_cast<uint32_t>(std::max(200, 4 * gap)), points, cells.rate);
  scan.fill(cells);
  for (uint32_t row = 0; row < scan.scan.size(); ++row)
    for (uint32_t i = 0; i < points; ++i) scan.scan.data->addat(row, i, standing * std::sin(0.7 * i));
  scan.calculate();
  return scan.statistics();
}

TEST(FineVelocities, AreRightWhereverCellsPass) {
  const auto share = [](double velocity, double rate, double noise, int32_t gap, uint16_t points,
                        double length = 10) {
    return measured({.velocity = velocity, .rate = rate, .noise = noise, .columnLength = length}, gap, points)
               .mean /
           velocity;
  };
  EXPECT_NEAR(share(2, 30, 10, 225, 64), 1, 0.03);
  EXPECT_NEAR(share(10, 120, 0, 180, 100, 40), 1, 0.03);
  EXPECT_NEAR(share(30, 60, 20, 30, 100), 1, 0.03);
  EXPECT_NEAR(share(2000, 120, 20, 1, 64), 1, 0.03);
  EXPECT_NEAR(share(30, 60, 5, 1, 64), 1, 0.03);  // half a point a row
  EXPECT_NEAR(share(90, 60, 10, 1, 64), 1, 0.03);
}

TEST(FineVelocities, AreNegativeBackwardsAndNothingOfStandingOrNoise) {
  EXPECT_NEAR(measured({.velocity = -300, .noise = 10}).mean, -300, 9);
  EXPECT_NEAR(measured({.velocity = 300}, 1, 64, 30).mean, 300, 9);
  EXPECT_GT(measured({.velocity = 30}).least, 15);  // never standing while it flows
  EXPECT_GT(measured({.velocity = 0, .noise = 10}).share(), 0.85);
  EXPECT_EQ(measured({.velocity = 0, .noise = 10}).mean, 0);
  EXPECT_EQ(measured({.velocity = 0, .noise = 0}).greatest, 0);
  for (const uint16_t points : {20, 64})
    EXPECT_FALSE(measured({.noise = 10, .depth = 0}, 1, points).hasReading());
}

TEST(FineVelocities, AreNeverTakenForNoReading) {
  SimulatedScan scan({.hipass = false, .filter = 1, .bothways = true}, 6, 80);
  for (uint32_t row = 0; row < 6; ++row) {
    std::vector<double> values(80);
    for (size_t i = 0; i < 80; ++i)
      values[i] = std::exp(-std::pow(static_cast<double>(i + row) - 40, 2) / 20);
    scan.put(row, values);
  }
  scan.calculate();
  EXPECT_NE(scan.cbv.data->at(4), kNoReading);
  EXPECT_DOUBLE_EQ(scan.cbv.data->at(4), -1);
  EXPECT_GE(scan.correllogram.data->at(1, 39), 990);  // one column before the middle
}

TEST(FineTwoLineVelocities, HaveTheTrueDelayAndItsSign) {
  VelocityParameters with = kFine;
  with.cbvmethod = kTwoLines;
  with.linedistance = 20;
  with.noofpoints = 64;
  for (const double delay : {-7.0, 2.0, 5.0, 20.0}) {
    SimulatedScan scan(with, 400, 2, 10);
    scan.fillLines({.velocity = 200 / delay, .noise = 2}, 20);
    scan.calculate();
    EXPECT_NEAR(scan.statistics().mean * delay / 200, 1, 0.03) << delay;
  }
}

TEST(FineTwoLineVelocities, AreReadOfFewSamplesToo) {
  VelocityParameters with = kFine;
  with.cbvmethod = kTwoLines;
  with.linedistance = 20;
  SimulatedScan scan(with, 400, 2, 10);
  scan.fillLines({.velocity = 200 / 3.0, .noise = 0}, 20);
  scan.calculate();
  EXPECT_NEAR(scan.statistics().mean * 3 / 200, 1, 0.03);
}

TEST(FineHoughSlopes, HitAStripeOfAnySpeed) {
  VelocityParameters with = kFine;
  with.houghmin = 10;
  for (const double points : {0.5, 5.0, 40.0}) {
    SimulatedScan scan(with, 256, 128, 60);
    drawStripe(scan, points, 4);
    const auto slopes = scan.slopes();
    ASSERT_THAT(slopes, SizeIs(1)) << points;
    EXPECT_NEAR(slopes[0].velocity() / 60 / points, 1, 0.05) << points;
  }
}

TEST(FineHoughSlopes, GoTheWayOfTheCellsAndNoiseHasNone) {
  const auto slopesOf = [](double velocity, double depth) {
    SimulatedScan scan(kFine, 400, 64, 60);
    scan.fill({.velocity = velocity, .noise = 10, .depth = depth});
    scan.calculate();
    return scan.slopes();
  };
  const std::vector<Slope> backward = slopesOf(-300, 70);
  ASSERT_FALSE(backward.empty());
  EXPECT_NEAR(backward[backward.size() / 2].velocity(), -300, 9);
  EXPECT_TRUE(slopesOf(0, 0).empty());
}

TEST(FineVelocities, ChangeLittleWithLongAveraging) {
  VelocityParameters with = kFine;
  with.gap = 15;
  std::vector<double> means;
  for (with.filter = 4; with.filter <= 64; with.filter *= 16) {
    SimulatedScan scan(with, 300, 64, 30);
    scan.fill({.velocity = 10, .noise = 5});
    scan.calculate();
    means.push_back(scan.statistics().mean);
  }
  EXPECT_NEAR(means[1] / means[0], 1, 0.06);
}

TEST(FineVelocities, AreThoseOfRecordedVessels) {
  const char* named = std::getenv("TARNVISOR_TEST_DATA");
  const std::string data = withSeparator(named ? named : TEST_DATA_FOLDER);
  std::string why;
  const auto reader = VideoReader::open(data + kRecording, why);
  if (!reader) GTEST_SKIP() << why;
  VelocityParameters with = kFine;
  for (const RecordedVessel& vessel : kRecordedVessels)
    for (with.gap = 3; with.gap <= 4; ++with.gap) {
      SimulatedScan scan(with, 240, vessel.points, kRecordedRate);
      ASSERT_TRUE(fill(scan, *reader, vessel));
      scan.calculate();
      EXPECT_NEAR(scan.statistics().mean * kRecordedPixel / vessel.speed, 1, 0.2) << vessel.speed;
    }
}

}  // namespace
}  // namespace tarnvisor
