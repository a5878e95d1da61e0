#include "batch/runner.h"

#include <algorithm>
#include <cstdio>

#include "base/text.h"
#include "batch/verbs.h"
#include "results/resultdoc.h"

namespace tarnvisor {

// What a step begins. A failure ends that, and what would come to it is left out until the next begins: after
// a failed exam a document would end in the exam before.
ScriptRunner::Scope ScriptRunner::scopeOf(const Step& step) {
  if (step.word == "subject") return Scope::Subject;
  if (step.word == "exam") return Scope::Exam;
  return Scope::Document;
}

// Settings and tables are of the whole run.
bool ScriptRunner::isOfTheRun(const Step& step) { return step.word == "set" || step.word == "results"; }

bool ScriptRunner::begins(const Step& step) { return step.word == "open" || scopeOf(step) > Scope::Document; }

// With no document left, a table is what such a step can mean.
bool ScriptRunner::exportsWhatWasCollected(const Step& step) const {
  return isAtItsEnd && step.word == "export" && endsWithIgnoringCase(step.args[0], ".csv") &&
         lastResultDocument();
}

bool ScriptRunner::isSkipped(const Step& step) {
  if (!failed || isOfTheRun(step) || exportsWhatWasCollected(step)) return false;
  if (begins(step) && scopeOf(step) >= *failed) {
    failed.reset();
    return false;
  }
  return true;
}

// What the steps left out would have opened or closed is not known. And saved, a document that a step failed
// on would pass for one that went well.
void ScriptRunner::giveUp(const Step& step) {
  if (isOfTheRun(step)) return;
  failed = scopeOf(step);
  const std::vector<CDocument*> open = app.documents.documents();
  for (CDocument* document : open) {
    if (document->collectsOverExams()) continue;
    if (document->isModified()) warn(step.where() + ": " + document->title() + " is closed unsaved");
    document->type()->discard(*document);
  }
}

void ScriptRunner::tellLostRows() {
  for (const CDocument* document : app.documents.documents())
    if (const auto* table = dynamic_cast<const CResultDoc*>(document); table && table->hasUnkeptRows())
      warn(format("the %zu rows of the table \"%s\" were neither saved nor exported", table->rowCount(),
                  table->title().c_str()));
}

int ScriptRunner::run(const std::vector<Step>& steps, bool keepGoing) {
  int code = 0;
  const auto last = std::find_if(steps.rbegin(), steps.rend(), begins).base();
  for (const Step& step : steps) {
    isAtItsEnd = &step - steps.data() >= last - steps.begin();
    const bool skipped = isSkipped(step);
    const StepResult result =
        skipped ? StepResult::failure("left out, because of the step that failed before") : runStep(step);
    report(step, result);
    if (script.closeWanted()) return result.ok ? code : 1;
    if (result.ok || skipped) continue;
    code = 1;
    if (!keepGoing) break;
    giveUp(step);
  }
  if (code != 0) tellLostRows();
  return code;
}

void ScriptRunner::warn(const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); }

std::string jsonOf(const Step& step, const StepResult& result) {
  std::string line = "{\"step\":" + jsonQuoted(step.line()) + ",\"ok\":" + (result.ok ? "true" : "false");
  if (!result.ok) line += ",\"error\":" + jsonQuoted(result.why);
  for (const auto& [name, value] : result.values) line += "," + jsonQuoted(name) + ":" + jsonQuoted(value);
  if (!result.text.empty()) line += ",\"text\":" + jsonQuoted(result.text);
  return line + "}";
}

void ScriptRunner::report(const Step& step, const StepResult& result) {
  if (asJson) {
    std::printf("%s\n", jsonOf(step, result).c_str());
  } else if (!result.text.empty()) {
    std::fputs(result.text.c_str(), stdout);
    if (result.text.back() != '\n') std::fputc('\n', stdout);
  }
  std::fflush(stdout);
  if (!result.ok) warn(step.where() + ": " + step.line() + ": " + result.why);
}

StepResult ScriptRunner::runStep(const Step& step) {
  script.begin({});
  if (CDocument* front = documentInFront(app)) app.documents.activate(*front);
  StepContext context{app, script, step};
  const Verb* verb = findVerb(step.word);
  StepResult result = verb ? verb->run(context) : unavailable(context);
  // What a command posted belongs to its step, and so does a timer that is due.
  while ((app.loop.hasPosted() || app.loop.untilNextTimerMs(1) == 0) && !app.loop.hasQuit()) app.loop.turn();
  if (result.ok && !script.problem().empty()) result = StepResult::failure(script.problem());
  if (result.ok && script.hadError()) result = StepResult::failure(script.shown());
  if (const auto unused = script.unused(); result.ok && !unused.empty())
    result = StepResult::failure("nothing asked for the answer \"" + unused.front() + "\"");
  return result;
}

}  // namespace tarnvisor
