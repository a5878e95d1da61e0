#include "exams/dbdocument.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <tuple>

#include "app/asked.h"
#include "app/basicapp.h"
#include "archive/archive.h"
#include "base/files.h"
#include "base/geometry.h"
#include "base/text.h"
#include "exams/examselection.h"
#include "exams/subjectdirectory.h"
#include "framework/documenttype.h"
#include "host/host.h"
#include "settings/log.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {
constexpr int32_t kStoredVersion = 2;
constexpr const char* kOldFile = "old file. unknown.";

// As exams name theirs; empty for a folder that lies elsewhere, and without a database.
std::string folderBelowData(const std::string& folder) {
  const CBasicApp& app = theApp();
  if (!app.db || !folder.starts_with(app.dataFolder) || folder.size() <= app.dataFolder.size()) return {};
  return folder.substr(app.dataFolder.size(), folder.size() - app.dataFolder.size() - 1);
}
}  // namespace

std::string currentUserLabel() {
  const passwd* entry = ::getpwuid(::geteuid());
  return settings.getString("Settings", "user", entry && entry->pw_name ? entry->pw_name : "");
}

std::string currentStationId() {
  char name[256] = {};
  if (::gethostname(name, sizeof name - 1) != 0) name[0] = '\0';
  return settings.getString("Settings", "station", name);
}

std::string examWords(const std::string& subject, int32_t exam) {
  const SubjectDatabase* db = theApp().db.get();
  const auto row = db && exam >= 0 ? db->exam(subject, exam) : std::nullopt;
  return row ? subject + ", " + row->site : subject;
}

std::string ownerWords(const CdbDocument::Owner& of) {
  if (of.subject.empty()) return "no subject";
  return of.exam < 0 ? "subject " + of.subject : format("exam %i of subject %s", of.exam, of.subject.c_str());
}

std::string pageWords(const CdbDocument::Owner& owner, bool isFromElsewhere) {
  if (owner.subject.empty()) return "No subject";
  const SubjectDatabase* db = isFromElsewhere ? nullptr : theApp().db.get();
  const auto subject = db ? db->readSubject(owner.subject) : std::nullopt;
  const auto exam = db && owner.exam >= 0 ? db->exam(owner.subject, owner.exam) : std::nullopt;
  const std::string name = fullNameOf(subject);
  std::string words = "Subject " + owner.subject + (name.empty() ? "" : ", " + name);
  if (owner.exam < 0) return words + "; no exam";
  words += format("; exam %i", owner.exam);
  return words + (exam ? " of " + localDay(exam->created) + ", " + exam->site : " of another data folder");
}

std::string CdbDocument::whoseWords() const { return pageWords(measuredFor(), isFromElsewhere()); }

void CdbDocument::forgetOwner() {
  patientId.clear();
  examIdOfDoc = -1;
  isBound = 0;
  isOfElsewhere = false;
  notOf = {};
  subjectOfFile.clear();
  noteMadeHere();
}

bool CdbDocument::onNewDocument() {
  forgetOwner();
  saveCount = 0;
  userLabel.clear();
  resultText.clear();
  return CDocument::onNewDocument();
}

void CdbDocument::noteMadeHere() {
  madeFor = theExams().subjectId();
  madeUnder = theExams().examId();
}

namespace {
// The database has ids without blanks.
bool isSameId(const std::string& a, const std::string& b) {
  return replaced(std::string(trimmed(a)), ' ', '_') == replaced(std::string(trimmed(b)), ' ', '_');
}
}  // namespace

std::string CdbDocument::otherSubject() const {
  return isSameId(subjectOfFile, owner().subject) ? std::string() : subjectOfFile;
}

CdbDocument::Owner CdbDocument::measuredFor() const {
  if (examIdOfDoc >= 0) return {patientId, examIdOfDoc};
  // Nobody said yet that it is the selected one's.
  if (const std::string other = otherSubject(); !other.empty()) return {other, -1};
  const bool isOfAnother = !madeFor.empty() && madeFor != theExams().subjectId();
  return madeUnder >= 0 || isOfAnother ? Owner{madeFor, madeUnder} : owner();
}

std::string CdbDocument::examFolder() const {
  if (isFromElsewhere()) {
    const std::string lies = folderOf(pathName()), below = folderBelowData(lies);
    return !below.empty() || lies.empty() ? below : lies.substr(0, lies.size() - 1);
  }
  const Owner of = measuredFor();
  const SubjectDatabase* db = theApp().db.get();
  const auto row = db && of.exam >= 0 ? db->exam(of.subject, of.exam) : std::nullopt;
  return row ? row->folder : std::string();
}

CdbDocument::Owner CdbDocument::owner() const {
  if (examIdOfDoc >= 0) return {patientId, examIdOfDoc};
  const ExamSelection& now = theExams();
  if (madeUnder >= 0 && !now.hasExam()) return {madeFor, madeUnder};
  return {now.subjectId(), now.examId()};
}

// What was measured while one subject was selected is not another's because it is saved later. Nothing for a
// save that is not wanted at all.
std::optional<CdbDocument::Owner> CdbDocument::askOwner() {
  std::optional<Owner> next = ownerByHistory();
  if (next && !mayBecome(*next)) return std::nullopt;
  return next;
}

bool CdbDocument::agreesToSubject(const std::string& path, const std::string& fileSubject) const {
  const std::string own = measuredFor().subject;
  if (fileSubject.empty() || own.empty() || isSameId(fileSubject, own)) return true;
  return host().messages.show(
             format("%s names the subject %s, and %s is of subject %s. Import it all the same?",
                    fileNameOf(path).c_str(), fileSubject.c_str(), title().c_str(), own.c_str()),
             Buttons::YesNo, Icon::Careful) == Answer::Yes;
}

bool CdbDocument::mayBecome(const Owner& next) {
  const bool isOther =
      !subjectOfFile.empty() && !next.subject.empty() && !isSameId(subjectOfFile, next.subject);
  if (isBoundToExam() || !isOther) return true;
  if (host().messages.show(
          format("%s was made of a file that names the subject %s. Save it as a document of subject %s?",
                 title().c_str(), subjectOfFile.c_str(), next.subject.c_str()),
          Buttons::YesNo, Icon::Careful) != Answer::Yes)
    return false;
  subjectOfFile.clear();
  return true;
}

std::optional<CdbDocument::Owner> CdbDocument::ownerByHistory() {
  if (isBoundToExam()) return Owner{patientId, examIdOfDoc};
  const Owner next = owner(), maker{madeFor, madeUnder};
  const bool wasNobodys = madeUnder < 0 && (madeFor.empty() || collectsOverExams());
  const bool isSame = madeFor == next.subject && (madeUnder < 0 || madeUnder == next.exam);
  if (wasNobodys || isSame || next.subject.empty()) return next;
  if (next == notOf) return maker;
  const Answer answer = host().messages.show(
      format("%s was made in %s. Save it as a document of %s?\nNo saves it as a document of %s.",
             title().c_str(), ownerWords(maker).c_str(), ownerWords(next).c_str(), ownerWords(maker).c_str()),
      Buttons::YesNoCancel, Icon::Careful);
  if (answer == Answer::Yes) return next;
  if (answer != Answer::No) return std::nullopt;
  notOf = next;
  return maker;
}

std::optional<std::string> CdbDocument::folderForUnnamed(const std::string& wanted) {
  const std::optional<Owner> next = askOwner();
  if (!next) {
    host().messages.show(title() + " was not saved.", Buttons::Ok, Icon::Warning);
    return std::nullopt;
  }
  const bool isFiledNowhere = !isBoundToExam() && next->exam < 0 && !next->subject.empty() && !isUnattended();
  if (isFiledNowhere &&
      host().messages.show(
          format("No examination of subject %s is selected: %s will belong to none. Save it in %s "
                 "all the same?",
                 next->subject.c_str(), title().c_str(), wanted.c_str()),
          Buttons::YesNo, Icon::Careful) != Answer::Yes)
    return std::nullopt;
  if (!isBoundToExam()) std::tie(madeFor, madeUnder) = std::tie(next->subject, next->exam);
  return strangerIn(wanted, *next) < 0 ? wanted : withSeparator(theApp().dataFolder + examFolder());
}

// The exam whose folder that is, and not the document's; -1 for none.
int32_t CdbDocument::strangerIn(const std::string& folder, const Owner& next) const {
  const std::string below = folderBelowData(folder);
  const bool liesThere = !pathName().empty() && sameFolder(folderOf(pathName()), folder);
  if (below.empty() || liesThere) return -1;
  const int32_t own = isBoundToExam() ? examHere() : next.exam;
  const std::vector<int32_t> exams = theApp().db->examsIn(below);
  return exams.empty() || std::ranges::find(exams, own) != exams.end() ? -1 : exams.front();
}

bool CdbDocument::isFolderOfSelection(const std::string& folder) const {
  const ExamSelection& now = theExams();
  const SubjectDatabase* db = theApp().db.get();
  const auto exam = db && now.hasExam() ? db->exam(now.subjectId(), now.examId()) : std::nullopt;
  if (exam) return sameFolder(folder, theApp().dataFolder + exam->folder);
  const std::string below = folderBelowData(folder);
  return below.empty() || db->examsIn(below).empty();
}

// The folder of one patient's exam is no place for another's document.
bool CdbDocument::mayLieIn(const std::string& folder, const Owner& next) const {
  const int32_t stranger = strangerIn(folder, next);
  if (stranger < 0) return true;
  const int32_t own = isBoundToExam() ? examHere() : next.exam;
  const std::string elsewhere = !isFromElsewhere()   ? std::string()
                                : pathName().empty() ? ", from another folder"
                                                     : ", from another folder (" + folderOf(pathName()) + ")";
  const std::string whose =
      examIdOfDoc >= 0
          ? format("belongs to exam %i of subject %s", examIdOfDoc, patientId.c_str()) + elsewhere
      : own >= 0 ? format("is to join exam %i of subject %s", own, next.subject.c_str())
                 : "belongs to " + ownerWords({next.subject, -1}) + " and no exam";
  const auto row = theApp().db->exam(stranger);
  return host().messages.show(format("%s %s, and %s is the folder of %s. Save it there all the same?",
                                     title().c_str(), whose.c_str(), folder.c_str(),
                                     ownerWords({row ? row->patient : std::string(), stranger}).c_str()),
                              Buttons::YesNo, Icon::Careful) == Answer::Yes;
}

namespace {

// Nothing for a name that was only taken, or no document at all.
std::unique_ptr<CdbDocument> readAs(const DocumentType* type, const std::string& path) {
  std::unique_ptr<CDocument> made = type && type->canOpen() ? type->classes().makeDocument() : nullptr;
  auto* there = dynamic_cast<CdbDocument*>(made.get());
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rbe"), &std::fclose);
  if (!there || !file) return nullptr;
  try {
    FileStream stream(file.get());
    Archive archive(stream, Archive::Direction::Loading);
    there->serialize(archive);
  } catch (const std::exception&) {
    return nullptr;
  }
  (void)made.release();
  return std::unique_ptr<CdbDocument>(there);
}

}  // namespace

const Quality* qualityOf(std::string_view judgement) {
  const auto* found = std::ranges::find_if(
      kQualities, [&](const Quality& quality) { return judgement.starts_with(quality.word); });
  return found == std::end(kQualities) ? nullptr : found;
}

std::unique_ptr<CdbDocument> CdbDocument::readAlone(const std::string& path) {
  return readAs(theApp().documents.typeFor(path), path);
}

CdbDocument::Owner CdbDocument::ownerInFile(const std::string& path) const {
  const auto there = readAs(storedType(), path);
  return there ? Owner{there->patientId, there->examIdOfDoc} : Owner{};
}

// Names are given anew in each exam, and by other programs: what lies there may be another patient's.
bool CdbDocument::mayTakePlaceOf(const std::string& path, const Owner& next) const {
  if (collectsOverExams() || !fileExists(path) || sameFile(path, pathName())) return true;
  const Owner there = ownerInFile(path);
  if (there.subject.empty() || there == next) return true;
  return host().messages.show(format("%s holds a document of %s. Replace it by one of %s?", path.c_str(),
                                     ownerWords(there).c_str(), ownerWords(next).c_str()),
                              Buttons::YesNo, Icon::Careful) == Answer::Yes;
}

// The document's exam in the open database; -1 for one of another data folder, whose numbers mean others.
int32_t CdbDocument::examHere() const {
  if (examIdOfDoc < 0) return owner().exam;
  return belongsHere() ? examIdOfDoc : -1;
}

bool CdbDocument::storeBound(const std::string& path) {
  const std::optional<Owner> next = askOwner();
  if (!next || !mayLieIn(folderOf(path), *next) || !mayTakePlaceOf(path, *next)) return false;
  userLabel = currentUserLabel();
  const Binding before{isBound, patientId, examIdOfDoc, stationId, stationIdFirst};
  if (!isBoundToExam()) bindTo(*next);
  if (CDocument::onSaveDocument(path)) return true;
  std::tie(isBound, patientId, examIdOfDoc, stationId, stationIdFirst) = before;
  return false;
}

// The row tells of a file, so it comes when the file is there.
bool CdbDocument::onSaveDocument(const std::string& path) {
  const bool liesThere = path == pathName() || sameFile(path, pathName());
  if (!storeBound(path)) return false;
  // The user agreed to take that place: the other's number is in no file any more.
  if (const int32_t other = liesThere ? -1 : otherExamWith(path); other >= 0)
    tellOfRow(theApp().db->updateResult(other, fileNameOf(path), "replaced by a document of another exam"),
              fileNameOf(path));
  storeResult(path);
  return true;
}

void CdbDocument::serialize(Archive& archive) {
  if (archive.isStoring()) {
    archive.putInt(kStoredVersion);
    saveCount = wrapAdd(saveCount, 1);
    archive.putInt(saveCount);
    archive.writeString(patientId);
    archive.putInt(examIdOfDoc);
    archive.writeString(userLabel);
    archive.writeString(resultText);
    archive.writeString(stationId);
    archive.writeString(stationIdFirst);
    return;
  }
  const int32_t version = archive.getInt();
  saveCount = archive.getInt();
  patientId = archive.readString();
  examIdOfDoc = archive.getInt();
  userLabel = archive.readString();
  resultText = archive.readString();
  stationId = version > 1 ? archive.readString() : kOldFile;
  stationIdFirst = version > 1 ? archive.readString() : kOldFile;
  isBound = 1;
  // A subject without an exam is its subject all the same.
  if (examIdOfDoc < 0 && !patientId.empty()) std::tie(madeFor, madeUnder) = std::pair(patientId, -1);
}

// Whoever shows the rows shows this one, too. Where it isn't there, or is an older one, the document itself
// is safe.
void CdbDocument::tellOfRow(bool written, const std::string& name) {
  if (written) return theExams().tell();
  logPrintf("the result of %s could not be written to the database\n", name.c_str());
  report("The result of " + name + " could not be written to the database: " + theApp().db->error() + ".");
}

// A document saved while no exam was selected has nothing to stay bound to: the next save binds it.
void CdbDocument::bindTo(const Owner& owner) {
  patientId = owner.subject;
  examIdOfDoc = owner.exam;
  isBound = 1;
  stationId = currentStationId();
  if (stationIdFirst.empty()) stationIdFirst = stationId;
}

int32_t CdbDocument::otherExamWith(const std::string& path) const {
  const std::string below = folderBelowData(folderOf(path));
  if (below.empty()) return -1;
  const std::vector<int32_t> exams = theApp().db->examsWithDocument(below, fileNameOf(path));
  return exams.empty() || std::ranges::find(exams, examHere()) != exams.end() ? -1 : exams.front();
}

// Exams of other data folders have the same numbers: only subject and exam together tell whose row it is.
bool CdbDocument::isExamKnown() const {
  const SubjectDatabase* db = theApp().db.get();
  return db && !patientId.empty() && examIdOfDoc >= 0 && db->exam(patientId, examIdOfDoc);
}

bool CdbDocument::belongsHere() const {
  return isExamKnown() && !isOfElsewhere && (pathName().empty() || liesInItsExam(pathName()));
}

void CdbDocument::madeFrom(const CDocument& source) {
  const auto* from = dynamic_cast<const CdbDocument*>(&source);
  if (!from) return;
  patientId = from->patientId;
  examIdOfDoc = from->examIdOfDoc;
  isBound = from->isBound;
  madeFor = from->madeFor;
  madeUnder = from->madeUnder;
  notOf = from->notOf;
  subjectOfFile = from->subjectOfFile;
  isOfElsewhere = from->isExamKnown() && !from->belongsHere();
}

void CdbDocument::storeResult(const std::string& path) {
  if (!isBound) bindTo(owner());
  SubjectDatabase* db = theApp().db.get();
  if (!db || patientId.empty() || examIdOfDoc < 0) return;
  const std::string name = fileNameOf(path);
  bool failed = false;
  const bool present = db->resultOf(examIdOfDoc, name, &failed).has_value();
  if (failed) return tellOfRow(false, name);
  if (!liesInItsExam(path)) {
    // Saved it is all the same, so this is no failure.
    if (!toldForeign)
      host().messages.show(format(
          isExamKnown()
              ? "%s lies outside the folder of exam %i of subject %s. It is saved without an entry in the database."
              : "%s belongs to exam %i of subject %s, which this data folder does not have. It is saved without an entry in the database.",
          name.c_str(), examIdOfDoc, patientId.c_str()));
    toldForeign = true;
    return;
  }
  if (present)
    updateResult(path);
  else
    tellOfRow(db->insertResult(examIdOfDoc, name, resultText), name);
}

// A row tells of the file of that name in the exam's folder, of no copy elsewhere and of no other data
// folder's, whose exams have the same numbers.
bool CdbDocument::liesInItsExam(const std::string& path) const {
  const SubjectDatabase* db = theApp().db.get();
  const auto exam = db && examIdOfDoc >= 0 ? db->exam(patientId, examIdOfDoc) : std::nullopt;
  return exam && sameFolder(folderOf(path), theApp().dataFolder + exam->folder);
}

void CdbDocument::updateResult(const std::string& path) {
  SubjectDatabase* db = theApp().db.get();
  if (!db || !liesInItsExam(path)) return;
  tellOfRow(db->updateResult(examIdOfDoc, fileNameOf(path), resultText), fileNameOf(path));
}

std::string CdbDocument::exportPath(const std::string& ending) const {
  const bool hasPlace = !pathName().empty() && !isFetched();
  const Owner of = measuredFor();
  const SubjectDatabase* db = theApp().db.get();
  const bool isSought = db && !hasPlace && !isUnattended() && (isFetched() || !isFromElsewhere());
  const auto exam = isSought && of.exam >= 0 ? db->exam(of.subject, of.exam) : std::nullopt;
  if (!exam) return CDocument::exportPath(ending);
  return withSeparator(theApp().dataFolder + exam->folder) + replaced(title(), kSeparator, '_') + ending;
}

std::string CdbDocument::defaultPathName() const {
  const CBasicApp& app = theApp();
  const bool isFree = patientId.empty() || examIdOfDoc < 0;
  const Owner found = owner();
  const std::string subject = isFree && found.exam >= 0 ? found.subject : patientId;
  const int32_t exam = isFree ? found.exam : examIdOfDoc;
  std::string folder;
  const bool isOfOthers = isFromElsewhere();
  if (!subject.empty() && app.db && exam >= 0 && !isOfOthers)
    if (const auto row = app.db->exam(subject, exam)) folder = app.dataFolder + row->folder + kSeparator;
  if (folder.empty()) folder = folderOf(pathName());
  std::string name = replaced(title(), ' ', '_');
  name = name.substr(0, name.find_first_of(" #%;/\\"));
  return folder + name + (storedType() ? storedType()->filterExtension() : std::string());
}

StepResult CdbDocument::tell(const std::string& what) {
  if (what != "result") return StepResult::nothing();
  return {true, {}, {{"result", resultText}}, resultText.empty() ? "" : resultText + "\n"};
}

std::string CdbDocument::setBaseFileName(const std::string& suffix) const {
  const std::string base = pathName().empty() ? title() : withoutExtension(pathName());
  return replaced(base + suffix, ' ', '-');
}

}  // namespace tarnvisor
