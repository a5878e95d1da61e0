// The video view: moving along the sequence, status texts, and playback by a clock that the test holds.

#include "base/clock.h"
#include "support/recordingcanvas.h"
#include "support/videotest.h"

namespace tarnvisor {
namespace {

class Playback : public VideoTest {
 protected:
  void open(int32_t count, double fps) {
    openMovie("a.mve", count);
    video().fps = fps;
    video().playPeriod = static_cast<int32_t>(1000 / fps);
  }
  // Begins anew until it is known to a thousandth of a second when it began.
  void play(bool loop) {
    double before = 0;
    do {
      before = steadySeconds();
      view().startPlayback(loop);
      start = steadySeconds();
    } while (start - before > 0.001);
  }
  // The image shown after a tick at a time since the start.
  int32_t at(double seconds) {
    view().tick(start + seconds);
    return video().currentIndex();
  }
  std::string pane(const std::string& name) {
    for (const StatusPane& each : view().panes())
      if (each.name == name) return each.text;
    return "none";
  }
  double start = 0;
};

TEST_F(Playback, TellsImageFieldAndTime) {
  open(200, 0.5);
  view().goTo(100);
  EXPECT_EQ(pane("image"), "Image# 100/200");
  EXPECT_EQ(pane("field"), "Field# 200");
  EXPECT_EQ(pane("time"), "03:20.00");
  run("step one frame/field forwards");
  EXPECT_EQ(pane("time"), "03:22.00");
  run("step one frame/field back");
  EXPECT_EQ(video().currentIndex(), 100);
  const CView::Timeline line = view().timeline();
  EXPECT_EQ(line.count, 200);
  EXPECT_EQ(line.current, 100);
  Size size;
  std::vector<uint32_t> pixels;
  ASSERT_TRUE(view().thumbnail(3, 8, size, pixels));
  EXPECT_EQ(size.height, 4);
  EXPECT_EQ(pixels[1], 0xff0d0d0du);
  EXPECT_FALSE(view().thumbnail(200, 8, size, pixels));
}

TEST_F(Playback, AndAllThatOnlyLooksLeavesTheVideoUnchanged) {
  open(20, 10);
  ASSERT_TRUE(video().onSaveDocument(folder.file("a.dtv")));
  play(false);
  at(0.5);
  view().stopPlayback();
  run("Zoom In");
  view().scrollTo({3, 2});
  EXPECT_TRUE(video().select(2, 6));
  host.fill({});
  run("Properties");
  host.fill({});
  run("Notes");
  host.fill({});
  run("Units");
  EXPECT_FALSE(video().isModified());
  run("Correct Movement (drag image)");
  view().mouseDown({{5, 5}});
  view().mouseUp({{5, 5}});
  EXPECT_FALSE(video().isModified()) << "the image was not moved";
}

TEST_F(Playback, KeepsTheTrueRateAndDropsImagesWhenLate) {
  open(100, 60);
  play(false);
  EXPECT_TRUE(view().isPlaying());
  EXPECT_EQ(at(0.010), 0) << "not yet due";
  EXPECT_EQ(at(0.018), 1);
  EXPECT_EQ(at(0.020), 1);
  EXPECT_EQ(at(0.505), 30) << "late: the position is right";
  EXPECT_EQ(at(1.001), 60) << "60 a second, not 1000 / 16";
  EXPECT_EQ(at(9), 99) << "not past the last";
  EXPECT_TRUE(view().isPlaying());
  EXPECT_EQ(at(9.1), 0) << "one step past the last is outside";
  EXPECT_FALSE(view().isPlaying());
  run("Loop");
  EXPECT_TRUE(view().isLooping());
  run("play image sequence");
  EXPECT_FALSE(view().isPlaying());
}

TEST_F(Playback, LoopsWithFasterSteps) {
  open(10, 0.1);  // so slow that the time the test itself takes is nothing
  play(true);
  EXPECT_TRUE(view().isLooping());
  EXPECT_EQ(at(95), 9);
  EXPECT_EQ(at(105), 0) << "past the end is the start";
  EXPECT_EQ(at(110.1), 1) << "the clock goes on from when it was due";
  run("play faster");
  run("play faster");
  EXPECT_EQ(view().playStep, 4);
  start = steadySeconds();
  EXPECT_EQ(at(10.1), 5);
  EXPECT_EQ(at(20.1), 9);
  RecordingCanvas canvas;
  view().draw(canvas);
  EXPECT_THAT(canvas.calls, ::testing::Contains("text 5,5 ffffff \">>x4\""));
  EXPECT_EQ(at(30.1), 0) << "13 is outside";
  run("play slower");
  EXPECT_EQ(view().playStep, 2);
  run("Loop");
  EXPECT_FALSE(view().isPlaying());
  EXPECT_EQ(view().playStep, 1);
}

TEST_F(Playback, EndsAtImageZeroWhenAStepJumpsPastTheEnd) {
  open(10, 0.1);
  play(false);
  run("play faster");
  run("play faster");
  start = steadySeconds();
  EXPECT_EQ(at(20.1), 8);
  EXPECT_EQ(at(30.1), 0);
  EXPECT_FALSE(view().isPlaying());
}

TEST_F(Playback, TakesAPeriodOfTheUser) {
  open(10, 10);
  host.fill({{"milliseconds from image to image", "50000"}});
  run("Playback frame skip");
  play(false);
  EXPECT_EQ(at(40), 0);
  EXPECT_EQ(at(60), 1);
  EXPECT_TRUE(view().keyDown({Key::Escape}));
  EXPECT_FALSE(view().isPlaying());
}

TEST_F(Playback, RunsByTheTimerOfTheLoop) {
  open(6, 100);
  run("Loop");
  int32_t seen = 0;
  for (int turns = 0; turns < 10'000'000 && seen < 2; ++turns) {
    (void)app->loop.turn();
    seen = std::max(seen, video().currentIndex());
  }
  EXPECT_GE(seen, 2);
  process.videoTemplate->discard(video());
  (void)app->loop.turn();  // its timer went with the view
}

TEST_F(Playback, KeysMoveSelectAndPlay) {
  CVivoCapDoc& doc = openMovie("keys.mve", 30);
  const auto press = [&](KeyEvent key) {
    EXPECT_TRUE(view().keyDown(key));
    return doc.currentIndex();
  };
  EXPECT_EQ(press({Key::Right}), 1);
  EXPECT_EQ(press({Key::Right, true}), 11);
  EXPECT_EQ(press({Key::Left}), 10);
  run("Mark in");
  EXPECT_EQ(press({Key::Right, true}), 20);
  run("Mark out");
  EXPECT_EQ(doc.selection().first, 10);
  EXPECT_EQ(doc.selection().last, 21);
  EXPECT_EQ(press({Key::Home}), 0);
  EXPECT_EQ(press({Key::End, false, true}), 20);
  EXPECT_EQ(press({Key::End}), 29);
  EXPECT_EQ(press({Key::Home, false, true}), 10);
  press({Key::Space});
  EXPECT_TRUE(view().isPlaying());
  press({Key::Space});
  EXPECT_FALSE(view().isPlaying());
  doc.showImage(5);
  run("Mark out");
  EXPECT_EQ(doc.selection().size(), 6) << "from the start, as the beginning lay behind";
  run("Select all images");
  EXPECT_EQ(doc.selection().size(), 30);
  doc.addDimension({3, 3}, CDimList::kPoint);
  view().selectMarks(std::array<size_t, 1>{0});
  press({Key::Right});
  EXPECT_EQ(doc.currentIndex(), 5) << "the arrows are the mark's";
}

TEST_F(Playback, LookingAtAVideoDoesNotChangeIt) {
  openMovie("a.mve", 5);
  ASSERT_TRUE(video().onSaveDocument(folder.file("v.dtv")));
  process.videoTemplate->discard(video());
  ASSERT_NE(app->openDocumentFile(folder.file("v.dtv")), nullptr);
  EXPECT_FALSE(video().isModified()) << "opened";
  view().startPlayback(false);
  view().tick(steadySeconds() + 1);
  view().stopPlayback();
  view().goTo(3);
  view().selectImages(1, 3);
  view().wheel({.at = {5, 5}, .steps = 1, .control = true});
  view().scrollTo({3, 3});
  run("Zoom in");
  EXPECT_FALSE(video().isModified());
}

}  // namespace
}  // namespace tarnvisor
