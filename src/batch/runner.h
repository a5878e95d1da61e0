// Runs the steps of a script on the application, one after the other, and prints what each yields: plain
// text, or one JSON object a step. Who wants it otherwise overrides report and warn.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "app/basicapp.h"
#include "batch/script.h"
#include "batch/scripthost.h"

namespace tarnvisor {

// A step and what it yielded, as one JSON object: "step", "ok", then what it has to tell.
std::string jsonOf(const Step& step, const StepResult& result);

class ScriptRunner {
 public:
  ScriptRunner(CBasicApp& application, ScriptHost& host, bool json)
      : app(application), script(host), asJson(json) {}
  virtual ~ScriptRunner() = default;

  // Exit code: 0, or 1 when a step failed. Without keepGoing the first failure ends the run. With it the
  // failure closes all documents but tables, so that no later step meets another than it was written for, and
  // the run goes on at the next open, exam or subject; after a failed exam or subject at the next of these.
  // What a run collected in tables is exported at its end all the same.
  int run(const std::vector<Step>& steps, bool keepGoing);
  StepResult runStep(const Step& step);

 protected:
  // Told of each step once it is through. What is thrown from here ends the run.
  virtual void report(const Step& step, const StepResult& result);
  virtual void warn(const std::string& line);  // of what goes with a failure, without a line's end

 private:
  enum class Scope { Document, Exam, Subject };
  static Scope scopeOf(const Step& step);
  static bool isOfTheRun(const Step& step);
  static bool begins(const Step& step);
  bool exportsWhatWasCollected(const Step& step) const;
  void tellLostRows();
  void giveUp(const Step& step);
  bool isSkipped(const Step& step);
  std::optional<Scope> failed;  // what can't go on
  bool isAtItsEnd = false;      // no later step begins anything

  CBasicApp& app;
  ScriptHost& script;
  bool asJson;
};

}  // namespace tarnvisor
