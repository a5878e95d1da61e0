// The host with windows: all ports, by Qt, and the message loop among Qt's events. Needs a QApplication.
#pragma once

#include <QTimer>
#include <memory>

#include "desktop/mainwindow.h"
#include "desktop/picturefile.h"
#include "desktop/qtports.h"
#include "desktop/qtprinter.h"
#include "frame/mainframe.h"
#include "remote/ftpfiles.h"

namespace tarnvisor {

class QtHost final : public Windows {
 public:
  QtHost() = default;
  ~QtHost() override = default;
  // Before the application's initInstance, which makes the main window. Borrowed until closeWindows().
  void connect(CBasicApp& application, CBasicMainFrame& mainFrame);
  // Takes the main window away; the application may go then.
  void closeWindows() {
    messages.onNotice = nullptr;
    window.reset();
  }
  MainWindow* mainWindow() const { return window.get(); }  // null until it is made
  // For runs that nobody watches: what would be told or asked in a box is printed, and questions are
  // declined.
  void tellOnStandardError() { messages.onStandardError = true; }
  // Something that went wrong was printed.
  bool toldError() const { return messages.toldError; }

  bool createMainFrame(const std::string& title) override;
  void showMainFrame() override;
  void closeMainFrame() override;
  std::unique_ptr<ProgressWindow> openProgress(const std::string& title) override {
    return makeProgressWindow(title);
  }
  void beep() override;
  bool asksSomething() override;
  void tile() override;
  void cascade() override;
  void refreshBars() override;
  void popupMenu(int32_t menuId, Point at) override;
  bool openWithDesktop(const std::string& path) override;

 private:
  QtMessages messages;
  QtChoosers choosers;
  QtForms forms;
  QtClipboard clipboard;
  QtWaitCursor waitCursor;
  QtPrinter printer;
  SystemProcesses processes;
  QtPictureWriter pictures;
  FtpFiles remoteFiles;

 public:
  Host ports{messages,   choosers, forms,     clipboard, *this,
             waitCursor, printer,  processes, pictures,  remoteFiles};

 private:
  CBasicApp* app = nullptr;
  CBasicMainFrame* frame = nullptr;
  std::unique_ptr<MainWindow> window;
};

// Drives the application's message loop: commands and timers when they are due, idle passes as long as they
// want to be repeated, Qt's events in between. While a modal dialog is open nothing is driven.
class QtLoop {
 public:
  // onTurn is told of each turn that may have changed something.
  QtLoop(MessageLoop& driven, std::function<void()> onTurn);
  ~QtLoop();
  QtLoop(const QtLoop&) = delete;
  QtLoop& operator=(const QtLoop&) = delete;

 private:
  // Messages of other programs are looked for this often.
  static constexpr int kIdleMs = 100;
  static constexpr int kBehindDialogMs = 20;
  void turn();
  MessageLoop& loop;
  std::function<void()> told;
  QTimer next;
  bool inTurn = false;
};

}  // namespace tarnvisor
