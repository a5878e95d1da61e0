#include "analysis/blur.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "base/parallel.h"
#include "paddedplane.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "blur.cpp"
#include <hwy/foreach_target.h>
// after foreach_target.h
#include <hwy/highway.h>

#include "rows-inl.h"

// Pixels are worked on side by side, never the samples of one pixel, so each pixel's sum is added up in the
// same order as in a plain loop and comes out the same. A sample outside the line is 0 here, which adds
// nothing.
HWY_BEFORE_NAMESPACE();
namespace tarnvisor {
namespace HWY_NAMESPACE {
namespace {

// samples[x] = row[x], up to a whole vector past width.
void toFloats(const uint8_t* HWY_RESTRICT row, float* HWY_RESTRICT samples, int32_t width) {
  const hn::ScalableTag<float> d;
  const hn::Rebind<int32_t, decltype(d)> d32;
  const hn::Rebind<uint8_t, decltype(d)> d8;
  const int32_t lanes = static_cast<int32_t>(hn::Lanes(d));
  int32_t x = 0;
  for (; x + lanes <= width; x += lanes)
    hn::StoreU(hn::ConvertTo(d, hn::PromoteTo(d32, hn::LoadU(d8, row + x))), d, samples + x);
  for (; x < width; ++x) samples[x] = row[x];
}

template <class D, class V>
HWY_INLINE void storeTruncated(D, V sum, uint8_t* out, int32_t x, int32_t width) {
  const hn::Rebind<int32_t, D> d32;
  const hn::Rebind<uint8_t, D> d8;
  if (x < width) storeUpTo(hn::DemoteTo(d8, hn::ConvertTo(d32, sum)), d8, out, x, width);
}

// Lines along a row, two vectors at a time. line and edge are readable two whole vectors past width; line
// also has weights.size() zeros on both sides. edge holds what the end samples add.
void blurAlong(const float* HWY_RESTRICT line, const float* HWY_RESTRICT edge, const BlurKernel& kernel,
               uint8_t* out, int32_t width) {
  const hn::ScalableTag<float> d;
  const int32_t lanes = static_cast<int32_t>(hn::Lanes(d));
  const int32_t n = static_cast<int32_t>(kernel.weights.size());
  const float* HWY_RESTRICT k = kernel.weights.data();
  const auto first = hn::Set(d, k[0]);
  for (int32_t x = 0; x < width; x += 2 * lanes) {
    const float* HWY_RESTRICT p = line + x;
    auto sum = hn::Add(hn::Mul(first, hn::LoadU(d, p)), hn::LoadU(d, edge + x));
    auto next = hn::Add(hn::Mul(first, hn::LoadU(d, p + lanes)), hn::LoadU(d, edge + x + lanes));
    for (int32_t j = 1; j < n; ++j) {
      const auto weight = hn::Set(d, k[j]);
      sum = hn::Add(sum, hn::Mul(weight, hn::Add(hn::LoadU(d, p + j), hn::LoadU(d, p - j))));
      next =
          hn::Add(next, hn::Mul(weight, hn::Add(hn::LoadU(d, p + lanes + j), hn::LoadU(d, p + lanes - j))));
    }
    storeTruncated(d, sum, out, x, width);
    storeTruncated(d, next, out, x + lanes, width);
  }
}

// Lines down the columns: one row of results from the rows around it. The end row, if any, counts by
// edgeWeight.
void blurAcross(const PaddedPlane& plane, int32_t y, const uint8_t* endRow, float edgeWeight,
                const BlurKernel& kernel, uint8_t* out, int32_t width) {
  const hn::ScalableTag<float> d;
  const hn::Rebind<int32_t, decltype(d)> d32;
  const hn::Rebind<uint8_t, decltype(d)> d8;
  const int32_t lanes = static_cast<int32_t>(hn::Lanes(d));
  const int32_t n = static_cast<int32_t>(kernel.weights.size());
  const float* HWY_RESTRICT k = kernel.weights.data();
  const auto bytes = [&](const uint8_t* p) { return hn::PromoteTo(d32, hn::LoadU(d8, p)); };
  const auto floats = [&](const uint8_t* p) { return hn::ConvertTo(d, bytes(p)); };
  const uint8_t* HWY_RESTRICT middle = plane.row(y);
  const ptrdiff_t step = plane.row(1) - plane.row(0);
  const auto first = hn::Set(d, k[0]);
  for (int32_t x = 0; x < width; x += 2 * lanes) {
    const uint8_t* up = middle + x;
    const uint8_t* down = up;
    auto sum = hn::Mul(first, floats(up));
    auto next = hn::Mul(first, floats(up + lanes));
    if (endRow) {
      sum = hn::Add(sum, hn::Mul(floats(endRow + x), hn::Set(d, edgeWeight)));
      next = hn::Add(next, hn::Mul(floats(endRow + x + lanes), hn::Set(d, edgeWeight)));
    }
    for (int32_t j = 1; j < n; ++j) {
      up -= step;
      down += step;
      const auto weight = hn::Set(d, k[j]);
      // Whole numbers this small add up exactly, so the sum may be taken before the conversion.
      const auto both = hn::Add(bytes(down), bytes(up));
      const auto bothNext = hn::Add(bytes(down + lanes), bytes(up + lanes));
      sum = hn::Add(sum, hn::Mul(weight, hn::ConvertTo(d, both)));
      next = hn::Add(next, hn::Mul(weight, hn::ConvertTo(d, bothNext)));
    }
    storeTruncated(d, sum, out, x, width);
    storeTruncated(d, next, out, x + lanes, width);
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace tarnvisor
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tarnvisor {
namespace {
HWY_EXPORT(toFloats);
HWY_EXPORT(blurAlong);
HWY_EXPORT(blurAcross);

void blurRows(const CZZimage& image, PaddedPlane& to, const BlurKernel& kernel, int32_t begin, int32_t end) {
  const size_t n = kernel.weights.size();
  const size_t width = static_cast<size_t>(image.width);
  std::vector<float> line(width + 2 * n + 64, 0.0f);
  std::vector<float> edge(width + 64, 0.0f);
  float* samples = line.data() + n;
  for (int32_t y = begin; y < end; ++y) {
    const uint8_t* row = image.row(y);
    HWY_DYNAMIC_DISPATCH(toFloats)(row, samples, image.width);
    for (size_t i = 0; i < n; ++i) {
      edge[i] = samples[0] * kernel.edgeWeights[i];
      edge[width - 1 - i] = samples[width - 1] * kernel.edgeWeights[i];
    }
    HWY_DYNAMIC_DISPATCH(blurAlong)(samples, edge.data(), kernel, to.row(y), image.width);
  }
}

void blurColumns(const PaddedPlane& from, CZZimage& image, const BlurKernel& kernel, int32_t begin,
                 int32_t end) {
  const int32_t n = static_cast<int32_t>(kernel.weights.size());
  for (int32_t y = begin; y < end; ++y) {
    const int32_t fromEnd = image.height - 1 - y;
    const uint8_t* endRow = y < n ? from.row(0) : fromEnd < n ? from.row(image.height - 1) : nullptr;
    const float weight = endRow ? kernel.edgeWeights[static_cast<size_t>(std::min(y, fromEnd))] : 0.0f;
    HWY_DYNAMIC_DISPATCH(blurAcross)(from, y, endRow, weight, kernel, image.row(y), image.width);
  }
}

// Lets the kernel's tail fall to zero along a parabola from where the bell is steeper than that.
void shapeTail(std::vector<float>& weights) {
  const int64_t n = static_cast<int64_t>(weights.size());
  double sqrtSlope = HUGE_VAL;
  int64_t r = n - 1;
  for (; r > n / 2; --r) {
    const double a =
        std::sqrt(static_cast<double>(weights[static_cast<size_t>(r)])) / static_cast<double>(n - r);
    if (a >= sqrtSlope) break;
    sqrtSlope = a;
  }
  for (int64_t i = r + 2; i < n; ++i)
    weights[static_cast<size_t>(i)] =
        static_cast<float>(static_cast<double>((n - i) * (n - i)) * sqrtSlope * sqrtSlope);
}
}  // namespace

int64_t blurKernelLength(float sigma) {
  // Lines are int32 long, and a kernel of half a line does nothing.
  if (!(sigma > 0.0f) || !(sigma < 3e8f)) return 0;
  return static_cast<int64_t>(std::ceil(3.0 * sigma)) + 1;
}

bool blurFits(float sigma, int32_t length) {
  const int64_t n = blurKernelLength(sigma);
  return n > 0 && n < length / 2;
}

BlurKernel blurKernel(float sigma) {
  const size_t n = static_cast<size_t>(blurKernelLength(sigma));
  BlurKernel kernel{std::vector<float>(n), std::vector<float>(n)};
  if (n == 0) return kernel;
  kernel.weights[0] = 1.0f;
  for (size_t i = 1; i < n; ++i) {
    const double distance = static_cast<double>(i);
    kernel.weights[i] = static_cast<float>(std::exp(-0.5 * distance * distance / (sigma * sigma)));
  }
  if (n > 3) shapeTail(kernel.weights);
  double sum = kernel.weights[0];
  for (size_t i = 1; i < n; ++i) sum += 2.0 * kernel.weights[i];
  for (float& k : kernel.weights) k = static_cast<float>(k / sum);
  double rest = (kernel.weights[0] + 1.0) * 0.5;
  for (size_t i = 0; i < n; ++i) {
    rest -= kernel.weights[i];
    kernel.edgeWeights[i] = static_cast<float>(rest);
  }
  return kernel;
}

bool gaussianBlur(CZZimage& image, float sigma) {
  if (!isFilterable(image) || !(sigma > 0.0f)) return false;
  const int64_t n = blurKernelLength(sigma);
  const bool along = blurFits(sigma, image.width);
  const bool across = blurFits(sigma, image.height);
  if (!along && !across) return true;
  const BlurKernel kernel = blurKernel(sigma);
  const int32_t marginRows = across ? static_cast<int32_t>(n) : 0;
  PaddedPlane middle =
      along ? PaddedPlane(image.width, image.height, 0, marginRows) : PaddedPlane(image, 0, marginRows);
  if (!middle.valid()) return false;
  if (along)
    parallelFor(image.height, 64, [&](int64_t begin, int64_t end) {
      blurRows(image, middle, kernel, static_cast<int32_t>(begin), static_cast<int32_t>(end));
    });
  parallelFor(image.height, 64, [&](int64_t begin, int64_t end) {
    if (across)
      blurColumns(middle, image, kernel, static_cast<int32_t>(begin), static_cast<int32_t>(end));
    else
      for (int64_t y = begin; y < end; ++y)
        std::copy_n(middle.row(static_cast<int32_t>(y)), image.width, image.row(static_cast<int32_t>(y)));
  });
  return true;
}

}  // namespace tarnvisor
#endif
