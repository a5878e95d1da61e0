// Where a driver's frames go: the newest to the display, every one to the recording. The driver's thread
// brings them, a thread of the hub's own writes the recording, and whoever shows them takes the newest when
// there is time; a slow paint or an open dialog costs pictures on the screen and none in the recording.
//
// No frame is copied here. A block goes back to the driver when neither display nor recording hold it.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "camera/cameradriver.h"

namespace tarnvisor {

class FrameHub final : public FrameReceiver {
 public:
  struct Frame : CameraFrame {
    int32_t fields = 0;  // since begin(), this frame's two included, and those of frames that never came
  };
  struct Counts {
    int32_t fields = 0;
    int64_t frames = 0;                        // that came
    double firstSeconds = 0, lastSeconds = 0;  // when the first and the last of them did
    int64_t lost = 0;                          // that the camera took and that never came
    int64_t recorded = 0;                      // of the present or last recording
    int64_t missed = 0;                        // that the recording could not hold, and those lost meanwhile
  };
  // False when no more frames can be taken. Runs on the hub's thread.
  using Write = std::function<bool(const Frame&)>;

  ~FrameHub() override;

  // Both from the driver's thread or the hub's.
  std::function<void(uint8_t*)> requeue;
  std::function<void()> onNews;  // a frame, the end of a recording, a camera that was lost

  // Every frame, on the driver's thread, before it goes anywhere: short work alone. The one before runs no
  // more when this returns.
  using Listener = std::function<void(const Frame&)>;
  void setListener(Listener listener);

  // Before the driver starts, which has so many blocks; and after it stopped, when it has them all again.
  void begin(int32_t blocks);
  void end();
  // More blocks were announced.
  void addBlocks(int32_t blocks);

  void take(const CameraFrame& frame) override;
  void lost(const std::string& why) override;

  // The newest frame, if one came since the last call. It is the caller's until the next one that it gets, or
  // end().
  std::optional<Frame> newest();
  // Once, in words.
  std::optional<std::string> lostCamera();
  Counts counts() const;

  // Every frame from the next on, with so many left out after each that is written.
  void startRecording(int32_t skip, Write write);
  // The frames that came are all written when it returns.
  void stopRecording();
  // The same for what came so far, in a recording that may go on.
  void drain();
  bool isRecording() const;
  // It ended by itself: full, or its file could not be written.
  bool hasEnded() const;

 private:
  static constexpr int32_t kForDisplay = 3;  // shown, newest, and one that the driver fills
  void release(uint8_t* block);              // with the lock held
  void takeForRecording(const Frame& frame);
  void missGap(int64_t gap);
  void writeFrames();

  mutable std::mutex lock;
  std::condition_variable changed;
  std::map<uint8_t*, int32_t> holders;  // of each block that came, how many hold it
  int32_t blocks = 0;
  Listener onFrame;
  Counts count;
  int64_t lastCounter = -1;
  std::optional<Frame> waiting;  // for the display
  uint8_t* shown = nullptr;
  std::optional<std::string> lostWords;

  // A ring of as many places as there are blocks.
  std::vector<Frame> queue;
  size_t first = 0, waitingToBeWritten = 0;
  Write write;
  int32_t skip = 0, skipsLeft = 0;
  bool recording = false, stopping = false, ended = false;
  std::thread writer;
};

}  // namespace tarnvisor
