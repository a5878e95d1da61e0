// How sharp images are: the chart along a video, the figure, the image of the sharpest.
#include "analysis/autofocus.h"
#include "charts/chartdoc.h"
#include "imagedoc/focusfigure.h"
#include "support/videotest.h"
#include "synth/widefield.h"

namespace tarnvisor {
namespace {

class VideoFocus : public VideoTest {
 protected:
  // Image k is dark but for one pixel in its middle, light by 10 k.
  void SetUp() override {
    VideoTest::SetUp();
    settings.setInt("autofocuscontrol", "focusgap", 2);
    readFocusSettings();
    writeMovieFile(folder.file("a.mve"), 5, {8, 8},
                   [](CZZimage& i, int32_t k) { i.row(4)[4] = uint8_t(10 * k); });
    doc = static_cast<CVivoCapDoc*>(app->openDocumentFile(folder.file("a.mve")));
  }
  std::vector<double> valuesOf(const char* trace) {
    const ZZTrace& found = *dynamic_cast<ZchartDoc&>(*app->documents.active()).findtrace(trace);
    std::vector<double> all;
    for (uint32_t i = 0; i < found.size(); ++i) all.push_back(found.displayed(found.data->at(i)));
    return all;
  }
  CVivoCapDoc* doc = nullptr;
};

TEST_F(VideoFocus, IsChartedByEachMeasureFromTheFirstPointOn) {
  ASSERT_TRUE(doc->setScale(0.5, 2.0, "x", 0, false, false));
  doc->movie->setOrigin(2, {6, -3});
  host.stopAt = 1;
  run("Focus check video");
  EXPECT_EQ(app->documents.active(), doc) << "stopped";
  host.stopAt = INT64_MAX;
  ASSERT_TRUE(doc->select(1, 4));
  run("Focus check video");
  EXPECT_EQ(app->documents.active()->title(), doc->title() + "_Focus_check");
  EXPECT_THAT(valuesOf("focus1"), ElementsAre(12.5, 0, 112.5, 0, 0)) << "the box stays on the skin";
  EXPECT_THAT(valuesOf("focus2"), ElementsAre(0.625, 0, 1.875, 0, 0));
  EXPECT_THAT(valuesOf("focus3"), ElementsAre(1.25, 0, 3.75, 0, 0));
  EXPECT_THAT(valuesOf("x"), ElementsAre(0, 3, 0, 0, 0));
  EXPECT_THAT(valuesOf("y"), ElementsAre(0, -6, 0, 0, 0));
  app->documents.activate(*doc);
  doc->roi = {30, 30, 40, 40};
  run("Focus check video");
  EXPECT_THAT(host.messages, ElementsAre("The region lies outside the images."));
}

TEST_F(VideoFocus, IsToldOfTheImageShownOnceItIsEnabled) {
  host.fill({{"method", "1"}, {"box %", "100"}, {"Enable", "1"}});
  run("Focus measurement settings...");
  readFocusSettings();
  doc->showImage(2);
  EXPECT_EQ(view().panes()[5].text, "focus= 12.5");
}

// Cells of 4 by 4 from (0, 0): 1 and 2 lie in the first, 0 and 3 on its edges, 4 in another.
TEST_F(VideoFocus, SharpestImagesOfTheCellsAreAveraged) {
  host.fill({});
  run("Average all in focus");
  EXPECT_THAT(host.messages, ElementsAre("No image lies within a cell: correct the movement first."));
  app->documents.activate(*doc);
  const Point origins[] = {{0, 0}, {1, 1}, {3, 2}, {4, 1}, {9, 9}};
  for (int32_t k = 0; k < 5; ++k) doc->movie->setOrigin(k, origins[k]);
  host.fill({{"Number of areas per image area in which to find best focus. Minimum is 2.", "20"}});
  run("Average all in focus");
  EXPECT_EQ(image()->title(), doc->title() + "inFocusAv0-5");
  EXPECT_EQ(image()->theImage()->pixelAt(7, 6), 20);
  EXPECT_EQ(image()->theImage()->pixelAt(13, 13), 40);
  EXPECT_EQ(image()->theImage()->countValue(0), 17 * 17 - 2);
}

TEST_F(VideoFocus, LoopsAreFoundInTheMeanOfTheSharperHalf) {
  run("Find nailfold loops");
  EXPECT_THAT(host.messages.back(), HasSubstr("needs a colour image"));
  WideFieldTruth truth;
  ASSERT_TRUE(doc->movie->rewrite(
      folder.file("c.mve"),
      rewritePlan(formLike(*renderWideField({}, truth)), 2, [&](int32_t k, CZZimage& made) {
        return made.copyImage(*renderWideField({.extraBlur = 30.0 * k}, truth));
      })));
  doc->movie->setOrigin(1, {5, 0});
  ASSERT_TRUE(doc->setScale(2.61, 2.61, "x", 0, false, false));
  run("Find nailfold loops");
  EXPECT_EQ(image()->title(), doc->title() + "sharpAv0-2");
  EXPECT_THAT(image()->resultText, StartsWith("Nailfold loops: "));
  EXPECT_EQ(image()->roi.left, 5);
}

}  // namespace
}  // namespace tarnvisor
