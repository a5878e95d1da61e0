#include "batch/runner.h"

#include "base/text.h"
#include "batch/verbs.h"

namespace tarnvisor {

int ScriptRunner::run(const std::vector<Step>& steps, bool keepGoing) {
  int code = 0;
  for (const Step& step : steps) {
    const StepResult result = runStep(step);
    report(step, result);
    if (script.closeWanted()) return result.ok ? code : 1;
    if (result.ok) continue;
    code = 1;
    if (!keepGoing) break;
  }
  return code;
}

void ScriptRunner::report(const Step& step, const StepResult& result) const {
  if (asJson) {
    std::string line = "{\"step\":" + jsonQuoted(step.line()) + ",\"ok\":" + (result.ok ? "true" : "false");
    if (!result.ok) line += ",\"error\":" + jsonQuoted(result.why);
    for (const auto& [name, value] : result.values) line += "," + jsonQuoted(name) + ":" + jsonQuoted(value);
    if (!result.text.empty()) line += ",\"text\":" + jsonQuoted(result.text);
    std::printf("%s}\n", line.c_str());
  } else if (!result.text.empty()) {
    std::fputs(result.text.c_str(), stdout);
    if (result.text.back() != '\n') std::fputc('\n', stdout);
  }
  std::fflush(stdout);
  if (!result.ok)
    std::fprintf(stderr, "%s: %s: %s\n", step.where().c_str(), step.line().c_str(), result.why.c_str());
}

StepResult ScriptRunner::runStep(const Step& step) {
  script.begin({});
  StepContext context{app, script, step};
  const Verb* verb = findVerb(step.word);
  StepResult result = verb ? verb->run(context) : unavailable(context);
  // Commands that a command posted belong to its step.
  while (app.loop.hasPosted() && !app.loop.hasQuit()) app.loop.turn();
  if (result.ok && !script.problem().empty()) result = StepResult::failure(script.problem());
  if (result.ok && script.hadError()) result = StepResult::failure(script.shown());
  if (const auto unused = script.unused(); result.ok && !unused.empty())
    result = StepResult::failure("nothing asked for the answer \"" + unused.front() + "\"");
  return result;
}

}  // namespace tarnvisor
