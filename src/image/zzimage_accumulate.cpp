#include <cmath>

#include "base/numbers.h"
#include "image/accumulate.h"
#include "image/zzimage.h"

namespace tarnvisor {

namespace {

double deviation(double sum, double sumSquares, double n) {
  return std::sqrt(std::max(0.0, (sumSquares - sum * sum / n) / n));
}

// The next element of a per-pixel array for each pixel in raster order.
template <class Work>
void forEachPixel(const CZZimage& image, Work work) {
  size_t at = 0;
  for (int32_t y = 0; y < image.height; ++y)
    for (int32_t x = 0; x < image.width; ++x) work(image.row(y)[x], at++);
}

}  // namespace

void CZZimage::accumulate(int32_t* sum, int32_t* count, int32_t canvasStride) const {
  if (empty()) return;
  for (int32_t y = 0; y < height; ++y) {
    const ptrdiff_t at = (static_cast<ptrdiff_t>(y) + yOrigin) * canvasStride + xOrigin;
    for (int32_t x = 0; x < width; ++x) {
      sum[at + x] += row(y)[x];
      ++count[at + x];
    }
  }
}

void CZZimage::writeAverage(const int32_t* sum, const int32_t* count, int32_t canvasStride) {
  if (empty()) return;
  for (int32_t y = 0; y < height; ++y) {
    const ptrdiff_t at = static_cast<ptrdiff_t>(y) * canvasStride;
    for (int32_t x = 0; x < width; ++x)
      row(y)[x] = count[at + x] ? clipToByte(sum[at + x] / count[at + x]) : uint8_t{0};
  }
}

void CZZimage::startStats(PixelStatistics* statistics) const {
  if (!statistics) return;
  *statistics = {};
  if (empty()) return;
  statistics->width = width;
  statistics->height = height;
  const size_t places = static_cast<size_t>(width) * static_cast<size_t>(height);
  statistics->sum.assign(places, 0);
  statistics->sumSquares.assign(places, 0);
}

void CZZimage::addStats(PixelStatistics* statistics) const {
  if (!statistics || empty() || statistics->width != width || statistics->height != height) return;
  ++statistics->images;
  forEachPixel(*this, [&](uint32_t v, size_t at) {
    statistics->sum[at] += v;
    statistics->sumSquares[at] += v * v;
  });
}

void CZZimage::finishStats(const PixelStatistics* statistics) {
  if (!statistics || empty() || statistics->images < 1 || statistics->width != width ||
      statistics->height != height)
    return;
  const double n = statistics->images;
  forEachPixel(*this, [&](uint8_t, size_t at) {
    const auto place = static_cast<int32_t>(at);
    row(place / width)[place % width] =
        truncatedToByte(deviation(statistics->sum[at], static_cast<double>(statistics->sumSquares[at]), n));
  });
}

void CZZimage::addMotionStats(MotionStatistics* statistics) const {
  if (!statistics || empty()) return;
  MotionStatistics& s = *statistics;
  if (s.count.empty()) {
    const size_t places = static_cast<size_t>(width) * static_cast<size_t>(height);
    s.width = width;
    s.height = height;
    for (auto* plane : {&s.previous, &s.count, &s.sum, &s.sumDifference}) plane->assign(places, 0);
    for (auto* plane : {&s.sumSquares, &s.sumDifferenceSquares}) plane->assign(places, 0);
  }
  if (s.width != width || s.height != height) return;
  forEachPixel(*this, [&](int32_t v, size_t at) {
    if (s.count[at]++ > 0) {
      const int32_t difference = v - s.previous[at];
      s.sum[at] += v;
      s.sumSquares[at] += v * v;
      s.sumDifference[at] += difference;
      s.sumDifferenceSquares[at] += difference * difference;
    }
    s.previous[at] = v;
  });
}

void CZZimage::writeMotionRatio(const MotionStatistics* statistics, double gain, double floor) {
  if (!statistics || empty() || statistics->width != width || statistics->height != height) return;
  const MotionStatistics& s = *statistics;
  forEachPixel(*this, [&](uint8_t, size_t at) {
    const auto place = static_cast<int32_t>(at);
    uint8_t& pixel = row(place / width)[place % width];
    pixel = 0;
    if (s.count[at] < 2) return;  // one frame has no differences
    const double n = s.count[at] - 1;
    const double first = deviation(s.sum[at], static_cast<double>(s.sumSquares[at]), n);
    const double second = deviation(s.sumDifference[at], static_cast<double>(s.sumDifferenceSquares[at]), n);
    if (first > floor) pixel = truncatedToByte(second * gain / first);
  });
}

}  // namespace tarnvisor
