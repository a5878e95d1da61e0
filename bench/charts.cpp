// Charts: ten traces of a million samples and a spectrum of 12,000 rows of 256, drawn into pixels at steps of
// scrolling and zooming; and loading a chart of 500 MB, beside reading its bytes.
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <unistd.h>

#include <QGuiApplication>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <random>

#include "archive/archive.h"
#include "assembly/assembly.h"
#include "base/files.h"
#include "base/text.h"
#include "charts/commonflodoc.h"
#include "desktop/paintercanvas.h"
#include "vectors/typedvect.h"

namespace tarnvisor {
namespace {

constexpr Size kWindow{1600, 900};

void needQt() {
  static int count = 1;
  static char name[] = "bench_charts";
  static char* arguments[] = {name, nullptr};
  ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
  static const QGuiApplication application(count, arguments);
}

void addTraces(ZchartDoc& chart) {
  std::mt19937 random(7);
  for (int32_t t = 0; t < 10; ++t) {
    const int32_t codes[] = {kInt16Code, kFloatCode, kDoubleCode, kUint8Code};
    ZZTrace* trace = chart.addtrace(codes[t % 4], 1'000'000);
    trace->name = format("trace %i", t);
    trace->period = 0.001;
    trace->colour = 0x803000;
    for (uint32_t i = 0; i < trace->size(); ++i)
      trace->data->putval(i, 100 + 60 * std::sin(i * 0.0001 * (t + 1)) + static_cast<double>(random() % 40));
  }
}

void addSpectrum(ZchartDoc& chart) {
  std::mt19937 random(7);
  C2DTrace* rows = chart.addtrace(kWordRowsCode, 12'000, 256);
  rows->period = 0.05;
  rows->name = "Doppler spectrum";
  for (uint32_t r = 0; r < rows->size(); ++r) {
    auto* row = static_cast<uint16_t*>(rows->data->dataat(r));
    for (uint32_t i = 0; i < 256; ++i) row[i] = static_cast<uint16_t>(random() % (1000 / (1 + i / 16)));
    rows->rowvalues->putval(r, 5000.0);
  }
}

// Arguments: 0 traces, 1 rows; samples shown in a column; pixels a point.
void chartStep(benchmark::State& state) {
  needQt();
  CReviewDoc chart;
  state.range(0) ? addSpectrum(chart) : addTraces(chart);
  CReView view(chart);
  view.setWindowSize(kWindow);
  const auto ratio = static_cast<double>(state.range(2));
  (void)renderView(view, kWindow, ratio);
  const double period = chart.firsttrace()->period;
  if (state.range(1))
    view.zoomTime(period * static_cast<double>(state.range(1)) / view.secondsPerColumn, 100.0);
  QImage picture(static_cast<int>(kWindow.width * ratio), static_cast<int>(kWindow.height * ratio),
                 QImage::Format_RGB32);
  picture.setDevicePixelRatio(ratio);
  int step = 0;
  for (auto _ : state) {
    // A step to the right, a step in, back out.
    ++step;
    if (step % 3 == 0)
      view.scrollTo(view.scrollPosition() + Point{17, 0});
    else
      view.zoomTime(step % 3 == 1 ? 0.8 : 1.25, 120.0);
    QPainter painter(&picture);
    PainterCanvas canvas(painter);
    view.draw(canvas);
  }
}
BENCHMARK(chartStep)
    ->ArgNames({"rows", "samples", "ratio"})
    ->ArgsProduct({{0, 1}, {0, 100, 4, 1}, {1, 2}})
    ->Unit(benchmark::kMillisecond);

// What the first paint prepares.
void firstPaint(benchmark::State& state) {
  needQt();
  CReviewDoc chart;
  state.range(0) ? addSpectrum(chart) : addTraces(chart);
  for (auto _ : state) {
    CReView view(chart);
    benchmark::DoNotOptimize(renderView(view, kWindow, 1.0));
  }
}
BENCHMARK(firstPaint)->ArgName("rows")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

std::string largeChart() {
  static const std::string path = [] {
    const std::string file =
        (std::filesystem::temp_directory_path() / ("benchcharts" + std::to_string(::getpid()) + ".zz1"))
            .string();
    CReviewDoc chart;
    for (int t = 0; t < 10; ++t) {
      ZZTrace* trace = chart.addtrace(kInt16Code, 25'000'000);
      trace->name = format("trace %i", t);
      trace->data->fill(t);
    }
    std::FILE* target = std::fopen(file.c_str(), "wbe");
    FileStream stream(target);
    Archive archive(stream, Archive::Direction::Storing);
    chart.serialize(archive);
    archive.close();
    if (std::fclose(target) != 0) std::fprintf(stderr, "%s was not written\n", file.c_str());
    return file;
  }();
  return path;
}

struct LargeChart {
  ~LargeChart() { std::filesystem::remove(largeChart()); }
};

double residentMegabytes() {
  std::FILE* file = std::fopen("/proc/self/statm", "re");
  long pages = 0, resident = 0;
  if (file && std::fscanf(file, "%ld %ld", &pages, &resident) != 2) resident = 0;
  if (file) std::fclose(file);
  return static_cast<double>(resident) * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1e6;
}

void loadChart(benchmark::State& state) {
  registerStoredClasses();
  const std::string path = largeChart();
  double megabytes = 0;
  const double before = residentMegabytes();
  for (auto _ : state) {
    CReviewDoc chart;
    if (!chart.onOpenDocument(path)) state.SkipWithError("not read");
    megabytes = residentMegabytes() - before;
  }
  state.counters["file_MB"] = static_cast<double>(std::filesystem::file_size(path)) / 1e6;
  state.counters["memory_MB"] = megabytes;
}
BENCHMARK(loadChart)->Unit(benchmark::kMillisecond);

// The peer: the same bytes into blocks of the same size.
void readBytes(benchmark::State& state) {
  const static LargeChart atExit;
  const std::string path = largeChart();
  for (auto _ : state) {
    std::FILE* file = std::fopen(path.c_str(), "rbe");
    for (int t = 0; t < 10; ++t) {
      const std::unique_ptr<uint8_t[]> block(new uint8_t[50'000'000]);
      if (!file || std::fread(block.get(), 1, 50'000'000, file) == 0) state.SkipWithError("not read");
      benchmark::DoNotOptimize(block.get());
    }
    if (file) std::fclose(file);
  }
}
BENCHMARK(readBytes)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tarnvisor
