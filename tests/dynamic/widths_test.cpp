// Widths of capillaries along a video, and the velocities of the flying spot.
#include "charts/chartdoc.h"
#include "support/videotest.h"

namespace tarnvisor {
namespace {

class VideoWidths : public VideoTest {
 protected:
  // An upright vessel from column 30 on, 8 + k wide in image k.
  CVivoCapDoc& openVessel(int32_t count = 4) {
    writeMovieFile(folder.file("v.mve"), count, {80, 40}, [](CZZimage& image, int32_t k) {
      image.fill(170);
      for (int32_t y = 0; y < 40; ++y)
        for (int32_t x = 30; x < 38 + k; ++x) image.setPixel(x, y, 100);
    });
    return static_cast<CVivoCapDoc&>(*app->openDocumentFile(folder.file("v.mve")));
  }
  static void line(CVivoCapDoc& d, Point from, Point to) {
    d.addPointToDimension(d.addDimension(from, CDimList::kLine), to);
  }
  ZchartDoc* chart() { return dynamic_cast<ZchartDoc*>(app->documents.active()); }
  std::vector<double> valuesOf(const char* name) {
    std::vector<double> all;
    const ZZTrace* trace = chart() ? chart()->findtrace(name) : nullptr;
    for (uint32_t i = 0; trace && i < trace->size(); ++i) all.push_back(trace->data->at(i));
    return all;
  }
};

TEST_F(VideoWidths, AreChartedOverTheSelectionByTheMethodOfVideos) {
  CVivoCapDoc& d = openVessel();
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
  ASSERT_TRUE(chart());
  EXPECT_EQ(chart()->title(), d.title() + "_Capillary_Widths_vs_time");
  EXPECT_THAT(valuesOf("1"), ElementsAre(0, 4.5, 5, 5.5));
  EXPECT_THAT(valuesOf("2"), ElementsAre(0, 0, 5, 0)) << "outside but where the image moved";
  EXPECT_EQ(chart()->findtrace("1")->period, 0.1);
  EXPECT_EQ(chart()->findtrace("1")->xunits, "secs");
  EXPECT_EQ(chart()->findtrace("1")->yunits, "um");
}

TEST_F(VideoWidths, BetweenThePixelsSaySoAndAreNoneOutside) {
  CVivoCapDoc& d = openVessel();
  settings.setInt("capwidth", "edgesub", 1);
  settings.setInt("capwidth", "method", 1);
  line(d, {15, 20}, {60, 20});
  line(d, {15, 20}, {85, 20});
  line(d, {45, 20}, {70, 20});
  run("Capillary Width vs. time");
  EXPECT_THAT(valuesOf("1 sub-pixel"),
              ElementsAre(testing::DoubleNear(8, 0.1), testing::DoubleNear(9, 0.1),
                          testing::DoubleNear(10, 0.1), testing::DoubleNear(11, 0.1)));
  EXPECT_THAT(valuesOf("2 sub-pixel"), ElementsAre(-1, -1, -1, -1));
  EXPECT_THAT(valuesOf("3 sub-pixel"), ElementsAre(-1, -1, -1, -1)) << "no vessel";
}

class FlyingSpotWindow : public VideoTest {
 protected:
  ShownForm& form() { return *host.shownForms.back(); }
};

TEST_F(FlyingSpotWindow, ShowsAndRecordsVelocitiesImageByImage) {
  CVivoCapDoc& d = openMovie("a b.mve", 4);
  d.fps = 10;
  EXPECT_FALSE(d.hasSpotVelocities());
  settings.setInt("fspotdlg", "left", 31);
  run("Flying Spot");
  EXPECT_EQ(form().events.place, (Point{31, 100}));
  EXPECT_THAT(d.spotVelocities, ElementsAre(0, 0, 0, 0));
  form().change("record", "1");
  form().change("FS", "120");
  d.setModified(false);
  view().goTo(1);
  EXPECT_TRUE(d.isModified());
  form().change("FS", "-80");
  view().goTo(2);
  form().change("record", "0");
  view().goTo(1);
  EXPECT_EQ(form().value("FS"), "120");
  EXPECT_THAT(d.spotVelocities, ElementsAre(0, 120, -80, 0));
  form().change("record", "1");
  form().change("take the length of the selected line", "1");
  ASSERT_TRUE(d.setScale(2.5, 1, "x", 0, false, false));
  d.addPointToDimension(d.addDimension({2, 2}, CDimList::kLine), {5, 2});
  view().selected = 0;
  view().goTo(3);
  EXPECT_EQ(d.spotVelocities[3], 7) << "truncated";
  CVivoCapView& playing = view();
  run("Flying Spot");
  EXPECT_FALSE(form().isOpen);
  run("Chart flying spot velocities");
  auto* chart = dynamic_cast<ZchartDoc*>(app->documents.active());
  ASSERT_TRUE(chart);
  EXPECT_EQ(chart->title(), "a-b-Flying-spot-velocity");
  const ZZTrace& trace = *chart->findtrace("velocity");
  EXPECT_EQ(trace.data->at(2), -80);
  EXPECT_EQ(trace.yunits, "um/s");
  app->documents.activate(d);
  d.spotVelocities.resize(3);
  run("Flying Spot");
  EXPECT_THAT(d.spotVelocities, ElementsAre(0, 0, 0, 0)) << "another number of images";
  form().close();
  EXPECT_EQ(settings.getInt("fspotdlg", "left", 0), 31);
  playing.goTo(0);
  EXPECT_EQ(d.spotVelocities[0], 0) << "closed";
}

class ByHand : public VideoTest {
 protected:
  void open(int32_t count = 5) {
    CVivoCapDoc& d = openMovie("a.mve", count);
    view().goTo(1);
    d.setModified(false);
  }
  void down(Point at) { view().mouseDown({at}); }
  void move(Point at) { view().mouseMove({at}); }
  void up(Point at, bool shift = false) { view().mouseUp({at, MouseButton::Left, shift}); }
  // Each image's offset along x.
  std::vector<int> offsets() {
    std::vector<int> all;
    for (int32_t i = 0; i < video().imageCount(); ++i) all.push_back(video().movie->recordOf(i).xOrigin);
    return all;
  }
};

TEST_F(ByHand, DragMovesTheImageShownAndAllThatFollow) {
  open();
  ASSERT_TRUE(video().select(0, 4));
  run("Correct Movement (drag image)");
  down({5, 5});
  EXPECT_TRUE(video().isModified());
  move({7, 8});
  EXPECT_THAT(offsets(), ElementsAre(0, 2, 0, 0, 0));
  up({8, 9});
  EXPECT_THAT(offsets(), ElementsAre(0, 3, 3, 3, 0)) << "up to the selection's end";
  EXPECT_EQ(video().movie->recordOf(3).yOrigin, 4);
  EXPECT_THAT(video().notes, EndsWith("images 1 to 4 moved by hand by (3,4)\r\n"));
  down({5, 5});
  up({4, 5}, true);
  EXPECT_THAT(offsets(), ElementsAre(0, 2, 3, 3, 0)) << "with Shift it alone";
}

TEST_F(ByHand, DragGoesAlongToTheNextImage) {
  open();
  run("Correct Movement (drag image)");
  down({5, 5});
  move({7, 5});
  view().goTo(2);
  EXPECT_THAT(offsets(), ElementsAre(0, 2, 2, 0, 0));
  up({8, 5});
  EXPECT_THAT(offsets(), ElementsAre(0, 2, 3, 3, 3));
}

TEST_F(ByHand, TrackingTakesOffWhatTheMouseFollowed) {
  open();
  run("Track movement");
  down({5, 5});
  move({7, 5});
  EXPECT_THAT(offsets(), Each(0));
  view().goTo(2);
  move({8, 5});
  view().goTo(3);
  EXPECT_THAT(offsets(), ElementsAre(0, -2, -3, 0, 0));
  up({9, 5});
  EXPECT_THAT(offsets(), ElementsAre(0, -2, -3, -4, -4));
}

TEST_F(ByHand, ModesExcludeEachOtherAndEndWithPlayback) {
  open();
  const auto ticked = [&](const char* text) {
    return view().commands()->find(std::string_view(text))->ticked(view());
  };
  run("Correct Movement (drag image)");
  run("Track movement");
  EXPECT_FALSE(ticked("Correct Movement (drag image)"));
  EXPECT_TRUE(ticked("Track movement"));
  view().startPlayback(false);
  view().stopPlayback();
  EXPECT_FALSE(ticked("Track movement"));
  down({5, 5});
  up({9, 5});
  EXPECT_THAT(offsets(), Each(0));
}

TEST_F(ByHand, EscapeTakesTheDragBackThenLeaves) {
  open();
  run("Correct Movement (drag image)");
  down({5, 5});
  move({7, 5});
  EXPECT_TRUE(view().keyDown({Key::Escape}));
  EXPECT_THAT(offsets(), Each(0));
  EXPECT_TRUE(view().keyDown({Key::Escape}));
  EXPECT_FALSE(view().keyDown({Key::Escape}));
}

TEST_F(ByHand, FieldsMoveByEvenRowsAndFoundOffsetsAlong) {
  open(3);
  useWorkFolder();
  run("Split images into fields");
  view().goTo(1);
  video().amc.records.push_back({.index = 1, .offset = {1, 1}});
  run("Correct Movement (drag image)");
  down({5, 5});
  up({6, 10});
  EXPECT_EQ(video().movie->recordOf(1).yOrigin, 2);
  EXPECT_EQ(video().amc.records[0].offset, (Point{2, 5}));
}

}  // namespace
}  // namespace tarnvisor
