#include "signal/fft.h"

#include <cmath>
#include <cstdio>
#include <new>

namespace tarnvisor {

namespace {

constexpr double kSinglePi = 3.1415927410125732;
// Halves of a single-precision square root of a half, as the unpacking adds two bins.
constexpr double kUnpack = 0.3535533811865478;
constexpr double kUnpackEnds = 0.7071067623730956;

// (1, 0) rotated again and again by the angle, clockwise.
void rotations(double angle, size_t count, std::vector<double>& cosines, std::vector<double>& sines) {
  const double c = std::cos(angle);
  const double s = -std::sqrt(1 - c * c);
  cosines.assign(count, 1.0);
  sines.assign(count, 0.0);
  for (size_t i = 1; i < count; ++i) {
    cosines[i] = cosines[i - 1] * c - sines[i - 1] * s;
    sines[i] = cosines[i - 1] * s + sines[i - 1] * c;
  }
}

}  // namespace

int32_t CFFT::exponentOf(int32_t n) {
  if (n < 4) return -1;
  if (n > 4096) return -3;
  int32_t exponent = 0;
  for (; n % 4 == 0; n /= 4) ++exponent;
  return n == 1 ? exponent : -2;
}

bool CFFT::setup(int32_t n) {
  if (size != 0) {
    std::fputs("this fft already in use!\n", stderr);
    return false;
  }
  const int32_t exponent = exponentOf(n);
  if (exponent < 0) return false;
  const auto points = static_cast<size_t>(n);
  try {
    rotations(kSinglePi / (n / 2), points, cosines, sines);
    rotations(kSinglePi / n, points / 2 + 1, halfcosines, halfsines);
    for (auto* pair : {workre, workim})
      for (int i = 0; i < 2; ++i) pair[i].assign(2 * points, 0.0);
  } catch (const std::bad_alloc&) {
    return false;
  }
  size = n;
  power = exponent;
  return true;
}

CFFT::Split CFFT::transform() {
  int from = 0;
  const auto n = static_cast<size_t>(size);
  for (size_t stride = 1; stride < n; stride *= 4, from = 1 - from) {
    const double* xr = workre[from].data();
    const double* xi = workim[from].data();
    double* yr = workre[1 - from].data();
    double* yi = workim[1 - from].data();
    const size_t quarter = n / 4;
    for (size_t p = 0; p < quarter / stride; ++p) {
      const size_t t = p * stride;
      for (size_t q = 0; q < stride; ++q) {
        const size_t i = q + t;
        const double apr = xr[i] + xr[i + 2 * quarter], api = xi[i] + xi[i + 2 * quarter];
        const double amr = xr[i] - xr[i + 2 * quarter], ami = xi[i] - xi[i + 2 * quarter];
        const double bpr = xr[i + quarter] + xr[i + 3 * quarter], bpi = xi[i + quarter] + xi[i + 3 * quarter];
        const double bmr = xr[i + quarter] - xr[i + 3 * quarter], bmi = xi[i + quarter] - xi[i + 3 * quarter];
        const size_t o = q + 4 * t;
        yr[o] = apr + bpr;
        yi[o] = api + bpi;
        const auto put = [&](size_t at, double re, double im, size_t turn) {
          yr[at] = re * cosines[turn] - im * sines[turn];
          yi[at] = re * sines[turn] + im * cosines[turn];
        };
        put(o + stride, amr + bmi, ami - bmr, t);
        put(o + 2 * stride, apr - bpr, api - bpi, 2 * t);
        put(o + 3 * stride, amr - bmi, ami + bmr, 3 * t);
      }
    }
  }
  return {workre[from].data(), workim[from].data()};
}

void CFFT::realpower(const double* in, double* out) {
  const auto n = static_cast<size_t>(size);
  for (size_t i = 0; i < n; ++i) {
    workre[0][i] = in[2 * i];
    workim[0][i] = in[2 * i + 1];
  }
  const Split z = transform();
  for (size_t k = 1; k < n / 2; ++k) {
    const size_t m = n - k;
    // The spectra of the even and of the odd samples, the latter turned.
    const double er = (z.re[k] + z.re[m]) * kUnpack, ei = (z.im[k] - z.im[m]) * kUnpack;
    const double dr = (z.im[k] + z.im[m]) * kUnpack, di = (z.re[m] - z.re[k]) * kUnpack;
    const double tr = dr * halfcosines[k] - di * halfsines[k];
    const double ti = dr * halfsines[k] + di * halfcosines[k];
    out[k] = (er + tr) * (er + tr) + (ei + ti) * (ei + ti);
    out[m] = (er - tr) * (er - tr) + (ei - ti) * (ei - ti);
  }
  const double first = (z.re[0] + z.im[0]) * kUnpackEnds;
  const double re = z.re[n / 2] * kUnpackEnds;
  const double im = z.im[n / 2] * kUnpackEnds;
  out[0] = first * first;
  out[n / 2] = re * re + im * im;
}

void CFFT::complexpower(double* re, double* im, double* out) {
  const auto n = static_cast<size_t>(size);
  for (size_t i = 0; i < n; ++i) {
    workre[0][i] = re[i];
    workim[0][i] = im[i];
  }
  const Split z = transform();
  for (size_t i = 0; i < n; ++i) {
    re[i] = z.re[i];
    im[i] = z.im[i];
    out[i] = re[i] * re[i] + im[i] * im[i];
  }
}

}  // namespace tarnvisor
