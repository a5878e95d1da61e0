// The filters whose result depends on the eight neighbours only: order filters and the modified Laplacian.
// With edge pixels repeated outside the image they need no case for the edges: a repeated pixel is already in
// the clipped square or window, and a difference to it is 0 or one-sided.
#include <memory>
#include <vector>

#include "analysis/laplacian.h"
#include "analysis/lulu.h"
#include "analysis/windowfilter.h"
#include "neighbourrows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "neighbours.cpp"
#include <hwy/foreach_target.h>
// after foreach_target.h
#include <hwy/highway.h>

#include "rows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tarnvisor {
namespace HWY_NAMESPACE {
namespace {

using Bytes = hn::ScalableTag<uint8_t>;

// A row of bytes from three columns of three: combine gets, for left, middle and right, the loaded triples.
struct Column {
  hn::Vec<Bytes> above, here, below;
};
HWY_INLINE Column columnAt(const uint8_t* above, const uint8_t* here, const uint8_t* below, int32_t x) {
  const Bytes d;
  return {hn::LoadU(d, above + x), hn::LoadU(d, here + x), hn::LoadU(d, below + x)};
}

// First down, into a row of its own, then across that. between has room for a vector on both sides.
void minimumRow(const uint8_t* HWY_RESTRICT above, const uint8_t* HWY_RESTRICT here,
                const uint8_t* HWY_RESTRICT below, uint8_t* HWY_RESTRICT between, uint8_t* HWY_RESTRICT out,
                int32_t width) {
  const Bytes d;
  const int32_t lanes = static_cast<int32_t>(hn::Lanes(d));
  for (int32_t x = 0; x < width; x += lanes) {
    const Column m = columnAt(above, here, below, x);
    hn::StoreU(hn::Min(hn::Min(m.above, m.here), m.below), d, between + x);
  }
  between[-1] = between[0];
  between[width] = between[width - 1];
  for (int32_t x = 0; x < width; x += lanes) {
    const auto sides = hn::Min(hn::LoadU(d, between + x - 1), hn::LoadU(d, between + x + 1));
    storeUpTo(hn::Min(hn::LoadU(d, between + x), sides), d, out, x, width);
  }
}

struct Lower {
  template <class V>
  static V inner(V a, V b) {
    return hn::Min(a, b);
  }
  template <class V>
  static V outer(V a, V b) {
    return hn::Max(a, b);
  }
};
struct Upper {
  template <class V>
  static V inner(V a, V b) {
    return hn::Max(a, b);
  }
  template <class V>
  static V outer(V a, V b) {
    return hn::Min(a, b);
  }
};

template <class Order>
void luluRow(const uint8_t* above, const uint8_t* here, const uint8_t* below, uint8_t* out, int32_t width) {
  const Bytes d;
  const int32_t lanes = static_cast<int32_t>(hn::Lanes(d));
  for (int32_t x = 0; x < width; x += lanes) {
    const Column l = columnAt(above, here, below, x - 1);
    const Column m = columnAt(above, here, below, x);
    const Column r = columnAt(above, here, below, x + 1);
    const auto up = Order::inner(m.above, m.here);
    const auto down = Order::inner(m.here, m.below);
    const auto upper = Order::outer(Order::inner(up, Order::inner(l.above, l.here)),
                                    Order::inner(up, Order::inner(r.above, r.here)));
    const auto lower = Order::outer(Order::inner(down, Order::inner(l.here, l.below)),
                                    Order::inner(down, Order::inner(r.here, r.below)));
    storeUpTo(Order::outer(upper, lower), d, out, x, width);
  }
}

void lowerRow(const uint8_t* above, const uint8_t* here, const uint8_t* below, uint8_t* out, int32_t width) {
  luluRow<Lower>(above, here, below, out, width);
}

void upperRow(const uint8_t* above, const uint8_t* here, const uint8_t* below, uint8_t* out, int32_t width) {
  luluRow<Upper>(above, here, below, out, width);
}

void laplacianRow(const uint8_t* above, const uint8_t* here, const uint8_t* below, uint8_t* out,
                  int32_t width) {
  const hn::ScalableTag<int16_t> d;
  const hn::Rebind<uint8_t, decltype(d)> d8;
  const int32_t lanes = static_cast<int32_t>(hn::Lanes(d));
  const auto at = [&](const uint8_t* row, int32_t x) { return hn::PromoteTo(d, hn::LoadU(d8, row + x)); };
  for (int32_t x = 0; x < width; x += lanes) {
    const auto p = at(here, x);
    const auto twice = hn::Add(p, p);
    const auto across = hn::Abs(hn::Sub(hn::Sub(twice, at(here, x - 1)), at(here, x + 1)));
    const auto along = hn::Abs(hn::Sub(hn::Sub(twice, at(above, x)), at(below, x)));
    storeUpTo(hn::DemoteTo(d8, hn::Add(across, along)), d8, out, x, width);
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace tarnvisor
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tarnvisor {
namespace {
HWY_EXPORT(minimumRow);
HWY_EXPORT(lowerRow);
HWY_EXPORT(upperRow);
HWY_EXPORT(laplacianRow);
}  // namespace

bool min3x3(CZZimage& image) {
  static constexpr size_t kMargin = 64;  // a vector
  return filterByNeighbours(image, [&] {
    const auto between =
        std::make_shared<std::vector<uint8_t>>(static_cast<size_t>(image.width) + 2 * kMargin);
    return [between](const uint8_t* above, const uint8_t* here, const uint8_t* below, uint8_t* out,
                     int32_t width) {
      HWY_DYNAMIC_DISPATCH(minimumRow)(above, here, below, between->data() + kMargin, out, width);
    };
  });
}
bool lowerLulu(CZZimage& image) {
  return filterByNeighbours(image, [] { return HWY_DYNAMIC_DISPATCH(lowerRow); });
}
bool upperLulu(CZZimage& image) {
  return filterByNeighbours(image, [] { return HWY_DYNAMIC_DISPATCH(upperRow); });
}
bool modifiedLaplacian(CZZimage& image) {
  return filterByNeighbours(image, [] { return HWY_DYNAMIC_DISPATCH(laplacianRow); });
}

bool sumModifiedLaplacian(CZZimage& image, int32_t window) {
  if (!modifiedLaplacian(image)) return false;
  windowFilter(image, WindowMode::LowPass, image, Rect{}, window);
  return true;
}

}  // namespace tarnvisor
#endif
