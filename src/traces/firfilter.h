// Finite impulse response filters, from a file or built in.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "base/outcome.h"
#include "traces/traceselection.h"

namespace tarnvisor {

inline constexpr size_t kMostTaps = 201;

// Tap i stands at the offset i - count / 2.
struct FirFilter {
  std::vector<double> taps;
  uint32_t before() const { return static_cast<uint32_t>(taps.size() / 2); }  // items that it looks back
  uint32_t ahead() const { return static_cast<uint32_t>((taps.size() - 1) / 2); }
};

// White-space-separated decimal numbers; what follows the 201st is not looked at. The filter is unchanged
// after a failure: no such file, no number at all, or something else between the numbers.
Outcome readFirFile(const std::string& path, FirFilter& filter);

// y[k] = sum of taps[i] * x[k + offset(i)] over the selection; the source may be the destination, otherwise
// both are of one shape, or nothing happens. The first outputs, as many as the filter looks back, repeat the
// input. A plain trace is read ahead beyond the selection, round the ring. Rows are filtered each by itself,
// along their columns: there the last columns, as many as the filter looks ahead, repeat the input too, since
// the two ends of a spectrum have nothing to do with each other.
void applyFir(const FirFilter& filter, const ZZTrace& source, ZZTrace& destination, Selection selection);

// The arterial pulse taken out: 21 taps, three times over, along time. Of rows each bin is filtered by
// itself.
const FirFilter& pulseFilter();
void removePulse(ZZTrace& trace, Selection selection);

}  // namespace tarnvisor
