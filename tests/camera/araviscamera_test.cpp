#include <list>

#include "base/clock.h"
#include "fakecamera.h"
#include "support/testing.h"

namespace tarnvisor {
namespace {

// Finding and opening takes a second: the cases share a camera while there is one.
class Cameras : public testing::Test {
 protected:
  static void TearDownTestSuite() { unplug(); }
  static void unplug() {
    camera.reset();
    fake.reset();
  }
  void SetUp() override {
    if (!camera) plugIn();
    if (camera) makeReady();
  }
  void TearDown() override {
    if (camera) camera->revokeAll();
  }
  // Without a loopback network there is nothing to test.
  void plugIn() {
    fake.reset();  // there is one at a time
    fake = std::make_unique<FakeCamera>();
    camera = openCamera("", why);
    if (!camera && !fake->isOnNetwork()) GTEST_SKIP() << "no loopback network";
    ASSERT_TRUE(camera) << why;
  }
  void makeReady() {
    ASSERT_TRUE(camera->setArea({0, 0, 64, 48}));
    ASSERT_TRUE(camera->set(CameraRole::Exposure, 1000));
    ASSERT_TRUE(camera->set(CameraRole::FrameRate, 400));
    for (int i = 0; i < camera->bufferCount(); ++i) {
      blocks.emplace_back(static_cast<size_t>(camera->bufferSize()));
      ASSERT_TRUE(camera->announce(blocks.back().data(), camera->bufferSize()));
    }
  }

  inline static std::unique_ptr<FakeCamera> fake;
  inline static std::unique_ptr<CameraDriver> camera;
  std::list<Bytes> blocks;
  std::string why;
};

std::vector<int64_t> steps(const std::vector<Collector::Seen>& seen, int64_t Collector::Seen::*what) {
  std::vector<int64_t> all;
  for (size_t i = 1; i < seen.size(); ++i) all.push_back((seen[i].*what - seen[i - 1].*what) & 255);
  return all;
}

// The counter of such a camera turns over after the 135th.
TEST_F(Cameras, giveTheirPicturesInOrderAndCountThem) {
  Collector collector(camera.get());
  ASSERT_TRUE(camera->start(collector));
  const auto seen = collector.wait(200);
  camera->stop();
  ASSERT_GE(seen.size(), 200u);
  EXPECT_THAT(seen, Each(Field(&Collector::Seen::size, Size{64, 48})));
  EXPECT_THAT(seen, Each(Field(&Collector::Seen::number, Ge(0))));
  EXPECT_EQ(steps(seen, &Collector::Seen::counter), steps(seen, &Collector::Seen::number));
  EXPECT_GE(seen.back().counter - seen.front().counter, 199);
}

TEST_F(Cameras, areToldByTheirNames) {
  const CameraChoice found = findCameras().at(0);
  EXPECT_EQ(found.words, "Aravis Fake (T1)");
  EXPECT_EQ(found.id, camera->info().id);
  EXPECT_FALSE(openCamera("elsewhere", why));
  EXPECT_EQ(why, "The camera elsewhere is not there.");
}

TEST_F(Cameras, showWhatIsFired) {
  ASSERT_TRUE(camera->set(CameraRole::SoftwareTrigger, 1));
  Collector collector(camera.get());
  ASSERT_TRUE(camera->start(collector));
  EXPECT_GE(collector.wait(10).size(), 10u);
  EXPECT_TRUE(camera->set(CameraRole::SoftwareTrigger, 0));
  const size_t fired = collector.wait(0).size();
  EXPECT_GE(collector.wait(fired + 20).size(), fired + 20);
  camera->stop();
}

// Blocks go back on another thread than they came on.
TEST_F(Cameras, startAndStopAgainAndAgain) {
  for (int i = 0; i < 10; ++i) {
    Collector collector;
    ASSERT_TRUE(camera->start(collector));
    EXPECT_FALSE(camera->start(collector));
    const auto first = collector.wait(5);
    for (const auto& each : first) camera->requeue(each.block);
    EXPECT_GE(collector.wait(12).size(), 12u);
    camera->stop();
  }
  camera->revokeAll();
  Collector collector;
  EXPECT_EQ(camera->start(collector).why(), "The camera needs blocks of 3072 bytes for its frames.");
  EXPECT_FALSE(camera->announce(nullptr, 3072));
}

// Meanwhile another program asks for the camera.
TEST_F(Cameras, loseFramesAndNothingElseWhileAllBlocksAreKept) {
  Collector keeper;
  ASSERT_TRUE(camera->start(keeper));
  const auto kept = keeper.wait(8);
  const auto beyondPatience = std::chrono::steady_clock::now() + std::chrono::milliseconds(2300);
  EXPECT_FALSE(openCamera("", why));
  EXPECT_EQ(why, "The camera is in use by another program.");
  std::this_thread::sleep_until(beyondPatience);
  for (const auto& each : kept) camera->requeue(each.block);
  const auto seen = keeper.wait(12);
  camera->stop();
  ASSERT_GE(seen.size(), 12u);
  EXPECT_GT(seen[8].counter - seen[7].counter, 100);
  EXPECT_EQ(steps(seen, &Collector::Seen::counter), steps(seen, &Collector::Seen::number));
}

TEST_F(Cameras, tellThatTheyVanishedAndHoldNobodyUp) {
  Collector collector(camera.get());
  ASSERT_TRUE(camera->start(collector));
  collector.wait(5);
  fake->unplug();
  EXPECT_THAT(collector.waitForLoss(), ElementsAre("The camera does not answer any more."));
  const double before = steadySeconds();
  camera->stop();
  EXPECT_EQ(camera->set(CameraRole::Gain, 1).why(), "The camera does not answer any more.");
  EXPECT_EQ(camera->value(CameraRole::Gain), std::nullopt);
  EXPECT_FALSE(camera->start(collector));
  unplug();
  EXPECT_LT(steadySeconds() - before, 2.4);  // one question that nobody answers takes longer
  EXPECT_THAT(collector.waitForLoss(), SizeIs(1));
}

TEST_F(Cameras, holdNobodyUpBeforeTheyAreMissed) {
  Collector collector(camera.get());
  ASSERT_TRUE(camera->start(collector));
  collector.wait(5);
  fake->unplug();
  const double before = steadySeconds();
  unplug();
  EXPECT_LT(steadySeconds() - before, 2.4);
}

}  // namespace
}  // namespace tarnvisor
