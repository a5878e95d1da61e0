#include "movie/tagreader.h"

#include "support/testing.h"

namespace tarnvisor {
namespace {

TEST(TagReader, TurnsNestedTagsIntoIndentedLines) {
  const std::pair<const char*, const char*> cases[] = {
      {"<?xml version=\"1.0\"?><a><WIDTH>640</WIDTH><b><c>x</c></b></a>", "\na=\n  WIDTH=640\n  b=\n    c=x"},
      {"<a unit=\"um\" k=\"2\">5</a><a/><b>2</b>", "\na unit=\"um\" k=\"2\"5\nb=2"},
      {"x<a> 1 </a>y<c><b/></c>", "\na= 1 \nc="},
      {"no tags", ""}};
  for (const auto& [input, lines] : cases) {
    std::string output;
    EXPECT_EQ(xmlToText(input, output), *lines != 0) << input;
    EXPECT_EQ(output, lines);
  }
  std::string many, output;
  for (int i = 0; i < 150000; ++i) many += "<a></a>";  // at once
  EXPECT_TRUE(xmlToText(many, output));
}

TEST(TagReader, TakesOneTagOffAndSaysWhatIsMissing) {
  const struct {
    const char *text, *output, *value, *rest;
    bool whole;
  } cases[] = {{"a<b>1</b>c", "\n    b=", "1", "c", true},
               {"<b x='1'/>c", "", "", "c", true},
               {"none", "", "bad xml tag (missing >)", "", false},
               {"a<b", "", "bad xml tag (missing >)", "", false},
               {"<b k=1>1</b k=1>", "\n    b k=1", "missing end tag", "", false}};
  for (const auto& c : cases) {
    std::string text = c.text, output, value = "before";
    EXPECT_EQ(xmlNext(text, output, 2, value), c.whole) << c.text;
    EXPECT_EQ(std::tie(output, value, text), std::make_tuple(c.output, c.value, c.rest)) << c.text;
  }
}

TEST(TagReader, FindsTheNumberAfterAKeyAndOneSign) {
  int32_t whole = -1;
  double number = -1;
  const std::pair<const char*, int32_t> cases[] = {{"WIDTH", 640},     {"HEIGHT", 48}, {"MAG", 2},
                                                   {"BIG", INT32_MAX}, {"LAST", 0},    {"none", 0}};
  for (const auto& [key, value] : cases) {
    EXPECT_EQ(xmlInt("\nWIDTH=640\nHEIGHT 48x\nMAG=2.5e1\nBIG=99999999999\nLAST", key, whole), *key != 'n');
    EXPECT_EQ(whole, value) << key;
  }
  EXPECT_TRUE(xmlDouble("\nMAG=2.5e1\n", "MAG", number));
  EXPECT_FALSE(xmlDouble("\nMAG=2\n", "NONE", number));
  EXPECT_EQ(number, 25.0);
}

}  // namespace
}  // namespace tarnvisor
