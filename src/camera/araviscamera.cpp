#include "araviscamera.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <future>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "aravisroles.h"
#include "base/clock.h"
#include "base/text.h"

namespace tarnvisor {

namespace {

constexpr double kPopSeconds = 0.05;
constexpr double kLeastStallSeconds = 2;
constexpr double kStallFrames = 5;
constexpr auto kPatience = std::chrono::milliseconds(1200);

// Work that a camera which is gone may keep for seconds. It owns all that it uses, so that a caller who waits
// no longer can leave it to end by itself, or with the process.
std::future<void> startErrand(std::function<void()> work) {
  struct Errand {
    std::function<void()> work;
    std::promise<void> done;
    void run() {
      work();
      work = nullptr;  // what it owns goes before the caller hears of it
      done.set_value();
    }
  };
  const auto errand = std::make_shared<Errand>();
  errand->work = std::move(work);
  std::future<void> done = errand->done.get_future();
  try {
    std::thread([errand] { errand->run(); }).detach();
  } catch (const std::system_error&) {
    errand->run();
  }
  return done;
}

bool isDone(const std::future<void>& errand) {
  return errand.wait_for(kPatience) == std::future_status::ready;
}

// Closing asks the camera, and the library may just be asking it.
void release(std::shared_ptr<AravisFeatures> features) {
  const bool isGone = features->isGone();
  // The library tells of the loss on a thread that the last owner joins: that thread must not be the last
  // owner.
  static constexpr auto kTold = std::chrono::milliseconds(100);
  const auto closed = startErrand([owned = std::move(features), isGone] {
    if (isGone) std::this_thread::sleep_for(kTold);
  });
  if (!isGone) (void)isDone(closed);
}

// The camera's numbers of frames without their turning over: 16 bits that leave out 0, where they are narrow.
class FrameCounter {
 public:
  int64_t next(uint64_t id) {
    constexpr int64_t kTurn = 65535;
    const int64_t step = static_cast<int64_t>(id - last);
    count = count < 0 ? static_cast<int64_t>(id) : count + (step > 0 ? step : step < 0 ? step + kTurn : 1);
    last = id;
    return count;
  }

 private:
  uint64_t last = 0;
  int64_t count = -1;
};

// The blocks, and the stream that fills them while there is one. Of any thread.
class BlockQueue {
 public:
  Outcome announce(uint8_t* bytes, int64_t size) {
    const std::lock_guard lock(mutex);
    if (find(bytes)) return Outcome::failure("This block is announced already.");
    blocks.push_back({Owned<ArvBuffer>(arv_buffer_new(static_cast<size_t>(size), bytes)), bytes, size});
    if (stream) push(blocks.back());
    return Outcome::success();
  }
  void clear() {
    const std::lock_guard lock(mutex);
    blocks.clear();
  }
  void attach(ArvStream* filledBy) {
    const std::lock_guard lock(mutex);
    stream = filledBy;
    for (Block& block : blocks) push(block);
  }
  void detach() {
    const std::lock_guard lock(mutex);
    stream = nullptr;
    for (Block& block : blocks) block.isLent = false;
  }
  // Null for a buffer that is none of these, or shorter than `needed`.
  uint8_t* lend(ArvBuffer* buffer, int64_t needed) {
    const std::lock_guard lock(mutex);
    size_t size = 0;
    Block* block = find(static_cast<const uint8_t*>(arv_buffer_get_data(buffer, &size)));
    if (!block || block->size < needed) return nullptr;
    block->isLent = true;
    return block->bytes;
  }
  void requeue(const uint8_t* bytes) {
    const std::lock_guard lock(mutex);
    Block* block = find(bytes);
    if (block && block->isLent && stream) push(*block);
  }

  bool areAllOf(int64_t size) {
    const std::lock_guard lock(mutex);
    return !blocks.empty() &&
           std::all_of(blocks.begin(), blocks.end(), [&](const Block& block) { return block.size >= size; });
  }
  bool isAnyWaiting() {
    const std::lock_guard lock(mutex);
    return !std::all_of(blocks.begin(), blocks.end(), [](const Block& block) { return block.isLent; });
  }

 private:
  struct Block {
    Owned<ArvBuffer> buffer;
    uint8_t* bytes = nullptr;
    int64_t size = 0;
    bool isLent = false;  // to the receiver
  };
  Block* find(const uint8_t* bytes) {
    const auto found =
        std::find_if(blocks.begin(), blocks.end(), [&](const Block& block) { return block.bytes == bytes; });
    return found == blocks.end() ? nullptr : &*found;
  }
  void push(Block& block) {
    block.isLent = false;
    arv_stream_push_buffer(stream, static_cast<ArvBuffer*>(g_object_ref(block.buffer.get())));
  }

  std::mutex mutex;
  std::vector<Block> blocks;
  ArvStream* stream = nullptr;
};

// From start to stop.
class Run {
 public:
  double frameSeconds() {
    const std::lock_guard lock(mutex);
    return seconds;
  }
  void setFrameSeconds(double changed) {
    const std::lock_guard lock(mutex);
    seconds = changed;
  }
  bool isFiring() {
    const std::lock_guard lock(mutex);
    return fires;
  }
  void setFiring(bool on) {
    const std::lock_guard lock(mutex);
    fires = on;
  }
  bool isEnded() {
    const std::lock_guard lock(mutex);
    return ended;
  }
  void end() {
    const std::lock_guard lock(mutex);
    ended = true;
    atEnd.notify_all();
  }
  // False when it ended meanwhile.
  bool sleepUntil(std::chrono::steady_clock::time_point due) {
    std::unique_lock lock(mutex);
    return !atEnd.wait_until(lock, due, [this] { return ended; });
  }

 private:
  std::mutex mutex;
  std::condition_variable atEnd;
  double seconds = 0;
  bool fires = false, ended = false;
};

// Fires frames at the frame rate. Beside the thread that watches for frames: firing at a camera that is gone
// takes seconds.
void fire(AravisFeatures& features, Run& run) {
  using Clock = std::chrono::steady_clock;
  Clock::time_point due = Clock::now();
  while (run.sleepUntil(due) && !features.isGone()) {
    // One that the camera refuses is a frame less.
    if (run.isFiring()) (void)features.call(arv_camera_software_trigger);
    due += std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(run.frameSeconds()));
    due = std::max(due, Clock::now());  // what was missed is not caught up with
  }
}

bool isGrey8(ArvPixelFormat format) { return ARV_PIXEL_FORMAT_BIT_PER_PIXEL(format) == 8; }

class AravisCamera : public CameraDriver {
 public:
  AravisCamera(CameraInfo told, std::shared_ptr<AravisFeatures> opened)
      : identity(std::move(told)), features(std::move(opened)), roles(*features) {}
  ~AravisCamera() override {
    stop();
    release(std::move(features));
  }

  CameraInfo info() const override { return identity; }
  std::optional<CameraRange> range(CameraRole role) override { return roles.range(role); }
  std::optional<double> value(CameraRole role) override { return roles.value(role); }
  Outcome set(CameraRole role, double value) override;

  Size sensor() const override { return roles.sensor(); }
  Rect area() const override { return roles.area(); }
  Outcome setArea(const Rect& area) override;

  int32_t bufferCount() const override { return 8; }
  int64_t bufferSize() const override;
  Outcome announce(uint8_t* block, int64_t bytes) override;
  void revokeAll() override;
  void requeue(uint8_t* block) override { blocks.requeue(block); }

  Outcome start(FrameReceiver& receiver) override;
  void stop() override;

 private:
  Outcome openStream();
  void closeStream();
  void followTrigger();
  void deliver(FrameReceiver& receiver);
  void handOver(Owned<ArvBuffer> buffer, FrameReceiver& receiver, FrameCounter& counter);

  CameraInfo identity;
  std::shared_ptr<AravisFeatures> features;  // also of errands
  mutable AravisRoles roles;
  BlockQueue blocks;
  Owned<ArvStream> stream;
  std::future<void> streamEnded;  // it touches no block any more
  std::shared_ptr<Run> run;       // while it runs; also of the errand that fires
  std::future<void> firing;       // once it fired frames in this run
  std::thread deliverer;
};

Outcome AravisCamera::set(CameraRole role, double value) {
  if (run && role == CameraRole::Binning)
    return Outcome::failure("The binning changes only while the camera is stopped.");
  Outcome done = roles.set(role, value);
  if (!run) return done;
  if (role == CameraRole::FrameRate || role == CameraRole::Exposure)
    run->setFrameSeconds(roles.frameSeconds());
  if (role == CameraRole::SoftwareTrigger) followTrigger();
  return done;
}

void AravisCamera::followTrigger() {
  run->setFiring(roles.value(CameraRole::SoftwareTrigger).value_or(0) != 0);
  if (run->isFiring() && !firing.valid())
    firing = startErrand([camera = features, during = run] { fire(*camera, *during); });
}

Outcome AravisCamera::setArea(const Rect& area) {
  if (run) return Outcome::failure("The area changes only while the camera is stopped.");
  return roles.setArea(area);
}

int64_t AravisCamera::bufferSize() const {
  int64_t bytes = 0;
  const Outcome told = features->call(
      [&](ArvCamera* camera, GError** error) { bytes = arv_camera_get_payload(camera, error); });
  return told ? bytes : 0;
}

Outcome AravisCamera::announce(uint8_t* block, int64_t bytes) {
  if (!block || bytes <= 0) return Outcome::failure("That is no block to be filled.");
  return blocks.announce(block, bytes);
}

void AravisCamera::revokeAll() {
  stop();
  blocks.clear();
}

Outcome AravisCamera::openStream() {
  const int64_t bytes = bufferSize();
  if (features->isGone()) return Outcome::failure(kNoAnswer);
  if (!blocks.areAllOf(bytes))
    return Outcome::failure(
        format("The camera needs blocks of %lld bytes for its frames.", static_cast<long long>(bytes)));
  auto* ended = new std::promise<void>;
  streamEnded = ended->get_future();
  const ArvStreamCallback told = [](void* promise, ArvStreamCallbackType type, ArvBuffer*) {
    if (type == ARV_STREAM_CALLBACK_TYPE_EXIT) static_cast<std::promise<void>*>(promise)->set_value();
  };
  const GDestroyNotify forget = [](gpointer promise) { delete static_cast<std::promise<void>*>(promise); };
  Outcome opened = features->call([&](ArvCamera* camera, GError** error) {
    stream.reset(arv_camera_create_stream_full(camera, told, ended, forget, error));
  });
  if (!opened) return opened;
  if (ARV_IS_GV_STREAM(stream.get()))
    g_object_set(stream.get(), "packet-resend", ARV_GV_STREAM_PACKET_RESEND_ALWAYS, "socket-buffer",
                 ARV_GV_STREAM_SOCKET_BUFFER_AUTO, nullptr);
  blocks.attach(stream.get());
  return opened;
}

// The library first ends its thread and then tells the camera, which may take it seconds.
void AravisCamera::closeStream() {
  blocks.detach();
  const auto closed = startErrand([owned = std::shared_ptr<ArvStream>(std::move(stream))] {});
  streamEnded.wait();
  if (!features->isGone() && !isDone(closed)) features->markGone();
}

Outcome AravisCamera::start(FrameReceiver& receiver) {
  if (run) return Outcome::failure("The camera is running already.");
  if (Outcome opened = openStream(); !opened) return opened;
  Outcome started = features->call(arv_camera_start_acquisition);
  if (!started) {
    closeStream();
    return started;
  }
  run = std::make_shared<Run>();
  run->setFrameSeconds(roles.frameSeconds());
  try {
    deliverer = std::thread([this, &receiver] { deliver(receiver); });
  } catch (const std::system_error& error) {
    stop();
    return Outcome::failure(format("The camera's frames cannot be fetched (%s).", error.what()));
  }
  followTrigger();
  return started;
}

void AravisCamera::stop() {
  if (!run) return;
  run->end();
  if (deliverer.joinable()) deliverer.join();
  const auto stopped = startErrand([camera = features] { (void)camera->call(arv_camera_stop_acquisition); });
  if (!features->isGone() && !isDone(stopped)) features->markGone();
  closeStream();
  if (firing.valid() && !features->isGone()) (void)isDone(firing);
  firing = {};
  run.reset();
}

void AravisCamera::deliver(FrameReceiver& receiver) {
  FrameCounter counter;
  double silence = 0;  // what was waited for in vain, so that a process that was held up blames no camera
  while (!run->isEnded()) {
    const double before = steadySeconds();
    Owned<ArvBuffer> buffer(
        arv_stream_timeout_pop_buffer(stream.get(), static_cast<guint64>(kPopSeconds * 1e6)));
    if (buffer || !blocks.isAnyWaiting())
      silence = 0;
    else
      silence += std::min(steadySeconds() - before, 2 * kPopSeconds);
    if (buffer) handOver(std::move(buffer), receiver, counter);
    if (silence > std::max(kLeastStallSeconds, kStallFrames * run->frameSeconds())) features->markGone();
    if (features->isGone()) return receiver.lost(kNoAnswer);
  }
}

void AravisCamera::handOver(Owned<ArvBuffer> buffer, FrameReceiver& receiver, FrameCounter& counter) {
  const bool isWhole = arv_buffer_get_status(buffer.get()) == ARV_BUFFER_STATUS_SUCCESS &&
                       arv_buffer_get_payload_type(buffer.get()) == ARV_BUFFER_PAYLOAD_TYPE_IMAGE &&
                       isGrey8(arv_buffer_get_image_pixel_format(buffer.get()));
  CameraFrame frame;
  if (isWhole) {
    gint padding = 0, paddingBelow = 0;
    arv_buffer_get_image_padding(buffer.get(), &padding, &paddingBelow);
    frame.width = arv_buffer_get_image_width(buffer.get());
    frame.height = arv_buffer_get_image_height(buffer.get());
    frame.stride = frame.width + padding;
    frame.counter = counter.next(arv_buffer_get_frame_id(buffer.get()));
    frame.seconds = steadySeconds();
    frame.block = blocks.lend(buffer.get(), int64_t{frame.stride} * frame.height);
  }
  if (frame.block)
    receiver.take(frame);
  else
    arv_stream_push_buffer(stream.get(), buffer.release());
}

struct Present {
  CameraInfo info;
  std::string words;
};

std::vector<Present> present() {
  const auto text = [](const char* told) { return std::string(told ? told : ""); };
  arv_update_device_list();
  std::vector<Present> all;
  for (unsigned i = 0; i < arv_get_n_devices(); ++i) {
    CameraInfo info{text(arv_get_device_id(i)), text(arv_get_device_vendor(i)), text(arv_get_device_model(i)),
                    text(arv_get_device_serial_nbr(i))};
    std::string words = format("%s %s (%s)", info.vendor.c_str(), info.model.c_str(), info.serial.c_str());
    all.push_back({std::move(info), std::move(words)});
  }
  return all;
}

Outcome prepare(AravisFeatures& features) {
  ArvDevice* device = arv_camera_get_device(features.camera());
  if (ARV_IS_GV_DEVICE(device)) {
    if (!arv_gv_device_is_controller(ARV_GV_DEVICE(device))) {
      features.markGone();  // for this program
      return Outcome::failure("The camera is in use by another program.");
    }
    arv_camera_gv_set_packet_size_adjustment(features.camera(), ARV_GV_PACKET_SIZE_ADJUSTMENT_ONCE);
  }
  return settle(features);
}

}  // namespace

std::vector<CameraChoice> findAravisCameras() {
  std::vector<CameraChoice> choices;
  for (Present& each : present()) choices.push_back({std::move(each.info.id), std::move(each.words)});
  return choices;
}

std::unique_ptr<CameraDriver> openAravisCamera(const std::string& id, std::string& why) {
  const std::vector<Present> all = present();
  const auto found = std::find_if(all.begin(), all.end(),
                                  [&](const Present& each) { return id.empty() || each.info.id == id; });
  if (found == all.end()) {
    why = id.empty() ? "No camera is there." : format("The camera %s is not there.", id.c_str());
    return nullptr;
  }
  Answer answer;
  Owned<ArvCamera> camera(arv_camera_new(found->info.id.c_str(), answer.slot()));
  if (!camera) {
    why = answer.outcome().why();
    return nullptr;
  }
  auto features = std::make_shared<AravisFeatures>(std::move(camera));
  if (const Outcome ready = prepare(*features); !ready) {
    why = ready.why();
    release(std::move(features));
    return nullptr;
  }
  return std::make_unique<AravisCamera>(found->info, std::move(features));
}

}  // namespace tarnvisor
