// The passes of CFFT, on the processor's widest vectors of up to four numbers. All arrays hold n items; n is
// a power of four from 16.
#pragma once

#include <cstddef>

namespace tarnvisor {

struct SplitArrays {
  double* re;
  double* im;
};

struct FftTables {
  const double* cosines;  // of minus 2 pi i / n
  const double* sines;
  // The turns of the first pass side by side: cosines, then sines of p, 2p and 3p for p below n / 4.
  const double* firstTurns;
  const double* halfcosines;  // of minus pi i / n, up to n / 2
  const double* halfsines;
};

struct FftLoops {
  // From n pairs of numbers, an even and an odd sample each, or from the split arrays `from` where pairs is
  // null; returns which of the two arrays has the result. The arrays in `from` are overwritten.
  SplitArrays (*transform)(const double* pairs, SplitArrays from, SplitArrays to, size_t n,
                           const FftTables& tables);
  // Bins 1 to n - 1, but for n / 2, of the power spectrum of 2n real samples. out may be any array.
  void (*unpackPower)(SplitArrays bins, size_t n, const FftTables& tables, double factor, double* out);
};

const FftLoops& fftLoops();

}  // namespace tarnvisor
