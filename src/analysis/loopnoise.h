// How much of the colour about the row is none of blood's: where compression or a dim picture spoils it, red
// and dark places part, and faint marks come and go.
#pragma once

#include "analysis/looprow.h"

namespace tarnvisor {

// What redness strays from what darkness foretells, of the size of loops and about the row that is seen: its
// standard deviation, in the frame's units as a score is. 0 where nothing can be seen.
double colourNoise(const LoopFrame& frame, const LoopRow& row);

}  // namespace tarnvisor
