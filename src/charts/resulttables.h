// The table of results that charts yield.
#pragma once

#include "results/resultformat.h"

namespace tarnvisor {

extern const ResultTable kChartResults;

}  // namespace tarnvisor
