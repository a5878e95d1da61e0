#include "results/studyresults.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "app/asked.h"
#include "app/basicapp.h"
#include "base/checksum.h"
#include "base/files.h"
#include "base/text.h"
#include "base/version.h"
#include "db/subjectdatabase.h"
#include "exams/examselection.h"
#include "host/host.h"
#include "settings/settings.h"

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

struct StudyRows {
  std::string text = kHeading;
  std::string ending = "," + csvCell(versionText()) + "," + settingsFingerprint() + ",";

  // all: whose the rows are that don't tell it themselves
  void add(const CResultDoc& table, const ResultOwner& all) {
    for (size_t row = 0; row < table.rowCount(); ++row)
      if (!isMeanOfLines(table, row)) addRow(table, row, all);
  }

 private:
  void addRow(const CResultDoc& table, size_t row, const ResultOwner& all) {
    const bool tells = table.tellsOwners();
    const std::string subject = tells ? cellOf(table, row, "Subject ID") : all.subject;
    const std::string exam = tells ? cellOf(table, row, "Exam ID") : examLabel(all);
    const std::string line = cellOf(table, row, "line"), trace = cellOf(table, row, "trace");
    const std::string units = cellOf(table, row, "units");
    const std::string head = csvCell(subject) + "," + csvCell(exam) + "," +
                             csvCell(cellOf(table, row, "filename")) + "," +
                             csvCell(cellOf(table, row, "list")) + "," +
                             csvCell(trace.empty()  ? line
                                     : line.empty() ? trace
                                                    : trace + " " + line) +
                             ",";
    for (size_t place = 0; place < table.columns.size(); ++place) {
      const std::string& title = table.columnAt(place).title;
      if (isKey(title)) continue;
      text += head + csvCell(title) + "," + csvCell(std::string(trimmed(table.shownCell(row, place)))) + "," +
              csvCell(unitOfMeasure(table, title, units)) + ending + csvCell(table.title()) + "\n";
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

std::string settingsFingerprint() {
  std::string counted;
  for (const auto& [section, key, value] : settings.entries()) {
    if (isOneOf(section, {"MainWindow", "WINDOWSZ", "directories", "Recent File List"}) ||
        isOneOf(key, {"directory", "database", "left",       "top",     "right",   "bottom",  "w",    "h",
                      "wleft",     "wtop",     "wright",     "wbottom", "show",    "showcmd", "minx", "miny",
                      "maxx",      "maxy",     "showtarget", "targetx", "targety", "gridshow"}))
      continue;
    counted.append(section).append("/").append(key).append("=").append(value).append("\n");
  }
  return sha256(counted);
}

Outcome exportStudy(const std::string& path, StudyScope scope, std::string& unread) {
  StudyRows rows;
  for (const CDocument* document : theApp().documents.documents())
    if (const auto* table = dynamic_cast<const CResultDoc*>(document)) rows.add(*table, table->ownerOfAll());
  if (scope != StudyScope::OpenTables) {
    const SubjectDatabase* db = theApp().db.get();
    if (!db) return Outcome::failure("There is no database with stored tables.");
    const std::string selected = theExams().subjectId();
    if (scope == StudyScope::SelectedSubject && selected.empty())
      return Outcome::failure("No subject is selected.");
    const std::vector<std::string> subjects =
        scope == StudyScope::AllSubjects ? db->allSubjects() : std::vector<std::string>{selected};
    for (const std::string& subject : subjects) addStored(rows, *db, subject, unread);
  }
  if (rows.text == kHeading) return Outcome::failure("There are no results.");
  Outcome written = replaceFile(path, std::string_view(rows.text));
  if (written)
    for (CDocument* document : theApp().documents.documents())
      if (auto* table = dynamic_cast<CResultDoc*>(document)) table->noteExported();
  return written;
}

void exportStudyCommand() {
  const auto path =
      host().choosers.saveFile({"Export study results", "csv files (*.csv)|*.csv||", ".csv", "study.csv"});
  if (!path || path->empty()) return;
  int32_t scope = 0;
  Form form("Export study results");
  form.addChoice("Tables", scope, {"open tables", "and those of the subject", "and those of all subjects"});
  form.addNote("A row a measure, as comma-separated text. Tables of subjects are those that were saved.");
  if (!asked(form)) return;
  Outcome done = theApp().documents.mayOutputTo(*path);
  std::string unread;
  const WaitScope wait;
  if (done) done = exportStudy(*path, static_cast<StudyScope>(scope), unread);
  if (!done)
    host().messages.show(done.why(), Buttons::Ok, Icon::Warning);
  else if (!unread.empty())
    host().messages.show("These tables can't be read and are left out:\n" + unread, Buttons::Ok,
                         Icon::Warning);
}

}  // namespace tarnvisor
