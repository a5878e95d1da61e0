#include <array>
#include <cmath>

#include "base/numbers.h"
#include "image/kernels.h"
#include "image/zzimage.h"

namespace tarnvisor {

namespace {

using Table = std::array<uint8_t, 256>;

template <class Rule>
Table tableOf(Rule rule) {
  Table table;
  for (int32_t v = 0; v < 256; ++v) table[static_cast<size_t>(v)] = rule(v);
  return table;
}

void mapRect(CZZimage& image, const Rect& rect, const Table& table) {
  if (image.empty()) return;
  const Rect r = image.clipToImage(rect);
  for (int32_t y = r.top; y < r.bottom; ++y)
    kernels::mapRow(image.row(y) + r.left, static_cast<size_t>(r.width()), table.data());
}

// Two images byte by byte.
template <class Rule>
void combine(CZZimage& image, const CZZimage& other, Rule rule) {
  if (image.empty() || other.empty() || image.width != other.width || image.height != other.height) return;
  const int32_t bytes = std::min(image.rowBytes, other.rowBytes);
  for (int32_t y = 0; y < image.height; ++y) {
    uint8_t* a = image.row(y);
    const uint8_t* b = other.row(y);
    for (int32_t x = 0; x < bytes; ++x) a[x] = rule(a[x], b[x]);
  }
}

// A pixel that sets a new minimum is not looked at for the maximum. So as long as values fall strictly, no
// maximum is set; from the first pixel that doesn't on, a new minimum is below that pixel and can't be the
// maximum: the plain extremes of the rest are right.
template <class AddRest>
kernels::ByteRange rangeOf(const CZZimage& image, const Rect& r, AddRest addRest) {
  kernels::ByteRange range;
  bool falling = true;
  for (int32_t y = r.top; y < r.bottom; ++y) {
    const uint8_t* p = image.row(y) + r.left;
    const uint8_t* const end = p + r.width();
    for (; falling && p < end; ++p) {
      if (*p >= range.low) {
        falling = false;
        break;
      }
      range.low = *p;
      range.sum += *p;
    }
    addRest(p, static_cast<size_t>(end - p), range);
  }
  return range;
}

}  // namespace

void CZZimage::statistics(const Rect& rect, double* mean, int32_t* minimum, int32_t* maximum) const {
  kernels::ByteRange range;
  int64_t count = 0;
  if (!empty()) {
    const Rect r = clipToImage(rect);
    count = static_cast<int64_t>(r.width()) * r.height();
    range = rangeOf(*this, r, mean ? kernels::addRange : kernels::addExtremes);
  }
  if (mean) *mean = count ? static_cast<double>(range.sum) / static_cast<double>(count) : 0.0;
  if (minimum) *minimum = range.low;
  if (maximum) *maximum = range.high;
}

void CZZimage::addConstant(const Rect& rect, int32_t k) {
  const int32_t step = std::clamp(k, -255, 255);
  mapRect(*this, rect, tableOf([=](int32_t v) { return clipToByte(v + step); }));
}

void CZZimage::multiply(const Rect& rect, double g) {
  // Only the top is held: a negative product keeps its low byte.
  mapRect(*this, rect,
          tableOf([=](int32_t v) { return static_cast<uint8_t>(std::min(truncated(v * g), 255)); }));
}

void CZZimage::linear(const Rect& rect, double a, double b) {
  mapRect(*this, rect, tableOf([=](int32_t v) { return truncatedToByte(a * v + b); }));
}

void CZZimage::threshold(const Rect& rect, int32_t t) {
  if (empty()) return;
  const Rect r = clipToImage(rect);
  const auto bytes = static_cast<size_t>(r.width());
  const Table allWhite = tableOf([](int32_t) { return uint8_t{255}; });
  for (int32_t y = r.top; y < r.bottom; ++y) {
    if (t < 0)
      kernels::mapRow(row(y) + r.left, bytes, allWhite.data());
    else
      kernels::thresholdRow(row(y) + r.left, bytes, clipToByte(t));
  }
}

void CZZimage::stretch(const Rect& rect) {
  int32_t low = 0, high = 0;
  statistics(rect, nullptr, &low, &high);
  // A flat area has nothing to stretch.
  if ((low == 0 && high == 255) || high <= low) return;
  const double a = 255.0 / (high - low);
  linear(rect, a, -low * a);
}

void CZZimage::flattenFromEdges(const Rect& rect) {
  if (empty()) return;
  const Rect r = clipToImage(rect);
  const int32_t lastX = r.right - 1, lastY = r.bottom - 1;
  for (int32_t y = r.top + 1; y < lastY; ++y) {
    const double down = static_cast<double>(y - r.top) / (lastY - r.top);
    uint8_t* p = row(y);
    for (int32_t x = r.left + 1; x < lastX; ++x) {
      const double along = static_cast<double>(x - r.left) / (lastX - r.left);
      const double sideways = p[r.left] * (1.0 - along) + p[lastX] * along;
      const double upright = row(r.top)[x] * (1.0 - down) + row(lastY)[x] * down;
      p[x] = truncatedToByte((sideways + upright) / 2.0);
    }
  }
}

void CZZimage::invert(const Rect& rect) {
  mapRect(*this, rect, tableOf([](int32_t v) { return static_cast<uint8_t>(255 - v); }));
}

void CZZimage::subtract(const CZZimage& other, int32_t offset) {
  const int32_t step = std::clamp(offset, -512, 512);
  combine(*this, other, [=](int32_t a, int32_t b) { return clipToByte(a - b + step); });
}

void CZZimage::average(const CZZimage& other) {
  combine(*this, other, [](int32_t a, int32_t b) { return static_cast<uint8_t>((a + b) >> 1); });
}

void CZZimage::andWith(const CZZimage& other) {
  combine(*this, other, [](int32_t a, int32_t b) { return static_cast<uint8_t>(a & b); });
}

void CZZimage::squaredDifference(const CZZimage& other) {
  combine(*this, other, [](int32_t a, int32_t b) { return clipToByte((a - b) * (a - b)); });
}

CZZimage::SquaredSum CZZimage::sumSquaredDifference(const CZZimage& other, const Rect& rect, int32_t dx,
                                                    int32_t dy) const {
  if (empty() || other.empty()) return {};
  const Rect r = clipLocal(rect);
  const int64_t left = static_cast<int64_t>(r.left) - dx, top = static_cast<int64_t>(r.top) - dy;
  if (r.isEmpty() || left < 0 || top < 0 || left + r.width() > other.width || top + r.height() > other.height)
    return {};
  const uint64_t sum = kernels::squaredDifferenceSum(
      row(r.top) + r.left, other.row(static_cast<int32_t>(top)) + left, static_cast<size_t>(r.width()),
      static_cast<size_t>(r.height()), stride, other.stride);
  return {static_cast<double>(sum), static_cast<int64_t>(r.width()) * r.height()};
}

void CZZimage::rmsDifference(const CZZimage& a, const CZZimage& b) {
  if (a.empty() || b.empty() || a.width != b.width || a.height != b.height || this == &a || this == &b)
    return;
  const int64_t dx = static_cast<int64_t>(b.xOrigin) - a.xOrigin;
  const int64_t dy = static_cast<int64_t>(b.yOrigin) - a.yOrigin;
  if (std::abs(dx) >= a.width || std::abs(dy) >= a.height) return;
  const auto x0 = static_cast<int32_t>(std::max<int64_t>(0, dx));
  const auto y0 = static_cast<int32_t>(std::max<int64_t>(0, dy));
  if (!resizedata(a.width - static_cast<int32_t>(std::abs(dx)), a.height - static_cast<int32_t>(std::abs(dy)),
                  1))
    return;
  colourset = kGrey;
  interlace = a.interlace;
  xOrigin = a.xOrigin + x0;
  yOrigin = a.yOrigin + y0;
  for (int32_t y = 0; y < height; ++y) {
    const uint8_t* p = a.row(y + y0) + x0;
    const uint8_t* q = b.row(static_cast<int32_t>(y + y0 - dy)) + (x0 - dx);
    // The root of a square is the size itself.
    for (int32_t x = 0; x < width; ++x) row(y)[x] = static_cast<uint8_t>(std::abs(p[x] - q[x]));
  }
}

}  // namespace tarnvisor
