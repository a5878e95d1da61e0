// The distal row of capillary loops in a colour still of a nailfold: where each loop's apex lies, the row's
// curve, loops a millimetre. Measurements, no diagnosis. No part of it was trained; it knows what blood does
// to colours, and on which side of a loop lighter skin lies.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "analysis/loopcount.h"
#include "image/zzimage.h"

namespace tarnvisor {

enum class LoopVerdict { Good, Low, Refused };
const char* nameOf(LoopVerdict verdict);

// Micrometres; -1 is what can't be told.
struct NailfoldLoop {
  LoopPoint apex;    // image pixels; a pixel's centre is a whole number
  double score = 0;  // contrast of its three sides, in units of the still's own
  bool clear = false;
  bool giant = false;
  double apexWidth = -1;  // over the outer edges
  double limbWidths[2] = {-1, -1};
  double length = -1;      // as far as it can be followed
  double tortuosity = -1;  // of the way to its chord
  double neighbour = -1;   // to the nearest other apex of the row
};

struct NailfoldLoops {
  LoopVerdict verdict = LoopVerdict::Refused;
  std::vector<std::string> reasons;  // why it is not good
  // Nothing of the following is told when it is refused.
  LoopPoint distal;                 // a step of length 1 towards the nail
  std::vector<LoopPoint> row;       // what of the curve can be seen
  double rowLength = -1;            // millimetres
  std::vector<NailfoldLoop> loops;  // along the row
  std::vector<AvascularStretch> avascular;
  double perMm = -1, perMmError = -1;  // the error is that of counting
  double centralPerMm = -1;            // over the millimetre of the row about `centre`
  LoopPoint centre;
  size_t clearLoops() const;
};

struct LoopRequest {
  double pixelSize = 0;             // micrometres; 0 is unknown
  std::optional<LoopPoint> distal;  // set by hand: towards the nail
};

NailfoldLoops findLoops(const CZZimage& image, const LoopRequest& request);
// Loops a millimetre over the millimetre of the row about the place of it that is nearest to `centre`; -1
// for a row that is shorter.
double loopsAbout(LoopPoint centre, const NailfoldLoops& found, double pixelSize);

}  // namespace tarnvisor
