// Widgets driven by mouse and keys, without a screen.
#pragma once

#include <QApplication>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include "support/imagedoctest.h"

namespace tarnvisor {

// So many turns of the event loop that whatever was to come has come.
constexpr int kManyTurns = 1000;
// Calls it so many turns later.
inline void laterBy(int turns, QObject& context, std::function<void()> then) {
  QTimer::singleShot(0, &context, [=, &context] { turns > 0 ? laterBy(turns - 1, context, then) : then(); });
}

class DialogTest : public ImageDocument {
 protected:
  // The only widget of a kind, or the one of that name.
  template <class W>
  static W* find(QWidget& window, const char* name = nullptr) {
    W* found = name ? window.findChild<W*>(name) : window.findChild<W*>();
    if (!found) ADD_FAILURE() << "no such widget: " << (name ? name : "");
    return found;
  }
  static QPushButton* button(QWidget& window, const QString& words) {
    for (QPushButton* b : window.findChildren<QPushButton*>())
      if (b->text().remove('&') == words) return b;
    ADD_FAILURE() << "no button " << words.toStdString();
    return nullptr;
  }
  static void click(QWidget& window, const QString& words) {
    QTest::mouseClick(button(window, words), Qt::LeftButton);
  }
  static bool isEnabled(QWidget& window, const QString& words) { return button(window, words)->isEnabled(); }
};

}  // namespace tarnvisor
