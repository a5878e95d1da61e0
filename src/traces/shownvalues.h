// The values that a trace shows, and the items that show them: computing goes by shown values, so that scale
// and offset of a trace change no result.
#pragma once

#include <algorithm>
#include <span>
#include <vector>

#include "traces/trace.h"

namespace tarnvisor {

// The scale of a trace at the time. That of a spectrum in kHz or mm/s is for its frequencies, stored in Hz,
// and items stand for themselves; but in kHz it is 0.001 times what its powers were scaled by to fit.
class ShownValues {
 public:
  explicit ShownValues(const ZZTrace& trace);
  double of(double item) const { return item * gain + offset; }
  // A scale of 0 shows everything as its offset.
  bool hasItems() const { return gain != 0; }
  // Of a trace that hasItems, for the vector to store: whole-number items stay within their range.
  double item(double shown) const;
  double nearestItem(double shown) const;  // a whole one of a whole-number vector
  void giveTo(ZZTrace& trace) const {
    trace.ygain = gain;
    trace.yoffset = offset;
  }
  bool isThatOf(const ShownValues& other) const { return gain == other.gain && offset == other.offset; }
  // What a sum of items, times their weights, lacks to be that of the shown values.
  double shift(double weights) const { return hasItems() ? (weights - 1) * offset / gain : 0; }

  // work(std::span<double>) on the shown values of items. An item whose value stays is left as it is.
  template <class Work>
  void edit(std::span<double> items, Work&& work) {
    if (!hasItems()) return;
    values.resize(items.size());
    std::ranges::transform(items, values.begin(), [this](double i) { return of(i); });
    work(std::span<double>(values));
    for (size_t i = 0; i < items.size(); ++i)
      if (values[i] != of(items[i])) items[i] = item(values[i]);
  }

 private:
  double gain;
  double offset;
  double least, greatest;  // of whole-number items
  bool isWhole;
  std::vector<double> values;
};

}  // namespace tarnvisor
