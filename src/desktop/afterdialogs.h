// Work that must not begin while a command still asks for something: the document that the command works on
// might be gone when the dialog ends.
#pragma once

#include <QApplication>
#include <QTimer>
#include <functional>

namespace tarnvisor {

// Runs the action once the present event is over and no modal dialog is open; never when the context has gone
// by then.
inline void afterDialogs(QObject* context, std::function<void()> action, int inMs = 0) {
  constexpr int kAgainMs = 20;
  QTimer::singleShot(inMs, context, [context, action = std::move(action)] {
    if (QApplication::activeModalWidget()) return afterDialogs(context, action, kAgainMs);
    action();
  });
}

}  // namespace tarnvisor
