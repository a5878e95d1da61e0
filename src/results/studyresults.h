// The results of a study as one table for statistics programs: a row a measure, or a row an exam.
// docs/formats/study-csv.md tells the columns.
#pragma once

#include <string>
#include <vector>

#include "base/outcome.h"
#include "results/resultdoc.h"

namespace tarnvisor {

// Which tables go into it beside those that are open.
enum class StudyScope { OpenTables, SelectedSubject, AllSubjects };
// A row an exam: of all exams of the database that the scope takes in, also those without a result. Its
// columns are the quantities, of tables and of documents' result texts, each the mean of the exam.
enum class StudyLayout { Measures, Exams };
struct StudyWish {
  StudyScope scope = StudyScope::OpenTables;
  StudyLayout layout = StudyLayout::Measures;
  // With commas between them; empty for all. One is meant by its whole name, with or without its unit.
  std::string quantities = {};
};

// A number of a table, or of what a document's result says: those have no table.
struct StudyMeasure {
  std::string subject, exam, document, list, mark, quantity;
  std::string value;  // empty where nothing was measured
  std::string unit, table;
};
// Those of the tables, and of the subjects' documents what their results say. Fails where there is none.
[[nodiscard]] Outcome gatherStudy(const StudyWish& wish, std::vector<StudyMeasure>& measures,
                                  std::string& unread);
// What the open tables and the selected subject's documents tell.
std::vector<std::string> knownQuantities();

// Tables that can't be read, as lines for the user, come in `unread`.
[[nodiscard]] Outcome exportStudy(const std::string& path, const StudyWish& wish, std::string& unread);
// The command: asks for what goes into it, and for the place.
void exportStudyCommand();

// The unit of a measure by its column, of a table in these units; empty where it has none or nobody knows.
std::string unitOfMeasure(const CResultDoc& table, const std::string& title, const std::string& units);

}  // namespace tarnvisor
