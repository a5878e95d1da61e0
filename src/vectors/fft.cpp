#include "vectors/fft.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <new>

#include "fftpasses.h"

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
    rotations(kSinglePi / (0.5 * n), points, cosines, sines);
    rotations(kSinglePi / n, points / 2 + 1, halfcosines, halfsines);
    for (const auto* table : {&cosines, &sines})
      for (size_t times = 1; times <= 3; ++times)
        for (size_t p = 0; p < points / 4; ++p) firstTurns.push_back((*table)[times * p]);
    for (auto* pair : {workre, workim})
      for (int i = 0; i < 2; ++i) pair[i].assign(2 * points, 0.0);
  } catch (const std::bad_alloc&) {
    return false;
  }
  size = n;
  power = exponent;
  return true;
}

// Four points are too few for the vectors: by the definition.
SplitArrays CFFT::transformFour(const double* pairs) {
  if (pairs) {
    for (size_t i = 0; i < 4; ++i) {
      workre[0][i] = pairs[2 * i];
      workim[0][i] = pairs[2 * i + 1];
    }
  }
  for (size_t k = 0; k < 4; ++k) {
    double re = 0;
    double im = 0;
    for (size_t i = 0; i < 4; ++i) {
      const size_t turn = i * k % 4;
      re += workre[0][i] * cosines[turn] - workim[0][i] * sines[turn];
      im += workre[0][i] * sines[turn] + workim[0][i] * cosines[turn];
    }
    workre[1][k] = re;
    workim[1][k] = im;
  }
  return {workre[1].data(), workim[1].data()};
}

SplitArrays CFFT::transform(const double* pairs) {
  if (size == 4) return transformFour(pairs);
  return fftLoops().transform(pairs, {workre[0].data(), workim[0].data()},
                              {workre[1].data(), workim[1].data()}, static_cast<size_t>(size), tables());
}

FftTables CFFT::tables() const {
  return {cosines.data(), sines.data(), firstTurns.data(), halfcosines.data(), halfsines.data()};
}

void CFFT::realpower(const double* in, double* out) {
  const auto n = static_cast<size_t>(size);
  const SplitArrays z = transform(in);
  if (n > 4) {
    fftLoops().unpackPower(z, n, tables(), kUnpack, out);
  } else if (n == 4) {
    const double evenRe = (z.re[1] + z.re[3]) * kUnpack, evenIm = (z.im[1] - z.im[3]) * kUnpack;
    const double oddRe = (z.im[1] + z.im[3]) * kUnpack, oddIm = (z.re[3] - z.re[1]) * kUnpack;
    const double re = oddRe * halfcosines[1] - oddIm * halfsines[1];
    const double im = oddRe * halfsines[1] + oddIm * halfcosines[1];
    out[1] = (evenRe + re) * (evenRe + re) + (evenIm + im) * (evenIm + im);
    out[3] = (evenRe - re) * (evenRe - re) + (evenIm - im) * (evenIm - im);
  }
  const double first = (z.re[0] + z.im[0]) * kUnpackEnds;
  const double re = z.re[n / 2] * kUnpackEnds;
  const double im = z.im[n / 2] * kUnpackEnds;
  out[0] = first * first;
  out[n / 2] = re * re + im * im;
}

void CFFT::complexpower(double* re, double* im, double* out) {
  const auto n = static_cast<size_t>(size);
  std::copy_n(re, n, workre[0].begin());
  std::copy_n(im, n, workim[0].begin());
  const SplitArrays z = transform(nullptr);
  for (size_t i = 0; i < n; ++i) {
    re[i] = z.re[i];
    im[i] = z.im[i];
    out[i] = re[i] * re[i] + im[i] * im[i];
  }
}

}  // namespace tarnvisor
