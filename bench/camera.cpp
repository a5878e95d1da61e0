// Frames a second from a camera on the loopback network, their counters checked, and what a frame costs. The
// camera itself runs in this process: its thread is counted too.
#include <arv.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "base/clock.h"
#include "camera/cameradriver.h"

namespace tarnvisor {
namespace {

class Counting : public FrameReceiver {
 public:
  explicit Counting(CameraDriver& camera) : driver(camera) {}
  void take(const CameraFrame& frame) override {
    if (last >= 0 && frame.counter <= last) ++outOfOrder;
    if (last >= 0) missed += frame.counter - last - 1;
    last = frame.counter;
    ++frames;
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    threadSeconds = static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) * 1e-9;
    driver.requeue(frame.block);
  }
  void lost(const std::string& why) override { std::fprintf(stderr, "%s\n", why.c_str()); }

  // Read when the camera is stopped.
  int64_t frames = 0, missed = 0, outOfOrder = 0;
  double threadSeconds = 0;

 private:
  CameraDriver& driver;
  int64_t last = -1;
};

double processSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

bool measure(CameraDriver& camera, Size size, double seconds) {
  if (!camera.setArea({0, 0, size.width, size.height})) return false;
  std::vector<std::vector<uint8_t>> blocks(16);
  for (auto& block : blocks) {
    block.resize(static_cast<size_t>(camera.bufferSize()));
    if (!camera.announce(block.data(), camera.bufferSize())) return false;
  }
  Counting counting(camera);
  const double cpu = processSeconds(), start = steadySeconds();
  if (!camera.start(counting)) return false;
  std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
  camera.stop();
  const double took = steadySeconds() - start, used = processSeconds() - cpu;
  camera.revokeAll();
  const double frames = static_cast<double>(std::max<int64_t>(1, counting.frames));
  std::printf(
      "%d x %d: %.1f frames a second, %lld missed, %lld out of order; CPU %.3f ms a frame, %.3f ms of it "
      "the driver's thread\n",
      size.width, size.height, frames / took, static_cast<long long>(counting.missed),
      static_cast<long long>(counting.outOfOrder), used * 1000 / frames,
      counting.threadSeconds * 1000 / frames);
  return counting.frames > 0 && counting.outOfOrder == 0;
}

int run(double seconds) {
  ArvGvFakeCamera* fake = arv_gv_fake_camera_new("127.0.0.1", "B1");
  const auto fillNothing = [](ArvBuffer*, void*, guint32, guint32, ArvPixelFormat) {};
  arv_fake_camera_set_fill_pattern(arv_gv_fake_camera_get_fake_camera(fake), fillNothing, nullptr);
  std::string why;
  auto camera = openCamera("", why);
  bool isRight = camera && camera->set(CameraRole::Exposure, 100) && camera->set(CameraRole::FrameRate, 500);
  if (!camera) std::fprintf(stderr, "%s\n", why.c_str());
  for (const Size size : {Size{1280, 1024}, Size{2048, 1536}})
    isRight = isRight && measure(*camera, size, seconds);
  camera.reset();
  g_object_unref(fake);
  return isRight ? 0 : 1;
}

}  // namespace
}  // namespace tarnvisor

int main(int argc, char** argv) { return tarnvisor::run(argc > 1 ? std::atof(argv[1]) : 5); }
