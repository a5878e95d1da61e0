// How a label looks that tells what a reader of numbers must not overlook.
#pragma once

#include <QLabel>
#include <QMouseEvent>
#include <functional>

namespace tarnvisor {

inline void markCaution(QLabel& label, bool isCaution) {
  const bool isDark = label.palette().color(QPalette::Window).lightness() < 128;
  const QString style = !isCaution ? ""
                        : isDark   ? "color: #ffc04d; font-weight: bold"
                                   : "color: #a04000; font-weight: bold";
  if (label.styleSheet() != style) label.setStyleSheet(style);
}

// One that a click mends, where a command does that.
class CautionLabel final : public QLabel {
 public:
  std::function<void(int32_t command)> onCommand;
  void tell(bool isCaution, int32_t command) {
    markCaution(*this, isCaution);
    mends = command;
    setCursor(mends ? Qt::PointingHandCursor : Qt::ArrowCursor);
    setToolTip(mends ? "Click to mend this" : "");
  }

 protected:
  void mouseReleaseEvent(QMouseEvent* event) override {
    QLabel::mouseReleaseEvent(event);
    if (mends && onCommand && event->button() == Qt::LeftButton) onCommand(mends);
  }

 private:
  int32_t mends = 0;
};

}  // namespace tarnvisor
