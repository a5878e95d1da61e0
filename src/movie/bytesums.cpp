#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "bytesums.cpp"
#include <hwy/foreach_target.h>
// The header above includes this file once for each target.
#include <hwy/highway.h>

#include "movie/bytesums.h"

HWY_BEFORE_NAMESPACE();
namespace tarnvisor::kernels::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

template <size_t kRuns>
void addRuns(const uint8_t* const* runs, size_t count, uint16_t* sums) {
  const hn::ScalableTag<uint16_t> d16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const size_t lanes = hn::Lanes(d16);
  size_t i = 0;
  for (; i + lanes <= count; i += lanes) {
    auto sum = hn::LoadU(d16, sums + i);
    for (size_t run = 0; run < kRuns; ++run)
      sum = hn::Add(sum, hn::PromoteTo(d16, hn::LoadU(d8, runs[run] + i)));
    hn::StoreU(sum, d16, sums + i);
  }
  for (; i < count; ++i)
    for (size_t run = 0; run < kRuns; ++run) sums[i] = static_cast<uint16_t>(sums[i] + runs[run][i]);
}

void addBytesWide(Runs runs, size_t count, uint16_t* sums) {
  size_t run = 0;
  for (; run + 4 <= runs.size(); run += 4) addRuns<4>(&runs[run], count, sums);
  for (; run < runs.size(); ++run) addRuns<1>(&runs[run], count, sums);
}

}  // namespace tarnvisor::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace tarnvisor::kernels {

namespace plain {
void addBytes(Runs runs, size_t count, uint16_t* sums) {
  for (const uint8_t* run : runs)
    for (size_t i = 0; i < count; ++i) sums[i] = static_cast<uint16_t>(sums[i] + run[i]);
}
}  // namespace plain

HWY_EXPORT(addBytesWide);

void addBytes(Runs runs, size_t count, uint16_t* sums) {
  HWY_DYNAMIC_DISPATCH(addBytesWide)(runs, count, sums);
}

}  // namespace tarnvisor::kernels

#endif
