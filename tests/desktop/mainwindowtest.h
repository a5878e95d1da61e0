// The main window around the application.
#pragma once

#include <QTest>

#include "base/clock.h"
#include "desktop/qthost.h"
#include "exams/examselection.h"
#include "frame/mainframe.h"
#include "imagedoc/zbasicview.h"
#include "support/imagedoctest.h"

namespace tarnvisor {

// How long anything is waited for before it counts as never to come.
constexpr int kLongestMs = 60'000;

class MainWindowTest : public ImageDocument {
 protected:
  void SetUp() override {
    registerStoredClasses();
    options.documentTable = documentTable();
    options.dataFolder = folder.file("data");
    writeProfile("[Settings]\nshowdb=0\n" + settingsKeys +
                 "[MainWindow]\nstatusbar=1\n[ueyeP]\ncamera=simulated\n");
    tool = kToolNone;
    begin();
  }
  void TearDown() override {
    end();
    tool = kToolNone;
  }
  virtual void prepare() {}  // between the making of the application and its start
  std::string settingsKeys;  // of its section, beside those that all have
  void begin() {
    app = std::make_unique<CBasicApp>();
    exams = std::make_unique<ExamSelection>(*app);
    frame = std::make_unique<CBasicMainFrame>(*app);
    windows.connect(*app, *frame);
    loop = std::make_unique<QtLoop>(app->loop, [this] { window().updateSoon(); });
    prepare();
    ASSERT_TRUE(app->initInstance(options));
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window(), kLongestMs));
  }
  void end() {
    windows.closeWindows();
    loop.reset();
    frame.reset();
    exams.reset();
    app.reset();
  }

  MainWindow& window() { return *windows.mainWindow(); }
  QMdiSubWindow& windowOf(const CDocument& document) {
    return *window().documentWindows().windowOf(document);
  }
  ViewWidget& widgetOf(const CDocument& document) { return *window().documentWindows().widgetOf(document); }
  // Until the commands that were given have ended and the windows show it: an update gives the window its
  // title.
  void settle() {
    QApplication::processEvents();
    EXPECT_TRUE(QTest::qWaitFor([this] { return !app->loop.hasPosted(); }, kLongestMs));
    window().setWindowTitle("");
    window().updateSoon();
    EXPECT_TRUE(QTest::qWaitFor([this] { return !window().windowTitle().isEmpty(); }, kLongestMs));
  }

  QtHost windows;
  std::unique_ptr<CBasicMainFrame> frame;
  std::unique_ptr<QtLoop> loop;
};

}  // namespace tarnvisor
