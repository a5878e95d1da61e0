// Little-endian numbers in byte blocks, whatever the machine's own order.
#pragma once

#include <bit>
#include <concepts>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace tarnvisor {

template <std::integral T>
void putLittle(uint8_t* at, T value) {
  auto bits = static_cast<std::make_unsigned_t<T>>(value);
  for (size_t i = 0; i < sizeof(T); ++i) at[i] = static_cast<uint8_t>(bits >> (8 * i));
}

template <std::integral T>
T getLittle(const uint8_t* at) {
  std::make_unsigned_t<T> bits = 0;
  for (size_t i = 0; i < sizeof(T); ++i)
    bits =
        static_cast<std::make_unsigned_t<T>>(bits | static_cast<std::make_unsigned_t<T>>(at[i]) << (8 * i));
  return static_cast<T>(bits);
}

inline void putLittleDouble(uint8_t* at, double value) { putLittle(at, std::bit_cast<uint64_t>(value)); }
inline double getLittleDouble(const uint8_t* at) { return std::bit_cast<double>(getLittle<uint64_t>(at)); }
inline void putLittleFloat(uint8_t* at, float value) { putLittle(at, std::bit_cast<uint32_t>(value)); }
inline float getLittleFloat(const uint8_t* at) { return std::bit_cast<float>(getLittle<uint32_t>(at)); }

}  // namespace tarnvisor
