// The live window and its recordings, while other windows of the program stand open.
#include "camera/framegrabber.h"
#include "camera/simulatedcamera.h"
#include "capture/commandids.h"
#include "capture/vivorecdoc.h"
#include "capture/zbasicfgview.h"
#include "linescan/zlinescandoc.h"
#include "walktest.h"

namespace tarnvisor {
namespace {

class LiveWindow : public WalkTest {
 protected:
  static constexpr int32_t kFrames = 50;

  void SetUp() override {
    WalkTest::SetUp();
    process.recordDir = folder.path();
    fgOpenWith([this](const std::string&, std::string&) -> std::unique_ptr<CameraDriver> {
      auto made = openSimulatedCamera({.sensor = {128, 64}, .pace = CameraPace::Step});
      camera = made.get();
      return made;
    });
    ASSERT_EQ(app->runCommand(cmd::LiveVideo), CommandResult::Done);
    settle();
    ASSERT_NE(camera, nullptr);
  }
  void TearDown() override {
    app->documents.discardAll();
    fgOpenWith(nullptr);
    WalkTest::TearDown();
  }
  CVivoRecDoc& recorder() { return dynamic_cast<CVivoRecDoc&>(*app->recorder); }
  // What stands open stands as long as these frames take to be written.
  void recordMore() {
    wanted += kFrames;
    camera->step(kFrames);
    EXPECT_TRUE(QTest::qWaitFor([this] { return fgCounts().recorded == wanted; }, kLongestMs));
  }
  void expectOpen(const QString& title, const QString& closes) {
    answers.expect(title, [this, closes](QWidget& dialog) {
      recordMore();
      click(dialog, closes);
    });
  }
  void holdMenuOpen() {
    QAction* first = window().menuBar()->actions().front();
    QTest::mouseClick(window().menuBar(), Qt::LeftButton, {},
                      window().menuBar()->actionGeometry(first).center());
    ASSERT_TRUE(QTest::qWaitFor([&] { return first->menu()->isVisible(); }, kLongestMs));
    recordMore();
    EXPECT_TRUE(first->menu()->isVisible());
    first->menu()->close();
  }

  SimulatedCamera* camera = nullptr;
  int64_t wanted = 0;
};

TEST_F(LiveWindow, RecordsEveryFrameBehindDialogsMenusAndChoosers) {
  settings.setInt("Dynamic settings", "loop", 0);
  process.direct2disc = 1;
  ASSERT_EQ(app->runCommand(cmd::RecordSequence), CommandResult::Done);
  settle();
  recordMore();
  expectOpen(programTitle().c_str(), "OK");
  tarnvisor::host().messages.show("A message");
  expectOpen("Timer", "Cancel");
  app->documents.activate(*liveDocument());
  app->loop.post(cmd::TimedSaves);
  settle();
  expectOpen("Open", "Cancel");
  app->loop.post(cmd::FileOpen);
  settle();
  holdMenuOpen();
  ASSERT_EQ(app->runCommand(cmd::RecordSequence), CommandResult::Done);
  EXPECT_EQ(fgCounts().missed, 0);
  ASSERT_EQ(recorder().imageCount(), 5 * kFrames);
  for (int32_t i = 1; i < recorder().imageCount(); ++i)
    EXPECT_EQ(recorder().movie->recordOf(i).number, recorder().movie->recordOf(i - 1).number + 2);
}

TEST_F(LiveWindow, SamplesALineInEveryFrameBehindADialog) {
  ZBasicfgDoc& live = *liveDocument();
  live.addDimension({10, 20}, CDimList::kLine);
  live.addPointToDimension(0, {60, 20});
  dynamic_cast<ZBasicfgView&>(*app->liveView).selected = 0;
  ASSERT_EQ(app->runCommand(cmd::MeasuringLine), CommandResult::Done);
  app->documents.activate(live);
  settle();
  const uint32_t before = theLinescan()->traceSet().scan2D->origin;
  answers.expect("Timer", [this](QWidget& dialog) {
    camera->step(kFrames);
    click(dialog, "Cancel");
  });
  app->loop.post(cmd::TimedSaves);
  settle();
  const LinescanTraces set = theLinescan()->traceSet();
  ASSERT_EQ(set.scan2D->origin, before + kFrames);
  for (uint32_t row = before; row < before + kFrames; ++row) EXPECT_EQ(set.scan2D->extent(row), 50.0);
}

}  // namespace
}  // namespace tarnvisor
