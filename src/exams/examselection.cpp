#include "exams/examselection.h"

#include "base/files.h"
#include "base/text.h"
#include "exams/dbdocument.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {
ExamSelection* present = nullptr;
}

ExamSelection& theExams() { return *present; }

ExamSelection::ExamSelection(CBasicApp& application) : app(application) {
  present = this;
  app.onDataFolderChanged = [this] { clear(); };
  app.folderOfExam = [this] { return folder(); };
  app.documents.filesOfStored = [](const std::string& path) {
    const auto document = CdbDocument::readAlone(path);
    if (!document) return std::vector<std::string>();
    document->setPathName(path);
    return document->filesInUse();
  };
}

ExamSelection::~ExamSelection() {
  app.onDataFolderChanged = nullptr;
  app.folderOfExam = nullptr;
  app.documents.filesOfStored = nullptr;
  present = nullptr;
}

std::string ExamSelection::folder() const {
  return hasExam() ? app.dataFolder + folderName + kSeparator : std::string();
}

std::string ExamSelection::subjectWords() const {
  const std::string person(trimmed(name));
  return "Subject " + subject + (person.empty() ? "" : ": " + person);
}

std::string ExamSelection::words() const {
  if (subject.empty()) return "No subject is selected.";
  const std::string text = subjectWords();
  const auto row = app.db && hasExam() ? app.db->exam(exam) : std::nullopt;
  return text + (row ? ", " + row->site : hasExam() ? "" : ", no examination selected");
}

void ExamSelection::setRecordingFolder(const std::string& recordings) {
  process.recordDir = recordings;
  settings.setString("directories", "recorddir", recordings);
}

void ExamSelection::selectSubject(const std::string& id, const std::string& fullName) {
  const bool another = id != subject;
  subject = id;
  name = fullName;
  if (another) return leaveExam();
  tell();
}

void ExamSelection::selectExam(int32_t id, const std::string& folderBelowData) {
  exam = id;
  folderName = folderBelowData;
  setRecordingFolder(app.dataFolder + folderName);
  tell();
}

void ExamSelection::leaveExam() {
  exam = -1;
  folderName.clear();
  setRecordingFolder(app.dataFolder);
  tell();
}

void ExamSelection::clear() {
  subject.clear();
  name.clear();
  leaveExam();
}

ExamSelection::State ExamSelection::state() const {
  return {subject, name, exam, folderName, process.recordDir};
}

void ExamSelection::restore(const State& before) {
  subject = before.subject;
  name = before.name;
  exam = before.exam;
  folderName = before.folderName;
  setRecordingFolder(before.recordings);
  tell();
}

void ExamSelection::tell() const {
  for (CDocument* each : app.documents.documents())
    if (auto* document = dynamic_cast<CdbDocument*>(each)) document->onSelectionChanged();
  for (const auto& [listener, told] : std::map(listeners)) told();
}

}  // namespace tarnvisor
