#include "exams/examoverview.h"

#include <algorithm>
#include <map>

#include "app/basicapp.h"
#include "base/files.h"
#include "base/text.h"
#include "exams/examselection.h"
#include "exams/resultfigures.h"
#include "exams/subjectdirectory.h"
#include "host/host.h"

namespace tarnvisor {

namespace {

std::string briefly(const ResultFigure& figure) {
  return format("%s %.4g%s%s", figure.quantity.c_str(), figure.value, figure.unit.empty() ? "" : " ",
                figure.unit.c_str());
}

std::string lineOf(const MeanFigure& figure) {
  return briefly(figure.mean) + (figure.count > 1 ? format(", mean of %i", figure.count) : "") + "\n";
}

}  // namespace

void ExamOverview::refresh() {
  rows.clear();
  const SubjectDatabase* db = theApp().db.get();
  if (!db || theExams().subjectId().empty()) return;
  for (ExamRow& exam : db->examsOf(theExams().subjectId())) {
    Exam& row = rows.emplace_back();
    row.day = localDay(exam.created);
    const std::vector<ResultRow> results = db->resultsOf(exam.id);
    std::vector<std::vector<ResultFigure>> figures;
    for (const ResultRow& result : results) {
      const auto& own = figures.emplace_back(figuresOf(exam, result));
      row.documents.push_back({.filename = result.filename,
                               .path = theApp().dataFolder + exam.folder + kSeparator + result.filename,
                               .result = std::string(trimmed(result.result)),
                               .shown = shownResult(result.result, own),
                               .first = own.empty() ? "" : briefly(own.front())});
    }
    for (const MeanFigure& figure : meansOf(figures)) row.results += lineOf(figure);
    row.row = std::move(exam);
  }
  std::ranges::stable_sort(rows, {}, [](const Exam& exam) { return exam.row.created; });
  // Two of one day at one site are told apart by the hour.
  std::map<std::pair<std::string, std::string>, int> alike;
  for (const Exam& exam : rows) ++alike[{exam.day, exam.row.site}];
  for (Exam& exam : rows)
    if (alike[{exam.day, exam.row.site}] > 1) exam.day = localMinute(exam.row.created);
}

std::string ExamOverview::heading() const {
  const ExamSelection& selected = theExams();
  if (selected.subjectId().empty()) return selected.words();
  return format("%s, %i examination%s", selected.subjectWords().c_str(), static_cast<int>(rows.size()),
                rows.size() == 1 ? "" : "s");
}

int ExamOverview::selectedRow() const {
  const auto at =
      std::ranges::find_if(rows, [](const Exam& exam) { return exam.row.id == theExams().examId(); });
  return at == rows.end() ? -1 : static_cast<int>(at - rows.begin());
}

void ExamOverview::select(size_t row) const {
  if (row >= rows.size() || rows[row].row.id == theExams().examId()) return;
  theExams().selectExam(rows[row].row.id, rows[row].row.folder);
  host().windows.refreshBars();
}

void ExamOverview::open(size_t row, size_t document) const {
  if (row >= rows.size() || document >= rows[row].documents.size()) return;
  const std::string path = rows[row].documents[document].path;
  select(row);
  theApp().openDocumentFile(path);
}

}  // namespace tarnvisor
