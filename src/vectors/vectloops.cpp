#include "vectloops.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

#include "vectors/itemcast.h"

// The target whose byte tables `linear` uses is compiled only where asked for.
#define HWY_WANT_AVX3_DL 1
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vectloops.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace tarnvisor {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

constexpr uint64_t kPartialSums = 16;

inline double addedInHalves(double* sums) {
  for (uint64_t half = kPartialSums / 2; half > 0; half /= 2)
    for (uint64_t i = 0; i < half; ++i) sums[i] += sums[i + half];
  return sums[0];
}

// Of whole sixteens.
template <class Item>
void addPartialSums(const Item* items, uint64_t count, double* sums) {
  double own[kPartialSums];
  for (uint64_t j = 0; j < kPartialSums; ++j) own[j] = sums[j];
  for (uint64_t i = 0; i < count; i += kPartialSums)
    for (uint64_t j = 0; j < kPartialSums; ++j) own[j] += static_cast<double>(items[i + j]);
  for (uint64_t j = 0; j < kPartialSums; ++j) sums[j] = own[j];
}

template <class Item>
double floatingSum(const Item* items, uint64_t count) {
  double sums[kPartialSums] = {};
  const uint64_t whole = count - count % kPartialSums;
  addPartialSums(items, whole, sums);
  double total = addedInHalves(sums);
  for (uint64_t i = whole; i < count; ++i) total += static_cast<double>(items[i]);
  return total;
}

// Blocks so short that 32 bits hold their sum.
template <class Item>
double integerSum(const Item* items, uint64_t count) {
  using Wide = std::conditional_t<std::is_signed_v<Item>, int64_t, uint64_t>;
  using Narrow = std::conditional_t<std::is_signed_v<Item>, int32_t, uint32_t>;
  constexpr uint64_t kBlock = sizeof(Item) < 4 ? 32768 : 1;
  Wide total = 0;
  if constexpr (kBlock > 1) {
    for (uint64_t at = 0; at < count; at += kBlock) {
      const uint64_t end = std::min(count, at + kBlock);
      Narrow sum = 0;
      for (uint64_t i = at; i < end; ++i) sum += items[i];
      total += sum;
    }
  } else {
    for (uint64_t i = 0; i < count; ++i) total += items[i];
  }
  return static_cast<double>(total);
}

template <class Item>
double sum(const Item* items, uint64_t count) {
  if constexpr (std::is_integral_v<Item>)
    return integerSum(items, count);
  else
    return floatingSum(items, count);
}

template <class Item>
double squaresAbout(const Item* items, uint64_t count, double centre) {
  double sums[kPartialSums] = {};
  const uint64_t whole = count - count % kPartialSums;
  for (uint64_t i = 0; i < whole; i += kPartialSums) {
    for (uint64_t j = 0; j < kPartialSums; ++j) {
      const double apart = static_cast<double>(items[i + j]) - centre;
      sums[j] += apart * apart;
    }
  }
  double total = addedInHalves(sums);
  for (uint64_t i = whole; i < count; ++i) {
    const double apart = static_cast<double>(items[i]) - centre;
    total += apart * apart;
  }
  return total;
}

template <class Item>
void extremes(const Item* items, uint64_t count, Item& least, Item& greatest) {
  Item low = least;
  Item high = greatest;
  uint64_t i = 0;
  if constexpr (std::is_floating_point_v<Item>) {
    const hn::ScalableTag<Item> d;
    const uint64_t lanes = hn::Lanes(d);
    // Four chains, since each step waits for the one before it.
    auto lows = hn::Set(d, low);
    auto highs = hn::Set(d, high);
    auto lows2 = lows, lows3 = lows, lows4 = lows;
    auto highs2 = highs, highs3 = highs, highs4 = highs;
    const auto take = [&](const Item* from, auto& below, auto& above) HWY_ATTR {
      const auto x = hn::LoadU(d, from);
      below = hn::IfThenElse(hn::Lt(x, below), x, below);
      above = hn::IfThenElse(hn::Gt(x, above), x, above);
    };
    for (; i + 4 * lanes <= count; i += 4 * lanes) {
      take(items + i, lows, highs);
      take(items + i + lanes, lows2, highs2);
      take(items + i + 2 * lanes, lows3, highs3);
      take(items + i + 3 * lanes, lows4, highs4);
    }
    low = hn::GetLane(hn::MinOfLanes(d, hn::Min(hn::Min(lows, lows2), hn::Min(lows3, lows4))));
    high = hn::GetLane(hn::MaxOfLanes(d, hn::Max(hn::Max(highs, highs2), hn::Max(highs3, highs4))));
  }
  for (; i < count; ++i) {
    const Item x = items[i];
    low = x < low ? x : low;
    high = x > high ? x : high;
  }
  least = low;
  greatest = high;
}

// Blocks stay in the nearest cache between the two loops.
template <class Item>
double sumAndExtremes(const Item* items, uint64_t count, Item& least, Item& greatest) {
  constexpr uint64_t kBlock = 16384 / sizeof(Item);
  double sums[kPartialSums] = {};
  double total = 0;  // of integers: exact up to 2^53
  const uint64_t whole = std::is_integral_v<Item> ? count : count - count % kPartialSums;
  for (uint64_t at = 0; at < whole; at += kBlock) {
    const uint64_t length = std::min(kBlock, whole - at);
    if constexpr (std::is_integral_v<Item>)
      total += integerSum(items + at, length);
    else
      addPartialSums(items + at, length, sums);
    extremes(items + at, length, least, greatest);
  }
  if constexpr (std::is_integral_v<Item>) return total;
  extremes(items + whole, count - whole, least, greatest);
  total = addedInHalves(sums);
  for (uint64_t i = whole; i < count; ++i) total += static_cast<double>(items[i]);
  return total;
}

#if HWY_TARGET == HWY_AVX3_DL
// Bytes through a table of all their results; returns how many are done.
inline uint64_t linearByTable(uint8_t* bytes, uint64_t count, const uint8_t* results) {
  const __m512i table0 = _mm512_loadu_si512(results);
  const __m512i table1 = _mm512_loadu_si512(results + 64);
  const __m512i table2 = _mm512_loadu_si512(results + 128);
  const __m512i table3 = _mm512_loadu_si512(results + 192);
  uint64_t i = 0;
  for (; i + 64 <= count; i += 64) {
    const __m512i x = _mm512_loadu_si512(bytes + i);
    const __m512i low = _mm512_permutex2var_epi8(table0, x, table1);
    const __m512i high = _mm512_permutex2var_epi8(table2, x, table3);
    _mm512_storeu_si512(bytes + i, _mm512_mask_blend_epi8(_mm512_movepi8_mask(x), low, high));
  }
  return i;
}
#endif

// Where 32 bits hold every result, the conversion that all processors have will do.
template <class Item>
void linearBlock(Item* items, uint64_t count, double a, double b) {
  constexpr double kFarthest = 1.0 + std::max(static_cast<double>(std::numeric_limits<Item>::max()),
                                              -static_cast<double>(std::numeric_limits<Item>::min()));
  double farthest = kFarthest;
  if (std::abs(a) * farthest + std::abs(b) >= 2147483647.0) {
    Item least = 0;
    Item greatest = 0;
    extremes(items, count, least, greatest);
    farthest = std::max(static_cast<double>(greatest), -static_cast<double>(least));
  }
  if (std::abs(a) * farthest + std::abs(b) < 2147483647.0) {
    for (uint64_t i = 0; i < count; ++i)
      items[i] = static_cast<Item>(static_cast<int32_t>(a * static_cast<double>(items[i]) + b));
  } else {
    for (uint64_t i = 0; i < count; ++i) items[i] = itemCast<Item>(a * static_cast<double>(items[i]) + b);
  }
}

template <class Item>
void linear(Item* items, uint64_t count, double a, double b) {
  if constexpr (std::is_floating_point_v<Item>) {
    for (uint64_t i = 0; i < count; ++i) items[i] = static_cast<Item>(a * static_cast<double>(items[i]) + b);
  } else {
#if HWY_TARGET == HWY_AVX3_DL
    if constexpr (sizeof(Item) == 1) {
      if (count >= 1024) {
        uint8_t results[256];
        for (int i = 0; i < 256; ++i)
          results[i] = itemCast<uint8_t>(a * static_cast<double>(static_cast<Item>(i)) + b);
        const uint64_t done = linearByTable(reinterpret_cast<uint8_t*>(items), count, results);
        items += done;
        count -= done;
      }
    }
#endif
    // Blocks stay in the nearest cache between the look at their range and the change.
    constexpr uint64_t kBlock = 16384 / sizeof(Item);
    for (uint64_t at = 0; at < count; at += kBlock)
      linearBlock(items + at, std::min(kBlock, count - at), a, b);
  }
}

void lagDots(const double* x, const double* y, uint32_t n, uint32_t lags, uint32_t step, double* dots) {
  const uint32_t whole = n - n % static_cast<uint32_t>(kPartialSums);
  for (uint32_t lag = 0; lag < lags; ++lag, y += step) {
    double sums[kPartialSums] = {};
    for (uint32_t i = 0; i < whole; i += kPartialSums)
      for (uint32_t j = 0; j < kPartialSums; ++j) sums[j] += x[i + j] * y[i + j];
    double total = addedInHalves(sums);
    for (uint32_t i = whole; i < n; ++i) total += x[i] * y[i];
    dots[lag] = total;
  }
}

void lagDots16(const int16_t* x, const int16_t* y, uint32_t n, uint32_t lags, uint32_t step, double* dots) {
  for (uint32_t lag = 0; lag < lags; ++lag, y += step) {
    int64_t total = 0;
    for (uint32_t i = 0; i < n; ++i) total += int32_t{x[i]} * y[i];
    dots[lag] = static_cast<double>(total);
  }
}

template <class Item>
constexpr ItemLoops<Item> kLoopsOf = {sum<Item>, squaresAbout<Item>, extremes<Item>, sumAndExtremes<Item>,
                                      linear<Item>};

const VectLoops* loopTable() {
  static const VectLoops table = {
      kLoopsOf<uint8_t>, kLoopsOf<int8_t>, kLoopsOf<uint16_t>, kLoopsOf<int16_t>, kLoopsOf<uint32_t>,
      kLoopsOf<int32_t>, kLoopsOf<float>,  kLoopsOf<double>,   lagDots16,         lagDots};
  return &table;
}

}  // namespace HWY_NAMESPACE
}  // namespace tarnvisor
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tarnvisor {
HWY_EXPORT(loopTable);
const VectLoops& vectLoops() {
  static const VectLoops* const table = HWY_DYNAMIC_DISPATCH(loopTable)();
  return *table;
}
}  // namespace tarnvisor
#endif
