#include "frame/patientstrip.h"

#include <algorithm>

#include "app/basicapp.h"
#include "app/demonstrationfolder.h"
#include "base/text.h"
#include "exams/examselection.h"
#include "exams/subjectdirectory.h"
#include "framework/document.h"

namespace tarnvisor {

PatientStripModel::PatientStripModel() {
  theExams().listen(this, [this] { isStale = true; });
}

PatientStripModel::~PatientStripModel() { theExams().forget(this); }

void PatientStripModel::readExam() {
  const ExamSelection& now = theExams();
  strip.subject = now.subjectId().empty() ? "no subject selected"
                                          : std::string(trimmed(now.subjectId() + "  " + now.subjectName()));
  strip.hasExam = now.hasExam();
  strip.exam = "no exam selected";
  strip.holdings.clear();
  const SubjectDatabase* db = theApp().db.get();
  const auto row = db && now.hasExam() ? db->exam(now.subjectId(), now.examId()) : std::nullopt;
  if (!row) return;
  strip.exam = row->site + ", " + localMinute(row->created);
  const std::vector<ResultRow> rows = db->resultsOf(now.examId());
  const auto results = std::ranges::count_if(rows, [](const ResultRow& r) { return !r.result.empty(); });
  strip.holdings = format("%zu document%s, %i result%s", rows.size(), rows.size() == 1 ? "" : "s",
                          static_cast<int>(results), results == 1 ? "" : "s");
}

const PatientStrip& PatientStripModel::of(const CDocument* front) {
  if (isStale) readExam();
  isStale = false;
  strip.document = !front ? ""
                          : front->title() + (front->pathName().empty() ? ": not saved yet"
                                              : front->isModified()     ? ": changed"
                                                                        : ": saved");
  strip.caution = front ? front->caution() : "";
  strip.mends = front ? front->cautionCommand() : 0;
  strip.place = isDemonstration(theApp().dataFolder) ? "demonstration" : "";
  return strip;
}

}  // namespace tarnvisor
