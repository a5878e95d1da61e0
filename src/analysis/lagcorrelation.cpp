#include "analysis/lagcorrelation.h"

#include <algorithm>
#include <cmath>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "lagcorrelation.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace tarnvisor {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// A vector holds neighbouring lags, so that each sum keeps its order; several sums hide the time that an
// addition takes.
void lagDotsWide(const double* HWY_RESTRICT a, const double* HWY_RESTRICT b, size_t count, size_t lags,
                 double* HWY_RESTRICT dots) {
  const hn::ScalableTag<double> d;
  const size_t lanes = hn::Lanes(d);
  size_t l = 0;
  for (; l + 4 * lanes <= lags; l += 4 * lanes) {
    auto sum0 = hn::Zero(d), sum1 = sum0, sum2 = sum0, sum3 = sum0;
    for (size_t i = 0; i < count; ++i) {
      const auto x = hn::Set(d, a[i]);
      const double* y = b + i + l;
      sum0 = hn::Add(sum0, hn::Mul(x, hn::LoadU(d, y)));
      sum1 = hn::Add(sum1, hn::Mul(x, hn::LoadU(d, y + lanes)));
      sum2 = hn::Add(sum2, hn::Mul(x, hn::LoadU(d, y + 2 * lanes)));
      sum3 = hn::Add(sum3, hn::Mul(x, hn::LoadU(d, y + 3 * lanes)));
    }
    hn::StoreU(sum0, d, dots + l);
    hn::StoreU(sum1, d, dots + l + lanes);
    hn::StoreU(sum2, d, dots + l + 2 * lanes);
    hn::StoreU(sum3, d, dots + l + 3 * lanes);
  }
  for (; l < lags; ++l) {
    double sum = 0;
    for (size_t i = 0; i < count; ++i) sum += a[i] * b[i + l];
    dots[l] = sum;
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace tarnvisor
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tarnvisor {

HWY_EXPORT(lagDotsWide);

void lagDots(const double* a, const double* b, size_t count, size_t lags, double* dots) {
  HWY_DYNAMIC_DISPATCH(lagDotsWide)(a, b, count, lags, dots);
}

void LagCorrelation::begin(size_t count, int32_t first, int32_t last) {
  points = count;
  firstLag = first;
  allA = allB = 0;
  const auto lags = static_cast<size_t>(last - first) + 1;
  own.resize(points);
  other.assign(points + lags, 0.0);
  dots.resize(lags);
  products.assign(lags, {0, 0, 0});
  values.resize(lags);
}

void LagCorrelation::RunningSums::fill(std::span<const double> items) {
  sum.resize(items.size() + 1);
  squares.resize(items.size() + 1);
  sum[0] = squares[0] = 0;
  for (size_t i = 0; i < items.size(); ++i) {
    sum[i + 1] = sum[i] + items[i];
    squares[i + 1] = squares[i] + items[i] * items[i];
  }
}

namespace {

// Of the squares of all items: less is rounding, and flat.
constexpr double kFlat = 1e-20, kFlatPart = 1e-12;

// Keeps sums of squares small.
void takeOffMean(std::span<double> items) {
  double sum = 0, squares = 0, varying = 0;
  for (const double x : items) sum += x;
  const double mean = sum / static_cast<double>(items.size());
  for (double& x : items) {
    squares += x * x;
    x -= mean;
    varying += x * x;
  }
  if (!(varying > kFlat * squares)) std::fill(items.begin(), items.end(), 0.0);
}

void takeSmoothed(const double* items, size_t step, std::span<double> out) {
  const size_t last = out.size() - 1;
  for (size_t i = 0; i <= last; ++i) {
    const double before = items[(i > 0 ? i - 1 : i) * step], after = items[(i < last ? i + 1 : i) * step];
    out[i] = (before + 2 * items[i * step] + after) / 4;
  }
  takeOffMean(out);
}

// The points after one less those before it.
void takeRises(const double* items, size_t step, std::span<double> out) {
  constexpr size_t kRise = LagCorrelation::kRise;
  for (size_t i = 0; i < out.size(); ++i) {
    const double* before = items + i * step;
    const double* after = before + (kRise + 1) * step;
    out[i] = 0;
    for (size_t k = 0; k < kRise; ++k) out[i] += after[k * step] - before[k * step];
  }
  takeOffMean(out);
}

}  // namespace

std::span<double> LagCorrelation::moved() {
  return std::span(other).subspan(static_cast<size_t>(-firstLag), points);
}

void LagCorrelation::add(const double* a, const double* b, size_t step) {
  takeSmoothed(a, step, own);
  takeSmoothed(b, step, moved());
  addUp();
}

void LagCorrelation::addRises(const double* a, const double* b, size_t step) {
  takeRises(a, step, own);
  takeRises(b, step, moved());
  addUp();
}

void LagCorrelation::addUp() {
  sumsA.fill(own);
  sumsB.fill(moved());
  allA += sumsA.squares.back();
  allB += sumsB.squares.back();
  lagDots(own.data(), other.data(), points, dots.size(), dots.data());
  for (size_t l = 0; l < dots.size(); ++l) {
    const int32_t lag = lagOf(l);
    const size_t pairs = overlap(lag), from = lag < 0 ? points - pairs : 0, fromB = points - pairs - from;
    const auto count = static_cast<double>(pairs);
    const double a1 = sumsA.sum[from + pairs] - sumsA.sum[from];
    const double b1 = sumsB.sum[fromB + pairs] - sumsB.sum[fromB];
    products[l].cross += dots[l] - a1 * b1 / count;
    products[l].ownA += sumsA.squares[from + pairs] - sumsA.squares[from] - a1 * a1 / count;
    products[l].ownB += sumsB.squares[fromB + pairs] - sumsB.squares[fromB] - b1 * b1 / count;
  }
}

std::span<const double> LagCorrelation::finish() {
  for (size_t l = 0; l < values.size(); ++l) {
    const Products& of = products[l];
    const double r = of.ownA > kFlatPart * allA && of.ownB > kFlatPart * allB
                         ? of.cross / std::sqrt(of.ownA * of.ownB)
                         : 0.0;
    values[l] = std::isfinite(r) ? std::clamp(r, -1.0, 1.0) : 0.0;
  }
  return values;
}

}  // namespace tarnvisor
#endif
