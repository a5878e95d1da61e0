#include "results/studyresults.h"

#include <algorithm>
#include <cstdlib>
#include <map>
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
    "subject,exam,document,list,mark,quantity,value,unit,program version,settings,table,date,site\n";

// "date,site" of an exam of the database; nothing between for one that it doesn't have.
std::string whenAndWhere(const StudyMeasure& of) {
  const SubjectDatabase* db = theApp().db.get();
  const auto id = numberOf(of.exam);
  const auto exam = db && id ? db->exam(of.subject, static_cast<int32_t>(*id)) : std::nullopt;
  return exam ? csvCell(localDay(exam->created)) + "," + csvCell(exam->site) : ",";
}

std::string rowsOfMeasures(const std::vector<StudyMeasure>& measures) {
  std::string text = kHeading;
  const std::string ending = "," + csvCell(versionText()) + "," + settingsFingerprint() + ",";
  std::map<std::pair<std::string, std::string>, std::string> exams;
  for (const StudyMeasure& m : measures) {
    std::string& exam = exams[{m.subject, m.exam}];
    if (exam.empty()) exam = whenAndWhere(m);
    for (const std::string* cell :
         {&m.subject, &m.exam, &m.document, &m.list, &m.mark, &m.quantity, &m.value})
      text += csvCell(*cell) + ",";
    text.append(csvCell(m.unit))
        .append(ending)
        .append(csvCell(m.table))
        .append(",")
        .append(exam)
        .append("\n");
  }
  return text;
}

// --- a row an exam

struct StudyExam {
  std::string subject, exam;
  PersonRow person;
  std::string day, site, comment;
  size_t documents = 0;
  MeasureMeans means;
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
          if (wanted.has(figure.quantity, figure.unit))
            row.means.add(columns.place(wordsOf(figure), ""), figure.value);
    }
  }
  void add(const StudyMeasure& measure) {
    if (const auto value = numberOf(measure.value); value && hasMean(measure.quantity))
      rowOf(measure.subject, measure.exam)
          .means.add(
              columns.place(withUnit(measure.quantity, measure.unit), columnKind(measure.kind, measure.mark)),
              *value);
  }
  bool isEmpty() const { return rows.empty(); }
  std::string text() const {
    const std::vector<std::string> own{"subject", "born", "sex",     "exam",
                                       "date",    "site", "comment", "documents"};
    std::string all;
    for (const std::string& name : own) all += (all.empty() ? "" : ",") + name;
    for (const std::string& name : columns.names(own)) all += "," + csvCell(name);
    all += "\n";
    for (const StudyExam& row : rows) {
      for (const std::string* cell :
           {&row.subject, &row.person.born, &row.person.sex, &row.exam, &row.day, &row.site, &row.comment})
        all += csvCell(*cell) + ",";
      all += format("%zu", row.documents);
      for (size_t place = 0; place < columns.count(); ++place) all += "," + row.means.cell(place);
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
  std::vector<StudyExam> rows;
  std::map<std::pair<std::string, std::string>, size_t> places;
  MeasureColumns columns;
};

// Means of exams: documents' results come with the exam, others with the tables.
Outcome textOfExams(const StudyWish& wish, std::string& text, std::string& missing) {
  std::vector<std::string> subjects;
  if (Outcome found = subjectsOf(wish.scope, subjects); !found) return found;
  const WantedQuantities wanted(wish.quantities);
  std::ranges::sort(subjects);
  ExamTable exams;
  for (const std::string& subject : subjects) exams.addExams(*theApp().db, subject, wanted);
  for (const StudyMeasure& measure : measuresOfTables(subjects, wanted, missing)) exams.add(measure);
  missing += wanted.neverSeen();
  text = exams.text();
  return exams.isEmpty() ? Outcome::failure("There are no examinations.") : Outcome::success();
}

}  // namespace

Outcome exportStudy(const std::string& path, const StudyWish& wish, std::string& missing) {
  std::string text;
  std::vector<StudyMeasure> measures;
  const bool byExams = wish.layout == StudyLayout::Exams;
  if (Outcome found = byExams ? textOfExams(wish, text, missing) : gatherStudy(wish, measures, missing);
      !found)
    return found;
  if (!byExams) text = rowsOfMeasures(measures);
  Outcome written = replaceFile(path, std::string_view(text));
  if (written)
    for (CDocument* document : theApp().documents.documents())
      if (auto* table = dynamic_cast<CResultDoc*>(document)) table->noteExported();
  return written;
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
      "A row an exam holds all exams of the subject, or of all subjects, with the mean of each result, also where there "
      "is none. Results are named as in the tables, several with commas between them: "
      "capillary density, velocity.");
  if (!asked(form)) return;
  if (!fileFirst) path = choose();
  if (!path || path->empty()) return;
  Outcome done = theApp().documents.mayOutputTo(*path);
  std::string missing;
  const WaitScope wait;
  if (done)
    done = exportStudy(*path, {static_cast<StudyScope>(scope), static_cast<StudyLayout>(layout), quantities},
                       missing);
  if (!done)
    host().messages.show(done.why(), Buttons::Ok, Icon::Warning);
  else
    host().messages.notice({"Exported " + fileNameOf(*path)});
  if (done && !missing.empty()) host().messages.show(missing, Buttons::Ok, Icon::Warning);
}

}  // namespace tarnvisor
