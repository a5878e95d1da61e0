// The commands that measure capillaries along lines: labels, tables, loops, what is asked.
#include "charts/livechartdoc.h"
#include "viewtest.h"

namespace tarnvisor {
namespace {

constexpr const char* kWidths = "Diameter Calculation Results";
constexpr const char* kLoops = "Nailfold Capillary loop measurements";

class Widths : public ImageView {
 protected:
  // Two upright vessels 10 wide, 40 apart, and a line across each.
  void SetUp() override {
    ImageView::SetUp();
    d = &show({100, 100});
    d->image->fill(170);
    for (int32_t y = 0; y < 100; ++y)
      for (const int32_t x : {25, 65}) std::fill_n(d->image->row(y) + x, 10, uint8_t{100});
    line({15, 40}, {45, 40});
    line({55, 60}, {85, 60});
    process.quietMode = 1;
  }
  void line(Point from, Point to) { d->addPointToDimension(d->addDimension(from, CDimList::kLine), to); }
  const std::string& label(int32_t i) { return d->currentDims().at(i).label; }
  ZBasicDoc* d = nullptr;
};

TEST_F(Widths, OfAllLinesAreLabelsAndRowsThatUndoTakesBack) {
  ASSERT_TRUE(d->setScale(0.5, 1.0, "x", 0, false, false));
  line({2, 40}, {2, 90});
  d->currentDims().at(2).label = "w=9.0 um";
  d->addDimension({50, 50}, CDimList::kCircle);
  settings.setInt("capwidth", "edgesub", 1);
  run("Find capillary width");
  EXPECT_EQ(label(0), "w=5.0 um");
  EXPECT_EQ(label(2), "") << "there is no width";
  EXPECT_THAT(resultCells(1, 0, 4, kWidths), ElementsAre(d->title(), "um", "2", "5.0"));
  EXPECT_EQ(findResultDocument(kWidths)->rowCount(), 2u);
  EXPECT_THAT(d->notes, HasSubstr("capillary widths by edge detection, edges between the pixels\r\n"));
  app->documents.activate(*d);
  run("Undo");
  EXPECT_EQ(label(2), "w=9.0 um");
}

TEST_F(Widths, OfTheSelectedLineIsShownAndAsked) {
  process.quietMode = 0;
  view->selected = 1;
  const std::pair<const char*, const char*> cases[] = {
      {"&Skip Use", ""}, {"&Accept", "w=10.0 pixel"}, {"&Skip Use", "w=10.0 pixel"}, {"&Reject Value", ""}};
  for (const auto& [verdict, after] : cases) {
    host.fills.push_back([&](Form& form) {
      EXPECT_EQ(form.fields().front().label, "diameter = 10.0 pixel");
      EXPECT_EQ(viewOf(*findLiveChart("Grey level profile"))->selto, 19);
      return form.find("verdict")->take(verdict).empty();
    });
    run("Find capillary width");
    EXPECT_EQ(label(1), after) << verdict;
  }
  EXPECT_EQ(findResultDocument(kWidths)->rowCount(), 1u);
}

TEST_F(Widths, MethodIsStoredAndAnOldNumberIsTheThird) {
  process.quietMode = 0;
  settings.setInt("capwidth", "method", 0);
  host.fills.push_back([](Form& form) {
    EXPECT_EQ(form.find("method")->value(), "outer edge detection");
    return form.find("method")->take("threshold").empty();
  });
  run("capillary width method ...");
  EXPECT_EQ(settings.getInt("capwidth", "method", 9), 1);
}

TEST_F(Widths, OfLoopsGiveRowsTheirSummaryAndADrawing) {
  d->addDimension({10, 20}, CDimList::kPoint);
  run("Measure nailfold loops");
  EXPECT_EQ(label(0), "w=10.0 pixel\n");
  EXPECT_THAT(resultCells(0, 2, 9, kLoops), ElementsAre("1", "10.0", "0.0", "0.0", "0.0", "29.00", "40.00"));
  EXPECT_THAT(resultCells(2, 2, 9, kLoops), ElementsAre("3", "0.0", "0.0", "0.0", "0.0", "10.00", "20.00"));
  EXPECT_THAT(resultCells(3, 2, 4, kLoops), ElementsAre("3", "10.0"));
  EXPECT_THAT(resultCells(3, 7, 12, kLoops), ElementsAre("0.65", "16.58", "25.15", "0.959", "0.99"));
  const CDimList& drawn = d->dimlists[kNailfoldList];
  EXPECT_THAT(drawn.at(3).points, ElementsAre(Point{10, 20}, Point{29, 40}, Point{69, 60}));
  EXPECT_THAT(drawn.at(4).points, ElementsAre(Point{0, 16}, Point{100, 81}));
}

TEST_F(Widths, OfLoopsAreFittedToTheFirstHundredAndNotToOne) {
  view->selected = 0;
  run("Measure nailfold loops");
  EXPECT_THAT(resultCells(1, 7, 12, kLoops), ElementsAre("0.00", "0.00", "0.00", "0.000", "0.00"));
  app->documents.activate(*d);
  d->currentDims().removeAll();
  view->selected = -1;
  for (int32_t i = 0; i < 121; ++i) d->addDimension({i, i < 100 ? 50 : 0}, CDimList::kPoint);
  run("Measure nailfold loops");
  EXPECT_THAT(resultCells(123, 2, 3, kLoops), ElementsAre("121"));
  EXPECT_THAT(resultCells(123, 7, 9, kLoops), ElementsAre("0.00", "50.00"));
}

}  // namespace
}  // namespace tarnvisor
