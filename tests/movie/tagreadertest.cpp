#include <gtest/gtest.h>

#include "movie/tagreader.h"

namespace tarnvisor {
namespace {

TEST(TagReader, TurnsNestedTagsIntoIndentedLines) {
  const struct {
    const char *input, *output;
  } cases[] = {
      {"<?xml version=\"1.0\"?><a><WIDTH>640</WIDTH><b><c>x</c></b></a>", "\na=\n  WIDTH=640\n  b=\n    c=x"},
      {"<a>1</a><b>2</b>", "\na=1\nb=2"},
      {"<a unit=\"um\" k=\"2\">5</a>", "\na unit=\"um\" k=\"2\"5"},
      {"<a/><b>2</b>", "\nb=2"},
      {"<a><b/></a>", "\na="},
      {"x<a> 1 </a>y", "\na= 1 "},
  };
  for (const auto& c : cases) {
    std::string output;
    EXPECT_TRUE(xmlToText(c.input, output)) << c.input;
    EXPECT_EQ(output, c.output) << c.input;
  }
  std::string output;
  EXPECT_FALSE(xmlToText("no tags", output));
}

TEST(TagReader, TakesOneTagOffAndSaysWhatIsMissing) {
  const struct {
    const char *text, *output, *value, *rest;
    bool whole;
  } cases[] = {
      {"a<b>1</b>c", "\n    b=", "1", "c", true},
      {"<b/>c", "", "", "c", true},
      {"<b x='1'/>c", "", "", "c", true},
      {"none", "", "bad xml tag (missing >)", "", false},
      {"a<b", "", "bad xml tag (missing >)", "", false},
      {"<b>1<b>", "\n    b=", "missing end tag", "", false},
      {"<b k=1>1</b k=1>", "\n    b k=1", "missing end tag", "", false},
  };
  for (const auto& c : cases) {
    std::string text = c.text, output, value = "before";
    EXPECT_EQ(xmlNext(text, output, 2, value), c.whole) << c.text;
    EXPECT_EQ(output, c.output) << c.text;
    EXPECT_EQ(value, c.value) << c.text;
    EXPECT_EQ(text, c.rest) << c.text;
  }
}

TEST(TagReader, FindsTheNumberAfterAKeyAndOneSign) {
  const std::string text = "\nWIDTH=640\nHEIGHT 48x\nMAG=2.5e1\nBIG=99999999999\nEMPTY=\nLAST";
  int32_t whole = -1;
  double number = -1;
  const std::pair<const char*, int32_t> wholes[] = {{"WIDTH", 640},     {"HEIGHT", 48}, {"MAG", 2},
                                                    {"BIG", INT32_MAX}, {"LAST", 0},    {"IDTH", 640}};
  for (const auto& [key, value] : wholes) {
    EXPECT_TRUE(xmlInt(text, key, whole)) << key;
    EXPECT_EQ(whole, value) << key;
  }
  EXPECT_TRUE(xmlDouble(text, "MAG", number));
  EXPECT_EQ(number, 25.0);
  EXPECT_FALSE(xmlInt(text, "width", whole));
  EXPECT_FALSE(xmlDouble(text, "NONE", number));
  EXPECT_EQ(whole, 640);
  EXPECT_EQ(number, 25.0);
}

TEST(TagReader, EndsSoonOnLongAndDeepTexts) {
  std::string flat, deep, output;
  for (int i = 0; i < 150000; ++i) flat += "<a></a>";
  for (int i = 0; i < 20000; ++i) deep = "<a>" + std::move(deep);
  for (int i = 0; i < 20000; ++i) deep += "</a>";
  EXPECT_TRUE(xmlToText(flat, output));
  EXPECT_EQ(output.size(), 3u * 150000u);
  EXPECT_TRUE(xmlToText(deep, output));
}

}  // namespace
}  // namespace tarnvisor
