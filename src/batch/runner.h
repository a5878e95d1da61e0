// Runs the steps of a script on the application, one after the other, and prints what each yields: plain
// text, or one JSON object a step.
#pragma once

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "app/basicapp.h"
#include "batch/script.h"
#include "batch/scripthost.h"

namespace tarnvisor {

class CVivoCapDoc;
class ZBasicDoc;
class CResultDoc;
class ZchartView;

// What a step yields: named texts in order, and lines for people.
struct StepResult {
  bool ok = true;
  std::string why;  // of a failure
  std::vector<std::pair<std::string, std::string>> values;
  std::string text;  // printed as it stands

  static StepResult failure(std::string words) { return {false, std::move(words), {}, {}}; }
};

// Size, region, list and scale of an image, a line each.
std::string imageStatus(const ZBasicDoc& image);

class ScriptRunner {
 public:
  ScriptRunner(CBasicApp& application, ScriptHost& host, bool json)
      : app(application), script(host), asJson(json) {}

  // Exit code: 0, or 1 when a step failed. Without keepGoing the first failure ends the run.
  int run(const std::vector<Step>& steps, bool keepGoing);
  StepResult runStep(const Step& step);

 private:
  StepResult subject(const Step& step);
  StepResult exam(const Step& step);
  StepResult open(const Step& step);
  StepResult set(const Step& step);
  StepResult roi(const Step& step);
  StepResult list(const Step& step);
  StepResult dim(const Step& step);
  StepResult command(const Step& step);
  StepResult import(const Step& step);
  StepResult save(const Step& step);
  StepResult exportStep(const Step& step);
  StepResult results(const Step& step);
  StepResult print(const Step& step);
  StepResult snapshot(const Step& step);
  StepResult close(const Step& step);
  StepResult unavailable(const Step& step);

  StepResult select(const Step& step);
  // runner_videos.cpp
  StepResult frame(const Step& step);
  StepResult selectImages(CVivoCapDoc& video, const Step& step);
  StepResult exportVideo(CVivoCapDoc& video, const std::string& path);
  StepResult printVideo(CVivoCapDoc& video, const std::string& what) const;
  CVivoCapDoc* frontVideo() const;  // null when no video is in front

  // runner_charts.cpp
  StepResult selectInChart(ZchartView& chart, const Step& step);
  StepResult trace(const Step& step);
  StepResult exportChart(ZchartView& chart, const std::string& path);
  StepResult printChart(ZchartView& chart, const std::string& what) const;
  ZchartView* frontChart() const;  // null when no chart is in front

  StepResult runCommandText(const std::string& text, std::vector<std::string> answers);
  ZBasicDoc* frontImage() const;
  void report(const Step& step, const StepResult& result) const;

  CBasicApp& app;
  ScriptHost& script;
  bool asJson;
};

}  // namespace tarnvisor
