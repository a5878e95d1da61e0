// The results of a study as one table for statistics programs: a row a measure, or a row an exam.
// docs/formats/study-csv.md tells the columns.
#pragma once

#include <string>

#include "base/outcome.h"
#include "results/measures.h"

namespace tarnvisor {

// Tables that can't be read, and results that are nowhere, come in `missing` as lines for the user.
[[nodiscard]] Outcome exportStudy(const std::string& path, const StudyWish& wish, std::string& missing);
// The command: asks for what goes into it, and for the place.
void exportStudyCommand();

}  // namespace tarnvisor
