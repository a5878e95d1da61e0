// Measures of TypedVect; part of typedvect.cpp.
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

#include "vectloops.h"
#include "vectors/itemcast.h"
#include "vectors/typedvect.h"

namespace tarnvisor {

template <class Item>
uint32_t TypedVect<Item>::meanminmax(double& mean, double& min, double& max, uint32_t from,
                                     uint32_t to) const {
  const Runs runs = rangeOf(from, to);
  if (runs.count() == 0) return 0;
  const ItemLoops<Item>& loops = itemLoops<Item>();
  // The smallest value of a floating type is its smallest positive one.
  constexpr Item kGreatest = std::numeric_limits<Item>::max();
  constexpr Item kSmallest = std::numeric_limits<Item>::min();
  Item least = kGreatest;
  Item greatest = kSmallest;
  const double total = loops.sumAndExtremes(runs.first, runs.firstCount, least, greatest) +
                       loops.sumAndExtremes(runs.second, runs.secondCount, least, greatest);
  mean = total / static_cast<double>(runs.count());
  if (least != kGreatest) min = static_cast<double>(least);
  if (greatest != kSmallest) max = static_cast<double>(greatest);
  return static_cast<uint32_t>(std::min<uint64_t>(runs.count(), UINT32_MAX));
}

template <class Item>
uint32_t TypedVect<Item>::meanstd(double& mean, double& min, double& max, double& std, uint32_t from,
                                  uint32_t to) const {
  const uint32_t count = meanminmax(mean, min, max, from, to);
  if (count == 0) return 0;
  const Runs runs = rangeOf(from, to);
  const ItemLoops<Item>& loops = itemLoops<Item>();
  const double squares = loops.squaresAbout(runs.first, runs.firstCount, mean) +
                         loops.squaresAbout(runs.second, runs.secondCount, mean);
  std = std::sqrt(squares / static_cast<double>(runs.count()));
  return count;
}

template <class Item>
double TypedVect<Item>::mean() const {
  const uint64_t count = itemCount();
  return count == 0 ? 0.0 : itemLoops<Item>().sum(data, count) / static_cast<double>(count);
}

template <class Item>
template <class Better>
uint32_t TypedVect<Item>::extremeIndex(int64_t a, int64_t b, Better better) const {
  a = std::max<int64_t>(a, 0);
  b = std::min<int64_t>(b, size);
  if (a >= b || !data) return 0;
  int64_t best = a;
  for (int64_t i = a + 1; i < b; ++i)
    if (better(data[i], data[best])) best = i;
  return static_cast<uint32_t>(best);
}

template <class Item>
uint32_t TypedVect<Item>::minindex(int64_t a, int64_t b) const {
  return extremeIndex(a, b, [](Item x, Item best) { return x < best; });
}

template <class Item>
uint32_t TypedVect<Item>::maxindex(int64_t a, int64_t b) const {
  return extremeIndex(a, b, [](Item x, Item best) { return x > best; });
}

template <class Item>
double TypedVect<Item>::maxvalue() const {
  Item least = std::numeric_limits<Item>::max();
  Item greatest = std::numeric_limits<Item>::lowest();
  itemLoops<Item>().extremes(data, itemCount(), least, greatest);
  return std::max(static_cast<double>(greatest), std::numeric_limits<double>::min());
}

template <class Item>
void TypedVect<Item>::putPeak(double maximum, uint32_t index, CdataVect* values, uint32_t vindex,
                              CdataVect* positions, uint32_t pindex, double threshold) const {
  if (values) values->putval(vindex, maximum);
  if (positions) positions->putval(pindex, maximum > threshold ? static_cast<double>(index) : -1.0);
}

template <class Item>
void TypedVect<Item>::peakmax(uint32_t start, CdataVect* values, uint32_t vindex, CdataVect* positions,
                              uint32_t pindex, double threshold) const {
  double maximum = std::numeric_limits<double>::min();
  uint32_t index = 0;
  for (uint32_t i = start; i < size; ++i) {
    const auto x = static_cast<double>(data[i]);
    if (!(x > maximum)) continue;
    maximum = x;
    index = i;
  }
  putPeak(maximum, index, values, vindex, positions, pindex, threshold);
}

template <class Item>
void TypedVect<Item>::peaklocal(uint32_t start, CdataVect* values, uint32_t vindex, CdataVect* positions,
                                uint32_t pindex, double threshold) const {
  double maximum = std::numeric_limits<double>::min();
  uint32_t index = 0;
  for (uint64_t i = uint64_t{start} + 1; i + 1 < size; ++i) {
    const auto x = static_cast<double>(data[i]);
    const bool isPeak = data[i] > data[i - 1] && !(data[i + 1] > data[i]);
    if (!isPeak || !(x > maximum)) continue;
    maximum = x;
    index = static_cast<uint32_t>(i);
  }
  putPeak(maximum, index, values, vindex, positions, pindex, threshold);
}

// Of items [a, b), circular as all ranges: of all items for a == b.
template <class Item>
double TypedVect<Item>::meanOf(int64_t a, int64_t b) const {
  double mean = 0;
  double min = 0;
  double max = 0;
  const int64_t end = size;
  meanminmax(mean, min, max, static_cast<uint32_t>(std::clamp<int64_t>(a, 0, end)),
             static_cast<uint32_t>(std::clamp<int64_t>(b, 0, end)));
  return mean;
}

// The first index, up or down from `from`, whose item reaches the level; `from` if none does.
template <class Item>
int32_t TypedVect<Item>::firstAtLeast(double level, int32_t from, int32_t direction) const {
  const auto end = static_cast<int32_t>(std::min<uint32_t>(size, INT32_MAX));
  for (int32_t i = from; i >= 0 && i < end; i += direction)
    if (static_cast<double>(data[i]) >= level) return i;
  return from;
}

template <class Item>
int32_t TypedVect<Item>::troughwidth(double fraction, int32_t& left, int32_t& right) const {
  if (size <= 10 || !data) return 0;
  const double level = mean();
  const auto t = static_cast<int32_t>(minindex(size / 4, uint64_t{3} * size / 4));
  right = firstAtLeast(level, t, 1);
  left = firstAtLeast(level, t, -1);
  const auto low = static_cast<double>(data[minindex(left, right)]);
  const double rightLevel = (meanOf(right, size) - low) * fraction + low;
  const double leftLevel = (meanOf(0, left) - low) * fraction + low;
  right = firstAtLeast(rightLevel, t, 1);
  left = firstAtLeast(leftLevel, t, -1);
  const int32_t between = right - left;
  return between > 0 ? between - 1 : between;
}

template <class Item>
int32_t TypedVect<Item>::troughwidthchecked(int32_t& left, int32_t& right) const {
  if (size <= 5 || !data) return 0;
  const Own work = clone();
  if (!work) return 0;
  const uint32_t t = work->minindex(0, size);
  work->derivative();
  right = static_cast<int32_t>(work->maxindex(t, int64_t{size} - 2));
  left = static_cast<int32_t>(work->minindex(2, t));
  return istrough(left, right) ? right - left : -1;
}

template <class Item>
bool TypedVect<Item>::istrough(int32_t a, int32_t b) const {
  // A plain edge is no trough: where nothing lies on one side there is no mean to be below of.
  if (a <= 2 || b >= int64_t{size} - 2) return false;
  const double inside = meanOf(a, b);
  return inside < meanOf(2, a) && inside < meanOf(b, int64_t{size} - 2);
}

template <class Item>
int32_t TypedVect<Item>::edgewidth(int32_t, int32_t, int32_t& left, int32_t& right) const {
  if (size < 6 || !data) return 0;
  const Own work = clone();
  if (!work) return 0;
  const int64_t end = int64_t{size} - 2;
  const int64_t t = work->minindex(size / 4, uint64_t{3} * size / 4);
  work->derivative();
  const int64_t u = work->maxindex(t, end);
  const int64_t w = work->minindex(2, t);
  work->derivative();
  right = static_cast<int32_t>(work->minindex(u, std::min(end, 2 * u - t)));
  left = static_cast<int32_t>(work->minindex(std::max<int64_t>(t - 2 * w, 2), w));
  return right - left;
}

}  // namespace tarnvisor
