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
  noted.note(program.app);
  if (result.ok || failedLine > 0) return;
  failedLine = step.lineNumber;
  why = result.why;
}

// A document that the list names is copied, as pictures are: its own file and exam are left alone, and it is
// from now on one of this exam, not saved yet.
void ExamRunner::takeOver() {
  for (CDocument* each : program.app.documents.documents()) {
    for (const std::string& file : each->filesInUse())
      if (!file.empty() && !file.starts_with(own)) read.insert(file);
    auto* document = dynamic_cast<CdbDocument*>(each);
    if (!document || document->pathName().starts_with(own)) continue;
    if (document->pathName().empty()) {
      // Passes make movies beside the document, else beside the movie.
      if (dynamic_cast<CVivoCapDoc*>(document))
        document->setPathName(freePath(withoutExtension(document->title()) + ".dtv"));
      continue;
    }
    const std::string name = fileNameOf(document->pathName()), whose = document->patientId;
    document->forgetOwner();
    document->setPathName(freePath(name));
    if (!whose.empty() && whose != theExams().subjectId())
      others[document->title()] = format("%s was a document of subject %s", name.c_str(), whose.c_str());
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
  for (int number = 1; isTaken(); ++number) path = stem + format("-%i", number) + ending;
  return path;
}

}  // namespace tarnvisor
