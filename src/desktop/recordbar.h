// The record bar: where recordings go, their name, and what a trigger does. It holds nothing that the process
// state does not: it shows that, and gives back what was changed.
#pragma once

#include <QToolBar>

#include "frame/mainframe.h"

class QCheckBox;
class QLineEdit;
class QRadioButton;

namespace tarnvisor {

class RecordBar final : public QToolBar {
 public:
  explicit RecordBar(CBasicMainFrame& mainFrame, QWidget* parent = nullptr);  // borrows the frame
  ~RecordBar() override;

  // The controls from the process state; to be called whenever that changed (a folder chosen, another exam).
  void showState();
  // The controls into the process state and the profile. Done too when a control was changed and a
  // text's edit has ended.
  void storeState();

 private:
  RecordBarValues values() const;
  void connectAll();
  CBasicMainFrame& frame;
  QLineEdit* recordDir;
  QLineEdit* baseName;
  QCheckBox* directToDisc;
  QRadioButton* triggerMovie;
  QRadioButton* triggerImage;
};

}  // namespace tarnvisor
