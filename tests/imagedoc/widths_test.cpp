// The commands that measure capillaries along lines: labels, tables, loops, what is asked.
#include "charts/livechartdoc.h"
#include "viewtest.h"

namespace tarnvisor {
namespace {

constexpr const char* kWidths = "Diameter Calculation Results";
constexpr const char* kLoops = "Nailfold Capillary loop measurements";

class Widths : public ImageView {
 protected:
  // Upright vessels 10 wide, every 40 pixels from 30 on, and lines across them.
  ZBasicDoc& vessels(int32_t count) {
    ZBasicDoc& d = show({40 * count + 20, 100});
    d.image->fill(170);
    for (int32_t i = 0; i < count; ++i)
      for (int32_t y = 0; y < 100; ++y)
        for (int32_t x = 25; x < 35; ++x) d.image->setPixel(40 * i + x, y, 100);
    for (int32_t i = 0; i < count; ++i) line(d, {40 * i + 15, 40}, {40 * i + 45, 40});
    process.quietMode = 1;
    return d;
  }
  static void line(ZBasicDoc& d, Point from, Point to) {
    d.addPointToDimension(d.addDimension(from, CDimList::kLine), to);
  }
  static std::string label(ZBasicDoc& d, int32_t i) { return d.currentDims().at(i).label; }
};

TEST_F(Widths, OfAllLinesAreLabelsAndRowsThatUndoTakesBack) {
  ZBasicDoc& d = vessels(2);
  ASSERT_TRUE(d.setScale(0.5, 1.0, "x", 0, false, false));
  line(d, {2, 40}, {2, 90});
  d.addDimension({50, 50}, CDimList::kPoint);
  d.addDimension({50, 50}, CDimList::kCircle);
  d.currentDims().at(2).label = "w=9.0 um";
  d.setModified(false);
  run("Find capillary width");
  EXPECT_EQ(label(d, 0), "w=5.0 um");
  EXPECT_EQ(label(d, 1), "w=5.0 um");
  EXPECT_EQ(label(d, 2), "") << "there is no width";
  EXPECT_EQ(label(d, 3), "");
  EXPECT_TRUE(d.isModified());
  EXPECT_THAT(resultCells(0, 0, 4, kWidths), ElementsAre(d.title(), "um", "1", "5.0"));
  EXPECT_EQ(resultCells(1, 2, 3, kWidths).front(), "2");
  EXPECT_EQ(findResultDocument(kWidths)->rowCount(), 2u);
  app->documents.activate(d);
  run("Undo");
  EXPECT_EQ(label(d, 0), "");
  EXPECT_EQ(label(d, 2), "w=9.0 um");
}

TEST_F(Widths, OfTheSelectedLineIsShownAndAsked) {
  ZBasicDoc& d = vessels(2);
  process.quietMode = 0;
  view->selected = 1;
  const auto answer = [&](const char* verdict) {
    host.fill({{"diameter", ""}});
    host.fills.back() = [&d, verdict](Form& form) {
      EXPECT_EQ(form.title(), "Result");
      EXPECT_EQ(form.fields().front().label, "diameter = 10.0 pixel");
      const ZchartView* profile = viewOf(*findLiveChart("Grey level profile"));
      EXPECT_EQ(profile->selfrom, 9);
      EXPECT_EQ(profile->selto, 19);
      EXPECT_EQ(form.find("verdict")->take(verdict), "");
      return true;
    };
    run("Find capillary width");
    EXPECT_EQ(app->documents.active(), &d);
  };
  answer("&Skip Use");
  EXPECT_EQ(label(d, 1), "");
  answer("&Accept");
  EXPECT_EQ(label(d, 1), "w=10.0 pixel");
  answer("&Skip Use");
  EXPECT_EQ(label(d, 1), "w=10.0 pixel");
  answer("&Reject Value");
  EXPECT_EQ(label(d, 1), "") << "what was measured before holds no more";
  EXPECT_EQ(label(d, 0), "");
  EXPECT_EQ(findResultDocument(kWidths)->rowCount(), 1u);
}

TEST_F(Widths, NeedALineAndAMethod) {
  ZBasicDoc& d = show();
  EXPECT_FALSE(canRun("Find capillary width"));
  d.addDimension({9, 9}, CDimList::kCircle);
  EXPECT_FALSE(canRun("Measure nailfold loops"));
  vessels(1);
  settings.setInt("capwidth", "method", 7);
  run("Find capillary width");
  EXPECT_THAT(host.messages, ElementsAre("No line has a width that can be told."));
}

TEST_F(Widths, MethodIsStoredAndAnOldNumberIsTheThird) {
  show();
  settings.setInt("capwidth", "method", 0);
  host.fills.push_back([](Form& form) {
    EXPECT_EQ(form.find("method")->value(), "outer edge detection");
    form.find("method")->take("threshold");
    form.find("level (0-1)")->take("0.5");
    return true;
  });
  run("capillary width method ...");
  EXPECT_EQ(settings.getInt("capwidth", "method", 9), 1);
  EXPECT_EQ(settings.getDouble("capwidth", "pointonrise", 9), 0.5);
}

TEST_F(Widths, BetweenThePixelsSaySoInTheNotes) {
  ZBasicDoc& d = vessels(1);
  settings.setInt("capwidth", "edgesub", 1);
  line(d, {0, 40}, {90, 40});
  run("Find capillary width");
  EXPECT_EQ(label(d, 0), "w=10.0 pixel");
  EXPECT_EQ(label(d, 1), "") << "it leaves the picture";
  EXPECT_THAT(d.notes, HasSubstr("capillary widths by edge detection, edges between the pixels\r\n"));
}

TEST_F(Widths, OfLoopsGiveRowsTheirSummaryAndADrawing) {
  ZBasicDoc& d = vessels(2);
  d.currentDims().removeAll();
  // From left to right, so that the limbs' lines run along the vessel and find nothing.
  line(d, {15, 40}, {45, 40});
  line(d, {55, 60}, {85, 60});
  d.addDimension({10, 20}, CDimList::kPoint);
  run("Measure nailfold loops");
  EXPECT_EQ(label(d, 0), "w=10.0 pixel\n");
  EXPECT_THAT(resultCells(0, 2, 4, kLoops), ElementsAre("1", "10.0"));
  EXPECT_THAT(resultCells(0, 5, 9, kLoops), ElementsAre("0.0", "0.0", "29.00", "40.00"));
  EXPECT_THAT(resultCells(2, 2, 9, kLoops), ElementsAre("3", "0.0", "0.0", "0.0", "0.0", "10.00", "20.00"));
  const std::vector<std::string> all = resultCells(3, 2, 12, kLoops);
  EXPECT_EQ(all[0], "3");
  EXPECT_EQ(all[1], "10.0");
  EXPECT_EQ(all[5], "0.65");
  EXPECT_EQ(all[6], "16.58");
  EXPECT_EQ(all[7], "25.15") << "loops * 1000 over the length of the fit across the image";
  EXPECT_EQ(all[8], "0.959");
  EXPECT_EQ(all[9], "0.99");
  const CDimList& drawn = d.dimlists[kNailfoldList];
  ASSERT_EQ(drawn.size(), 5);
  EXPECT_THAT(drawn.at(3).points, ElementsAre(Point{10, 20}, Point{29, 40}, Point{69, 60}));
  EXPECT_THAT(drawn.at(4).points, ElementsAre(Point{0, 16}, Point{100, 81}));
  app->documents.activate(d);
  run("Undo");
  EXPECT_EQ(drawn.size(), 0);
}

TEST_F(Widths, OfASingleLoopHaveNoRegression) {
  ZBasicDoc& d = vessels(1);
  run("Measure nailfold loops");
  EXPECT_THAT(resultCells(1, 7, 12, kLoops), ElementsAre("0.00", "0.00", "0.00", "0.000", "0.00"));
  app->documents.activate(d);
  d.setCurrentList(kNailfoldList);
  line(d, {15, 40}, {45, 40});
  run("Measure nailfold loops");
  EXPECT_THAT(host.messages.back(), HasSubstr("Draw the lines in another"));
}

TEST_F(Widths, OfMoreThanAHundredLoopsAreFittedToTheFirstHundred) {
  ZBasicDoc& d = show();
  process.quietMode = 1;
  for (int32_t i = 0; i < 120; ++i) d.addDimension({i, i < 100 ? 50 : 0}, CDimList::kPoint);
  line(d, {180, 50}, {190, 50});
  run("Measure nailfold loops");
  EXPECT_THAT(resultCells(121, 2, 3, kLoops), ElementsAre("121"));
  EXPECT_THAT(resultCells(121, 7, 9, kLoops), ElementsAre("0.00", "50.00"));
}

}  // namespace
}  // namespace tarnvisor
