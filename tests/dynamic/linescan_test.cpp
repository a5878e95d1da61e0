// Lines through a video.
#include <random>

#include "base/clock.h"
#include "dynamic/commandids.h"
#include "linescan/resulttables.h"
#include "linescan/zlinescandoc.h"
#include "results/resultdoc.h"
#include "support/videotest.h"

namespace tarnvisor {
namespace {

class LinesThroughAVideo : public VideoTest {
 protected:
  // 60 images of 90 x 20, in which all moves on to the right by 6 pixels an image.
  void SetUp() override {
    VideoTest::SetUp();
    const std::string path =
        writeMovieFile(folder.file("flow.mve"), 60, {90, 20}, [](CZZimage& image, int32_t k) {
          for (int32_t y = 0; y < image.height; ++y)
            for (int32_t x = 0; x < image.width; ++x) {
              std::minstd_rand cell(static_cast<uint32_t>(1000 + x - 6 * k));
              cell.discard(5);
              image.row(y)[x] = static_cast<uint8_t>(100 + cell() % 64);
            }
        });
    flow = dynamic_cast<CVivoCapDoc*>(app->openDocumentFile(path));
    ASSERT_NE(flow, nullptr);
    flow->fps = 25;
    settings.setInt("correlation", "subpoint", 1);
    settings.setInt("correlation", "bothways", 1);
  }
  std::string cell(size_t row, const char* column) {
    CResultDoc* table = findResultDocument(kCapillaryResults.title);
    for (size_t place = 0; table && place < table->columns.size(); ++place)
      if (table->columnAt(place).title == column) return std::string(trimmed(table->cell(row, place)));
    return "no such cell";
  }
  double levelAt(int32_t index, int32_t x, int32_t y) {
    CZZimage image;
    flow->movie->getImage(index, image);
    return image.row(y)[x];
  }
  CVivoCapDoc* flow = nullptr;
};

TEST_F(LinesThroughAVideo, AreScannedOverTheSelection) {
  ASSERT_TRUE(flow->select(10, 60));
  const Point path[] = {{5, 10}, {85, 10}};
  ASSERT_TRUE(flow->scan(path, 3).ok);
  ZlineScanDoc& scan = *theLinescan();
  const LinescanTraces set = scan.traceSet();
  EXPECT_EQ(set.scan2D->size(), 50U);
  EXPECT_EQ(set.scan2D->width(), 3 * 80);
  EXPECT_DOUBLE_EQ(set.scan->period, 1 / 25.0);
  EXPECT_EQ(set.scan->data->at(0, 0), levelAt(10, 5, 10));
  EXPECT_NEAR(scan.statistics().mean, 6 * 25, 2);
  EXPECT_FALSE(scan.isTaken());
  EXPECT_NE(set.scan2D->extent(0), 0.0) << "the last sample doesn't empty the first";
}

TEST_F(LinesThroughAVideo, LeaveRowsWithoutValuesWhereTheyLieOutside) {
  flow->movie->setOrigin(3, {30, 0});
  const Point path[] = {{5, 10}, {85, 10}};
  ASSERT_TRUE(flow->scan(path, 1).ok);
  const LinescanTraces set = theLinescan()->traceSet();
  EXPECT_EQ(set.scan2D->extent(3), 0.0);
  EXPECT_EQ(set.cbv->data->at(3), kNoReading);
  EXPECT_NE(set.scan2D->extent(4), 0.0);
}

TEST_F(LinesThroughAVideo, YieldARowEachAndTheirMeans) {
  flow->addDimension({5, 10}, CDimList::kLine);
  flow->addPointToDimension(0, {85, 10});
  flow->addDimension({40, 1}, CDimList::kLine);
  flow->addPointToDimension(1, {40, 1});
  flow->currentDims().at(0).width = 3;
  CommandTarget* const chain[] = {&view(), flow};
  ASSERT_EQ(routeCommand(chain, cmd::CalculateCbvOfLines), CommandResult::Done);
  EXPECT_EQ(findResultDocument(kCapillaryResults.title)->rowCount(), 3U);
  EXPECT_EQ(cell(0, "length"), "80.00");
  EXPECT_EQ(cell(0, "diameter"), "3.00");
  EXPECT_NEAR(std::stod(cell(0, "velocity")), 150, 2);
  EXPECT_EQ(cell(1, "velocity"), "") << "a line of one point has none";
  EXPECT_EQ(cell(2, "velocity"), cell(0, "velocity")) << "the mean of those measured";
  EXPECT_EQ(flow->currentDims().at(1).label, "no velocity");
}

TEST_F(LinesThroughAVideo, KeepNoVelocityOfAnotherScaleNorARejectedOne) {
  flow->addDimension({5, 10}, CDimList::kLine);
  flow->addPointToDimension(0, {85, 10});
  CommandTarget* const chain[] = {&view(), flow};
  (void)routeCommand(chain, cmd::CalculateCbvOfLines);
  ASSERT_THAT(flow->currentDims().at(0).label, testing::HasSubstr("/s"));
  host.fills.push_back([](Form&) { return false; });
  host.answers = {Answer::No, Answer::No};
  (void)routeCommand(chain, cmd::CalculateAllLines);
  EXPECT_EQ(flow->currentDims().at(0).label, "");
  flow->currentDims().at(0).label = "a 12.5 um/s";
  ASSERT_TRUE(flow->setScale(2, 2, "", 0, false, false));
  EXPECT_EQ(flow->currentDims().at(0).label, "a");
}

TEST_F(LinesThroughAVideo, HaveNoVelocityInImagesWithoutAPicture) {
  const std::string dark =
      writeMovieFile(folder.file("dark.mve"), 60, {90, 20}, [this](CZZimage& image, int32_t k) {
        CZZimage own;
        flow->movie->getImage(k, own);
        std::minstd_rand noise(static_cast<uint32_t>(k));
        noise.discard(5);
        for (int32_t y = 0; y < image.height; ++y)
          for (int32_t x = 0; x < image.width; ++x)
            image.row(y)[x] =
                k < 30 ? own.row(y)[std::min(x, own.width - 1)] : static_cast<uint8_t>(10 + noise() / 64 % 3);
      });
  auto* half = dynamic_cast<CVivoCapDoc*>(app->openDocumentFile(dark));
  ASSERT_NE(half, nullptr);
  half->fps = 25;
  const Point path[] = {{5, 10}, {85, 10}};
  ASSERT_TRUE(half->scan(path, 1).ok);
  EXPECT_NEAR(theLinescan()->statistics().mean, 6 * 25, 3);
  EXPECT_LE(theLinescan()->statistics().share(), 0.5);
}

TEST_F(LinesThroughAVideo, AreMeasuredBesideEachOtherAsTheyAreAlone) {
  const auto lineAt = [&](int32_t place, int32_t y) {
    flow->addDimension({5, y}, CDimList::kLine);
    flow->addPointToDimension(place, {70 + y, y});
  };
  CommandTarget* const chain[] = {&view(), flow};
  std::vector<std::string> alone;
  for (const int32_t y : {2, 8, 14}) {
    flow->currentDims().items.clear();
    lineAt(0, y);
    (void)routeCommand(chain, cmd::CalculateCbvOfLines);
    theLinescan()->setModified(false);
    alone.push_back(flow->currentDims().at(0).label);
  }
  flow->currentDims().items.clear();
  for (int32_t i = 0; i < 3; ++i) lineAt(i, 2 + 6 * i);
  (void)routeCommand(chain, cmd::CalculateCbvOfLines);
  std::vector<std::string> together;
  for (const auto& line : flow->currentDims().items) together.push_back(line->label);
  EXPECT_EQ(together, alone);
  EXPECT_EQ(theLinescan()->title(), flow->title() + " line3");
}

TEST_F(LinesThroughAVideo, AreSampledWhileItPlays) {
  flow->addDimension({5, 10}, CDimList::kLine);
  flow->addPointToDimension(0, {85, 10});
  view().selected = 0;
  CommandTarget* const chain[] = {&view(), flow};
  ASSERT_EQ(routeCommand(chain, "Measuring line"), CommandResult::Done);
  auto& shown = static_cast<CVivoCapView&>(*flow->views().front());
  shown.startPlayback(false);
  const double now = steadySeconds();
  shown.tick(now + 0.041);
  shown.tick(now + 0.161);
  const LinescanTraces set = theLinescan()->traceSet();
  EXPECT_EQ(set.scan2D->origin, 4U) << "two images were passed over";
  EXPECT_EQ(set.scan2D->extent(1), 0.0);
  EXPECT_EQ(set.scan2D->data->at(3, 0), levelAt(4, 5, 10));
  shown.stopPlayback();
  EXPECT_FALSE(theLinescan()->isCapturing());
}

TEST_F(LinesThroughAVideo, AreDrawnWithTheToolOfTheirKindForTheirDensity) {
  run("Edit AMC regions");
  ASSERT_TRUE(flow->editsMovementRegions());
  EXPECT_EQ(app->runCommand(cmd::DrawDensityLines), CommandResult::Done);
  EXPECT_FALSE(flow->editsMovementRegions());
  EXPECT_EQ(tool, kToolFreehand);
  settings.setInt("auto", "linetype", kToolPolyline);
  EXPECT_EQ(app->runCommand(cmd::DrawVelocityLines), CommandResult::Done);
  EXPECT_EQ(tool, kToolPolyline);
  tool = kToolNone;
  flow->addDimension({10, 5}, CDimList::kLine);
  flow->addPointToDimension(0, {40, 5});
  flow->magx = flow->magy = 2;
  flow->calibrated = 1;
  flow->setRoi({0, 0, 50, 10});
  host.fill({});
  run("Capillary density of the lines (FCD)");
  EXPECT_THAT(flow->notes, EndsWith("functional capillary density = 30.0 \r\n"));
  EXPECT_TRUE(flow->isModified());
}

}  // namespace
}  // namespace tarnvisor
