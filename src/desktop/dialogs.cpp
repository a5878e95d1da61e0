#include "desktop/dialogs.h"

#include "desktop/helpwindow.h"
#include "desktop/shortcutlist.h"

namespace tarnvisor {

DesktopDialogs::DesktopDialogs(CBasicMainFrame& frame, QWidget* parent)
    : mainFrame(frame),
      parentWindow(parent),
      subject(parent),
      exams(parent),
      overview(parent),
      magnification(parent),
      profiles(parent),
      remote(parent) {
  frame.subjectFace = &subject;
  frame.examFace = &exams;
  frame.overviewFace = &overview;
  frame.profileFace = &profiles;
  frame.remoteFace = &remote;
}

DesktopDialogs::~DesktopDialogs() {
  mainFrame.subjectFace = nullptr;
  mainFrame.examFace = nullptr;
  mainFrame.overviewFace = nullptr;
  mainFrame.profileFace = nullptr;
  mainFrame.remoteFace = nullptr;
  delete shortcuts;
  delete help;
}

void DesktopDialogs::showHelp(const std::string& page) {
  if (!help) help = new HelpWindow(parentWindow);
  help->open(page);
}

void DesktopDialogs::showShortcuts(const std::vector<std::pair<std::string, std::string>>& commands) {
  delete shortcuts;  // the keys may have changed
  shortcuts = new ShortcutList(commands, parentWindow);
  shortcuts->setAttribute(Qt::WA_DeleteOnClose);
  shortcuts->show();
}

}  // namespace tarnvisor
