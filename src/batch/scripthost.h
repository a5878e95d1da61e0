// The host of a script: questions are answered from the step's list of answers, in the order asked; what is
// not answered takes its stored or default value. Messages are gathered for the step's report.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "batch/pictures.h"
#include "host/host.h"

namespace tarnvisor {

class ScriptHost final : public Messages,
                         public Choosers,
                         public Forms,
                         public Clipboard,
                         public Windows,
                         public WaitCursor,
                         public Printer,
                         public PictureWriter {
 public:
  // What a step has for its questions: yes, no, ok, cancel, a value, a path, or label=value.
  void begin(std::vector<std::string> stepAnswers);
  // Empty when the step went well so far; otherwise what was wrong with its answers.
  const std::string& problem() const { return wrong; }
  // Answers that no question asked for.
  std::vector<std::string> unused() const { return {answers.begin(), answers.end()}; }
  // Messages shown since begin(); errors are those with a warning or error icon.
  std::string shown() const;
  bool hadError() const { return sawError; }
  bool closeWanted() const { return closing; }

  Answer show(const std::string& text, Buttons buttons, Icon icon) override;
  std::optional<std::string> openFile(const FileRequest& request) override;
  std::optional<std::string> saveFile(const FileRequest& request) override;
  std::vector<std::string> openFiles(const FileRequest& request) override;
  std::optional<std::string> chooseFolder(const std::string& title, const std::string& current) override;
  bool run(Form& form) override;
  bool asksSomebody() const override { return false; }
  void setText(const std::string& words) override { clipboardText = words; }
  std::optional<std::string> text() override { return clipboardText; }
  ClipboardResult setData(const std::string& format, const std::vector<uint8_t>& bytes) override {
    clipboardData[format] = bytes;
    return ClipboardResult::Done;
  }
  std::optional<std::vector<uint8_t>> data(const std::string& format) override {
    const auto found = clipboardData.find(format);
    return found == clipboardData.end() ? std::nullopt : std::optional(found->second);
  }
  std::optional<std::vector<uint8_t>> bitmap() override { return std::nullopt; }
  bool createMainFrame(const std::string&) override { return true; }
  void showMainFrame() override {}
  void closeMainFrame() override { closing = true; }
  void tile() override {}
  void cascade() override {}
  void popupMenu(int32_t, Point) override {}
  void refreshBars() override {}
  bool openWithDesktop(const std::string&) override { return false; }
  void begin() override {}
  void end() override {}
  bool print(const std::string& title, const Draw& draw) override;
  bool preview(const std::string& title, const Draw& draw) override { return print(title, draw); }

  Outcome write(const std::string& path, Size size, const std::function<void(Canvas&)>& draw) override {
    return savePicture(path, size, draw);
  }

  Host ports{*this, *this, *this, *this, *this, *this, *this, programs, *this};

 private:
  bool takeWord(std::initializer_list<const char*> words, std::string& taken);
  std::optional<std::string> takePath();
  bool applyLabelled(const Form& form);
  bool applyPlain(const Form& form);
  std::vector<std::string> answers;
  std::vector<std::string> messages;
  std::optional<std::string> clipboardText;
  std::map<std::string, std::vector<uint8_t>> clipboardData;
  SystemProcesses programs;
  std::string wrong;
  bool sawError = false;
  bool closing = false;
};

}  // namespace tarnvisor
