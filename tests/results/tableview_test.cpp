// Selecting, copying and drawing in a table's view.

#include "results/commandids.h"
#include "results/resultview.h"
#include "support/recordingcanvas.h"
#include "support/testhost.h"

namespace tarnvisor {
namespace {

constexpr ColumnRecord kColumns[] = {
    {0, 1, "name", 10, 0, 0}, {1, 0, "hidden", 5, 0, 0}, {2, 1, "a", 5, 3, 0}, {3, 1, "b", 5, 3, 0}};

// 100, 0, 50 and 50 pixels wide, rows of 20; the window shows the heads and four rows.
class Table : public ::testing::Test {
 protected:
  Table() {
    table.addcolumns(kColumns);
    table.addView(std::make_unique<CResultView>(table));
    view().setMetrics(10, 20);
    view().setWindowSize({150, 100});
    for (int i = 0; i < 6; ++i) (void)table.addrow({"r" + std::to_string(i), "u", {1.0 * i, 10.0 * i}});
    view().scrollTo({0, 0});
  }
  CResultView& view() { return static_cast<CResultView&>(*table.views().front()); }
  void drag(Point from, Point to, bool shift = false) {
    view().mouseDown({from, MouseButton::Left, shift, false});
    view().mouseMove({to, MouseButton::Left});
    view().mouseUp({to});
  }
  std::string copied() {
    CommandTarget* const chain[] = {&view()};
    EXPECT_EQ(routeCommand(chain, cmd::Copy), CommandResult::Done);
    return *host.clipboardText;
  }
  TestHost host;
  CResultDoc table;
};

TEST_F(Table, TheMouseSelectsWhatIsCopied) {
  drag({105, 45}, {20, 65});  // backwards over two rows; the hidden column is none
  EXPECT_EQ(copied(), "r1\t  1\r\nr2\t  2\r\n");
  drag({105, 85}, {105, 85}, true);
  EXPECT_EQ(copied(), "  1\r\n  2\r\n  3\r\n") << "Shift keeps the first corner";
  drag({120, 5}, {120, 5});
  EXPECT_EQ(copied(), "  0\r\n  1\r\n  2\r\n  3\r\n  4\r\n  5\r\n") << "a head is its whole column";
  CommandTarget* const chain[] = {&view()};
  EXPECT_EQ(routeCommand(chain, cmd::SelectAll), CommandResult::Done);
  EXPECT_EQ(view().selectedCells().lastRow, 5);
  view().mouseDown({{20, 99}, MouseButton::Right});
  EXPECT_EQ(view().selectedCells().lastRow, 5) << "only the left button selects";
  view().scrollTo({0, 9999});
  view().setWindowSize({400, 400});
  view().mouseDown({{20, 300}});
  EXPECT_TRUE(view().selectedCells().isEmpty()) << "a press beside the table";
  EXPECT_EQ(copied().substr(0, 8), "r0\t  0\t ") << "all of it with nothing selected";
}

TEST_F(Table, DraggingPastAnEdgeScrolls) {
  view().mouseDown({{120, 25}});
  for (int i = 0; i < 10; ++i) view().mouseMove({{500, 5000}});
  EXPECT_EQ(view().scrollPosition(), (Point{50, 40}));
  EXPECT_EQ(view().selectedCells().lastRow, 5);
  EXPECT_EQ(view().selectedCells().lastColumn, 3);
  for (int i = 0; i < 10; ++i) view().mouseMove({{-500, -5000}});
  EXPECT_EQ(view().scrollPosition(), (Point{0, 0}));
  EXPECT_EQ(view().selectedCells().firstColumn, 0);
  view().mouseMove({{120, 25}, MouseButton::None});
  view().mouseMove({{500, 5000}});
  EXPECT_EQ(view().selectedCells().lastRow, 0) << "released where the table couldn't see it";
}

TEST_F(Table, AnEmptyTableTakesTheMouseAndCopiesNothing) {
  CResultDoc none;
  none.addView(std::make_unique<CResultView>(none));
  CView& bare = *none.views().front();
  RecordingCanvas canvas;
  bare.draw(canvas);
  bare.mouseDown({{5, 5}});
  bare.mouseMove({{50, 50}});
  CommandTarget* const chain[] = {&bare};
  EXPECT_EQ(routeCommand(chain, cmd::CopyResults), CommandResult::Disabled);
}

TEST_F(Table, DrawsHeadsOverRowsAndTheSelectionUnderItsText) {
  table.setselection(2, 1, 2, 1);
  view().scrollTo({0, 10});
  RecordingCanvas canvas;
  view().draw(canvas);
  const auto at = [&](const std::string& call) {
    const auto found = std::ranges::find(canvas.calls, call);
    EXPECT_NE(found, canvas.calls.end()) << call;
    return found - canvas.calls.begin();
  };
  // Row 0 lies half under the heads: it is cut at them.
  at("clip 0,20-100,30");
  // Row 1 at 30, its cell of 50 pixels with a number of 21 to the right.
  EXPECT_LT(at("fill 100,30-150,50 f7dcbd"), at("text 125,32 202020 \"  1\""));
  EXPECT_LT(at("text 4,32 202020 \"r1\""), at("text 4,2 202020 \"name\""));
  for (const std::string& call : canvas.calls) EXPECT_THAT(call, ::testing::Not(HasSubstr("hidden")));
}

TEST_F(Table, MeasuresItselfWhenNobodyTells) {
  CResultDoc other;
  other.addcolumns(kColumns);
  CResultView measured(other);
  RecordingCanvas canvas;  // 7 by 16 a character
  measured.draw(canvas);
  EXPECT_EQ(measured.headRect(0), (Rect{0, 0, 70, 20}));
}

TEST_F(Table, AWideTableOfADamagedFileDoesNotOverflow) {
  CResultDoc wide;
  const std::vector<ColumnRecord> columns(60000, ColumnRecord{0xffff, 1, "w", 0xffff, 0, 0});
  wide.addcolumns(columns);
  CResultView look(wide);
  look.setMetrics(100, 20);
  EXPECT_GT(look.contentSize().width, 0);
  look.scrollTo({std::numeric_limits<int32_t>::max(), 0});
  RecordingCanvas canvas;
  look.draw(canvas);
  look.mouseDown({{10, 30}});
}

}  // namespace
}  // namespace tarnvisor
