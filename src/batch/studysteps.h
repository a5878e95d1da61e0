// The steps of a study: a script in which {key} stands for what the list of exams tells in that column. A
// value takes the place of its braces within one word, so that nothing in it becomes a step, a quote or a
// comment.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/outcome.h"
#include "batch/script.h"

namespace tarnvisor {

class StudySteps {
 public:
  // Fails with a line for each step that is wrong whatever the exam: words that are no step, braces around no
  // column ("{{" stands for "{"), steps that select whom an exam is of, since the list does.
  [[nodiscard]] Outcome read(std::string_view text, const std::string& source,
                             const std::vector<std::string>& columns);
  // With the values of one exam, in the order of the columns. Fails with a line for each step that they make
  // wrong.
  [[nodiscard]] Outcome stepsFor(const std::vector<std::string>& values, std::vector<Step>& steps) const;
  // "steps.txt:3: save {key}.tv1": the step as it was written.
  std::string stepAt(int lineNumber) const;

 private:
  // What a word is put together of: text, and the columns between.
  struct Word {
    std::vector<std::string> texts;  // one more than columns
    std::vector<size_t> columns;
  };
  struct Line {
    int number = 0;
    std::string text;
    std::vector<Word> words;
  };
  static std::string parse(const std::string& text, const std::vector<std::string>& columns, Word& word);
  std::vector<Line> lines;
  std::string name;
};

}  // namespace tarnvisor
