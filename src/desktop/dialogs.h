// All faces of the dialogs that are more than fields. It owns them, and takes them away again when it goes;
// the main frame and the parent window must outlive it.
#pragma once

#include <QPointer>
#include <string>
#include <utility>
#include <vector>

#include "desktop/examlistwindow.h"
#include "desktop/examoverviewwindow.h"
#include "desktop/magnificationwindow.h"
#include "desktop/profiledialog.h"
#include "desktop/remotewindow.h"
#include "desktop/subjectdialog.h"
#include "frame/mainframe.h"

namespace tarnvisor {

class HelpWindow;
class ShortcutList;

class DesktopDialogs {
 public:
  // Gives the frame its faces, and the magnification dialog its own.
  DesktopDialogs(CBasicMainFrame& frame, QWidget* parent);
  ~DesktopDialogs();
  DesktopDialogs(const DesktopDialogs&) = delete;
  DesktopDialogs& operator=(const DesktopDialogs&) = delete;

  // Opens the window, or brings it to the front. Pairs of a command's words and its keys.
  void showShortcuts(const std::vector<std::pair<std::string, std::string>>& commands);
  void showHelp(const std::string& page);

 private:
  CBasicMainFrame& mainFrame;
  QWidget* parentWindow;  // borrowed
  SubjectFace subject;
  ExamFace exams;
  OverviewFace overview;
  MagnificationTableFace magnification;
  ProfileTableFace profiles;
  RemoteWindowFace remote;
  // Go with their parent, or with this.
  QPointer<ShortcutList> shortcuts;
  QPointer<HelpWindow> help;
};

}  // namespace tarnvisor
