// Ten lines through 1,000 images of 1280 x 1024: "Calculate CBV" from its command to its rows, in turn with
// what one plain reading of the images takes, five times each. The movie is in the cache for both.
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <filesystem>

#include "assembly/assembly.h"
#include "base/files.h"
#include "dynamic/commandids.h"
#include "dynamic/vivocapview.h"
#include "exams/examselection.h"
#include "frame/mainframe.h"
#include "linescan/zlinescandoc.h"
#include "synth/fingervideo.h"
#include "timing.h"

namespace tarnvisor {
namespace {

constexpr int32_t kImages = 1000, kWidth = 1280, kHeight = 1024, kDrawn = 25, kLines = 10, kTurns = 7;

std::string writeMovie(const std::string& folder) {
  FingerVideo::Settings settings = flowingFinger();
  settings.still.width = kWidth;
  settings.still.height = kHeight;
  settings.frames = kDrawn;
  const FingerVideo finger(settings);
  std::vector<CZZimage> drawn(kDrawn);
  for (int32_t k = 0; k < kDrawn; ++k) (void)finger.render(k, drawn[static_cast<size_t>(k)]);
  CZZMovie movie;
  const std::string path = folder + "/lines.mve";
  if (!movie.record(kImages, path, 0, 0, kWidth, kHeight, false)) return "";
  for (int32_t k = 0; k < kImages; ++k) (void)movie.addFrame(drawn[static_cast<size_t>(k % kDrawn)], 0);
  movie.stopRecording();
  return path;
}

int measure(CBasicApp& app, const std::string& path) {
  auto* video = dynamic_cast<CVivoCapDoc*>(app.openDocumentFile(path));
  if (!video) return 1;
  video->fps = 60;
  for (int32_t i = 0; i < kLines; ++i) {
    video->addDimension({100 + 100 * i, 200 + 60 * i}, CDimList::kLine);
    video->addPointToDimension(i, {160 + 100 * i, 260 + 60 * i});
    video->currentDims().at(i).width = 5;
  }
  std::vector<double> readings, calculations;
  const auto calculate = [&] {
    if (ZlineScanDoc* scan = theLinescan()) scan->setModified(false);  // nobody is asked
    CommandTarget* const chain[] = {video};
    (void)routeCommand(chain, cmd::CalculateCbvOfLines);
  };
  calculate();
  CZZimage each;
  for (int turn = 0; turn < kTurns; ++turn) {
    readings.push_back(bench::milliseconds([&] {
      for (int32_t i = 0; i < kImages; ++i) (void)video->movie->rowsOf(i, 0, kHeight, each);
    }));
    calculations.push_back(bench::milliseconds(calculate));
  }
  const double reading = bench::median(readings), calculation = bench::median(calculations);
  std::printf("one plain reading %.0f ms, Calculate CBV of %d lines %.0f ms: %.2f times\n", reading, kLines,
              calculation, calculation / reading);
  return 0;
}

int run() {
  const std::string folder =
      std::filesystem::temp_directory_path() / ("benchlines" + std::to_string(::getpid()));
  std::filesystem::create_directories(folder);
  (void)replaceFile(folder + "/bench.ini",
                    std::string_view("[Settings]\nshowdb=0\n[correlation]\nsubpoint=1\nbothways=1\n"));
  const std::string path = writeMovie(folder);
  registerStoredClasses();
  int result = 1;
  {
    CBasicApp app;
    const ExamSelection exams(app);
    CBasicMainFrame frame(app);
    StartOptions options;
    options.programPath = folder + "/tarnvisor";
    options.profilePath = folder + "/bench.ini";
    options.dataFolder = folder + "/data";
    options.documentTable = documentTable();
    options.listenForOthers = options.askForDataFolder = false;
    options.keepWorkingFolder = true;
    if (app.initInstance(options)) result = measure(app, path);
  }
  std::filesystem::remove_all(folder);
  return result;
}

}  // namespace
}  // namespace tarnvisor

int main() {
  std::setlocale(LC_ALL, "C");
  return tarnvisor::run();
}
