#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels.cpp"
#include <hwy/foreach_target.h>
// The header above includes this file once for each target.
#include <hwy/highway.h>

#include <algorithm>

#include "image/kernels.h"

HWY_BEFORE_NAMESPACE();
namespace tarnvisor::kernels::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using Bytes = hn::ScalableTag<uint8_t>;
using Shorts = hn::ScalableTag<int16_t>;
using Ints = hn::ScalableTag<int32_t>;

template <bool kWithSum>
void addRangeOf(const uint8_t* bytes, size_t count, ByteRange& range) {
  const Bytes d;
  const hn::Repartition<uint64_t, Bytes> d64;
  const size_t lanes = hn::Lanes(d);
  size_t i = 0;
  if (count >= 2 * lanes) {
    auto low0 = hn::Set(d, range.low), low1 = low0;
    auto high0 = hn::Set(d, range.high), high1 = high0;
    auto sum0 = hn::Zero(d64), sum1 = sum0;
    for (; i + 2 * lanes <= count; i += 2 * lanes) {
      const auto v0 = hn::LoadU(d, bytes + i);
      const auto v1 = hn::LoadU(d, bytes + i + lanes);
      low0 = hn::Min(low0, v0);
      low1 = hn::Min(low1, v1);
      high0 = hn::Max(high0, v0);
      high1 = hn::Max(high1, v1);
      if (kWithSum) {
        sum0 = hn::Add(sum0, hn::SumsOf8(v0));
        sum1 = hn::Add(sum1, hn::SumsOf8(v1));
      }
    }
    HWY_ALIGN uint8_t spill[HWY_MAX_BYTES];
    hn::Store(hn::Min(low0, low1), d, spill);
    range.low = *std::min_element(spill, spill + lanes);
    hn::Store(hn::Max(high0, high1), d, spill);
    range.high = *std::max_element(spill, spill + lanes);
    if (kWithSum) range.sum += hn::GetLane(hn::SumOfLanes(d64, hn::Add(sum0, sum1)));
  }
  for (; i < count; ++i) {
    range.low = std::min(range.low, bytes[i]);
    range.high = std::max(range.high, bytes[i]);
    if (kWithSum) range.sum += bytes[i];
  }
}

void addRangeWide(const uint8_t* bytes, size_t count, ByteRange& range) {
  addRangeOf<true>(bytes, count, range);
}
void addExtremesWide(const uint8_t* bytes, size_t count, ByteRange& range) {
  addRangeOf<false>(bytes, count, range);
}

void thresholdRowWide(uint8_t* bytes, size_t count, uint8_t t) {
  const Bytes d;
  const size_t lanes = hn::Lanes(d);
  const auto limit = hn::Set(d, t);
  size_t i = 0;
  for (; i + lanes <= count; i += lanes) {
    // Over the limit means that the smaller of the two is not the pixel's own value.
    const auto v = hn::LoadU(d, bytes + i);
    hn::StoreU(hn::VecFromMask(d, hn::Ne(hn::Min(v, limit), v)), d, bytes + i);
  }
  for (; i < count; ++i) bytes[i] = bytes[i] > t ? 255 : 0;
}

// A block whose rows are one vector wide at least, and not more than `longestRun` of them together.
uint64_t squaresOfBlock(const uint8_t* a, const uint8_t* b, size_t count, size_t rows, ptrdiff_t aStride,
                        ptrdiff_t bStride) {
  const Shorts d16;
  const Ints d32;
  const hn::Rebind<uint8_t, Shorts> d8;
  const size_t lanes = hn::Lanes(d16);
  // The last vector of a row reaches back over what was taken before.
  const size_t last = count - lanes;
  const size_t taken = (lanes - count % lanes) % lanes;
  const auto isNew = hn::Lt(hn::Set(d16, static_cast<int16_t>(taken)), hn::Iota(d16, 1));
  auto sum0 = hn::Zero(d32), sum1 = sum0, sum2 = sum0, sum3 = sum0;
  const auto difference = [&](size_t i) HWY_ATTR {
    return hn::Sub(hn::PromoteTo(d16, hn::LoadU(d8, a + i)), hn::PromoteTo(d16, hn::LoadU(d8, b + i)));
  };
  for (; rows > 0; --rows, a += aStride, b += bStride) {
    size_t i = 0;
    for (; i + 2 * lanes <= count; i += 2 * lanes) {
      const auto first = difference(i), second = difference(i + lanes);
      sum0 = hn::ReorderWidenMulAccumulate(d32, first, first, sum0, sum1);
      sum2 = hn::ReorderWidenMulAccumulate(d32, second, second, sum2, sum3);
    }
    if (i + lanes <= count) {
      const auto one = difference(i);
      sum0 = hn::ReorderWidenMulAccumulate(d32, one, one, sum0, sum1);
      i += lanes;
    }
    if (i < count) {
      const auto rest = hn::IfThenElseZero(isNew, difference(last));
      sum2 = hn::ReorderWidenMulAccumulate(d32, rest, rest, sum2, sum3);
    }
  }
  uint64_t total = 0;
  HWY_ALIGN int32_t spill[HWY_MAX_BYTES / sizeof(int32_t)];
  hn::Store(hn::Add(hn::Add(sum0, sum1), hn::Add(sum2, sum3)), d32, spill);
  for (size_t lane = 0; lane < hn::Lanes(d32); ++lane) total += static_cast<uint32_t>(spill[lane]);
  return total;
}

uint64_t squaredDifferenceSumWide(const uint8_t* a, const uint8_t* b, size_t count, size_t rows,
                                  ptrdiff_t aStride, ptrdiff_t bStride) {
  const size_t lanes = hn::Lanes(Shorts());
  // A lane of 32 bits takes two squares a round, of 65,025 at most.
  const size_t longestRun = 8000;
  uint64_t total = 0;
  while (count >= lanes && rows > 0) {
    const size_t columns = std::min(count, longestRun * lanes);
    const size_t rounds = (columns + lanes - 1) / lanes;
    const size_t atOnce = std::max<size_t>(1, longestRun / rounds);
    const uint8_t *rowA = a, *rowB = b;
    for (size_t left = rows; left > 0;) {
      const size_t taken = std::min(left, atOnce);
      total += squaresOfBlock(rowA, rowB, columns, taken, aStride, bStride);
      rowA += static_cast<ptrdiff_t>(taken) * aStride;
      rowB += static_cast<ptrdiff_t>(taken) * bStride;
      left -= taken;
    }
    a += columns;
    b += columns;
    count -= columns;
  }
  return total + plain::squaredDifferenceSum(a, b, count, rows, aStride, bStride);
}

void halveRowsWide(const uint8_t* upper, const uint8_t* lower, size_t count, uint8_t* to) {
  size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  const Bytes d;
  const Shorts d16;
  const hn::Rebind<uint8_t, Shorts> d8;
  const size_t lanes = hn::Lanes(d16);
  const auto even = hn::Set(d16, 255);
  for (; i + lanes <= count; i += lanes) {
    const auto above = hn::And(hn::BitCast(d16, hn::LoadU(d, upper + 2 * i)), even);
    const auto below = hn::And(hn::BitCast(d16, hn::LoadU(d, lower + 2 * i)), even);
    hn::StoreU(hn::DemoteTo(d8, hn::ShiftRight<1>(hn::Add(above, below))), d8, to + i);
  }
#endif
  plain::halveRows(upper + 2 * i, lower + 2 * i, count - i, to + i);
}

void mapRowWide(uint8_t* bytes, size_t count, const uint8_t* table) {
  size_t i = 0;
#if HWY_TARGET <= HWY_AVX2
  // Sixteen tables of sixteen: the low half of a byte looks into each, the high half tells which counts.
  const Bytes d;
  const size_t lanes = hn::Lanes(d);
  if (count >= 4 * lanes) {
    HWY_ALIGN uint8_t repeated[16][HWY_MAX_BYTES];
    for (size_t part = 0; part < 16; ++part)
      for (size_t lane = 0; lane < lanes; ++lane) repeated[part][lane] = table[part * 16 + lane % 16];
    const auto step = hn::Set(d, 16);
    const auto inReach = hn::Set(d, 112);
    for (; i + lanes <= count; i += lanes) {
      auto index = hn::LoadU(d, bytes + i);
      auto result = hn::Zero(d);
      for (size_t part = 0; part < 16; ++part, index = hn::Sub(index, step)) {
        // Saturation lifts the top bit of every index of 16 and more, which looks up 0.
        const auto lookup = hn::SaturatedAdd(index, inReach);
        result = hn::Or(result, hn::TableLookupBytesOr0(hn::Load(d, repeated[part]), lookup));
      }
      hn::StoreU(result, d, bytes + i);
    }
  }
#endif
  for (; i + 4 <= count; i += 4) {
    const uint8_t v0 = table[bytes[i]], v1 = table[bytes[i + 1]];
    const uint8_t v2 = table[bytes[i + 2]], v3 = table[bytes[i + 3]];
    bytes[i] = v0;
    bytes[i + 1] = v1;
    bytes[i + 2] = v2;
    bytes[i + 3] = v3;
  }
  for (; i < count; ++i) bytes[i] = table[bytes[i]];
}

void weighTriplesWide(const uint8_t* triples, size_t count, const uint16_t* weights, uint8_t* to) {
  size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  const Bytes d;
  const hn::Repartition<uint16_t, Bytes> d16;
  const size_t lanes = hn::Lanes(d);
  const auto lowBytes = hn::Set(d16, 255);
  const auto w0 = hn::Set(d16, weights[0]), w1 = hn::Set(d16, weights[1]), w2 = hn::Set(d16, weights[2]);
  const auto sum = [&](auto a, auto b, auto c) {
    return hn::Add(hn::Add(hn::MulHigh(a, w0), hn::MulHigh(b, w1)), hn::MulHigh(c, w2));
  };
  for (; i + lanes <= count; i += lanes) {
    auto v0 = hn::Zero(d), v1 = v0, v2 = v0;
    hn::LoadInterleaved3(d, triples + 3 * i, v0, v1, v2);
    const auto a = hn::BitCast(d16, v0), b = hn::BitCast(d16, v1), c = hn::BitCast(d16, v2);
    // The bytes at even places and those at odd ones.
    const auto even = sum(hn::And(a, lowBytes), hn::And(b, lowBytes), hn::And(c, lowBytes));
    const auto odd = sum(hn::ShiftRight<8>(a), hn::ShiftRight<8>(b), hn::ShiftRight<8>(c));
    hn::StoreU(hn::BitCast(d, hn::Or(hn::And(even, lowBytes), hn::ShiftLeft<8>(odd))), d, to + i);
  }
#endif
  plain::weighTriples(triples + 3 * i, count - i, weights, to + i);
}

}  // namespace tarnvisor::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tarnvisor::kernels {

HWY_EXPORT(addRangeWide);
HWY_EXPORT(addExtremesWide);
HWY_EXPORT(thresholdRowWide);
HWY_EXPORT(squaredDifferenceSumWide);
HWY_EXPORT(halveRowsWide);
HWY_EXPORT(mapRowWide);
HWY_EXPORT(weighTriplesWide);

void addRange(const uint8_t* bytes, size_t count, ByteRange& range) {
  HWY_DYNAMIC_DISPATCH(addRangeWide)(bytes, count, range);
}
void addExtremes(const uint8_t* bytes, size_t count, ByteRange& range) {
  HWY_DYNAMIC_DISPATCH(addExtremesWide)(bytes, count, range);
}
void thresholdRow(uint8_t* bytes, size_t count, uint8_t t) {
  HWY_DYNAMIC_DISPATCH(thresholdRowWide)(bytes, count, t);
}
uint64_t squaredDifferenceSum(const uint8_t* a, const uint8_t* b, size_t count, size_t rows,
                              ptrdiff_t aStride, ptrdiff_t bStride) {
  return HWY_DYNAMIC_DISPATCH(squaredDifferenceSumWide)(a, b, count, rows, aStride, bStride);
}
void halveRows(const uint8_t* upper, const uint8_t* lower, size_t count, uint8_t* to) {
  HWY_DYNAMIC_DISPATCH(halveRowsWide)(upper, lower, count, to);
}
void mapRow(uint8_t* bytes, size_t count, const uint8_t* table) {
  HWY_DYNAMIC_DISPATCH(mapRowWide)(bytes, count, table);
}

void weighTriples(const uint8_t* triples, size_t count, const uint16_t* weights, uint8_t* to) {
  HWY_DYNAMIC_DISPATCH(weighTriplesWide)(triples, count, weights, to);
}

namespace plain {

void addRange(const uint8_t* bytes, size_t count, ByteRange& range) {
  for (size_t i = 0; i < count; ++i) {
    range.low = std::min(range.low, bytes[i]);
    range.high = std::max(range.high, bytes[i]);
    range.sum += bytes[i];
  }
}
void thresholdRow(uint8_t* bytes, size_t count, uint8_t t) {
  for (size_t i = 0; i < count; ++i) bytes[i] = bytes[i] > t ? 255 : 0;
}
uint64_t squaredDifferenceSum(const uint8_t* a, const uint8_t* b, size_t count, size_t rows,
                              ptrdiff_t aStride, ptrdiff_t bStride) {
  uint64_t sum = 0;
  for (; count > 0 && rows > 0; --rows, a += aStride, b += bStride)
    for (size_t i = 0; i < count; ++i) {
      const int32_t difference = a[i] - b[i];
      sum += static_cast<uint32_t>(difference * difference);
    }
  return sum;
}
void halveRows(const uint8_t* upper, const uint8_t* lower, size_t count, uint8_t* to) {
  for (size_t i = 0; i < count; ++i) to[i] = static_cast<uint8_t>((upper[2 * i] + lower[2 * i]) >> 1);
}
void mapRow(uint8_t* bytes, size_t count, const uint8_t* table) {
  for (size_t i = 0; i < count; ++i) bytes[i] = table[bytes[i]];
}

void weighTriples(const uint8_t* triples, size_t count, const uint16_t* weights, uint8_t* to) {
  for (size_t i = 0; i < count; ++i, triples += 3)
    to[i] = static_cast<uint8_t>((triples[0] * uint32_t{weights[0]} >> 16) +
                                 (triples[1] * uint32_t{weights[1]} >> 16) +
                                 (triples[2] * uint32_t{weights[2]} >> 16));
}

}  // namespace plain
}  // namespace tarnvisor::kernels
#endif
