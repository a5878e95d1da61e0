#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "bytesums.cpp"
#include <hwy/foreach_target.h>
// The header above includes this file once for each target.
#include <hwy/highway.h>

#include "movie/bytesums.h"

HWY_BEFORE_NAMESPACE();
namespace tarnvisor::kernels::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

void addBytesWide(const uint8_t* bytes, size_t count, uint16_t* sums) {
  const hn::ScalableTag<uint16_t> d16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const size_t lanes = hn::Lanes(d16);
  size_t i = 0;
  for (; i + 2 * lanes <= count; i += 2 * lanes) {
    const auto low = hn::PromoteTo(d16, hn::LoadU(d8, bytes + i));
    const auto high = hn::PromoteTo(d16, hn::LoadU(d8, bytes + i + lanes));
    hn::StoreU(hn::Add(low, hn::LoadU(d16, sums + i)), d16, sums + i);
    hn::StoreU(hn::Add(high, hn::LoadU(d16, sums + i + lanes)), d16, sums + i + lanes);
  }
  for (; i < count; ++i) sums[i] = static_cast<uint16_t>(sums[i] + bytes[i]);
}

}  // namespace tarnvisor::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace tarnvisor::kernels {

namespace plain {
void addBytes(const uint8_t* bytes, size_t count, uint16_t* sums) {
  for (size_t i = 0; i < count; ++i) sums[i] = static_cast<uint16_t>(sums[i] + bytes[i]);
}
}  // namespace plain

HWY_EXPORT(addBytesWide);

void addBytes(const uint8_t* bytes, size_t count, uint16_t* sums) {
  HWY_DYNAMIC_DISPATCH(addBytesWide)(bytes, count, sums);
}

}  // namespace tarnvisor::kernels

#endif
