// A line that is sampled, what is kept of it, and the velocity of what moves along it.
#include <algorithm>
#include <memory>
#include <random>
#include <thread>

#include "linescan/linefeed.h"
#include "linescan/resulttables.h"
#include "linescan/texts.h"
#include "linescan/zlinescanview.h"
#include "results/resultdoc.h"
#include "support/archivetest.h"
#include "support/charttest.h"
#include "traces/tracetests.h"

namespace tarnvisor {
namespace {

class Linescan : public ChartTest {
 protected:
  void SetUp() override {
    ChartTest::SetUp();
    scan = openLinescan();
    ASSERT_NE(scan, nullptr);
    scan->showcbvvcoef = false;
  }
  // A line of so many points, 40 rows, at 25 frames a second and 2 um a point.
  void take(int32_t points, int32_t across = 1) {
    scan->setNoPtsToSample(40);
    row = scan->setline(&source, points, across, {0.02, 2.0, "um", "hand line1"});
    ASSERT_NE(row, nullptr);
    scan->startCapture();
  }
  void sample(const std::function<double(uint32_t)>& level) {
    for (uint32_t i = 0; i < row->size; ++i) row->putval(i, level(i));
    scan->linesample(2);
  }
  // Cells that move on by so many points a row.
  void sampleFlow(int32_t rows, int32_t shift) {
    for (int32_t n = 0; n < rows; ++n)
      sample([&](uint32_t i) {
        std::minstd_rand cell(static_cast<uint32_t>(1000 * shift + static_cast<int32_t>(i) - n * shift));
        cell.discard(5);
        return 100.0 + cell() % 64;
      });
  }
  void run(const char* command) {
    CommandTarget* const chain[] = {scan->views().front().get(), scan};
    EXPECT_EQ(routeCommand(chain, command), CommandResult::Done) << command;
  }
  LinescanTraces traces() const { return scan->traceSet(); }
  std::vector<double> rowOf(const C2DTrace& trace, uint32_t index) {
    std::vector<double> items;
    for (uint32_t i = 0; i < trace.width(); ++i) items.push_back(trace.data->at(index, i));
    return items;
  }

  ZlineScanDoc* scan = nullptr;
  CdataVect* row = nullptr;
  int source = 0, other = 0;
};

TEST_F(Linescan, MakesItsTracesForALineAndKeepsItForThatView) {
  take(10, 3);
  EXPECT_EQ(row->size, 30U);
  EXPECT_EQ(traces().scan2D->width(), 30);
  EXPECT_EQ(traces().scan->width(), 10);
  EXPECT_EQ(traces().scan->name, "hand line1");
  EXPECT_EQ(traces().correllogram->width(), 5);
  EXPECT_DOUBLE_EQ(traces().scan->period, 0.04) << "of two fields only one is sampled";
  EXPECT_DOUBLE_EQ(traces().cbv->ygain, 2.0);
  EXPECT_EQ(traces().cbv->yunits, "um/s");
  EXPECT_EQ(scan->setline(&other, 10, 1, {}), nullptr);
  EXPECT_EQ(scan->setline(&source, 0, 1, {}), nullptr);
  EXPECT_EQ(scan->settwolines(&source, 3, 3, 5.0, {}).first, nullptr) << "another method";
  scan->release(&source);
  EXPECT_NE(scan->setline(&other, 10, 1, {}), nullptr);
  EXPECT_EQ(theLinescan(), scan);
}

TEST_F(Linescan, StoresARowASampleAndMovesItsRings) {
  scan->sampleperiod = 3;
  take(4, 2);
  for (int n = 0; n < 4; ++n) sample([&](uint32_t i) { return 10.0 * n + i; });
  EXPECT_EQ(traces().scan2D->origin, 1U) << "every third sample moves the ring";
  EXPECT_EQ(rowOf(*traces().scan2D, 0), (std::vector<double>{20, 21, 22, 23, 24, 25, 26, 27}));
  EXPECT_EQ(rowOf(*traces().scan, 0), (std::vector<double>{20, 22, 24, 26})) << "two pixels a point";
  EXPECT_EQ(traces().scan2D->extent(0), 4.0);
  scan->skiplines(6);
  EXPECT_EQ(traces().scan2D->origin, 3U);
  EXPECT_EQ(traces().scan2D->extent(2), 0.0);
  EXPECT_EQ(traces().cbv->data->at(2), kNoReading) << "0 would be standing blood";
}

TEST_F(Linescan, SubtractsTwoSamplesBackAndKeepsTheSign) {
  scan->subtracting = true;
  take(2);
  for (const double level : {50.0, 60.0, 20.0}) sample([&](uint32_t) { return level; });
  EXPECT_EQ(traces().scan2D->data->at(0), 50.0);
  EXPECT_EQ(traces().scan2D->data->at(1), 60.0);
  EXPECT_EQ(traces().scan2D->data->at(2), -30.0);
}

TEST_F(Linescan, CalculatesTheVelocityOfWhatMovesAlongIt) {
  take(64);
  sampleFlow(40, 8);
  scan->calculateVelocity();
  EXPECT_DOUBLE_EQ(traces().cbv->displayed(traces().cbv->data->at(30)), 8 / 0.04 * 2.0) << "um a second";
  EXPECT_GT(scan->statistics().share(), 0.9);
  const std::vector<double> first = samplesOf(*traces().cbv);
  scan->calculateVelocity();
  EXPECT_EQ(samplesOf(*traces().cbv), first);
  EXPECT_EQ(traces().scan2D->origin, 0U);
  scan->undo();
  EXPECT_EQ(traces().cbv->size(), 40U);
}

TEST_F(Linescan, CalculatesAnewWithTheSameNumbersWhateverItsLineIsCalled) {
  scan->setNoPtsToSample(40);
  row = scan->setline(&source, 64, 1, {0.02, 2.0, "um", "difference"});
  ASSERT_NE(row, nullptr);
  scan->startCapture();
  scan->velocity.gap = 3;
  sampleFlow(40, 4);
  run("Calculate velocity");
  const std::vector<double> first = samplesOf(*traces().cbvUncut);
  EXPECT_DOUBLE_EQ(traces().cbv->displayed(traces().cbv->data->at(30)), 4 / 0.04 * 2.0);
  run("Calculate velocity");
  EXPECT_EQ(samplesOf(*traces().cbvUncut), first);
  scan->interpolateScan(128);
  EXPECT_NEAR(traces().cbv->displayed(traces().cbv->data->at(30)), 4 / 0.04 * 2.0, 10);
}

TEST_F(Linescan, TellsWhatIsSeenBesideAVelocityAndAddsItWhenAccepted) {
  take(64);
  sampleFlow(40, 8);
  scan->calculateVelocity();
  EXPECT_THAT(scan->resultWords(), testing::HasSubstr("percent good = "));
  host.fill({});
  run("Velocity result");
  EXPECT_EQ(findResultDocument(kCapillaryResults.title)->rowCount(), 1U);
  scan->velocity.coeflimit = 2.0;
  scan->calculateVelocity();
  run("Velocity result");
  EXPECT_EQ(findResultDocument(kCapillaryResults.title)->rowCount(), 1U);
  EXPECT_THAT(lastMessage(), testing::HasSubstr("There is no velocity"));
}

TEST_F(Linescan, TakesTwoLinesForTheDelayBetweenThem) {
  scan->velocity.cbvmethod = kTwoLines;
  scan->setNoPtsToSample(40);
  const auto lines = scan->settwolines(&source, 3, 5, 12.0, {0.02, 2.0, "um", "two"});
  ASSERT_NE(lines.second, nullptr);
  EXPECT_FALSE(scan->hasScan());
  scan->startCapture();
  lines.first->fill(7.0);
  lines.second->fill(9.0);
  scan->linesample(2);
  EXPECT_EQ(traces().line1->data->at(0), 7.0);
  EXPECT_EQ(traces().line2->data->at(0), 9.0);
  EXPECT_EQ(traces().correllogram->yunits, "s/um");
  EXPECT_EQ(traces().correllogram->tracetype, kTwoLineTrace);
}

TEST_F(Linescan, ComesBackAsItWasSaved) {
  take(64, 2);
  sampleFlow(40, 8);
  scan->velocity.gap = 2;
  scan->velocity.bothways = true;
  scan->calculateVelocity();
  scan->setSlopes(std::vector<Slope>(kMostSlopes, Slope{1, 2, 3, 4}));
  const std::string path = folder.file("a.zzl");
  ASSERT_TRUE(scan->onSaveDocument(path));
  auto* opened = dynamic_cast<ZlineScanBaseDoc*>(app->openDocumentFile(path));
  ASSERT_NE(opened, nullptr);
  EXPECT_EQ(dynamic_cast<ZlineScanDoc*>(opened), nullptr) << "a closed chart";
  EXPECT_EQ(opened->velocity.linesperpoint, 2);
  EXPECT_EQ(opened->velocity.gap, 2);
  EXPECT_TRUE(opened->velocity.bothways) << "the trace's name tells";
  EXPECT_EQ(opened->slopes().size(), kMostSlopes);
  EXPECT_EQ(samplesOf(*opened->traceSet().cbv), samplesOf(*traces().cbv));
}

// What follows the chart's fields, of each version.
std::vector<uint8_t> stored(ZlineScanBaseDoc& document, uint32_t version, size_t bytes) {
  MemoryStream memory;
  Archive archive(memory, Archive::Direction::Storing);
  document.serialize(archive);
  archive.close();
  std::vector<uint8_t> all(memory.bytes().begin(), memory.bytes().end());
  constexpr size_t kOwn = 4 + 4 + 108, kMarkers = 4;
  const size_t own = all.size() - kMarkers - kOwn;
  all[own] = static_cast<uint8_t>(version);
  all.resize(own + bytes);
  return all;
}

TEST_F(Linescan, ReadsAllItsStoredVersions) {
  take(8, 2);
  scan->velocity.gap = 7;
  scan->velocity.houghtol = 3;
  const std::pair<uint32_t, size_t> kVersions[] = {{4, 8},  {5, 12}, {6, 60},   {7, 68},
                                                   {8, 72}, {9, 80}, {10, 104}, {11, 116}};
  for (const auto& [version, bytes] : kVersions) {
    ZlineScanBaseDoc read;
    MemoryStream memory(stored(*scan, version, bytes));
    Archive archive(memory, Archive::Direction::Loading);
    read.serialize(archive);
    EXPECT_EQ(read.velocity.gap, version >= 6 ? 7 : 1) << version;
    EXPECT_EQ(read.velocity.houghtol, version >= 11 ? 3 : 15) << version;
    EXPECT_EQ(read.velocity.linesperpoint, 2) << "the widths of the traces tell";
  }
}

TEST_F(Linescan, DrawsDragsDeletesAndListsSlopes) {
  take(64);
  sampleFlow(40, 8);
  scan->stopCapture();
  auto& shown = static_cast<ZlineScanBaseView&>(*scan->views().front());
  shown.setWindowSize(kWindow);
  shown.draw(canvas);
  const Point from{kLeft + 100, kTop + 30}, to{kLeft + 200, kTop + 10};
  shown.mouseDown({from, MouseButton::Left, false, true});
  shown.mouseUp({to, MouseButton::Left});
  ASSERT_EQ(scan->slopes().size(), 1U);
  const Slope drawn = scan->slopes().front();
  EXPECT_LT(drawn.t0, drawn.t1);
  EXPECT_GT(drawn.velocity(), 0.0);
  shown.mouseDown({to, MouseButton::Left});
  shown.mouseUp({{to.x + 50, to.y}, MouseButton::Left});
  EXPECT_GT(scan->slopes().front().t1, drawn.t1);
  scan->undo();
  EXPECT_EQ(scan->slopes().front(), drawn);
  run("linescan slope velocities");
  EXPECT_EQ(findResultDocument(kLinescanResults.title)->rowCount(), 2U) << "the slope and the mean";
  shown.mouseDown({from, MouseButton::Left});
  shown.mouseUp({from, MouseButton::Left});
  run("Delete");
  EXPECT_TRUE(scan->slopes().empty());
}

TEST_F(Linescan, TakesRowsOfAChartAsItsScan) {
  auto rows = std::make_unique<C2DTrace>(kWordRowsCode, 20, 12);
  rows->rowvalues->fill(12.0);
  rows->period = 0.1;
  scan->setAsScan(*static_cast<C2DTrace*>(scan->addtrace(std::move(rows))), 3);
  ASSERT_NE(traces().scan2D, nullptr);
  ASSERT_NE(traces().scan, nullptr);
  EXPECT_EQ(traces().scan->width(), 4);
  EXPECT_EQ(traces().scan2D->extent(0), 4.0);
  EXPECT_EQ(traces().cbv->size(), 20U);
  scan->undo();
  EXPECT_FALSE(scan->hasScan());
  EXPECT_EQ(traces().cbv, nullptr) << "one step with the velocity";
}

TEST_F(Linescan, UndoBringsBackTheVelocityAndHowItWasCalculated) {
  take(64);
  sampleFlow(40, 8);
  run("Calculate velocity");
  const auto seen = [this] {
    std::vector<std::string> all;
    for (const auto& trace : scan->traces.items)
      all.push_back(format("%s %i %.17g", trace->name.c_str(), trace->data->width, trace->data->at(30)));
    return all;
  };
  const std::vector<std::string> before = seen();
  host.fill({{"Flow both ways, and standing", "1"},
             {"No. of linescan sample periods between correlations", "3"},
             {"Enable Hough calculation", "1"}});
  run("CBV calculation parameters");
  EXPECT_NE(seen(), before);
  scan->undo();
  EXPECT_EQ(seen(), before);
  EXPECT_EQ(scan->velocity.gap, 1);
  EXPECT_FALSE(scan->dohough);
  scan->interpolateScan(128);
  scan->undo();
  EXPECT_EQ(seen(), before);
}

TEST_F(Linescan, GoesOnWithItsLineWhenASecondIsRefused) {
  LineFeed feed;
  const Point path[] = {{2, 5}, {40, 5}}, beside[] = {{2, 9}, {40, 9}};
  const ImageFacts facts{1, 1, "um", 0.02, false};
  ASSERT_EQ(feed.take(path, 1, false, facts, "line1", *scan), "");
  const CZZimage image(50, 20);
  feed.sample(image, 0);
  EXPECT_NE(feed.take(beside, 1, true, facts, "line2", *scan), "") << "the method is for one";
  feed.sample(image, 1);
  EXPECT_EQ(traces().scan2D->origin, 2U);
}

TEST(ScanLines, HaveAPointAPixelAndPixelsAtRightAnglesToIt) {
  const Point path[] = {{2, 5}, {7, 5}};
  ScanLine line(path, 3, 1.0);
  EXPECT_EQ(line.points(), 5);
  EXPECT_EQ(line.bounds(), (Rect{2, 4, 7, 7}));
  EXPECT_EQ(ScanLine(path, 1, 2.0).points(), 5) << "along x a pixel's height does not count";
  const Point upright[] = {{2, 0}, {2, 10}};
  EXPECT_EQ(ScanLine(upright, 1, 2.0).points(), 5) << "a pixel is half as high as wide";
  EXPECT_EQ(ScanLine(std::span(path, 1), 1, 1.0).points(), 1);
  const Point endless[] = {{0, 0}, {2000000000, 0}};
  EXPECT_TRUE(ScanLine(endless, 1, 1.0).isEmpty());
}

TEST(ScanLines, SampleImagesWhereTheyLie) {
  CZZimage image(10, 8);
  for (int32_t y = 0; y < 8; ++y)
    for (int32_t x = 0; x < 10; ++x) image.row(y)[x] = static_cast<uint8_t>(10 * y + x);
  const Point path[] = {{2, 3}, {5, 3}};
  ScanLine line(path, 1, 1.0);
  const CdataVect::Own row = newVector(kInt32Code, 3);
  ASSERT_TRUE(line.sample(image, *row));
  EXPECT_EQ(row->at(2), 34);
  image.xOrigin = 1;
  ASSERT_TRUE(line.sample(image, *row));
  EXPECT_EQ(row->at(0), 31) << "the image has moved by one";
  ASSERT_TRUE(line.sample(image, *row, ScanLine::Rows::FirstField));
  EXPECT_EQ(row->at(0), 21) << "an even row";
  image.xOrigin = 3;
  EXPECT_FALSE(line.sample(image, *row)) << "its start is outside";
}

// Twice as many images as there is room for, while rows are taken on another thread.
TEST(LineQueues, BringEachRowInOrderOrCountIt) {
  CZZimage image(4, 2);
  const Point path[] = {{1, 1}, {3, 1}};
  LineQueue queue(ScanLine(path, 1, 1.0), {}, false, 8);
  std::thread camera([&] {
    for (int32_t number = 0; number < 16; ++number) {
      image.row(1)[2] = static_cast<uint8_t>(number);
      queue.sample(image, number);
    }
  });
  std::vector<int64_t> numbers;
  const auto take = [&] {
    for (; !queue.isEmpty(); queue.pop()) {
      numbers.push_back(queue.number());
      EXPECT_EQ(queue.row(0).first[1], numbers.back());
    }
  };
  while (numbers.size() < 8) take();
  camera.join();
  take();
  EXPECT_TRUE(std::ranges::is_sorted(numbers));
  EXPECT_EQ(static_cast<int64_t>(numbers.size()) + queue.takeLost(), 16);
}

TEST_F(Linescan, TellsOfRowsThatWereLostAndLeavesTheirPlacesEmpty) {
  std::shared_ptr<LineQueue> queue;
  LineFeed feed;
  feed.sampleElsewhere(2, [&](std::shared_ptr<LineQueue> given) { queue = std::move(given); });
  const Point path[] = {{0, 0}, {4, 0}};
  ASSERT_EQ(feed.take(path, 1, false, {}, "line", *scan), "");
  const CZZimage image(8, 1);
  for (int64_t number = 1; number < 6; ++number) queue->sample(image, number);
  feed.takeUp();
  queue->sample(image, 6);
  feed.pause();
  EXPECT_THAT(host.messages.back(), StartsWith("3 rows of the linescan were lost"));
  EXPECT_EQ(traces().scan2D->origin, 6U);
  EXPECT_EQ(traces().scan2D->extent(3), 0.0);
  feed.drop();
  EXPECT_EQ(queue, nullptr);
}

}  // namespace
}  // namespace tarnvisor
