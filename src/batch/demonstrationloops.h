// The demonstration's wide-field stills in colour, on whose distal row loops are counted a millimetre.
#pragma once

#include <string>
#include <vector>

#include "base/outcome.h"

namespace tarnvisor {

inline constexpr double kWideFieldPixel = 2.61;  // micrometres

struct KnownRow {
  std::string file;
  double perMm = 0;  // of what was drawn
  std::string about;
};

// Draws them into this folder, and their truth beside it.
Outcome saveDemonstrationLoops(const std::string& folder, const std::string& truthFile);
// None of a demonstration from before there were such stills.
std::vector<KnownRow> readLoopTruth(const std::string& truthFile);

}  // namespace tarnvisor
