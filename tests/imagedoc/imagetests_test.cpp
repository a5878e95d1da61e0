// The tests of the optics, and the live charts of grey levels.
#include "imagedoc/imagetests.h"

#include "analysis/profile.h"
#include "base/clock.h"
#include "charts/livechartdoc.h"
#include "imagedoc/levelchart.h"
#include "imagedoc/texts.h"
#include "support/imagedoctest.h"
#include "support/recordingcanvas.h"
#include "traces/tracetests.h"

namespace tarnvisor {
namespace {

std::vector<uint8_t> levelsOf(std::initializer_list<int> values) { return {values.begin(), values.end()}; }

TEST(RuledRow, FindsTheLeftEdgesAndTheContrastOfARuledTarget) {
  // Mean 100: high runs 180 and 200, low ones down to 18 and 60; the row ends high.
  const RuledRow row = measureRuledRow(levelsOf({180, 170, 20, 18, 30, 200, 190, 60, 90, 60, 150, 32}));
  EXPECT_DOUBLE_EQ(row.mean, 100.0);
  EXPECT_EQ(row.threshold, 100);
  EXPECT_EQ(row.minimum, 18);
  EXPECT_THAT(row.leftEdges, ElementsAre(2, 7, 11));
  EXPECT_DOUBLE_EQ(row.smallestRatio, 10.0);
  EXPECT_DOUBLE_EQ(row.largestRatio, 30.0);
}

TEST(RuledRow, APixelAtTheThresholdBeginsALowRunAndEndsOne) {
  // Mean 50: the 50 in the low run is an edge of its own, without a high run and so without a ratio.
  const RuledRow row = measureRuledRow(levelsOf({100, 20, 50, 30, 50, 50}));
  EXPECT_EQ(row.threshold, 50);
  EXPECT_THAT(row.leftEdges, ElementsAre(1, 2, 4, 5));
  EXPECT_DOUBLE_EQ(row.smallestRatio, 20.0);
  EXPECT_DOUBLE_EQ(row.largestRatio, 20.0);
}

TEST(RuledRow, KeepsAtMost256EdgesAndTakesAFlatRow) {
  EXPECT_THAT(measureRuledRow(std::vector<uint8_t>(1000, 7)).leftEdges, SizeIs(256));
  const RuledRow none = measureRuledRow({});
  EXPECT_TRUE(none.leftEdges.empty());
  EXPECT_EQ(none.smallestRatio, 100.0);
  EXPECT_EQ(none.largestRatio, 0.0);
}

class Optics : public ImageDocument {
 protected:
  std::string table(const char* name) { return readWholeText(folder.file("data/") + name).value_or("none"); }
  FixedClock clock{1'700'000'000};  // 2023-11-14 22:13:20
};

TEST_F(Optics, AutocalOnARuledImageWritesItsRecordALineAndTheNotes) {
  ZBasicDoc& d = makeImage(64, 20);
  for (int32_t x = 0; x < 64; ++x) d.image->setPixel(x, 9, x % 8 < 4 ? 200 : 50);
  d.imagefile = "ruler, new.bmp";
  d.stationIdFirst = "lab";
  d.capturetime = 1'600'000'000;  // 2020-09-13 12:26:40
  const std::string record =
      "\"ruler, new.bmp\",lab,9,125.00,50,125,56,8,4,60,25.0,25.0,2020-09-13 12:26:40,2023-11-14 22:13:20";
  for (const int times : {1, 2}) {
    host.fill({});
    EXPECT_TRUE(autocalTest(d, 9));
    EXPECT_EQ(d.currentDims().size(), times);
  }
  EXPECT_EQ(
      table("autocal.csv"),
      "file,device,y,av,min,threshold,length,nlefts,left,right,maxcontrast%,mincontrast%,captured,now\n" +
          record + "\n" + record + "\n");
  EXPECT_THAT(d.notes, HasSubstr(record + "\r\n" + record + "\r\n"));
  EXPECT_EQ(d.currentDims().at(0).points, (std::vector<Point>{{4, 9}, {60, 9}}));
  EXPECT_TRUE(d.isModified());
  EXPECT_FALSE(autocalTest(d, 20));
  EXPECT_FALSE(autocalTest(d, -1));
}

TEST_F(Optics, VignetteMeasuresBothDiagonals) {
  ZBasicDoc& d = makeImage(100, 100);
  d.image->fill(200);
  // The first diagonal, from the lower left up, passes through here.
  d.image->setPixel(80, 20, 100);
  d.imagefile = "flat.bmp";
  EXPECT_TRUE(vignetteTest(d));
  EXPECT_EQ(app->documents.active(), &d);
  ASSERT_EQ(d.currentDims().size(), 2);
  EXPECT_EQ(d.currentDims().at(0).points, (std::vector<Point>{{5, 95}, {95, 5}}));
  EXPECT_EQ(d.currentDims().at(1).points, (std::vector<Point>{{5, 5}, {95, 95}}));
  const auto lines = split(table("vignette.csv"), '\n');
  ASSERT_THAT(lines, SizeIs(3));
  EXPECT_EQ(lines[0], "file,device,av1,min1,max1,%,av2,min2,max2,%,captured,now");
  EXPECT_THAT(lines[1], HasSubstr("flat.bmp,,199."));
  EXPECT_THAT(lines[1], EndsWith(",100,200,50.0,200.0,200,200,100.0,,2023-11-14 22:13:20"));
  EXPECT_THAT(d.notes, EndsWith(lines[1] + "\r\n"));
}

TEST_F(Optics, AFailedWriteIsToldAndTheRecordStaysInTheNotes) {
  ZBasicDoc& d = makeImage(40, 40);
  std::filesystem::create_directory(folder.file("data/vignette.csv"));
  EXPECT_FALSE(vignetteTest(d));
  ASSERT_FALSE(host.messages.empty());
  EXPECT_THAT(host.messages.back(), HasSubstr("vignette.csv"));
  EXPECT_EQ(d.currentDims().size(), 2);
  EXPECT_THAT(d.notes, EndsWith("2023-11-14 22:13:20\r\n"));
  // A disc that is full.
  EXPECT_FALSE(appendRecord("/dev/full", "head", "record"));
}

// --- the charts

class Charts : public ImageDocument {
 protected:
  static ZliveChartDoc* chart(LevelChart kind) {
    return findLiveChart(kind == LevelChart::Profile ? "Grey level profile" : "Histogram");
  }
  static std::vector<double> valuesOf(const ZliveChartDoc& chart) { return samplesOf(*chart.firsttrace()); }
  static std::vector<std::string> paneTexts(const CDocument& d) {
    std::vector<std::string> all;
    for (const StatusPane& pane : d.views().front()->panes()) all.push_back(pane.text);
    return all;
  }
};

TEST(LevelsAlong, TakeOneSampleAPixelOfThePathAndNoneOutside) {
  CZZimage image(20, 10);
  for (int32_t y = 0; y < 10; ++y)
    for (int32_t x = 0; x < 20; ++x) image.setPixel(x, y, static_cast<uint8_t>(10 * y + x));
  const auto along = [&](std::vector<Point> path) { return levelsAlong(image, path); };
  EXPECT_THAT(along({{2, 1}, {5, 1}, {5, 3}}), ElementsAre(12, 13, 14, 15, 25, 35));
  EXPECT_THAT(along({{3, 0}, {0, 0}}), ElementsAre(3, 2, 1, 0));
  EXPECT_THAT(along({{7, 4}}), ElementsAre(47));
  EXPECT_THAT(along({{-2'000'000'000, 2}, {2'000'000'000, 2}}), SizeIs(20));
  EXPECT_THAT(along({{30, 2}, {40, 9}}), SizeIs(0));
  EXPECT_THAT(along({}), SizeIs(0));
  // Sloped, and in many short pieces.
  EXPECT_THAT(along({{0, 0}, {9, 9}}), SizeIs(14));
  EXPECT_THAT(along({{0, 0}, {1, 1}}), ElementsAre(0, 11));
  std::vector<Point> stairs;
  for (int32_t i = 0; i < 10; ++i) stairs.push_back({i, i});
  EXPECT_EQ(along(stairs), along({{0, 0}, {9, 9}}));
  EXPECT_DOUBLE_EQ(lengthWithin(image, stairs), 9 * std::numbers::sqrt2);
  EXPECT_THAT(along({{3, 3}, {3, 3}}), ElementsAre(33));
  CZZimage field(4, 8, -1, 1), colour(1, 1, -1, 0, kColour);
  field.setPixel(2, 6, 99);
  EXPECT_EQ(greyLevelAt(field, {2, 7}), 99);
  const uint8_t blueGreenRed[] = {100, 50, 200};
  std::copy_n(blueGreenRed, 3, colour.row(0));
  EXPECT_DOUBLE_EQ(greyLevelAt(colour, {0, 0}), 100 * 0.114 + 50 * 0.587 + 200 * 0.299);
}

TEST_F(Charts, ProfileFollowsTheLineThatIsSelected) {
  ZBasicDoc& d = makeImage(50, 40);
  d.image->fill(30);
  d.image->setPixel(12, 20, 90);
  d.calibrated = 1;
  d.magx = d.magy = 2;
  for (const int32_t y : {20, 21}) {
    (void)d.addDimension({10, y}, 1);
    (void)d.addPointToDimension(d.currentDims().size() - 1, {14, y});
  }
  showGreyLevelProfile(d, 0);
  ZliveChartDoc* c = chart(LevelChart::Profile);
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(app->documents.active(), c);
  EXPECT_EQ(c->title(), "Grey level profile");
  EXPECT_THAT(valuesOf(*c), ElementsAre(30, 30, 90, 30, 30));
  EXPECT_EQ(c->firsttrace()->period, 2.0);
  EXPECT_THAT(paneTexts(*c), ::testing::IsSupersetOf({"mean= 42.0", "min= 30.0", "max= 90.0"}));
  refreshLevelCharts(d, 1);
  EXPECT_THAT(valuesOf(*c), Each(30));
  const Point sloped[] = {{3, 4}, {4, 5}, {5, 6}, {6, 7}};
  previewLevelProfile(d, sloped);
  EXPECT_DOUBLE_EQ(c->firsttrace()->timeof(c->firsttrace()->size() - 1), 6 * std::numbers::sqrt2)
      << "the whole length";
  refreshLevelCharts(d, 1);
  refreshLevelCharts(d, -1);  // the line that was shown stays
  EXPECT_THAT(valuesOf(*c), Each(30));
}

TEST_F(Charts, HistogramCountsTheRegionOfInterest) {
  ZBasicDoc& d = makeImage(50, 40);
  d.image->fill(30);
  d.image->setPixel(12, 20, 90);
  d.roi = {10, 10, 20, 30};
  showHistogram(d);
  ZliveChartDoc* c = chart(LevelChart::Histogram);
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(c->title(), "Histogram");
  ASSERT_THAT(valuesOf(*c), SizeIs(256));
  EXPECT_EQ(valuesOf(*c)[30], 199);
  EXPECT_EQ(valuesOf(*c)[90], 1);
  EXPECT_THAT(c->firsttrace()->name, EndsWith("mean= 30.3 mode= 30 pixels=200"));
  ASSERT_TRUE(d.image->setColourset(kColour));
  d.image->fill(64);
  refreshLevelCharts(d, -1);
  EXPECT_EQ(valuesOf(*c)[63] + valuesOf(*c)[64], 200);
}

TEST_F(Charts, FollowEachMoveOfALiveSliderAndItsCancelling) {
  ZBasicDoc& d = makeImage(50, 40);
  showHistogram(d);
  app->documents.activate(d);
  const ZliveChartDoc* c = chart(LevelChart::Histogram);
  const auto before = valuesOf(*c);
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"Adjust brightness/contrast", "brightness", "0"}, {"Threshold", "threshold", "40"}};
  for (const auto& [command, slider, place] : cases) {
    host.fills.push_back([&, slider = slider, place = place](Form& form) {
      EXPECT_EQ(form.find(slider)->take(place), "");
      form.changed();
      EXPECT_NE(valuesOf(*c), before) << slider;
      return false;
    });
    run(command);
    EXPECT_EQ(valuesOf(*c), before) << command;
  }
}

TEST_F(Charts, TakeALineOfTheParentFrame) {
  ZBasicDoc& d = makeImage(50, 40);
  d.image->fill(30);
  d.image->setPixel(12, 20, 90);
  d.image->xOrigin = 100;
  d.image->yOrigin = 200;
  (void)d.addDimension({110, 220}, 1);
  (void)d.addPointToDimension(0, {114, 220});
  showGreyLevelProfile(d, 0);
  EXPECT_THAT(valuesOf(*chart(LevelChart::Profile)), ElementsAre(30, 30, 90, 30, 30));
  d.setModified(false);
  EXPECT_TRUE(vignetteTest(d));
  EXPECT_EQ(d.currentDims().at(2).points, (std::vector<Point>{{105, 205}, {145, 235}}));
}

TEST_F(Charts, ThereIsOneOfAKindThatOutlivesItsDocumentAndNeverAsksToBeSaved) {
  ZBasicDoc& first = makeImage(30, 30);
  showHistogram(first);
  ZliveChartDoc* c = chart(LevelChart::Histogram);
  ZBasicDoc& second = makeImage(40, 30);
  showHistogram(second);
  EXPECT_EQ(chart(LevelChart::Histogram), c);
  EXPECT_EQ(app->documents.active(), c);
  EXPECT_EQ(followedBy(LevelChart::Histogram), &second);
  EXPECT_FALSE(c->isModified());
  process.imageTemplate->discard(second);
  EXPECT_EQ(followedBy(LevelChart::Histogram), nullptr);
  refreshLevelCharts(first, -1);
  EXPECT_THAT(valuesOf(*c), SizeIs(256));
  const size_t toldSoFar = host.messages.size();
  EXPECT_TRUE(app->documents.close(*c));
  EXPECT_EQ(host.messages.size(), toldSoFar);
  EXPECT_EQ(chart(LevelChart::Histogram), nullptr);
  refreshLevelCharts(first, -1);
  showHistogram(first);
  EXPECT_EQ(followedBy(LevelChart::Histogram), &first);
}

}  // namespace
}  // namespace tarnvisor
