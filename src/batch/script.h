// The script language of tarnvisor-batch and its command line: read and checked as a whole before anything
// runs.
//
// One step a line: a word and its arguments, separated by blanks. "#" begins a comment, double quotes group,
// and inside quotes \" and \\ stand for themselves.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarnvisor {

struct Step {
  std::string word;
  std::vector<std::string> args;
  std::string source;  // file, or "-e" for the command line
  int lineNumber = 0;

  std::string where() const;  // "study.txt:12"
  std::string line() const;   // the step as it could be written
  // The whole numbers of an argument such as "100,80,540,400"; checked when the script was read.
  std::vector<int32_t> numbers(size_t argument) const;
};

struct BatchOptions {
  std::vector<Step> steps;
  std::string profile;
  std::string dataFolder;
  bool json = false;
  bool keepGoing = false;
  bool keepSettings = false;
  bool demonstration = false;
  int exitCode = -1;  // 0 or above: end at once with it, after printing the message
  std::string message;
};

// Whole numbers between commas; false when the text is anything else.
bool parseNumbers(std::string_view text, std::vector<int32_t>& numbers);
// The words of one line; false when a quote is left open.
bool splitStep(std::string_view line, std::vector<std::string>& words);
// Empty when such a step can run, otherwise what is wrong with its word or its arguments.
std::string checkStep(const Step& step);
// Adds the step of a line, if it has one. Empty on success, otherwise what is wrong with it.
std::string parseStep(std::string_view line, const std::string& source, int lineNumber,
                      std::vector<Step>& steps);
// All steps of a text. Empty on success, otherwise one line for each wrong step.
std::string parseScript(std::string_view text, const std::string& source, std::vector<Step>& steps);
BatchOptions parseBatchOptions(const std::vector<std::string>& arguments);

// A JSON string with its quotes. Bytes above 127 that are not UTF-8 count as Latin-1.
std::string jsonQuoted(std::string_view text);

}  // namespace tarnvisor
