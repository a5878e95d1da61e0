// Results that are frozen: another value means that what was made before has changed.
#pragma once

#include <cmath>
#include <cstdint>
#include <string_view>

#include "image/zzimage.h"

namespace tarnvisor {

struct Hash {  // FNV-1a
  uint64_t value = 14695981039346656037ULL;

  Hash& byte(uint8_t b) {
    value = (value ^ b) * 1099511628211ULL;
    return *this;
  }
  Hash& pixels(const CZZimage& image) {
    for (int32_t y = 0; y < image.height; ++y)
      for (int32_t x = 0; x < image.rowBytes; ++x) byte(image.row(y)[x]);
    return *this;
  }
  Hash& text(std::string_view words) {
    for (const char c : words) byte(static_cast<uint8_t>(c));
    return *this;
  }
  // To a millionth.
  Hash& number(double n) {
    const auto whole = static_cast<uint64_t>(std::llround(n * 1e6));
    for (int shift = 0; shift < 64; shift += 8) byte(static_cast<uint8_t>(whole >> shift));
    return *this;
  }
};

}  // namespace tarnvisor
