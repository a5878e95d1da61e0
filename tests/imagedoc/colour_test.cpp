// What is measured on colours, and how they become grey.
#include "image/palette.h"
#include "viewtest.h"

namespace tarnvisor {
namespace {

class ColourImage : public ImageView {
 protected:
  void TearDown() override {
    ImageView::TearDown();
    resetPaletteSettings();
  }
  // Left half red, right half green.
  ZBasicDoc& showColours() {
    ZBasicDoc& d = show({20, 10});
    EXPECT_TRUE(d.image->setColourset(kColour));
    for (int32_t y = 0; y < 10; ++y)
      for (int32_t x = 0; x < 20; ++x) d.image->row(y)[3 * x + (x < 10 ? 2 : 1)] = 200;
    return d;
  }
  std::vector<std::string> averageRow(size_t row) {
    run("Calculate average of selection");
    return resultCells(row, 5, 8);
  }
};

TEST_F(ColourImage, IsMeasuredAsTheGreyThatItWouldBecome) {
  ZBasicDoc& d = showColours();
  const auto whole = averageRow(0);
  EXPECT_EQ(whole, (std::vector<std::string>{"88.00", "59", "117"}));
  d.roi = {10, 0, 20, 10};
  EXPECT_EQ(averageRow(1), (std::vector<std::string>{"117.00", "117", "117"}));
  d.roi = {};
  view->mouseMove({view->toWindow({15, 5}), MouseButton::None, false, false});
  EXPECT_THAT(panes(), HasSubstr("pixel=117"));
  run("Convert to grey");
  EXPECT_EQ(averageRow(2), whole);
}

TEST_F(ColourImage, TellsInItsNotesByWhichWeightsItBecameGrey) {
  showColours();
  run("Find Capillaries");
  EXPECT_THAT(image()->notes, StartsWith("made grey by red 0.299, green 0.587, blue 0.114\r\n"));
  host.fill({{"Grey from", "green only"}});
  run("Grey weights...");
  image()->notes.clear();
  run("Convert to grey");
  EXPECT_EQ(image()->notes, "convert to grey\r\nby red 0, green 1, blue 0\r\n");
  EXPECT_EQ(image()->theImage()->pixelAt(15, 5), 200);
  EXPECT_EQ(settings.getInt("Settings", "greylight", 0), kGreenOnly);
}

TEST_F(ColourImage, OwnWeightsThatWouldOverflowAreRefused) {
  showColours();
  host.fill({{"Grey from", "own weights"}, {"Red light", "0.5"}});
  run("Grey weights...");
  EXPECT_THAT(host.messages.back(), HasSubstr("add up to more than 1"));
  EXPECT_EQ(greyWeights, GreyWeights{});
  host.fill({{"Grey from", "own weights"}, {"Red light", "0.1"}});
  run("Grey weights...");
  EXPECT_EQ(greyWeights.red, 0.1);
}

}  // namespace
}  // namespace tarnvisor
