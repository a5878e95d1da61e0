// Maxima of a signal, by golden section search.
#pragma once

#include <cstdint>
#include <vector>

#include "traces/traceselection.h"

namespace tarnvisor {

struct Maximum {
  uint32_t index = 0;        // into the vector
  double value = 0;          // as displayed
  uint32_t evaluations = 0;  // samples that the search looked at
};

// One maximum between each two neighbouring minima of the selection, whose ends count as minima; one at an
// end isn't reported. Between minima the signal has one peak, so a golden section search finds it; where two
// probes are level it can't tell the side, and walks what is left. Each is a line of the log. Empty for rows.
std::vector<Maximum> goldenSearchMaxima(const ZZTrace& trace, Selection selection);

}  // namespace tarnvisor
