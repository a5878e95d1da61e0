// The simulated camera: frames a second, given as fast as blocks come back.
#include "camera/simulatedcamera.h"

#include <benchmark/benchmark.h>

#include <semaphore>
#include <vector>

namespace tarnvisor {
namespace {

class Counting : public FrameReceiver {
 public:
  explicit Counting(CameraDriver& driver) : camera(driver) {}
  void take(const CameraFrame& frame) override {
    camera.requeue(frame.block);
    frames.release();
  }
  void lost(const std::string&) override {}
  std::counting_semaphore<> frames{0};

 private:
  CameraDriver& camera;
};

// Arguments: width, height, binning, mirrored.
void frames(benchmark::State& state) {
  SimulatedCameraSettings settings;
  settings.sensor = {static_cast<int32_t>(state.range(0)), static_cast<int32_t>(state.range(1))};
  settings.pace = CameraPace::Blocks;
  const auto camera = openSimulatedCamera(settings);
  camera->set(CameraRole::Binning, static_cast<double>(state.range(2)));
  for (const CameraRole mirror : {CameraRole::MirrorLeftRight, CameraRole::MirrorUpDown})
    camera->set(mirror, static_cast<double>(state.range(3)));
  std::vector<std::vector<uint8_t>> blocks(static_cast<size_t>(camera->bufferCount()));
  for (auto& block : blocks) {
    block.resize(static_cast<size_t>(camera->bufferSize()));
    camera->announce(block.data(), camera->bufferSize());
  }
  Counting counting(*camera);
  camera->start(counting);
  counting.frames.acquire();
  for (auto _ : state) counting.frames.acquire();
  camera->stop();
  state.counters["frames/s"] =
      benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(frames)
    ->Args({640, 480, 1, 0})
    ->Args({1280, 1024, 1, 0})
    ->Args({1280, 1024, 1, 1})
    ->Args({1280, 1024, 2, 1})
    ->Args({2048, 1536, 1, 1})
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

// From the opening to the first frame.
void opening(benchmark::State& state) {
  for (auto _ : state) {
    SimulatedCameraSettings settings;
    settings.sensor = {static_cast<int32_t>(state.range(0)), static_cast<int32_t>(state.range(1))};
    settings.pace = CameraPace::Blocks;
    const auto camera = openSimulatedCamera(settings);
    std::vector<std::vector<uint8_t>> blocks(static_cast<size_t>(camera->bufferCount()));
    for (auto& block : blocks) {
      block.resize(static_cast<size_t>(camera->bufferSize()));
      camera->announce(block.data(), camera->bufferSize());
    }
    Counting counting(*camera);
    camera->start(counting);
    counting.frames.acquire();
    camera->stop();
  }
}
BENCHMARK(opening)
    ->Args({640, 480})
    ->Args({1280, 1024})
    ->Args({2048, 1536})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
}  // namespace tarnvisor
