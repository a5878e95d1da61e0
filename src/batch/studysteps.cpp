#include "batch/studysteps.h"

#include <algorithm>

#include "base/text.h"

namespace tarnvisor {

std::string StudySteps::parse(const std::string& text, const std::vector<std::string>& columns, Word& word) {
  word.texts.emplace_back();
  for (size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '{') {
      word.texts.back() += text[at];
      continue;
    }
    if (text.compare(at, 2, "{{") == 0) {
      word.texts.back() += text[at++];
      continue;
    }
    const size_t end = text.find('}', at);
    if (end == std::string::npos)
      return text.substr(at) + " is not closed by }; a word with blanks stands in quotes ({{ stands for {)";
    const std::string column = text.substr(at + 1, end - at - 1);
    const auto known = std::ranges::find(columns, column);
    if (known == columns.end()) {
      std::string names;
      for (const std::string& each : columns) names += (names.empty() ? "{" : ", {") + each + "}";
      return format("{%s} is no column of the list of exams, which has %s ({{ stands for {)", column.c_str(),
                    names.c_str());
    }
    word.columns.push_back(static_cast<size_t>(known - columns.begin()));
    word.texts.emplace_back();
    at = end;
  }
  return {};
}

Outcome StudySteps::read(std::string_view text, const std::string& source,
                         const std::vector<std::string>& columns) {
  lines.clear();
  name = source;
  std::string problems;
  int number = 0;
  for (const std::string& line : split(text, '\n')) {
    ++number;
    std::vector<std::string> words;
    std::string problem;
    if (!splitStep(line, words)) problem = "a quote is not closed";
    if (words.empty() && problem.empty()) continue;
    Line read{.number = number, .text = std::string(trimmed(line)), .words = std::vector<Word>(words.size())};
    for (size_t i = 0; i < words.size() && problem.empty(); ++i)
      problem = parse(words[i], columns, read.words[i]);
    if (problem.empty() && (words[0] == "subject" || words[0] == "exam"))
      problem =
          "the list of exams tells subject and site: a study's steps begin with what is done in an exam";
    if (problem.empty() && !read.words[0].columns.empty()) problem = "a step's own word can't be a column";
    if (!problem.empty()) problems += format("%s:%i: %s\n", name.c_str(), number, problem.c_str());
    lines.push_back(std::move(read));
  }
  if (problems.empty() && lines.empty()) problems = name + " has no steps\n";
  return problems.empty() ? Outcome::success() : Outcome::failure(problems);
}

std::string StudySteps::stepAt(int lineNumber) const {
  const auto found = std::ranges::find(lines, lineNumber, &Line::number);
  return found == lines.end() ? std::string() : format("%s:%i: ", name.c_str(), lineNumber) + found->text;
}

Outcome StudySteps::stepsFor(const std::vector<std::string>& values, std::vector<Step>& steps) const {
  steps.clear();
  std::string problems;
  for (const Line& line : lines) {
    std::vector<std::string> words;
    for (const Word& word : line.words) {
      std::string& text = words.emplace_back(word.texts[0]);
      for (size_t i = 0; i < word.columns.size(); ++i) text += values[word.columns[i]] + word.texts[i + 1];
    }
    Step step{words[0], {words.begin() + 1, words.end()}, name, line.number};
    if (const std::string wrong = checkStep(step); !wrong.empty())
      problems += step.where() + ": " + wrong + "\n";
    steps.push_back(std::move(step));
  }
  return problems.empty() ? Outcome::success() : Outcome::failure(problems);
}

}  // namespace tarnvisor
