// A 1280 x 1024 movie at 60 images a second, played for five seconds in the real window on one core: the
// images that were painted, how far the position was from the clock, and the processor's time.
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <QApplication>
#include <QEvent>
#include <QMdiSubWindow>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <set>

#include "assembly/assembly.h"
#include "base/clock.h"
#include "base/files.h"
#include "base/parallel.h"
#include "desktop/qthost.h"
#include "dynamic/vivocapview.h"
#include "exams/examselection.h"
#include "frame/mainframe.h"
#include "synth/fingervideo.h"

namespace tarnvisor {
namespace {

constexpr int32_t kImages = 600;
constexpr double kRate = 60, kSeconds = 5;

std::string writeMovie(const std::string& folder) {
  FingerVideo::Settings settings = flowingFinger();
  settings.still.width = 1280;
  settings.still.height = 1024;
  settings.frames = kImages;
  const FingerVideo finger(settings);
  CZZMovie movie;
  const std::string path = folder + "/play.mve";
  if (!movie.record(kImages, path, 0, 0, 1280, 1024, false)) return "";
  CZZimage image;
  for (int32_t k = 0; k < kImages; ++k) {
    (void)finger.render(k, image);
    (void)movie.addFrame(image, 0);
  }
  movie.stopRecording();
  return path;
}

double processorSeconds() {
  rusage used{};
  ::getrusage(RUSAGE_SELF, &used);
  const auto seconds = [](const timeval& t) {
    return static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_usec);
  };
  return seconds(used.ru_utime) + seconds(used.ru_stime);
}

// Each painted image, and by how much it differs from the one that the clock asks for.
class Watcher final : public QObject {
 public:
  explicit Watcher(CVivoCapDoc& shown) : doc(shown), start(steadySeconds()) {}
  std::set<int32_t> painted;
  double farthest = 0;

 protected:
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() != QEvent::Paint) return false;
    if (painted.insert(doc.currentIndex()).second)
      farthest = std::max(farthest, std::abs((steadySeconds() - start) * kRate - doc.currentIndex()));
    return false;
  }

 private:
  CVivoCapDoc& doc;
  double start;
};

int play() {
  const std::string folder =
      std::filesystem::temp_directory_path() / ("benchplay" + std::to_string(::getpid()));
  std::filesystem::create_directories(folder);
  (void)replaceFile(folder + "/bench.ini", std::string_view("[Settings]\nshowdb=0\n"));
  const std::string path = writeMovie(folder);
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(0, &one);
  (void)::sched_setaffinity(0, sizeof(one), &one);
  setParallelThreads(1);
  registerStoredClasses();
  {
    QtHost windows;
    const HostScope scope(windows.ports);
    CBasicApp app;
    const ExamSelection exams(app);
    CBasicMainFrame frame(app);
    windows.connect(app, frame);
    StartOptions options;
    options.programPath = folder + "/tarnvisor";
    options.profilePath = folder + "/bench.ini";
    options.dataFolder = folder + "/data";
    options.documentTable = documentTable();
    options.listenForOthers = options.askForDataFolder = false;
    options.keepWorkingFolder = true;
    const QtLoop loop(app.loop, [&] {
      if (windows.mainWindow()) windows.mainWindow()->updateSoon();
    });
    (void)app.initInstance(options);
    windows.mainWindow()->setGeometry(0, 0, 1500, 1250);
    auto* document = dynamic_cast<CVivoCapDoc*>(app.openDocumentFile(path));
    if (!document) return 1;
    document->fps = kRate;
    document->playPeriod = static_cast<int32_t>(1000 / kRate);
    auto& view = static_cast<CVivoCapView&>(*document->views().front());
    windows.mainWindow()->documentWindows().windowOf(*document)->showMaximized();
    view.zoomnum = view.zoomden = 1;
    QApplication::processEvents();
    Watcher watcher(*document);
    windows.mainWindow()->documentWindows().widgetOf(*document)->viewport()->installEventFilter(&watcher);
    const double processor = processorSeconds();
    view.startPlayback(false);
    QTimer::singleShot(static_cast<int>(kSeconds * 1000), Qt::PreciseTimer, [] { QApplication::exit(); });
    QApplication::exec();
    std::printf(
        "images due %.0f, painted %zu, shown at the end %i; farthest from the clock %.1f images; processor %.0f %% of a core\n",
        kSeconds * kRate, watcher.painted.size(), document->currentIndex(), watcher.farthest,
        100 * (processorSeconds() - processor) / kSeconds);
    view.stopPlayback();
    document->setModified(false);
    windows.closeWindows();
  }
  std::filesystem::remove_all(folder);
  return 0;
}

}  // namespace
}  // namespace tarnvisor

int main(int argc, char** argv) {
  QApplication qt(argc, argv);
  std::setlocale(LC_NUMERIC, "C");
  QApplication::setQuitOnLastWindowClosed(false);
  return tarnvisor::play();
}
