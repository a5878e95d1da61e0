// Row endings that the vector loops of this room share. Included once per target.
#if defined(TARNVISOR_ANALYSIS_ROWS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TARNVISOR_ANALYSIS_ROWS_INL_H
#undef TARNVISOR_ANALYSIS_ROWS_INL_H
#else
#define TARNVISOR_ANALYSIS_ROWS_INL_H
#endif

#include <hwy/highway.h>

#include <cstdint>
#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace tarnvisor {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Stores bytes to out[x..], but none at or past count.
template <class D, class V>
HWY_INLINE void storeUpTo(V bytes, D d, uint8_t* out, int32_t x, int32_t count) {
  const int32_t lanes = static_cast<int32_t>(hn::Lanes(d));
  if (HWY_LIKELY(x + lanes <= count)) {
    hn::StoreU(bytes, d, out + x);
  } else {
    HWY_ALIGN uint8_t last[HWY_MAX_BYTES];
    hn::StoreU(bytes, d, last);
    std::memcpy(out + x, last, static_cast<size_t>(count - x));
  }
}

// values[x] clipped to bytes. values must be readable up to a whole vector past count.
HWY_INLINE void clippedRow(const int32_t* HWY_RESTRICT values, uint8_t* HWY_RESTRICT out, int32_t count) {
  const hn::ScalableTag<int32_t> d;
  const hn::Rebind<uint8_t, decltype(d)> d8;
  const int32_t lanes = static_cast<int32_t>(hn::Lanes(d));
  // Values from 32768 up come out wrong from the 256- and 512-bit DemoteTo of Highway 1.0.3.
  const auto top = hn::Set(d, 255);
  for (int32_t x = 0; x < count; x += lanes)
    storeUpTo(hn::DemoteTo(d8, hn::Min(hn::LoadU(d, values + x), top)), d8, out, x, count);
}

// trunc(sums[x] * factors[x] + offset), left in sums; what leaves 32 bits becomes their bound. Both arrays
// must be readable up to a whole vector past count.
HWY_INLINE void scaledRow(int32_t* HWY_RESTRICT sums, const double* HWY_RESTRICT factors, double offset,
                          int32_t count) {
  const hn::ScalableTag<double> d;
  const hn::Rebind<int32_t, decltype(d)> d32;
  const int32_t lanes = static_cast<int32_t>(hn::Lanes(d));
  const auto add = hn::Set(d, offset);
  for (int32_t x = 0; x < count; x += lanes) {
    const auto product = hn::Mul(hn::PromoteTo(d, hn::LoadU(d32, sums + x)), hn::LoadU(d, factors + x));
    hn::StoreU(hn::DemoteTo(d32, hn::Add(product, add)), d32, sums + x);
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace tarnvisor
HWY_AFTER_NAMESPACE();
#endif
