#include "synth/jpegloss.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "base/parallel.h"
#include "synth/random.h"
#include "synth/vessel.h"

namespace tarnvisor {

namespace {

constexpr int32_t kSide = 8;
using Block = std::array<float, kSide * kSide>;

// Annex K of ITU-T T.81.
constexpr std::array<uint8_t, 64> kLuma{
    16, 11,  10,  16, 24, 40, 51, 61, 12,  12,  14,  19,  26, 58, 60, 55,  14,  13,  16,  24, 40, 57,
    69, 56,  14,  17, 22, 29, 51, 87, 80,  62,  18,  22,  37, 56, 68, 109, 103, 77,  24,  35, 55, 64,
    81, 104, 113, 92, 49, 64, 78, 87, 103, 121, 120, 101, 72, 92, 95, 98,  112, 100, 103, 99};
constexpr std::array<uint8_t, 64> kChroma{17, 18, 24, 47, 99, 99, 99, 99, 18, 21, 26, 66, 99, 99, 99, 99,
                                          24, 26, 56, 99, 99, 99, 99, 99, 47, 66, 99, 99, 99, 99, 99, 99,
                                          99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99,
                                          99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99};

Block cosines() {
  Block basis;
  for (int32_t k = 0; k < kSide; ++k)
    for (int32_t n = 0; n < kSide; ++n)
      basis[static_cast<size_t>(int64_t{k} * kSide + n)] =
          static_cast<float>(std::sqrt((k ? 2.0 : 1.0) / kSide) * sineOfTurns((2 * n + 1) * k / 32.0 + 0.25));
  return basis;
}

// basis * block * basis', or with the basis transposed the way back.
void transform(Block& block, const Block& basis, bool back) {
  const auto b = [&](size_t i, size_t j) { return back ? basis[j * kSide + i] : basis[i * kSide + j]; };
  for (int32_t turn = 0; turn < 2; ++turn) {
    Block out{};
    for (size_t i = 0; i < kSide; ++i)
      for (size_t k = 0; k < kSide; ++k)
        for (size_t j = 0; j < kSide; ++j) out[j * kSide + i] += b(i, k) * block[k * kSide + j];
    block = out;
  }
}

void lose(Plane& plane, const Block& basis, const std::array<uint8_t, 64>& table, int32_t quality) {
  const int32_t percent = quality < 50 ? 5000 / quality : 200 - 2 * quality;
  Block step;
  for (size_t i = 0; i < step.size(); ++i)
    step[i] = static_cast<float>(std::clamp((table[i] * percent + 50) / 100, 1, 255));
  parallelFor((plane.height + kSide - 1) / kSide, 4, [&](int64_t begin, int64_t end) {
    for (auto top = static_cast<int32_t>(begin) * kSide; top < end * kSide; top += kSide)
      for (int32_t left = 0; left < plane.width; left += kSide) {
        Block block;
        for (int32_t y = 0; y < kSide; ++y)
          for (int32_t x = 0; x < kSide; ++x)
            block[static_cast<size_t>(int64_t{y} * kSide + x)] =
                plane.row(std::min(top + y, plane.height - 1))[std::min(left + x, plane.width - 1)] - 128;
        transform(block, basis, false);
        for (size_t i = 0; i < block.size(); ++i) block[i] = step[i] * std::floor(block[i] / step[i] + 0.5f);
        transform(block, basis, true);
        for (int32_t y = 0; y < std::min(kSide, plane.height - top); ++y)
          for (int32_t x = 0; x < std::min(kSide, plane.width - left); ++x)
            plane.row(top + y)[left + x] = block[static_cast<size_t>(int64_t{y} * kSide + x)] + 128;
      }
  });
}

uint8_t toByte(float value) { return static_cast<uint8_t>(std::clamp(value + 0.5f, 0.0f, 255.0f)); }

}  // namespace

void loseAsJpeg(CZZimage& image, int32_t quality) {
  if (image.empty() || image.colourset != kColour) return;
  quality = std::clamp(quality, 1, 100);
  Plane luma(image.width, image.height, 0);
  const int32_t w = (image.width + 1) / 2, h = (image.height + 1) / 2;
  Plane blue(w, h, 0), red(w, h, 0), count(w, h, 0);
  for (int32_t y = 0; y < image.height; ++y)
    for (int32_t x = 0; x < image.width; ++x) {
      const uint8_t* p = image.row(y) + 3 * static_cast<ptrdiff_t>(x);
      const float l = 0.299f * p[2] + 0.587f * p[1] + 0.114f * p[0];
      luma.row(y)[x] = l;
      blue.row(y / 2)[x / 2] += 0.564f * (p[0] - l);
      red.row(y / 2)[x / 2] += 0.713f * (p[2] - l);
      count.row(y / 2)[x / 2] += 1;
    }
  for (size_t i = 0; i < count.values.size(); ++i) {
    blue.values[i] = blue.values[i] / count.values[i] + 128;
    red.values[i] = red.values[i] / count.values[i] + 128;
  }
  const Block basis = cosines();
  lose(luma, basis, kLuma, quality);
  lose(blue, basis, kChroma, quality);
  lose(red, basis, kChroma, quality);
  for (int32_t y = 0; y < image.height; ++y)
    for (int32_t x = 0; x < image.width; ++x) {
      uint8_t* p = image.row(y) + 3 * static_cast<ptrdiff_t>(x);
      const float l = luma.row(y)[x], b = blue.row(y / 2)[x / 2] - 128, r = red.row(y / 2)[x / 2] - 128;
      p[0] = toByte(l + 1.773f * b);
      p[1] = toByte(l - 0.344f * b - 0.714f * r);
      p[2] = toByte(l + 1.403f * r);
    }
}

}  // namespace tarnvisor
