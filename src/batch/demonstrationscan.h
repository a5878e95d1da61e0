// The demonstration's linescan: a column of cells whose velocity is known.
#pragma once

#include <string>

#include "base/outcome.h"

namespace tarnvisor {

inline constexpr double kDemonstrationVelocity = 300;  // um/s

// A document of ten seconds, with its velocity calculated as the settings say.
Outcome saveDemonstrationScan(const std::string& path);

}  // namespace tarnvisor
