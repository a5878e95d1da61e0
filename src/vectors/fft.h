// CFFT: the system's own Fourier transform, of 4, 16, 64, 256, 1024 or 4096 complex points, radix 4 with
// automatic sorting (Stockham), forward and unscaled: a bin is the sum of x[i] * exp(-2 pi i k / size).
// Memory is taken once, at set-up. Angles come from a single-precision pi, which leaves them right to about
// 2e-7.
#pragma once

#include <cstdint>
#include <vector>

namespace tarnvisor {

struct SplitArrays;
struct FftTables;

class CFFT {
 public:
  int32_t size = 0;                    // complex points; 0: not set up
  int32_t power = 0;                   // size is 4 to this power
  std::vector<double> cosines, sines;  // of minus 2 pi i / size

  // The exponent of a power of four; -1 below 4, -2 for no power of four, -3 above 4096.
  static int32_t exponentOf(int32_t n);
  // Once only; false for a size that can't be, and, after a line on the standard error stream, the second
  // time. Throws nothing.
  bool setup(int32_t n);

  // The power spectrum of 2 * size real samples: bins 0 to size - 1 of re^2 + im^2, where the spectrum is
  // scaled by the square root of a half. A sine of amplitude A at a bin's middle gives (A * size)^2 / 2, a
  // constant A the value 2 * (A * size)^2. The bin at half the sampling rate is not given. in and out may be
  // the same.
  void realpower(const double* in, double* out);
  // The transform of both arrays in place, and re^2 + im^2 of each bin.
  void complexpower(double* re, double* im, double* out);

 private:
  SplitArrays transform(const double* pairs);  // of the first work pair where pairs is null
  SplitArrays transformFour(const double* pairs);
  FftTables tables() const;

  std::vector<double> workre[2], workim[2];    // 2 * size each: in and out of a pass
  std::vector<double> halfcosines, halfsines;  // of minus pi i / size, to unpack a real spectrum
  std::vector<double> firstTurns;
};

}  // namespace tarnvisor
