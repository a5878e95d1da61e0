#include "sound/soundqueue.h"

#include <algorithm>
#include <utility>

namespace tarnvisor {

void SoundQueue::begin() {
  written = taken = 0;
  blocksCame = blocksLost = 0;
  filled = 0;
  const std::lock_guard guard(wordsLock);
  lostWords.reset();
}

void SoundQueue::take(std::span<const int16_t> samples, double seconds) {
  while (!samples.empty()) {
    if (filled == 0)
      hasPlace = written.load(std::memory_order_relaxed) - taken.load(std::memory_order_acquire) < kBlocks;
    const size_t count = std::min(samples.size(), SoundBlock::kSamples - filled);
    if (hasPlace) {
      SoundBlock& block = ring[written.load(std::memory_order_relaxed) % kBlocks];
      std::copy_n(samples.begin(), count, block.samples.begin() + static_cast<ptrdiff_t>(filled));
    }
    filled += count;
    samples = samples.subspan(count);
    if (filled == SoundBlock::kSamples) endBlock(seconds);
  }
}

void SoundQueue::endBlock(double seconds) {
  filled = 0;
  const int64_t number = blocksCame.fetch_add(1, std::memory_order_acq_rel);
  if (!hasPlace) {
    blocksLost.fetch_add(1, std::memory_order_acq_rel);
    return;
  }
  const size_t at = written.load(std::memory_order_relaxed);
  SoundBlock& block = ring[at % kBlocks];
  block.number = number;
  block.seconds = seconds;
  written.store(at + 1, std::memory_order_release);
  if (onNews) onNews();
}

void SoundQueue::lost(const std::string& why) {
  {
    const std::lock_guard guard(wordsLock);
    lostWords = why;
  }
  if (onNews) onNews();
}

bool SoundQueue::pop(SoundBlock& block) {
  const size_t at = taken.load(std::memory_order_relaxed);
  if (at == written.load(std::memory_order_acquire)) return false;
  block = ring[at % kBlocks];
  taken.store(at + 1, std::memory_order_release);
  return true;
}

std::optional<std::string> SoundQueue::takeLost() {
  const std::lock_guard guard(wordsLock);
  return std::exchange(lostWords, std::nullopt);
}

}  // namespace tarnvisor
