#include "frame/autosave.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <tuple>
#include <utility>

#include "base/clock.h"
#include "base/files.h"
#include "base/geometry.h"
#include "base/text.h"
#include "exams/dbdocument.h"
#include "host/host.h"
#include "settings/log.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr double kStandardSeconds = 60;
constexpr double kPauseForWork = 50;  // of a document that takes long to copy, two parts in a hundred at most

double secondsAtRisk() { return settings.getDouble("Settings", "autosave", kStandardSeconds); }

// A user's own, as the data of one folder may be several people's.
std::string sharedFolderOf(const CBasicApp& app) {
  const std::string place = app.dataFolder.empty() ? folderOf(settings.path()) : app.dataFolder;
  return format("%s.recovery-%u/", place.c_str(), static_cast<unsigned>(::geteuid()));
}

// While it lives, the document's archive tells whose it is, also before the first save says so, and no save
// is counted.
class AsCopied {
 public:
  explicit AsCopied(CdbDocument& document)
      : doc(document), before(document.patientId, document.examIdOfDoc, document.saveCount) {
    std::tie(doc.patientId, doc.examIdOfDoc) = std::pair(whose.subject, whose.exam);
    doc.saveCount = wrapSub(doc.saveCount, 1);
  }
  ~AsCopied() { std::tie(doc.patientId, doc.examIdOfDoc, doc.saveCount) = before; }
  AsCopied(const AsCopied&) = delete;
  AsCopied& operator=(const AsCopied&) = delete;

 private:
  CdbDocument& doc;
  std::tuple<std::string, int32_t, int32_t> before;
  CdbDocument::Owner whose = doc.measuredFor();
};

std::optional<UnsavedCopy> copyOf(CDocument& document) {
  auto* const of = dynamic_cast<CdbDocument*>(&document);
  if (!of) return document.copyOfUnsaved();
  const CdbDocument::Owner whose = of->measuredFor();
  const bool isNew = of->pathName().empty();
  const bool isOfElsewhere = isNew && of->isFromElsewhere();
  std::optional<UnsavedCopy> copy;
  {
    const AsCopied scope(*of);
    copy = of->copyOfUnsaved();
  }
  if (!copy) return copy;
  copy->facts["subject"] = whose.subject;
  copy->facts["exam"] = format("%i", whose.exam);
  copy->facts["bound"] = of->isBound ? "1" : "0";
  copy->facts["elsewhere"] = isOfElsewhere ? "1" : "0";
  copy->facts["subjectoffile"] = of->subjectOfFile;
  return copy;
}

// What the archive can't tell of whose it is.
void giveOwner(CDocument& document, const LeftCopy& left) {
  auto* const of = dynamic_cast<CdbDocument*>(&document);
  if (!of) return;
  of->isBound = left.fact("bound") == "1";
  of->subjectOfFile = left.fact("subjectoffile");
  if (left.fact("elsewhere") != "1") return;
  CdbDocument source;  // of another data folder, as the one was that it was made from
  source.patientId = of->patientId;
  source.examIdOfDoc = of->examIdOfDoc;
  source.isBound = of->isBound;
  source.subjectOfFile = of->subjectOfFile;
  source.setPathName(std::string(1, kSeparator));
  of->madeFrom(source);
}

std::string describe(const LeftCopy& left) {
  const std::string subject = left.fact("subject"), path = left.fact("path");
  std::string words = left.fact("title");
  words += ", " + (subject.empty() ? std::string("no subject")
                                   : examWords(subject, std::atoi(left.fact("exam").c_str())));
  words += ", " + longDateTime(std::atoll(left.fact("time").c_str()));
  if (!path.empty() && fileStamp(path) != left.fact("stamp")) words += " (its file has changed since)";
  return words;
}

}  // namespace

AutoSave::AutoSave(CBasicApp& application) : app(application) {
  app.documents.onSettled = [this](const CDocument& document) { forget(document); };
}

AutoSave::~AutoSave() { app.documents.onSettled = nullptr; }

// Twice in the time that may be lost, so that what is on its way to the disc counts, too.
int32_t AutoSave::turnMs() {
  const double seconds = secondsAtRisk();
  return static_cast<int32_t>(std::clamp(seconds > 0 ? seconds * 500 : 30e3, 10.0, 3600e3));
}

void AutoSave::turn() {
  followDataFolder();
  copyChanged();
  tellProblem();
}

void AutoSave::followDataFolder() {
  if (host().windows.asksSomething() || shared == sharedFolderOf(app)) return;
  shared = sharedFolderOf(app);
  kept.clear();
  copies = std::make_unique<UnsavedCopies>(shared);
  offerLeft();
}

void AutoSave::copyChanged() {
  if (!copies) return;
  const bool wanted = secondsAtRisk() > 0;
  for (CDocument* document : app.documents.documents()) {
    if (!wanted || !document->wantsCopy()) {
      forget(*document);
      continue;
    }
    Kept& as = kept.try_emplace(document, Kept{lastId + 1}).first->second;
    lastId = std::max(lastId, as.id);
    if (as.asked == document->changeCount() || steadySeconds() < as.notBefore || copies->isWriting(as.id))
      continue;
    copy(*document, as);
  }
}

void AutoSave::copy(CDocument& document, Kept& as) {
  const double began = steadySeconds();
  auto made = copyOf(document);
  const double now = steadySeconds();
  as.notBefore = now + (now - began) * kPauseForWork;
  // A kind without files of its own has nothing that could be opened again.
  if (!made || made->ending.empty()) return;
  as.asked = made->count;
  made->facts["time"] = format("%lld", static_cast<long long>(currentTime()));
  copies->keep(as.id, std::move(*made));
}

void AutoSave::forget(const CDocument& document) {
  const auto gone = kept.extract(&document);
  if (!gone.empty()) copies->remove(gone.mapped().id);
}

void AutoSave::waitUntilWritten() const {
  if (copies) copies->waitUntilWritten();
}

uint64_t AutoSave::written(const CDocument& document) const {
  const auto found = kept.find(&document);
  return found == kept.end() ? 0 : copies->written(found->second.id);
}

// Once: a disc that is full stays so for a while.
void AutoSave::tellProblem() {
  const std::string problem = copies ? copies->takeProblem() : std::string();
  if (problem.empty()) return;
  for (auto& [document, as] : kept) as.asked = 0;
  if (!std::exchange(toldProblem, true))
    logPrintf("what is not saved can't be copied for the next start: %s\n", problem.c_str());
}

// --- what was left

void AutoSave::offerLeft() {
  const LeftCopies left(shared);
  if (left.all().empty()) return;
  enum Choice : int32_t { Restore, Later, Discard };
  int32_t choice = Later;
  std::vector<int32_t> ticks(left.all().size(), 1);
  Form form("Documents that were not saved");
  form.addNote(
      "The program ended before these were saved. Restored, they open as they were a moment before; nothing is stored until you save them.");
  for (size_t i = 0; i < ticks.size(); ++i) form.addCheck(describe(left.all()[i]), ticks[i]);
  form.endWith("Do", choice, {"Restore ticked", "Later", "Discard ticked"});
  if (!host().forms.run(form) || choice == Later) return;
  std::vector<LeftCopy> ticked;
  for (size_t i = 0; i < ticks.size(); ++i)
    if (ticks[i]) ticked.push_back(left.all()[i]);
  if (choice == Restore) return restore(ticked);
  if (!ticked.empty() &&
      host().messages.show(
          format("Discard what was not saved of %zu documents? It can't be brought back.", ticked.size()),
          Buttons::YesNo, Icon::Careful) == Answer::Yes)
    std::ranges::for_each(ticked, LeftCopies::remove);
}

// A copy goes only when the document that was opened from it has one of this run.
void AutoSave::restore(const std::vector<LeftCopy>& wanted) {
  std::vector<std::pair<const LeftCopy*, const CDocument*>> opened;
  for (const LeftCopy& left : wanted)
    if (const CDocument* document = open(left)) opened.emplace_back(&left, document);
  copyChanged();
  waitUntilWritten();
  for (const auto& [left, document] : opened)
    if (written(*document) == document->changeCount()) LeftCopies::remove(*left);
}

CDocument* AutoSave::open(const LeftCopy& left) {
  DocumentType* type = app.documents.typeFor(left.file);
  if (!type) return nullptr;
  const std::string path = left.fact("path");
  if (CDocument* present = path.empty() ? nullptr : type->findOpen(path)) {
    if (present->isModified()) {
      present->report(present->title() + " is open and has changed. Its copy is kept for the next start.");
      return nullptr;
    }
    type->discard(*present);
  }
  CDocument* document = type->restoreDocument(left);
  if (document) giveOwner(*document, left);
  return document;
}

}  // namespace tarnvisor
