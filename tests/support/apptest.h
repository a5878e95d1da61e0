// A started application in a folder of its own, without a desktop.
#pragma once

#include "app/basicapp.h"
#include "exams/examselection.h"
#include "settings/log.h"
#include "settings/settings.h"
#include "support/tempfolder.h"
#include "support/testhost.h"

namespace tarnvisor {

class AppTest : public ::testing::Test {
 protected:
  AppTest() {
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    options.programPath = folder.file("tarnvisor");
    options.listenForOthers = false;
    options.keepWorkingFolder = true;
    options.askForDataFolder = false;
  }
  ~AppTest() override {
    stop();
    setLogging(false);
    settings.setPath("");
    hwSettings.setPath("");
  }

  void makeApp() {
    stop();
    app = std::make_unique<CBasicApp>();
    exams = std::make_unique<ExamSelection>(*app);
  }
  void stop() {
    exams.reset();
    app.reset();
  }
  bool start() {
    makeApp();
    return app->initInstance(options);
  }
  bool startWithData() {
    options.dataFolder = folder.file("data");
    return start();
  }
  // The profile's text before the start.
  void writeProfile(const std::string& text) {
    ASSERT_TRUE(replaceFile(folder.file("tarnvisor.ini"), std::string_view(text)));
  }
  std::string log() const { return readWholeText(folder.file("tarnvisor.log")).value_or(""); }
  std::string profile() const { return readWholeText(folder.file("tarnvisor.ini")).value_or(""); }

  TempFolder folder;
  TestHost host;
  StartOptions options;
  std::unique_ptr<CBasicApp> app;
  std::unique_ptr<ExamSelection> exams;
};

}  // namespace tarnvisor
