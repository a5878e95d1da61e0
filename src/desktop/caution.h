// How a label looks that tells what a reader of numbers must not overlook.
#pragma once

#include <QLabel>

namespace tarnvisor {

inline void markCaution(QLabel& label, bool isCaution) {
  const bool isDark = label.palette().color(QPalette::Window).lightness() < 128;
  const QString style = !isCaution ? ""
                        : isDark   ? "color: #ffc04d; font-weight: bold"
                                   : "color: #a04000; font-weight: bold";
  if (label.styleSheet() != style) label.setStyleSheet(style);
}

}  // namespace tarnvisor
