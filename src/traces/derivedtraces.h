// Traces that are made from a whole trace.
#pragma once

#include <memory>

#include "traces/traceselection.h"

namespace tarnvisor {

// "dy/dx of ..." in double items, by the vector's smoothed difference along time; nothing is divided by the
// period. A scale stays, an offset doesn't. Null for a trace of rows, for one without samples, and without
// memory.
ZZTrace::Own derivativeTrace(const ZZTrace& trace);

// "Calculated PSD": one spectrum of 256 bins for each 512 samples, from the ring's origin on, under a
// rectangular window. item * ygain is a thousandth of CFFT::realpower of the shown samples; where a power
// doesn't fit its 16 bits, or the strongest would hardly fill any of them, all are scaled to fit, and ygain
// takes the scale. Null without plain samples or memory; no rows for a trace
// of fewer than 512 samples.
inline constexpr uint32_t kPsdSamples = 512;
struct PsdView {  // of the window that shows the source
  double pixelperiod = 1.0;
  double displaymax = 1.0;
};
std::unique_ptr<C2DTrace> calculatedPsd(const ZZTrace& source, const PsdView& view);

// The chain from a linescan to velocity: "real", the scan's rows against one cosine; rows of 64 bins, a
// spectrum that starts at each sample of it; "cbv", the centroids. All of the selection's length. Members are
// null from the first that there is no memory for; spectra and centroids stay zero below 128 samples.
struct ComplexSpectrum {
  ZZTrace::Own real;
  std::unique_ptr<C2DTrace> spectrum;
  ZZTrace::Own cbv;
};
ComplexSpectrum complexSpectrum(const C2DTrace& scan, Selection selection);

}  // namespace tarnvisor
