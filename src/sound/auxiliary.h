// The values that arrive beside the sound, few a second: up to seven channels of an instrument on a serial
// line. The instrument sends lines of numbers, parted by blanks or commas; what is no such line is passed
// over.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "base/outcome.h"

namespace tarnvisor {

inline constexpr size_t kAuxiliaryChannels = 7;
using AuxiliaryValues = std::array<int16_t, kAuxiliaryChannels>;

class AuxiliarySource {
 public:
  virtual ~AuxiliarySource() = default;
  // The newest of each channel; one that never came is 0.
  virtual AuxiliaryValues values() = 0;
  // In words, once: why nothing comes any more.
  virtual std::string takeFailure() { return {}; }
  virtual Outcome setBandwidth(double hertz) = 0;
  virtual Outcome send(const std::string& command) = 0;
};

// A serial line at 9600 baud; null, and why in words, when it can't be used. Never keeps the caller waiting.
std::unique_ptr<AuxiliarySource> openSerialLine(const std::string& path, std::string& why);

}  // namespace tarnvisor
