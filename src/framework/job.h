// Long work on a document, in steps short enough for a live window. In windows the message loop drives it and
// other windows stay in use; scripts, start switches and tests drive it to its end before start() returns.
// There is one job a document at a time: while it is at work, commands and input of the document and its
// views are off.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace tarnvisor {

class CDocument;
class ProgressWindow;

class Job {
 public:
  struct Progress {
    std::string words;  // what it does now
    int64_t done = 0, total = 0;
  };

  virtual ~Job() = default;
  virtual std::string title() const = 0;  // of the window that shows the progress
  virtual Progress progress() const = 0;
  // What would be lost if it were stopped, in a sentence; empty for what can be begun again as it was.
  virtual std::string lostIfStopped() const { return ""; }
  // False when nothing is left to do.
  [[nodiscard]] virtual bool step() = 0;
  // Once, after the last step or when the user stopped it; the document is no longer busy then, and may begin
  // the next job. Not called when the document goes without being asked: the destructor lets go of what there
  // is.
  virtual void end(bool cancelled) = 0;
};

// A job at work; the document owns it.
class JobAtWork {
 public:
  JobAtWork(CDocument& workedOn, std::unique_ptr<Job> work);
  ~JobAtWork();
  // Some steps, as long as a window may stand still. False at the end: finish() comes next.
  [[nodiscard]] bool slice();
  // All of it, behind the wait cursor.
  void toEnd();
  void stop() { stopped = true; }
  std::string lostIfStopped() const { return job->lostIfStopped(); }
  void finish();

 private:
  [[nodiscard]] bool step();
  CDocument& document;
  std::unique_ptr<Job> job;
  std::unique_ptr<ProgressWindow> window;
  bool stopped = false;
};

}  // namespace tarnvisor
