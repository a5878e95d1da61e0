// The tables of results that videos yield.
#pragma once

#include "results/resultformat.h"

namespace tarnvisor {

extern const ResultTable kFlowResults;
extern const ResultTable kCapillaryResults;
extern const ResultTable kLinescanResults;

}  // namespace tarnvisor
