#include "analysis/autofocus.h"

#include "settings/settings.h"
#include "support/tempfolder.h"
#include "support/testing.h"

namespace tarnvisor {
namespace {

// Eight by eight, one light pixel in the middle: the box is (2, 2, 6, 6), of 16 pixels.
struct PointPicture : CZZimage {
  explicit PointPicture(int32_t kind = kGrey) : CZZimage(8, 8, -1, 0, kind) {
    std::fill_n(row(4) + static_cast<ptrdiff_t>(4) * bytesPerPixel, bytesPerPixel, uint8_t{10});
  }
};

double measured(autofocuscontrol control, const CZZimage& image, int32_t method) {
  control.method = method;
  return control.measureFocus(image);
}

TEST(AutoFocus, TheHighestMethodCounts) {
  const PointPicture image;
  autofocuscontrol control;
  control.gap = 2;
  control.focus = 77;
  // Two steps of 10; one pixel beside the light one in its row; the one above it, too.
  const double expected[] = {77,        200.0 / 16, 10.0 / 16, 10.0 / 16, 20.0 / 16,
                             20.0 / 16, 20.0 / 16,  20.0 / 16, 77};
  for (int32_t method = 0; method <= 8; ++method)
    EXPECT_DOUBLE_EQ(measured(control, image, method), expected[method]) << method;
  control.on = 0;
  EXPECT_DOUBLE_EQ(measured(control, image, 7), 77);
}

TEST(AutoFocus, LooksInItsBoxAtPeaksAboveTheNoise) {
  PointPicture image;
  autofocuscontrol control;
  control.gap = 2;
  control.noise = 10;
  EXPECT_DOUBLE_EQ(measured(control, image, 2), 0);
  control.noise = 9;
  control.box = {2, 4, 4, 5};
  EXPECT_DOUBLE_EQ(measured(control, image, 2), 5);
  for (const Rect nearEdge : {Rect{1, 2, 6, 6}, Rect{2, 2, 7, 6}}) {
    control.box = nearEdge;
    EXPECT_DOUBLE_EQ(measured(control, image, 2), 0) << nearEdge.left;
  }
  control.box = {2, 0, 6, 8};
  EXPECT_DOUBLE_EQ(measured(control, image, 2), 10.0 / 32) << "above and below nothing is compared";
  EXPECT_DOUBLE_EQ(measured(control, image, 4), 0);
  control.box = {};
  image.xOrigin = 300;
  EXPECT_DOUBLE_EQ(measured(control, image, 2), 10.0 / 16) << "the middle, wherever the image lies";
  control.box = {2, 2, 6, 6};
  for (const int32_t method : {1, 2, 4}) EXPECT_DOUBLE_EQ(measured(control, image, method), 0) << method;
}

TEST(AutoFocus, OfColoursIsThatOfTheirGrey) {
  autofocuscontrol control;
  control.gap = 2;
  for (const int32_t colourset : {kColour, kBayer}) {
    const PointPicture image(colourset);
    PointPicture grey(colourset);
    ASSERT_TRUE(grey.convertToGrey());
    for (const int32_t method : {1, 2, 4})
      EXPECT_DOUBLE_EQ(measured(control, image, method), measured(control, grey, method)) << method;
  }
}

TEST(AutoFocus, KeepsItsSettings) {
  const TempFolder folder;
  settings.setPath(folder.file("a.ini"));
  autofocuscontrol control, other;
  control.boxFraction = 0.25;
  control.on = 0;
  control.focusGain = 3.7;
  control.search.tolerance = 20;
  control.minStep = 12;
  control.storeSettings();
  EXPECT_EQ(settings.getString("autofocuscontrol", "focusgain", ""), "3");
  EXPECT_EQ(settings.getString("autofocuscontrol", "focusgap", ""), "30");
  other.gap = 5;
  other.loadSettings();
  EXPECT_EQ(other.boxFraction, 0.25);
  EXPECT_EQ(other.on, 0);
  EXPECT_EQ(other.gap, 30);
  EXPECT_EQ(other.position, 12);
  EXPECT_EQ(other.search.tolerance, 20);
  EXPECT_EQ(other.search.low, -32512);
  settings.setPath("");
}

}  // namespace
}  // namespace tarnvisor
