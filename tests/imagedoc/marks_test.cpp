// Marks corrected by mouse and keys: what is taken hold of, altered and told, and taken back.

#include "imagedoc/viewtest.h"
#include "support/recordingcanvas.h"

namespace tarnvisor {
namespace {

class Marks : public ImageView {
 protected:
  ZBasicDoc& showMarked(int32_t kind, const std::vector<Point>& points) {
    ZBasicDoc& d = show();
    const int32_t index = d.addDimension(points[0], kind);
    for (size_t i = 1; i < points.size(); ++i) d.addPointToDimension(index, points[i]);
    d.currentDims().at(index).Close();
    view->selected = index;
    d.setModified(false);
    return d;
  }
  std::string drawnText() {
    RecordingCanvas canvas;
    view->draw(canvas);
    for (auto call = canvas.calls.rbegin(); call != canvas.calls.rend(); ++call)
      if (call->starts_with("text")) return call->substr(call->find('"'));
    return {};
  }
  size_t countDrawn(const std::string& start) {
    RecordingCanvas canvas;
    view->draw(canvas);
    return static_cast<size_t>(
        std::ranges::count_if(canvas.calls, [&](const auto& call) { return call.starts_with(start); }));
  }
};

TEST_F(Marks, AreAlteredByTheirParts) {
  const std::tuple<int32_t, std::vector<Point>, const char*, const char*> cases[] = {
      {CDimList::kLine, {{20, 20}, {80, 20}}, "down 80,20 up 90,40", "*L20,20 90,40"},
      {CDimList::kLine, {{20, 20}, {80, 20}}, "down 50,21 up 60,31", "*L30,30 90,30"},
      {CDimList::kLine, {{20, 20}, {28, 20}}, "down 24,20 up 24,30", "*L20,30 28,30"},
      {CDimList::kLine, {{20, 20}, {50, 60}, {80, 20}}, "down 51,62 up 61,72", "*L20,20 60,70 80,20"},
      {CDimList::kPolygon,
       {{20, 20}, {80, 20}, {50, 90}},
       "down 20,20 up 10,10",
       "*P10,10 80,20 50,90 10,10"},
      {CDimList::kCircle, {{40, 50}, {80, 50}}, "down 60,70 up 60,90", "*C60,10 60,90"},
      {CDimList::kCircle, {{40, 50}, {80, 50}}, "down 61,51 up 71,61", "*C50,60 90,60"},
      {CDimList::kRect, {{40, 50}, {80, 90}}, "down 80,50 up 90,40", "*R40,90 90,40"},
      {CDimList::kRect, {{40, 50}, {80, 90}}, "down 60,90 up 70,99", "*R40,50 80,99"}};
  for (const auto& [kind, points, script, expected] : cases) {
    ZBasicDoc& d = showMarked(kind, points);
    const std::string before = state().substr(1);
    play(script);
    EXPECT_EQ(state(), expected) << script;
    run("Undo");
    view->selected = 0;
    EXPECT_EQ(state(), "*" + before) << script;
    play(std::string(script).substr(0, std::string(script).find("up")) + "move 150,150 Escape up 150,150");
    EXPECT_EQ(state(), "*" + before) << "cancelled";
    EXPECT_FALSE(d.isModified());
  }
}

TEST_F(Marks, OfSeveralTheSelectedOneIsTakenThenTheNearest) {
  ZBasicDoc& d = showMarked(CDimList::kLine, {{20, 20}, {80, 20}});
  d.addPointToDimension(d.addDimension({20, 24}, CDimList::kLine), {80, 24});
  play("down 50,23 up 50,33");
  EXPECT_EQ(state(), "*L20,30 80,30 L20,24 80,24");
  play("click 150,150 click 50,26");
  EXPECT_EQ(view->selected, 1);
  play("shift 50,24");
  EXPECT_EQ(state(), "L20,30 80,30 L20,24 80,24") << "Shift takes away what a click selected";
}

TEST_F(Marks, ACircularRegionStaysOneByItsEnds) {
  ZBasicDoc& d = show();
  d.roi = {40, 40, 100, 100};
  d.roicircle = {0, 0, 1, 1};
  play("down 100,70 up 120,70");
  EXPECT_EQ(d.roi, (Rect{40, 30, 120, 110}));
  EXPECT_TRUE(d.hasCircularRoi());
  play("move 40,30");
  EXPECT_EQ(site.cursor, Cursor::Arrow) << "a corner of the square is no part of it";
}

TEST_F(Marks, WhatThePointerMeetsStandsOut) {
  ZBasicDoc& d = showMarked(CDimList::kLine, {{20, 20}, {80, 20}});
  d.roi = {120, 20, 180, 80};
  const std::tuple<Point, Cursor, size_t> cases[] = {
      {{10, 150}, Cursor::Arrow, 0},       {{50, 20}, Cursor::Move, 0},
      {{80, 20}, Cursor::Hand, 2},         {{135, 20}, Cursor::Move, 16},
      {{150, 20}, Cursor::SizeUpDown, 16}, {{180, 80}, Cursor::SizeFalling, 16}};
  for (const auto& [at, cursor, fills] : cases) {
    play(format("move %i,%i", at.x, at.y));
    EXPECT_EQ(site.cursor, cursor) << at.x;
    EXPECT_EQ(countDrawn("fill "), fills) << at.x;
  }
  play("move 50,20");
  EXPECT_EQ(countDrawn("polyline 20,20 80,20"), 3U) << "the mark itself, and twice upon it";
  view->mouseLeft();
  EXPECT_EQ(countDrawn("polyline 20,20 80,20"), 1U);
}

TEST_F(Marks, EachGestureIsOneStepOfUndo) {
  const std::pair<const char*, const char*> cases[] = {
      {"Counting", "click 120,30"},
      {"Dimension Lines", "click 120,30 160,35"},
      {"Circle", "down 120,30 up 160,35"},
      {"Dimension polyline", "click 120,30 160,35 150,90 double 150,90"},
      {"Dimension polyline", "click 120,30 160,35 Escape"},
      {"Freehand area", "down 120,30 move 140,50 160,70 up 160,90"},
      {"Origin", "click 120,30"},
      {"ROI", "down 120,30 up 160,90"},
      {"", "click 60,50 Delete"},
      {"", "down 60,50 up 90,70"}};
  for (const auto& [command, script] : cases) {
    ZBasicDoc& d = showMarked(CDimList::kPoint, {{60, 50}});
    view->selected = -1;
    const std::string before = state() + format("%i", d.imageoffset.x);
    if (*command) run(command);
    play(script);
    view->selected = -1;
    tool = kToolNone;
    EXPECT_NE(state() + format("%i", d.imageoffset.x), before) << command;
    ASSERT_TRUE(d.canUndo()) << command;
    run("Undo");
    EXPECT_EQ(state() + format("%i", d.imageoffset.x), before) << command;
    EXPECT_FALSE(d.isModified()) << command;
    run("Redo");
    EXPECT_NE(state() + format("%i", d.imageoffset.x), before) << "done again: " << command;
  }
}

TEST_F(Marks, EscapeEndsTheDrawingThenTheToolThenTheSelectionThenTheRegion) {
  ZBasicDoc& d = show();
  d.roi = {120, 20, 180, 80};
  run("Dimension Lines");
  play("click 10,10 60,10 click 30,30");
  for (const char* expected : {"tool9 roi120,20,180,80 L10,10 60,10", "roi120,20,180,80 L10,10 60,10"}) {
    EXPECT_TRUE(play("Escape"));
    EXPECT_EQ(state(), expected);
  }
  play("click 30,10 Escape");
  EXPECT_EQ(state(), "roi120,20,180,80 L10,10 60,10");
  EXPECT_TRUE(play("Escape"));
  EXPECT_EQ(state(), "L10,10 60,10");
  EXPECT_FALSE(play("Escape"));
  run("Undo");
  EXPECT_EQ(d.roi, (Rect{120, 20, 180, 80}));
  run("Clear ROI");
  EXPECT_TRUE(d.roi.isEmpty());
}

TEST_F(Marks, KeysSelectAllAndMoveWhatIsSelected) {
  ZBasicDoc& d = showMarked(CDimList::kPoint, {{60, 50}});
  d.addDimension({90, 90}, CDimList::kPoint);
  run("Select all");
  EXPECT_EQ(state(), "+L60,50 +L90,90");
  EXPECT_TRUE(view->keyDown({Key::Left, false, false}));
  EXPECT_TRUE(view->keyDown({Key::Down, true, false}));
  EXPECT_EQ(state(), "+L59,60 +L89,100");
  run("Undo");
  EXPECT_EQ(state(), "L59,50 L89,90") << "one key, one step";
  run("Hide/Show dimensions");
  EXPECT_FALSE(canRun("Select all")) << "of what is not seen";
  view->zoomnum = 5;
  EXPECT_TRUE(view->keyDown({Key::Right, false, false}));
  EXPECT_EQ(view->scrollPosition().x, 16) << "with nothing selected it scrolls";
}

TEST_F(Marks, TellTheirMeasuresWhileTheyAreDrawnOrAltered) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"Dimension Lines", "click 20,60 move 50,20", "\"length 100.0 um, angle 53.1°\""},
      {"Dimension polyline", "click 20,20 50,20 move 50,60", "\"length 140.0 um, angle 90.0°\""},
      {"Circle", "click 20,20 move 60,20", "\"diameter 80.0 um, area 5026.5 um²\""},
      {"Irregular polygon", "click 20,20 50,20 move 50,60", "\"perimeter 240.0 um, area 2400.0 um²\""},
      {"Freehand dimension lines", "down 20,20 move 50,20 50,60", "\"length 140.0 um\""},
      {"ROI", "down 20,20 move 50,60", "\"60.0 x 80.0 um, area 4800.0 um²\""}};
  for (const auto& [command, script, words] : cases) {
    ZBasicDoc& d = show();
    d.calibrated = 1;
    d.magx = d.magy = 2;
    run(command);
    play(script);
    EXPECT_EQ(drawnText(), words) << command;
    play("Escape Escape");
    tool = kToolNone;
  }
  showMarked(CDimList::kLine, {{20, 20}, {80, 20}});
  play("down 80,20 move 20,60");
  EXPECT_EQ(drawnText(), "\"length 40.0 pixel, angle 90.0°\"");
}

TEST_F(Marks, MeasuresBeginInAListOfTheirOwnBesideWhatIsCounted) {
  ZBasicDoc& d = showMarked(CDimList::kCircle, {{40, 50}, {50, 50}});
  run("Circle");
  EXPECT_EQ(d.currentlist, kPlainList) << "nothing is counted";
  d.countCapillaries();
  d.updateAllViews();
  const std::string result = d.resultText;
  run("Circle");
  EXPECT_EQ(d.currentlist, kPlainList) << "a circle may be a capillary that was missed";
  run("Dimension Lines");
  play("click 120,30 160,35");
  EXPECT_EQ(d.currentlist, kAmberList);
  EXPECT_EQ(d.resultText, result);
  EXPECT_THAT(panes(), ::testing::HasSubstr("|measures go here: list 0 is counted|"));
  view->takeList(kPlainList);
  run("Dimension polyline");
  EXPECT_EQ(d.currentlist, kAmberList) << "they go on in their list";
}

}  // namespace
}  // namespace tarnvisor
