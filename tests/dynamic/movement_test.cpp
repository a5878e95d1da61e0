// Movement correction as the video document runs it.

#include "base/files.h"
#include "charts/chartdoc.h"
#include "dynamic/commandids.h"
#include "measure/dimrect.h"
#include "support/videotest.h"

namespace tarnvisor {
namespace {

// A texture that moves by whole pixels.
class Movement : public VideoTest {
 protected:
  static constexpr int32_t kWidth = 192, kHeight = 160;
  static uint8_t tissue(int32_t x, int32_t y) {
    const auto blob = [&](double cx, double cy, double r) {
      const double dx = (x - cx) / r, dy = (y - cy) / r;
      return 100 * std::exp(-dx * dx - dy * dy);
    };
    return static_cast<uint8_t>(40 + blob(60, 50, 20) + blob(120, 90, 26) + blob(90, 120, 16));
  }
  CVivoCapDoc& moving(const std::string& name, const std::vector<Point>& at) {
    const auto draw = [&](CZZimage& frame, int32_t k) {
      const Point moved = at[static_cast<size_t>(k)];
      for (int32_t y = 0; y < kHeight; ++y)
        for (int32_t x = 0; x < kWidth; ++x) frame.row(y)[x] = tissue(x + moved.x, y + moved.y);
    };
    const std::string path =
        writeMovieFile(folder.file(name), static_cast<int32_t>(at.size()), {kWidth, kHeight}, draw);
    return dynamic_cast<CVivoCapDoc&>(*app->openDocumentFile(path));
  }
  std::vector<Point> offsets() {
    std::vector<Point> all;
    for (int32_t i = 0; i < video().imageCount(); ++i) {
      const FrameRecord& record = video().movie->recordOf(i);
      all.push_back({record.xOrigin, record.yOrigin});
    }
    return all;
  }
  const std::vector<Point> course{{0, 0}, {3, -2}, {6, 1}, {-4, 5}, {2, 2}};
  const std::vector<Point> corrected{{4, 2}, {7, 0}, {10, 3}, {0, 7}, {6, 4}};
};

TEST_F(Movement, IsCorrectedAndToldInTheNotes) {
  CVivoCapDoc& doc = moving("a.mve", course);
  run("Automatic Movement Correction");
  EXPECT_EQ(offsets(), corrected);
  EXPECT_EQ(doc.correctedImages().last, 5);
  EXPECT_THAT(doc.notes, HasSubstr("movement correction of images 0 to 5: 5 of 5 aligned\r\n"));
  EXPECT_TRUE(doc.isModified());
  EXPECT_FALSE(doc.amc.running);
  EXPECT_TRUE(fileExists(folder.file("a.mve.amclog.txt")));
  EXPECT_NEAR(doc.movementRecords()[2].subPixel.x, 10, 0.1);
}

TEST_F(Movement, CorrectionBeginsAtTheImageShownAndMovesTheMarksAlong) {
  CVivoCapDoc& doc = moving("a.mve", course);
  EXPECT_TRUE(doc.select(1, 5));
  doc.showImage(2);
  doc.roi = {10, 10, 50, 50};
  run("AMC without display");
  // Images 0 and 1 keep their offset of 0, and the least of all becomes 0.
  EXPECT_EQ(offsets(), (std::vector<Point>{{10, 0}, {10, 0}, {10, 0}, {0, 4}, {6, 1}}));
  EXPECT_EQ(doc.roi, (Rect{20, 10, 60, 50}));
  EXPECT_EQ(doc.currentIndex(), 0);
  EXPECT_EQ(doc.correctedImages().first, 2);
}

TEST_F(Movement, CorrectionStopsWhereTheUserWants) {
  CVivoCapDoc& doc = moving("a.mve", course);
  host.stopAt = 3;
  run("AMC without display");
  EXPECT_EQ(offsets()[2], (Point{6, 3}));
  EXPECT_EQ(offsets()[3], offsets()[0]) << "those not reached keep their offsets";
  EXPECT_THAT(doc.notes, HasSubstr("images 0 to 3 (stopped): 3 of 3 aligned"));
  EXPECT_EQ(doc.correctedImages().last, 3);
}

TEST_F(Movement, RegionsAreDrawnRememberTheirImageAndLeaveTheirBase) {
  CVivoCapDoc& doc = moving("a.mve", course);
  run("Edit AMC regions");
  EXPECT_EQ(settings.getInt("movement", "newRgnOld", 0), 1);
  doc.showImage(1);
  const int32_t region = doc.addDimension({32, 16}, CDimList::kRect);
  doc.addPointToDimension(region, {48, 24});
  EXPECT_EQ(doc.currentDims().at(region).points[1], (Point{96, 80})) << "64 pixels at least";
  EXPECT_EQ(doc.currentDims().at(region).label, "1");
  doc.showImage(0);
  run("AMC without display");
  EXPECT_EQ(offsets()[2] - offsets()[1], (Point{3, 3}));
  EXPECT_TRUE(doc.editsMovementRegions());
  auto* base = dynamic_cast<ZBasicDoc*>(app->openDocumentFile(folder.file("a-AMCbase.tv1")));
  ASSERT_NE(base, nullptr);
  EXPECT_EQ(base->theImage()->width, 64);
  EXPECT_THAT(base->notes, HasSubstr("a.mve"));
}

TEST_F(Movement, RegionsThatWerePastedAreComparedInBlocks) {
  CVivoCapDoc& doc = moving("a.mve", course);
  EXPECT_TRUE(doc.setScale(2, 3, "x", 77, false, false));
  run("Edit AMC regions");
  for (const Rect& drawn : {Rect{9, 11, 76, 78}, Rect{90, 62, 157, 130}}) {
    CDimRect pasted;
    pasted.points = {{drawn.left, drawn.top}, {drawn.right, drawn.bottom}};
    doc.insertDimension(pasted);
  }
  run("AMC without display");
  EXPECT_THAT(doc.notes, HasSubstr("5 of 5 aligned"));
  EXPECT_EQ(offsets(), corrected);
  const std::vector<Point> moved{Point{90, 62} + corrected[0], Point{157, 130} + corrected[0]};
  EXPECT_EQ(doc.currentDims().at(1).points, moved) << "along with the images alone";
  auto* base = dynamic_cast<ZBasicDoc*>(app->openDocumentFile(folder.file("a-AMCbase.tv1")));
  ASSERT_NE(base, nullptr);
  EXPECT_EQ(base->theImage()->width, 144);
  EXPECT_EQ(base->magindex, 77) << "the scale comes along whole";
}

TEST_F(Movement, WithoutRegionsTheWholeImageIsCompared) {
  moving("a.mve", course);
  run("Edit AMC regions");
  run("Edit AMC regions");
  run("AMC without display");
  EXPECT_EQ(offsets(), corrected);
  EXPECT_THAT(readWholeText(folder.file("a.mve.amclog.txt")).value_or(""), HasSubstr("\nmethod,0\n"));
}

TEST_F(Movement, OffsetsGoOutAsTextAndBackToNothing) {
  CVivoCapDoc& doc = moving("a.mve", course);
  run("AMC without display");
  EXPECT_TRUE(doc.setScale(2, 3, "x", 0, false, false));
  doc.calibrated = 1;
  EXPECT_TRUE(doc.select(2, 5));
  host.paths = {folder.file("o.txt")};
  run("Export Movement correction results");
  EXPECT_EQ(readWholeText(folder.file("o.txt")).value_or(""), "file=" + doc.moviePath +
                                                                  "\nimage, offsetx, offsety\n"
                                                                  "00003,            0,           21\n"
                                                                  "00004,           12,           12\n");
  doc.showImage(2);
  doc.roi = {30, 30, 60, 60};
  run("Reset offsets to zero");
  EXPECT_EQ(offsets(), (std::vector<Point>{{4, 2}, {7, 0}, {}, {}, {}}));
  EXPECT_EQ(doc.roi, (Rect{20, 27, 50, 57})) << "on the skin that image 2 shows there";
}

TEST_F(Movement, OfImagesThatCannotBeComparedIsToldAndChangesNothing) {
  CVivoCapDoc& doc = openMovie("one.mve", 1);
  run("AMC without display");
  EXPECT_THAT(host.messages.back(), HasSubstr("No image was aligned"));
  EXPECT_FALSE(doc.amc.running) << "the next run may begin";
}

TEST_F(Movement, MapsOpenAsImages) {
  moving("a.mve", course);
  CVivoCapDoc& doc = video();
  doc.showImage(1);
  run("full AMC regions correlation");
  EXPECT_EQ(app->documents.active()->title(), "rms1toBase");
  app->documents.activate(doc);
  host.fill({{"First image number", "0"}, {"Second image number", "3"}, {"Number of bin steps to use", "1"}});
  run("Correlate");
  EXPECT_EQ(app->documents.active()->title(), "correlate0-3");
}

TEST_F(Movement, QualityIsAChartOfOffsetsErrorsAndFailures) {
  moving("a.mve", course);
  run("AMC without display");
  run("Movement correction quality");
  const auto* chart = dynamic_cast<ZchartDoc*>(app->documents.active());
  ASSERT_NE(chart, nullptr);
  EXPECT_EQ(chart->findtrace("x")->data->at(2), 10);
  EXPECT_LT(chart->findtrace("rms error")->data->at(2), 1);
  EXPECT_EQ(chart->findtrace("failed 100, doubtful 50")->data->at(2), 0);
}

TEST_F(Movement, ImagesThatFailAreToldWithWhatWouldLetThemPass) {
  CVivoCapDoc& doc = moving("a.mve", {{0, 0}, {500, 500}, {500, 0}});  // beyond the texture
  settings.setInt("movement", "autothreshold", 0);
  run("AMC without display");
  EXPECT_THAT(doc.notes, HasSubstr("1 of 3 aligned, 66.7 % failed: 1 to 2\r\n"));
  EXPECT_EQ(doc.judgementOfResult(), "low: 2 of 3 images could not be aligned");
  EXPECT_THAT(host.messages.back(), HasSubstr("and the threshold was 15.0"));
  EXPECT_THAT(doc.tell("status").text, HasSubstr("1 of 3 aligned"));
}

TEST_F(Movement, ImagesOverAPoorReferenceAreNamed) {
  CVivoCapDoc& doc = moving("a.mve", {{0, 0}, {3, -2}, {60, 40}, {62, 41}, {61, 43}});
  settings.setInt("movement", "autothreshold", 0);
  run("AMC without display");
  EXPECT_THAT(doc.notes, HasSubstr("hang on doubtful references: 3 to 4"));
  EXPECT_THAT(host.messages.back(), HasSubstr("hang on doubtful references: 3 to 4"));
}

TEST_F(Movement, AFewThatFailAreToldWhereNobodyWatches) {
  moving("a.mve", {{0, 0}, {2, 1}, {3, 0}, {500, 500}});
  settings.setInt("movement", "autothreshold", 0);
  process.quietMode = 1;
  run("AMC without display");
  EXPECT_THAT(host.messages, Contains(HasSubstr("3 of 4 aligned, 25.0 % failed: 3")));
}

TEST_F(Movement, APanoramaIsTheAverageOfTheCorrectedImages) {
  moving("a.mve", course);
  run("create nailfold panoramic image");
  const auto* mean = dynamic_cast<ZBasicDoc*>(app->documents.active());
  EXPECT_EQ(mean->title(), "aAv0-5");
  EXPECT_EQ(mean->theImage()->width, kWidth + 10);
}

}  // namespace
}  // namespace tarnvisor
