// The port for the main frame and the windows of documents.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "base/geometry.h"

namespace tarnvisor {

// How far a long work is, in a window that others may be used beside.
class ProgressWindow {
 public:
  virtual ~ProgressWindow() = default;
  // False once the user wants it to stop.
  virtual bool show(const std::string& /*words*/, int64_t /*done*/, int64_t /*total*/) { return true; }
};

class Windows {
 public:
  virtual ~Windows() = default;
  virtual std::unique_ptr<ProgressWindow> openProgress(const std::string& /*title*/) {
    return std::make_unique<ProgressWindow>();
  }
  // Makes the main frame; false when it can't be made.
  virtual bool createMainFrame(const std::string& title) = 0;
  virtual void showMainFrame() = 0;
  // Asks the main frame to close, after the command now running.
  virtual void closeMainFrame() = 0;
  virtual void beep() {}
  virtual bool asksSomething() { return false; }  // a dialog waits for its answer
  virtual void tile() = 0;
  virtual void cascade() = 0;
  // Shows the bars, menus and windows beside the documents as the main frame says that they are.
  virtual void refreshBars() = 0;
  // Opens a menu of the menu table at a place in the main frame; the chosen command is posted.
  virtual void popupMenu(int32_t menuId, Point at) = 0;
  // Opens a document or page with the desktop's own program for it.
  virtual bool openWithDesktop(const std::string& path) = 0;
};

}  // namespace tarnvisor
