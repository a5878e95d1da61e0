// Pulsatility and resistance of the blood flow in a velocity trace: from the peaks and troughs of each beat.
#pragma once

#include <cstdint>

#include "traces/traceselection.h"

namespace tarnvisor {

enum class PulseIndex {
  Pulsatility,  // (systolic - diastolic) / mean
  Resistance    // (systolic - diastolic) / systolic
};

inline constexpr int32_t kDefaultHalfWindow = 10;

// All of the active trace's size, ring and clock; outside the selection their samples are 0. Everything is
// computed of shown values.
struct PulseTraces {
  // "systolic peak"; uint16, as are the next two, in the active trace's units, and in its scale where that
  // holds its values in two bytes
  ZZTrace::Own systolic;
  ZZTrace::Own diastolic;  // "diastolic min"
  ZZTrace::Own mean;       // "mean"; null for resistance
  ZZTrace::Own index;      // int32, a thousandth a step
};

// All null when there is no memory, or the active trace has no plain samples. Peaks and troughs are sought
// where the whole window of 2 * halfwindow + 1 samples lies within the selection.
PulseTraces pulseIndex(const ZZTrace& active, Selection selection, PulseIndex kind,
                       int32_t halfwindow = kDefaultHalfWindow);

}  // namespace tarnvisor
