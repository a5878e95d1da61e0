// A window that goes away takes its children along, and those that lose the keyboard meanwhile still tell of
// it.
#pragma once

#include <QObject>

namespace tarnvisor {

// For a window's destructor: from here on its children call nothing of its own.
inline void silenceChildren(QObject& window) {
  for (QObject* child : window.findChildren<QObject*>()) {
    child->disconnect(&window);
    child->removeEventFilter(&window);
  }
}

}  // namespace tarnvisor
