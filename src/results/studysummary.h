// How the results of a study are distributed: of each quantity its numbers, a histogram, what lies beyond the
// fences and who it is, and the sites beside each other. As PDF, or as one picture of all pages.
#pragma once

#include <string>

#include "base/outcome.h"
#include "results/studyresults.h"

namespace tarnvisor {

// The scope and quantities of the wish count. What `missing` tells (see gatherStudy) stands in it.
[[nodiscard]] Outcome writeStudySummary(const std::string& path, const StudyWish& wish, std::string& missing);
// The command: asks for the place, and for what goes into it.
void studySummaryCommand();

}  // namespace tarnvisor
