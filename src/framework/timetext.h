// A moment of a sequence as people read it.
#pragma once

#include <algorithm>
#include <cstdint>

namespace tarnvisor {

// Rounded to the hundredth as a whole, so that no minute has 60 seconds.
struct MinuteTime {
  int32_t minutes;
  int32_t hundredths;  // of a second; 0 to 5999

  explicit MinuteTime(double seconds) {
    const auto all = static_cast<int64_t>(std::clamp(seconds * 100 + 0.5, 0.0, 6e12));
    minutes = static_cast<int32_t>(all / 6000);
    hundredths = static_cast<int32_t>(all % 6000);
  }
};

}  // namespace tarnvisor
