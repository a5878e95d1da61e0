#include "exams/examselection.h"

#include "base/files.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {
ExamSelection* present = nullptr;
}

ExamSelection& theExams() { return *present; }

ExamSelection::ExamSelection(CBasicApp& application) : app(application) {
  present = this;
  app.onDataFolderChanged = [this] { clear(); };
}

ExamSelection::~ExamSelection() {
  app.onDataFolderChanged = nullptr;
  present = nullptr;
}

std::string ExamSelection::folder() const {
  return hasExam() ? app.dataFolder + folderName + kSeparator : std::string();
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

void ExamSelection::tell() const {
  for (const auto& [listener, told] : std::map(listeners)) told();
}

}  // namespace tarnvisor
