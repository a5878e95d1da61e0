// Runs the tests of the windows on a display that exists only in memory.
#include <gtest/gtest.h>

#include <QApplication>
#include <clocale>

#include "support/tempfolder.h"

int main(int argc, char** argv) {
  const tarnvisor::TempFolder home;  // for what dialogs keep of their own
  qputenv("HOME", home.path().c_str());
  qputenv("XDG_CONFIG_HOME", home.path().c_str());
  qputenv("XDG_RUNTIME_DIR", home.path().c_str());
  qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" SCREENS_FILE);
  testing::InitGoogleTest(&argc, argv);
  QApplication qt(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  std::setlocale(LC_NUMERIC, "C");
  return RUN_ALL_TESTS();
}
