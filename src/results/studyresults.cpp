#include "results/studyresults.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>
#include <set>
#include <tuple>

#include "app/asked.h"
#include "app/basicapp.h"
#include "base/files.h"
#include "base/text.h"
#include "base/version.h"
#include "db/subjectdatabase.h"
#include "exams/examselection.h"
#include "exams/resultfigures.h"
#include "exams/subjectdirectory.h"
#include "host/host.h"
#include "settings/fingerprint.h"

namespace tarnvisor {

namespace {

constexpr const char* kHeading =
    "subject,exam,document,list,mark,quantity,value,unit,program version,settings,table\n";

bool isOneOf(std::string_view word, std::initializer_list<std::string_view> words) {
  return std::ranges::any_of(words, [&](std::string_view each) { return equalIgnoringCase(each, word); });
}

// --- a table as measures

// Columns that tell what was measured, not how much.
bool isKey(const std::string& title) {
  return isOneOf(title, {"filename", "units", "trace", "list", "line", "Subject ID", "Exam ID"});
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

using Measure = StudyMeasure;

// Measures of loops have no negative values: -1 stands where one can't be told.
bool isUntold(const CResultDoc& table, const Measure& measure) {
  const bool isOfLoops = hasColumn(table, "loops") || hasColumn(table, "other limb");
  const bool isPlace = measure.quantity == "x" || measure.quantity == "y";
  return isOfLoops && !isPlace && !measure.value.empty() && std::strtod(measure.value.c_str(), nullptr) == -1;
}

std::string withUnit(const std::string& quantity, const std::string& unit) {
  return unit.empty() ? quantity : quantity + " (" + unit + ")";
}

// Whether a quantity is among those that are asked for.
class WantedQuantities {
 public:
  explicit WantedQuantities(const std::string& listed) {
    for (const std::string& name : split(listed, ','))
      if (!trimmed(name).empty()) names.emplace_back(trimmed(name));
  }
  bool has(const std::string& quantity, const std::string& unit) const {
    return names.empty() || std::ranges::any_of(names, [&](const std::string& name) {
             return isSameName(name, quantity) || isSameName(name, withUnit(quantity, unit));
           });
  }

 private:
  std::vector<std::string> names;
};

struct StudyRows {
  WantedQuantities wanted;
  std::vector<Measure> measures;

  // all: whose the rows are that don't tell it themselves
  void add(const CResultDoc& table, const ResultOwner& all) {
    for (size_t row = 0; row < table.rowCount(); ++row)
      if (!isMeanOfLines(table, row)) addRow(table, row, all);
  }

 private:
  void addRow(const CResultDoc& table, size_t row, const ResultOwner& all) {
    const bool tells = table.tellsOwners();
    const std::string line = cellOf(table, row, "line"), trace = cellOf(table, row, "trace");
    const std::string units = cellOf(table, row, "units");
    Measure measure{.subject = tells ? cellOf(table, row, "Subject ID") : all.subject,
                    .exam = tells ? cellOf(table, row, "Exam ID") : examLabel(all),
                    .document = cellOf(table, row, "filename"),
                    .list = cellOf(table, row, "list"),
                    .mark = trace.empty()  ? line
                            : line.empty() ? trace
                                           : trace + " " + line,
                    .table = table.title()};
    for (size_t place = 0; place < table.columns.size(); ++place) {
      measure.quantity = table.columnAt(place).title;
      measure.unit = unitOfMeasure(table, measure.quantity, units);
      if (isKey(measure.quantity) || !wanted.has(measure.quantity, measure.unit)) continue;
      measure.value = std::string(trimmed(table.shownCell(row, place)));
      if (isUntold(table, measure)) measure.value.clear();
      measures.push_back(measure);
    }
  }
};

std::string rowsOfMeasures(const std::vector<Measure>& measures) {
  std::string text = kHeading;
  const std::string ending = "," + csvCell(versionText()) + "," + settingsFingerprint() + ",";
  for (const Measure& m : measures) {
    for (const std::string* cell :
         {&m.subject, &m.exam, &m.document, &m.list, &m.mark, &m.quantity, &m.value})
      text += csvCell(*cell) + ",";
    text += csvCell(m.unit) + ending + csvCell(m.table) + "\n";
  }
  return text;
}

// --- a row an exam

struct Mean {
  double sum = 0;
  int count = 0;
  void add(double value) {
    sum += value;
    ++count;
  }
};

struct StudyExam {
  std::string subject, exam;
  PersonRow person;
  std::string day, site, comment;
  size_t documents = 0;
  std::map<std::string, Mean> means;
};

class ExamTable {
 public:
  // All exams of a subject, with what its documents' results say.
  void addExams(const SubjectDatabase& db, const std::string& subject, const WantedQuantities& wanted) {
    const PersonRow person = db.person(subject);
    for (const ExamRow& exam : db.examsOf(subject)) {
      StudyExam& row = rowOf(subject, format("%i", exam.id));
      const std::vector<ResultRow> results = db.resultsOf(exam.id);
      row.person = person;
      std::tie(row.day, row.site, row.comment) = std::tuple(localDay(exam.created), exam.site, exam.comment);
      row.documents = results.size();
      for (const ResultRow& result : results)
        for (const ResultFigure& figure : figuresOf(exam, result))
          if (wanted.has(figure.quantity, figure.unit)) add(row, wordsOf(figure), figure.value);
    }
  }
  void add(const Measure& measure) {
    char* end = nullptr;
    const double value = std::strtod(measure.value.c_str(), &end);
    if (!measure.value.empty() && *end == '\0')
      add(rowOf(measure.subject, measure.exam), withUnit(measure.quantity, measure.unit), value);
  }
  bool isEmpty() const { return rows.empty(); }
  std::string text() const {
    std::string all = "subject,born,sex,exam,date,site,comment,documents";
    for (const std::string& quantity : quantities) all += "," + csvCell(quantity);
    all += "\n";
    for (const StudyExam& row : rows) {
      for (const std::string* cell :
           {&row.subject, &row.person.born, &row.person.sex, &row.exam, &row.day, &row.site, &row.comment})
        all += csvCell(*cell) + ",";
      all += format("%zu", row.documents);
      for (const std::string& quantity : quantities) {
        const auto mean = row.means.find(quantity);
        all += ",";
        if (mean != row.means.end()) all += format("%.6g", mean->second.sum / mean->second.count);
      }
      all += "\n";
    }
    return all;
  }

 private:
  StudyExam& rowOf(const std::string& subject, const std::string& exam) {
    const auto [place, isNew] = places.emplace(std::pair(subject, exam), rows.size());
    if (isNew) rows.push_back({.subject = subject, .exam = exam});
    return rows[place->second];
  }
  void add(StudyExam& row, const std::string& quantity, double value) {
    if (std::ranges::find(quantities, quantity) == quantities.end()) quantities.push_back(quantity);
    row.means[quantity].add(value);
  }
  std::vector<StudyExam> rows;
  std::map<std::pair<std::string, std::string>, size_t> places;
  std::vector<std::string> quantities;
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

void addStored(StudyRows& rows, const SubjectDatabase& db, const std::string& subject, std::string& unread) {
  for (const ExamRow& exam : db.examsOf(subject))
    for (const ResultRow& result : db.resultsOf(exam.id)) {
      if (!equalIgnoringCase(extensionOf(result.filename), "rst")) continue;
      const std::string path = withSeparator(theApp().dataFolder + exam.folder) + fileNameOf(result.filename);
      if (isOpen(path)) continue;
      StoredTable table;
      if (!table.load(path)) {
        unread += path + "\n";
        continue;
      }
      table.setTitle(withoutExtension(fileNameOf(path)));
      const bool isBound = table.examIdOfDoc >= 0;
      rows.add(table, isBound ? ResultOwner{table.patientId, table.examIdOfDoc, table.examFolder(),
                                            table.isFromElsewhere()}
                              : ResultOwner{subject, exam.id, exam.folder});
    }
}

void addOpenTables(StudyRows& rows) {
  for (const CDocument* document : theApp().documents.documents())
    if (const auto* table = dynamic_cast<const CResultDoc*>(document)) rows.add(*table, table->ownerOfAll());
}

// None where open tables are all that is wanted.
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

std::string unitOfMeasure(const CResultDoc& table, const std::string& title, const std::string& units) {
  if (isOneOf(title, {"density (%)", "FCD (%)", "%good", "% used"})) return "%";
  if (isOneOf(title, {"Av. Level", "min", "max"})) return hasColumn(table, "Av. Level") ? "level" : "";
  if (isOneOf(title, {"start", "end"})) return "s";
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

Outcome gatherStudy(const StudyWish& wish, std::vector<StudyMeasure>& measures, std::string& unread) {
  StudyRows rows{.wanted = WantedQuantities(wish.quantities), .measures = {}};
  addOpenTables(rows);
  std::vector<std::string> subjects;
  if (Outcome found = subjectsOf(wish.scope, subjects); !found) return found;
  for (const std::string& subject : subjects) {
    addStored(rows, *theApp().db, subject, unread);
    addDocuments(rows, *theApp().db, subject);
  }
  if (rows.measures.empty()) return Outcome::failure("There are no results.");
  measures = std::move(rows.measures);
  return Outcome::success();
}

Outcome exportStudy(const std::string& path, const StudyWish& wish, std::string& unread) {
  StudyRows rows{.wanted = WantedQuantities(wish.quantities), .measures = {}};
  addOpenTables(rows);
  ExamTable exams;
  std::vector<std::string> subjects;
  if (Outcome found = subjectsOf(wish.scope, subjects); !found) return found;
  if (wish.layout == StudyLayout::Exams) {
    std::ranges::sort(subjects);
    for (const std::string& subject : subjects) exams.addExams(*theApp().db, subject, rows.wanted);
  }
  for (const std::string& subject : subjects) addStored(rows, *theApp().db, subject, unread);
  std::string text;
  if (wish.layout == StudyLayout::Measures) {
    if (rows.measures.empty()) return Outcome::failure("There are no results.");
    text = rowsOfMeasures(rows.measures);
  } else {
    for (const Measure& measure : rows.measures) exams.add(measure);
    if (exams.isEmpty()) return Outcome::failure("There are no examinations.");
    text = exams.text();
  }
  Outcome written = replaceFile(path, std::string_view(text));
  if (written)
    for (CDocument* document : theApp().documents.documents())
      if (auto* table = dynamic_cast<CResultDoc*>(document)) table->noteExported();
  return written;
}

std::vector<std::string> knownQuantities() {
  StudyRows rows{.wanted = WantedQuantities(""), .measures = {}};
  for (const CDocument* document : theApp().documents.documents())
    if (const auto* table = dynamic_cast<const CResultDoc*>(document)) rows.add(*table, {});
  std::set<std::string> names;
  for (const Measure& measure : rows.measures) names.insert(measure.quantity);
  for (const Course& course : coursesOf(theExams().subjectId())) names.insert(course.quantity);
  return {names.begin(), names.end()};
}

void exportStudyCommand() {
  // Scripts answer with the file first; a person would lose the way to it where there is nothing to write.
  const bool fileFirst = isUnattended();
  const auto choose = [] {
    return host().choosers.saveFile(
        {"Export study results", "csv files (*.csv)|*.csv||", ".csv", "study.csv"});
  };
  auto path = fileFirst ? choose() : std::nullopt;
  if (fileFirst && (!path || path->empty())) return;
  const auto& all = theApp().documents.documents();
  const bool hasTables = std::ranges::any_of(
      all, [](const CDocument* d) { return dynamic_cast<const CResultDoc*>(d) != nullptr; });
  int32_t scope = fileFirst || hasTables ? 0 : theExams().subjectId().empty() ? 2 : 1, layout = 0;
  std::string quantities;
  Form form("Export study results");
  form.addChoice("Tables", scope, {"open tables", "and those of the subject", "and those of all subjects"});
  form.addChoice("Rows", layout, {"a row a measure", "a row an exam"});
  form.add("Results", quantities).offering(knownQuantities());
  form.addNote(
      "Comma-separated text. Tables of subjects are those that were saved.\n"
      "A row an exam holds all exams of the subject, or of all subjects, with the mean of each result, also of those "
      "that documents tell. Results are named as in the tables, several with commas between them: "
      "capillary density, velocity.");
  if (!asked(form)) return;
  if (!fileFirst) path = choose();
  if (!path || path->empty()) return;
  Outcome done = theApp().documents.mayOutputTo(*path);
  std::string unread;
  const WaitScope wait;
  if (done)
    done = exportStudy(*path, {static_cast<StudyScope>(scope), static_cast<StudyLayout>(layout), quantities},
                       unread);
  if (!done)
    host().messages.show(done.why(), Buttons::Ok, Icon::Warning);
  else
    host().messages.notice({"Exported " + fileNameOf(*path)});
  if (done && !unread.empty())
    host().messages.show("These tables can't be read and are left out:\n" + unread, Buttons::Ok,
                         Icon::Warning);
}

}  // namespace tarnvisor
