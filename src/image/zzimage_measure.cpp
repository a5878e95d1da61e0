#include <array>
#include <cstring>

#include "image/kernels.h"
#include "image/zzimage.h"
#include "settings/log.h"

namespace tarnvisor {

namespace {

using Counts = std::array<uint32_t, 256>;

// The row step that samples `lines` rows: rows step, 2 * step and so on. At least 1.
int32_t sampledStep(int32_t height, int32_t lines) {
  return std::max(1, static_cast<int32_t>(height / (static_cast<int64_t>(std::max(lines, 0)) + 1)));
}

Counts sampledCounts(const CZZimage& image, int32_t lines) {
  Counts total{};
  if (image.empty()) return total;
  const int32_t step = sampledStep(image.height, lines);
  for (int64_t y = step; y < image.height; y += step) {
    Counts counts{};
    const auto rowAt = static_cast<int32_t>(y);
    image.countLevels({0, rowAt, image.width, rowAt + 1}, counts);
    for (size_t v = 0; v < 256; ++v) total[v] += counts[v];
  }
  return total;
}

// The level of 1 to 254 with the greatest count, the lowest of equals; 0 when none occurs.
int32_t commonestLevel(const Counts& counts) {
  int32_t best = 0;
  uint32_t most = 0;
  for (int32_t v = 1; v < 255; ++v)
    if (counts[static_cast<size_t>(v)] > most) {
      most = counts[static_cast<size_t>(v)];
      best = v;
    }
  return best;
}

// Rows of a field within a frame, or all rows.
struct RowSteps {
  int32_t first, step;
};
RowSteps rowsOf(const CZZimage& image, const Rect& r, int32_t field) {
  if (image.isField() || (field != 1 && field != 2)) return {r.top, 1};
  return {(r.top & 1) == field - 1 ? r.top : r.top + 1, 2};
}

// The mean over a rectangle in the image's own pixels, where only values above t, and above 0, are summed.
template <typename ValueAt>
double meanAbove(const CZZimage& image, const Rect& r, int32_t t, ValueAt valueAt) {
  const int32_t least = std::max(t, 0);
  int64_t sum = 0;
  for (int32_t y = r.top; y < r.bottom; ++y) {
    const uint8_t* p = image.row(y) + r.left;
    for (int32_t x = 0; x < r.width(); ++x)
      if (const int32_t v = valueAt(p + x); v > least) sum += v;
  }
  return static_cast<double>(sum) / (static_cast<double>(r.width()) * r.height());
}

// Whether each pixel of the rectangle has its neighbours in the row.
bool standsOffSides(const CZZimage& image, const Rect& r, int32_t border) {
  return !image.empty() && !r.isEmpty() && border >= 1 && r.left >= border && r.right <= image.width - border;
}

// 0 where a neighbour would lie beyond an edge.
double laplacianMean(const CZZimage& image, const Rect& r, int32_t border, int32_t t) {
  if (!standsOffSides(image, r, border) || r.top < border || r.bottom > image.height - border) return 0;
  const ptrdiff_t rowStep = static_cast<ptrdiff_t>(border) * image.stride;
  return meanAbove(image, r, t, [=](const uint8_t* p) {
    return p[-border] + p[border] + p[-rowStep] + p[rowStep] - 4 * *p;
  });
}

}  // namespace

void CZZimage::countLevels(const Rect& local, std::span<uint32_t, 256> counts) const {
  std::memset(counts.data(), 0, counts.size_bytes());
  if (empty() || local.isEmpty()) return;
  // Four tables, so that neighbours of one level don't wait for each other's increment.
  uint32_t parts[4][256] = {};
  const int32_t count = local.width();
  for (int32_t y = local.top; y < local.bottom; ++y) {
    const uint8_t* p = row(y) + local.left;
    int32_t x = 0;
    for (; x + 8 <= count; x += 8) {
      uint64_t eight;
      std::memcpy(&eight, p + x, 8);
      ++parts[0][eight & 255];
      ++parts[1][eight >> 8 & 255];
      ++parts[2][eight >> 16 & 255];
      ++parts[3][eight >> 24 & 255];
      ++parts[0][eight >> 32 & 255];
      ++parts[1][eight >> 40 & 255];
      ++parts[2][eight >> 48 & 255];
      ++parts[3][eight >> 56];
    }
    for (; x < count; ++x) ++parts[0][p[x]];
  }
  for (size_t v = 0; v < 256; ++v) counts[v] = parts[0][v] + parts[1][v] + parts[2][v] + parts[3][v];
}

void CZZimage::histogram(const Rect& rect, IndexedStore& target) const {
  Counts counts{};
  countLevels(clipToImage(rect), counts);
  if (!target.setSize(256)) return;
  for (size_t v = 0; v < 256; ++v) target.setValue(v, counts[v]);
}

int32_t CZZimage::peakbrightness(int32_t step) const {
  const Counts counts = sampledCounts(*this, step);
  const int32_t level = commonestLevel(counts);
  logPrintf("peakbrightness %i at %i\n", level ? static_cast<int32_t>(counts[static_cast<size_t>(level)]) : 0,
            level);
  return level;
}

int32_t CZZimage::modeLevel(const Rect& rect) const {
  Counts counts{};
  countLevels(clipToImage(rect), counts);
  return commonestLevel(counts);
}

CZZimage::Levels CZZimage::findLevels(int32_t n, int32_t divisor) const {
  Counts counts = sampledCounts(*this, n);
  double smooth = 0;
  uint32_t most = 0;
  int32_t peak = 128;
  for (int32_t v = 1; v < 255; ++v) {
    uint32_t& bin = counts[static_cast<size_t>(v)];
    smooth += (bin - smooth) / 8;
    bin = static_cast<uint32_t>(smooth);
    if (bin > most) {
      most = bin;
      peak = v;
    }
  }
  const uint32_t limit = most / static_cast<uint32_t>(std::max(divisor, 1));
  const auto isRare = [&](int32_t v) { return counts[static_cast<size_t>(v)] < limit; };
  Levels levels;
  int32_t v = peak;
  while (v < 255 && !isRare(v)) ++v;
  levels.high = v;
  for (v = peak; v >= 2 && !isRare(v);) --v;
  levels.low = v >= 2 ? v : 0;
  return levels;
}

double CZZimage::meanBrightness(int32_t step) const {
  if (empty()) return 0;
  const int32_t lines = step < 1 ? 8 : step;
  const int32_t every = sampledStep(height, lines);
  int64_t sum = 0;
  for (int64_t y = every; y < height; y += every) {
    kernels::ByteRange range;
    kernels::addRange(row(static_cast<int32_t>(y)), static_cast<size_t>(width), range);
    sum += static_cast<int64_t>(range.sum);
  }
  // The divisor stays with the rows asked for, even where one more than these was summed.
  const auto whole = sum / (static_cast<int64_t>(width) * lines);
  return static_cast<double>(whole);
}

double CZZimage::meanLevel(const Rect& rect) const {
  double mean = 0;
  statistics(rect, &mean, nullptr, nullptr);
  return mean;
}

double CZZimage::laplacianFocus(int32_t border, int32_t t) const {
  if (border < 1 || 2 * static_cast<int64_t>(border) >= std::min(width, height)) return 0;
  return laplacianMean(*this, {border, border, width - border, height - border}, border, t);
}

double CZZimage::laplacianFocus(const Rect& rect, int32_t border, int32_t t) const {
  return laplacianMean(*this, clipToImage(rect), border, t);
}

double CZZimage::rowPeakFocus(const Rect& rect, int32_t border, int32_t t) const {
  const Rect r = clipToImage(rect);
  if (!standsOffSides(*this, r, border)) return 0;
  return meanAbove(*this, r, t, [=](const uint8_t* p) { return p[-border] + p[border] - 2 * *p; });
}

double CZZimage::gradientEnergy(const Rect& rect) const {
  if (empty()) return 0;
  const Rect r = clipToImage(rect);
  if (r.isEmpty()) return 0;
  int64_t sum = 0;
  for (int32_t y = r.top; y < r.bottom; ++y) {
    const uint8_t* p = row(y) + r.left;
    for (int32_t x = 0; x + 1 < r.width(); ++x) sum += (p[x + 1] - p[x]) * (p[x + 1] - p[x]);
  }
  return static_cast<double>(sum) / (static_cast<double>(r.width()) * r.height());
}

void CZZimage::profileByColumn(const Rect& rect, IndexedStore& target, int32_t field) const {
  const Rect r = empty() ? Rect{} : clipToImage(rect);
  if (!target.setSize(static_cast<size_t>(r.width()))) return;
  const auto [first, step] = rowsOf(*this, r, field);
  for (int32_t x = r.left; x < r.right; ++x) {
    int64_t sum = 0, rows = 0;
    for (int32_t y = first; y < r.bottom; y += step, ++rows) sum += row(y)[x];
    if (rows)
      target.setValue(static_cast<size_t>(x - r.left), static_cast<double>(sum) / static_cast<double>(rows));
  }
}

void CZZimage::profileByRow(const Rect& rect, IndexedStore& target, int32_t field) const {
  const Rect r = empty() ? Rect{} : clipToImage(rect);
  const auto [first, step] = rowsOf(*this, r, field);
  const int32_t rows = first < r.bottom ? (r.bottom - first + step - 1) / step : 0;
  if (!target.setSize(static_cast<size_t>(rows))) return;
  for (int32_t i = 0; i < rows; ++i) {
    const uint8_t* p = row(first + i * step);
    int64_t sum = 0;
    for (int32_t x = r.left; x < r.right; ++x) sum += p[x];
    target.setValue(static_cast<size_t>(i), static_cast<double>(sum) / r.width());
  }
}

}  // namespace tarnvisor
