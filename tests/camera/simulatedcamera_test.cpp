#include "camera/simulatedcamera.h"

#include <semaphore>

#include "support/testing.h"

namespace tarnvisor {
namespace {

using enum CameraRole;

// Nothing changes by itself.
SimulatedCameraSettings resting(CameraPace pace = CameraPace::Step) {
  SimulatedCameraSettings settings{.sensor = {160, 128}, .pace = pace, .movement = {}, .focusDrift = 0};
  settings.flow.velocity = settings.noise = 0;
  settings.away = settings.blurred = {};
  return settings;
}

struct Picture {
  Size size;
  Bytes pixels;
  int at(int x, int y) const { return pixels[static_cast<size_t>(y * size.width + x)]; }
  double mean() const { return std::accumulate(pixels.begin(), pixels.end(), 0.0) / pixels.size(); }
  double light() const { return mean() - 4; }  // without the dark level
};

// Mean squared difference of one picture and another moved by (dx, dy), at most 14 either way.
double difference(const Picture& a, const Picture& b, int dx = 0, int dy = 0) {
  double sum = 0, count = 0;
  for (int y = 14; y < a.size.height - 14; ++y)
    for (int x = 14; x < a.size.width - 14; ++x, ++count)
      sum += std::pow(a.at(x, y) - b.at(x + dx, y + dy), 2);
  return sum / count;
}

class Watcher : public FrameReceiver {
 public:
  explicit Watcher(const SimulatedCameraSettings& settings) : camera(openSimulatedCamera(settings)) {}
  ~Watcher() override { camera.reset(); }  // before what its thread uses

  void start() {
    for (Bytes& block : blocks) {
      block.resize(static_cast<size_t>(camera->bufferSize()));
      EXPECT_TRUE(camera->announce(block.data(), camera->bufferSize()));
    }
    EXPECT_TRUE(camera->start(*this));
  }
  const Picture& step(int32_t frames = 1) {
    camera->step(frames);
    return last;
  }
  void waitFor(size_t frames) {
    while (frames-- > 0) came.acquire();
  }

  void take(const CameraFrame& frame) override {
    counters.push_back(frame.counter);
    last = {{frame.width, frame.height}, Bytes(frame.block, frame.block + frame.stride * frame.height)};
    if (withholds)
      held.push_back(frame.block);
    else
      driver.requeue(frame.block);
    came.release();
  }
  void lost(const std::string& why) override { farewells.push_back(why); }

  std::unique_ptr<SimulatedCamera> camera;
  CameraDriver& driver = *camera;  // also while it is being closed
  bool withholds = false;
  std::vector<int64_t> counters;
  std::vector<uint8_t*> held;
  std::vector<std::string> farewells;
  Picture last;

 private:
  std::array<Bytes, 4> blocks;
  std::counting_semaphore<> came{0};
};

Picture pictureOf(const SimulatedCameraSettings& settings, const std::map<CameraRole, double>& values,
                  Rect area = {0, 0, 160, 128}) {
  Watcher watcher(settings);
  for (const auto& [role, value] : values) EXPECT_TRUE(watcher.camera->set(role, value)) << nameOf(role);
  EXPECT_TRUE(watcher.camera->setArea(area));
  watcher.start();
  return watcher.step();
}

TEST(SimulatedCamera, IsBrightAsTheLightIsLong) {
  const double unit = pictureOf(resting(), {{Exposure, 200}}).light() / 200;
  const std::pair<std::map<CameraRole, double>, double> cases[] = {
      {{{Exposure, 800}, {StrobeEnd, -300}}, 800},
      {{{Exposure, 200}, {Gain, 2.5}}, 500},
      {{{Exposure, 9000}, {Strobe, 1}, {StrobeStart, 100}, {StrobeEnd, -8300}}, 600},
      {{{Exposure, 600}, {Strobe, 1}, {StrobeEnd, -600}}, 0},
  };
  for (const auto& [values, light] : cases)
    EXPECT_NEAR(pictureOf(resting(), values).light() / unit, light, 5) << light;
  EXPECT_THAT(pictureOf(resting(), {{Exposure, 20000}}).pixels, Each(255));
}

TEST(SimulatedCamera, HasNoiseThatGoesWithTheRootOfTheLight) {
  SimulatedCameraSettings settings = resting();
  settings.noise = 4;
  for (const auto& [exposure, deviation] : {std::pair{900, 4.0}, {225, 2.0}}) {
    Watcher watcher(settings);
    EXPECT_TRUE(watcher.camera->set(Exposure, exposure));
    watcher.start();
    const Picture first = watcher.step();
    EXPECT_NEAR(std::sqrt(difference(first, watcher.step()) / 2), deviation, 0.3);
  }
  EXPECT_EQ(pictureOf(settings, {}).pixels, pictureOf(settings, {}).pixels);
}

TEST(SimulatedCamera, AddsLightByBinning) {
  const Picture plain = pictureOf(resting(), {{Exposure, 150}});
  const Picture binned = pictureOf(resting(), {{Exposure, 150}, {Binning, 2}});
  EXPECT_EQ(binned.size, (Size{80, 64}));
  EXPECT_NEAR(binned.light() / plain.light(), 4, 0.05);
  EXPECT_NEAR(binned.at(30, 20) - 4, 4 * (plain.at(60, 40) - 4), 8);
}

TEST(SimulatedCamera, ShowsAreasAndMirrorsThem) {
  const Picture whole = pictureOf(resting(), {});
  const Picture part = pictureOf(resting(), {}, {6, 3, 91, 50});
  const Picture turned = pictureOf(resting(), {{MirrorLeftRight, 1}, {MirrorUpDown, 1}}, {4, 2, 88, 48});
  EXPECT_EQ(part.size, (Size{84, 46}));
  for (const Point p : {Point{0, 0}, Point{83, 45}, Point{40, 20}}) {
    EXPECT_EQ(part.at(p.x, p.y), whole.at(4 + p.x, 2 + p.y));
    EXPECT_EQ(turned.at(p.x, p.y), whole.at(155 - p.x, 125 - p.y));
  }
  EXPECT_FALSE(openSimulatedCamera()->setArea({2000, 0, 2100, 100}));
}

TEST(SimulatedCamera, HoldsEachSettingToWhatTheOthersAllow) {
  const auto camera = openSimulatedCamera();
  for (const auto& [role, value] : {std::pair{FrameRate, 100.0}, {Exposure, 1e6}, {StrobeEnd, -9900}})
    EXPECT_TRUE(camera->set(role, value));
  EXPECT_EQ(*camera->value(Exposure), 9950);
  EXPECT_TRUE(camera->set(FrameRate, 200));
  EXPECT_EQ(*camera->value(Exposure), 4950);
  EXPECT_EQ(*camera->value(StrobeEnd), -4950);
  EXPECT_TRUE(camera->set(PixelClock, 10.2));
  EXPECT_NEAR(*camera->value(FrameRate), 10e6 * 8 / (1280 * 1024), 1e-9);
}

TEST(SimulatedCamera, ShowsASettingAfterItsDelay) {
  for (int32_t delay = 1; delay <= 4; ++delay) {
    SimulatedCameraSettings settings = resting();
    settings.delay = delay;
    Watcher watcher(settings);
    watcher.start();
    const Picture before = watcher.step(3);
    EXPECT_TRUE(watcher.camera->set(Exposure, 500));
    EXPECT_EQ(watcher.step(delay).pixels, before.pixels);
    EXPECT_NEAR(watcher.step().light(), before.light() / 2, 2);
    EXPECT_EQ(watcher.camera->truthOf(2 + delay)->exposure, 1000);
    EXPECT_EQ(watcher.camera->truthOf(3 + delay)->exposure, 500);
  }
}

TEST(SimulatedCamera, LosesFramesForWantOfBlocks) {
  Watcher watcher(resting());
  watcher.withholds = true;
  watcher.start();
  watcher.step(6);
  watcher.camera->requeue(watcher.held.front());
  watcher.step(2);
  EXPECT_THAT(watcher.counters, ElementsAre(0, 1, 2, 3, 6));
  EXPECT_TRUE(watcher.camera->truthOf(5)->lost);
  EXPECT_FALSE(watcher.camera->truthOf(6)->lost);
  watcher.camera->stop();
  EXPECT_TRUE(watcher.camera->start(watcher)) << "with the blocks again";
  watcher.step(5);
  EXPECT_THAT(watcher.counters, SizeIs(9));
}

TEST(SimulatedCamera, FailsAsItIsTold) {
  SimulatedCameraSettings settings = resting();
  settings.losesEvery = 3;
  settings.vanishesAfter = 7;
  settings.without = {Gain};
  Watcher watcher(settings);
  EXPECT_FALSE(watcher.camera->range(Gain));
  EXPECT_EQ(watcher.camera->set(Gain, 2).why(), "The camera has no gain.");
  EXPECT_FALSE(watcher.camera->start(watcher)) << "without blocks";
  watcher.start();
  EXPECT_FALSE(watcher.camera->set(Binning, 2)) << "while it runs";
  watcher.step(20);
  EXPECT_THAT(watcher.counters, ElementsAre(0, 1, 3, 4, 6));
  EXPECT_THAT(watcher.farewells, ElementsAre("The camera has vanished."));
  EXPECT_FALSE(watcher.camera->value(Exposure));
}

TEST(SimulatedCamera, MovesTheSkinByTheTruth) {
  SimulatedCameraSettings settings = resting();
  settings.sensor = {320, 256};
  settings.movement.driftX = 60;
  settings.movement.jumps = {{5000, 0, -9}};
  Watcher watcher(settings);
  watcher.start();
  const Picture first = watcher.step(), later = watcher.step(4);
  std::map<double, Point> fits;
  for (int dy = -14; dy <= 0; ++dy)
    for (int dx = 2; dx <= 14; ++dx) fits.emplace(difference(first, later, dx, dy), Point{dx, dy});
  EXPECT_EQ(fits.begin()->second, (Point{8, -9}));
  EXPECT_NEAR(watcher.camera->truthOf(4)->dx, 8, 0.01);
  EXPECT_EQ(watcher.camera->truthOf(4)->dy, -9);
}

TEST(SimulatedCamera, LosesAndFindsTissueAndFocus) {
  SimulatedCameraSettings settings = resting();
  settings.away.given = {{0.5, 2}};
  settings.blurred.given = {{4.5, 2}};
  Watcher watcher(settings);
  watcher.start();
  const Picture before = watcher.step();
  EXPECT_LT(watcher.step(45).mean(), 30);
  EXPECT_EQ(watcher.camera->truthOf(45)->tissue, 0);
  EXPECT_EQ(watcher.camera->truthOf(45)->dy, 128);
  EXPECT_EQ(watcher.step(60).pixels, before.pixels);
  EXPECT_EQ(watcher.camera->truthOf(105)->tissue, 1);
  const Picture blurred = watcher.step(60);
  EXPECT_LT(difference(blurred, blurred, 3), 0.5 * difference(before, before, 3));
  EXPECT_GT(watcher.camera->truthOf(165)->blur, 4);
}

TEST(SimulatedCamera, KeepsPaceWithItsOwnTimeAndLetsGoWhileItRuns) {
  for (const CameraPace pace : {CameraPace::Clock, CameraPace::Blocks}) {
    Watcher watcher(resting(pace));
    EXPECT_TRUE(watcher.camera->set(FrameRate, 200));
    watcher.start();
    watcher.waitFor(12);
    EXPECT_NEAR(watcher.camera->truthOf(11)->timeSeconds, 11.0 / 200, 1e-9);
    EXPECT_FALSE(watcher.camera->truthOf(1'000'000));
  }
}

}  // namespace
}  // namespace tarnvisor
