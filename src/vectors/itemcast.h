// How a value becomes an item of a vector: towards an integer it is truncated towards zero and cut to the
// item's width (modulo 2^n; NaN and the infinities give 0), or, saturating, clipped to the item's range.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace tarnvisor {

// Beyond 64 bits; rare, and so kept out of the loops.
inline int64_t cutFarValue(double value) {
  if (!std::isfinite(value)) return 0;
  return static_cast<int64_t>(std::fmod(value, 4294967296.0));
}

template <class To, class From>
inline To itemCast(From value) {
  if constexpr (std::is_floating_point_v<From> && std::is_integral_v<To>) {
    constexpr double kLimit = 9223372036854775808.0;
    const double wide = value;
    if (wide > -kLimit && wide < kLimit) [[likely]]
      return static_cast<To>(static_cast<int64_t>(wide));
    return static_cast<To>(cutFarValue(wide));
  } else {
    return static_cast<To>(value);
  }
}

// NaN gives 0 in integers.
template <class To>
inline To itemClamp(double value) {
  if constexpr (std::is_integral_v<To>) {
    if (std::isnan(value)) return 0;
  }
  constexpr double kLow = static_cast<double>(std::numeric_limits<To>::lowest());
  constexpr double kHigh = static_cast<double>(std::numeric_limits<To>::max());
  return static_cast<To>(std::clamp(value, kLow, kHigh));
}

}  // namespace tarnvisor
