// Still-image files: round trips, bytes worked out by hand, and files that lie.
#include "base/bytes.h"
#include "base/clock.h"
#include "image/imagefile.h"
#include "image/palette.h"
#include "image/testimages.h"
#include "image/texts.h"
#include "support/tifffile.h"

namespace tarnvisor {
namespace {

class ImageFiles : public testing::Test {
 protected:
  void SetUp() override { resetPaletteSettings(); }
  std::string write(const std::string& name, const Bytes& bytes) const {
    EXPECT_TRUE(replaceFile(folder.file(name), bytes));
    return folder.file(name);
  }
  TempFolder folder;
};

void append(Bytes& bytes, std::initializer_list<int64_t> words) {
  for (const int64_t word : words) {
    bytes.resize(bytes.size() + 4);
    putLittle(bytes.data() + bytes.size() - 4, static_cast<int32_t>(word));
  }
}

Bytes zzg(std::initializer_list<int64_t> words, size_t pixelBytes) {
  Bytes bytes;
  append(bytes, words);
  for (size_t i = 0; i < pixelBytes; ++i) bytes.push_back(static_cast<uint8_t>(i + 1));
  return bytes;
}

// From the information header on; the rows follow.
Bytes bitmap(int width, int height, int bits, int compression, const Bytes& rest) {
  Bytes bytes;
  append(bytes, {40, width, height, 1 | bits << 16, compression, 0, 0, 0, 0, 0});
  bytes.insert(bytes.end(), rest.begin(), rest.end());
  return bytes;
}

Bytes asFile(const Bytes& info) {
  Bytes bytes(14 + info.size(), 0);  // the file header isn't examined
  std::copy(info.begin(), info.end(), bytes.begin() + 14);
  return bytes;
}

TEST_F(ImageFiles, EachFormatBringsBackWhatItKeeps) {
  for (const int colourset : {kGrey, kColour, kBayer})
    for (const char* name : {"a.zzg", "a.ZZG", "a.bmp", "a.BMP", "a.tif", "a.TIF"}) {
      const std::string extension = extensionOf(name);
      if (extension[0] != 'z' && extension[0] != 'Z' && colourset == kBayer) continue;
      if ((extension[0] == 't' || extension[0] == 'T') && colourset != kGrey) continue;
      CZZimage image(16, 6, 12, 0, colourset), back;
      fillRandom(image, 3);
      ASSERT_TRUE(image.save(folder.file(name))) << name;
      ASSERT_TRUE(back.load(folder.file(name))) << name;
      EXPECT_EQ(pixelsOf(back), pixelsOf(image)) << name << colourset;
      EXPECT_EQ(back.colourset, colourset);
      EXPECT_EQ(back.tag, "L0");
    }
}

TEST_F(ImageFiles, TheExtensionDecidesExactly) {
  CZZimage image(4, 4);
  for (const char* name : {"a.Bmp", "a.png", "a", "a.zZg"}) {
    EXPECT_FALSE(image.save(folder.file(name)));
    EXPECT_FALSE(fileExists(folder.file(name)));
  }
  EXPECT_TRUE(image.save(folder.file("a.tiff")));
  EXPECT_FALSE(image.load(folder.file("a.tiff")));
  EXPECT_FALSE(image.load(folder.file("absent.zzg")));
  EXPECT_FALSE(image.save(folder.file("no/such/folder.bmp")));
  EXPECT_TRUE(image.save(folder.file("a.bmp")));
  EXPECT_FALSE(image.load(folder.file("a.bmp"), {0, 0, 2, 2}));  // only .zzg knows rectangles
}

TEST_F(ImageFiles, ZzgReadsItsThreeForms) {
  const std::tuple<Bytes, int, int, int, int, int, int, int, int> cases[] = {
      {zzg({3, 2, 7, 1}, 6), 3, 2, 7, 1, 0, 0, 0, 1},
      {zzg({-1, 99, 7, 2, 3, 2, -4, 5}, 6), 3, 2, 7, 2, -4, 5, 0, 1},
      {zzg({-2, 36, -1, 0, 3, 2, 1, 2, 1}, 18), 3, 2, -1, 0, 1, 2, 1, 1},
      {zzg({-77, 0, 5, 0, 3, 2, 1, 2, 2}, 6), 3, 2, 5, 0, 1, 2, 2, 1},
  };
  for (const auto& [bytes, width, height, frame, interlace, x, y, colourset, first] : cases) {
    CZZimage image;
    ASSERT_TRUE(image.load(write("a.zzg", bytes)));
    EXPECT_EQ(std::tuple(image.width, image.height, image.frameNumber, image.interlace, image.xOrigin,
                         image.yOrigin, image.colourset, image.row(0)[0]),
              std::tuple(width, height, frame, interlace, x, y, colourset, first));
    EXPECT_EQ(image.row(1)[0], image.rowBytes + 1);
    ZzgHeader header;
    std::FILE* file = std::fopen(folder.file("a.zzg").c_str(), "rb");
    EXPECT_EQ(readHeader(file, header), static_cast<int64_t>(bytes.size()));
    std::fclose(file);
  }
}

TEST_F(ImageFiles, ZzgIsWrittenInTheCurrentForm) {
  CZZimage image(3, 2, 9);
  image.xOrigin = -1;
  fillWith(image, [](int x, int y) { return 10 * y + x; });
  ASSERT_TRUE(image.save(folder.file("a.zzg")));
  Bytes expected = zzg({-2, 36, 9, 0, 3, 2, -1, 0, 0}, 0);
  expected.insert(expected.end(), {0, 1, 2, 10, 11, 12});
  EXPECT_EQ(readWholeFile(folder.file("a.zzg")), expected);
  ASSERT_TRUE(image.save(folder.file("a.zzg"), {0, 1, 2, 5}));  // 1 to 3 in own columns
  expected = zzg({-2, 36, 9, 0, 2, 1, -1, 0, 0}, 0);
  expected.insert(expected.end(), {11, 12});
  EXPECT_EQ(readWholeFile(folder.file("a.zzg")), expected);
}

TEST_F(ImageFiles, AFieldOfAFrameCanBeWritten) {
  CZZimage frame(2, 4, 3), field;
  frame.yOrigin = 6;
  fillWith(frame, [](int, int y) { return y; });
  std::FILE* file = std::fopen(folder.file("f.zzg").c_str(), "wb");
  ASSERT_TRUE(writeField(file, frame, 2));
  std::fclose(file);
  ASSERT_TRUE(field.load(folder.file("f.zzg")));
  EXPECT_EQ(pixelsOf(field), (std::vector<int>{1, 1, 3, 3}));
  EXPECT_EQ(std::tuple(field.interlace, field.yOrigin, field.frameNumber), std::tuple(2, 3, 3));
}

TEST_F(ImageFiles, AShortZzgKeepsThePixelsThatWereThere) {
  CZZimage image(4, 3);
  image.fill(200);
  ASSERT_TRUE(image.load(write("a.zzg", zzg({4, 3, 0, 0}, 5))));
  EXPECT_EQ(pixelsOf(image), (std::vector<int>{1, 2, 3, 4, 5, 200, 200, 200, 200, 200, 200, 200}));
}

TEST_F(ImageFiles, ZzgRegionsAreSoughtFromTheFirstByte) {
  // Rows of 16 bytes: row 0 is the oldest form's header itself, row 1 the file's first pixels.
  const std::string path = write("a.zzg", zzg({16, 4, 7, 0}, 64));
  CZZimage image(20, 8);
  ASSERT_TRUE(image.load(path, {2, 1, 6, 4}));
  EXPECT_EQ(std::vector<int>(image.row(1) + 2, image.row(1) + 6), (std::vector<int>{16, 0, 0, 0}));
  EXPECT_EQ(std::vector<int>(image.row(2) + 2, image.row(2) + 6), (std::vector<int>{1, 2, 3, 4}));
  EXPECT_EQ(image.row(3)[2], 17);
  EXPECT_EQ(image.row(4)[2], 0);
  // A field in the file doubles its rows in a frame.
  write("a.zzg", zzg({16, 4, 7, 1}, 64));
  ASSERT_TRUE(image.load(path, {0, 0, 4, 5}));
  EXPECT_EQ(
      (std::vector<int>{image.row(0)[0], image.row(1)[0], image.row(2)[0], image.row(3)[0], image.row(4)[0]}),
      (std::vector<int>{16, 16, 1, 1, 17}));
  // A frame in the file gives field two its odd rows.
  write("a.zzg", zzg({16, 4, 7, 0}, 64));
  CZZimage field(20, 16, 0, 2);
  ASSERT_TRUE(field.load(path, {0, 0, 4, 8}));
  EXPECT_EQ(std::tuple(field.row(0)[0], field.row(1)[0], field.row(2)[0]), std::tuple(1, 33, 0));
  CZZimage colour(20, 8, 0, 0, kColour);
  EXPECT_FALSE(colour.load(path, {0, 0, 4, 4}));
}

TEST_F(ImageFiles, BmpOfGreyIsTheDisplayHeaderAndRowsTopDown) {
  CZZimage image(4, 2);
  image.setPalette(2);
  fillWith(image, [](int x, int y) { return 10 * y + x; });
  ASSERT_TRUE(image.save(folder.file("a.bmp")));
  const Bytes bytes = *readWholeFile(folder.file("a.bmp"));
  ASSERT_EQ(bytes.size(), 14u + 1064 + 8);
  const auto word = [&](size_t at) { return getLittle<int32_t>(bytes.data() + at); };
  EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 2), "BM");
  EXPECT_EQ(
      std::tuple(word(2), word(6), word(10), word(14), word(18), word(22), word(26), word(34), word(46)),
      std::tuple(1086, 0, 1078, 40, 4, -2, 1 | 8 << 16, 8, 256));
  EXPECT_EQ(word(54 + 4 * 9), 9 << 16);  // red ramp: blue, green, red, reserved
  EXPECT_EQ(Bytes(bytes.end() - 8, bytes.end()), (Bytes{0, 1, 2, 3, 10, 11, 12, 13}));
}

TEST_F(ImageFiles, AColourBmpOfOddWidthIsSkewed) {
  CZZimage image(5, 2, 0, 0, kColour);  // 24 bytes a row in memory, 16 in a bitmap
  fillWith(image, [](int x, int y) { return 100 * y + x + 1; });
  ASSERT_TRUE(image.save(folder.file("a.bmp")));
  const Bytes bytes = *readWholeFile(folder.file("a.bmp"));
  ASSERT_EQ(bytes.size(), 54u + 32);
  EXPECT_EQ(bytes[54 + 15], 0);    // padding of row 0
  EXPECT_EQ(bytes[54 + 24], 101);  // row 1 begins where memory has it
}

TEST_F(ImageFiles, ABayerImageBecomesAColourBmp) {
  CZZimage image(8, 4, 0, 0, kBayer), back;
  fillRandom(image, 8);
  ASSERT_TRUE(image.save(folder.file("a.bmp")));
  ASSERT_TRUE(back.load(folder.file("a.bmp")));
  EXPECT_EQ(back.colourset, kColour);
  EXPECT_EQ(back.row(1)[3], image.row(1)[1]);  // the blue site's blue
}

TEST_F(ImageFiles, BmpRectanglesAndChildrenAreCutOut) {
  CZZimage image(8, 4), back;
  fillRandom(image, 9);
  const auto child = image.makeChild({4, 1, 8, 3});
  ASSERT_TRUE(image.save(folder.file("a.bmp"), {4, 1, 8, 3}));
  ASSERT_TRUE(child->save(folder.file("b.bmp")));
  for (const char* name : {"a.bmp", "b.bmp"}) {
    ASSERT_TRUE(back.load(folder.file(name)));
    EXPECT_EQ(pixelsOf(back), pixelsOf(*child)) << name;
  }
}

TEST_F(ImageFiles, ABmpOfARectangleHasTheBlackZeroOfANewImage) {
  CZZimage image(8, 4);
  image.blackZero = 0;
  image.setPalette(1);
  const auto firstBlue = [&](const Rect& rect) {
    EXPECT_TRUE(image.save(folder.file("a.bmp"), rect));
    return readWholeFile(folder.file("a.bmp"))->at(54);
  };
  EXPECT_EQ(firstBlue({}), 255);
  EXPECT_EQ(firstBlue({0, 0, 4, 4}), 0);
}

TEST_F(ImageFiles, BmpDepthsAreReadByTheirRules) {
  struct Case {
    const char* what;
    Bytes info;
    std::vector<int> pixels;
  };
  const Bytes row24{1, 2, 3, 4, 5, 6, 0, 0}, other24{7, 8, 9, 10, 11, 12, 0, 0};
  Bytes two = row24;
  two.insert(two.end(), other24.begin(), other24.end());
  Bytes grey(1024, 9);
  grey.insert(grey.end(), {1, 2, 3, 4, 5, 6, 7, 8});
  Bytes greyOdd(1024, 9);
  greyOdd.insert(greyOdd.end(), {1, 2, 3, 0, 5, 6, 7, 0});
  const Case cases[] = {
      {"24 bottom-up", bitmap(2, 2, 24, 0, two), {7, 8, 9, 10, 11, 12, 1, 2, 3, 4, 5, 6}},
      {"24 top-down", bitmap(2, -2, 24, 0, two), {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}},
      {"32", bitmap(1, 1, 32, 0, {1, 2, 3, 4}), {1, 2, 3}},
      {"16", bitmap(2, 1, 16, 0, {0xFF, 0x12, 0x35, 0x7F}), {0, 0x1F, 0xE0, 0, 0x15, 0x20}},
      {"8 as indices", bitmap(4, -2, 8, 0, grey), {1, 2, 3, 4, 5, 6, 7, 8}},
      {"8 of odd width", bitmap(3, -2, 8, 0, greyOdd), {1, 2, 3, 5, 6, 7}},
      {"1 bit stays as allocated", bitmap(3, 1, 1, 0, Bytes(12, 0xFF)), {0, 0, 0}},
  };
  for (const Case& c : cases) {
    CZZimage image;
    ASSERT_TRUE(image.load(write("a.bmp", asFile(c.info)))) << c.what;
    EXPECT_EQ(pixelsOf(image), c.pixels) << c.what;
    EXPECT_EQ(std::tuple(image.frameNumber, image.interlace), std::tuple(0, 0));
  }
}

TEST_F(ImageFiles, TheHeadersMasksCountWhenTheCompressionSaysSo) {
  Bytes rest;
  append(rest, {0xF8, 0x0F, 0x33});  // red, green, blue; the pixels begin here too, by the rule for offsets
  CZZimage image;
  ASSERT_TRUE(loadBitmapBytes(image, bitmap(2, 1, 16, 3, rest), false));
  EXPECT_EQ(pixelsOf(image), (std::vector<int>{0xF8, 0xF8 & 0x33, 0xF8 & 0x0F, 0, 0, 0}));
}

TEST_F(ImageFiles, ClipboardGreyWeighsTheBytesOutOfOrder) {
  CZZimage image(1, 1, 0, 0, kColour);
  ASSERT_TRUE(loadBitmapBytes(image, bitmap(1, 1, 24, 0, {200, 100, 50, 0}), true));
  // 200 red's weight -> 59, + 100 blue's 11.4 -> 70, + 50 green's 29.35 -> 99.
  EXPECT_EQ(pixelsOf(image), (std::vector<int>{99}));
  EXPECT_EQ(image.colourset, kGrey);
  ASSERT_TRUE(loadBitmapBytes(image, bitmap(1, 1, 16, 0, {0x21, 0x04, 0, 0}), true));
  // 1 * 0.114 + 32 * 0.587 + 1024 * 0.299 = 325.07, of which a byte keeps 69.
  EXPECT_EQ(pixelsOf(image), (std::vector<int>{69}));
}

// A picture of 2 x 2 as another program writes it.
void writeForeign(const std::string& path, uint32_t bits, uint32_t samples, uint32_t planar,
                  const std::vector<Bytes>& lines) {
  writeTiff(path,
            {{.width = 2,
              .height = 2,
              .lines = lines,
              .bits = bits,
              .samples = samples,
              .photometric = static_cast<uint32_t>(samples == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK),
              .planar = planar}});
}

TEST_F(ImageFiles, TiffOfThreeSamplesBecomesGreyStepByStep) {
  const std::string path = folder.file("a.tif");
  writeForeign(path, 8, 3, PLANARCONFIG_CONTIG, {{200, 100, 50, 255, 255, 255}, {0, 0, 0, 10, 10, 10}});
  CZZimage image;
  ASSERT_TRUE(image.load(path));
  // 59.8 -> 59, + 58.7 -> 117, + 5.7 -> 122; white: 76, 225, 254; 10: 2, 7, 8.
  EXPECT_EQ(pixelsOf(image), (std::vector<int>{122, 254, 0, 8}));
  const std::vector<Bytes> planes{{1, 2}, {3, 4}, {5, 6}, {7, 8}, {200, 10}, {11, 12}};
  writeForeign(path, 8, 3, PLANARCONFIG_SEPARATE, planes);
  fillWith(image, [](int x, int y) { return 10 * y + x; });
  ASSERT_TRUE(image.load(path));
  EXPECT_EQ(pixelsOf(image), (std::vector<int>{0, 1, 10, 11}));  // weights under 1 add nothing
  greyWeights = {2.0, 0.5, 1.9};
  ASSERT_TRUE(image.load(path));  // signed samples: 2 * red + 1 * blue
  EXPECT_EQ(pixelsOf(image), (std::vector<int>{(0 + 2 + 200) & 255, 1 + 4 + 10, 10 + 6 + 11, 11 + 8 + 12}));
}

TEST_F(ImageFiles, TiffOfOtherKindsReadsNothing) {
  const std::string path = folder.file("a.tif");
  CZZimage image(2, 2);
  image.fill(5);
  writeForeign(path, 8, 2, PLANARCONFIG_CONTIG, {{1, 2, 3, 4}, {5, 6, 7, 8}});
  EXPECT_TRUE(image.load(path));
  EXPECT_EQ(image.countValue(5), 4);
  writeForeign(path, 16, 1, PLANARCONFIG_CONTIG, {{1, 2, 3, 4}, {5, 6, 7, 8}});
  std::string why;
  EXPECT_FALSE(image.load(path, {}, &why));
  EXPECT_EQ(why, texts::kNotGreylevel);
}

TEST_F(ImageFiles, AColourTiffIsTheFirstThirdOfEachRowAsGrey) {
  CZZimage colour(4, 2, 0, 0, kColour), back;
  fillWith(colour, [](int x, int y) { return 100 * y + x; });
  ASSERT_TRUE(colour.save(folder.file("a.tif")));
  ASSERT_TRUE(back.load(folder.file("a.tif")));
  EXPECT_EQ(pixelsOf(back), (std::vector<int>{0, 1, 2, 3, 100, 101, 102, 103}));
}

TEST_F(ImageFiles, TiffTellsItsMakerAndCountsMonthsFromZero) {
  const FixedClock clock(1737000000);  // 16 January 2025
  CZZimage image(4, 2);
  ASSERT_TRUE(image.save(folder.file("a.tif"), {1, 1, 2, 2}));  // the rectangle is ignored
  TIFF* tiff = TIFFOpen(folder.file("a.tif").c_str(), "r");
  char *make = nullptr, *software = nullptr, *date = nullptr;
  uint32_t width = 0;
  TIFFGetField(tiff, TIFFTAG_MAKE, &make);
  TIFFGetField(tiff, TIFFTAG_SOFTWARE, &software);
  TIFFGetField(tiff, TIFFTAG_DATETIME, &date);
  TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
  EXPECT_STREQ(make, "ZZ Instruments");
  EXPECT_STREQ(software, "Tarnvisor");
  EXPECT_EQ(std::string(date).substr(0, 8), "2025:00:");
  EXPECT_EQ(width, 4u);
  TIFFClose(tiff);
}

TEST_F(ImageFiles, FilesThatLieAreRefusedAndChangeNothing) {
  const Bytes big = bitmap(30000, 30000, 8, 0, Bytes(2000));
  const std::pair<const char*, Bytes> cases[] = {
      {"empty.zzg", {}},
      {"huge.zzg", zzg({-2, 36, 0, 0, 60000, 60000, 0, 0, 0}, 20)},
      {"overflow.zzg", zzg({-2, 36, 0, 0, INT32_MAX, INT32_MAX, 0, 0, 1}, 20)},
      {"negative.zzg", zzg({-2, 36, 0, 0, -5, 4, 0, 0, 0}, 20)},
      {"cut.zzg", zzg({-2, 36, 0, 0, 4}, 0)},
      {"colour.zzg", zzg({-2, 36, 0, 0, 2, 2, 0, 0, 9}, 20)},
      {"empty.bmp", Bytes(14)},
      {"short.bmp", asFile(Bytes(39))},
      {"huge.bmp", asFile(big)},
      {"unread.bmp", asFile(bitmap(60000, 60000, 4, 0, Bytes(64)))},
      {"overflow.bmp", asFile(bitmap(INT32_MAX, INT32_MAX, 32, 0, Bytes(64)))},
      {"lowest.bmp", asFile(bitmap(4, INT32_MIN, 8, 0, Bytes(2000)))},
      {"cut.bmp", asFile(bitmap(4, 4, 24, 0, Bytes(47)))},
      {"cut8.bmp", asFile(bitmap(3, 2, 8, 0, Bytes(1024 + 6)))},
      {"text.tif", {'h', 'e', 'l', 'l', 'o'}},
  };
  CZZimage image(4, 4, 77);
  image.fill(9);
  for (const auto& [name, bytes] : cases) {
    EXPECT_FALSE(image.load(write(name, bytes))) << name;
    EXPECT_EQ(std::tuple(image.width, image.frameNumber, image.countValue(9)), std::tuple(4, 77, int64_t{16}))
        << name;
  }
}

}  // namespace
}  // namespace tarnvisor
