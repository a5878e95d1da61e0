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
  queue.resize(static_cast<size_t>(std::max(1, announced)));
  first = 0;
  count = {};
  lastCounter = -1;
  lostWords.reset();
}

void FrameHub::addBlocks(int32_t added) {
  const std::lock_guard guard(lock);
  blocks += added;
  std::rotate(queue.begin(), queue.begin() + static_cast<ptrdiff_t>(first), queue.end());
  first = 0;
  queue.resize(static_cast<size_t>(std::max(1, blocks)));
}

void FrameHub::end() {
  const std::lock_guard guard(lock);
  waiting.reset();
  shown = nullptr;
  holders.clear();
}

void FrameHub::setListener(Listener listener) {
  const std::lock_guard guard(lock);
  onFrame = std::move(listener);
}

void FrameHub::release(uint8_t* block) {
  const auto at = holders.find(block);
  if (at == holders.end() || at->second == 0 || --at->second > 0) return;
  if (requeue) requeue(block);
}

void FrameHub::take(const CameraFrame& came) {
  {
    const std::lock_guard guard(lock);
    const bool counts = came.counter >= 0 && lastCounter >= 0 && came.counter > lastCounter;
    const int64_t gap = counts ? came.counter - lastCounter - 1 : 0;
    lastCounter = came.counter;
    count.lost += gap;
    if (recording && !stopping && !ended) missGap(gap);
    count.fields += static_cast<int32_t>(2 * (gap + 1));
    if (++count.frames == 1) count.firstSeconds = came.seconds;
    count.lastSeconds = came.seconds;
    const Frame frame{came, count.fields};
    if (onFrame) onFrame(frame);
    holders[frame.block] = 1;
    if (waiting) release(waiting->block);
    waiting = frame;
    if (recording && !stopping && !ended) takeForRecording(frame);
  }
  if (onNews) onNews();
}

// Of frames that never came those count that would have been recorded.
void FrameHub::missGap(int64_t gap) {
  const int64_t each = int64_t{skip} + 1;
  if (gap <= skipsLeft) {
    skipsLeft -= static_cast<int32_t>(gap);
    return;
  }
  const int64_t beyond = gap - skipsLeft;
  count.missed += (beyond + each - 1) / each;
  skipsLeft = static_cast<int32_t>((each - beyond % each) % each);
}

// The frames of a recording wait in the driver's blocks; the last of these are left to the display.
void FrameHub::takeForRecording(const Frame& frame) {
  if (skipsLeft > 0) {
    --skipsLeft;
    return;
  }
  skipsLeft = skip;
  if (static_cast<int32_t>(waitingToBeWritten) >= std::max(1, blocks - kForDisplay)) {
    ++count.missed;
    return;
  }
  ++holders[frame.block];
  queue[(first + waitingToBeWritten++) % queue.size()] = frame;
  changed.notify_all();
}

void FrameHub::writeFrames() {
  std::unique_lock guard(lock);
  for (;;) {
    changed.wait(guard, [this] { return stopping || waitingToBeWritten > 0; });
    if (waitingToBeWritten == 0) return;
    const Frame frame = queue[first];
    bool takesMore = false;
    if (!ended) {
      guard.unlock();
      takesMore = write(frame);
      guard.lock();
      ++count.recorded;
    }
    first = (first + 1) % queue.size();
    --waitingToBeWritten;
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
  changed.wait(guard, [this] { return waitingToBeWritten == 0; });
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
