#include "report/pages.h"

#include "drawing/partcanvas.h"
#include "drawing/textwrap.h"
#include "support/recordingcanvas.h"

namespace tarnvisor {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

// Of text 7 pixels a letter and 16 high.
std::string textOf(const RecordingJob& job) {
  std::string all;
  for (const RecordingCanvas& page : job.pages)
    for (const std::string& call : page.calls)
      if (call.starts_with("text")) all += call.substr(call.find('"') + 1);
  return all;
}

TEST(ReportPages, GoOnOverTheNextPageAndCountAsDrawn) {
  const auto content = [](ReportPages& pages) {
    for (int i = 0; i < 30; ++i) pages.paragraph(format("line %i", i));
  };
  RecordingJob counted({700, 300}), drawn({700, 300});
  int32_t total = 0;
  {
    ReportPages pages(counted, "foot", 0);
    content(pages);
    total = pages.count();
  }
  EXPECT_EQ(textOf(counted), "");
  {
    ReportPages pages(drawn, "foot", total);
    content(pages);
  }
  EXPECT_EQ(drawn.pages.size(), 2u);
  EXPECT_EQ(total, 2);
  EXPECT_THAT(textOf(drawn), HasSubstr("line 29"));
  EXPECT_THAT(drawn.pages[1].calls, ::testing::Contains(HasSubstr("page 2 of 2")));
}

TEST(ReportPages, TellOfEachRowThatATableLeavesOut) {
  ReportTable table{.title = "Marks", .columns = {{"No", true}}};
  for (int i = 1; i <= 9; ++i) table.rows.push_back({format("row %i", i)});
  RecordingJob job({700, 900});
  {
    ReportPages pages(job, "", 1);
    pages.table(table, 4);
  }
  EXPECT_THAT(textOf(job), HasSubstr("row 4"));
  EXPECT_THAT(textOf(job), Not(HasSubstr("row 5")));
  EXPECT_THAT(textOf(job), HasSubstr("... and 5 more"));
}

TEST(ReportPages, KeepEachColumnOfAWideTableWithinThePage) {
  ReportTable table{.title = "", .columns = {}};
  table.rows.emplace_back();
  for (int i = 0; i < 20; ++i) {
    table.columns.push_back({format("heading %i", i), true});
    table.rows[0].push_back(i == 7 ? std::string(200, 'x') : format("cell %i", i));
  }
  RecordingJob job({700, 900});
  {
    ReportPages pages(job, "", 1);
    pages.table(table, 4);
  }
  for (int i = 0; i < 20; ++i) EXPECT_THAT(textOf(job), HasSubstr(format("heading %i", i)));
  for (const std::string& call : job.pages[0].calls) {
    int x = 0, y = 0;
    if (std::sscanf(call.c_str(), "text %d,%d", &x, &y) != 2) continue;
    const auto letters = static_cast<int>(call.rfind('"') - call.find('"') - 1);
    EXPECT_LE(x + 7 * letters, 700) << call;
  }
}

TEST(TextWrap, BreaksAtBlanksAndKeepsCharactersWhole) {
  const RecordingCanvas canvas;
  EXPECT_THAT(wrapped(canvas, "one two three", 7 * 8), ElementsAre("one two", "three"));
  EXPECT_THAT(wrapped(canvas, "µµµ", 7 * 3), ElementsAre("µ", "µ", "µ"));
  EXPECT_THAT(wrapped(canvas, "", 70), ElementsAre(""));
}

TEST(PartCanvas, ScalesPensAndPlacesAndLiftsNoClipBeyondItsOwn) {
  RecordingCanvas page;
  PartCanvas part(page, {100, 50, 300, 150}, {100, 50});
  part.setPen({0xff, 2, false});
  part.rectangle({10, 10, 20, 20});
  part.setClip({});
  EXPECT_THAT(page.calls, ElementsAre("clip 100,50-300,150", "pen ff width 4", "rectangle 120,70-140,90",
                                      "clip 100,50-300,150"));
}

}  // namespace
}  // namespace tarnvisor
