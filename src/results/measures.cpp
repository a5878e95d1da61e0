#include "results/measures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <map>
#include <set>

#include "app/basicapp.h"
#include "base/checksum.h"
#include "base/csv.h"
#include "base/files.h"
#include "base/text.h"
#include "db/subjectdatabase.h"
#include "exams/examselection.h"
#include "exams/resultfigures.h"

namespace tarnvisor {

namespace {

bool isOneOf(std::string_view word, std::initializer_list<std::string_view> words) {
  return std::ranges::any_of(words, [&](std::string_view each) { return equalIgnoringCase(each, word); });
}

// --- a table as measures

// Columns that tell what was measured, not how much.
bool isKey(const std::string& title) {
  return isOneOf(title, {"filename", "units", "trace", "list", "line", "loop", "Subject ID", "Exam ID"});
}

std::string cellOf(const CResultDoc& table, size_t row, const char* title) {
  for (size_t place = 0; place < table.columns.size(); ++place)
    if (table.columnAt(place).title == title) return std::string(trimmed(table.cell(row, place)));
  return {};
}

bool hasColumn(const CResultDoc& table, const char* title) {
  return std::ranges::any_of(table.columns, [&](const auto& column) { return column->title == title; });
}

// The mean behind the lines of a video has no number, place or size of its own, and is no measure.
bool isMeanOfLines(const CResultDoc& table, size_t row) {
  if (!hasColumn(table, "av r") || !hasColumn(table, "line")) return false;
  return std::ranges::all_of(std::array{"line", "length", "diameter"}, [&](const char* title) {
    const std::string cell = cellOf(table, row, title);
    return !cell.empty() && std::strtod(cell.c_str(), nullptr) == 0;
  });
}

constexpr const char* kUsed = "% used";  // of a trace

// Measures of loops have no negative values: -1 stands where one can't be told. A trace without a single
// value that counts has zeros.
bool isUntold(const CResultDoc& table, size_t row, const StudyMeasure& measure) {
  if (isOneOf(measure.quantity, {"average", "max", "min", "Sum"}) && hasColumn(table, kUsed))
    return numberOf(cellOf(table, row, kUsed)) == 0.0;
  const bool isOfLoops = hasColumn(table, "loops") || hasColumn(table, "other limb");
  return isOfLoops && hasMean(measure.quantity) && !measure.value.empty() &&
         std::strtod(measure.value.c_str(), nullptr) == -1;
}

constexpr const char* kSaved = "saved table of ";

// A saved one is titled by its file.
std::string kindOf(const CResultDoc& table) {
  return table.pathName().empty() ? table.title() : format("%s%zu columns", kSaved, table.columns.size());
}

constexpr const char* kLeftOut = " can't be read and is left out\n";

struct StudyRows {
  const WantedQuantities& wanted;
  std::vector<StudyMeasure> measures = {};

  // all: whose the rows are that don't tell it themselves
  void add(const CResultDoc& table, const ResultOwner& all) {
    for (size_t row = 0; row < table.rowCount(); ++row)
      if (!isMeanOfLines(table, row)) addRow(table, row, all);
  }

 private:
  void addRow(const CResultDoc& table, size_t row, const ResultOwner& all) {
    const bool tells = table.tellsOwners();
    const std::string number = cellOf(table, row, "line");
    const std::string line = number.empty() ? cellOf(table, row, "loop") : number,
                      trace = cellOf(table, row, "trace");
    const std::string units = cellOf(table, row, "units");
    StudyMeasure measure{.subject = tells ? cellOf(table, row, "Subject ID") : all.subject,
                         .exam = tells ? cellOf(table, row, "Exam ID") : examLabel(all),
                         .document = cellOf(table, row, "filename"),
                         .list = cellOf(table, row, "list"),
                         .mark = trace.empty()  ? line
                                 : line.empty() ? trace
                                                : trace + " " + line,
                         .table = table.title(),
                         .kind = kindOf(table)};
    for (size_t place = 0; place < table.columns.size(); ++place) {
      measure.quantity = table.columnAt(place).title;
      measure.unit = unitOfMeasure(table, measure.quantity, units);
      if (isKey(measure.quantity) || !wanted.has(measure.quantity, measure.unit)) continue;
      measure.value = std::string(trimmed(table.shownCell(row, place)));
      if (isUntold(table, row, measure)) measure.value.clear();
      measures.push_back(measure);
    }
  }
};

// --- tables that are stored

bool isOpen(const std::string& path) {
  return std::ranges::any_of(theApp().documents.documents(), [&](const CDocument* open) {
    return !open->pathName().empty() && sameFile(open->pathName(), path);
  });
}

// One that is read without a window, and without a word where it can't be.
class StoredTable final : public CResultDoc {
 public:
  [[nodiscard]] bool load(const std::string& path) {
    setPathName(path);
    return loadFrom(path);
  }
  void report(const std::string&) override {}
};

void addStored(StudyRows& rows, const SubjectDatabase& db, const std::string& subject, std::string& missing) {
  for (const ExamRow& exam : db.examsOf(subject))
    for (const ResultRow& result : db.resultsOf(exam.id)) {
      if (!equalIgnoringCase(extensionOf(result.filename), "rst")) continue;
      const std::string path = withSeparator(theApp().dataFolder + exam.folder) + fileNameOf(result.filename);
      if (isOpen(path)) continue;
      StoredTable table;
      if (!table.load(path)) {
        missing += path + kLeftOut;
        continue;
      }
      table.setTitle(withoutExtension(fileNameOf(path)));
      const bool isBound = table.examIdOfDoc >= 0;
      rows.add(table, isBound ? ResultOwner{table.patientId, table.examIdOfDoc, table.examFolder(),
                                            table.isFromElsewhere()}
                              : ResultOwner{subject, exam.id, exam.folder});
    }
}

// Which documents of a merged study are no longer what was measured. By their bytes: a copy may have any
// time.
class Corrected {
 public:
  Corrected() {
    const auto text = readWholeText(theApp().dataFolder + kMergedFile);
    std::vector<CsvRow> rows;
    if (!text || !readCsv(*text, rows) || rows.empty() || rows[0].cells != mergedHeading()) return;
    for (const CsvRow& row : rows)
      if (row.cells.size() == mergedHeading().size())
        sums[row.cells[0] + kSeparator + row.cells[1]] = row.cells[2];
  }
  bool has(const std::string& document) {
    const auto [known, isNew] = asked.try_emplace(document, false);
    if (!isNew) return known->second;
    const auto sum = sums.find(document);
    const auto text = sum == sums.end() ? std::nullopt : readWholeText(theApp().dataFolder + document);
    return known->second = text && sha256(*text) != sum->second;
  }

 private:
  std::map<std::string, std::string> sums;  // by the place below the data folder
  std::map<std::string, bool> asked;
};

// Those of the exams of a merged study that no exam saved: they stand nowhere else. What they tell of a
// document that was corrected since is no longer so.
void addMerged(StudyRows& rows, const std::vector<std::string>& subjects, std::string& missing) {
  const std::string path = theApp().dataFolder + kMeasuresFile;
  const auto text = subjects.empty() || !fileExists(path) ? std::nullopt : readWholeText(path);
  if (!text) return;
  const std::set<std::string> wanted(subjects.begin(), subjects.end());
  Corrected corrected;
  CsvReader reader(*text);
  CsvRow row;
  if (!reader.next(row) || row.cells != measuresHeading()) return;  // it is no study's
  while (reader.next(row)) {
    const std::vector<std::string>& c = row.cells;
    if (c.size() != measuresHeading().size()) break;
    if (c[10].empty() || c[10].starts_with(kSaved) || !wanted.contains(c[1]) ||
        !rows.wanted.has(c[6], c[8]) || corrected.has(c[0] + kSeparator + c[3]))
      continue;
    rows.measures.push_back({c[1], c[2], c[3], c[4], c[5], c[6], c[7], c[8], c[10], c[10]});
  }
  if (!reader.problem().empty() || row.cells.size() != measuresHeading().size()) missing += path + kLeftOut;
}

void addOpenTables(StudyRows& rows) {
  for (const CDocument* document : theApp().documents.documents())
    if (const auto* table = dynamic_cast<const CResultDoc*>(document)) rows.add(*table, table->ownerOfAll());
}

void addDocuments(StudyRows& rows, const SubjectDatabase& db, const std::string& subject) {
  for (const ExamRow& exam : db.examsOf(subject))
    for (const ResultRow& result : db.resultsOf(exam.id))
      for (const ResultFigure& figure : figuresOf(exam, result))
        if (rows.wanted.has(figure.quantity, figure.unit))
          rows.measures.push_back({.subject = subject,
                                   .exam = format("%i", exam.id),
                                   .document = result.filename,
                                   .quantity = figure.quantity,
                                   .value = format("%.9g", figure.value),
                                   .unit = figure.unit});
}

}  // namespace

const std::vector<std::string>& measuresHeading() {
  static const std::vector<std::string> names{"key",      "subject", "exam", "document", "list", "mark",
                                              "quantity", "value",   "unit", "quality",  "table"};
  return names;
}

const std::vector<std::string>& mergedHeading() {
  static const std::vector<std::string> names{"key", "document", "sha256"};
  return names;
}

size_t MeasureColumns::place(const std::string& quantity, const std::string& kind) {
  const auto [known, isNew] = places.try_emplace({quantity, kind}, columns.size());
  if (isNew) columns.emplace_back(quantity, kind);
  return known->second;
}

std::vector<std::string> MeasureColumns::names(const std::vector<std::string>& taken) const {
  std::map<std::string, int> alike;
  for (const std::string& name : taken) ++alike[name];
  for (const auto& [quantity, kind] : columns) ++alike[quantity];
  std::vector<std::string> all;
  for (const auto& [quantity, kind] : columns)
    all.push_back(alike[quantity] == 1 ? quantity : quantity + ", " + (kind.empty() ? "documents" : kind));
  return all;
}

void MeasureMeans::add(size_t place, double value) {
  auto& [sum, count] = sums[place];
  sum += value;
  ++count;
}

std::string MeasureMeans::cell(size_t place) const {
  const auto found = sums.find(place);
  return found == sums.end() ? "" : format("%.9g", found->second.first / found->second.second);
}

std::optional<double> numberOf(const std::string& text) {
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  return text.empty() || *end != '\0' || !std::isfinite(value) ? std::nullopt : std::optional(value);
}

std::string columnKind(const std::string& kind, const std::string& mark) {
  return kind == "Chart Results" && !mark.empty() ? kind + ", " + mark : kind;
}

bool hasMean(const std::string& quantity) { return quantity != "x" && quantity != "y"; }

WantedQuantities::WantedQuantities(const std::string& listed) {
  for (const std::string& name : split(listed, ','))
    if (!trimmed(name).empty()) names.emplace_back(trimmed(name));
}

bool WantedQuantities::has(const std::string& quantity, const std::string& unit) const {
  bool isAmong = names.empty();
  for (const std::string& name : names)
    if (isSameName(name, quantity) || isSameName(name, withUnit(quantity, unit))) {
      isAmong = true;
      found.insert(name);
    }
  return isAmong;
}

std::string WantedQuantities::neverSeen() const {
  std::string words;
  for (const std::string& name : names)
    if (!found.contains(name)) words += "no result is called \"" + name + "\"\n";
  return words;
}

std::string withUnit(const std::string& quantity, const std::string& unit) {
  const std::string ending = " (" + unit + ")";
  return unit.empty() || quantity.ends_with(ending) ? quantity : quantity + ending;
}

Outcome subjectsOf(StudyScope scope, std::vector<std::string>& subjects) {
  if (scope == StudyScope::OpenTables) return Outcome::success();
  const SubjectDatabase* db = theApp().db.get();
  if (!db) return Outcome::failure("There is no database with stored tables.");
  const std::string selected = theExams().subjectId();
  if (scope == StudyScope::SelectedSubject && selected.empty())
    return Outcome::failure("No subject is selected.");
  subjects = scope == StudyScope::AllSubjects ? db->allSubjects() : std::vector<std::string>{selected};
  return Outcome::success();
}

std::string unitOfMeasure(const CResultDoc& table, const std::string& title, const std::string& units) {
  if (isOneOf(title, {"density (%)", "FCD (%)", "%good", "% used"})) return "%";
  if (isOneOf(title, {"Av. Level", "min", "max"})) return hasColumn(table, "Av. Level") ? "level" : "";
  if (isOneOf(title, {"start", "end"})) return "s";
  const bool isOfLoop = hasColumn(table, "other limb");  // always told in micrometres
  if (isOfLoop && isOneOf(title, {"apex width", "limb width", "other limb", "length", "to next"}))
    return "um";
  if (units.empty()) return {};
  if (isOneOf(title, {"ROI w", "ROI h", "total L", "Av. L", "width", "height", "apex width", "loop width",
                      "left width", "right width", "Av NN", "Av Krogh", "length", "diameter"}))
    return units;
  if (isOneOf(title, {"ROI area", "total Area", "Av. Area", "Av Area", "area"})) return units + "^2";
  if (title == "velocity") return units + "/s";
  if (title == "flow") return units + "^3/s";
  // Per a thousand units of length, or a million of area.
  const std::string thousand = units == "um" ? "mm" : "(1000 " + units + ")";
  const bool isOfRow = hasColumn(table, "apex width");
  if (title == "Linear density" || (title == "density" && isOfRow)) return "1/" + thousand;
  if (isOneOf(title, {"Count density", "Dim count density", "density"})) return "1/" + thousand + "^2";
  return {};
}

std::vector<StudyMeasure> measuresOfTables(const std::vector<std::string>& subjects,
                                           const WantedQuantities& wanted, std::string& missing) {
  StudyRows rows{.wanted = wanted};
  addOpenTables(rows);
  for (const std::string& subject : subjects) addStored(rows, *theApp().db, subject, missing);
  addMerged(rows, subjects, missing);
  return std::move(rows.measures);
}

Outcome gatherStudy(const StudyWish& wish, std::vector<StudyMeasure>& measures, std::string& missing) {
  std::vector<std::string> subjects;
  if (Outcome found = subjectsOf(wish.scope, subjects); !found) return found;
  const WantedQuantities wanted(wish.quantities);
  measures = measuresOfTables(subjects, wanted, missing);
  StudyRows documents{.wanted = wanted};
  for (const std::string& subject : subjects) addDocuments(documents, *theApp().db, subject);
  std::ranges::move(documents.measures, std::back_inserter(measures));
  missing += wanted.neverSeen();
  return measures.empty() ? Outcome::failure("There are no results.") : Outcome::success();
}

std::vector<std::string> knownQuantities() {
  const WantedQuantities all("");
  StudyRows rows{.wanted = all};
  for (const CDocument* document : theApp().documents.documents())
    if (const auto* table = dynamic_cast<const CResultDoc*>(document)) rows.add(*table, {});
  std::set<std::string> names;
  for (const StudyMeasure& measure : rows.measures) names.insert(measure.quantity);
  for (const Course& course : coursesOf(theExams().subjectId())) names.insert(course.quantity);
  return {names.begin(), names.end()};
}

}  // namespace tarnvisor
