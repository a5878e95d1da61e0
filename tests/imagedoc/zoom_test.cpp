// Zoom, coordinates and status texts of the image view.

#include "imagedoc/viewtest.h"

namespace tarnvisor {
namespace {

using Ratio = std::pair<int32_t, int32_t>;

TEST_F(ImageView, ZoomStepsKeepWholeRatiosAndComeBackExactly) {
  show();
  const auto ratio = [this] { return Ratio{view->zoomnum, view->zoomden}; };
  for (const bool in : {true, false}) {
    const auto step = [&](bool inward) { run(inward ? "Zoom In" : "Zoom out"); };
    std::vector<Ratio> walk{ratio()};
    for (;;) {
      step(in);
      EXPECT_GT(view->zoomnum, 0);
      EXPECT_GT(view->zoomden, 0);
      if (ratio() == walk.back()) break;  // as far as 32 bits go
      walk.push_back(ratio());
      ASSERT_LT(walk.size(), 40u);
    }
    EXPECT_EQ(walk[1], in ? Ratio(5, 4) : Ratio(3, 4));
    EXPECT_EQ(walk[2], in ? Ratio(25, 16) : Ratio(9, 16));
    EXPECT_EQ(walk.size(), in ? 14u : 16u);
    for (size_t i = walk.size() - 1; i-- > 0;) {
      step(!in);
      EXPECT_EQ(ratio(), walk[i]);
    }
  }
  view->zoomIn();
  run("Actual size");
  EXPECT_EQ(ratio(), Ratio(1, 1));
}

TEST_F(ImageView, TheFitStaysWithin13AndAThirteenth) {
  struct Case {
    Size image, window;
    Ratio ratio;
    const char* log;
  };
  const Case cases[] = {
      {{200, 100}, {100, 100}, {1, 2}, "zoomfit 100,100\nai 2.000000 aw 1.000000 z 0.500000\n"},
      {{100, 200}, {150, 150}, {3, 4}, "z 0.750000\n"},
      {{100, 100}, {100, 100}, {1, 1}, "z 1.000000\n"},
      {{100, 100}, {200, 160}, {8, 5}, "aw 1.250000 z 1.600000\n"},
      {{10, 10}, {1000, 1000}, {13, 1}, "z 13.000000\n"},
      {{1000, 1000}, {10, 10}, {1, 13}, "z 0.076923\n"}};
  for (const Case& c : cases) {
    show(c.image, c.window);
    const size_t before = log().size();
    run("set region");
    EXPECT_EQ(Ratio(view->zoomnum, view->zoomden), c.ratio) << c.log;
    EXPECT_THAT(log().substr(before), HasSubstr(c.log));
  }
  view->fitTo({0, 10});
  EXPECT_EQ(view->zoomden, 13) << "no area: the zoom stays";
}

TEST_F(ImageView, AnImageThatDoesNotFitItsFrameIsFittedWhenItIsFirstShown) {
  show({100, 80}, {100, 100});
  view->setWindowSize({50, 50});
  EXPECT_EQ(site.frame, Size{}) << "it fitted, and was shown before";
  show({640, 480}, {400, 400});
  EXPECT_EQ(Ratio(view->zoomnum, view->zoomden), Ratio(5, 8));
  EXPECT_EQ(site.frame, (Size{402, 302}));
}

TEST_F(ImageView, APictureStaysFittedInTheMiddleUntilTheUserZooms) {
  show({640, 480}, {400, 400});
  EXPECT_EQ(view->toWindow({0, 0}), (Point{0, 50}));
  EXPECT_EQ(view->toImage({0, 50}), (Point{0, 0}));
  view->setWindowSize({1280, 1000});
  EXPECT_EQ(view->contentSize(), (Size{1280, 960}));
  view->setWindowSize({400, 400});
  view->zoomIn();
  EXPECT_EQ(Ratio(view->zoomnum, view->zoomden), Ratio(3, 4)) << "the next step";
  run("set region");
  view->zoomOut();
  EXPECT_EQ(Ratio(view->zoomnum, view->zoomden), Ratio(9, 16));
  view->setWindowSize({800, 800});
  EXPECT_EQ(Ratio(view->zoomnum, view->zoomden), Ratio(9, 16)) << "as the user left it";
  EXPECT_EQ(view->toWindow({0, 0}), (Point{220, 265}));
}

TEST_F(ImageView, TheWheelZoomsAboutTheMouseWithControlAndScrollsWithout) {
  show({2000, 1500}, {400, 300});
  run("Actual size");
  view->scrollTo({800, 600});
  for (const Point p : {Point{0, 0}, {399, 299}, {200, 31}}) {
    for (const int32_t steps : {1, 1, 3, -2, -3, -1, 1}) {
      const Point before = view->toImage(p);
      view->wheel({p, steps, false, true});
      const Point after = view->toImage(p);
      EXPECT_LE(std::abs(after.x - before.x), 1) << p.x << " " << steps;
      EXPECT_LE(std::abs(after.y - before.y), 1) << p.y << " " << steps;
    }
    EXPECT_EQ(Ratio(view->zoomnum, view->zoomden), Ratio(1, 1));
  }
  view->scrollTo({500, 500});
  view->wheel({{10, 10}, 1, false, false});
  EXPECT_EQ(view->scrollPosition(), (Point{500, 452}));
  view->wheel({{10, 10}, -1, true, false});
  EXPECT_EQ(view->scrollPosition(), (Point{548, 452}));
  EXPECT_TRUE(key(Key::Plus));
  EXPECT_EQ(Ratio(view->zoomnum, view->zoomden), Ratio(5, 4));
  EXPECT_TRUE(key(Key::Minus));
  EXPECT_TRUE(key(Key::Home));
  EXPECT_EQ(view->scrollPosition(), (Point{0, 0}));
}

TEST_F(ImageView, ThePanesTellInTheirOwnFormats) {
  ZBasicDoc& d = show();
  d.addPointToDimension(d.addDimension({10, 10}, 1), {40, 50});
  d.addPointToDimension(d.addDimension({100, 100}, 6), {110, 120});
  play("move 33,7");
  EXPECT_EQ(panes(), "pos=   33,    7|pixel= 71||dimlist0 ||mag=1.000, 1.000|zoom= 100%");
  play("click 10,10 move -5,7");  // a line tells its length, and outside the image there is no pixel
  EXPECT_EQ(panes(), "pos=   -5,    7||line1= 50.0|dimlist0 ||mag=1.000, 1.000|zoom= 100%");
  play("click 100,100 move 0,0");
  EXPECT_THAT(panes(), HasSubstr("|rect2 area=200.0|"));
  ASSERT_TRUE(d.setScale(0.5, 2.0, "x", 0, false, false));
  d.imageoffset = {3, 1};
  d.roi = {0, 0, 40, 30};
  d.currentlist = kNearestList;
  d.addDimension({20, 20}, 0);
  d.updateAllViews();
  EXPECT_EQ(view->selected, -1) << "an index counts in its own list";
  play("click 20,20 move 33,7");
  run("ROI");
  EXPECT_EQ(
      panes(),
      "pos= 15.0, 12.0|pixel= 71|NN line1=  0.0|dimlist4 NN|size= 20.0x 60.0|mag=0.500, 2.000|zoom= 100%");
  view->zoomOut();
  EXPECT_THAT(panes(), HasSubstr("|zoom=  75%"));
  const char* names[] = {"", "amber", "fcd", "Nailfold", "NN", "Voronoi", "Krogh", "amc", "Dustmask"};
  for (d.currentlist = 0; d.currentlist < kListCount; ++d.currentlist)
    EXPECT_THAT(panes(), HasSubstr(format("|dimlist%i %s|", d.currentlist, names[d.currentlist])));
  d.currentlist = 0;
}

TEST_F(ImageView, CoordinatesBeyondAnyImageSaturate) {
  ZBasicDoc& d = show();
  while (view->zoomnum < 1000000000) view->zoomIn();
  EXPECT_EQ(view->toWindow({2000000000, -2000000000}), (Point{2147483647, -2147483647}));
  while (view->zoomden < 1000000000) view->zoomOut();
  EXPECT_EQ(view->toImage({2000000000, 0}).x, 2147483647);
  d.image.reset();
  d.updateAllViews();
  EXPECT_EQ(view->contentSize(), Size{});
}

}  // namespace
}  // namespace tarnvisor
