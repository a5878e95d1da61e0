// Where a driver's samples go: blocks of fixed size, numbered, in a ring that holds some minutes. Whoever
// processes them takes them when there is time, so that a slow paint or an open dialog costs display and no
// block. One thread puts in and one takes out, and neither waits for the other.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "sound/sounddriver.h"

namespace tarnvisor {

struct SoundBlock {
  static constexpr size_t kBytes = 16384;
  static constexpr size_t kSamples = kBytes / sizeof(int16_t);
  std::array<int16_t, kSamples> samples;
  int64_t number;  // since begin(): a gap tells of blocks that found no place
  double seconds;  // when its last samples came, by the driver's clock
};

class SoundQueue final : public SoundReceiver {
 public:
  static constexpr size_t kBlocks = 4096;  // five minutes and a half at 96000 samples a second

  // Called from the driver's thread: a block, or the end of the input. Set while no driver runs.
  std::function<void()> onNews;

  void begin();  // empties it, while no driver runs
  void take(std::span<const int16_t> samples, double seconds) override;
  void lost(const std::string& why) override;

  bool pop(SoundBlock& block);
  int64_t came() const { return blocksCame.load(std::memory_order_acquire); }
  int64_t lostBlocks() const { return blocksLost.load(std::memory_order_acquire); }
  std::optional<std::string> takeLost();  // once, in words

 private:
  void endBlock(double seconds);

  // Memory that was never written to costs none.
  std::unique_ptr<SoundBlock[]> ring = std::make_unique_for_overwrite<SoundBlock[]>(kBlocks);
  std::atomic<size_t> written{0}, taken{0};  // blocks; only ever rise
  std::atomic<int64_t> blocksCame{0}, blocksLost{0};
  size_t filled = 0;  // of the block that is being filled; these are the driver's thread's
  bool hasPlace = false;
  std::mutex wordsLock;
  std::optional<std::string> lostWords;
};

}  // namespace tarnvisor
