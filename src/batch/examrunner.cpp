#include "batch/examrunner.h"

#include <algorithm>

#include "base/files.h"
#include "base/text.h"
#include "dynamic/vivocapdoc.h"
#include "exams/dbdocument.h"
#include "exams/examselection.h"

namespace tarnvisor {

void NotedDocuments::note(const CBasicApp& app) {
  std::map<const CDocument*, std::string> open;
  for (const CDocument* each : app.documents.documents())
    if (const auto* document = dynamic_cast<const CdbDocument*>(each)) {
      open[each] = document->title();
      noteName(each, *document);
      if (const std::string words = document->judgementOfResult(); !words.empty())
        judged[nameOf(document->title())] = words;
    }
  titles = std::move(open);
}

std::string NotedDocuments::nameOf(const std::string& title) const {
  const auto saved = files.find(title);
  return saved == files.end() || saved->second.empty() ? title : saved->second;
}

std::string NotedDocuments::judgementOf(const std::string& title) const {
  const auto found = judged.find(nameOf(title));
  return found == judged.end() ? std::string() : found->second;
}

// Of one that a step saved under another name. A title that two documents had means neither.
void NotedDocuments::noteName(const CDocument* open, const CdbDocument& document) {
  const auto before = titles.find(open);
  if (before == titles.end() || before->second == document.title() || document.pathName().empty()) return;
  const std::string file = fileNameOf(document.pathName());
  if (const auto [known, isNew] = files.try_emplace(before->second, file); !isNew && known->second != file)
    known->second.clear();
  if (auto kept = judged.extract(before->second)) {
    kept.key() = file;
    judged.insert(std::move(kept));
  }
}

void ExamRunner::report(const Step& step, const StepResult& result) {
  ScriptRunner::report(step, result);
  takeOver();
  if (result.ok && step.word == "import" && !step.args.empty() && fileExists(step.args[0]))
    read.insert(absolutePath(step.args[0]));
  noted.note(program.app);
  if (!result.ok) return fail(step, result.why);
  noteSaved(step);
  noteDoubts(step);
}

// What a damaged still does, a damaged movie does.
void ExamRunner::noteDoubts(const Step& step) {
  for (const CDocument* each : program.app.documents.documents()) {
    const auto* video = dynamic_cast<const CVivoCapDoc*>(each);
    if (!video) continue;
    for (const CVivoCapDoc::Doubt& doubt : video->doubts()) {
      if (doubt.isLoss) fail(step, doubt.words);
      remarks[video->title()].insert(doubt.words);
    }
  }
}

void ExamRunner::fail(const Step& step, const std::string& words) {
  if (failedLine > 0) return;
  failedLine = step.lineNumber;
  why = words;
}

// The exam's folder was empty: what a save replaces is this exam's own.
void ExamRunner::noteSaved(const Step& step) {
  const std::vector<CDocument*> open = program.app.documents.documents();
  for (auto& [path, document] : files)
    if (std::ranges::find(open, document) == open.end()) document = nullptr;
  for (const CDocument* each : open) {
    if (each->pathName().empty() || !fileExists(each->pathName())) continue;
    const auto [known, isNew] = files.try_emplace(each->pathName(), each);
    if (!isNew && known->second != each && step.word == "save")
      fail(step, "another document of this exam was saved as " + fileNameOf(each->pathName()) + " before");
    known->second = each;
  }
}

// A document that the list names is copied, as pictures are: its own file and exam are left alone, and it is
// from now on one of this exam, not saved yet.
void ExamRunner::takeOver() {
  const std::vector<CDocument*> open = program.app.documents.documents();
  for (Listed& each : listed) {
    if (std::ranges::find(open, each.document) == open.end()) each.document = nullptr;
    if (each.document && each.document->changeCount() != each.changes) each.isUntouched = false;
  }
  for (auto& [title, document] : titled)
    if (std::ranges::find(open, document) == open.end()) document = nullptr;
  for (CDocument* each : open) {
    for (const std::string& file : each->filesInUse())
      if (!file.empty() && !file.starts_with(own)) read.insert(file);
    auto* document = dynamic_cast<CdbDocument*>(each);
    if (!document || document->pathName().starts_with(own)) continue;
    const std::string name =
        document->pathName().empty() ? document->title() : fileNameOf(document->pathName());
    const std::string whose = document->patientId.empty() ? document->otherSubject() : document->patientId;
    if (!document->pathName().empty() || !whose.empty()) document->forgetOwner();
    const bool isListed = !document->pathName().empty();
    if (isListed)
      document->setPathName(freePath(name));
    else if (dynamic_cast<CVivoCapDoc*>(document))  // passes make movies beside it, else beside the movie
      document->setPathName(freePath(withoutExtension(name) + ".dtv"));
    else
      giveTitle(*document);
    if (isListed && !document->resultText.empty())
      listed.push_back({document, document->title(), document->changeCount()});
    if (!whose.empty() && whose != theExams().subjectId())
      remarks[document->title()].insert(
          format("%s was a document of subject %s", name.c_str(), whose.c_str()));
  }
}

// Of pictures that are called alike, each has its own: tables and judgements tell of them by their titles.
void ExamRunner::giveTitle(CDocument& document) {
  std::string file;
  for (const std::string& used : document.filesInUse())
    if (!used.empty()) file = used;
  if (file.empty()) return;  // tables are known by their titles
  const std::string first = document.title();
  for (int number = 1;; ++number) {
    const auto [known, isNew] = titled.try_emplace(document.title(), &document);
    if (isNew) madeOf[document.title()] = file;
    if (isNew || known->second == &document) return;
    document.setTitle(format("%s-%i", first.c_str(), number));
  }
}

// In the exam's folder, no file's and no open document's: two columns may name files that are called alike.
std::string ExamRunner::freePath(const std::string& name) const {
  const std::string stem = theExams().folder() + withoutExtension(name), ending = "." + extensionOf(name);
  std::string path = stem + ending;
  const auto isTaken = [&] {
    return fileExists(path) ||
           std::ranges::any_of(program.app.documents.documents(),
                               [&](const CDocument* open) { return open->pathName() == path; });
  };
  for (int number = 1; isTaken(); ++number) path = format("%s-%i%s", stem.c_str(), number, ending.c_str());
  return path;
}

}  // namespace tarnvisor
