#include "vectors/fftwindow.h"

#include <cmath>
#include <cstdio>
#include <new>

namespace tarnvisor {

namespace {

// Single-precision two pi and four pi.
constexpr double kTwoPi = 6.2831854820251465;
constexpr double kFourPi = 12.566370964050293;

// For n == 1 all but the rectangle divide zero by zero.
double weightAt(int32_t kind, int32_t i, int32_t n) {
  const double last = n - 1;
  const double turn = kTwoPi * i / last;
  switch (kind) {
    case 1:
      return i < n / 2 ? 2.0 * i / last : 2.0 - 2.0 * i / last;
    case 2:
      return (1.0 - std::cos(turn)) * 0.5;
    case 3:
      return 0.54 - 0.46 * std::cos(turn);
    case 4:
      return 0.42 - 0.5 * std::cos(turn) + 0.08 * std::cos(kFourPi * i / last);
    default:
      return 1.0;
  }
}

}  // namespace

bool CFFTWindow::build(int32_t windowKind, int32_t n) {
  if (n < 1) return false;
  if (n != length) {
    try {
      weights.assign(static_cast<size_t>(n), 1.0);
    } catch (const std::bad_alloc&) {
      return false;
    }
    length = n;
    kind = -1;
  }
  if (windowKind == kind) return true;
  if (windowKind < 0 || windowKind >= static_cast<int32_t>(kFftWindowNames.size())) {
    std::fputs("unknown windowfunc type!\n", stderr);
    windowKind = 0;
  }
  for (int32_t i = 0; i < n; ++i) weights[static_cast<size_t>(i)] = weightAt(windowKind, i, n);
  kind = windowKind;
  return true;
}

void CFFTWindow::apply(double* x) const {
  if (kind <= 0) return;
  for (double weight : weights) *x++ *= weight;
}

}  // namespace tarnvisor
