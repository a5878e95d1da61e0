// The random point table of template matching, and the generator that it is drawn from.
#pragma once

#include <cstdint>
#include <vector>

namespace tarnvisor {

// The standard pseudo-random generator of the desktop's C library: a linear congruence of modulus 2^32 whose
// bits 16 to 30 are the value. Process-wide, so successive tables differ as they did; seed() makes runs
// repeat.
class StandardRandom {
 public:
  static constexpr int32_t kLargest = 32767;
  void seed(uint32_t value = 1) { state = value; }
  int32_t next() {
    state = state * 214013u + 2531011u;
    return static_cast<int32_t>(state >> 16 & 0x7FFF);
  }

 private:
  uint32_t state = 1;
};
StandardRandom& standardRandom();

// (width * height) / step^2 byte offsets from a window's corner, in rows `pitch` bytes apart. An offset's
// fraction of a row counts as columns, so points may lie right of the window, never below it.
struct SamplePattern {
  int32_t step = 0, width = 0, height = 0, pitch = 0;
  std::vector<int32_t> offsets;

  // Draws a new table when any of the four differs from the present one's.
  void prepare(int32_t newStep, int32_t newWidth, int32_t newHeight, int32_t newPitch);
};

}  // namespace tarnvisor
