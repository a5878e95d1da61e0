// A million samples to a file for other programs and back, as text and as binary.
#include <benchmark/benchmark.h>

#include <cmath>
#include <filesystem>

#include "traces/traceimport.h"
#include "traces/tracetext.h"
#include "vectors/datavect.h"

namespace tarnvisor {
namespace {

constexpr uint32_t kSamples = 1000000;

struct Exchanged {
  ZZTrace trace{kDoubleCode, kSamples};
  CTextSettings settings;
  std::string path;

  explicit Exchanged(bool binary) {
    for (uint32_t i = 0; i < kSamples; ++i) trace.data->putval(i, 300 + 200 * std::sin(i * 1e-3));
    trace.name = "CBV";
    trace.period = 0.02;
    settings.binary = binary;
    path = (std::filesystem::temp_directory_path() / ("bench_exchange" + settings.fileExtension())).string();
  }
  ~Exchanged() { std::filesystem::remove(path); }
  Outcome write() {
    const ZZTrace* all[] = {&trace};
    return exportTraces(path, all, settings, {});
  }
};

// Argument: 0 text, 1 binary.
void exportSamples(benchmark::State& state) {
  Exchanged exchanged(state.range(0) != 0);
  for (auto _ : state)
    if (!exchanged.write()) state.SkipWithError("not written");
  state.counters["bytes"] = static_cast<double>(std::filesystem::file_size(exchanged.path));
}
BENCHMARK(exportSamples)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

void importSamples(benchmark::State& state) {
  Exchanged exchanged(state.range(0) != 0);
  if (!exchanged.write()) state.SkipWithError("not written");
  for (auto _ : state)
    if (importTraces(exchanged.path, exchanged.settings).traces.size() != 1)
      state.SkipWithError("not one trace");
}
BENCHMARK(importSamples)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace tarnvisor
