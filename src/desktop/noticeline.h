// What a command did, in a line at the bottom of the windows that goes by itself, with a button where there
// is something to look at.
#pragma once

#include <QFrame>
#include <QLabel>
#include <QPushButton>
#include <QTimer>

#include "host/messages.h"

namespace tarnvisor {

class NoticeLine final : public QFrame {
 public:
  explicit NoticeLine(QWidget& over);
  void tell(const Notice& told);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void place();
  QLabel* words;
  QPushButton* link;
  QTimer end;
  std::function<void()> follow;
};

}  // namespace tarnvisor
