#include "fftpasses.h"

#include <utility>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "fftpasses.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace tarnvisor {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Four numbers at most, as the second pass has runs of four.
using Tag = hn::CappedTag<double, 4>;
using Vec = hn::Vec<Tag>;

struct Complex {
  Vec re, im;
};

HWY_INLINE Complex plus(Complex a, Complex b) { return {hn::Add(a.re, b.re), hn::Add(a.im, b.im)}; }
HWY_INLINE Complex minus(Complex a, Complex b) { return {hn::Sub(a.re, b.re), hn::Sub(a.im, b.im)}; }
HWY_INLINE Complex turned(Complex a, Complex by) {
  return {hn::Sub(hn::Mul(a.re, by.re), hn::Mul(a.im, by.im)),
          hn::Add(hn::Mul(a.re, by.im), hn::Mul(a.im, by.re))};
}

// The four sums of a radix-4 step, before they are turned.
struct Four {
  Complex a, b, c, d;
};
HWY_INLINE Four butterfly(const Four& x) {
  const Complex even = plus(x.a, x.c);
  const Complex evenLess = minus(x.a, x.c);
  const Complex odd = plus(x.b, x.d);
  const Complex oddLess = minus(x.b, x.d);
  return {plus(even, odd),
          {hn::Add(evenLess.re, oddLess.im), hn::Sub(evenLess.im, oddLess.re)},
          minus(even, odd),
          {hn::Sub(evenLess.re, oddLess.im), hn::Add(evenLess.im, oddLess.re)}};
}

HWY_INLINE Complex loaded(Tag d, const double* re, const double* im) {
  return {hn::LoadU(d, re), hn::LoadU(d, im)};
}
HWY_INLINE Complex loadedPairs(Tag d, const double* pairs) {
  Complex x;
  hn::LoadInterleaved2(d, pairs, x.re, x.im);
  return x;
}

// Neighbouring steps side by side; what belongs to one step comes to lie together.
HWY_INLINE void firstPass(const double* pairs, SplitArrays from, SplitArrays to, size_t n,
                          const double* turns) {
  const Tag d;
  const size_t quarter = n / 4;
  for (size_t p = 0; p < quarter; p += hn::Lanes(d)) {
    Four x;
    if (pairs) {
      x = {loadedPairs(d, pairs + 2 * p), loadedPairs(d, pairs + 2 * (p + quarter)),
           loadedPairs(d, pairs + 2 * (p + 2 * quarter)), loadedPairs(d, pairs + 2 * (p + 3 * quarter))};
    } else {
      const double* re = from.re + p;
      const double* im = from.im + p;
      x = {loaded(d, re, im), loaded(d, re + quarter, im + quarter),
           loaded(d, re + 2 * quarter, im + 2 * quarter), loaded(d, re + 3 * quarter, im + 3 * quarter)};
    }
    const double* t = turns + p;
    Four y = butterfly(x);
    y.b = turned(y.b, loaded(d, t, t + 3 * quarter));
    y.c = turned(y.c, loaded(d, t + quarter, t + 4 * quarter));
    y.d = turned(y.d, loaded(d, t + 2 * quarter, t + 5 * quarter));
    hn::StoreInterleaved4(y.a.re, y.b.re, y.c.re, y.d.re, d, to.re + 4 * p);
    hn::StoreInterleaved4(y.a.im, y.b.im, y.c.im, y.d.im, d, to.im + 4 * p);
  }
}

// Steps of runs of `stride` numbers that share their turns; the last pass has one step, and turns nothing.
template <bool kTurns>
HWY_INLINE void laterPass(SplitArrays from, SplitArrays to, size_t n, size_t stride,
                          const FftTables& tables) {
  const Tag d;
  const size_t quarter = n / 4;
  for (size_t t = 0; t < quarter; t += stride) {
    const auto turn = [&tables, d](size_t i) HWY_ATTR {
      return Complex{hn::Set(d, tables.cosines[i]), hn::Set(d, tables.sines[i])};
    };
    const Complex turnB = turn(t), turnC = turn(2 * t), turnD = turn(3 * t);
    for (size_t q = 0; q < stride; q += hn::Lanes(d)) {
      const double* re = from.re + t + q;
      const double* im = from.im + t + q;
      Four y = butterfly({loaded(d, re, im), loaded(d, re + quarter, im + quarter),
                          loaded(d, re + 2 * quarter, im + 2 * quarter),
                          loaded(d, re + 3 * quarter, im + 3 * quarter)});
      if constexpr (kTurns) {
        y.b = turned(y.b, turnB);
        y.c = turned(y.c, turnC);
        y.d = turned(y.d, turnD);
      }
      double* toRe = to.re + 4 * t + q;
      double* toIm = to.im + 4 * t + q;
      hn::StoreU(y.a.re, d, toRe);
      hn::StoreU(y.a.im, d, toIm);
      hn::StoreU(y.b.re, d, toRe + stride);
      hn::StoreU(y.b.im, d, toIm + stride);
      hn::StoreU(y.c.re, d, toRe + 2 * stride);
      hn::StoreU(y.c.im, d, toIm + 2 * stride);
      hn::StoreU(y.d.re, d, toRe + 3 * stride);
      hn::StoreU(y.d.im, d, toIm + 3 * stride);
    }
  }
}

SplitArrays transform(const double* pairs, SplitArrays from, SplitArrays to, size_t n,
                      const FftTables& tables) {
  firstPass(pairs, from, to, n, tables.firstTurns);
  for (size_t stride = 4; stride < n; stride *= 4) {
    std::swap(from, to);
    if (stride * 4 < n)
      laterPass<true>(from, to, n, stride, tables);
    else
      laterPass<false>(from, to, n, stride, tables);
  }
  return to;
}

// The spectra of the even and of the odd samples come apart by symmetry; the latter is turned.
void unpackPower(SplitArrays bins, size_t n, const FftTables& tables, double factor, double* out) {
  const Tag d;
  const size_t lanes = hn::Lanes(d);
  const auto scale = hn::Set(d, factor);
  const auto power = [](Complex x) HWY_ATTR { return hn::Add(hn::Mul(x.re, x.re), hn::Mul(x.im, x.im)); };
  // The last vector may reach past n / 2 into bins that it then gives the same value as from the other side.
  for (size_t k = 1; k < n / 2; k += lanes) {
    const size_t mirror = n - k - lanes + 1;
    const Complex low = loaded(d, bins.re + k, bins.im + k);
    const Complex high = {hn::Reverse(d, hn::LoadU(d, bins.re + mirror)),
                          hn::Reverse(d, hn::LoadU(d, bins.im + mirror))};
    const Complex even = {hn::Mul(hn::Add(low.re, high.re), scale), hn::Mul(hn::Sub(low.im, high.im), scale)};
    const Complex odd = {hn::Mul(hn::Add(low.im, high.im), scale), hn::Mul(hn::Sub(high.re, low.re), scale)};
    const Complex lifted = turned(odd, loaded(d, tables.halfcosines + k, tables.halfsines + k));
    hn::StoreU(hn::Reverse(d, power(minus(even, lifted))), d, out + mirror);
    hn::StoreU(power(plus(even, lifted)), d, out + k);
  }
}

const FftLoops* fftTable() {
  static const FftLoops table = {transform, unpackPower};
  return &table;
}

}  // namespace HWY_NAMESPACE
}  // namespace tarnvisor
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tarnvisor {
HWY_EXPORT(fftTable);
const FftLoops& fftLoops() {
  static const FftLoops* const table = HWY_DYNAMIC_DISPATCH(fftTable)();
  return *table;
}
}  // namespace tarnvisor
#endif
