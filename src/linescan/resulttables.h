// The tables of results that linescans yield.
#pragma once

#include "results/resultformat.h"

namespace tarnvisor {

extern const ResultTable kCapillaryResults;
extern const ResultTable kLinescanResults;

}  // namespace tarnvisor
