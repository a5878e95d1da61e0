// A sound input that is made here: samples of a file, or computed, on a thread that keeps to their rate. With
// SoundPace::Step they come when they are asked for.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <thread>

#include "sound/sounddriver.h"

namespace tarnvisor {

enum class SoundPace { Clock, Step };

// Gives the samples one after the other.
class SoundSource {
 public:
  virtual ~SoundSource() = default;
  virtual Outcome open(uint32_t rate, int32_t channel) = 0;
  // How many there were; fewer than asked for at the end.
  virtual size_t read(std::span<int16_t> samples) = 0;
  virtual std::string wordsOfEnd() const { return {}; }
};

class PacedSound final : public SoundDriver {
 public:
  PacedSound(std::unique_ptr<SoundSource> from, SoundPace by) : source(std::move(from)), pace(by) {}
  ~PacedSound() override { stop(); }
  Outcome open(uint32_t rate, int32_t channel) override;
  Outcome start(SoundReceiver& receiver) override;
  void stop() override;
  bool keepsTime() const override { return pace == SoundPace::Clock; }
  // With SoundPace::Step: so many samples, on the caller's thread.
  void step(size_t samples);

 private:
  bool give(size_t samples);
  void run();

  std::unique_ptr<SoundSource> source;
  SoundPace pace;
  uint32_t rate = 0;
  SoundReceiver* receiver = nullptr;
  int64_t given = 0;
  bool ended = false;
  std::mutex lock;
  std::condition_variable stopped;
  bool stopping = false;
  std::thread thread;
};

// A WAV file of 16-bit samples, whose rate must be the one asked for; any other file is raw samples of one
// channel, little-endian.
std::unique_ptr<SoundSource> soundFile(const std::string& path);
// Red cells in parabolic flow whose speed beats; as strong as spectra of 16 bits can hold.
std::unique_ptr<SoundSource> simulatedSound(uint64_t seed = 1);

}  // namespace tarnvisor
