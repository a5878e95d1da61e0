// What tables and documents tell, as numbers that know whose they are and in what unit: what exports,
// summaries and studies are made of.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
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
  std::string kind = {};  // of the table: the same in all exams, also where each has a file of its own
};

// Of the table of measures that a merged study holds (docs/formats/study.md): its name, and its columns.
inline constexpr const char* kMeasuresFile = "measures.csv";
// Beside it, where documents were merged too: each as it was then.
inline constexpr const char* kMergedFile = "documents.csv";
const std::vector<std::string>& mergedHeading();  // "key", "document", "sha256"
const std::vector<std::string>& measuresHeading();

// Columns of quantities in the order in which they first come. What tables of different kinds, or the results
// of documents, call alike are quantities of their own.
class MeasureColumns {
 public:
  // Its place; it is added where it is new.
  size_t place(const std::string& quantity, const std::string& kind);
  // With the table's kind behind those that would be called alike, or as one of the taken names.
  std::vector<std::string> names(const std::vector<std::string>& taken) const;
  size_t count() const { return columns.size(); }

 private:
  using Column = std::pair<std::string, std::string>;
  std::map<Column, size_t> places;
  std::vector<Column> columns;
};

// Whose column a measure is in: its table's kind, of traces with their names, as each has a unit of its own.
std::string columnKind(const std::string& kind, const std::string& mark);

// A place in the picture has none.
bool hasMean(const std::string& quantity);

// Of an exam, by the columns' places.
class MeasureMeans {
 public:
  void add(size_t place, double value);
  std::string cell(size_t place) const;  // empty where nothing was measured

 private:
  std::map<size_t, std::pair<double, int>> sums;
};
// A whole text that is a finite number.
std::optional<double> numberOf(const std::string& text);

// Whether a quantity is among those that are asked for.
class WantedQuantities {
 public:
  explicit WantedQuantities(const std::string& listed);  // as in StudyWish
  bool has(const std::string& quantity, const std::string& unit) const;
  // Of those that were asked for, the ones that has() met nowhere, as lines for the user.
  std::string neverSeen() const;

 private:
  std::vector<std::string> names;
  mutable std::set<std::string> found;
};

// "width (um)"
std::string withUnit(const std::string& quantity, const std::string& unit);

// The subjects that a scope takes in beside the open tables: none of those alone.
[[nodiscard]] Outcome subjectsOf(StudyScope scope, std::vector<std::string>& subjects);
// Of the open tables, and of those that are stored for the subjects; where the data folder is a merged study,
// of the tables that its exams made as well. Tables that can't be read, and what was asked for and is
// nowhere, come in `missing` as lines for the user.
std::vector<StudyMeasure> measuresOfTables(const std::vector<std::string>& subjects,
                                           const WantedQuantities& wanted, std::string& missing);
// Those, and of the scope's documents what their results say. Fails where there is none.
[[nodiscard]] Outcome gatherStudy(const StudyWish& wish, std::vector<StudyMeasure>& measures,
                                  std::string& missing);
// What the open tables and the selected subject's documents tell.
std::vector<std::string> knownQuantities();

// The unit of a measure by its column, of a table in these units; empty where it has none or nobody knows.
std::string unitOfMeasure(const CResultDoc& table, const std::string& title, const std::string& units);

}  // namespace tarnvisor
