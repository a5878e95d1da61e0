// Runs the steps of a script on the application, one after the other, and prints what each yields: plain
// text, or one JSON object a step.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "app/basicapp.h"
#include "batch/script.h"
#include "batch/scripthost.h"

namespace tarnvisor {

class ScriptRunner {
 public:
  ScriptRunner(CBasicApp& application, ScriptHost& host, bool json)
      : app(application), script(host), asJson(json) {}

  // Exit code: 0, or 1 when a step failed. Without keepGoing the first failure ends the run.
  int run(const std::vector<Step>& steps, bool keepGoing);
  StepResult runStep(const Step& step);

 private:
  void report(const Step& step, const StepResult& result) const;

  CBasicApp& app;
  ScriptHost& script;
  bool asJson;
};

}  // namespace tarnvisor
