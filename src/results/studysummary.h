// How the results of a study are distributed: of each quantity its numbers, a histogram, what lies beyond the
// fences and who it is, and the sites beside each other. As PDF, or as one picture of all pages.
#pragma once

#include <string>

#include "base/outcome.h"
#include "results/studyresults.h"

namespace tarnvisor {

// The scope and quantities of the wish count. Tables that can't be read stand in it and come in `unread`.
[[nodiscard]] Outcome writeStudySummary(const std::string& path, const StudyWish& wish, std::string& unread);
// The command: asks for the place, and for what goes into it.
void studySummaryCommand();

}  // namespace tarnvisor
