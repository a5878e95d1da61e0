#include "batch/script.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "base/commit.h"
#include "base/files.h"
#include "base/text.h"
#include "base/version.h"
#include "batch/verbs.h"

namespace tarnvisor {

namespace {

constexpr uint64_t kLongestScript = 16u << 20;

constexpr const char* kUsage =
    "usage: tarnvisor-batch [options] [script...]\n"
    "Runs the steps of the scripts, or of standard input for \"-\".\n"
    "  -e STEP          a step; may be given many times, in order with the scripts\n"
    "  --data FOLDER    the data folder with tarn.db; made when missing\n"
    "  --profile FILE   the run's own profile, read and written; made from the factory settings when missing\n"
    "  --keep-settings  write what is set to the workstation's profile; without, a run works on a copy of it\n"
    "  --json           print one JSON object a step\n"
    "  --keep-going     after a step that failed, go on with the next document; the exit code is then 1\n"
    "  --demonstration  make and run the demonstration in the data folder\n"
    "  --version, --help\n"
    "Exit codes: 0 done, 1 a step failed, 2 a malformed step or option (nothing was run).\n";

}  // namespace

std::string checkStep(const Step& step) {
  const Verb* verb = findVerb(step.word);
  if (!verb) return "unknown step \"" + step.word + "\"";
  if (step.args.size() < verb->fewest) return "\"" + step.word + "\" needs more arguments";
  if (step.args.size() > verb->most) return "\"" + step.word + "\" has too many arguments";
  return verb->check ? verb->check(step.args) : std::string();
}

bool parseNumbers(std::string_view text, std::vector<int32_t>& numbers) {
  numbers.clear();
  for (const std::string& part : split(text, ',')) {
    int32_t value = 0;
    const char* end = part.data() + part.size();
    const auto [stop, error] = std::from_chars(part.data(), end, value);
    if (error != std::errc() || stop != end) return false;
    numbers.push_back(value);
  }
  return true;
}

std::string Step::where() const { return format("%s:%i", source.c_str(), lineNumber); }

std::string Step::line() const {
  std::string text = word;
  for (const std::string& argument : args) {
    const bool plain = !argument.empty() && argument.find_first_of(" \t\r\"#\\") == std::string::npos;
    text += ' ';
    if (plain) {
      text += argument;
      continue;
    }
    text += '"';
    for (const char c : argument) {
      if (c == '"' || c == '\\') text += '\\';
      text += c;
    }
    text += '"';
  }
  return text;
}

std::vector<int32_t> Step::numbers(size_t argument) const {
  std::vector<int32_t> values;
  parseNumbers(args[argument], values);
  return values;
}

bool splitStep(std::string_view line, std::vector<std::string>& words) {
  std::string word;
  bool inWord = false;
  bool quoted = false;
  for (size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (quoted && c == '\\' && i + 1 < line.size() && (line[i + 1] == '"' || line[i + 1] == '\\')) {
      word += line[++i];
    } else if (c == '"') {
      quoted = !quoted;
      inWord = true;
    } else if (!quoted && c == '#' && !inWord) {
      break;
    } else if (!quoted && (c == ' ' || c == '\t' || c == '\r')) {
      if (inWord) words.push_back(word);
      word.clear();
      inWord = false;
    } else {
      word += c;
      inWord = true;
    }
  }
  if (inWord) words.push_back(word);
  return !quoted;
}

std::string parseStep(std::string_view line, const std::string& source, int lineNumber,
                      std::vector<Step>& steps) {
  std::vector<std::string> words;
  if (!splitStep(line, words)) return "a quote is not closed";
  if (words.empty()) return {};
  Step step{words.front(), {words.begin() + 1, words.end()}, source, lineNumber};
  std::string problem = checkStep(step);
  if (problem.empty()) steps.push_back(std::move(step));
  return problem;
}

std::string parseScript(std::string_view text, const std::string& source, std::vector<Step>& steps) {
  std::string problems;
  int number = 0;
  for (const std::string& line : split(text, '\n')) {
    const std::string problem = parseStep(line, source, ++number, steps);
    if (!problem.empty()) problems += format("%s:%i: %s\n", source.c_str(), number, problem.c_str());
  }
  return problems;
}

namespace {

std::string readStandardInput() {
  std::string text;
  char block[4096];
  for (size_t got = 0; (got = std::fread(block, 1, sizeof block, stdin)) > 0 && text.size() < kLongestScript;)
    text.append(block, got);
  return text;
}

std::string addScript(const std::string& path, std::vector<Step>& steps) {
  if (path == "-") return parseScript(readStandardInput(), "standard input", steps);
  const auto text = readWholeText(path, kLongestScript);
  return text ? parseScript(withoutMark(*text), path, steps) : path + ": can't be read\n";
}

}  // namespace

BatchOptions parseBatchOptions(const std::vector<std::string>& arguments) {
  BatchOptions options;
  std::string problems;
  int stepNumber = 0;
  const auto end = [&](int code, const std::string& message) {
    options.exitCode = code;
    options.message = message;
    return options;
  };
  for (size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (argument == "--help") return end(0, kUsage);
    if (argument == "--version")
      return end(0, "tarnvisor-batch " + versionText() + " (commit " + programCommit() + ")\n");
    if (argument == "--json")
      options.json = true;
    else if (argument == "--keep-going")
      options.keepGoing = true;
    else if (argument == "--keep-settings")
      options.keepSettings = true;
    else if (argument == "--demonstration")
      options.demonstration = true;
    else if (argument == "-e" || argument == "--profile" || argument == "--data") {
      if (++i == arguments.size()) return end(2, argument + " needs a value\n");
      if (argument == "--profile")
        options.profile = arguments[i];
      else if (argument == "--data")
        options.dataFolder = arguments[i];
      else if (const auto wrong = parseStep(arguments[i], "-e", ++stepNumber, options.steps); !wrong.empty())
        problems += format("-e:%i: %s\n", stepNumber, wrong.c_str());
    } else if (argument.size() > 1 && argument[0] == '-') {
      return end(2, "unknown option " + argument + "\n" + kUsage);
    } else {
      problems += addScript(argument, options.steps);
    }
  }
  if (!problems.empty()) return end(2, problems);
  if (options.steps.empty() && !options.demonstration) return end(2, kUsage);
  return options;
}

namespace {

// The length of the well-formed UTF-8 character that the text begins with; 0 when it begins with none.
size_t utf8Length(std::string_view text) {
  const auto byte = [&](size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0; };
  const int first = byte(0);
  const size_t length = first < 0xc2 ? 0 : first < 0xe0 ? 2 : first < 0xf0 ? 3 : first < 0xf5 ? 4 : 0;
  for (size_t i = 1; i < length; ++i)
    if ((byte(i) & 0xc0) != 0x80) return 0;
  const bool tooLong = (first == 0xe0 && byte(1) < 0xa0) || (first == 0xf0 && byte(1) < 0x90);
  const bool noCharacter = (first == 0xed && byte(1) >= 0xa0) || (first == 0xf4 && byte(1) >= 0x90);
  return tooLong || noCharacter ? 0 : length;
}

}  // namespace

std::string jsonQuoted(std::string_view text) {
  std::string quoted = "\"";
  for (size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c == '"' || c == '\\') {
      quoted += '\\';
      quoted += text[i];
    } else if (c == '\n') {
      quoted += "\\n";
    } else if (c < 0x20 || c == 0x7f) {
      quoted += format("\\u%04x", c);
    } else if (c < 0x80) {
      quoted += text[i];
    } else if (const size_t length = utf8Length(text.substr(i)); length > 0) {
      quoted += text.substr(i, length);
      i += length - 1;
    } else {
      quoted += static_cast<char>(0xc0 | (c >> 6));
      quoted += static_cast<char>(0x80 | (c & 0x3f));
    }
  }
  return quoted + '"';
}

}  // namespace tarnvisor
