// Commands that change the rows of a two-dimensional trace, in place over a selection unless told.
#pragma once

#include <memory>

#include "traces/cbv.h"
#include "traces/traceselection.h"

namespace tarnvisor {

// Items at or below the mean of their row become 0; a plain trace is one block of the selection's length.
void cutToAverage(ZZTrace& trace, Selection selection);
// pedestalcut at minThreshold, row by row.
void cutPedestal(ZZTrace& trace, Selection selection, const VelocitySettings& parameters);
// What lies above the velocity that the analysis finds in a row becomes 0.
void trimSpectrum(ZZTrace& trace, Selection selection, CbvAnalysis& analysis);
// spikecut at 3, row by row.
void cutPsdArtifacts(ZZTrace& trace, Selection selection);
// Each row becomes its table of half waves: the highest value of each run at or above zero is added, the
// lowest of each run below zero subtracted, at the index of the run's length in bins. The row's end ends the
// last run; a run as long as the row has no index, and is left out.
void dpsHistogram(ZZTrace& trace, Selection selection);

// The selection is smoothed with a time constant of 3 s, and stays so; then every row of the trace becomes
// 1000 * row / (the last selected row).
void normaliseToSelection(C2DTrace& trace, Selection selection);

// A C2DTrace of the same rows and half the width, each item the mean of two neighbours; null where the width
// is below 5, and when there is no memory.
std::unique_ptr<C2DTrace> halvedTrace(const C2DTrace& trace);

}  // namespace tarnvisor
