// The Voronoi command over 1,000 marks as a user runs it: program, files, lists and the results row.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <random>

#include "app/basicapp.h"
#include "app/processstate.h"
#include "assembly/assembly.h"
#include "base/files.h"
#include "batch/scripthost.h"
#include "exams/examselection.h"
#include "framework/documenttype.h"
#include "imagedoc/commandids.h"
#include "imagedoc/zbasicdoc.h"

namespace tarnvisor {
namespace {

bool hasProgram() { return std::system("command -v qvoronoi >/dev/null") == 0; }

// Argument: the number of marks.
void voronoi(benchmark::State& state) {
  if (!hasProgram()) {
    state.SkipWithError("qvoronoi is not installed");
    return;
  }
  std::string pattern = (std::filesystem::temp_directory_path() / "tarnvisor-bench-XXXXXX").string();
  const std::string folder = withSeparator(::mkdtemp(pattern.data()));
  {
    ScriptHost scriptHost;
    const HostScope scope(scriptHost.ports);
    registerStoredClasses();
    StartOptions options;
    options.programPath = folder + "tarnvisor";
    options.dataFolder = folder + "data";
    options.documentTable = documentTable();
    options.listenForOthers = options.askForDataFolder = false;
    options.keepWorkingFolder = true;
    CBasicApp app;
    const ExamSelection exams(app);
    app.initInstance(options);
    auto& doc = static_cast<ZBasicDoc&>(*process.imageTemplate->newDocument());
    doc.image = std::make_unique<CZZimage>(2048, 1536);
    std::mt19937 random(7);
    for (int64_t i = 0; i < state.range(0); ++i)
      doc.addDimension({static_cast<int32_t>(random() % 2048), static_cast<int32_t>(random() % 1536)}, 0);
    for (auto _ : state) routeCommand(app.commandChain(), cmd::VoronoiRegions);
    state.counters["regions"] = doc.dimlists[kVoronoiList].size();
    state.counters["links"] = doc.dimlists[kNearestList].size();
  }
  std::filesystem::remove_all(folder);
}
BENCHMARK(voronoi)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace tarnvisor
