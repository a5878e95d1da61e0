#include "desktop/dialogs.h"

#include "desktop/shortcutlist.h"

namespace tarnvisor {

DesktopDialogs::DesktopDialogs(CBasicMainFrame& frame, QWidget* parent)
    : mainFrame(frame), parentWindow(parent), subject(parent), exams(parent), magnification(parent) {
  frame.subjectFace = &subject;
  frame.examFace = &exams;
}

DesktopDialogs::~DesktopDialogs() {
  mainFrame.subjectFace = nullptr;
  mainFrame.examFace = nullptr;
  delete shortcuts;
}

bool DesktopDialogs::runProfiles(ProfileModel& profiles) {
  return ProfileWindow(profiles, parentWindow).exec() == QDialog::Accepted;
}

void DesktopDialogs::showShortcuts(const std::vector<std::pair<std::string, std::string>>& commands) {
  delete shortcuts;  // the keys may have changed
  shortcuts = new ShortcutList(commands, parentWindow);
  shortcuts->setAttribute(Qt::WA_DeleteOnClose);
  shortcuts->show();
}

}  // namespace tarnvisor
