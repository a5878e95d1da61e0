#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <vector>

#include "analysis/kernelfilter.h"
#include "base/numbers.h"
#include "neighbourrows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter3x3.cpp"
#include <hwy/foreach_target.h>
// after foreach_target.h
#include <hwy/highway.h>

#include "rows-inl.h"

#ifndef TARNVISOR_FILTER3X3_JOB
#define TARNVISOR_FILTER3X3_JOB
namespace tarnvisor {
namespace {
constexpr int64_t kSmallReach = 16000;  // sums of 16 bits, with room for an offset that saturates
struct Kernel3x3 {
  std::array<int32_t, 9> weights;
  double factor;
  int32_t offset;
  int64_t reach;  // 255 times the sum of the weights' sizes: no sum is larger
};
// What one thread needs beside the kernel.
struct RowBuffers {
  std::vector<int32_t> sums;
  std::vector<double> factors;
};
}  // namespace
}  // namespace tarnvisor
#endif

HWY_BEFORE_NAMESPACE();
namespace tarnvisor {
namespace HWY_NAMESPACE {
namespace {

// The nine products of one row in lanes of T, handed on a vector at a time.
template <class T, class Take>
HWY_INLINE void sumRow(const Kernel3x3& kernel, const uint8_t* above, const uint8_t* here,
                       const uint8_t* below, int32_t width, const Take& take) {
  const hn::ScalableTag<T> d;
  const hn::Rebind<uint8_t, decltype(d)> d8;
  const int32_t lanes = static_cast<int32_t>(hn::Lanes(d));
  const uint8_t* rows[3] = {above, here, below};
  for (int32_t x = 0; x < width; x += lanes) {
    auto sum = hn::Zero(d);
    for (int32_t cell = 0; cell < 9; ++cell) {
      const auto pixel = hn::PromoteTo(d, hn::LoadU(d8, rows[cell / 3] + x + cell % 3 - 1));
      const auto weight = hn::Set(d, static_cast<T>(kernel.weights[static_cast<size_t>(cell)]));
      sum = hn::Add(sum, hn::Mul(pixel, weight));
    }
    take(x, sum);
  }
}

// Sums that fit 16 bits, factor 1: no more than a saturating addition is left to do.
void smallKernelRow(const Kernel3x3& kernel, const uint8_t* above, const uint8_t* here, const uint8_t* below,
                    uint8_t* out, int32_t width) {
  const hn::ScalableTag<int16_t> d;
  const hn::Rebind<uint8_t, decltype(d)> d8;
  const auto offset = hn::Set(d, static_cast<int16_t>(std::clamp(kernel.offset, -32768, 32767)));
  sumRow<int16_t>(kernel, above, here, below, width, [&](int32_t x, auto sum) {
    storeUpTo(hn::DemoteTo(d8, hn::SaturatedAdd(sum, offset)), d8, out, x, width);
  });
}

void kernelRow(const Kernel3x3& kernel, RowBuffers& buffers, const uint8_t* above, const uint8_t* here,
               const uint8_t* below, uint8_t* out, int32_t width) {
  const hn::ScalableTag<int32_t> d;
  int32_t* HWY_RESTRICT sums = buffers.sums.data();
#if HWY_TARGET != HWY_SCALAR
  if (kernel.reach <= kSmallReach) {
    const hn::ScalableTag<int16_t> d16;
    const hn::Half<decltype(d16)> half;
    const size_t lanes = hn::Lanes(d);
    sumRow<int16_t>(kernel, above, here, below, width, [&](int32_t x, auto sum) {
      hn::StoreU(hn::PromoteTo(d, hn::LowerHalf(half, sum)), d, sums + x);
      hn::StoreU(hn::PromoteTo(d, hn::UpperHalf(half, sum)), d, sums + x + lanes);
    });
  } else
#endif
    sumRow<int32_t>(kernel, above, here, below, width,
                    [&](int32_t x, auto sum) { hn::StoreU(sum, d, sums + x); });
  scaledRow(sums, buffers.factors.data(), kernel.offset, width);
  clippedRow(sums, out, width);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace tarnvisor
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tarnvisor {
namespace {
HWY_EXPORT(smallKernelRow);
HWY_EXPORT(kernelRow);

void wideKernelRow(const Kernel3x3& kernel, const uint8_t* above, const uint8_t* here, const uint8_t* below,
                   uint8_t* out, int32_t width) {
  const uint8_t* rows[3] = {above, here, below};
  for (int32_t x = 0; x < width; ++x) {
    int64_t sum = 0;
    for (int32_t cell = 0; cell < 9; ++cell)
      sum += int64_t{kernel.weights[static_cast<size_t>(cell)]} * rows[cell / 3][x + cell % 3 - 1];
    out[x] = truncatedToByte(static_cast<double>(sum) * kernel.factor + kernel.offset);
  }
}

RowFilter makeRowFilter(const Kernel3x3& kernel, int32_t width) {
  using Row = const uint8_t*;
  if (kernel.reach > (1 << 30) || !std::isfinite(kernel.factor))
    return [&kernel](Row above, Row here, Row below, uint8_t* out, int32_t count) {
      wideKernelRow(kernel, above, here, below, out, count);
    };
  // With an offset that saturates the addition the result is still on its own side of 0..255.
  if (kernel.reach <= kSmallReach && kernel.factor == 1.0)
    return [&kernel](Row above, Row here, Row below, uint8_t* out, int32_t count) {
      HWY_DYNAMIC_DISPATCH(smallKernelRow)(kernel, above, here, below, out, count);
    };
  const auto buffers = std::make_shared<RowBuffers>();
  buffers->sums.assign(static_cast<size_t>(width) + 64, 0);
  buffers->factors.assign(static_cast<size_t>(width) + 64, kernel.factor);
  return [&kernel, buffers](Row above, Row here, Row below, uint8_t* out, int32_t count) {
    HWY_DYNAMIC_DISPATCH(kernelRow)(kernel, *buffers, above, here, below, out, count);
  };
}
}  // namespace

bool filter3x3(CZZimage& image, std::span<const int32_t, 9> kernel, double factor, int32_t offset) {
  Kernel3x3 k{{}, factor, offset, 0};
  std::copy(kernel.begin(), kernel.end(), k.weights.begin());
  for (const int64_t weight : k.weights) k.reach += 255 * std::abs(weight);
  return filterByNeighbours(image, [&] { return makeRowFilter(k, image.width); });
}

}  // namespace tarnvisor
#endif
