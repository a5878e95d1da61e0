// Widths of capillaries along a video, the velocities of the flying spot, and images moved by hand.
#include "charts/chartdoc.h"
#include "support/recordingcanvas.h"
#include "support/videotest.h"

namespace tarnvisor {
namespace {

using testing::DoubleNear;

class AlongVideo : public VideoTest {
 protected:
  static void line(CVivoCapDoc& d, Point from, Point to) {
    d.addPointToDimension(d.addDimension(from, CDimList::kLine), to);
  }
  const ZZTrace* trace(const char* name) {
    auto* chart = dynamic_cast<ZchartDoc*>(app->documents.active());
    return chart ? chart->findtrace(name) : nullptr;
  }
  std::vector<double> valuesOf(const char* name) {
    std::vector<double> all;
    for (uint32_t i = 0; trace(name) && i < trace(name)->size(); ++i) all.push_back(trace(name)->data->at(i));
    return all;
  }
  // Each image's offset along x.
  std::vector<int> offsets() {
    std::vector<int> all;
    for (int32_t i = 0; i < video().imageCount(); ++i) all.push_back(video().movie->recordOf(i).xOrigin);
    return all;
  }
  // By dragging from the second of five images on.
  void begin(const char* command) {
    openMovie("a.mve", 5);
    view().goTo(1);
    run(command);
    view().mouseDown({{5, 5}});
  }
  void up(Point at, bool shift = false) { view().mouseUp({at, MouseButton::Left, shift}); }
};

TEST_F(AlongVideo, WidthsAreChartedOverTheSelectionByTheMethodOfVideos) {
  // An upright vessel from column 30 on, 8 + k wide in image k.
  writeMovieFile(folder.file("v.mve"), 4, {80, 40}, [](CZZimage& image, int32_t k) {
    image.fill(170);
    for (int32_t y = 0; y < 40; ++y) std::fill_n(image.row(y) + 30, 8 + k, uint8_t{100});
  });
  auto& d = static_cast<CVivoCapDoc&>(*app->openDocumentFile(folder.file("v.mve")));
  EXPECT_FALSE(isEnabled("Capillary Width vs. time"));
  ASSERT_TRUE(d.setScale(0.5, 1, "x", 0, false, false));
  settings.setInt("capwidth", "method", 1);
  line(d, {15, 20}, {60, 20});
  line(d, {15, 20}, {85, 20});
  d.fps = 10;
  ASSERT_TRUE(d.select(1, 4));
  d.movie->setOrigin(2, {10, 0});
  host.stopAt = 1;
  run("Capillary Width vs. time");
  EXPECT_EQ(app->documents.active(), &d) << "stopped";
  host.stopAt = INT64_MAX;
  run("Capillary Width vs. time");
  EXPECT_EQ(app->documents.active()->title(), d.title() + "_Capillary_Widths_vs_time");
  EXPECT_THAT(valuesOf("1"), ElementsAre(0, 4.5, 5, 5.5));
  EXPECT_THAT(valuesOf("2"), ElementsAre(0, 0, 5, 0)) << "outside but where the image moved";
  EXPECT_EQ(trace("1")->period, 0.1);
  app->documents.activate(d);
  settings.setInt("capwidth", "edgesub", 1);
  run("Capillary Width vs. time");
  EXPECT_THAT(valuesOf("1 sub-pixel"), ElementsAre(::testing::IsNan(), DoubleNear(4.5, 0.05),
                                                   DoubleNear(5, 0.05), DoubleNear(5.5, 0.05)));
  EXPECT_THAT(valuesOf("2 sub-pixel"),
              ElementsAre(::testing::IsNan(), ::testing::IsNan(), DoubleNear(5, 0.05), ::testing::IsNan()));
}

TEST_F(AlongVideo, FlyingSpotShowsAndRecordsVelocitiesImageByImage) {
  CVivoCapDoc& d = openMovie("a b.mve", 4);
  settings.setInt("fspotdlg", "left", 31);
  run("Flying Spot");
  const auto form = host.shownForms.back();
  EXPECT_EQ(form->events.place, (Point{31, 100}));
  EXPECT_THAT(d.spotVelocities, ElementsAre(0, 0, 0, 0));
  form->change("record", "1");
  form->change("FS", "-80");
  view().goTo(1);
  form->change("take the length of the selected line", "1");
  ASSERT_TRUE(d.setScale(2.5, 1, "x", 0, false, false));
  line(d, {2, 2}, {5, 2});
  view().selected = 0;
  view().goTo(3);
  form->change("take the length of the selected line", "0");
  form->change("record", "0");
  view().goTo(1);
  EXPECT_EQ(form->value("FS"), "-80");
  run("Chart flying spot velocities");
  EXPECT_EQ(app->documents.active()->title(), "a-b-Flying-spot-velocity");
  EXPECT_THAT(valuesOf("velocity"), ElementsAre(0, -80, 0, 7)) << "7.5 truncated";
  EXPECT_EQ(trace("velocity")->yunits, "um/s");
  app->documents.activate(d);
  d.spotVelocities.resize(3);
  run("Flying Spot");
  run("Flying Spot");
  EXPECT_THAT(d.spotVelocities, ElementsAre(0, 0, 0, 0)) << "another number of images";
}

TEST_F(AlongVideo, DragMovesTheImageShownAndAllThatFollow) {
  begin("Correct Movement (drag image)");
  ASSERT_TRUE(video().select(0, 4));
  view().mouseMove({{7, 8}});
  EXPECT_THAT(offsets(), ElementsAre(0, 2, 0, 0, 0));
  RecordingCanvas canvas;
  view().setWindowSize({16, 8});
  view().draw(canvas);
  EXPECT_EQ(canvas.lastPixels[3 * 16 + 2], 0xff010101u) << "the first pixel, under the mouse still";
  view().goTo(2);
  EXPECT_THAT(offsets(), ElementsAre(0, 2, 2, 0, 0));
  up({8, 9});
  EXPECT_THAT(offsets(), ElementsAre(0, 2, 3, 3, 0)) << "up to the selection's end";
  EXPECT_EQ(video().movie->recordOf(3).yOrigin, 4);
  EXPECT_THAT(video().notes, EndsWith("images 2 to 4 moved by hand by (3,4)\r\n"));
  view().mouseDown({{5, 5}});
  up({4, 5}, true);
  EXPECT_THAT(offsets(), ElementsAre(0, 2, 2, 3, 0)) << "with Shift it alone";
}

TEST_F(AlongVideo, TrackingTakesOffWhatTheMouseFollowedUntilPlaybackEnds) {
  begin("Correct Movement (drag image)");
  run("Track movement");
  view().mouseDown({{5, 5}});
  view().mouseMove({{7, 5}});
  EXPECT_THAT(offsets(), Each(0));
  view().goTo(2);
  view().mouseMove({{8, 5}});
  view().goTo(3);
  EXPECT_THAT(offsets(), ElementsAre(0, -2, -3, 0, 0));
  up({9, 5});
  EXPECT_THAT(offsets(), ElementsAre(0, -2, -3, -4, -4));
  view().startPlayback(false);
  view().stopPlayback();
  view().mouseDown({{5, 5}});
  up({9, 5});
  EXPECT_THAT(offsets(), ElementsAre(0, -2, -3, -4, -4));
}

TEST_F(AlongVideo, FieldsMoveByEvenRowsAndWhatWasFoundAlong) {
  openMovie("a.mve", 3);
  useWorkFolder();
  run("Split images into fields");
  video().amc.records.push_back({.index = 0, .offset = {1, 1}});
  run("Correct Movement (drag image)");
  view().mouseDown({{5, 5}});
  up({6, 10});
  EXPECT_EQ(video().movie->recordOf(0).yOrigin, 2);
  EXPECT_EQ(video().amc.records[0].offset, (Point{2, 5}));
}

}  // namespace
}  // namespace tarnvisor
