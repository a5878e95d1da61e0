// The velocity input as it runs: what a block costs of its own time, and a run from the paced source whose
// blocks are counted while a chart is drawn sixty times a second. bench_doppler [seconds of the run, 600]
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "assembly/assembly.h"
#include "base/clock.h"
#include "base/files.h"
#include "desktop/paintercanvas.h"
#include "doppler/dopplerinput.h"
#include "doppler/flo1view.h"
#include "exams/examselection.h"
#include "host/nullhost.h"
#include "sound/pacedsound.h"

namespace tarnvisor {
namespace {

constexpr Size kWindow{1200, 800};

void timeBlocks(Cflo1Doc& doc, int32_t fft, int32_t method) {
  constexpr int kBlocks = 3000;
  process.velocity.cbvMethod = method;
  doc.fftpoints = static_cast<uint16_t>(fft);
  doc.stopMode = Cflo1Doc::kCircular;
  doc.running = 1;
  std::vector<int16_t> block(FLO1::kSamplesTaken);
  for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<int16_t>((i * 7919) % 41 - 20);
  const double begin = steadySeconds();
  for (int i = 0; i < kBlocks; ++i) doc.processblock(block, 2, {});
  const double each = (steadySeconds() - begin) / kBlocks, lasts = SoundBlock::kSamples / 96000.0;
  doc.running = 0;
  std::printf("processblock, %3d bins, method %d: %6.1f us, %.3f %% of the block's %.1f ms\n", fft, method,
              each * 1e6, 100 * each / lasts, lasts * 1e3);
}

void countBlocks(CBasicApp& app, DopplerInput& input, Cflo1View& view, double seconds) {
  QImage window(kWindow.width, kWindow.height, QImage::Format_RGB32);
  int64_t drawings = 0;
  double longest = 0, nextDrawing = 0, nextStall = 5;
  view.start();
  const double begin = steadySeconds();
  for (double now = 0; now < seconds && view.isRecording(); now = steadySeconds() - begin) {
    app.loop.turn();
    if (now >= nextDrawing) {
      nextDrawing = now + 1.0 / 60;
      QPainter painter(&window);
      PainterCanvas canvas(painter);
      view.draw(canvas);
      ++drawings;
      longest = std::max(longest, steadySeconds() - begin - now);
    }
    if (now >= nextStall) {  // somebody drags a window, or a page is made
      nextStall = now + 10;
      std::this_thread::sleep_for(std::chrono::seconds(1));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  const int64_t came = input.flo1.blocksCame(), lost = input.flo1.blocksLost(),
                last = input.flo1.blockNumber();
  view.stop();
  std::printf(
      "%.0f s: %lld blocks came, the last taken has number %lld, %lld lost; %lld drawings, the longest %.1f ms\n",
      seconds, static_cast<long long>(came), static_cast<long long>(last), static_cast<long long>(lost),
      static_cast<long long>(drawings), longest * 1e3);
}

}  // namespace
}  // namespace tarnvisor

int main(int argc, char** argv) {
  using namespace tarnvisor;
  setenv("QT_QPA_PLATFORM", "offscreen", 0);
  QGuiApplication qt(argc, argv);
  NullHost host;
  const HostScope scope(host.ports);
  registerStoredClasses();
  const TemporaryFolder folder("doppler");
  (void)replaceFile(folder.file("tarnvisor.ini"),
                    std::string_view("[Settings]\nfloEN=1\nuser=x\n[Cflo1Doc]\nstopmode=0\n"));
  CBasicApp app;
  const ExamSelection exams(app);
  DopplerInput input(
      app, [](std::string&) { return std::make_unique<PacedSound>(simulatedSound(), SoundPace::Clock); });
  StartOptions options;
  options.programPath = folder.file("tarnvisor");
  options.documentTable = documentTable();
  options.listenForOthers = options.askForDataFolder = false;
  options.keepWorkingFolder = true;
  if (!app.initInstance(options) || !process.flo1Template) return 1;
  auto& doc = static_cast<Cflo1Doc&>(*process.flo1Template->newDocument());
  auto& view = static_cast<Cflo1View&>(*doc.views().front());
  view.setWindowSize(kWindow);
  for (const int32_t method : {kMaxFrequency, kAutomatic, kFirstMoment}) timeBlocks(doc, 256, method);
  countBlocks(app, input, view, argc > 1 ? std::atof(argv[1]) : 600);
  doc.setModified(false);
  app.exitInstance();
  return 0;
}
