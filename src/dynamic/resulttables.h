// The tables of results that videos yield.
#pragma once

#include "results/resultformat.h"

namespace tarnvisor {

extern const ResultTable kFlowResults;

}  // namespace tarnvisor
