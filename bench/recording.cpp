// Recording from a camera to the disc, as the program does it: whether every frame arrives, how soon after
// the trigger the first one is stored, and what memory it takes. bench_recording [seconds] [folder] The
// display takes the newest frame some 30 times a second beside it, and once holds still for two seconds, as
// behind a dialog.
#include <arv.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include "analysis/autoflash.h"
#include "base/clock.h"
#include "camera/framegrabber.h"
#include "camera/simulatedcamera.h"
#include "movie/zzmovie.h"

namespace tarnvisor {
namespace {

double residentMegabytes() {
  std::ifstream sizes("/proc/self/statm");
  int64_t pages = 0, resident = 0;
  sizes >> pages >> resident;
  return static_cast<double>(resident) * 4096 / 1e6;
}

void show(double seconds) {
  const double end = steadySeconds() + seconds;
  while (steadySeconds() < end) {
    (void)fgCheckFrame();
    std::this_thread::sleep_for(std::chrono::milliseconds(33));
  }
}

bool measure(const char* what, double rate, double seconds, const std::string& folder) {
  if (!fginit()) return std::fprintf(stderr, "%s: no camera\n", what), false;
  flashControl.on = 0;
  fgSetManualExposure(5000);
  fgSetFps(rate);
  fggrab(true);
  show(2);
  const double frameTime = 1 / fgState().actualFps, before = residentMegabytes();
  CZZMovie movie;
  movie.source = fgSource();
  movie.ringMode = 1;
  const std::string name = folder + "/recording.mve";
  const double trigger = steadySeconds();
  if (!movie.record(1000000, name, 0, 0, fgState().imageWidth, fgState().imageHeight, true)) return false;
  while (fgCounts().recorded < 1 && steadySeconds() - trigger < 5)
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  const double latency = steadySeconds() - trigger;
  show(seconds / 2);
  const double half = residentMegabytes();
  std::this_thread::sleep_for(std::chrono::seconds(2));  // a dialog
  show(seconds / 2);
  const double after = residentMegabytes();
  movie.stopRecording();
  const FrameHub::Counts counts = fgCounts();
  int64_t gaps = 0;
  for (int32_t k = 1; k < movie.count; ++k)
    gaps += movie.recordOf(k).number != movie.recordOf(k - 1).number + 2 ? 1 : 0;
  std::printf(
      "%s, %d x %d at %.1f a second: %d recorded, %lld missed, %lld gaps in the numbers; first after %.1f ms "
      "(a frame takes %.1f); memory %.0f MB, recording %.0f, at the end %.0f\n",
      what, fgState().imageWidth, fgState().imageHeight, fgState().actualFps, movie.count,
      static_cast<long long>(counts.missed), static_cast<long long>(gaps), latency * 1e3, frameTime * 1e3,
      before, half, after);
  movie.close();
  std::remove(name.c_str());
  fgterm();
  return counts.missed == 0 && gaps == 0;
}

int run(double seconds, const std::string& folder) {
  bool isRight = true;
  for (const auto& [size, rate] : {std::pair{Size{1280, 1024}, 98.0}, std::pair{Size{2048, 1536}, 45.0}}) {
    fgOpenWith([size](const std::string&, std::string&) -> std::unique_ptr<CameraDriver> {
      SimulatedCameraSettings settings;
      settings.sensor = size;
      auto camera = openSimulatedCamera(settings);
      (void)camera->set(CameraRole::PixelClock, 1000);
      return camera;
    });
    isRight = measure("simulated", rate, seconds, folder) && isRight;
  }
  ArvGvFakeCamera* fake = arv_gv_fake_camera_new("127.0.0.1", "B2");
  const auto fillNothing = [](ArvBuffer*, void*, guint32, guint32, ArvPixelFormat) {};
  arv_fake_camera_set_fill_pattern(arv_gv_fake_camera_get_fake_camera(fake), fillNothing, nullptr);
  for (const auto& [size, rate] : {std::pair{Size{1280, 1024}, 98.0}, std::pair{Size{2048, 1536}, 45.0}}) {
    fgOpenWith([size](const std::string& id, std::string& why) {
      auto camera = openCamera(id, why);
      if (camera) (void)camera->setArea({0, 0, size.width, size.height});
      return camera;
    });
    fgSetGrabSize(size.width, size.height, false);
    isRight = measure("GigE", rate, seconds, folder) && isRight;
  }
  g_object_unref(fake);
  return isRight ? 0 : 1;
}

}  // namespace
}  // namespace tarnvisor

int main(int argc, char** argv) {
  return tarnvisor::run(argc > 1 ? std::atof(argv[1]) : 20, argc > 2 ? argv[2] : "/tmp");
}
