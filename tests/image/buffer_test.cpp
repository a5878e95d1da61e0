// Shape, copies, colour and match of the image buffer.

#include "image/kernels.h"
#include "image/palette.h"
#include "image/samplepattern.h"
#include "image/testimages.h"
#include "support/logcapture.h"

namespace tarnvisor {
namespace {

TEST(Shape, AnEqualProductOfRowsAndStrideKeepsTheBuffer) {
  CZZimage image(640, 480);
  image.setPixel(3, 0, 77);
  const uint8_t* const before = image.pixels;
  ASSERT_TRUE(image.resizedata(480, 640, 1));
  EXPECT_EQ(image.pixels, before);
  EXPECT_EQ(image.pixelAt(3, 0), 77);
  ASSERT_TRUE(image.resizedata(480, 641, 1));
  EXPECT_EQ(image.pixelAt(3, 0), 0);
}

TEST(Shape, AbsurdSizesAreRefusedAndChangeNothing) {
  CZZimage image(8, 4);
  for (const auto& [w, h, bytes] :
       {std::tuple{-1, 4, 1}, {8, -4, 1}, {INT32_MAX, INT32_MAX, 3}, {8, 4, 0}, {0, INT32_MAX, 1}})
    EXPECT_FALSE(image.resizedata(w, h, bytes));
  EXPECT_EQ(image.width, 8);
  EXPECT_EQ(image.stride, 8);
}

TEST(Shape, ResetKeepsOfThePointTableOnlyThatThereIsOne) {
  CZZimage image(8, 4, 5, 1, kColour), fresh;
  image.tag = "L0";
  image.xOrigin = image.paletteIndex = 3;
  image.blackZero = 0;
  image.samplePattern = std::make_unique<SamplePattern>();
  image.samplePattern->prepare(2, 4, 4, 8);
  image.reset();
  const auto numbers = [](const CZZimage& i) {
    return std::tuple(i.tag, i.frameNumber, i.interlace, i.width, i.height, i.xOrigin, i.stride, i.rowBytes,
                      i.paletteIndex, i.blackZero, i.colourset, i.bytesPerPixel, i.pixels);
  };
  EXPECT_EQ(numbers(image), numbers(fresh));
  ASSERT_TRUE(image.samplePattern);
  EXPECT_TRUE(image.samplePattern->offsets.empty());
}

TEST(Shape, FieldsHoldHalfTheRows) {
  CZZimage field(8, 10, 5, 2);
  EXPECT_EQ(field.height, 5);
  EXPECT_EQ(field.frameHeight(), 10);
  field.setYOrigin(7);
  EXPECT_EQ(field.yOrigin, 3);
  field.yOrigin = 0;
  field.setPixel(1, 4, 9);
  EXPECT_EQ(field.pixelAt(1, 5), 9);
  field.setSize(4, 12);
  EXPECT_EQ(field.height, 6);
}

TEST(Shape, CheckedPixelsTestTwiceTheOriginOnAField) {
  CZZimage field(4, 8, 0, 1);
  field.xOrigin = 10;
  field.yOrigin = 3;
  fillWith(field, [](int x, int y) { return 10 * y + x; });
  EXPECT_EQ(field.checkedPixelAt(10, 5), -1);
  EXPECT_EQ(field.checkedPixelAt(11, 9), 11);
  EXPECT_EQ(field.checkedPixelAt(13, 13), 33);
  EXPECT_EQ(field.checkedPixelAt(13, 14), -1);
  EXPECT_EQ(field.checkedPixelAt(9, 9), -1);
  EXPECT_EQ(CZZimage().checkedPixelAt(0, 0), -1);
  field.yOrigin = -5;  // wholly above the frame, where halving -3 gives -1, the row after the last
  EXPECT_EQ(field.checkedPixelAt(10, -4), 30);
  EXPECT_EQ(field.checkedPixelAt(10, -3), -1);
}

TEST(Clipping, FollowsTheFiveSteps) {
  const std::tuple<int, int, int, Rect, Rect> cases[] = {
      {0, 0, 0, {6, 5, 2, 1}, {2, 1, 6, 5}},
      {0, 100, 100, {3, 3, 3, 9}, {0, 0, 8, 8}},
      {0, 4, 2, {5, 3, 20, 20}, {1, 1, 8, 8}},
      {1, 4, 2, {5, 6, 8, 12}, {1, 1, 4, 4}},
      {0, 0, 0, {20, 0, 30, 5}, {}},
      {0, INT32_MIN, 0, {INT32_MIN, 0, INT32_MAX, 4}, {0, 0, 8, 4}},
      {2, INT32_MAX, INT32_MIN, {1, 1, 9, 9}, {}},
  };
  for (const auto& [interlace, x0, y0, in, out] : cases) {
    CZZimage image(8, interlace ? 16 : 8, 0, interlace);
    image.xOrigin = x0;
    image.yOrigin = y0;
    EXPECT_EQ(image.clipToImage(in), out) << in.left << "," << in.top;
  }
  CZZimage image(8, 8);
  image.xOrigin = image.yOrigin = 50;
  EXPECT_EQ(image.clipLocal({1, 2, 3, 4}), (Rect{1, 2, 3, 4}));
}

TEST(Children, LookIntoTheParentAndKeepItsStride) {
  CZZimage parent(10, 6);
  parent.tag = "L0";
  parent.xOrigin = 2;
  fillWith(parent, [](int x, int y) { return 10 * y + x; });
  const auto child = parent.makeChild({5, 1, 9, 4});
  EXPECT_EQ(child->tag, "cL");
  EXPECT_EQ(child->xOrigin, 5);
  EXPECT_EQ(child->yOrigin, 1);
  EXPECT_EQ(pixelsOf(*child), (std::vector<int>{13, 14, 15, 16, 23, 24, 25, 26, 33, 34, 35, 36}));
  EXPECT_FALSE(child->resizedata(13, 1, 1));
  EXPECT_TRUE(child->resizedata(2, 2, 1));
  CZZimage other(2, 2);
  other.fill(200);
  ASSERT_TRUE(child->copyImage(other));
  EXPECT_EQ(parent.row(1)[4], 200);
  EXPECT_EQ(parent.row(1)[5], 15);  // beside the child: untouched
  child->usedataof(&parent, {3, 0, 6, 2});
  EXPECT_EQ(pixelsOf(*child), (std::vector<int>{1, 2, 3, 11, 12, 200}));
}

TEST(Copies, CopyImageTakesEverythingButTheChildsSurroundings) {
  CZZimage src(5, 3, 9, 0, kColour), dst;
  src.tag = "L0";
  src.xOrigin = 4;
  src.paletteIndex = 3;
  src.blackZero = 0;
  fillWith(src, [](int x, int y) { return x * 7 + y; });
  ASSERT_TRUE(dst.copyImage(src));
  EXPECT_EQ(pixelsOf(dst), pixelsOf(src));
  EXPECT_EQ(dst.tag, "0L");
  EXPECT_EQ(std::tuple(dst.frameNumber, dst.xOrigin, dst.colourset, dst.paletteIndex, dst.blackZero),
            std::tuple(9, 4, 1, 3, 0));
}

TEST(Copies, CopyPixelsFollowsTheColours) {
  CZZimage grey(3, 2), colour(2, 2, -1, 0, kColour);
  fillWith(grey, [](int x, int y) { return 10 * y + x; });
  ASSERT_TRUE(colour.copyPixels(grey));
  EXPECT_EQ(pixelsOf(colour), (std::vector<int>{0, 0, 0, 1, 1, 1, 10, 10, 10, 11, 11, 11}));
  // Colour into grey makes a ramp and raises the source's first byte: required.
  ASSERT_TRUE(grey.copyPixels(colour));
  EXPECT_EQ(pixelsOf(grey), (std::vector<int>{0, 3, 2, 10, 13, 12}));
  EXPECT_EQ(colour.row(0)[0], 6);
  EXPECT_EQ(colour.row(1)[0], 16);
  CZZimage bayer(3, 2, -1, 0, kBayer);
  EXPECT_TRUE(colour.copyPixels(bayer));  // unequal sizes: nothing, with success
  EXPECT_EQ(colour.row(0)[0], 6);
}

TEST(Copies, AMosaicIntoColourLeavesTheTargetsBorder) {
  CZZimage bayer(4, 4, -1, 0, kBayer), colour(4, 4, -1, 0, kColour);
  bayer.fill(7);
  colour.fill(99);
  ASSERT_TRUE(colour.copyPixels(bayer));
  EXPECT_EQ(std::tuple(colour.row(0)[3], colour.row(1)[2], colour.row(1)[3], colour.row(2)[9]),
            std::tuple(99, 99, 7, 99));
}

TEST(Copies, FailuresAndChangesOfColourAreLoggedInTheirWords) {
  const LogCapture log;
  CZZimage grey(4, 4), colour(4, 4, -1, 0, kColour), bayer(4, 4, -1, 0, kBayer);
  const uint32_t pixels[16] = {};
  const auto child = grey.makeChild({});
  grey.resizedata(-1, 4, 1);
  child->resizedata(5, 4, 1);
  child->usedataof(nullptr);
  grey.copyROI(colour, {0, 0, 2, 2});
  grey.copyfromToROI(colour, {});
  grey.extractfrom(colour, 0);
  colour.split(grey, grey);
  grey.merge(colour, colour);
  bayer.copyrgb32(pixels);
  grey.setColourset(kGrey);
  grey.setColourset(kColour);
  EXPECT_EQ(log.text(),
            "image::resize failed!\n"
            "fail CZZchildimage::resizedata! from 4,4,1 to 5,4,1\n"
            "usedataof(NULL)!\n"
            "copyROI failed. different interlace or colour!\n"
            "copyfromToROI failed. different interlace or colour!\n"
            "CZZimage::extractfrom() colour missmatch! 0<-1\n"
            "split:colour missmatch!!\n"
            "merge:colour missmatch!!\n"
            "copyrgb32 00=bayer not supported!\n"
            "00 colourset 0->1\n");
  EXPECT_EQ(std::tuple(grey.bytesPerPixel, grey.rowBytes), std::tuple(3, 12));
}

TEST(Copies, RegionsMeetAtTheirFramePosition) {
  CZZimage a(4, 4), b(4, 4);
  b.xOrigin = b.yOrigin = 2;
  b.fill(5);
  ASSERT_TRUE(a.copyROI(b, {0, 0, 4, 3}));
  EXPECT_EQ(pixelsOf(a), (std::vector<int>{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 5, 5, 0, 0, 0, 0}));
  CZZimage field(4, 4, 3, 1);
  EXPECT_FALSE(a.copyROI(field, {0, 0, 2, 2}));
  EXPECT_TRUE(a.copyROI(field, {}));  // an empty rectangle copies all, without the test
  EXPECT_EQ(a.interlace, 1);
  CZZimage c(4, 4);
  EXPECT_FALSE(c.copyfromToROI(field, {1, 1, 3, 3}));
  ASSERT_TRUE(c.copyfromToROI(b, {1, 1, 3, 2}));
  EXPECT_EQ(c.countValue(5), 2);
  EXPECT_EQ(c.row(1)[1], 5);
  CZZimage d;
  ASSERT_TRUE(d.copyFromRect(b, {3, 4, 6, 6}));
  EXPECT_EQ(std::tuple(d.width, d.height, d.xOrigin), std::tuple(3, 2, 0));
  EXPECT_FALSE(d.copyFromRect(b, {30, 30, 40, 40}));
}

TEST(Fields, SplitAndMergeAreInverse) {
  CZZimage frame(3, 5, 7), first, second, again;
  frame.yOrigin = 6;
  fillWith(frame, [](int x, int y) { return 10 * y + x; });
  ASSERT_TRUE(frame.split(first, second));
  EXPECT_EQ(std::tuple(first.frameNumber, first.interlace, first.yOrigin), std::tuple(7, 1, 3));
  EXPECT_EQ(std::tuple(second.frameNumber, second.interlace, second.height), std::tuple(8, 2, 2));
  ASSERT_TRUE(again.merge(first, second));
  EXPECT_EQ(std::tuple(again.height, again.interlace, again.yOrigin, again.frameNumber),
            std::tuple(4, 0, 6, 7));
  for (int y = 0; y < 4; ++y) EXPECT_EQ(again.row(y)[2], frame.row(y)[2]);
  second.xOrigin += 1;
  second.yOrigin += 1;
  again.fill(99);
  ASSERT_TRUE(again.merge(first, second));
  EXPECT_EQ(again.row(1)[0], 99);  // trimmed
  EXPECT_EQ(again.row(3)[0], 99);
  EXPECT_EQ(again.row(3)[1], 10);  // the second field's first row, shifted by one
  CZZimage colour(3, 4, 0, 0, kColour);
  EXPECT_FALSE(again.merge(first, colour));
  EXPECT_FALSE(frame.split(first, colour));
  frame.frameNumber = INT32_MAX;  // as a damaged file may say
  ASSERT_TRUE(frame.split(first, second));
  EXPECT_EQ(second.frameNumber, INT32_MIN);
}

TEST(Fields, ExtractTakesEverySecondRowOfAFrameOnly) {
  CZZimage frame(2, 6, 4);
  frame.tag = "L0";
  fillWith(frame, [](int, int y) { return y; });
  const std::vector<int> expected[] = {{0, 0, 1, 1}, {0, 0, 2, 2}, {1, 1, 3, 3}};
  for (int field = 0; field < 3; ++field) {
    CZZimage target(2, 2);
    ASSERT_TRUE(target.extractfrom(frame, field));
    EXPECT_EQ(pixelsOf(target), expected[field]);
    EXPECT_EQ(std::tuple(target.interlace, target.frameNumber, target.tag),
              std::tuple(field, 4, std::string("0L")));
  }
  CZZimage colour(2, 2, 0, 0, kColour);
  EXPECT_FALSE(colour.extractfrom(frame, 1));
}

TEST(Colour, PlanesBecomeTriplesThirdPlaneFirst) {
  CZZimage image(2, 6);
  fillWith(image, [](int x, int y) { return 10 * y + x; });
  image.planesToColour();
  EXPECT_EQ(std::tuple(image.width, image.height, image.stride), std::tuple(6, 2, 12));
  EXPECT_EQ(pixelsOf(image), (std::vector<int>{40, 20, 0, 41, 21, 1, 50, 30, 10, 51, 31, 11}));
}

TEST(Colour, DemosaicTakesTheNeighboursOfEachSite) {
  CZZimage image(4, 4, -1, 0, kBayer);
  const int values[] = {10, 20, 30, 40, 50, 60, 70, 80, 91, 100, 110, 120, 130, 140, 150, 160};
  fillWith(image, [&](int x, int y) { return values[4 * y + x]; });
  const auto rgb = image.demosaic(nullptr, 0);
  const auto at = [&](int x, int y) {
    return std::array<int, 3>{rgb[12 * y + 3 * x], rgb[12 * y + 3 * x + 1], rgb[12 * y + 3 * x + 2]};
  };
  EXPECT_EQ(at(1, 1), (std::array<int, 3>{60, (20 + 100 + 50 + 70) / 4, (10 + 30 + 91 + 110) / 4}));
  EXPECT_EQ(at(2, 1), (std::array<int, 3>{(60 + 80) / 2, 70, (30 + 110) / 2}));
  EXPECT_EQ(at(1, 2), (std::array<int, 3>{(60 + 140) / 2, 100, (91 + 110) / 2}));
  EXPECT_EQ(at(2, 2), (std::array<int, 3>{(60 + 80 + 140 + 160) / 4, (70 + 150 + 100 + 120) / 4, 110}));
  for (const auto& [x, y] : {std::pair{0, 1}, {3, 2}, {1, 0}, {2, 3}})
    EXPECT_EQ(at(x, y), (std::array<int, 3>{}));
  CZZimage low(8, 3, -1, 0, kBayer);
  low.fill(200);
  const auto none = low.demosaic(nullptr, 0);
  EXPECT_EQ(std::accumulate(none.get(), none.get() + 72, 0), 0);
}

TEST(Colour, BayerToGreyReplacesEveryOtherSite) {
  CZZimage image(6, 4, -1, 0, kBayer);
  fillWith(image, [](int x, int y) { return (x + y) % 2 ? 255 : 10 * y + x; });
  image.bayerToGrey();
  EXPECT_EQ(image.colourset, kGrey);
  // Row 1: x 0 is a third of up, down and right; the last column isn't visited on row 2.
  const std::vector<int> rows[] = {{0, 1, 2, 3, 4, 4},
                                   {(0 + 20 + 11) / 3, 11, 12, 13, 14, 15},
                                   {20, 21, 22, 23, 24, 255},
                                   {31, 31, 32, 33, 34, 35}};
  for (int y = 0; y < 4; ++y) EXPECT_EQ(std::vector<int>(image.row(y), image.row(y) + 6), rows[y]) << y;
}

TEST(Colour, GreyComesOfTheWeights) {
  resetPaletteSettings();
  CZZimage colour(1, 1, -1, 0, kColour), grey(1, 1), bayer(1, 1, -1, 0, kBayer);
  const uint32_t pixel = 0x00C86432;  // red 200, green 100, blue 50
  ASSERT_TRUE(colour.copyrgb32(&pixel));
  EXPECT_EQ(pixelsOf(colour), (std::vector<int>{50, 100, 200}));
  ASSERT_TRUE(grey.copyrgb32(&pixel));
  EXPECT_EQ(grey.row(0)[0], 124);  // 5.7 + 58.7 + 59.8
  EXPECT_FALSE(bayer.copyrgb32(&pixel));
  ASSERT_TRUE(colour.convertToGrey());
  EXPECT_EQ(std::tuple(colour.row(0)[0], colour.bytesPerPixel, colour.stride), std::tuple(124, 1, 4));
}

TEST(Match, HalveAveragesPairsOfRowsOfEvenColumns) {
  CZZimage src(5, 5), dst;
  fillWith(src, [](int x, int y) { return 10 * y + x; });
  const std::vector<int> expected{5, 7, 25, 27};
  ASSERT_TRUE(dst.halve(src));
  EXPECT_EQ(pixelsOf(dst), expected);
  ASSERT_TRUE(src.halveInPlace());
  EXPECT_EQ(pixelsOf(src), expected);
  EXPECT_EQ(src.stride, 4);
}

TEST(Match, FindOffsetFindsAKnownShiftInEveryMode) {
  CZZimage base(48, 40), moved(48, 40);
  const auto texture = [](int x, int y) { return (x * x * 3 + y * y * 5 + x * y * 7) / 4 % 251; };
  fillWith(base, [&](int x, int y) { return texture(x + 20, y + 20); });
  fillWith(moved, [&](int x, int y) { return texture(x + 20 - 3, y + 20 + 2); });
  base.xOrigin = 100;
  for (const auto& [sample, mode] : {std::pair{1, 0}, {4, 0}, {3, 1}, {5, 2}}) {
    moved.samplePattern.reset();
    moved.findOffset(base, 0.5, 0.2, 1, sample, mode);
    EXPECT_EQ(moved.xOrigin, 97) << sample << mode;
    EXPECT_EQ(moved.yOrigin, 2) << sample << mode;
  }
  base.fill(9);
  moved.fill(9);
  moved.findOffset(base, 0.5, 0.2, 2, 1, 0);  // all equal: the first shift in scan order
  EXPECT_EQ(moved.xOrigin, 100 + 9);
  EXPECT_EQ(moved.yOrigin, 8);
  moved.findOffset(base, 9.0, 9.0, 1, 1, 0);  // a window beyond the image
  EXPECT_EQ(moved.xOrigin, 100);
  base.xOrigin = INT32_MAX;  // as a damaged file may say
  moved.findOffset(base, 0.5, 0.2, 2, 1, 0);
  EXPECT_EQ(moved.xOrigin, INT32_MIN + 8);
}

TEST(Match, SumsFromTheStartingLimitOnLeaveTheReferencesOrigin) {
  CZZimage black(256, 128), white(256, 128);  // 64 * 64 squares stay below 0xFFFFFFF, 128 * 64 don't
  white.fill(255);
  white.findOffset(black, 0.5, 0.1, 1, 1, 0);
  EXPECT_EQ(std::tuple(white.xOrigin, white.yOrigin), std::tuple(0, 0));
  black.resizedata(128, 128, 1);
  white.resizedata(128, 128, 1);
  white.fill(255);
  white.findOffset(black, 0.5, 0.1, 1, 1, 0);
  EXPECT_EQ(std::tuple(white.xOrigin, white.yOrigin), std::tuple(12, 12));
}

TEST(Match, ThePointTableIsDrawnFromTheStandardGenerator) {
  standardRandom().seed();
  EXPECT_EQ(standardRandom().next(), 41);
  EXPECT_EQ(standardRandom().next(), 18467);
  standardRandom().seed();
  SamplePattern pattern;
  pattern.prepare(3, 10, 7, 64);
  ASSERT_EQ(pattern.offsets.size(), 7u);  // 70 / 9
  EXPECT_EQ(pattern.offsets[0], static_cast<int>(18467 * 9 / 32767.0 + 41 * 64 * 6 / 32767.0));
  const auto before = pattern.offsets;
  pattern.prepare(3, 10, 7, 64);
  EXPECT_EQ(pattern.offsets, before);
  pattern.prepare(3, 10, 7, 68);
  EXPECT_NE(pattern.offsets, before);
}

}  // namespace
}  // namespace tarnvisor
