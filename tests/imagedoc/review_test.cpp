// Correcting what a finder marked: taken away, added, found again, stored.

#include <array>

#include "imagedoc/commandids.h"
#include "imagedoc/zbasicview.h"
#include "support/imagedoctest.h"

namespace tarnvisor {
namespace {

class Review : public ImageDocument {
 protected:
  // Dark spots that the finder finds.
  ZBasicDoc& makeSpots() {
    ZBasicDoc& d = makeImage(300, 200);
    for (int32_t y = 0; y < 200; ++y)
      for (int32_t x = 0; x < 300; ++x) {
        const int32_t dx = x % 60 - 30, dy = y % 50 - 25;
        d.image->setPixel(x, y, dx * dx + dy * dy < 50 ? 60 : 180);
      }
    process.quietMode = 1;
    run("Find Capillaries");
    return d;
  }
  static Point middle(const CDim& mark) { return mark.points.front(); }
  static void clickAt(ZBasicDoc& d, Point at) {
    d.reviewAt({static_cast<double>(at.x), static_cast<double>(at.y), 5});
  }
};

TEST_F(Review, TakesAwayBringsBackAndAddsWithTheDensityAndUndo) {
  ZBasicDoc& d = makeSpots();
  const int32_t found = d.currentDims().size();
  ASSERT_GT(found, 4);
  const std::string density = d.resultText;
  const Point first = middle(d.currentDims().at(0));
  clickAt(d, first);
  EXPECT_EQ(d.currentDims().size(), found - 1);
  EXPECT_NE(d.resultText, density);
  EXPECT_THAT(d.notes, testing::HasSubstr("reviewed by hand: 1 rejected, 0 added or moved; " + d.resultText));
  clickAt(d, {2, 2});
  EXPECT_EQ(d.currentDims().size(), found);
  EXPECT_EQ(d.reviewWords(), "1 rejected, 1 added or moved");
  clickAt(d, {2, 2});
  EXPECT_EQ(d.reviewWords(), "1 rejected, 0 added or moved") << "one that was added goes altogether";
  clickAt(d, first);
  EXPECT_EQ(d.resultText, density);
  run("Undo");
  EXPECT_EQ(d.reviewWords(), "1 rejected, 0 added or moved");
}

TEST_F(Review, OutlivesStoringAndFindingAgain) {
  {
    ZBasicDoc& d = makeSpots();
    clickAt(d, middle(d.currentDims().at(0)));
    clickAt(d, {2, 2});
    d.setCurrentList(kFcdList);
    d.addPointToDimension(d.addDimension({90, 90}, CDimList::kCircle), {99, 90});
    clickAt(d, {95, 90});
    d.setCurrentList(kPlainList);
    d.keepwhole = 1;
    reopen("a.tv1");
  }
  EXPECT_EQ(image()->rejected[kFcdList].size(), 1) << "each list has its own";
  ZBasicDoc& d = *image();
  EXPECT_EQ(d.reviewWords(), "1 rejected, 1 added or moved");
  const int32_t marks = d.currentDims().size();
  d.currentDims().removeAll();
  d.addPointToDimension(d.addDimension({2, 2}, CDimList::kCircle), {5, 6});
  run("Find again");
  EXPECT_EQ(d.currentDims().size(), marks)
      << "without the one that was rejected, with the one that was drawn";
  run("Find again");
  EXPECT_EQ(d.currentDims().size(), marks);
}

TEST_F(Review, FindingAgainKeepsWhatEachToolDid) {
  ZBasicDoc& d = makeSpots();
  const int32_t found = d.currentDims().size();
  auto& view = static_cast<ZBasicView&>(*d.views().front());
  view.selectMarks(std::array<size_t, 2>{0, 1});
  run("Delete");
  d.drawDimension("circle", std::array{Point{2, 2}, Point{8, 2}});
  run("Find again");
  EXPECT_EQ(d.currentDims().size(), found - 1) << "without the two, with the one that was drawn";
  run("Undo");
  EXPECT_EQ(host.notices.back(), "Undone: Find again");
}

TEST_F(Review, TellsWhatACountIsMadeOfAndLeavesMeasuresOut) {
  ZBasicDoc& d = makeSpots();
  const std::string density = d.resultText;
  const int32_t found = d.currentDims().size();
  process.quietMode = 0;
  d.addPointToDimension(d.addDimension({50, 50}, CDimList::kLine), {80, 50});
  host.answers = {Answer::Yes};
  host.messages.clear();
  run("Find Capillaries");
  EXPECT_THAT(host.messages.front(), testing::StartsWith(format("%i circles, 1 line are counted", found)));
  EXPECT_EQ(d.resultText, density);
  EXPECT_EQ(d.dimlists[1].size(), 1);
}

}  // namespace
}  // namespace tarnvisor
