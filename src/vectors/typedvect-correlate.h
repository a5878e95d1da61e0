// Correlation and Hough votes of TypedVect; part of typedvect.cpp.
#pragma once

#include <algorithm>
#include <vector>

#include "base/numbers.h"
#include "vectloops.h"
#include "vectors/typedvect.h"

namespace tarnvisor {

// Where the two signals of a correlation begin, in their rings.
struct CorrelationStart {
  uint32_t mine;
  uint32_t others;
};

inline uint32_t ringIndex(int64_t index, uint32_t ring) {
  const int64_t rest = index % ring;
  return static_cast<uint32_t>(rest < 0 ? rest + ring : rest);
}

inline CorrelationStart correlationStart(int64_t start, uint32_t ring, int64_t otherstart, uint32_t otherRing,
                                         int64_t n, bool centred) {
  return {ringIndex(centred ? start - n : start, ring),
          ringIndex(centred ? otherstart - 2 * n : otherstart, otherRing)};
}

// count items of a ring, from an index on.
template <class To, class Item>
std::vector<To> ringRun(const Item* items, uint32_t ring, uint32_t from, uint64_t count) {
  std::vector<To> run(count);
  for (uint64_t done = 0; done < count; from = 0) {
    const uint64_t part = std::min<uint64_t>(count - done, ring - from);
    std::copy_n(items + from, part, run.begin() + static_cast<int64_t>(done));
    done += part;
  }
  return run;
}

// Sums over the n pairs of one lag give 1000 times the square of Pearson's coefficient.
struct LagSums {
  double n, x, xx;
  double value(double y, double yy, double xy) const {
    const double covariance = n * xy - x * y;
    return covariance * covariance * 1000.0 / ((n * yy - y * y) * (n * xx - x * x));
  }
};

// How the sums of the window alone follow it from lag to lag.
enum class WindowSums { Running, Recomputed, StayAtFirst };

// x against windows of y. Sums of integers are exact, whatever the order.
template <class Value>
void pushLags(const std::vector<Value>& x, const std::vector<Value>& y, uint32_t lags, uint32_t step,
              WindowSums windowSums, CdataVect& result) {
  const auto n = static_cast<uint32_t>(x.size());
  const VectLoops& loops = vectLoops();
  const auto dots = [&loops](const Value* a, const Value* b, uint32_t count, uint32_t many, uint32_t every,
                             double* out) {
    if constexpr (std::is_same_v<Value, double>)
      loops.lagDots(a, b, count, many, every, out);
    else
      loops.lagDots16(a, b, count, many, every, out);
  };
  const ItemLoops<Value>& sums = loops;
  double xx = 0;
  double sum = sums.sum(y.data(), n);
  double sumOfSquares = 0;
  dots(x.data(), x.data(), n, 1, 1, &xx);
  dots(y.data(), y.data(), n, 1, 1, &sumOfSquares);
  const LagSums lag{static_cast<double>(n), sums.sum(x.data(), n), xx};
  constexpr uint32_t kBlock = 256;
  double products[kBlock];
  for (uint32_t first = 0; first < lags; first += kBlock) {
    const uint32_t count = std::min(kBlock, lags - first);
    const Value* window = y.data() + uint64_t{first} * step;
    dots(x.data(), window, n, count, step, products);
    for (uint32_t l = 0; l < count; ++l, window += step) {
      const bool moved = first + l > 0;
      if (moved && windowSums == WindowSums::Recomputed) {
        sum = sums.sum(window, n);
        dots(window, window, n, 1, 1, &sumOfSquares);
      } else if (moved && windowSums == WindowSums::Running) {
        const auto entering = static_cast<double>(window[n - 1]);
        const auto leaving = static_cast<double>(window[-1]);
        sum += entering - leaving;
        sumOfSquares += entering * entering - leaving * leaving;
      }
      result.push(lag.value(sum, sumOfSquares, products[l]));
    }
  }
}

// Items that a product of pairs can take in 32 bits.
template <class Item>
bool fits16(const Item* items, uint32_t count) {
  Item least = 0;
  Item greatest = 0;
  itemLoops<Item>().extremes(items, count, least, greatest);
  return int32_t{least} > INT16_MIN && int32_t{greatest} <= INT16_MAX;
}

template <class Item>
void correlateRings(const TypedVect<Item>& mine, const CdataVect& other, CorrelationStart at,
                    CdataVect& result, uint32_t n, uint32_t lags, uint32_t step, WindowSums windowSums) {
  const uint64_t span = n + uint64_t{lags - 1} * step;
  const auto* same = dynamic_cast<const TypedVect<Item>*>(&other);
  if constexpr (sizeof(Item) <= 2) {
    if (same && fits16(mine.data, mine.size) && fits16(same->data, same->size)) {
      pushLags(ringRun<int16_t>(mine.data, mine.size, at.mine, n),
               ringRun<int16_t>(same->data, same->size, at.others, span), lags, step, windowSums, result);
      return;
    }
  }
  const std::vector<double> x = ringRun<double>(mine.data, mine.size, at.mine, n);
  std::vector<double> y;
  if (same) {
    y = ringRun<double>(same->data, same->size, at.others, span);
  } else {
    std::vector<double> items(uint64_t{other.size} * other.width);
    other.getcopy(items.data(), 0, other.size, 1);
    y = ringRun<double>(items.data(), other.size, at.others, span);
  }
  pushLags(x, y, lags, step, windowSums, result);
}

template <class Item>
void TypedVect<Item>::correlate(uint32_t start, const CdataVect& other, uint32_t otherstart,
                                CdataVect& result, uint32_t n, bool centred) const {
  if (n > 0 && size > 0 && other.size > 0)
    correlateRings(*this, other, correlationStart(start, size, otherstart, other.size, n, centred), result, n,
                   n, 1, centred ? WindowSums::StayAtFirst : WindowSums::Running);
  if (centred) result.reverse();
}

template <class Item>
void TypedVect<Item>::correlatestep(uint32_t start, const CdataVect& other, uint32_t otherstart,
                                    CdataVect& result, uint32_t n, uint32_t step, bool centred) const {
  step = std::max(step, 1u);
  if (n > 0 && size > 0 && other.size > 0)
    correlateRings(*this, other, correlationStart(start, size, otherstart, other.size, n, centred), result, n,
                   (n - 1) / step + 1, step, WindowSums::Recomputed);
  if (centred) result.reverse();
}

template <class Item>
void TypedVect<Item>::correlatehalves(const CdataVect& other, CdataVect& result, bool both) const {
  result.cursor = 0;
  const uint32_t half = size / 2;
  if (both) correlate(half, other, 0, result, half, false);
  correlate(0, other, 0, result, half, false);
}

template <class Item>
void TypedVect<Item>::correlatehalvesstep(const CdataVect& other, CdataVect& result, uint32_t step,
                                          bool both) const {
  result.cursor = 0;
  const uint32_t half = size / 2;
  if (both) correlatestep(half, other, 0, result, half, step, false);
  correlatestep(0, other, 0, result, half, step, false);
}

template <class Item>
void TypedVect<Item>::houghaccumulate(CdataVect& accumulator, uint32_t row, const double* slopes,
                                      uint32_t nslopes, uint32_t limit) const {
  const int64_t rows = accumulator.size;
  for (uint32_t i = 0; i < size; ++i) {
    const auto vote = static_cast<double>(data[i]);
    for (uint32_t k = 1; k < nslopes; ++k) {
      const int64_t back = truncated(i * slopes[k]);
      if (back >= int64_t{limit}) continue;
      const int64_t target = row < back ? row - back + rows : row - back;
      if (target >= 0 && target < rows) accumulator.addat(static_cast<uint32_t>(target), k, vote);
    }
  }
}

}  // namespace tarnvisor
