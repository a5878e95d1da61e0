// Filling and arithmetic of TypedVect; part of typedvect.cpp.
#pragma once

#include <algorithm>
#include <cmath>

#include "base/parallel.h"
#include "vectloops.h"
#include "vectors/itemcast.h"
#include "vectors/typedvect.h"

namespace tarnvisor {

template <class Item>
void TypedVect<Item>::fill(double value) {
  std::fill_n(data, itemCount(), itemCast<Item>(value));
}

template <class Item>
void TypedVect<Item>::fillrange(int64_t from, int64_t to, double value) {
  const int64_t rows = size;
  if (from < 0) from += rows;
  if (from >= rows) from -= rows;
  if (to < 0) to += rows;
  if (to > rows) to -= rows;
  if (!data || from < 0 || from >= rows || to < 0 || to > rows) return;
  const Item item = itemCast<Item>(value);
  Item* first = rowItems(static_cast<uint32_t>(from));
  Item* end = rowItems(static_cast<uint32_t>(to));
  if (from <= to) {
    std::fill(first, end, item);
  } else {
    std::fill(first, data + itemCount(), item);
    std::fill(data, end, item);
  }
}

template <class Item>
void TypedVect<Item>::copyfrom(uint32_t index, const CdataVect& source, uint32_t count,
                               uint32_t sourcestart) {
  if (&source == this || !data) return;
  const uint32_t rows = clipcount(index, count, 1);
  // Rows of a wider source that end within this.
  const uint64_t room = uint64_t{size - std::min(index, size)} * width / std::max<uint16_t>(source.width, 1);
  const auto taken = static_cast<uint32_t>(std::min<uint64_t>(rows, room));
  if (taken > 0) source.getcopy(rowItems(index), sourcestart, taken, 1);
}

// One mean a point; integers are divided as such.
template <class Item>
void averagePoints(const uint8_t* pixels, const PointIndices& points, uint64_t count, Item* out) {
  if (points.perpoint == 0) return;
  count = std::min<uint64_t>(count, points.pixels.size() / points.perpoint);
  const uint32_t* index = points.pixels.data();
  for (uint64_t i = 0; i < count; ++i) {
    uint64_t total = 0;
    for (uint32_t j = 0; j < points.perpoint; ++j) total += pixels[*index++];
    if constexpr (std::is_integral_v<Item>)
      out[i] = static_cast<Item>(total / points.perpoint);
    else
      out[i] = static_cast<Item>(static_cast<double>(total) / points.perpoint);
  }
}

template <class Item>
void takePixels(const uint8_t* pixels, const PointIndices& points, uint64_t room, Item* out) {
  const uint64_t wanted = std::min<uint64_t>(uint64_t{points.count} * points.perpoint, points.pixels.size());
  const uint64_t count = std::min(wanted, room);
  for (uint64_t i = 0; i < count; ++i) out[i] = static_cast<Item>(pixels[points.pixels[i]]);
}

template <class Item>
void TypedVect<Item>::sampleavg(const uint8_t* pixels, const PointIndices& points) {
  averagePoints(pixels, points, std::min<uint64_t>(points.count, itemCount()), data);
}

template <class Item>
void TypedVect<Item>::sample(const uint8_t* pixels, const PointIndices& points) {
  takePixels(pixels, points, itemCount(), data);
}

template <class Item>
void TypedVect<Item>::decimate(uint32_t step, CdataVect& dest) const {
  if (step == 0) return;
  const uint32_t count = std::min(size / step, dest.size);
  for (uint32_t i = 0; i < count; ++i) dest.putval(i, data[uint64_t{i} * step]);
}

template <class Item>
void TypedVect<Item>::stretch(const CdataVect& source) {
  const uint32_t n = size;
  const uint32_t m = source.size;
  if (n == 0 || m == 0 || !data) return;
  const auto store = [this](uint32_t i, double x) { data[i] = itemCast<Item>(std::max(x, 0.0)); };
  double before = 0;
  source.getval(0, before);
  double out = before;
  store(0, out);
  const double span = static_cast<double>(n) / (static_cast<double>(m) - 1);
  double slopeBefore = 0;
  double boundary = 0;
  uint32_t i = 1;
  for (uint32_t k = 1; k < m && i < n; ++k) {
    double next = 0;
    source.getval(k, next);
    const double slope = (next - before) / span;
    const double end = std::min(k * span, static_cast<double>(n));
    if (i < end) {
      out = (slope - slopeBefore) * (i - boundary) + slopeBefore + out;
      for (store(i++, out); i < end; ++i) {
        out += slope;
        store(i, out);
      }
    }
    boundary = end;
    slopeBefore = slope;
    before = next;
  }
}

template <class Item>
void TypedVect<Item>::binaverage(const CdataVect& source, uint32_t n) {
  if (n == 0 || !data || source.size < uint64_t{size} * n) return;
  const auto* alike = dynamic_cast<const TypedVect*>(&source);
  const Item* items = alike && alike->width == 1 ? alike->data : nullptr;
  for (uint32_t i = 0; i < size; ++i) {
    double total = 0;
    for (uint32_t j = 0; j < n; ++j) {
      double value = 0;
      if (items)
        value = static_cast<double>(items[i * n + j]);
      else
        source.getval(i * n + j, value);
      total += value;
    }
    data[i] = itemCast<Item>(total / n);
  }
}

template <class Item>
void TypedVect<Item>::reverse() {
  if (data) std::reverse(data, data + size);
}

// Adding -0.0 and multiplying by 1.0 change nothing, not even the sign of a zero.
template <class Item>
void TypedVect<Item>::scale(double k) {
  linear(k, -0.0);
}

template <class Item>
void TypedVect<Item>::offset(double c) {
  linear(1.0, -c);
}

template <class Item>
void TypedVect<Item>::linear(double a, double b) {
  // Items stand alone, and one core can't fill the way to memory.
  constexpr int64_t kGrain = 1 << 20;
  parallelFor(static_cast<int64_t>(itemCount()), kGrain, [&](int64_t begin, int64_t end) {
    itemLoops<Item>().linear(data + begin, static_cast<uint64_t>(end - begin), a, b);
  });
}

template <class Item>
void TypedVect<Item>::clampnegative() {
  if constexpr (std::is_signed_v<Item>) {
    const uint64_t count = itemCount();
    for (uint64_t i = 0; i < count; ++i) data[i] = data[i] < 0 ? Item{0} : data[i];
  }
}

template <class Item>
void TypedVect<Item>::square() {
  const uint64_t count = itemCount();
  for (uint64_t i = 0; i < count; ++i) {
    if constexpr (std::is_integral_v<Item>)
      data[i] = static_cast<Item>(static_cast<uint64_t>(data[i]) * static_cast<uint64_t>(data[i]));
    else
      data[i] *= data[i];
  }
}

template <class Item>
void TypedVect<Item>::difference(const CdataVect& a, const CdataVect& b) {
  for (uint32_t i = 0; data && i < size; ++i) {
    double left = 0;
    double right = 0;
    a.getval(i, left);
    b.getval(i, right);
    data[i] = itemCast<Item>(left - right);
  }
}

template <class Item>
void TypedVect<Item>::sum(const CdataVect& a, const CdataVect& b) {
  for (uint32_t i = 0; data && i < size; ++i) {
    double left = 0;
    double right = 0;
    a.getval(i, left);
    b.getval(i, right);
    data[i] = itemCast<Item>(left + right);
  }
}

template <class Item>
void TypedVect<Item>::lowpassat(uint32_t index, double k) {
  const auto before = static_cast<double>(data[index == 0 ? size - 1 : index - 1]);
  data[index] = itemCast<Item>((static_cast<double>(data[index]) - before) / k + before);
}

template <class Item>
double TypedVect<Item>::differenceat(uint32_t index) {
  const auto before = static_cast<double>(data[index == 0 ? size - 1 : index - 1]);
  data[index] = itemCast<Item>(static_cast<double>(data[index]) - before);
  return static_cast<double>(data[index]);
}

template <class Item>
void TypedVect<Item>::derivative() {
  if (size < 2 || !data) return;
  using Wide = std::conditional_t<std::is_integral_v<Item>, int64_t, double>;
  const uint32_t n = size;
  const auto old = [this](uint32_t i) { return static_cast<Wide>(data[i]); };
  const Item last = itemCast<Item>(old(n - 1) - old(n - 2));
  data[0] = itemCast<Item>(old(1) - old(0));
  for (uint32_t i = 1; i + 1 < n; ++i) {
    const Wide total = old(i + 1) - old(i) + static_cast<Wide>(data[i - 1]);
    if constexpr (std::is_integral_v<Item>)
      data[i] = static_cast<Item>(total >> 1);
    else
      data[i] = static_cast<Item>(total * 0.5);
  }
  data[n - 1] = last;
}

template <class Item>
Item ratioOf(Item x, double k, double divisor) {
  return divisor == 0.0 ? Item{0} : itemClamp<Item>(k * static_cast<double>(x) / divisor);
}

template <class Item>
void TypedVect<Item>::ratio(const CdataVect& other, double k) {
  if (other.size != size || !data) return;
  for (uint32_t i = 0; i < size; ++i) {
    double divisor = 0;
    other.getval(i, divisor);
    data[i] = ratioOf(data[i], k, divisor);
  }
}

template <class Item>
void TypedVect<Item>::normalise(double low, double high) {
  if (itemCount() == 0) return;
  Item least = data[0];
  Item greatest = data[0];
  itemLoops<Item>().extremes(data, itemCount(), least, greatest);
  const auto top = static_cast<double>(greatest);
  const double a = (high - low) / (top - static_cast<double>(least));
  linear(a, high - a * top);
}

}  // namespace tarnvisor
