#include "camera/framehub.h"

#include <algorithm>
#include <utility>

namespace tarnvisor {

FrameHub::~FrameHub() { stopRecording(); }

void FrameHub::begin(int32_t announced) {
  const std::lock_guard guard(lock);
  waiting.reset();
  shown = nullptr;
  holders.clear();
  blocks = announced;
  count = {};
  lastCounter = -1;
  lostWords.reset();
}

void FrameHub::addBlocks(int32_t added) {
  const std::lock_guard guard(lock);
  blocks += added;
}

void FrameHub::end() {
  const std::lock_guard guard(lock);
  waiting.reset();
  shown = nullptr;
  holders.clear();
}

void FrameHub::release(uint8_t* block) {
  const auto at = holders.find(block);
  if (at == holders.end() || --at->second > 0) return;
  holders.erase(at);
  if (requeue) requeue(block);
}

void FrameHub::take(const CameraFrame& came) {
  {
    const std::lock_guard guard(lock);
    const bool counts = came.counter >= 0 && lastCounter >= 0 && came.counter > lastCounter;
    const int64_t gap = counts ? came.counter - lastCounter - 1 : 0;
    lastCounter = came.counter;
    count.lost += gap;
    if (recording && !stopping) count.missed += gap;
    count.fields += static_cast<int32_t>(2 * (gap + 1));
    ++count.frames;
    const Frame frame{came, count.fields};
    holders[frame.block] = 1;
    if (waiting) release(waiting->block);
    waiting = frame;
    if (recording && !stopping && !ended) takeForRecording(frame);
  }
  if (onNews) onNews();
}

// The frames of a recording wait in the driver's blocks; the last of these are left to the display.
void FrameHub::takeForRecording(const Frame& frame) {
  if (skipsLeft > 0) {
    --skipsLeft;
    return;
  }
  skipsLeft = skip;
  if (static_cast<int32_t>(queue.size()) >= std::max(1, blocks - kForDisplay)) {
    ++count.missed;
    return;
  }
  ++holders[frame.block];
  queue.push_back(frame);
  changed.notify_all();
}

void FrameHub::writeFrames() {
  std::unique_lock guard(lock);
  for (;;) {
    changed.wait(guard, [this] { return stopping || !queue.empty(); });
    if (queue.empty()) return;
    const Frame frame = queue.front();
    bool takesMore = false;
    if (!ended) {
      guard.unlock();
      takesMore = write(frame);
      guard.lock();
      ++count.recorded;
    }
    queue.pop_front();
    release(frame.block);
    changed.notify_all();
    if (ended || takesMore) continue;
    ended = true;
    guard.unlock();
    if (onNews) onNews();
    guard.lock();
  }
}

void FrameHub::lost(const std::string& why) {
  {
    const std::lock_guard guard(lock);
    lostWords = why;
  }
  if (onNews) onNews();
}

std::optional<FrameHub::Frame> FrameHub::newest() {
  const std::lock_guard guard(lock);
  if (!waiting) return std::nullopt;
  if (shown) release(shown);
  shown = waiting->block;
  return std::exchange(waiting, std::nullopt);
}

std::optional<std::string> FrameHub::lostCamera() {
  const std::lock_guard guard(lock);
  return std::exchange(lostWords, std::nullopt);
}

FrameHub::Counts FrameHub::counts() const {
  const std::lock_guard guard(lock);
  return count;
}

void FrameHub::startRecording(int32_t leftOut, Write taker) {
  stopRecording();
  const std::lock_guard guard(lock);
  skip = std::max(0, leftOut);
  skipsLeft = 0;
  write = std::move(taker);
  count.recorded = count.missed = 0;
  stopping = ended = false;
  recording = true;
  writer = std::thread([this] { writeFrames(); });
}

void FrameHub::stopRecording() {
  {
    const std::lock_guard guard(lock);
    if (!recording) return;
    stopping = true;
  }
  changed.notify_all();
  writer.join();
  const std::lock_guard guard(lock);
  recording = false;
  write = nullptr;
}

void FrameHub::drain() {
  std::unique_lock guard(lock);
  changed.wait(guard, [this] { return queue.empty(); });
}

bool FrameHub::isRecording() const {
  const std::lock_guard guard(lock);
  return recording;
}

bool FrameHub::hasEnded() const {
  const std::lock_guard guard(lock);
  return recording && ended;
}

}  // namespace tarnvisor
