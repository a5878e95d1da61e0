// How sharp the images of a video are: the chart, the figure, the image of the sharpest.
#include "analysis/autofocus.h"
#include "charts/chartdoc.h"
#include "support/videotest.h"

namespace tarnvisor {
namespace {

class VideoFocus : public VideoTest {
 protected:
  void TearDown() override {
    VideoTest::TearDown();
    focusControl = {};
  }
  // Image k is dark but for one pixel in its middle, light by 10 k.
  CVivoCapDoc& openPoints(int32_t count) {
    const std::string path =
        writeMovieFile(folder.file("hand.mve"), count, {8, 8}, [](CZZimage& image, int32_t k) {
          image.fill(0);
          image.row(4)[4] = static_cast<uint8_t>(10 * k);
        });
    settings.setInt("autofocuscontrol", "focusgap", 2);
    focusControl.loadSettings();
    return *dynamic_cast<CVivoCapDoc*>(app->openDocumentFile(path));
  }
  ZchartDoc* chart() { return dynamic_cast<ZchartDoc*>(app->documents.active()); }
  std::vector<double> valuesOf(const char* trace) {
    const ZZTrace* found = chart() ? chart()->findtrace(trace) : nullptr;
    std::vector<double> all;
    for (uint32_t i = 0; found && i < found->size(); ++i) all.push_back(found->displayed(found->data->at(i)));
    return all;
  }
  std::vector<int> levelsAt(const std::vector<Point>& places) {
    std::vector<int> all;
    for (const Point at : places) all.push_back(image()->theImage()->pixelAt(at.x, at.y));
    return all;
  }
};

TEST_F(VideoFocus, IsChartedByEachMeasureWithTheOffsets) {
  CVivoCapDoc& doc = openPoints(4);
  ASSERT_TRUE(doc.setScale(0.5, 2.0, "x", 0, false, false));
  doc.movie->setOrigin(2, {6, -3});
  doc.showImage(1);
  settings.setInt("autofocuscontrol", "fmethod", 4);
  settings.setInt("autofocuscontrol", "focuson", 0);
  run("Focus check video");
  ASSERT_TRUE(chart());
  EXPECT_EQ(chart()->title(), doc.title() + "_Focus_check");
  EXPECT_THAT(valuesOf("focus1"), ElementsAre(0, 12.5, 50, 112.5));
  EXPECT_THAT(valuesOf("focus2"), ElementsAre(0, 0.625, 1.25, 1.875));
  EXPECT_THAT(valuesOf("focus3"), ElementsAre(0, 1.25, 2.5, 3.75));
  EXPECT_THAT(valuesOf("x"), ElementsAre(0, 0, 3, 0));
  EXPECT_THAT(valuesOf("y"), ElementsAre(0, 0, -6, 0));
  const ZZTrace& x = *chart()->findtrace("x");
  EXPECT_EQ(x.yunits, "um");
  EXPECT_EQ(x.xunits, "secs");
  EXPECT_DOUBLE_EQ(x.period, 1 / doc.fps);
  EXPECT_EQ(chart()->findtrace("focus3")->yunits, "focus");
  EXPECT_EQ(doc.currentIndex(), 1);
}

TEST_F(VideoFocus, OfASelectionFillsTheFirstPoints) {
  CVivoCapDoc& doc = openPoints(4);
  doc.roi = {2, 4, 4, 5};
  ASSERT_TRUE(doc.select(2, 4));
  run("Focus check video");
  EXPECT_THAT(valuesOf("focus2"), ElementsAre(10, 15, 0, 0)) << "in the region";
}

TEST_F(VideoFocus, ChartIsNotMadeOfNothing) {
  CVivoCapDoc& doc = openPoints(3);
  doc.roi = {30, 30, 40, 40};
  run("Focus check video");
  EXPECT_THAT(host.messages.back(), HasSubstr("outside"));
  doc.roi = {};
  host.stopAt = 1;
  run("Focus check video");
  host.stopAt = INT64_MAX;
  EXPECT_EQ(app->documents.active(), &doc);
  process.videoTemplate->newDocument();
  for (const char* command : {"Focus check video", "Average all in focus"}) {
    const CommandRow* row = video().commands()->find(std::string_view(command));
    EXPECT_FALSE(row->enabled(video())) << command;
  }
}

// Cells of 4 by 4 from (0, 0): 1 and 2 lie in the first, where 2 is sharper, 0 and 3 on its edges, 4 in
// another.
TEST_F(VideoFocus, SharpestImagesOfTheCellsAreAveraged) {
  CVivoCapDoc& doc = openPoints(5);
  const Point origins[] = {{0, 0}, {1, 1}, {3, 2}, {4, 1}, {9, 9}};
  for (int32_t k = 0; k < 5; ++k) doc.movie->setOrigin(k, origins[k]);
  doc.showImage(3);
  for (const char* areas : {"2", "20"}) {
    host.fill({{"Number of areas per image area in which to find best focus. Minimum is 2.", areas}});
    run("Average all in focus");
    EXPECT_EQ(image()->title(), doc.title() + "inFocusAv0-5");
    EXPECT_EQ(image()->theImage()->frameRect(), (Rect{0, 0, 17, 17}));
    EXPECT_EQ(levelsAt({{5, 5}, {7, 6}, {8, 5}, {13, 13}}), (std::vector<int>{0, 20, 0, 40})) << areas;
    EXPECT_EQ(settings.getString("focus", "divs", ""), areas);
    app->documents.activate(doc);
  }
  EXPECT_EQ(doc.currentIndex(), 3);
  EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(VideoFocus, ImageIsEmptyAndSaysWhyWhereNothingMoved) {
  CVivoCapDoc& doc = openPoints(3);
  host.fill({});
  run("Average all in focus");
  EXPECT_EQ(host.messages.back(), "No image lies within a cell: correct the movement first.");
  EXPECT_EQ(image()->title(), doc.title() + "inFocusAv0-3");
  EXPECT_EQ(image()->theImage()->countValue(0), 64);
  app->documents.activate(doc);
  focusControl.gap = 5;
  process.quietMode = 1;
  run("Average all in focus");
  process.quietMode = 0;
  EXPECT_THAT(host.messages.back(), HasSubstr("focus of each image is 0"));
}

}  // namespace
}  // namespace tarnvisor
