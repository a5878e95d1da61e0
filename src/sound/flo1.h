// FLO1: the velocity instrument's channel on a sound input. Four buffers are given out and filled in turn;
// whoever polls takes 512 samples out of each.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "sound/sounddriver.h"
#include "sound/soundqueue.h"

namespace tarnvisor {

class FLO1 {
 public:
  static constexpr size_t kBuffers = 4;
  static constexpr size_t kSamplesTaken = 512;
  // How a driver is opened; null, and why in words, when there is none.
  using Opener = std::function<std::unique_ptr<SoundDriver>(std::string& why)>;

  explicit FLO1(Opener open) : opener(std::move(open)) {}
  ~FLO1() { closeaudio(); }
  FLO1(const FLO1&) = delete;
  FLO1& operator=(const FLO1&) = delete;

  bool init();  // true where there is an input
  bool openaudio();
  double setsamplerate(double rate);
  // A block's rate is what the samples say; the bandwidth is the samples' own.
  void setbandwidth(double bandwidth);
  bool start();  // opens an input that was closed
  void addbuffer(size_t index);
  bool blockready();
  // The samples that are used of the next buffer, which is then given out again. False when there is none.
  bool getalldata(std::span<int16_t, kSamplesTaken> samples);
  void stop();
  void closeaudio();

  // Of the samples that getalldata() gives, a second. Every second sample of the input is passed over, so it
  // is half of samplerate.
  double outputRate() const { return samplerate / 2; }
  bool isRunning() const { return running; }
  // Why nothing comes any more, once; the input is then to be stopped.
  std::optional<std::string> takeLost();
  const std::string& failure() const { return why; }  // of the last opening or start
  int64_t blocksCame() const { return queue.came(); }
  // That came and found no place, or that the input itself lost.
  int64_t blocksLost() const { return queue.lostBlocks() + (waveinhandle ? waveinhandle->overruns() : 0); }
  int64_t blockNumber() const { return number; }  // of the buffer that was taken last; -1 before
  void setOnNews(std::function<void()> onNews) { queue.onNews = std::move(onNews); }  // while it is stopped

  int32_t channel = 0;  // of the input, used from the next opening on
  uint32_t deviceRate = 96000;
  int32_t out = 0, in = 0;  // buffers given and returned, for the log
  int32_t skip = 1;         // of the sample step: 1, 2, 4 or 8
  double samplerate = 96000.0;
  double blockrate = 96000.0 / SoundBlock::kSamples;
  bool initialised = false, ok = false, okcopy = false;  // the handle exists

 private:
  struct Buffer {
    SoundBlock block{};
    bool isGiven = false, isDone = false;
  };
  bool openAt(uint32_t rate);
  void poll();
  void watchRate(const SoundBlock& block);
  void reset();

  Opener opener;
  std::unique_ptr<SoundDriver> waveinhandle;
  SoundQueue queue;
  std::array<Buffer, kBuffers> buffers;
  size_t current = 0;  // the next to read
  size_t filling = 0;  // the next to be filled
  double wantedRate = 96000.0;
  bool running = false;
  int64_t number = -1;
  double lastNews = 0;                   // seconds
  std::optional<SoundBlock> firstBlock;  // that the rate is measured from
  std::string why, lostWords;
};

}  // namespace tarnvisor
