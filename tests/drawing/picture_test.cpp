// The picture in the window, held to a plain pixel-by-pixel twin, and the canvas in image pixels.

#include "base/parallel.h"
#include "drawing/picturepainter.h"
#include "drawing/zoomcanvas.h"
#include "image/palette.h"
#include "support/recordingcanvas.h"

namespace tarnvisor {
namespace {

struct Zoom {
  int32_t num, den;
};

void fillWithNoise(CZZimage& image) {
  uint32_t state = 1;
  for (int32_t y = 0; y < image.height; ++y)
    for (int32_t x = 0; x < image.rowBytes; ++x) {
      state = state * 1664525u + 1013904223u;
      image.row(y)[x] = static_cast<uint8_t>(state >> 24);
    }
}

// What a device pixel shows, worked out alone and in floating point.
uint32_t plainPixel(CZZimage& image, const uint8_t* mosaic, Zoom zoom, double windowX, double windowY) {
  const double x = std::floor(windowX * zoom.den / zoom.num), y = std::floor(windowY * zoom.den / zoom.num);
  if (x < 0 || y < 0 || x >= image.width || y >= image.frameHeight()) return PicturePainter::kSurround;
  const auto column = static_cast<int32_t>(x);
  const int32_t row = static_cast<int32_t>(y) / (image.isField() ? 2 : 1);
  const uint8_t* p =
      mosaic ? mosaic + (row * image.width + column) * 3 : image.row(row) + column * image.bytesPerPixel;
  if (image.colourset == kGrey) {
    const PaletteEntry e = image.header().palette[p[0]];
    return 0xff000000u | uint32_t{e.red} << 16 | uint32_t{e.green} << 8 | e.blue;
  }
  return 0xff000000u | uint32_t{p[2]} << 16 | uint32_t{p[1]} << 8 | p[0];
}

TEST(Picture, IsThePlainTwinsBitForBitAtAnyZoomScrollAndDensity) {
  for (const int32_t colourset : {kGrey, kColour, kBayer})
    for (const int32_t interlace : {0, 1}) {
      CZZimage image(61, 46, -1, interlace);
      ASSERT_TRUE(image.setColourset(colourset));
      fillWithNoise(image);
      image.setPalette(1);
      const auto mosaic = colourset == kBayer ? image.demosaic(nullptr, 0) : nullptr;
      PicturePainter painter;
      for (const Zoom zoom : {Zoom{1, 13}, {9, 16}, {3, 4}, {1, 1}, {5, 4}, {25, 16}, {3, 1}, {13, 1}})
        for (const Point scroll : {Point{0, 0}, Point{7, 3}, Point{-5, -9}})
          for (const double density : {1.0, 2.0, 1.25}) {
            const Size window{80, 60};
            const PixelBlock block = painter.render(image, zoom.num, zoom.den, scroll, window, density);
            ASSERT_EQ(block.width, window.width * density);
            ASSERT_EQ(block.height, window.height * density);
            int wrong = 0;
            for (int32_t y = 0; y < block.height; ++y)
              for (int32_t x = 0; x < block.width; ++x)
                wrong +=
                    block.first[y * block.stride + x] !=
                    plainPixel(image, mosaic.get(), zoom, x / density + scroll.x, y / density + scroll.y);
            EXPECT_EQ(wrong, 0) << colourset << " zoom " << zoom.num << "/" << zoom.den << " scroll "
                                << scroll.x << " density " << density;
          }
    }
}

TEST(Picture, IsTheSameWithOneThreadAndMany) {
  CZZimage image(900, 700);
  fillWithNoise(image);
  const Size window{1500, 1100};
  std::vector<uint32_t> first;
  for (const int threads : {1, 7}) {
    setParallelThreads(threads);
    PicturePainter painter;
    const PixelBlock block = painter.render(image, 5, 4, {3, 1}, window);
    const std::vector<uint32_t> all(block.first, block.first + block.stride * block.height);
    if (first.empty()) first = all;
    EXPECT_EQ(all, first);
  }
  setParallelThreads(0);
}

TEST(Picture, TakesUpAChangeOfPixelsWhenToldAndOfPalettesByItself) {
  CZZimage image(4, 4);
  image.fill(100);
  PicturePainter painter;
  const auto corner = [&] { return *painter.render(image, 1, 1, {}, {4, 4}).first; };
  EXPECT_EQ(corner(), 0xff646464u);
  image.fill(50);
  EXPECT_EQ(corner(), 0xff646464u);
  painter.invalidate();
  EXPECT_EQ(corner(), 0xff323232u);
  image.setPalette(2);
  EXPECT_EQ(corner(), 0xff320000u);
  image.setPalette(0);
  image.fill(0);
  image.blackZero = 0;
  painter.invalidate();
  EXPECT_EQ(corner(), 0xff000000u);
}

TEST(Picture, OfZeroAsBlackPaintsLevelZeroBlackInAnyPalette) {
  CZZimage image(2, 2);
  PicturePainter painter;
  for (const uint8_t black : {1, 0}) {
    image.blackZero = black;
    image.setPalette(1);
    EXPECT_EQ(*painter.render(image, 1, 1, {}, {2, 2}).first, black ? 0xff000000u : 0xff0000ffu);
  }
}

TEST(Picture, OfNothingIsNothing) {
  CZZimage empty, image(3, 3);
  PicturePainter painter;
  RecordingCanvas canvas;
  painter.paint(canvas, empty, 1, 1, {}, {10, 10});
  painter.paint(canvas, image, 1, 1, {}, {0, 10});
  EXPECT_TRUE(canvas.calls.empty());
  painter.paint(canvas, image, 1, 1, {}, {10, 8});
  EXPECT_THAT(canvas.calls, ElementsAre("pixels 10x8 0,0-10,8"));
}

// --- the canvas in image pixels

TEST(ZoomCanvas, PassesOnOnlyWhatComesNearTheWindow) {
  RecordingCanvas target;
  ZoomCanvas canvas(target, 5, 4, {10, 20}, {0, 0, 640, 400});
  canvas.setPen({1});
  canvas.polyline(std::vector<Point>{{-4000, 0}, {-2000, 8}});
  canvas.ellipse({2000, 0, 2100, 50});
  canvas.text({5, 9000}, "far", 2);
  canvas.point({0, -800});
  EXPECT_TRUE(target.calls.empty());
  canvas.setPen({3});
  canvas.rectangle({4, 8, 12, 17});
  canvas.text({-4, 16}, "near", 2);
  EXPECT_THAT(target.calls, ElementsAre("pen 3 width 1", "rectangle -5,-10-5,1", "text -15,0 2 \"near\""));
}

TEST(ZoomCanvas, CutsLinesThatRunFarAway) {
  constexpr int32_t kMost = INT32_MAX, kLeast = INT32_MIN;
  RecordingCanvas target;
  ZoomCanvas canvas(target, 1, 1, {}, {0, 0, 640, 400});
  canvas.polyline(std::vector<Point>{{kLeast, 100}, {kMost, 100}, {kMost, kMost}});
  canvas.rectangle({kLeast, 50, kMost, kMost});
  canvas.polygon(std::vector<Point>{{-100000, 10}, {100000, 10}, {0, 100000}});
  EXPECT_THAT(target.calls, ElementsAre("polyline -16384,100 17024,100", "polyline -16384,50 17024,50",
                                        "polyline -16384,10 17024,10"));
  target.calls.clear();
  canvas.ellipse({-100000, 200, 100000, kMost});
  for (const std::string& call : target.calls) EXPECT_LT(call.size(), 40u) << call;
}

}  // namespace
}  // namespace tarnvisor
