// Whether limbs lead away from the nail below a tip: a loop has them, a speck of skin hasn't.
#pragma once

#include "analysis/looprow.h"

namespace tarnvisor {

// How much darker and redder the strip below the tip is than skin beside it, along the slant that shows it
// best, in the frame's units as a score is; 0 and above.
float limbContrast(const LoopFrame& frame, const LoopTip& tip);

}  // namespace tarnvisor
