// The window of the velocity input, while other windows of the program stand open.
#include "doppler/commandids.h"
#include "doppler/dopplerinput.h"
#include "doppler/flo1doc.h"
#include "sound/pacedsound.h"
#include "walktest.h"

namespace tarnvisor {
namespace {

class VelocityWindow : public WalkTest {
 protected:
  static constexpr int kBlocks = 80;

  VelocityWindow() { settingsKeys = "floEN=1\n"; }
  void prepare() override {
    input = std::make_unique<DopplerInput>(*app, [this](std::string&) {
      auto made = std::make_unique<PacedSound>(simulatedSound(), SoundPace::Step);
      sound = made.get();
      return made;
    });
  }
  void TearDown() override {
    app->documents.discardAll();
    input.reset();
    WalkTest::TearDown();
  }
  void give() {
    wanted += kBlocks;
    sound->step(kBlocks * SoundBlock::kSamples);
  }
  void expectAllTaken() {
    EXPECT_TRUE(QTest::qWaitFor([this] { return input->flo1.blockNumber() == wanted - 1; }, kLongestMs));
  }

  std::unique_ptr<DopplerInput> input;
  PacedSound* sound = nullptr;
  int64_t wanted = 0;
};

TEST_F(VelocityWindow, TakesEveryBlockBehindDialogs) {
  ASSERT_EQ(app->runCommand(cmd::Flo1Monitor), CommandResult::Done);
  settle();
  auto& doc = dynamic_cast<Cflo1Doc&>(*app->documents.active());
  ASSERT_EQ(app->runCommand(cmd::RunChart), CommandResult::Done);
  settle();
  give();
  expectAllTaken();
  for (const auto& [command, title] :
       {std::pair{cmd::InputChannel, "Input channel"}, std::pair{cmd::InputSettings, "Input settings"},
        std::pair{cmd::CbvParameters, "CBV parameters"}}) {
    answers.expect(title, [this](QWidget& dialog) {
      give();
      click(dialog, "Cancel");
    });
    app->loop.post(command);
    settle();
  }
  app->loop.post(cmd::ThresholdWindow);
  app->loop.post(cmd::Cuff);
  settle();
  give();
  expectAllTaken();
  EXPECT_EQ(input->flo1.blocksLost(), 0);
  const double seconds = static_cast<double>(wanted) * SoundBlock::kSamples / 96000;
  EXPECT_EQ(doc.findtrace("CBV")->origin, static_cast<uint32_t>(seconds * doc.SlowSampleRate));
  ASSERT_EQ(app->runCommand(cmd::StopChart), CommandResult::Done);
  EXPECT_FALSE(doc.running);
}

}  // namespace
}  // namespace tarnvisor
