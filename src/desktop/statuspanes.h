// The status texts of the view in front, at the right of the status bar. A pane keeps the width of the widest
// text that it has shown, so that the others stay in their places.
#pragma once

#include <QLabel>
#include <QStatusBar>
#include <vector>

#include "framework/view.h"

namespace tarnvisor {

class StatusPanes {
 public:
  explicit StatusPanes(QStatusBar& statusBar) : bar(statusBar) {}
  void show(const std::vector<StatusPane>& panes);

 private:
  QStatusBar& bar;
  std::vector<std::pair<std::string, QLabel*>> labels;  // by the pane's name; the bar owns them
};

}  // namespace tarnvisor
