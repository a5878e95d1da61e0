#include "image/stillimport.h"

#include "support/tempfolder.h"
#include "support/tifffile.h"

namespace tarnvisor {
namespace {

using Values = std::vector<int>;

class StillImport : public ::testing::Test {
 protected:
  static std::string still(const std::string& name) { return std::string(STILLS_FOLDER) + name; }

  // All samples of a page; the words of a refusal in place of them.
  Values import(const std::string& path, int32_t page = 0) {
    const Outcome done = importStill(path, page, image);
    EXPECT_TRUE(done) << done.why();
    Values all;
    for (int32_t y = 0; y < image.height; ++y)
      all.insert(all.end(), image.row(y), image.row(y) + image.rowBytes);
    return all;
  }
  std::string refusal(const std::string& path, int32_t page = 0) {
    image.reset();
    const Outcome done = importStill(path, page, image);
    EXPECT_FALSE(done) << path;
    EXPECT_TRUE(image.empty());
    return done.why();
  }

  struct Page {
    uint16_t bits, samples, photometric;
    std::vector<uint16_t> values;  // of two rows
    bool tiled = false;
  };
  std::string write(const std::vector<Page>& pages) {
    std::vector<TiffPage> all;
    for (const Page& page : pages) {
      const size_t line = page.values.size() / 2, across = page.tiled ? 16 : line;
      // What lies beyond the picture in a tile must not count.
      std::vector<uint16_t> wide(page.tiled ? 256 : page.values.size(), 9999);
      for (size_t i = 0; i < page.values.size(); ++i) wide[i / line * across + i % line] = page.values[i];
      Bytes bytes(wide.begin(), wide.end());
      if (page.bits == 16) {
        bytes.resize(2 * wide.size());
        std::memcpy(bytes.data(), wide.data(), bytes.size());
      }
      const auto half = bytes.begin() + static_cast<ptrdiff_t>(bytes.size() / 2);
      std::vector<Bytes> lines{{bytes.begin(), half}, {half, bytes.end()}};
      if (page.tiled) lines = {bytes};
      TiffPage made{
          static_cast<uint32_t>(line / page.samples), 2, lines, page.bits, page.samples, page.photometric};
      made.tileSide = page.tiled ? 16 : 0;
      all.push_back(made);
    }
    return writeTiff(folder.file("a.tif"), all);
  }

  TempFolder folder;
  CZZimage image;
};

TEST_F(StillImport, KeepsColourAndStretchesWideSamples) {
  EXPECT_EQ(import(still("colour.png")),
            (Values{10, 100, 200, 1, 2, 3, 255, 0, 0, 0, 255, 0, 0, 0, 255, 7, 8, 9}));
  EXPECT_EQ(image.colourset, kColour);
  // From 65 to 3000: (v - 65) * 255 / 2935, rounded.
  EXPECT_EQ(import(still("grey16.png")), (Values{81, 168, 255, 125, 81, 0}));
  EXPECT_EQ(image.colourset, kGrey);
  EXPECT_EQ(import(still("greypalette.png")), (Values{200, 5, 90}));
  EXPECT_EQ(image.colourset, kGrey);
  for (const int v : import(still("grey.jpg"))) ASSERT_EQ(v, 77);
  const Values jpeg = import(still("colour.jpg"));
  ASSERT_EQ(jpeg.size(), 16u * 16 * 3);
  for (size_t i = 0; i < jpeg.size(); ++i) ASSERT_NEAR(jpeg[i], (Values{10, 100, 200})[i % 3], 3);
}

TEST_F(StillImport, ReadsThePagesOfATiff) {
  const std::string path = write({{16, 1, PHOTOMETRIC_MINISBLACK, {100, 200, 300, 610}},
                                  {8, 3, PHOTOMETRIC_RGB, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}},
                                  {16, 3, PHOTOMETRIC_RGB, {0, 510, 255, 2, 4, 6}},
                                  {8, 1, PHOTOMETRIC_MINISWHITE, {255, 0, 1, 250}},
                                  {16, 1, PHOTOMETRIC_MINISWHITE, {65535, 65025, 65280, 65535}},
                                  {16, 1, PHOTOMETRIC_MINISBLACK, {0, 52, 102, 510}, true}});
  EXPECT_EQ(stillPages(path), 6);
  EXPECT_EQ(import(path, 0), (Values{0, 50, 100, 255}));
  EXPECT_EQ(import(path, 1), (Values{3, 2, 1, 6, 5, 4, 9, 8, 7, 12, 11, 10}));
  EXPECT_EQ(import(path, 2), (Values{128, 255, 0, 3, 2, 1}));
  EXPECT_EQ(import(path, 3), (Values{0, 255, 254, 5}));
  EXPECT_EQ(import(path, 4), (Values{0, 255, 128, 0}));
  EXPECT_EQ(import(path, 5), (Values{0, 26, 51, 255}));
  EXPECT_NE(refusal(path, 6).find("no page"), std::string::npos);
  EXPECT_NE(refusal(path, -1).find("no page"), std::string::npos);
}

TEST_F(StillImport, KnowsWhatTheImageBufferLoadsAsItStands) {
  EXPECT_TRUE(loadsAsItStands(write({{8, 1, PHOTOMETRIC_MINISBLACK, {1, 2, 3, 4}}})));
  for (const Page& page :
       {Page{8, 1, PHOTOMETRIC_MINISWHITE, {1, 2, 3, 4}}, Page{16, 1, PHOTOMETRIC_MINISBLACK, {1, 2, 3, 4}},
        Page{8, 3, PHOTOMETRIC_RGB, {1, 2, 3, 4, 5, 6}}})
    EXPECT_FALSE(loadsAsItStands(write({page})));
  const Page grey{8, 1, PHOTOMETRIC_MINISBLACK, {1, 2, 3, 4}};
  EXPECT_FALSE(loadsAsItStands(write({grey, grey})));
  std::string bitmap(54, '\0');
  for (const int bits : {1, 4, 8, 24, 32}) {
    bitmap[28] = static_cast<char>(bits);
    ASSERT_TRUE(replaceFile(folder.file("a.bmp"), std::string_view(bitmap)));
    EXPECT_EQ(loadsAsItStands(folder.file("a.bmp")), bits >= 8) << bits;
  }
  bitmap[30] = 1;  // compressed
  ASSERT_TRUE(replaceFile(folder.file("a.bmp"), std::string_view(bitmap)));
  EXPECT_FALSE(loadsAsItStands(folder.file("a.bmp")));
  EXPECT_TRUE(isStillFile("x/Y.JPEG"));
  EXPECT_FALSE(isStillFile("x.jpeg/y.tv1"));
}

TEST_F(StillImport, A16BitBitmapShowsItsColours) {
  std::string bitmap(54, '\0');
  const auto put = [&](size_t at, std::initializer_list<int> bytes) {
    for (const int b : bytes) bitmap[at++] = static_cast<char>(b);
  };
  put(0, {'B', 'M', 58});
  put(10, {54, 0, 0, 0, 40});
  put(18, {2, 0, 0, 0, 1, 0, 0, 0, 1, 0, 16});
  bitmap += std::string{0x1f, 0, 0, 0x7c};  // 5 bits of blue, of red
  ASSERT_TRUE(replaceFile(folder.file("a.bmp"), std::string_view(bitmap)));
  EXPECT_FALSE(loadsAsItStands(folder.file("a.bmp")));
  EXPECT_EQ(import(folder.file("a.bmp")), (Values{255, 0, 0, 0, 0, 255}));
}

// A page of one level, `side` pixels each way; `stored` of its rows are written.
std::string flatTiff(const TempFolder& folder, uint32_t compression, uint32_t bits, uint32_t side,
                     size_t stored) {
  const std::vector<Bytes> lines(stored, Bytes(side));
  return writeTiff(
      folder.file("flat.tif"),
      {{.width = side, .height = side, .lines = lines, .bits = bits, .compression = compression}});
}

TEST_F(StillImport, ATiffThatTellsOfMoreThanItHoldsIsRefusedBeforeMemoryIsTaken) {
  for (const uint32_t compression : {COMPRESSION_NONE, COMPRESSION_PACKBITS, COMPRESSION_LZW,
                                     COMPRESSION_ADOBE_DEFLATE, COMPRESSION_CCITTFAX4}) {
    const uint32_t bits = compression == COMPRESSION_CCITTFAX4 ? 1 : 8;
    const std::string small = flatTiff(folder, compression, bits, 14000, 1);
    EXPECT_THAT(refusal(small), testing::HasSubstr("fewer pixels")) << compression;
    const std::string whole = flatTiff(folder, compression, bits, 2000, 2000);
    EXPECT_EQ(import(whole).size(), 4'000'000u) << compression << " compresses as far as it goes";
    if (bits == 8) {
      EXPECT_TRUE(image.load(whole));
      std::string why;
      EXPECT_FALSE(image.load(flatTiff(folder, compression, bits, 14000, 1), {}, &why));
      EXPECT_THAT(why, testing::HasSubstr("fewer pixels"));
    }
  }
}

TEST_F(StillImport, RefusesWhatIsNoPictureInWords) {
  EXPECT_NE(refusal(folder.file("none.png")).find("does not exist"), std::string::npos);
  for (const char* name : {"a.png", "a.tif", "a.jpg"}) {
    ASSERT_TRUE(replaceFile(folder.file(name), std::string_view("no picture at all")));
    EXPECT_NE(refusal(folder.file(name)).find(name), std::string::npos);
  }
  EXPECT_NE(refusal(still("huge.png")).find("too large"), std::string::npos);
  // A list of other files is no picture, whatever it is called.
  ASSERT_TRUE(
      replaceFile(folder.file("b.png"), "ffconcat version 1.0\nfile '" + still("colour.png") + "'\n"));
  EXPECT_NE(refusal(folder.file("b.png")).find("no picture"), std::string::npos);
}

TEST_F(StillImport, TellsOfDamageThatTheDecoderFillsWithGrey) {
  auto whole = *readWholeFile(still("grey.jpg"));
  std::string flaw;
  EXPECT_TRUE(importStill(still("grey.jpg"), 0, image, &flaw));
  EXPECT_EQ(flaw, "");
  for (const size_t cut : {size_t{3}, size_t{100}, whole.size() - 5, whole.size()}) {
    std::vector<uint8_t> bytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(cut));
    if (cut == whole.size()) bytes[cut - 10] ^= 0x55;
    ASSERT_TRUE(replaceFile(folder.file("cut.jpg"), std::span<const uint8_t>(bytes)));
    EXPECT_NE(refusal(folder.file("cut.jpg")).find("damaged"), std::string::npos) << cut;
    if (cut > 100) {
      EXPECT_TRUE(importStill(folder.file("cut.jpg"), 0, image, &flaw)) << cut;
      EXPECT_NE(flaw.find("grey or out of place"), std::string::npos) << cut;
    }
  }
}

}  // namespace
}  // namespace tarnvisor
