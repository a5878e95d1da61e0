// The dimension list: what its cells and its file say, and which image it mirrors.
#include "imagedoc/dimdoc.h"

#include "frame/mainframe.h"
#include "results/commandids.h"
#include "support/imagedoctest.h"
#include "support/recordingcanvas.h"

namespace tarnvisor {
namespace {

constexpr const char* kHeadings =
    "\"Line\",\"X\",\"Y\",\"Length\",\"Area\",\"Width\",\"Tort0\",\"Tort1\",\"Tort1n\",\"comments\",\r\n";

class DimensionTable : public ImageDocument {
 protected:
  // A line from (10, 20) over 30 by 40 pixels in an image moved by (5, -5) of 2 by 0.5 units a pixel.
  ZBasicDoc& imageWithLine() {
    ZBasicDoc& d = makeImage(64, 64);
    d.setTitle("hand");
    d.calibrated = 1;
    d.magx = 2.0;
    d.magy = 0.5;
    d.imageoffset = {5, -5};
    const int32_t line = d.addDimension({10, 20}, CDimList::kLine);
    d.addPointToDimension(line, {40, 60});
    d.currentDims().at(line).width = 3;
    d.currentDims().at(line).label = "first, \"one\"";
    return d;
  }
  static ZDimDoc& table() { return *ZDimDoc::shared(); }
  std::string saved(const std::string& name) {
    const std::string path = (exams->hasExam() ? exams->folder() : folder.path()) + name;
    EXPECT_TRUE(table().onSaveDocument(path));
    return readWholeText(path).value_or("");
  }
};

TEST_F(DimensionTable, ShowsTheCurrentListInUserUnitsWithTheOffsetAdded) {
  ZBasicDoc& d = imageWithLine();
  showDimensionList(d);
  EXPECT_EQ(app->documents.active(), &table());
  EXPECT_EQ(table().title(), "Dimensions-hand");
  ASSERT_EQ(table().rows().size(), 1u);
  // 30 * 2 by 40 * 0.5: sqrt(4000) long.
  EXPECT_THAT(table().rows()[0], ElementsAre("1", "  30.00", "   7.50", "  63.25", "   0.00", "   6.00",
                                             format("%7.2f", d.currentDims().at(0).Tortuosity0()),
                                             ::testing::_, ::testing::_, "first, \"one\""));
  int32_t curves = 0;
  const double tortuosity = d.currentDims().at(0).Tortuosity1(2.0, 0.5, curves);
  EXPECT_EQ(table().rows()[0][7], format("%7.4f", tortuosity));
  EXPECT_EQ(table().rows()[0][8], format("%3i", curves));

  d.calibrated = 0;
  d.addDimension({1, 1}, CDimList::kPoint);
  refreshDimensionList(d);
  EXPECT_EQ(table().rows()[0][3], "  50.00");
  ASSERT_EQ(table().rows().size(), 2u);
  EXPECT_EQ(table().rows()[1][0], "2");
  d.setCurrentList(kAmberList);
  refreshDimensionList(d);
  EXPECT_THAT(table().rows(), IsEmpty()) << "no stale rows";
  EXPECT_FALSE(table().isModified()) << "a mirror has nothing to lose";
}

TEST_F(DimensionTable, IsOneTableThatFollowsTheImageInFront) {
  ZBasicDoc& first = imageWithLine();
  ZBasicDoc& second = makeImage(8, 8);
  refreshDimensionList(first);
  EXPECT_EQ(ZDimDoc::shared(), nullptr) << "only opened when it is asked for";
  showDimensionList(first);
  ZDimDoc* only = ZDimDoc::shared();
  app->documents.activate(second);
  showDimensionList(second);
  EXPECT_EQ(ZDimDoc::shared(), only);
  EXPECT_EQ(process.dimTemplate->documents().size(), 1u);
  EXPECT_THAT(only->rows(), IsEmpty());
  refreshDimensionList(first);
  process.imageTemplate->discard(second);
  EXPECT_EQ(only->rows().size(), 1u) << "another image's end changes nothing";
  process.imageTemplate->discard(first);
  EXPECT_THAT(only->rows(), IsEmpty());
  EXPECT_EQ(only->title(), "Dimensions");
  only->fill(1, {}, 1, 1, nullptr, "x");
  EXPECT_EQ(only->title(), "Dimensions") << "nothing without a list";
  process.dimTemplate->discard(*only);
  EXPECT_EQ(ZDimDoc::shared(), nullptr);
}

TEST_F(DimensionTable, TheFileHoldsQuotedCellsAndTheExam) {
  ASSERT_TRUE(app->db->newSubject("S 1"));
  exams->selectSubject("S 1", "");
  ASSERT_TRUE(makeExamination("ring", ""));
  ZBasicDoc& d = imageWithLine();
  showDimensionList(d);
  const std::string identity = "\"Subject ID\",\"S 1\",\r\n\"Exam ID\",\"1\",\r\n";
  const std::string text = saved("list.csv");
  EXPECT_THAT(text,
              StartsWith(std::string(kHeadings) + "\"1\",\"  30.00\",\"   7.50\",\"  63.25\",\"   0.00\","));
  EXPECT_THAT(text, EndsWith(",\"first, \"one\"\",\r\n" + identity));
  const auto results = app->db->resultsOf(1);
  ASSERT_EQ(results.size(), 1u);
  EXPECT_EQ(results[0].filename, "list.csv");
  process.imageTemplate->discard(d);
  EXPECT_EQ(saved("none.csv"), identity) << "without an image";
}

TEST_F(DimensionTable, ReadingIsIgnoredAndTheFileIsNotWrittenOverUnasked) {
  ZBasicDoc& d = imageWithLine();
  showDimensionList(d);
  host.paths.push_back(folder.file("list.csv"));
  app->documents.activate(table());
  EXPECT_TRUE(table().save());
  EXPECT_TRUE(table().save()) << "the same list goes to the same file without a question";
  const std::string text = readWholeText(folder.file("list.csv")).value();
  d.setTitle("other");
  refreshDimensionList(d);
  host.paths.push_back(std::nullopt);
  EXPECT_FALSE(table().save()) << "another image's list asks for its own place";
  process.dimTemplate->discard(table());

  auto* opened = dynamic_cast<ZDimDoc*>(app->openDocumentFile(folder.file("list.csv")));
  ASSERT_NE(opened, nullptr);
  EXPECT_THAT(opened->rows(), IsEmpty());
  host.paths.push_back(std::nullopt);
  EXPECT_FALSE(opened->save()) << "nothing must not replace what was measured";
  EXPECT_EQ(readWholeText(folder.file("list.csv")).value(), text);
}

TEST_F(DimensionTable, TheViewHasMeasuredColumnsAndSelectsWholeRows) {
  ZBasicDoc& d = imageWithLine();
  for (int32_t i = 0; i < 3; ++i) d.addDimension({i, i}, CDimList::kPoint);
  showDimensionList(d);
  auto& view = static_cast<ZDimView&>(*table().views().front());
  RecordingCanvas canvas;
  view.draw(canvas);  // 7 pixels a character
  EXPECT_EQ(view.headRect(0).width(), 4 * 7 + 15);
  EXPECT_EQ(view.headRect(1).width(), 7 * 7 + 15);
  EXPECT_EQ(view.headRect(8).width(), 6 * 7 + 15);
  view.mouseDown({view.cellRect(1, 3).topLeft()});
  view.mouseMove({view.cellRect(2, 5).topLeft()});
  view.mouseUp({});
  view.mouseMove({view.cellRect(3, 5).topLeft()});
  EXPECT_EQ(app->runCommand(cmd::CopyResults), CommandResult::Done);
  const std::string copied = *host.clipboardText;
  EXPECT_THAT(copied, StartsWith("2\t"));
  EXPECT_THAT(copied, HasSubstr("\r\n3\t"));
  EXPECT_EQ(std::ranges::count(copied, '\n'), 2);
  d.deleteDimension(3);
  d.deleteDimension(2);
  refreshDimensionList(d);
  EXPECT_EQ(view.selectedCells().lastRow, 1) << "rows that are gone leave the selection";
}

}  // namespace
}  // namespace tarnvisor
