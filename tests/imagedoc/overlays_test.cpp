// What lies over the picture: order, pens, crosses, grid, rubber band, scale bar.

#include "frame/pictureexport.h"
#include "imagedoc/grid.h"
#include "imagedoc/overlay.h"
#include "imagedoc/zbasicview.h"
#include "settings/profile.h"
#include "support/imagedoctest.h"
#include "support/recordingcanvas.h"

namespace tarnvisor {
namespace {

using Calls = std::vector<std::string>;

// The four arms about a place, in the order in which they are drawn.
Calls cross(const char* pen, int32_t x, int32_t y, int32_t half) {
  return {format("pen %s width 1", pen), format("polyline %i,%i %i,%i", x - half, y, x - 1, y),
          format("polyline %i,%i %i,%i", x + half, y, x + 1, y),
          format("polyline %i,%i %i,%i", x, y - half, x, y - 1),
          format("polyline %i,%i %i,%i", x, y + half, x, y + 1)};
}

Calls together(std::initializer_list<Calls> parts) {
  Calls all;
  for (const Calls& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

class Overlays : public ImageDocument {
 protected:
  void SetUp() override {
    ImageDocument::SetUp();
    doc = &makeImage(100, 80);
    doc->showtarget = 0;
    view = std::make_unique<ZBasicView>(*doc);
    view->setWindowSize({100, 80});
  }
  // Without the picture, which comes first.
  Calls drawn() {
    RecordingCanvas canvas;
    view->draw(canvas);
    EXPECT_FALSE(canvas.calls.empty());
    EXPECT_EQ(canvas.calls.front(), "pixels 100x80 0,0-100,80");
    canvas.calls.erase(canvas.calls.begin());
    return canvas.calls;
  }
  ZBasicDoc* doc = nullptr;
  std::unique_ptr<ZBasicView> view;
};

TEST_F(Overlays, MarksAreDrawnWithoutLabelsWhereTheProfileSaysSo) {
  doc->addPointToDimension(doc->addDimension({10, 10}, CDimList::kLine), {40, 10});
  const auto hasText = [&] {
    return std::ranges::any_of(drawn(), [](const auto& call) { return call.starts_with("text"); });
  };
  EXPECT_TRUE(hasText());
  view->sidePanel()->showLabels(false);
  EXPECT_FALSE(hasText());
  EXPECT_THAT(profile(), testing::HasSubstr("marklabels=0"));
  EXPECT_TRUE(std::ranges::count(drawn(), "polyline 10,10 40,10") == 1);
}

TEST_F(Overlays, TheLevelsToldOfMarksFollowPixelsAndMarks) {
  const auto level = [&] { return view->sidePanel()->number(0, 4); };
  doc->addDimension({10, 10}, CDimList::kPoint);
  EXPECT_NE(level(), 50);
  doc->theImage()->fill(50);
  view->onUpdate(CView::Change::Pixels);
  EXPECT_EQ(level(), 50);
  doc->theImage()->row(20)[10] = 90;
  doc->currentDims().items[0]->points[0] = {10, 20};
  EXPECT_EQ(level(), 90);
}

TEST_F(Overlays, ComeInTheirOrderWithTheirPens) {
  doc->gridshow = 1;
  doc->gridspacing = 60;
  doc->gridcolour = 0x123456;
  doc->roi = {10, 12, 60, 50};
  doc->showtarget = 1;
  doc->target = {40, 30};
  doc->imageoffset = {5, 6};
  doc->currentlist = kAmberList;
  for (const int32_t list : {kAmberList, kPlainList, kKroghList}) {
    CDimList& dims = doc->dimlists[static_cast<size_t>(list)];
    dims.hidden = false;
    dims.colour = 0x10u + static_cast<Colour>(list);
    (void)dims.add({list, list}, 1);
    (void)dims.addPointTo(0, {list + 20, list});
  }
  view->selected = 0;
  const Calls selected = {"pen 11 width 1 dashed", "text 5,1 11 \"1\"", "polyline 1,1 21,1",
                          "polyline -2,1 4,1",     "polyline 1,-2 1,4", "polyline 18,1 24,1",
                          "polyline 21,-2 21,4"};
  const Calls expected = together({{"pen 123456 width 1", "polyline 5,0 5,81", "polyline 65,0 65,81",
                                    "polyline 0,6 101,6", "polyline 0,66 101,66"},
                                   {"pen ffff width 1", "rectangle 10,12-60,50"},
                                   cross("ff", 40, 30, 20),
                                   cross("ff00", 5, 6, 5),
                                   {"text 4,0 10 \"1\"", "pen 10 width 1", "polyline 0,0 20,0"},
                                   {"text 10,6 16 \"1\"", "pen 16 width 1", "polyline 6,6 26,6"}});
  Calls all = drawn();
  ASSERT_GE(all.size(), selected.size());
  const auto split = all.end() - static_cast<ptrdiff_t>(selected.size());
  EXPECT_THAT(Calls(all.begin(), split), ElementsAreArray(expected));
  // A text waits for no pen.
  const Calls last(split, all.end());
  EXPECT_THAT(last, ::testing::UnorderedElementsAreArray(selected));
}

TEST_F(Overlays, LieWhereTheZoomPutsThem) {
  doc->imageoffset = {50, 40};
  view->zoomnum = 25;
  view->zoomden = 16;
  view->scrollTo({20, 10});
  EXPECT_THAT(drawn(), ElementsAre("pen ff00 width 1", "polyline 50,52 56,52", "polyline 65,52 59,52",
                                   "polyline 58,44 58,50", "polyline 58,60 58,54"));
}

TEST_F(Overlays, OfAPartOfALargerFrameLieOverTheSamePixels) {
  std::filesystem::copy_file(std::string(TARNVISOR_PROFILE) + "/chalkley.wmf",
                             installedFolder() + "chalkley.wmf");
  doc->gridshow = doc->showtarget = 1;
  doc->gridspacing = 7.5;
  doc->target = {30, 20};
  doc->roi = {10, 10, 50, 40};
  (void)doc->addPointToDimension(doc->addDimension({15, 25}, 1), {60, 31});
  view->rubber = {{30, 40}, {10, 60}};
  view->dragmode = ZBasicView::kLineRubber;
  view->zoomnum = 25;
  view->zoomden = 16;
  view->scrollTo({20, 10});
  std::vector<Calls> shown;
  for (const Point origin : {Point{}, Point{1003, 501}}) {
    doc->image->xOrigin = origin.x;
    doc->image->yOrigin = origin.y;
    doc->move(origin.x, origin.y);
    view->rubber = {view->rubber.from + origin, view->rubber.to + origin};
    for (doc->gridstyle = 0; doc->gridstyle < 3; ++doc->gridstyle) {
      host.fill({});
      run("Grid...");
      shown.push_back(drawn());
    }
  }
  for (size_t style = 0; style < 3; ++style) EXPECT_EQ(shown[style], shown[style + 3]) << style;
}

TEST_F(Overlays, OnAPrinterHaveLabelsInTheFontOfTheSettings) {
  RecordingCanvas paper;
  paper.printer = true;
  ZoomCanvas canvas(paper, 1, 1, {});
  drawOverlays(canvas, *doc, -1, {0, 0, 100, 80});
  EXPECT_THAT(paper.calls, Contains("font \"Arial\" 100"));
  settings.setString("settings", "overlayfont", "Times");
  settings.setInt("settings", "overlayptsz", 140);
  drawOverlays(canvas, *doc, -1, {0, 0, 100, 80});
  EXPECT_THAT(paper.calls, Contains("font \"Times\" 140"));
}

TEST_F(Overlays, EndInTheRubberBandWhileOneIsDrawn) {
  view->rubber = {{30, 40}, {10, 60}};
  const auto band = [&](int32_t mode) {
    view->dragmode = mode;
    const Calls all = drawn();
    return Calls(all.begin() + 5, all.end());
  };
  EXPECT_THAT(band(ZBasicView::kNoDrag), IsEmpty());
  const Calls line = {"pen 0 width 1", "polyline 30,40 10,60", "pen ffffff width 1 dashed",
                      "polyline 30,40 10,60"};
  EXPECT_EQ(band(ZBasicView::kLineRubber), line);
  EXPECT_EQ(band(ZBasicView::kPolylineRubber), line);
  EXPECT_THAT(band(ZBasicView::kRectRubber),
              ElementsAre("pen 0 width 1", "rectangle 10,40-30,60", "pen ffffff width 1 dashed",
                          "rectangle 10,40-30,60"));
}

TEST_F(Overlays, OfADocumentWithoutAnImageAreNone) {
  doc->image = std::make_unique<CZZimage>();
  RecordingCanvas canvas;
  view->draw(canvas);
  EXPECT_THAT(canvas.calls, ElementsAre("fill 0,0-100,80 383838"));
}

// --- the grid

TEST_F(Overlays, GridSpacingTakesTheRawMagnificationWhateverIsCalibrated) {
  doc->gridspacing = 30;
  doc->magx = 1.5;
  doc->magy = 2;
  doc->calibrated = 0;
  EXPECT_EQ(gridSpacing(*doc).x, 30);
  doc->gridunits = 1;
  EXPECT_EQ(gridSpacing(*doc).x, 20);
  EXPECT_EQ(gridSpacing(*doc).y, 15);
}

Calls gridCalls(const ZBasicDoc& document, const Rect& visible, int32_t num = 1, int32_t den = 1) {
  RecordingCanvas canvas;
  ZoomCanvas zoomed(canvas, num, den, {});
  drawGrid(zoomed, document, visible);
  return canvas.calls;
}

TEST_F(Overlays, GridPointsLieAtTheCrossingsWithinTheImage) {
  doc->gridstyle = 1;
  doc->gridcolour = 0x77;
  doc->gridspacing = 40.5;
  doc->imageoffset = {-1, 79};
  EXPECT_THAT(gridCalls(*doc, {-50, -50, 500, 500}),
              ElementsAre("pen 77 width 1", "point 39,38", "point 80,38", "point 39,79", "point 80,79"));
}

TEST_F(Overlays, GridLinesCloserThanAPixelOfTheWindowAreDrawnOnce) {
  for (const double spacing : {1.0, 0.25, 1e-300, -2.0}) {
    doc->gridspacing = spacing;
    // A quarter of the size: 100 columns and 80 rows fall on 25 and 20. The pen comes first.
    EXPECT_EQ(gridCalls(*doc, {0, 0, 100, 80}, 1, 4).size(), 46u) << spacing;
  }
  for (const double none : {0.0, std::nan(""), HUGE_VAL}) {
    doc->gridspacing = none;
    EXPECT_THAT(gridCalls(*doc, {0, 0, 100, 80}), IsEmpty()) << none;
  }
}

TEST_F(Overlays, GridDrawingCoversTheCentralSquareAndIsNothingWithoutItsFile) {
  EXPECT_EQ(centralSquare({100, 80}), (Rect{10, 0, 90, 80}));
  EXPECT_EQ(centralSquare({51, 80}), (Rect{0, 14, 51, 65}));
  doc->gridstyle = 3;
  EXPECT_THAT(gridCalls(*doc, {0, 0, 100, 80}), IsEmpty());
  std::filesystem::copy_file(std::string(TARNVISOR_PROFILE) + "/chalkley.wmf",
                             installedFolder() + "chalkley.wmf");
  host.fill({{"Style", "Chalkley Grid"}, {"Colour", "255"}});
  run("Grid...");
  ASSERT_EQ(doc->gridstyle, 2);
  const Calls calls = gridCalls(*doc, {0, 0, 100, 80});
  ASSERT_GT(calls.size(), 2u);
  EXPECT_EQ(calls[0], "pen ff width 1");
  EXPECT_EQ(calls[1], "ellipse 11,1-89,79");  // 980 of 1000 about the middle
}

// --- the scale bar

TEST_F(Overlays, ScaleBarIsTheLongestRoundLengthWithinAQuarterOfTheWindow) {
  doc->calibrated = 1;
  doc->userunits = "um";
  const std::tuple<double, int32_t, int32_t, int32_t, double, int32_t, const char*> cases[] = {
      {1.68, 1, 1, 800, 200, 119, "200 um"},    {1.0, 1, 1, 800, 200, 200, "200 um"},
      {1.0, 5, 4, 800, 100, 125, "100 um"},     {0.004, 1, 1, 1000, 1, 250, "1 um"},
      {0.0039, 1, 1, 1000, 0.5, 128, "0.5 um"}, {1e6, 1, 13, 400, 1e9, 77, "1e+09 um"}};
  for (const auto& [magx, num, den, window, units, pixels, label] : cases) {
    doc->magx = magx;
    const ScaleBar bar = scaleBarFor(*doc, num, den, window);
    EXPECT_EQ(bar.units, units) << label;
    EXPECT_EQ(bar.pixels, pixels) << label;
    EXPECT_EQ(bar.label, label);
  }
  doc->calibrated = 0;
  EXPECT_EQ(scaleBarFor(*doc, 1, 1, 800).label, "200 pixel");
  doc->calibrated = 1;
  for (const double none : {0.0, -1.0, std::nan(""), HUGE_VAL}) {
    doc->magx = none;
    EXPECT_EQ(scaleBarFor(*doc, 1, 1, 800).units, 0) << none;
  }
}

TEST_F(Overlays, ScaleBarStandsAtTheBottomRight) {
  view->showsScaleBar = true;
  const Calls all = drawn();
  EXPECT_THAT(Calls(all.end() - 4, all.end()),
              ElementsAre("font \"\" 90", "fill 20,30-88,68 202020", "text 26,36 ffffff \"20 pixel\"",
                          "fill 44,58-64,62 ffffff"));
}

TEST_F(Overlays, GoIntoPicturesAsTheyAreWanted) {
  ZBasicDoc& d = makeImage(400, 100);
  d.showtarget = 0;
  d.roi = {10, 20, 30, 40};
  CView& shown = *d.views().front();
  RecordingCanvas picture;
  host.pictureCanvas = &picture;
  const auto written = [&](const char* times, const char* overlays, const char* bar) {
    picture.calls.clear();
    host.paths = {folder.file("a.png")};
    host.fill({{"Magnification", times}, {"Overlays", overlays}, {"Scale bar", bar}});
    exportPicture(shown);
    return picture.calls;
  };
  EXPECT_EQ(written("1", "0", "0"), (Calls{"pixels 400x100 0,0-400,100"}));
  const Calls all = written("2", "1", "1");
  EXPECT_EQ(all.front(), "pixels 800x200 0,0-800,200");
  EXPECT_THAT(all, Contains("rectangle 20,40-60,80"));
  EXPECT_THAT(all, Contains(HasSubstr("\"100 pixel\"")));
}

}  // namespace
}  // namespace tarnvisor
