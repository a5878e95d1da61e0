// The application as a script drives it, with a still to open: "$" in a script is the test's folder.
#pragma once

#include "assembly/assembly.h"
#include "batch/runner.h"
#include "exams/examselection.h"
#include "image/stillimport.h"
#include "support/tempfolder.h"
#include "support/testing.h"
#include "synth/nailfold.h"

namespace tarnvisor {

class Runner : public ::testing::Test {
 protected:
  Runner() : scope(script.ports) {
    registerStoredClasses();
    StartOptions start;
    start.programPath = folder.file("tarnvisor");
    start.documentTable = documentTable();
    start.listenForOthers = false;
    start.keepWorkingFolder = true;
    start.dataFolder = folder.file("data");
    EXPECT_TRUE(app.initInstance(start));
    while (app.loop.hasPosted()) (void)app.loop.turn();
    const auto still = renderNailfold(sparseNailfold(), truth);
    EXPECT_TRUE(still->save(folder.file("shot.bmp")));
  }

  // The result of the last step; the ones before must be well.
  StepResult run(const std::string& lines) {
    std::vector<Step> steps;
    EXPECT_EQ(parseScript(replacedAll(lines), "test", steps), "");
    StepResult result;
    for (size_t i = 0; i < steps.size(); ++i) {
      result = runner.runStep(steps[i]);
      if (i + 1 < steps.size()) {
        EXPECT_TRUE(result.ok) << steps[i].line() << ": " << result.why;
      }
    }
    return result;
  }
  std::string replacedAll(std::string text) {
    for (size_t at = text.find("$"); at != std::string::npos; at = text.find("$"))
      text.replace(at, 1, folder.path());
    return text;
  }

  TempFolder folder;
  ScriptHost script;
  HostScope scope;
  CBasicApp app;
  ExamSelection exams{app};
  ScriptRunner runner{app, script, false};
  NailfoldTruth truth;
};

}  // namespace tarnvisor
