// The two ways a computed value becomes a stored one. Unless an operation says otherwise, floating point is
// cut towards zero and then clipped.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace tarnvisor {

inline uint8_t clipToByte(int32_t v) { return static_cast<uint8_t>(std::clamp(v, 0, 255)); }

// Cut towards zero; a value that no int32 can hold (or NaN) becomes the nearest bound (0 for NaN).
inline int32_t truncated(double v) {
  if (std::isnan(v)) return 0;
  if (v >= 2147483647.0) return std::numeric_limits<int32_t>::max();
  if (v <= -2147483648.0) return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(v);
}

inline uint8_t truncatedToByte(double v) { return clipToByte(truncated(v)); }

}  // namespace tarnvisor
