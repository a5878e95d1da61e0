// Widgets driven by mouse and keys, without a screen.
#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QPushButton>
#include <QTest>

#include "support/imagedoctest.h"

namespace tarnvisor {

// The one QApplication, made when the first test runs.
inline void startQt() {
  if (qApp) return;
  qputenv("QT_QPA_PLATFORM", "offscreen");
  static int count = 1;
  static char name[] = "test";
  static char* words[] = {name, nullptr};
  // Never destroyed: other statics may go before it.
  static auto* application = new QApplication(count, words);
  (void)application;
}

class DialogTest : public ImageDocTest {
 protected:
  DialogTest() { startQt(); }

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
