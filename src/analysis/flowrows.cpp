#include "flowrows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "flowrows.cpp"
#include <hwy/foreach_target.h>
// after foreach_target.h
#include <hwy/highway.h>

#include <algorithm>

HWY_BEFORE_NAMESPACE();
namespace tarnvisor::flow::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using Shorts = hn::ScalableTag<uint16_t>;
using HalfShorts = hn::Half<Shorts>;
using Longs = hn::Repartition<uint32_t, Shorts>;

uint16_t squared(int32_t v) { return static_cast<uint16_t>(v * v); }

// sums[i] += items[i], for a vector of items.
template <class V>
HWY_INLINE void addTo(uint32_t* sums, V items) {
  const Longs d;
  const HalfShorts half;
  const size_t lanes = hn::Lanes(d);
  hn::StoreU(hn::Add(hn::LoadU(d, sums), hn::PromoteTo(d, hn::LowerHalf(half, items))), d, sums);
#if HWY_TARGET != HWY_SCALAR
  hn::StoreU(hn::Add(hn::LoadU(d, sums + lanes), hn::PromoteTo(d, hn::UpperHalf(half, items))), d,
             sums + lanes);
#else
  (void)lanes;
#endif
}

template <bool kWithSums>
HWY_INLINE void accumulate(const uint8_t* pixels, size_t count, const Row& row, uint16_t* diffSquared) {
  const Shorts d;
  const hn::Rebind<uint8_t, Shorts> d8;
  const size_t lanes = hn::Lanes(d);
  size_t i = 0;
  for (; i + lanes <= count; i += lanes) {
    const auto bytes = hn::LoadU(d8, pixels + i);
    const auto p = hn::PromoteTo(d, bytes);
    const auto apart = hn::Sub(p, hn::PromoteTo(d, hn::LoadU(d8, row.previous + i)));
    // The low half of a product is the same with and without sign, and holds 255 squared.
    const auto square = hn::Mul(apart, apart);
    hn::StoreU(square, d, diffSquared + i);
    hn::StoreU(bytes, d8, row.previous + i);
    if (!kWithSums) continue;
    addTo(row.sum + i, p);
    addTo(row.sumSquares + i, hn::Mul(p, p));
    addTo(row.sumDiffSquares + i, square);
  }
  for (; i < count; ++i) {
    diffSquared[i] = squared(pixels[i] - row.previous[i]);
    row.previous[i] = pixels[i];
    if (!kWithSums) continue;
    row.sum[i] += pixels[i];
    row.sumSquares[i] += squared(pixels[i]);
    row.sumDiffSquares[i] += diffSquared[i];
  }
}

void accumulateNextWide(const uint8_t* pixels, size_t count, const Row& row, uint16_t* diffSquared) {
  accumulate<true>(pixels, count, row, diffSquared);
}

void differenceWide(const uint8_t* pixels, size_t count, uint8_t* previous, uint16_t* diffSquared) {
  accumulate<false>(pixels, count, {previous, nullptr, nullptr, nullptr}, diffSquared);
}

void neighbourMinimumWide(const uint16_t* above, const uint16_t* here, const uint16_t* below, size_t count,
                          uint32_t* mask) {
  const Shorts d;
  const size_t lanes = hn::Lanes(d);
  const auto column = [&](size_t x) {
    return hn::Min(hn::Min(hn::LoadU(d, above + x), hn::LoadU(d, here + x)), hn::LoadU(d, below + x));
  };
  size_t i = 0;
  for (; i + lanes <= count; i += lanes)
    addTo(mask + i, hn::Min(hn::Min(column(i), column(i + 2)), column(i + 1)));
  for (; i < count; ++i) {
    uint16_t least = UINT16_MAX;
    for (const uint16_t* line : {above, here, below})
      least = std::min({least, line[i], line[i + 1], line[i + 2]});
    mask[i] += least;
  }
}

}  // namespace tarnvisor::flow::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tarnvisor::flow {

HWY_EXPORT(accumulateNextWide);
HWY_EXPORT(differenceWide);
HWY_EXPORT(neighbourMinimumWide);

void accumulateNext(const uint8_t* pixels, size_t count, const Row& row, uint16_t* diffSquared) {
  HWY_DYNAMIC_DISPATCH(accumulateNextWide)(pixels, count, row, diffSquared);
}
void difference(const uint8_t* pixels, size_t count, uint8_t* previous, uint16_t* diffSquared) {
  HWY_DYNAMIC_DISPATCH(differenceWide)(pixels, count, previous, diffSquared);
}
void neighbourMinimum(const uint16_t* above, const uint16_t* here, const uint16_t* below, size_t count,
                      uint32_t* mask) {
  HWY_DYNAMIC_DISPATCH(neighbourMinimumWide)(above, here, below, count, mask);
}

}  // namespace tarnvisor::flow
#endif
