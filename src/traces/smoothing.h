// The exponential filter of all simple smoothing, in place.
#pragma once

#include "traces/artifact.h"
#include "traces/traceselection.h"

namespace tarnvisor {

// 1 - exp(-period / seconds); 1, which changes nothing, for a time constant of 0 or below, and for no number.
double smoothingAlpha(double period, double seconds);

// Rows: each item against that of the row before, from the first selected row on, which takes the row before
// the selection (for index 0 the last row of the vector). A plain trace keeps its first selected sample; each
// later one passes the artifact check first, where `artifacts` is given.
void smooth(ZZTrace& trace, Selection selection, double alpha, const ArtifactSettings* artifacts = nullptr);

}  // namespace tarnvisor
