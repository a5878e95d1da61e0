// A started application in a folder of its own, without a desktop.
#pragma once

#include "app/basicapp.h"
#include "exams/examselection.h"
#include "settings/log.h"
#include "settings/settings.h"
#include "support/tempfolder.h"
#include "support/testhost.h"

namespace tarnvisor {

// A velocity input that is ready and has nothing.
struct QuietInput : VelocityInput {
  void setAddress(int32_t a) override { address = a; }
  void initialise(int32_t n) override { channels = n; }
  bool isReady() const override { return true; }
  int32_t availableSamples() override { return 0; }
  int32_t read(std::span<int16_t>) override { return 0; }
  void stop() override { stopped = true; }
  int32_t address = 0, channels = 0;
  bool stopped = false;
};

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
  // What commands were posted since the last call; they don't run.
  std::vector<int32_t> posted() {
    std::vector<int32_t> ids;
    app->loop.onCommand = [&](int32_t id) { ids.push_back(id); };
    app->loop.onIdle = [](int32_t) { return false; };
    app->loop.turn();
    app->loop.onCommand = nullptr;
    return ids;
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
