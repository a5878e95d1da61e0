// The host of a script: questions are answered from the step's list of answers, in the order asked; what is
// not answered takes its stored or default value. Messages are gathered for the step's report.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "batch/pictures.h"
#include "host/nullhost.h"

namespace tarnvisor {

class ScriptHost final : public NullHost {
 public:
  // What a step has for its questions: yes, no, ok, cancel, a value, a path, or label=value.
  using NullHost::begin;
  void begin(std::vector<std::string> stepAnswers);
  // Empty when the step went well so far; otherwise what was wrong with its answers.
  const std::string& problem() const { return wrong; }
  // Answers that no question asked for.
  void dropAnswers() { answers.clear(); }  // those that are left aren't needed
  std::vector<std::string> unused() const { return {answers.begin(), answers.end()}; }
  // Messages shown since begin(); errors are those with a warning or error icon.
  std::string shown() const;
  bool hadError() const { return sawError; }
  bool closeWanted() const { return closing; }
  // Asked while long work runs; false stops it as Cancel does. None: it runs to its end.
  std::function<bool()> mayGoOn;

  using NullHost::show;
  Answer show(const std::string& text, Buttons buttons, Icon icon) override;
  std::optional<std::string> openFile(const FileRequest& request) override;
  std::optional<std::string> saveFile(const FileRequest& request) override;
  std::vector<std::string> openFiles(const FileRequest& request) override;
  std::optional<std::string> chooseFolder(const std::string& title, const std::string& current) override;
  using NullHost::run;
  bool run(Form& form) override;
  bool asksSomebody() const override { return false; }
  bool progress(const std::string&, int64_t, int64_t) override { return !mayGoOn || mayGoOn(); }
  void closeMainFrame() override { closing = true; }
  bool print(const std::string& title, const Draw& draw) override;
  bool preview(const std::string& title, const Draw& draw) override { return print(title, draw); }

  Outcome writePdf(const std::string& path, const std::string& title, const Draw& draw) override {
    return printToPdf(title, draw, path);
  }

  using PictureWriter::write;
  Outcome write(const std::string& path, Size size, PixelSize pixel,
                const std::function<void(Canvas&)>& draw) override {
    return savePicture(path, size, pixel, draw);
  }

 private:
  bool takeWord(std::initializer_list<const char*> words, std::string& taken);
  std::optional<std::string> takePath();
  std::optional<std::string> pathFor(const std::string& title, const char* what);
  void needs(const std::string& title, const char* what);
  bool applyLabelled(const Form& form);
  bool applyPlain(const Form& form);
  std::vector<std::string> answers;
  std::vector<std::string> messages;
  std::string wrong;
  bool sawError = false;
  bool closing = false;
};

}  // namespace tarnvisor
