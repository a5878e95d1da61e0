#include "analysis/autofocus.h"

#include "support/testing.h"

namespace tarnvisor {
namespace {

// Eight by eight, one light pixel in the middle: the box is (2, 2, 6, 6), of 16 pixels.
struct PointPicture : CZZimage {
  explicit PointPicture(int32_t kind = kGrey) : CZZimage(8, 8, -1, 0, kind) {
    std::fill_n(row(4) + static_cast<ptrdiff_t>(4) * bytesPerPixel, bytesPerPixel, uint8_t{10});
  }
};

double measured(autofocuscontrol control, const CZZimage& image, int32_t method, const Rect& box = {}) {
  control.method = method;
  control.box = box;
  return control.measureFocus(image);
}

TEST(AutoFocus, IsMeasuredInTheBoxByTheHighestMethod) {
  PointPicture image;
  autofocuscontrol control;
  control.gap = 2;
  control.focus = 77;
  // Two steps of 10; one pixel beside the light one in its row; the one above it, too.
  const double expected[] = {77, 200.0 / 16, 10.0 / 16, 10.0 / 16, 20.0 / 16, 20.0 / 16, 20.0 / 16};
  for (int32_t method = 0; method <= 6; ++method)
    EXPECT_DOUBLE_EQ(measured(control, image, method), expected[method]) << method;
  EXPECT_DOUBLE_EQ(measured(control, image, 2, {1, 2, 6, 6}), 0) << "nearer to the side than the gap";
  EXPECT_DOUBLE_EQ(measured(control, image, 2, {2, 0, 6, 8}), 10.0 / 32)
      << "above and below nothing is compared";
  image.xOrigin = 300;
  EXPECT_DOUBLE_EQ(measured(control, image, 2), 10.0 / 16) << "the middle, wherever the image lies";
  EXPECT_DOUBLE_EQ(measured(control, image, 1, {2, 2, 6, 6}), 0) << "outside";
  control.noise = 10;
  EXPECT_DOUBLE_EQ(measured(control, image, 2), 0);
  PointPicture mosaic(kBayer), grey(kBayer);
  ASSERT_TRUE(grey.convertToGrey());
  EXPECT_DOUBLE_EQ(measured(control, mosaic, 1), measured(control, grey, 1)) << "that of its grey";
}

}  // namespace
}  // namespace tarnvisor
