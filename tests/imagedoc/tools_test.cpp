// What each tool makes of the mouse.

#include "charts/livechartdoc.h"
#include "imagedoc/levelchart.h"
#include "imagedoc/viewtest.h"
#include "traces/tracetests.h"

namespace tarnvisor {
namespace {

TEST_F(ImageView, AToolChosenAgainIsPutBackAndTheSelectionsGo) {
  ZBasicDoc& d = show();
  d.addDimension({10, 10}, 0);
  for (const char* name : {"Pan image", "ROI", "Origin", "Counting", "Dimension Lines", "Dimension polyline",
                           "Crosshair", "Freehand dimension lines", "Circle", "Irregular polygon",
                           "Freehand area", "trace capillaries", "Edit dust mask"}) {
    run(name);
    EXPECT_TRUE(isTicked(name)) << name;
    view->selected = view->secondselected = 0;
    run(name);
    EXPECT_EQ(tool, kToolNone) << name;
    EXPECT_FALSE(isTicked(name)) << name;
    EXPECT_THAT((std::array{view->selected, view->secondselected}), Each(-1)) << name;
  }
  d.image.reset();
  EXPECT_FALSE(canRun("ROI"));
}

TEST_F(ImageView, EachDrawingToolAddsItsKindOfDimension) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"Counting", "click 20,30 60,35", "tool8 L20,30 *L60,35"},
      {"Dimension Lines", "click 20,30 move 50,50", "tool9 drag1 *L20,30"},
      {"Dimension Lines", "click 20,30 60,35", "tool9 *L20,30 60,35"},
      {"Dimension Lines", "down 20,30 move 40,40 up 60,35", "tool9 *L20,30 60,35"},
      {"Dimension Lines", "click 20,30 60,35 70,70", "tool9 drag1 L20,30 60,35 *L70,70"},
      {"Dimension Lines", "click 20,30 Escape", "tool9"},
      {"Circle", "click 20,30 60,35", "tool13 *C20,30 60,35"},
      {"Dimension polyline", "click 20,30 60,35", "tool10 drag9 *L20,30 60,35"},
      {"Dimension polyline", "click 20,30 60,35 50,90 double 50,90", "tool10 *L20,30 60,35 50,90"},
      {"Dimension polyline", "click 20,30 60,35 Enter click 7,7", "tool10 drag9 L20,30 60,35 *L7,7"},
      {"Dimension polyline", "click 20,30 Escape", "tool10"},
      {"Dimension polyline", "click 20,30 60,35 Escape", "tool10 *L20,30 60,35"},
      {"Dimension polyline", "click 20,30 60,35 Escape Escape", "*L20,30 60,35"},
      {"Dimension polyline", "click 20,30 60,35 Escape Escape Escape", "L20,30 60,35"},
      {"Irregular polygon", "click 2,3 60,35 5,9 double 5,9", "tool14 *P2,3 60,35 5,9 2,3"},
      {"Irregular polygon", "click 2,3 60,35 5,9 Escape", "tool14 *P2,3 60,35 5,9 2,3"},
      {"Freehand dimension lines", "down 2,3 move 4,5 6,7 up 6,7 move 9,9", "tool11 *L2,3 4,5 6,7"},
      {"Freehand area", "down 2,3 move 4,5 6,7 up 6,9", "tool15 *P2,3 4,5 6,7 6,9 2,3"}};
  for (const auto& [command, script, expectedState] : cases) {
    ZBasicDoc& d = show();
    run(command);
    (void)play(script);
    EXPECT_EQ(state(), expectedState) << command << ": " << script;
    EXPECT_EQ(d.isModified(), d.currentDims().size() > 0) << command;
    EXPECT_FALSE(site.captured) << command;
    view->keyDown({Key::Escape});
    tool = kToolNone;
  }
}

TEST_F(ImageView, TheSecondClickClearsTheSecondSelection) {
  show();
  run("Circle");
  play("click 10,10");
  view->secondselected = 0;
  play("click 30,10");
  EXPECT_EQ(view->secondselected, -1);
}

TEST_F(ImageView, ARubberBandFollowsTheMouseBetweenTheClicks) {
  show();
  run("Dimension polyline");
  play("click 10,10 30,10 move 30,50");
  EXPECT_EQ(view->rubber.from, (Point{30, 10}));
  EXPECT_EQ(view->rubber.to, (Point{30, 50}));
  EXPECT_EQ(site.cursor, Cursor::Cross);
  EXPECT_TRUE(play("Enter"));
  EXPECT_FALSE(play("Enter"));
}

TEST_F(ImageView, AShapeThatIsDeletedOrLeftWhileItGrowsIsLetGo) {
  ZBasicDoc& d = show();
  run("Dimension polyline");
  play("click 10,10 20,10");
  d.deleteDimension(0);
  play("click 50,50");
  EXPECT_EQ(state(), "tool10 drag9 *L50,50");
  d.setCurrentList(kAmberList);
  play("click 60,60");
  EXPECT_EQ(state(), "tool10 drag9 *L60,60");
  run("Circle");
  play("click 70,70");
  EXPECT_EQ(state(), "tool13 drag1 L60,60 *C70,70");
  d.image.reset();
  d.updateAllViews();
  play("move 80,80 click 80,80");
  EXPECT_EQ(d.currentDims().size(), 2) << "without an image there is nothing to draw on";
}

TEST_F(ImageView, WithoutAToolTheMouseSelectsDragsAndDrawsTheRoi) {
  struct Case {
    const char *script, *state;
    bool changes;
  };
  // Two points that a click can't tell apart, and one alone.
  const std::string roi = "roi120,20,180,80 ";
  const Case cases[] = {
      {"click 50,50", "*L50,50 L51,51 L90,90", false},
      {"click 50,50 50,50", "L50,50 *L51,51 L90,90", false},
      {"click 50,50 50,50 50,50", "*L50,50 L51,51 L90,90", false},
      {"click 90,90 10,10", "L50,50 L51,51 L90,90", false},
      {"shift 90,90 50,50 90,90", "+L50,50 L51,51 L90,90", false},
      {"click 51,52", "L50,50 *L51,51 L90,90", false},
      {"shift 50,50 90,90 click 10,10", "L50,50 L51,51 L90,90", false},
      {"down 91,92 move 70,70", "tool1 drag1 L50,50 L51,51 *L90,90", false},
      {"down 91,92 move 70,70 Escape up 9,9", "L50,50 L51,51 *L90,90", false},
      {"shift 50,50 down 91,92 move 5,5 up 101,112", "+L60,70 L51,51 *L100,110", true},
      {"down 135,20 move 140,40", "tool6 drag2 L50,50 L51,51 L90,90", false},
      {"down 135,20 move 9,9 up 145,15", "roi130,15,190,75 L50,50 L51,51 L90,90", true},
      {"down 135,20 up 9,9", "roi0,9,60,69 L50,50 L51,51 L90,90", true},  // no farther than the image goes
      {"down 180,80 up 170,60", "roi120,20,170,60 L50,50 L51,51 L90,90", true},
      {"down 150,20 up 10,40", "roi120,40,180,80 L50,50 L51,51 L90,90", true},
      {"down 180,80 move 170,60 Escape up 170,60", "L50,50 L51,51 L90,90", false},
      {"down 130,30 move 140,40", "drag2 L50,50 L51,51 L90,90", false},
      {"ctrldown 10,100 move 12,102 up 12,102", "L50,50 L51,51 L90,90", false},  // a click is not a drag
      {"ctrldown 10,100 move 30,140", "tool5 drag2 L50,50 L51,51 L90,90", false},
      {"ctrldown 10,100 up 30,100", "L50,50 L51,51 L90,90", false},
      {"ctrldown 30,150 up 10,900", "roi10,150,30,160 L50,50 L51,51 L90,90", true},
      {"down 40,40 up 60,60", "+L50,50 +L51,51 L90,90", false},
      {"shift 90,90 down 60,60 up 51,51", "L50,50 *L51,51 L90,90", false},
      {"shift 90,90 shiftdown 60,60 up 51,51", "L50,50 +L51,51 +L90,90", false},
      {"down 40,40 move 60,60 Escape up 60,60", "L50,50 L51,51 L90,90", false}};
  for (const Case& c : cases) {
    ZBasicDoc& d = show();
    for (const Point p : {Point{50, 50}, {51, 51}, {90, 90}}) d.addDimension(p, 0);
    d.roi = {120, 20, 180, 80};
    d.setModified(false);
    (void)play(c.script);
    std::string expected = c.state;
    if (expected.find("roi") == std::string::npos) expected.insert(expected.find_first_of("*+L"), roi);
    EXPECT_EQ(state(), expected) << c.script;
    EXPECT_EQ(d.isModified(), c.changes) << c.script;
    play("Escape");
    EXPECT_EQ(tool, kToolNone);
  }
}

TEST_F(ImageView, AMarkIsHitWithinFivePixelsOfTheWindowAtAnyZoom) {
  ZBasicDoc& d = show({2000, 2000}, {2000, 2000});
  d.addDimension({100, 100}, CDimList::kPoint);
  d.addPointToDimension(d.addDimension({200, 200}, CDimList::kCircle), {300, 200});
  const auto hitAt = [&](Point at) {
    view->selected = -1;
    view->mouseDown({at, MouseButton::Left, false, false});
    view->mouseUp({at, MouseButton::Left, false, false});
    return view->selected;
  };
  for (const int32_t steps : {-6, 0, 8}) {
    view->zoomnum = view->zoomden = 1;
    for (int32_t i = 0; i < std::abs(steps); ++i) steps < 0 ? view->zoomOut() : view->zoomIn();
    const Point mark = view->toWindow({100, 100});
    EXPECT_EQ(hitAt(mark + Point{5, -5}), 0) << steps;
    EXPECT_EQ(hitAt(mark + Point{6, 0}), -1) << steps;
    EXPECT_EQ(hitAt(mark + Point{0, -6}), -1) << steps;
    const Point top = view->toWindow({250, 150});
    EXPECT_EQ(hitAt(top + Point{0, -4}), 1) << steps;
    EXPECT_EQ(hitAt(top + Point{0, -8}), -1) << steps;
  }
}

TEST_F(ImageView, TheRoiToolDrawsWithinTheImageAndAClickClears) {
  ZBasicDoc& d = show();
  run("ROI");
  play("down 90,80 move 50,100");
  EXPECT_THAT(panes(), ::testing::HasSubstr("|size= 40.0x 20.0|"));
  play("up -40,30");
  EXPECT_EQ(state(), "roi0,30,90,80");
  EXPECT_TRUE(d.isModified());
  d.roicircle = {0, 0, 1, 1};
  d.roi = {20, 20, 80, 80};
  play("ctrldown 21,21 up 31,31");
  EXPECT_EQ(state(), "roi21,21,31,31") << "a new one is a rectangle";
  run("ROI");
  play("click 5,5");
  EXPECT_EQ(state(), "");
}

TEST_F(ImageView, PositionsInTheListForMovementCorrectionSnapToBlocksOf8) {
  ZBasicDoc& d = show();
  d.setCurrentList(kAmcList);
  run("Dimension Lines");
  play("click 23,39 30,150");
  EXPECT_EQ(state(), "tool9 *L16,32 80,144") << "and the second point is pushed to 64 in x";
  run("Dimension Lines");
  play("down 16,32 up 33,33");
  EXPECT_EQ(state(), "*L32,32 96,144");
}

TEST_F(ImageView, OneClickSetsOriginOrTarget) {
  ZBasicDoc& d = show();
  d.showtarget = 0;
  run("Origin");
  play("click 30,40");
  EXPECT_EQ(d.imageoffset, (Point{30, 40}));
  EXPECT_TRUE(d.isModified());
  run("Crosshair");
  play("click 70,20");
  EXPECT_EQ(d.target, (Point{70, 20}));
  EXPECT_EQ(d.showtarget, 1);
  EXPECT_EQ(settings.getInt("settings", "targetx", -1), 70);
}

// A frame, and a field whose origin counts half as many rows.
TEST_F(ImageView, OfAPartOfALargerFrameTheMouseMeansThePixelsUnderIt) {
  for (const int32_t interlace : {0, 1}) {
    ZBasicDoc& d = show();
    d.image = std::make_unique<CZZimage>(200, 160, -1, interlace);
    d.image->fill(70);
    for (int32_t x = 0; x < 200; ++x) d.image->setPixel(x, 90, 20);
    d.image->xOrigin = 1000;
    d.image->yOrigin = interlace ? 250 : 500;
    d.updateAllViews();
    EXPECT_EQ(view->toImage({20, 30}), (Point{1020, 530}));
    EXPECT_EQ(view->toWindow({1020, 530}), (Point{20, 30}));
    play("move 1020,530");
    EXPECT_EQ(panes(), "pos= 1020,  530|pixel= 70||dimlist0 ||mag=1.000, 1.000|zoom= 100%");

    play("ctrldown 1020,530 up 1060,570");
    EXPECT_EQ(state(), "roi1020,530,1060,570");
    run("Negative");
    for (int32_t y = 0; y < 160; y += 2)
      for (int32_t x = 0; x < 200; ++x)
        ASSERT_EQ(d.image->pixelAt(x, y), x >= 20 && x < 60 && y >= 30 && y < 70 ? 185
                                          : y == 90                              ? 20
                                                                                 : 70)
            << x << "," << y;

    play("down 1030,530 up 9,1000");
    EXPECT_EQ(state(), "roi1000,620,1040,660") << "no farther than the image goes";
    play("down 1010,620 up 9,9");
    EXPECT_EQ(state(), "roi1000,500,1040,540");
    play("ctrldown 1150,600 up 1900,610");
    EXPECT_EQ(d.roi, (Rect{1150, 600, 1200, 610}));
    d.roi = {1070, 560, 1120, 620};
    run("trace capillaries");
    play("click 1080,590");
    EXPECT_EQ(d.image->countValue(0), 50);
    for (const int32_t end : {70, 119}) EXPECT_EQ(d.image->pixelAt(end, 90), 0);
    run("Counting");
    play("click 1010,510");
    run("Counting");
    play("click 1011,512");
    EXPECT_EQ(view->selected, 0);
    for (const char* zoom : {"Zoom In", "Actual size"}) run(zoom);
    EXPECT_EQ(view->scrollPosition(), Point{});
    d.image->xOrigin = 2147483000;
    d.image->yOrigin = -2000000000;
    d.updateAllViews();
    act("down", {{150, 3}, MouseButton::Left, false, false});
    act("up", {{-2000000000, 2000000000}, MouseButton::Left, false, false});
  }
}

TEST_F(ImageView, DustIsMarkedInItsOwnListWhicheverIsCurrent) {
  ZBasicDoc& d = show();
  run("Edit dust mask");
  EXPECT_EQ(d.currentlist, kDustList);
  EXPECT_FALSE(d.dimlists[kDustList].hidden);
  play("click 10,10");
  EXPECT_EQ(state(), "tool18 drag2 *R10,10");
  play("click 20,30");
  d.setCurrentList(kPlainList);
  play("click 50,50 60,60");
  EXPECT_EQ(state(), "tool18 R10,10 20,30 *R50,50 60,60");
  run("Edit dust mask");
  EXPECT_TRUE(play("click 10,10 Delete")) << "a mark can be deleted once the tool is left";
  EXPECT_EQ(state(), "R50,50 60,60");
  run("Edit dust mask");
  run("Switch List");
  EXPECT_EQ(state(), "");
  EXPECT_EQ(d.currentlist, kPlainList);
  EXPECT_TRUE(d.dimlists[kDustList].hidden);
}

TEST_F(ImageView, TheImagePansWithItsToolAndWithTheMiddleButton) {
  show({400, 300}, {100, 100});
  run("Actual size");
  view->scrollTo({50, 60});
  for (const MouseButton button : {MouseButton::Middle, MouseButton::Left}) {
    const Point before = view->scrollPosition();
    view->mouseDown({{40, 40}, button, false, false});
    view->mouseMove({{30, 45}, button, false, false});
    EXPECT_EQ(site.cursor, Cursor::ClosedHand);
    view->mouseUp({{30, 45}, button, false, false});
    EXPECT_EQ(view->scrollPosition(), (before + Point{10, -5}));
    if (tool == kToolNone) run("Pan image");
  }
  EXPECT_EQ(tool, kToolPan);
}

TEST_F(ImageView, AClosedDocumentLeavesNoInternalToolBehind) {
  ZBasicDoc& d = show();
  d.addDimension({10, 10}, 0);
  play("down 10,10");
  EXPECT_EQ(tool, kToolDrag);
  view->attach(nullptr);
  view = nullptr;
  process.imageTemplate->discard(d);
  EXPECT_EQ(tool, kToolNone);
}

TEST_F(ImageView, TheGreyLevelProfileFollowsALineWhileItIsDrawnOrDragged) {
  ZBasicDoc& d = show();
  d.image->fill(30);
  d.image->setPixel(12, 50, 90);
  d.image->setPixel(14, 60, 70);
  (void)d.addDimension({10, 50}, 1);
  (void)d.addPointToDimension(0, {13, 50});
  showGreyLevelProfile(d, 0);
  app->documents.activate(d);
  const auto shown = [] { return samplesOf(*findLiveChart("Grey level profile")->firsttrace()); };
  EXPECT_THAT(shown(), testing::ElementsAre(30, 30, 90, 30));
  play("down 11,50 move 11,60");  // the button is still held
  EXPECT_THAT(shown(), testing::ElementsAre(30, 30, 30, 30));
  play("move 12,60 up 12,60");
  EXPECT_THAT(shown(), testing::ElementsAre(30, 30, 30, 70));
}

}  // namespace
}  // namespace tarnvisor
