#include <algorithm>

#include "base/numbers.h"
#include "image/kernels.h"
#include "image/samplepattern.h"
#include "image/zzimage.h"

namespace tarnvisor {

StandardRandom& standardRandom() {
  static StandardRandom generator;
  return generator;
}

void SamplePattern::prepare(int32_t newStep, int32_t newWidth, int32_t newHeight, int32_t newPitch) {
  if (step == newStep && width == newWidth && height == newHeight && pitch == newPitch) return;
  step = newStep;
  width = newWidth;
  height = newHeight;
  pitch = newPitch;
  const int64_t points =
      static_cast<int64_t>(width) * height / (static_cast<int64_t>(step) * std::max(step, 1));
  offsets.resize(static_cast<size_t>(std::max<int64_t>(points, 0)));
  StandardRandom& random = standardRandom();
  for (int32_t& offset : offsets) {
    const double down = random.next();
    const double along = random.next();
    offset = truncated(along * (width - 1) / StandardRandom::kLargest +
                       down * pitch * (height - 1) / StandardRandom::kLargest);
  }
}

namespace {

// Two windows of one size: in the reference, and in the image at the shift under test.
struct WindowPair {
  const uint8_t* a;
  ptrdiff_t aStride;
  const uint8_t* b;
  ptrdiff_t bStride;
  int32_t width, height;
};

uint32_t squareAt(uint8_t a, uint8_t b) {
  const int32_t difference = a - b;
  return static_cast<uint32_t>(difference * difference);
}

// Sums are of 32 bits and wrap.
uint32_t sumOfRows(const WindowPair& w, int32_t rowStep) {
  const int64_t rows = (int64_t{w.height} + rowStep - 1) / rowStep;
  return static_cast<uint32_t>(kernels::squaredDifferenceSum(w.a, w.b, static_cast<size_t>(w.width),
                                                             static_cast<size_t>(rows), rowStep * w.aStride,
                                                             rowStep * w.bStride));
}

uint32_t sumOfGrid(const WindowPair& w, int32_t rowStep, int32_t columnStep) {
  uint32_t sum = 0;
  for (int64_t v = 0; v < w.height; v += rowStep)
    for (int64_t u = 0; u < w.width; u += columnStep)
      sum += squareAt(w.a[v * w.aStride + u], w.b[v * w.bStride + u]);
  return sum;
}

uint32_t sumOfPoints(const WindowPair& w, const SamplePattern& pattern) {
  uint32_t sum = 0;
  for (const int32_t offset : pattern.offsets) sum += squareAt(w.a[offset], w.b[offset]);
  return sum;
}

}  // namespace

bool CZZimage::halve(const CZZimage& src) {
  if (&src == this) return halveInPlace();
  if (src.bytesPerPixel != 1 || !resizedata(src.width / 2, src.height / 2, 1)) return false;
  colourset = src.colourset;
  for (int32_t y = 0; !empty() && y < height; ++y)
    kernels::halveRows(src.row(2 * y), src.row(2 * y + 1), static_cast<size_t>(width), row(y));
  return true;
}

bool CZZimage::halveInPlace() {
  if (bytesPerPixel != 1 || (!owned && pixels)) return false;  // a child can't take a stride of its own
  const int32_t newWidth = width / 2, newHeight = height / 2, newStride = strideFor(newWidth, 1);
  for (int32_t y = 0; pixels && y < newHeight; ++y)
    kernels::halveRows(row(2 * y), row(2 * y + 1), static_cast<size_t>(newWidth),
                       pixels + static_cast<ptrdiff_t>(y) * newStride);
  width = rowBytes = newWidth;
  height = newHeight;
  stride = newStride;
  return true;
}

void CZZimage::findOffset(const CZZimage& reference, double templateFraction, double searchFraction,
                          int32_t step, int32_t sampleStep, int32_t mode) {
  const int32_t baseX = reference.xOrigin, baseY = reference.yOrigin;
  xOrigin = baseX;
  yOrigin = baseY;
  const int32_t w = truncated(width * templateFraction), h = truncated(height * templateFraction);
  const int32_t x0 = (width - w) / 2, y0 = (height - h) / 2;
  if (empty() || reference.empty() || w < 1 || h < 1 || w > width || h > height || x0 + w > reference.width ||
      y0 + h > reference.height)
    return;
  // Shifts whose window would leave the image can't be tested and are passed over.
  const int64_t rangeX = truncated(width * searchFraction), rangeY = truncated(height * searchFraction);
  const int64_t every = std::max(step, 1);
  const int32_t sample = std::max(sampleStep, 1);
  const bool random = mode != 2 && mode != 1 && sample > 1;
  if (random) {
    // One table serves both images, so their rows must be equally far apart.
    if (reference.stride != stride) return;
    if (!samplePattern) samplePattern = std::make_unique<SamplePattern>();
    samplePattern->prepare(sample, w, h, stride);
  }
  WindowPair windows{reference.row(y0) + x0, reference.stride, nullptr, stride, w, h};
  int32_t bestSum = 268435455;
  for (int64_t dy = -rangeY; dy < rangeY; dy += every) {
    if (y0 + dy < 0 || y0 + dy + h > height) continue;
    for (int64_t dx = -rangeX; dx < rangeX; dx += every) {
      if (x0 + dx < 0 || x0 + dx + w > width) continue;
      windows.b = row(static_cast<int32_t>(y0 + dy)) + x0 + dx;
      uint32_t sum = 0;
      if (mode == 2)
        sum = sumOfRows(windows, sample) + sumOfGrid(windows, 1, sample);
      else if (sample == 1)
        sum = sumOfRows(windows, 1);
      else if (mode == 1)
        sum = sumOfGrid(windows, sample, sample);
      else
        sum = sumOfPoints(windows, *samplePattern);
      if (static_cast<int32_t>(sum) >= bestSum) continue;
      bestSum = static_cast<int32_t>(sum);
      xOrigin = wrapSub(baseX, static_cast<int32_t>(dx));
      yOrigin = wrapSub(baseY, static_cast<int32_t>(dy));
    }
  }
}

}  // namespace tarnvisor
