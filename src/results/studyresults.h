// The results of a study as one table for statistics programs: a row a measure. docs/formats/study-csv.md
// tells the columns.
#pragma once

#include <string>

#include "base/outcome.h"
#include "results/resultdoc.h"

namespace tarnvisor {

// Which tables go into it beside those that are open.
enum class StudyScope { OpenTables, SelectedSubject, AllSubjects };

// Tables that can't be read, as lines for the user, come in `unread`.
[[nodiscard]] Outcome exportStudy(const std::string& path, StudyScope scope, std::string& unread);
// The command: asks for scope and place.
void exportStudyCommand();

// The unit of a measure by its column, of a table in these units; empty where it has none or nobody knows.
std::string unitOfMeasure(const CResultDoc& table, const std::string& title, const std::string& units);
// Of what the profile tells of measuring: windows, folders and files used last don't count.
std::string settingsFingerprint();

}  // namespace tarnvisor
