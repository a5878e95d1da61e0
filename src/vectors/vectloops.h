// The loops over items that run on the processor's widest vectors. Sums of floating items have a fixed order
// on every processor: sixteen interleaved partial sums over the items in whole sixteens, added in halves (8
// to 8, 4 to 4...), then the rest one by one. Sums of integers are exact, and then rounded.
#pragma once

#include <cstdint>

namespace tarnvisor {

template <class Item>
struct ItemLoops {
  double (*sum)(const Item* items, uint64_t count);
  // The sum of (x - centre)^2, in the order of floating sums.
  double (*squaresAbout)(const Item* items, uint64_t count, double centre);
  // Moves the limits that an item passes; NaN passes none.
  void (*extremes)(const Item* items, uint64_t count, Item& least, Item& greatest);
  // Both in one walk through memory.
  double (*sumAndExtremes)(const Item* items, uint64_t count, Item& least, Item& greatest);
  // x = a * x + b, as itemCast does it.
  void (*linear)(Item* items, uint64_t count, double a, double b);
};

struct VectLoops : ItemLoops<uint8_t>,
                   ItemLoops<int8_t>,
                   ItemLoops<uint16_t>,
                   ItemLoops<int16_t>,
                   ItemLoops<uint32_t>,
                   ItemLoops<int32_t>,
                   ItemLoops<float>,
                   ItemLoops<double> {
  // dots[l] = the sum over n of x[i] * y[l * step + i]. No item may be -32768.
  void (*lagDots16)(const int16_t* x, const int16_t* y, uint32_t n, uint32_t lags, uint32_t step,
                    double* dots);
  void (*lagDots)(const double* x, const double* y, uint32_t n, uint32_t lags, uint32_t step, double* dots);
};

const VectLoops& vectLoops();

template <class Item>
const ItemLoops<Item>& itemLoops() {
  return vectLoops();
}

}  // namespace tarnvisor
