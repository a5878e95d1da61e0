// The ports to a desktop, by Qt: messages, choosers, forms, clipboard and the wait cursor.
#pragma once

#include <QProgressDialog>
#include <QString>
#include <memory>

#include "app/processstate.h"
#include "host/host.h"

class QWidget;

namespace tarnvisor {

// The window that a dialog belongs to; null without one.
QWidget* dialogParent();

// "Words|*.a;*.b|All|*.*||" as Qt writes it: "Words (*.a *.b)", "All (*)".
QStringList qtFilters(const std::string& filter);

// The cursor is shown from the first begin() to the last end(), but not while a dialog asks for something.
class QtWaitCursor final : public WaitCursor {
 public:
  void begin() override;
  void end() override;
  bool progress(const std::string& what, int64_t done, int64_t total) override;

  class Pause {
   public:
    Pause();
    ~Pause();
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;
  };

 private:
  static int depth;
  std::unique_ptr<QProgressDialog> dialog;  // once it takes long
  double startedAt = 0, shownAt = 0;
};

// Beside the windows, which stay in use.
std::unique_ptr<ProgressWindow> makeProgressWindow(const std::string& title);

class QtMessages final : public Messages {
 public:
  Answer show(const std::string& text, Buttons buttons, Icon icon) override;
  void notice(const Notice& told) override;
  std::function<void(const Notice&)> onNotice;  // the main window shows it
  bool onStandardError = false;                 // as in quiet mode
  bool toldError = false;                       // there
};

class QtChoosers final : public Choosers {
 public:
  bool asksSomebody() const override { return !process.quietMode; }
  std::optional<std::string> openFile(const FileRequest& request) override;
  std::optional<std::string> saveFile(const FileRequest& request) override;
  std::vector<std::string> openFiles(const FileRequest& request) override;
  std::optional<std::string> chooseFolder(const std::string& title, const std::string& current) override;
};

class QtForms final : public Forms {
 public:
  bool run(Form& form) override;
  std::unique_ptr<OpenForm> show(Form form, FormEvents events) override;
};

// A format of the program's own travels as "application/x-tarnvisor-" and its name in small letters.
class QtClipboard final : public Clipboard {
 public:
  void setText(const std::string& text) override;
  std::optional<std::string> text() override;
  ClipboardResult setData(const std::string& format, const std::vector<uint8_t>& bytes) override;
  std::optional<std::vector<uint8_t>> data(const std::string& format) override;
  std::optional<std::vector<uint8_t>> bitmap() override;
};

}  // namespace tarnvisor
