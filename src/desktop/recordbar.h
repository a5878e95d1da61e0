// The record bar: where recordings go, their name, and what a trigger does. It holds nothing that the process
// state does not: it shows that, and gives back what was changed.
#pragma once

#include <QToolBar>

class QCheckBox;
class QLineEdit;
class QRadioButton;

namespace tarnvisor {

class RecordBar final : public QToolBar {
 public:
  explicit RecordBar(QWidget* parent = nullptr);
  ~RecordBar() override;

  // The controls from the process state; to be called whenever that changed (a folder chosen, another exam).
  void showState();
  // The controls into the process state, `recorddir` and `basename` of section `directories`, and
  // `direct2disc` and `triggermovie` of section `Dynamic settings`. Done too whenever a control was changed.
  void storeState();

 private:
  void connectAll();
  QLineEdit* recordDir;
  QLineEdit* baseName;
  QCheckBox* directToDisc;
  QRadioButton* triggerMovie;
  QRadioButton* triggerImage;
};

}  // namespace tarnvisor
