// A camera on the loopback network that shows pictures of the test's own, and a receiver that keeps what
// comes.
#pragma once

#include <arv.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <condition_variable>
#include <mutex>

#include "camera/cameradriver.h"
#include "support/testing.h"

namespace tarnvisor {

// There is one such camera on a machine at a time: its port is fixed.
class FakeCamera {
 public:
  FakeCamera() {
    lock = ::open((std::filesystem::temp_directory_path() / "tarnvisor-fakecamera").c_str(),
                  O_CREAT | O_RDWR | O_CLOEXEC, 0666);
    ::flock(lock, LOCK_EX);
    camera = arv_gv_fake_camera_new("127.0.0.1", "T1");
    arv_fake_camera_set_fill_pattern(arv_gv_fake_camera_get_fake_camera(camera), &FakeCamera::fill, this);
  }
  ~FakeCamera() {
    unplug();
    ::close(lock);
  }
  FakeCamera(const FakeCamera&) = delete;
  FakeCamera& operator=(const FakeCamera&) = delete;

  bool isOnNetwork() {
    arv_update_device_list();
    return arv_gv_fake_camera_is_running(camera) && arv_get_n_devices() > 0;
  }
  void unplug() { g_clear_object(&camera); }

  // Of picture `number`, counted from 0.
  static uint8_t pixel(int64_t number, int x, int y) { return static_cast<uint8_t>(number + x + 3 * y); }

 private:
  static void fill(ArvBuffer* buffer, void* self, guint32, guint32, ArvPixelFormat) {
    const int64_t number = static_cast<FakeCamera*>(self)->shown++;
    size_t size = 0;
    auto* to = static_cast<uint8_t*>(const_cast<void*>(arv_buffer_get_data(buffer, &size)));
    const int width = arv_buffer_get_image_width(buffer), height = arv_buffer_get_image_height(buffer);
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) *to++ = pixel(number, x, y);
  }

  int lock = -1;
  ArvGvFakeCamera* camera = nullptr;
  int64_t shown = 0;
};

class Collector : public FrameReceiver {
 public:
  struct Seen {
    int64_t counter = 0;
    int64_t number = 0;  // the picture's, modulo 256; -1: it is none
    Size size;
    uint8_t* block = nullptr;
  };
  // Gives blocks back at once, if it has somebody to give them to.
  explicit Collector(CameraDriver* givesBackTo = nullptr) : driver(givesBackTo) {}

  void take(const CameraFrame& frame) override {
    const uint8_t number = frame.block[0];
    bool isWhole = true;
    for (int y = 0; y < frame.height; ++y)
      for (int x = 0; x < frame.width; ++x)
        isWhole &= frame.block[y * frame.stride + x] == FakeCamera::pixel(number, x, y);
    {
      const std::lock_guard guard(mutex);
      seen.push_back({frame.counter, isWhole ? number : -1, {frame.width, frame.height}, frame.block});
    }
    change.notify_all();
    if (driver) driver->requeue(frame.block);
  }
  void lost(const std::string& why) override {
    const std::lock_guard guard(mutex);
    losses.push_back(why);
    change.notify_all();
  }

  // At most ten seconds.
  std::vector<Seen> wait(size_t frames) {
    std::unique_lock guard(mutex);
    change.wait_for(guard, std::chrono::seconds(10), [&] { return seen.size() >= frames; });
    return seen;
  }
  std::vector<std::string> waitForLoss() {
    std::unique_lock guard(mutex);
    change.wait_for(guard, std::chrono::seconds(10), [&] { return !losses.empty(); });
    return losses;
  }

 private:
  CameraDriver* driver;
  std::mutex mutex;
  std::condition_variable change;
  std::vector<Seen> seen;
  std::vector<std::string> losses;
};

}  // namespace tarnvisor
