// Any bytes as a script: what is accepted can be written and read back, and its JSON form is one line of
// UTF-8.
#include "batch/script.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

void require(bool good) {
  if (!good) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace tarnvisor;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::vector<Step> steps;
  (void)parseScript(text, "fuzz", steps);
  for (const Step& step : steps) {
    std::vector<Step> again;
    require(parseStep(step.line(), "fuzz", step.lineNumber, again).empty());
    require(again.size() == 1 && again[0].word == step.word && again[0].args == step.args);
    require(again[0].line() == step.line());
    for (size_t i = 0; i < step.args.size(); ++i) (void)step.numbers(i);
  }
  const std::string quoted = jsonQuoted(text);
  require(quoted.size() >= 2 && quoted.front() == '"' && quoted.back() == '"');
  for (const char c : quoted) require(static_cast<unsigned char>(c) >= 0x20);
  require(jsonQuoted(std::string_view(quoted).substr(1, quoted.size() - 2)).size() >= quoted.size());
  return 0;
}
