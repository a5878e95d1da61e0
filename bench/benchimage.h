// The picture that the benchmarks work on: a nailfold as the finder meets it, made from a fixed seed. Dark
// round capillary tops in rows on a bright, unevenly lit ground with camera noise.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "image/zzimage.h"

namespace tarnvisor::bench {

inline constexpr int32_t kWidth = 2048;
inline constexpr int32_t kHeight = 1536;

inline void darken(std::vector<double>& level, int32_t cx, int32_t cy, double radius, double depth) {
  const int32_t reach = static_cast<int32_t>(3 * radius);
  for (int32_t y = std::max(cy - reach, 0); y < std::min(cy + reach, kHeight); ++y)
    for (int32_t x = std::max(cx - reach, 0); x < std::min(cx + reach, kWidth); ++x)
      level[static_cast<size_t>(y) * kWidth + static_cast<size_t>(x)] -=
          depth * std::exp(-((x - cx) * (x - cx) + (y - cy) * (y - cy)) / (radius * radius));
}

inline std::unique_ptr<CZZimage> nailfold() {
  std::mt19937 random(20);
  std::vector<double> level(static_cast<size_t>(kWidth) * kHeight);
  for (size_t i = 0; i < level.size(); ++i)
    level[i] = 140 + 40.0 * static_cast<double>(i % kWidth) / kWidth + static_cast<double>(random() % 25);
  for (int32_t y = 60; y < kHeight - 40; y += 105)
    for (int32_t x = 60; x < kWidth - 40; x += 95)
      darken(level, x + static_cast<int32_t>(random() % 30), y + static_cast<int32_t>(random() % 30),
             9 + static_cast<double>(random() % 5), 40 + static_cast<double>(random() % 40));
  auto image = std::make_unique<CZZimage>(kWidth, kHeight);
  for (int32_t y = 0; y < kHeight; ++y)
    for (int32_t x = 0; x < kWidth; ++x)
      image->row(y)[x] = static_cast<uint8_t>(
          std::clamp(level[static_cast<size_t>(y) * kWidth + static_cast<size_t>(x)], 0.0, 255.0));
  return image;
}

}  // namespace tarnvisor::bench
