// The steps of an exam of a study, and what they do to documents.
#pragma once

#include <map>
#include <set>
#include <string>

#include "batch/runner.h"
#include "batch/scriptprogram.h"

namespace tarnvisor {

class CdbDocument;

// What is told of documents while the steps run, by the names that they have: a picture has its own before it
// is saved as a document, and later steps may close it.
class NotedDocuments {
 public:
  void note(const CBasicApp& app);
  // The file's, once there is one.
  std::string nameOf(const std::string& title) const;
  std::string judgementOf(const std::string& title) const;
  const std::map<std::string, std::string>& judgements() const { return judged; }

 private:
  void noteName(const CDocument* open, const CdbDocument& document);
  std::map<const CDocument*, std::string> titles;  // of those that were open after the step before
  std::map<std::string, std::string> files, judged;
};

class ExamRunner final : public ScriptRunner {
 public:
  // folder: the one, with its separator, that the exam writes in; the exam is selected.
  ExamRunner(ScriptProgram& running, const std::string& folder)
      : ScriptRunner(running.app, running.host, false), program(running), own(folder) {}
  NotedDocuments noted;
  // Of documents: that they were another subject's, or what makes their movies doubtful.
  std::map<std::string, std::set<std::string>> remarks;
  struct Listed {
    const CDocument* document;  // null once it is closed
    std::string title;
    uint64_t changes;
    bool isUntouched = true;  // no step changed it
  };
  std::vector<Listed> listed;                 // documents that brought a result
  std::set<std::string> read;                 // files outside the study that documents work on
  std::map<std::string, std::string> madeOf;  // files of the pictures with these titles
  int failedLine = 0;
  std::string why;

 protected:
  void report(const Step& step, const StepResult& result) override;

 private:
  void takeOver();
  void fail(const Step& step, const std::string& words);
  void noteSaved(const Step& step);
  void noteDoubts(const Step& step);
  void giveTitle(CDocument& document);
  std::string freePath(const std::string& name) const;
  ScriptProgram& program;
  const std::string own;
  std::map<std::string, const CDocument*> titled;  // without a file; null once they are closed
  std::map<std::string, const CDocument*> files;   // by path, likewise
};

}  // namespace tarnvisor
