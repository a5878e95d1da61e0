// The program before a camera on the loopback network.
#include <chrono>
#include <thread>

#include "camera/fakecamera.h"
#include "capturetest.h"

namespace tarnvisor {
namespace {

class NetworkCamera : public Capture {
 protected:
  void SetUp() override {
    Capture::SetUp();
    fgOpenWith(nullptr);
    for (const auto& [key, value] : {std::pair{"grabarea", 1}, {"usergrabwidth", 64}, {"usergrabHeight", 48}})
      settings.setInt("ueyeP", key, value);
    settings.setInt("ueyeP", "exposure", 1000);
    settings.setDouble("ueyeP", "fps", 200);
    plugIn();
    if (!fake->isOnNetwork()) GTEST_SKIP() << "no loopback network";
  }
  void plugIn() {
    fake.reset();  // there is one at a time
    fake = std::make_unique<FakeCamera>();
  }
  // At most twenty seconds.
  template <class Question>
  bool turnUntil(const Question& isDone) {
    for (int k = 0; k < 20'000 && !isDone(); ++k) {
      app->loop.turn();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return isDone();
  }
  // From one image to the next: of their numbers, and of the pictures that the camera showed.
  std::pair<std::vector<int>, std::vector<int>> steps() {
    std::pair<std::vector<int>, std::vector<int>> all;
    CZZMovie& movie = *recorder().movie;
    for (int32_t i = 1; i < movie.count; ++i) {
      const int before = movie.frameAt(i - 1).row(0)[0], after = movie.frameAt(i).row(0)[0];
      all.second.push_back((after - before) & 255);
      all.first.push_back(static_cast<int>(movie.recordOf(i).number - movie.recordOf(i - 1).number) / 2);
    }
    return all;
  }

  std::unique_ptr<FakeCamera> fake;
};

TEST_F(NetworkCamera, IsRecordedUnpluggedAndFoundAgain) {
  sequence(300, 0, 0, 1);
  openLive();
  ASSERT_NE(app->liveView, nullptr);
  runCommand(cmd::Trigger);
  ASSERT_TRUE(turnUntil([this] { return !recorder().isRecording(); }));
  ASSERT_EQ(recorder().imageCount(), 300);
  const auto [numbers, pictures] = steps();
  EXPECT_EQ(numbers, pictures);

  sequence(100'000, 0, 0, 1);
  runCommand(cmd::Trigger);
  ASSERT_TRUE(turnUntil([this] { return recorder().framesRecorded() > 20; }));
  fake->unplug();
  ASSERT_TRUE(turnUntil([this] { return !recorder().isRecording(); }));
  const std::string kept = format("%i images were recorded and are kept in %s.", recorder().imageCount(),
                                  recorder().movie->fileName.c_str());
  EXPECT_THAT(host.messages.back(), HasSubstr("The camera does not answer any more.\n" + kept));
  EXPECT_GT(recorder().imageCount(), 20);
  EXPECT_TRUE(fileExists(recorder().pathName()));
  ASSERT_NE(app->liveView, nullptr) << "the window stays";
  EXPECT_FALSE(live().isLive());

  plugIn();
  view().startCamera();
  EXPECT_TRUE(turnUntil([] { return fgState().shownFrames > 0; }));
}

}  // namespace
}  // namespace tarnvisor
