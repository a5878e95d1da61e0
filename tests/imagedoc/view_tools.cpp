// What each tool makes of the mouse.
#include <gmock/gmock.h>

#include <functional>

#include "imagedoc/viewtest.h"

namespace tarnvisor {
namespace {

using ::testing::ElementsAre;

TEST_F(ViewTest, AToolChosenAgainIsPutBackAndTheSelectionsGo) {
  ZBasicDoc& d = show();
  d.addDimension({10, 10}, 0);
  const std::pair<const char*, int32_t> tools[] = {{"Pan image", 4},
                                                   {"ROI", 5},
                                                   {"Origin", 7},
                                                   {"Counting", 8},
                                                   {"Dimension Lines", 9},
                                                   {"Dimension polyline", 10},
                                                   {"Freehand dimension lines", 11},
                                                   {"Crosshair", 12},
                                                   {"Circle", 13},
                                                   {"Irregular polygon", 14},
                                                   {"Freehand area", 15},
                                                   {"trace capillaries", 16}};
  for (const auto& [command, number] : tools) {
    view->selected = view->secondselected = 0;
    run(command);
    EXPECT_EQ(tool, number) << command;
    EXPECT_TRUE(isTicked(command)) << command;
    EXPECT_EQ(view->selected, 0) << command;
    run(command);
    EXPECT_EQ(tool, kToolNone) << command;
    EXPECT_FALSE(isTicked(command)) << command;
    EXPECT_EQ(view->selected, -1) << command;
    EXPECT_EQ(view->secondselected, -1) << command;
  }
  d.image.reset();
  EXPECT_FALSE(isViewCommandEnabled("ROI"));
}

TEST_F(ViewTest, EachDrawingToolAddsItsKindOfDimension) {
  struct Case {
    const char* command;
    std::function<void()> gesture;
    const char* kind;
    std::vector<Point> points;
    int32_t dragModeBefore;  // after the first press
  };
  const Point a{20, 30}, b{60, 35}, c{50, 90};
  const auto clicks = [this](std::vector<Point> points) {
    return [this, points] {
      for (const Point& p : points) click(p);
    };
  };
  const auto clicksAndDouble = [this, a, b, c] {
    click(a);
    click(b);
    doubleClick(c);
  };
  const Case cases[] = {{"Counting", clicks({a}), "CDimLine", {a}, 0},
                        {"Dimension Lines", clicks({a, b}), "CDimLine", {a, b}, 1},
                        {"Dimension Lines",
                         [&] {
                           pull({a, b});
                         },
                         "CDimLine",
                         {a, b},
                         1},
                        {"Circle", clicks({a, b}), "CDimCircle", {a, b}, 1},
                        {"Dimension polyline", clicksAndDouble, "CDimLine", {a, b, c}, 9},
                        {"Irregular polygon", clicksAndDouble, "CDimPolygon", {a, b, c, a}, 9},
                        {"Freehand dimension lines",
                         [&] {
                           pull({a, b, c});
                         },
                         "CDimLine",
                         {a, b, c},
                         0},
                        {"Freehand area",
                         [&] {
                           pull({a, b, c});
                         },
                         "CDimPolygon",
                         {a, b, c, a},
                         0}};
  for (const Case& c1 : cases) {
    ZBasicDoc& d = show();
    run(c1.command);
    c1.gesture();
    ASSERT_EQ(d.currentDims().size(), 1) << c1.command;
    EXPECT_STREQ(d.currentDims().at(0).classRecord().name, c1.kind) << c1.command;
    EXPECT_EQ(d.currentDims().at(0).points, c1.points) << c1.command;
    EXPECT_EQ(view->selected, 0) << c1.command;
    EXPECT_EQ(view->dragmode, 0) << c1.command;
    EXPECT_TRUE(d.isModified()) << c1.command;
    EXPECT_FALSE(site.captured) << c1.command;
    // The tool stays: the next press begins another.
    down({100, 100});
    EXPECT_EQ(view->dragmode, c1.dragModeBefore) << c1.command;
    EXPECT_EQ(d.currentDims().size(), 2) << c1.command;
    up({100, 100});
    run(c1.command);
  }
}

TEST_F(ViewTest, ARubberBandFollowsTheMouseBetweenTheClicks) {
  show();
  run("Dimension polyline");
  click({10, 10});
  move({30, 10});
  EXPECT_EQ(view->rubber.from, (Point{10, 10}));
  EXPECT_EQ(view->rubber.to, (Point{30, 10}));
  click({30, 10});
  move({30, 50});
  EXPECT_EQ(view->rubber.from, (Point{30, 10}));
  EXPECT_EQ(view->rubber.to, (Point{30, 50}));
  EXPECT_EQ(site.cursor, Cursor::Cross);
}

TEST_F(ViewTest, EscapeTakesBackWhatWasOnlyBegunAndKeepsTheRest) {
  ZBasicDoc& d = show();
  run("Dimension Lines");
  click({10, 10});
  EXPECT_TRUE(key(Key::Escape));
  EXPECT_EQ(d.currentDims().size(), 0);
  EXPECT_EQ(view->dragmode, 0);
  run("Irregular polygon");
  for (const Point p : {Point{10, 10}, {40, 10}, {40, 40}}) click(p);
  EXPECT_FALSE(key(Key::Space));
  EXPECT_TRUE(key(Key::Escape));
  EXPECT_EQ(d.currentDims().at(0).points.size(), 4u) << "closed";
  EXPECT_EQ(view->selected, 0);
  EXPECT_TRUE(key(Key::Escape)) << "a second one clears the selection";
  EXPECT_EQ(view->selected, -1);
  EXPECT_FALSE(key(Key::Escape));
  run("Dimension polyline");
  click({10, 10});
  click({40, 10});
  EXPECT_TRUE(key(Key::Enter));
  EXPECT_FALSE(key(Key::Enter));
  click({70, 70});
  EXPECT_EQ(d.currentDims().size(), 3) << "Enter ended the polyline before";
}

TEST_F(ViewTest, AShapeThatIsDeletedOrLeftWhileItGrowsIsLetGo) {
  ZBasicDoc& d = show();
  run("Dimension polyline");
  click({10, 10});
  click({20, 10});
  d.deleteDimension(0);
  EXPECT_EQ(view->dragmode, 0);
  click({50, 50});
  EXPECT_EQ(d.currentDims().at(0).points, (std::vector<Point>{{50, 50}}));
  run("Switch List");
  click({60, 60});
  EXPECT_EQ(d.dimlists[0].at(0).points.size(), 1u);
  EXPECT_EQ(d.dimlists[1].size(), 1);
  run("Circle");  // leaves the polyline as it is
  click({70, 70});
  EXPECT_EQ(d.dimlists[1].size(), 2);
  d.image.reset();
  d.updateAllViews();
  move({80, 80});
  click({80, 80});
  EXPECT_EQ(d.dimlists[1].size(), 2) << "without an image there is nothing to draw on";
}

TEST_F(ViewTest, AClickSelectsAndTheNextWalksOnToWhatLiesUnderIt) {
  ZBasicDoc& d = show();
  for (const Point p : {Point{50, 50}, {51, 51}, {100, 100}}) d.addDimension(p, 0);
  d.setModified(false);
  for (const int32_t expected : {0, 1, 0}) {
    click({50, 50});
    EXPECT_EQ(view->selected, expected);
    EXPECT_EQ(tool, kToolNone);
  }
  click({150, 20});
  EXPECT_EQ(view->selected, -1);
  click({100, 100}, true);
  EXPECT_TRUE(d.currentDims().at(2).selected);
  click({100, 100}, true);
  EXPECT_FALSE(d.currentDims().at(2).selected);
  EXPECT_FALSE(d.isModified());
}

TEST_F(ViewTest, DraggingADimensionTakesTheSelectedOnesAlong) {
  ZBasicDoc& d = show();
  for (const Point p : {Point{50, 50}, {80, 80}, {100, 100}}) d.addDimension(p, 0);
  click({80, 80}, true);
  down({51, 52});
  EXPECT_EQ(tool, kToolDrag);
  EXPECT_EQ(view->dragmode, 1);
  EXPECT_TRUE(site.captured);
  move({61, 72});
  EXPECT_EQ(d.currentDims().at(0).points[0], (Point{50, 50})) << "only the rubber band moves";
  EXPECT_EQ(site.cursor, Cursor::Move);
  up({61, 72});
  EXPECT_EQ(d.currentDims().at(0).points[0], (Point{60, 70}));
  EXPECT_EQ(d.currentDims().at(1).points[0], (Point{90, 100}));
  EXPECT_EQ(d.currentDims().at(2).points[0], (Point{100, 100}));
  EXPECT_EQ(view->selected, 0);
  EXPECT_EQ(tool, kToolNone);
  down({60, 70});
  move({10, 10});
  EXPECT_TRUE(key(Key::Escape));
  up({10, 10});
  EXPECT_EQ(d.currentDims().at(0).points[0], (Point{60, 70}));
  EXPECT_EQ(tool, kToolNone);
}

TEST_F(ViewTest, TheRoiIsDrawnMovedAndCleared) {
  ZBasicDoc& d = show();
  run("ROI");
  pull({{90, 80}, {50, 100}, {40, 30}});
  EXPECT_EQ(d.roi, (Rect{40, 30, 90, 80}));
  EXPECT_EQ(tool, kToolNone);
  EXPECT_TRUE(d.isModified());
  pull({{60, 50}, {70, 45}});
  EXPECT_EQ(d.roi, (Rect{50, 25, 100, 75})) << "inside it is moved";
  pull({{60, 50}, {0, 0}});
  EXPECT_EQ(d.roi, (Rect{0, 0, 50, 50})) << "no farther than the image goes";
  d.setModified(false);
  click({20, 20});
  click({150, 150});
  pull({{150, 150}, {153, 152}});
  EXPECT_EQ(d.roi, (Rect{0, 0, 50, 50})) << "a click is not a drag";
  EXPECT_FALSE(d.isModified());
  down({100, 100});
  EXPECT_EQ(tool, kToolNone);
  move({130, 140});
  EXPECT_EQ(tool, kToolRoi);
  EXPECT_EQ(view->dragmode, 2);
  EXPECT_EQ(pane("roi"), "size= 30.0x 40.0");
  up({900, 900});
  EXPECT_EQ(d.roi, (Rect{100, 100, 200, 160})) << "as far as the image";
  d.roicircle = {0, 0, 1, 1};
  d.roi = {20, 20, 80, 80};
  pull({{21, 21}, {31, 31}});
  EXPECT_EQ(d.roi, (Rect{21, 21, 31, 31})) << "a corner of the square lies outside the circle";
  run("ROI");
  click({5, 5});
  EXPECT_TRUE(d.roi.isEmpty());
}

TEST_F(ViewTest, PositionsInTheListForMovementCorrectionSnapToBlocksOf8) {
  ZBasicDoc& d = show();
  d.setCurrentList(kAmcList);
  d.updateAllViews();
  run("Dimension Lines");
  click({23, 39});
  EXPECT_EQ(view->position, (Point{16, 32}));
  click({30, 150});
  EXPECT_EQ(d.currentDims().at(0).points, (std::vector<Point>{{16, 32}, {80, 144}})) << "pushed to 64 in x";
  run("Dimension Lines");
  pull({{16, 32}, {33, 33}});
  EXPECT_EQ(d.currentDims().at(0).points[0], (Point{32, 32}));
}

TEST_F(ViewTest, OneClickSetsOriginOrTarget) {
  ZBasicDoc& d = show();
  d.showtarget = 0;
  run("Origin");
  click({30, 40});
  EXPECT_EQ(d.imageoffset, (Point{30, 40}));
  EXPECT_TRUE(d.isModified());
  run("Crosshair");
  click({70, 20});
  EXPECT_EQ(d.target, (Point{70, 20}));
  EXPECT_EQ(d.showtarget, 1);
  EXPECT_EQ(settings.getInt("settings", "targetx", -1), 70);
  EXPECT_EQ(settings.getInt("settings", "showtarget", -1), 1);
}

TEST_F(ViewTest, DustIsMarkedInItsOwnListWhicheverIsCurrent) {
  ZBasicDoc& d = show();
  run("Edit dust mask");
  EXPECT_EQ(tool, 18);
  EXPECT_EQ(d.currentlist, kDustList);
  EXPECT_FALSE(d.dimlists[kDustList].hidden);
  click({10, 10});
  EXPECT_EQ(view->dragmode, 2);
  click({20, 30});
  d.setCurrentList(kPlainList);
  d.updateAllViews();
  click({50, 50});
  click({60, 60});
  EXPECT_EQ(d.dimlists[kPlainList].size(), 0);
  ASSERT_EQ(d.dimlists[kDustList].size(), 2);
  EXPECT_STREQ(d.dimlists[kDustList].at(1).classRecord().name, "CDimRect");
  EXPECT_TRUE(isTicked("Edit dust mask"));
  run("Edit dust mask");
  EXPECT_EQ(tool, kToolNone);
  click({10, 10});
  EXPECT_TRUE(key(Key::Delete)) << "a mark can be chosen and deleted once the tool is left";
  EXPECT_EQ(d.dimlists[kDustList].size(), 1);
  run("Edit dust mask");
  run("Switch List");
  EXPECT_EQ(tool, kToolNone);
  EXPECT_EQ(d.currentlist, kPlainList);
  EXPECT_TRUE(d.dimlists[kDustList].hidden);
}

TEST_F(ViewTest, TheImagePansWithItsToolAndWithTheMiddleButton) {
  show(400, 300);
  view->setWindowSize({100, 100});
  view->zoomnum = view->zoomden = 1;
  view->scrollTo({50, 60});
  const auto pan = [&](MouseButton button) {
    view->mouseDown({{40, 40}, button, false, false});
    view->mouseMove({{30, 45}, button, false, false});
    EXPECT_EQ(site.cursor, Cursor::ClosedHand);
    view->mouseUp({{30, 45}, button, false, false});
    return view->scrollPosition();
  };
  EXPECT_EQ(pan(MouseButton::Middle), (Point{60, 55}));
  EXPECT_EQ(site.cursor, Cursor::Arrow);
  run("Pan image");
  EXPECT_EQ(pan(MouseButton::Left), (Point{70, 50}));
  EXPECT_EQ(tool, kToolPan);
}

}  // namespace
}  // namespace tarnvisor
