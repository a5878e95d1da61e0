#include "camera/simulatedcamera.h"

#include <condition_variable>
#include <mutex>

#include "support/testing.h"

namespace tarnvisor {
namespace {

using enum CameraRole;
using Settings = SimulatedCameraSettings;

// Nothing changes by itself, nor at any time.
Settings resting() {
  Settings settings;
  settings.sensor = {160, 128};
  settings.pace = CameraPace::Step;
  settings.movement = {};
  settings.flow.velocity = settings.focusDrift = settings.noise = 0;
  settings.away = settings.blurred = {};
  return settings;
}

struct Picture {
  Size size;
  Bytes pixels;
  int at(int x, int y) const { return pixels[static_cast<size_t>(y * size.width + x)]; }
  double mean() const {
    return std::accumulate(pixels.begin(), pixels.end(), 0.0) / static_cast<double>(pixels.size());
  }
  double light() const { return mean() - 4; }  // without the dark level
};

// Takes frames, and keeps what it is told to.
class Watcher : public FrameReceiver {
 public:
  explicit Watcher(const Settings& settings) : camera(openSimulatedCamera(settings)) {}
  ~Watcher() override { camera.reset(); }  // before what its thread uses

  void start() {
    camera->revokeAll();
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
    std::unique_lock lock(mutex);
    came.wait(lock, [&] { return counters.size() >= frames; });
  }

  void take(const CameraFrame& frame) override {
    const std::lock_guard lock(mutex);
    counters.push_back(frame.counter);
    last = {{frame.width, frame.height}, Bytes(frame.block, frame.block + frame.stride * frame.height)};
    if (withholds)
      held.push_back(frame.block);
    else
      driver.requeue(frame.block);
    came.notify_all();
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
  std::mutex mutex;
  std::condition_variable came;
};

Picture pictureOf(const Settings& settings, const std::map<CameraRole, double>& values, Rect area = {}) {
  Watcher watcher(settings);
  for (const auto& [role, value] : values) EXPECT_TRUE(watcher.camera->set(role, value)) << nameOf(role);
  EXPECT_EQ(static_cast<bool>(watcher.camera->setArea(area)), !area.isEmpty());
  watcher.start();
  return watcher.step();
}

TEST(SimulatedCamera, IsBrightAsTheLightIsLong) {
  const double unit = pictureOf(resting(), {{Exposure, 200}}).light() / 200;
  const std::pair<std::map<CameraRole, double>, double> cases[] = {
      {{{Exposure, 800}}, 800},
      {{{Exposure, 200}, {Gain, 2.5}}, 500},
      {{{Exposure, 9000}, {Strobe, 1}, {StrobeStart, 100}, {StrobeEnd, -8300}}, 600},
      {{{Exposure, 600}, {Strobe, 0}, {StrobeEnd, -300}}, 600},
      {{{Exposure, 600}, {Strobe, 1}, {StrobeEnd, -600}}, 0},
  };
  for (const auto& [values, light] : cases)
    EXPECT_NEAR(pictureOf(resting(), values).light() / unit, light, 5) << light;
  EXPECT_THAT(pictureOf(resting(), {{Exposure, 20000}}).pixels, Each(255));
}

TEST(SimulatedCamera, HasNoiseThatGoesWithTheRootOfTheLight) {
  Settings settings = resting();
  settings.noise = 4;
  const auto deviation = [&](double exposure) {
    Watcher watcher(settings);
    EXPECT_TRUE(watcher.camera->set(Exposure, exposure));
    watcher.start();
    const Picture first = watcher.step(), next = watcher.step();
    double sum = 0;
    for (size_t i = 0; i < first.pixels.size(); ++i) sum += std::pow(first.pixels[i] - next.pixels[i], 2);
    return std::sqrt(sum / 2 / static_cast<double>(first.pixels.size()));
  };
  EXPECT_NEAR(deviation(900), 4, 0.3);
  EXPECT_NEAR(deviation(900) / deviation(225), 2, 0.2);
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
  const Picture turned = pictureOf(resting(), {{MirrorLeftRight, 1}, {MirrorUpDown, 1}});
  const Picture turnedPart = pictureOf(resting(), {{MirrorLeftRight, 1}}, {4, 2, 88, 48});
  EXPECT_EQ(part.size, (Size{84, 46}));
  for (const Point p : {Point{0, 0}, Point{83, 45}, Point{40, 20}}) {
    EXPECT_EQ(part.at(p.x, p.y), whole.at(4 + p.x, 2 + p.y));
    EXPECT_EQ(turned.at(p.x, p.y), whole.at(159 - p.x, 127 - p.y));
    EXPECT_EQ(turnedPart.at(p.x, p.y), whole.at(155 - p.x, 2 + p.y));
  }
  EXPECT_FALSE(openSimulatedCamera()->setArea({2000, 0, 2100, 100}));
}

TEST(SimulatedCamera, HoldsEachSettingToWhatTheOthersAllow) {
  const auto camera = openSimulatedCamera();
  const auto set = [&](CameraRole role, double value) {
    EXPECT_TRUE(camera->set(role, value));
    return *camera->value(role);
  };
  set(FrameRate, 100);
  EXPECT_EQ(set(Exposure, 1e6), 9950);
  EXPECT_EQ(camera->range(StrobeEnd)->low, -9950);
  EXPECT_EQ(set(StrobeEnd, -9000), -9000);
  set(FrameRate, 200);
  EXPECT_EQ(*camera->value(Exposure), 4950);
  EXPECT_EQ(*camera->value(StrobeEnd), -4950);
  set(PixelClock, 10);
  EXPECT_NEAR(*camera->value(FrameRate), 10e6 * 8 / (1280 * 1024), 1e-9);
  EXPECT_EQ(set(PixelClock, 1000), 60);
}

TEST(SimulatedCamera, ShowsASettingAfterItsDelay) {
  for (int32_t delay = 1; delay <= 4; ++delay) {
    Settings settings = resting();
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
  EXPECT_TRUE(watcher.camera->start(watcher));
  watcher.step(5);
  EXPECT_THAT(watcher.counters, SizeIs(9));
}

TEST(SimulatedCamera, FailsAsItIsTold) {
  Settings settings = resting();
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
  watcher.camera->stop();
  EXPECT_FALSE(watcher.camera->start(watcher));
}

TEST(SimulatedCamera, MovesTheSkinByTheTruth) {
  Settings settings = resting();
  settings.sensor = {320, 240};
  settings.movement.driftX = 60;
  settings.movement.jumps = {{5000, 0, -9}};
  Watcher watcher(settings);
  watcher.start();
  const Picture first = watcher.step(), later = watcher.step(4);
  Point best;
  double least = std::numeric_limits<double>::max();
  for (int dy = -14; dy <= 14; ++dy)
    for (int dx = -14; dx <= 14; ++dx) {
      double sum = 0;
      for (int y = 20; y < 220; y += 2)
        for (int x = 20; x < 300; x += 2) sum += std::pow(first.at(x, y) - later.at(x + dx, y + dy), 2);
      if (sum < least) best = {dx, dy};
      least = std::min(least, sum);
    }
  EXPECT_NEAR(best.x, watcher.camera->truthOf(4)->dx, 0.5);
  EXPECT_NEAR(best.y, watcher.camera->truthOf(4)->dy, 0.5);
  EXPECT_EQ(best, (Point{8, -9}));
}

TEST(SimulatedCamera, LosesAndFindsTissueAndFocus) {
  Settings settings = resting();
  settings.away.given = {{0.5, 2}};
  settings.blurred.given = {{4.5, 2}};
  Watcher watcher(settings);
  watcher.start();
  const Picture before = watcher.step();
  EXPECT_LT(watcher.step(45).mean(), 30);
  EXPECT_EQ(watcher.camera->truthOf(45)->tissue, 0);
  EXPECT_EQ(watcher.step(60).pixels, before.pixels);
  EXPECT_EQ(watcher.camera->truthOf(105)->tissue, 1);
  const auto fine = [](const Picture& p) {
    double sum = 0;
    for (size_t i = 1; i < p.pixels.size(); ++i) sum += std::abs(p.pixels[i] - p.pixels[i - 1]);
    return sum;
  };
  EXPECT_LT(fine(watcher.step(60)), 0.7 * fine(before));
  EXPECT_GT(watcher.camera->truthOf(165)->blur, 4);
}

TEST(SimulatedCamera, KeepsPaceWithItsOwnTimeAndLetsGoWhileItRuns) {
  for (const CameraPace pace : {CameraPace::Clock, CameraPace::Blocks}) {
    Settings settings = resting();
    settings.pace = pace;
    Watcher watcher(settings);
    EXPECT_TRUE(watcher.camera->set(FrameRate, 200));
    watcher.start();
    watcher.waitFor(12);
    for (const int64_t counter : {1, 7, 11})
      EXPECT_NEAR(watcher.camera->truthOf(counter)->timeSeconds, static_cast<double>(counter) / 200, 1e-9);
    EXPECT_FALSE(watcher.camera->truthOf(1'000'000));
  }
}

}  // namespace
}  // namespace tarnvisor
