#include "exams/subjectselection.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "app/asked.h"
#include "app/basicapp.h"
#include "app/processstate.h"
#include "base/files.h"
#include "base/text.h"
#include "exams/commandids.h"
#include "exams/examselection.h"
#include "host/host.h"
#include "settings/log.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {
void tellUnlessWritten(bool written) {
  if (!written)
    host().messages.show("The subject could not be written to the database.", Buttons::Ok, Icon::Error);
}
}  // namespace

SubjectDialog::SubjectDialog() : id(theExams().subjectId()), before(theExams().state()) {
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
}

void SubjectDialog::typeId(const std::string& text) {
  id = trimmed(text).substr(0, kLongestId);
  fillList();
  // An id that begins others may be on its way to one of them.
  if (ids.size() == 1 && ids.front() == id) readDetails();
}

bool SubjectDialog::knows(const std::string& text) const {
  const auto& db = theApp().db;
  return !text.empty() && db && db->readSubject(text);
}

void SubjectDialog::chooseId(const std::string& text) {
  id = text;
  readDetails();
}

void SubjectDialog::readDetails() {
  const CBasicApp& app = theApp();
  if (!app.db) return;
  const auto row = app.db->readSubject(id);
  if (!row) return;
  name = row->name;
  surname = row->surname;
  comment = row->comments;
  std::tie(born, sex) = std::pair(app.db->person(id).born, app.db->person(id).sex);
  detailsRead = details();
  theExams().selectSubject(id, name + " " + surname);
}

// Two ids that differ by their capitals or by how accents are written are most often one subject.
bool SubjectDialog::addAsNewId() {
  id = replaced(std::string(trimmed(id)), ' ', '_');
  SubjectDatabase* db = theApp().db.get();
  const auto alike = db ? db->subjectSpeltLike(id) : std::nullopt;
  const Answer answer =
      !alike ? Answer::No
             : host().messages.show(
                   format("There is a subject \"%s\" already. Use that one? (No: add \"%s\" as a new one.)",
                          alike->c_str(), id.c_str()),
                   Buttons::YesNoCancel, Icon::Question);
  if (answer == Answer::Yes)
    id = *alike;
  else if (answer != Answer::No)
    return false;
  else if (db && !id.empty())
    tellUnlessWritten(db->newSubject(id) ||
                      db->readSubject(id));  // another program may have added it meanwhile
  readDetails();
  return true;
}

bool SubjectDialog::saveDetails() {
  SubjectDatabase* db = theApp().db.get();
  if (!db) return false;
  const auto birth = dateOfBirth(born);
  if (!birth) {
    host().messages.show(
        format("\"%s\" is no date of birth: write it as 1970-02-03 or 3.2.1970.", born.c_str()), Buttons::Ok,
        Icon::Warning);
    return false;
  }
  born = *birth;
  PersonRow person = db->person(id);
  if (const auto now = db->readSubject(id)) {
    const Details there{now->name, now->surname, now->comments, person.born, person.sex};
    Details mine = details();
    bool clashes = false;
    for (size_t i = 0; i < mine.size(); ++i) {
      clashes |= mine[i] != detailsRead[i] && there[i] != detailsRead[i] && mine[i] != there[i];
      if (mine[i] == detailsRead[i]) mine[i] = there[i];
    }
    if (clashes && host().messages.show(
                       format("The details of %s were changed meanwhile: %s %s, \"%s\". Replace that?",
                              id.c_str(), now->name.c_str(), now->surname.c_str(), now->comments.c_str()),
                       Buttons::YesNo, Icon::Careful) != Answer::Yes)
      return false;
    setDetails(mine);
  }
  bool written = db->updateSubject(id, name, surname, comment);
  if (const PersonRow wanted{born, sex}; written && wanted != person) written = db->setPerson(id, wanted);
  tellUnlessWritten(written);
  readDetails();
  return written;
}

bool SubjectDialog::mayCancel() const {
  return before.exam < 0 || host().messages.show(format("Stop working with %s?", before.subject.c_str()),
                                                 Buttons::YesNo, Icon::Careful) == Answer::Yes;
}

void SubjectDialog::finish(Result result) {
  if (result == Result::Nothing) return theExams().restore(before);
  if (result == Result::Cancel) return theExams().clear();
  if (const auto& db = theApp().db) db->touchSubject(theExams().subjectId());
}

namespace {

// Of its own: one that has an exam or holds files, of a database that was lost for instance, stays that
// one's.
std::string newExamFolder(const CBasicApp& app, const std::string& subject, const std::string& site) {
  // The folder's name is a name, never a way out of the data folder.
  std::string first = replaced(subject + "-" + site, ' ', '_');
  first = replaced(replaced(std::move(first), '/', '_'), '\\', '_');
  std::string folder = first;
  const auto isTaken = [&] {
    const std::string path = app.dataFolder + folder;
    std::error_code error;
    return !app.db->examsIn(folder).empty() || fileExists(path) ||
           (folderExists(path) && !std::filesystem::is_empty(path, error));
  };
  for (int number = 2; isTaken(); ++number) folder = format("%s-%i", first.c_str(), number);
  return folder;
}

}  // namespace

namespace {
// The site tells a subject's exams and their folders apart.
bool namesSite(const std::string& site) {
  if (!trimmed(site).empty()) return true;
  host().messages.show("An examination needs a site, such as \"left ring finger\".", Buttons::Ok,
                       Icon::Error);
  return false;
}
}  // namespace

const std::vector<std::string>& fingers() {
  static const std::vector<std::string> names{
      "right index finger", "right middle finger", "right ring finger", "right little finger",
      "left index finger",  "left middle finger",  "left ring finger",  "left little finger"};
  return names;
}

bool makeExamination(const std::string& site, const std::string& comment) {
  const CBasicApp& app = theApp();
  ExamSelection& selection = theExams();
  if (!app.db || selection.subjectId().empty() || !namesSite(site)) return false;
  std::string folder;
  int32_t id = -1;
  {
    const SubjectDatabase::Alone alone(*app.db);
    folder = newExamFolder(app, selection.subjectId(), site);
    const std::string full = app.dataFolder + folder;
    logPrintf("create new exams folder %s", full.c_str());
    const bool made = !folderExists(full) && makeFolderPath(full);
    logPrintf(made ? "ok\n" : "failed!\n");
    if (!folderExists(full)) {
      host().messages.show("The folder of the examination can't be made: " + full, Buttons::Ok, Icon::Error);
      return false;
    }
    id = app.db->newExam(selection.subjectId(), site, comment, folder);
  }
  if (id < 0) {
    host().messages.show("The new examination could not be written to the database.", Buttons::Ok,
                         Icon::Error);
    return false;
  }
  settings.setString("settings", "directory", withSeparator(app.dataFolder + folder));
  selection.selectExam(id, folder);
  logPrintf("examid=%i", id);
  return true;
}

bool startNewExamination(const std::string& site, const std::string& comment) {
  // What is open belongs to the exam before: it is saved there, or nothing begins.
  return theApp().documents.closeAll() && makeExamination(site, comment);
}

namespace {

// What records: it goes on with nobody else's recording.
constexpr DocumentType* ProcessState::*kLive[] = {&ProcessState::liveTemplate, &ProcessState::flo1Template};

// What was frozen is asked about while its own subject is still selected.
bool mayCloseLive() {
  return std::ranges::all_of(kLive, [](DocumentType* ProcessState::*type) {
    return !(process.*type) || theApp().documents.mayCloseAllOf(*(process.*type));
  });
}

void closeLive() {
  for (DocumentType* ProcessState::*type : kLive)
    if (process.*type) theApp().documents.discardAllOf(*(process.*type));
  host().windows.refreshBars();
}

// False when the form was cancelled.
bool askForExamination() {
  std::string site;
  std::string comment;
  Form form("New Examination");
  form.addNote(theExams().subjectWords());
  form.add("Site", site).offering(fingers()).addLongText("Comment", comment).setOkLabel("Start");
  do {
    if (!host().forms.run(form)) return false;
  } while (!namesSite(site) && !isUnattended());
  closeLive();
  if (!startNewExamination(site, comment)) return true;
  host().windows.refreshBars();
  theApp().postMainCommand(cmd::AcquisitionChain);
  return true;
}

}  // namespace

void runSelectSubject(SubjectDialogFace& face) {
  CBasicApp& app = theApp();
  if (!mayCloseLive()) return;
  SubjectDialog dialog;
  const SubjectDialog::Result result = face.run(dialog);
  dialog.finish(result);
  host().windows.refreshBars();
  if (result == SubjectDialog::Result::Cancel || result == SubjectDialog::Result::Nothing) return;
  if (result == SubjectDialog::Result::ViewExaminations) {
    closeLive();
    return app.postMainCommand(cmd::ViewExams);
  }
  if (askForExamination()) return;
  dialog.finish(SubjectDialog::Result::Nothing);  // Escape in the next one leads back to what was before
  host().windows.refreshBars();
  app.postMainCommand(cmd::SelectSubject);
}

void runNewExamination(SubjectDialogFace& face) {
  if (theExams().subjectId().empty()) return runSelectSubject(face);
  if (mayCloseLive()) askForExamination();
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
  return "Subject " + theExams().subjectId() + ": " + theExams().subjectName();
}

void ExamList::refresh() {
  const CBasicApp& app = theApp();
  examRows = app.db ? app.db->examsOf(theExams().subjectId()) : std::vector<ExamRow>();
  refreshResults();
}

void ExamList::refreshResults() {
  const CBasicApp& app = theApp();
  resultRows =
      app.db && theExams().hasExam() ? app.db->resultsOf(theExams().examId()) : std::vector<ResultRow>();
}

int ExamList::selectedRow() const {
  for (size_t i = 0; i < examRows.size(); ++i)
    if (examRows[i].id == theExams().examId()) return static_cast<int>(i);
  return -1;
}

void ExamList::select(size_t row) {
  if (row >= examRows.size()) return;
  theExams().selectExam(examRows[row].id, examRows[row].folder);
  refreshResults();
  host().windows.refreshBars();  // one shows the recording folder
}

std::string ExamList::pathOfResult(size_t row) const {
  if (row >= resultRows.size()) return {};
  return theExams().folder() + resultRows[row].filename;
}

void ExamList::openResult(size_t row) const {
  const std::string path = pathOfResult(row);
  if (path.empty()) return;
  theApp().openDocumentFile(path);
  theApp().runCommand(cmd::WindowTile);
}

namespace {

// Nobody is asked about each of many documents.
struct QuietScope {
  QuietScope() : before(std::exchange(process.quietMode, 1)) {}
  ~QuietScope() { process.quietMode = before; }
  QuietScope(const QuietScope&) = delete;
  QuietScope& operator=(const QuietScope&) = delete;
  const int32_t before;
};

// What was open with changes, or had marks, is the user's to save.
bool analyseAndSave(CDocument& document, AutomaticAnalysis& still) {
  const QuietScope quiet;
  const bool isTheirs = document.isModified() || still.isMarked();
  return still.analyseAutomatically() && (isTheirs || document.save());
}

}  // namespace

void runProcessResults() {
  CBasicApp& app = theApp();
  if (!theExams().hasExam()) {
    host().messages.show("No examination is selected: there are no results to process.", Buttons::Ok,
                         Icon::Warning);
    return;
  }
  if (!mayCloseLive()) return;
  closeLive();
  if (!app.db || !process.imageTemplate) return;
  const bool analyse = settings.getInt("settings", "postprocess", 0) != 0;
  std::string failed;
  for (const ResultRow& row : app.db->resultsOf(theExams().examId())) {
    const std::string path = theExams().folder() + row.filename;
    CDocument* document = app.openDocumentFile(path);
    if (!analyse || !document || document->type() != process.imageTemplate) continue;
    auto* still = dynamic_cast<AutomaticAnalysis*>(document);
    if (still && !analyseAndSave(*document, *still)) failed += "\n" + row.filename;
  }
  if (!failed.empty())
    host().messages.show("These images could not be processed and saved:" + failed, Buttons::Ok,
                         Icon::Warning);
  app.postMainCommand(cmd::WindowTile);
  app.postMainCommand(cmd::ViewExams);
}

}  // namespace tarnvisor
