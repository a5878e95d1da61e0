// A sound input behind FLO1: one channel of 16-bit samples at a rate that it is asked for. A backend
// implements this for one kind of source; FLO1 is the only one who calls it.
//
// Threads: a driver has a thread of its own, which hands samples over. All calls come from the thread that
// made it.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "base/outcome.h"

namespace tarnvisor {

class SoundReceiver {
 public:
  virtual ~SoundReceiver() = default;
  // Both on the driver's thread, and never after stop() returned. Any number of samples, and when the last of
  // them came, in seconds of a clock that only differences are taken of.
  virtual void take(std::span<const int16_t> samples, double seconds) = 0;
  // No more samples will come; the driver is still to be stopped. Once at most after each start.
  virtual void lost(const std::string& why) = 0;
};

class SoundDriver {
 public:
  virtual ~SoundDriver() = default;  // stops
  // One channel, from 0. May be called again after a failure, at another rate.
  virtual Outcome open(uint32_t rate, int32_t channel) = 0;
  virtual int32_t error() const { return 1; }  // of the last open() that failed, for the log
  virtual Outcome start(SoundReceiver& receiver) = 0;
  // take() runs no more when it returns.
  virtual void stop() = 0;
  // Samples come as time goes by; false for a source that gives them when it is told to.
  virtual bool keepsTime() const { return true; }
  // How often samples were lost before they came here.
  virtual int64_t overruns() const { return 0; }
};

struct SoundChoice {
  std::string id;     // what is kept in the settings
  std::string words;  // what people choose from
};
inline constexpr const char* kSimulatedSound = "simulated";
inline constexpr const char* kSoundFile = "file:";  // before the path of a WAV file, or of raw samples

// The sound inputs that are there now, the simulated one last.
std::vector<SoundChoice> findSoundInputs();
// By its id; with an empty one the system's own choice. One that isn't there can't be opened.
std::unique_ptr<SoundDriver> openSoundInput(const std::string& id);

}  // namespace tarnvisor
