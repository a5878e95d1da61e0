// The verbs of the script language: each stands here with its arguments and with what it does.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "app/basicapp.h"
#include "batch/script.h"
#include "batch/scripthost.h"

namespace tarnvisor {

// What a verb works with.
struct StepContext {
  CBasicApp& app;
  ScriptHost& script;
  const Step& step;
};

struct Verb {
  const char* word;
  size_t fewest, most;  // arguments
  StepResult (*run)(StepContext& context);
  // Beside their number: empty when the arguments are right, otherwise what is wrong. Null: nothing to check.
  std::string (*check)(const std::vector<std::string>& arguments) = nullptr;
};

// Null for a word that is no verb.
const Verb* findVerb(std::string_view word);
// The document that steps mean: never a table that collects rows beside the documents they are of, unless it
// was opened by name. Null when there is none.
CDocument* documentInFront(const CBasicApp& app);
// A document that lacks what a step asks of it.
StepResult unavailable(const StepContext& context);

}  // namespace tarnvisor
