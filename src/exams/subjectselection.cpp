#include "exams/subjectselection.h"

#include <algorithm>

#include "app/basicapp.h"
#include "base/files.h"
#include "base/text.h"
#include "exams/commandids.h"
#include "host/host.h"
#include "settings/log.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

void setRecordFolder(const std::string& folder) {
  process.recordDir = folder;
  settings.setString("directories", "recorddir", folder);
}

void refreshExamWindow() {
  if (theApp().onSelectionChanged) theApp().onSelectionChanged();
}

}  // namespace

SubjectDialog::SubjectDialog() : id(theApp().subjectId) {
  if (SubjectDatabase* db = theApp().db.get()) {
    dbDescription = db->description();
    logPrintf("dbinfo=%s\n", dbDescription.c_str());
  }
  fillList();
  readDetails();
}

void SubjectDialog::fillList() {
  ids.clear();
  const SubjectDatabase* db = theApp().db.get();
  if (!db) return;
  ids = id.empty() ? db->recentSubjects() : db->searchSubjects(id);
  if (!id.empty() && ids.size() == 1) id = ids.front();
}

void SubjectDialog::typeId(const std::string& text) {
  id = text.substr(0, kLongestId);
  fillList();
  if (!id.empty() && ids.size() == 1) readDetails();
}

void SubjectDialog::chooseId(const std::string& text) {
  id = text;
  readDetails();
}

void SubjectDialog::readDetails() {
  CBasicApp& app = theApp();
  if (!app.db) return;
  const auto row = app.db->readSubject(id);
  if (!row) return;
  name = row->name;
  surname = row->surname;
  comment = row->comments;
  if (app.subjectId != id) {
    // Another subject's exam must not take this one's documents.
    app.examId = -1;
    app.examFolder.clear();
    setRecordFolder(app.dataFolder);
  }
  app.subjectId = id;
  app.subjectName = name + " " + surname;
  refreshExamWindow();
}

void SubjectDialog::addAsNewId() {
  id = replaced(id, ' ', '_');
  if (theApp().db && !id.empty()) theApp().db->newSubject(id);
  readDetails();
}

void SubjectDialog::saveDetails() {
  if (theApp().db) theApp().db->updateSubject(id, name, surname, comment);
  readDetails();
}

void SubjectDialog::finish(Result result) {
  CBasicApp& app = theApp();
  if (result != Result::Cancel) {
    if (app.db) app.db->touchSubject(app.subjectId);
    return;
  }
  app.subjectId.clear();
  app.subjectName.clear();
  app.examFolder.clear();
  app.examId = -1;
  setRecordFolder(app.dataFolder);
  refreshExamWindow();
}

bool makeExamination(const std::string& site, const std::string& comment) {
  CBasicApp& app = theApp();
  if (!app.db || app.subjectId.empty()) return false;
  // The folder's name is a name, never a way out of the data folder.
  std::string folder = replaced(app.subjectId + "-" + site, ' ', '_');
  folder = replaced(replaced(std::move(folder), '/', '_'), '\\', '_');
  const std::string full = app.dataFolder + folder;
  logPrintf("create new exams folder %s", full.c_str());
  const bool made = !folderExists(full) && makeFolderPath(full);
  logPrintf(made ? "ok\n" : "failed!\n");
  setRecordFolder(full);
  settings.setString("settings", "directory", withSeparator(full));
  const int32_t id = app.db->newExam(app.subjectId, site, comment, folder);
  if (id < 0) {
    host().messages.show("The new examination could not be written to the database.", Buttons::Ok,
                         Icon::Error);
    return false;
  }
  app.examId = id;
  app.examFolder = folder;
  logPrintf("examid=%i", app.examId);
  refreshExamWindow();
  return true;
}

bool startNewExamination(const std::string& site, const std::string& comment) {
  return makeExamination(site, comment) && theApp().documents.closeAll();
}

void runSelectSubject(SubjectDialogFace& face) {
  CBasicApp& app = theApp();
  if (process.liveTemplate) app.documents.closeAllOf(*process.liveTemplate);
  host().windows.refreshBars();
  SubjectDialog dialog;
  const SubjectDialog::Result result = face.run(dialog);
  dialog.finish(result);
  if (result == SubjectDialog::Result::ViewExaminations) app.postMainCommand(cmd::ViewExams);
  if (result != SubjectDialog::Result::StartNewExamination) return;
  std::string site;
  std::string comment;
  Form form("New Examination");
  form.add("Site", site).addLongText("Comment", comment).setOkLabel("Start");
  if (!host().forms.run(form)) {
    app.postMainCommand(cmd::SelectSubject);
    return;
  }
  if (!startNewExamination(site, comment)) return;
  host().windows.refreshBars();
  app.postMainCommand(cmd::AcquisitionChain);
}

const std::vector<std::string>& ExamList::examColumns() {
  static const std::vector<std::string> names{"examid", "Site", "Date", "comments", "folder"};
  return names;
}

const std::vector<std::string>& ExamList::resultColumns() {
  static const std::vector<std::string> names{"id", "date", "filename", "result"};
  return names;
}

std::string ExamList::heading() const {
  return "Subject " + theApp().subjectId + ": " + theApp().subjectName;
}

void ExamList::refresh() {
  const CBasicApp& app = theApp();
  examRows = app.db ? app.db->examsOf(app.subjectId) : std::vector<ExamRow>();
  refreshResults();
}

void ExamList::refreshResults() {
  const CBasicApp& app = theApp();
  resultRows = app.db && app.examId >= 0 ? app.db->resultsOf(app.examId) : std::vector<ResultRow>();
}

int ExamList::selectedRow() const {
  for (size_t i = 0; i < examRows.size(); ++i)
    if (examRows[i].id == theApp().examId) return static_cast<int>(i);
  return -1;
}

void ExamList::select(size_t row) {
  if (row >= examRows.size()) return;
  CBasicApp& app = theApp();
  app.examId = examRows[row].id;
  app.examFolder = examRows[row].folder;
  setRecordFolder(app.dataFolder + app.examFolder);
  refreshResults();
  host().windows.refreshBars();  // one shows the recording folder
}

std::string ExamList::pathOfResult(size_t row) const {
  if (row >= resultRows.size()) return {};
  return theApp().dataFolder + theApp().examFolder + kSeparator + resultRows[row].filename;
}

void ExamList::openResult(size_t row) const {
  const std::string path = pathOfResult(row);
  if (path.empty()) return;
  (void)theApp().openDocumentFile(path);
  (void)theApp().runCommand(cmd::WindowTile);
}

void runProcessResults() {
  CBasicApp& app = theApp();
  if (process.liveTemplate) app.documents.closeAllOf(*process.liveTemplate);
  if (!app.db || !process.imageTemplate) return;
  const bool analyse = settings.getInt("settings", "postprocess", 0) != 0;
  for (const ResultRow& row : app.db->resultsOf(app.examId)) {
    const std::string path = app.dataFolder + app.examFolder + kSeparator + row.filename;
    CDocument* document = process.imageTemplate->openDocument(path);
    if (auto* automatic = dynamic_cast<AutomaticAnalysis*>(document); automatic && analyse)
      automatic->analyseAutomatically();
  }
  app.postMainCommand(cmd::WindowTile);
  app.postMainCommand(cmd::ViewExams);
}

}  // namespace tarnvisor
