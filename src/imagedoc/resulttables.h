// The tables of results that stills yield.
#pragma once

#include "results/resultformat.h"

namespace tarnvisor {

extern const ResultTable kImageResults;
extern const ResultTable kVoronoiResults;
extern const ResultTable kDiameterResults;
extern const ResultTable kNailfoldResults;
extern const ResultTable kLoopResults;
extern const ResultTable kLoopMeasureResults;

}  // namespace tarnvisor
