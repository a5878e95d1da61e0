// What a loop measures, from its apex on: in the turned frame of the finder.
#pragma once

#include "analysis/looprow.h"
#include "analysis/loops.h"

namespace tarnvisor {

struct MeasuredLoop {
  NailfoldLoop loop;     // its measures alone
  double sharpness = 0;  // the steepest step across its limbs for 4 micrometres, of their contrast
};
MeasuredLoop measureLoop(const LoopFrame& frame, const LoopTip& tip);

}  // namespace tarnvisor
