#include "movie/rawheader.h"

#include "base/files.h"
#include "support/tempfolder.h"
#include "support/testing.h"

namespace tarnvisor {
namespace {

RawHeader read(std::string_view text, bool xml = false) {
  RawHeader header;
  const Outcome parsed = parseRawHeader(text, xml, header);
  EXPECT_EQ(parsed.why(), "") << text;
  return header;
}

std::string whyNot(std::string_view text, bool xml = false) {
  RawHeader header;
  return parseRawHeader(text, xml, header).why();
}

TEST(RawHeader, HasLinesOfKeysOrTags) {
  const std::pair<const char*, bool> forms[] = {
      {"WIDTH 6\r\nHEIGHT 2\nNUMBER_OF_FRAMES 9\nMAGNIFICATION 0.5", false},
      {"# its BANDWIDTH 7\nHEIGHT: 2\nWIDTH = 6\rNUMBER_OF_FRAMES\t+9\nMAGNIFICATION 5e-1\n", false},
      {"WIDTH and HEIGHT of a frame\nWIDTH 6\nHEIGHT 2\nNUMBER_OF_FRAMES 9\nMAGNIFICATION .5", false},
      {"<?xml version=\"1\"?>\n<H><WIDTH>6</WIDTH>\r\n<HEIGHT>2</HEIGHT><NUMBER_OF_FRAMES>9</NUMBER_OF_FRAMES>"
       "<MAGNIFICATION>0.5</MAGNIFICATION></H>",
       true},
      {"\xef\xbb\xbfWIDTH 6\nHEIGHT 2\nNUMBER_OF_FRAMES 9\nMAGNIFICATION 0.5", false},
      {"<H><!-- <WIDTH>7</WIDTH> --><WIDTH>6</WIDTH><HEIGHT>2</HEIGHT><NUMBER_OF_FRAMES>9</NUMBER_OF_FRAMES>"
       "<MAGNIFICATION>0.5</MAGNIFICATION></H>",
       false}};
  for (const auto& [text, xml] : forms) {
    const RawHeader header = read(text, xml);
    EXPECT_EQ(header.width, 6) << text;
    EXPECT_EQ(header.height, 2) << text;
    EXPECT_EQ(header.frames, 9) << text;
    EXPECT_EQ(header.magnification, 0.5) << text;
  }
  EXPECT_EQ(read("a\r\nb\n").text, "a  b ");
}

TEST(RawHeader, LeavesDefaultsForWhatIsMissing) {
  const RawHeader header = read("made on Monday");
  EXPECT_EQ(header.width, 640);
  EXPECT_EQ(header.height, 480);
  EXPECT_EQ(header.frames, 0);
  EXPECT_FALSE(header.magnification);
  EXPECT_TRUE(header.isSilent);
  EXPECT_FALSE(read("WIDTH 7").isSilent);
}

TEST(RawHeader, ThatLiesIsRefusedInWords) {
  for (const char* width : {"0", "-6", "99999999999", "6px", "six", "", "1e3"})
    EXPECT_THAT(whyNot(std::string("HEIGHT 2\nWIDTH ") + width), HasSubstr("Its WIDTH is")) << width;
  EXPECT_THAT(whyNot("NUMBER_OF_FRAMES -1"), HasSubstr("NUMBER_OF_FRAMES is \"-1\""));
  EXPECT_THAT(whyNot("MAGNIFICATION big"), HasSubstr("no number"));
  EXPECT_THAT(whyNot("WIDTH 6", true), HasSubstr("no whole XML tag"));
  EXPECT_THAT(whyNot(std::string("WIDTH 6\0", 8)), HasSubstr("no text"));
}

TEST(RawHeader, LiesBesideItsFrames) {
  const TempFolder folder;
  for (const char* name : {"a.raw", "a.txt", "b.RAW", "b.HDR"})
    ASSERT_TRUE(replaceFile(folder.file(name), std::string_view("WIDTH 7")));
  EXPECT_EQ(rawHeaderBeside(folder.file("a.raw")), folder.file("a.txt"));
  EXPECT_EQ(rawHeaderBeside(folder.file("b.RAW")), folder.file("b.HDR"));
  EXPECT_EQ(rawHeaderBeside(folder.file("c.raw")), "");
  EXPECT_EQ(rawFramesBeside(folder.file("b.hdr")), folder.file("b.RAW"));
  RawHeader header;
  EXPECT_THAT(readRawHeader(folder.file("none.hdr"), header).why(), HasSubstr("can't be read"));
}

}  // namespace
}  // namespace tarnvisor
