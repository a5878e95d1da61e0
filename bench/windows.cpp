// What a user waits for in the real windows: a 2048 x 1536 still from the disc to its first paint, a click to
// its paint, a step of panning or zooming, a move of a live slider, a mark until it stands in its table, an
// exam until its documents are listed; each drawn into the window's backing store, the picture at one and at
// two pixels a point.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <QApplication>
#include <QMdiSubWindow>
#include <QMouseEvent>
#include <QScreen>
#include <QSlider>
#include <QWindow>
#include <clocale>
#include <cstdio>
#include <filesystem>
#include <random>

#include "assembly/assembly.h"
#include "base/clock.h"
#include "base/files.h"
#include "base/text.h"
#include "benchimage.h"
#include "desktop/formdialog.h"
#include "desktop/qthost.h"
#include "exams/examselection.h"
#include "frame/commandids.h"
#include "frame/mainframe.h"
#include "imagedoc/commandids.h"
#include "imagedoc/zbasicview.h"

namespace tarnvisor {
namespace {

std::string benchFolder() {
  return std::filesystem::temp_directory_path() / ("benchwindows" + std::to_string(::getpid()));
}

// Shows a form and hands it to whoever measures; left by Cancel.
struct DrivenForms final : Forms {
  std::function<void(FormDialog&)> drive;
  bool run(Form& form) override {
    FormDialog dialog(form, nullptr);
    dialog.show();
    drive(dialog);
    dialog.reject();
    return false;
  }
  std::unique_ptr<OpenForm> show(Form, FormEvents) override {
    return std::make_unique<FacelessForm>(Point{});
  }
};

class PaintCounter final : public QObject {
 public:
  int painted = 0;

 protected:
  bool eventFilter(QObject*, QEvent* event) override {
    painted += event->type() == QEvent::Paint;
    return false;
  }
};

// The program with its windows.
class Desk {
 public:
  Desk() {
    registerStoredClasses();
    std::filesystem::create_directories(benchFolder());
    (void)replaceFile(profile(), std::string_view("[Settings]\nshowdb=0\n"));
    (void)bench::nailfold()->save(still());
    StartOptions options;
    options.programPath = benchFolder() + "/tarnvisor";
    options.profilePath = profile();
    options.dataFolder = benchFolder() + "/data";
    options.documentTable = documentTable();
    options.listenForOthers = options.askForDataFolder = false;
    options.keepWorkingFolder = true;
    windows.connect(app, frame);
    (void)app.initInstance(options);
    showDocks(false);
  }
  ~Desk() { windows.closeWindows(); }

  static std::string profile() { return benchFolder() + "/bench.ini"; }
  static std::string still() { return benchFolder() + "/still.bmp"; }
  ZBasicDoc* open() { return dynamic_cast<ZBasicDoc*>(app.openDocumentFile(still())); }
  ViewWidget& widgetOf(ZBasicDoc& document) {
    return *windows.mainWindow()->documentWindows().widgetOf(document);
  }
  // Fills the main window, on a screen of that many pixels a point.
  ZBasicDoc* openLarge(int64_t ratio) {
    QScreen* wanted = QGuiApplication::screens().at(static_cast<qsizetype>(ratio) - 1);
    MainWindow& main = *windows.mainWindow();
    main.windowHandle()->setScreen(wanted);
    main.showNormal();
    main.setGeometry(wanted->availableGeometry());
    ZBasicDoc* document = open();
    main.documentWindows().windowOf(*document)->showMaximized();
    QApplication::processEvents();
    return document;
  }

  void showDocks(bool on) {
    for (const int32_t dock : {cmd::MarksDock, cmd::ExamDock})
      if (docksShown != on) (void)app.runCommand(dock);
    docksShown = on;
    QApplication::processEvents();
  }
  void refresh() {
    ports.windows.refreshBars();
    QApplication::processEvents();
  }

  bool docksShown = true;  // as the program starts
  QtHost windows;
  DrivenForms forms;
  Host ports{windows.ports.messages,   windows.ports.choosers,  forms,
             windows.ports.clipboard,  windows.ports.windows,   windows.ports.waitCursor,
             windows.ports.printer,    windows.ports.processes, windows.ports.pictures,
             windows.ports.remoteFiles};
  HostScope scope{ports};
  CBasicApp app;
  ExamSelection selection{app};
  CBasicMainFrame frame{app};
};
Desk* desk = nullptr;

void addLabelled(ZBasicDoc& document, int64_t count) {
  std::mt19937 random(7);
  const auto upTo = [&](uint32_t end) { return static_cast<int32_t>(random() % end); };
  for (int64_t i = 0; i < count; ++i) {
    const Point first{upTo(bench::kWidth), upTo(bench::kHeight)};
    const int32_t index = document.addDimension(first, i % 2 ? CDimList::kLine : CDimList::kCircle);
    document.addPointToDimension(index, first + Point{upTo(80), upTo(80)});
    document.currentDims().at(index).label = format("capillary %i", static_cast<int>(i));
  }
}

ZBasicView& viewOf(ZBasicDoc& document) { return static_cast<ZBasicView&>(*document.views().front()); }
void close(ZBasicDoc& document) {
  document.type()->discard(document);
  QApplication::processEvents();
}

void openAStill(benchmark::State& state) {
  for (auto _ : state) {
    const double begin = steadySeconds();
    ZBasicDoc* document = desk->open();
    QWidget* area = desk->widgetOf(*document).viewport();
    PaintCounter counter;
    area->installEventFilter(&counter);
    while (counter.painted == 0) QApplication::processEvents();
    state.SetIterationTime(steadySeconds() - begin);
    close(*document);
  }
}
BENCHMARK(openAStill)->UseManualTime()->Unit(benchmark::kMillisecond);

void clickTheTarget(benchmark::State& state) {
  ZBasicDoc& document = *desk->openLarge(state.range(0));
  tool = kToolCrosshair;
  QWidget* area = desk->widgetOf(document).viewport();
  int step = 0;
  for (auto _ : state) {
    const QPointF at(100 + ++step % 50, 120);
    QMouseEvent press(QEvent::MouseButtonPress, at, area->mapToGlobal(at), Qt::LeftButton, Qt::LeftButton,
                      {});
    QApplication::sendEvent(area, &press);
    area->repaint();
  }
  tool = kToolNone;
  close(document);
}
BENCHMARK(clickTheTarget)->ArgName("ratio")->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

void setZoom(ZBasicView& view, const benchmark::State& state) {
  view.zoomnum = static_cast<int32_t>(state.range(0));
  view.zoomden = static_cast<int32_t>(state.range(1));
  view.onUpdate(CView::Change::All);
  QApplication::processEvents();
}

// Arguments: zoomnum, zoomden, dimensions, pixels a point.
void panStep(benchmark::State& state) {
  ZBasicDoc& document = *desk->openLarge(state.range(3));
  addLabelled(document, state.range(2));
  ZBasicView& view = viewOf(document);
  setZoom(view, state);
  QWidget* area = desk->widgetOf(document).viewport();
  int32_t step = 0;
  for (auto _ : state) {
    view.scrollTo({++step % 97, step % 53});
    area->repaint();
  }
  state.counters["device_Mpixel"] = area->width() * area->height() * 1e-6 * state.range(3) * state.range(3);
  close(document);
}
void zoomStep(benchmark::State& state) {
  ZBasicDoc& document = *desk->openLarge(state.range(3));
  addLabelled(document, state.range(2));
  ZBasicView& view = viewOf(document);
  setZoom(view, state);
  QWidget* area = desk->widgetOf(document).viewport();
  bool in = false;
  for (auto _ : state) {
    view.zoomAbout({area->width() / 2, area->height() / 2}, in = !in);
    area->repaint();
  }
  close(document);
}
void zooms(benchmark::internal::Benchmark* b) {
  b->ArgNames({"num", "den", "dims", "ratio"})->Unit(benchmark::kMillisecond);
  for (const int64_t dims : {0, 1000})
    for (const int64_t ratio : {1, 2})
      for (const auto& [num, den] : {std::pair{3, 4}, {1, 1}, {5, 4}, {625, 256}, {13, 1}})
        b->Args({num, den, dims, ratio});
}
BENCHMARK(panStep)->Apply(zooms);
BENCHMARK(zoomStep)->Apply(zooms);

// From the move of the slider in the form to the window's paint. Argument: the command.
void sliderMove(benchmark::State& state) {
  ZBasicDoc& document = *desk->openLarge(1);
  PaintCounter counter;
  desk->widgetOf(document).viewport()->installEventFilter(&counter);
  desk->forms.drive = [&](FormDialog& dialog) {
    auto* slider = dialog.findChild<QSlider*>();
    QApplication::processEvents();
    for (auto _ : state) {
      const int before = counter.painted;
      slider->setValue(slider->value() == 15 ? 25 : 15);
      while (counter.painted == before) QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
  };
  (void)desk->app.runCommand(static_cast<int32_t>(state.range(0)));
  close(document);
}
BENCHMARK(sliderMove)
    ->ArgName("command")
    ->Arg(cmd::AdjustBrightnessContrast)
    ->Arg(cmd::Threshold)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

// What the docks tell comes a moment after the paint; here at once.
void drawAMark(benchmark::State& state) {
  ZBasicDoc& document = *desk->openLarge(1);
  desk->showDocks(state.range(1) != 0);
  addLabelled(document, state.range(0));
  document.updateAllViews();
  QApplication::processEvents();
  QWidget* area = desk->widgetOf(document).viewport();
  for (auto _ : state) {
    addLabelled(document, 1);
    document.updateAllViews(CView::Change::Marks);
    area->repaint();
    desk->refresh();
    document.currentDims().remove(document.currentDims().size() - 1);
  }
  desk->showDocks(false);
  close(document);
}
BENCHMARK(drawAMark)
    ->ArgNames({"marks", "docks"})
    ->ArgsProduct({{10, 1000}, {0, 1}})
    ->Unit(benchmark::kMillisecond);

void chooseAnExam(benchmark::State& state) {
  SubjectDatabase& db = *desk->app.db;
  (void)db.newSubject("bench");
  std::vector<int32_t> exams;
  for (int64_t i = 0; i < 2; ++i) {
    const int32_t exam = db.newExam("bench", "left ring finger", "", "bench");
    for (int64_t k = 0; k < state.range(0); ++k)
      (void)db.insertResult(exam, format("hand%i.tv1", static_cast<int>(k)), "Density=45.21 no/mm");
    exams.push_back(exam);
  }
  desk->showDocks(true);
  desk->selection.selectSubject("bench", "Ann Lee");
  size_t turn = 0;
  for (auto _ : state) {
    desk->selection.selectExam(exams[++turn % 2], "bench");
    desk->refresh();
  }
  desk->selection.clear();
  desk->showDocks(false);
}
BENCHMARK(chooseAnExam)->ArgName("documents")->Arg(10)->Arg(500)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tarnvisor

int main(int argc, char** argv) {
  using namespace tarnvisor;
  std::filesystem::create_directories(benchFolder());
  const std::string screens = benchFolder() + "/screens.json";
  (void)replaceFile(screens, std::string_view(R"({"screens": [
    {"name": "1", "x": 0, "y": 0, "width": 1920, "height": 1080, "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1},
    {"name": "2", "x": 4000, "y": 0, "width": 1920, "height": 1080, "logicalDpi": 96, "logicalBaseDpi": 96,
     "dpr": 2}]})"));
  ::setenv("QT_QPA_PLATFORM", ("offscreen:configfile=" + screens).c_str(), 1);
  ::setenv("QT_LOGGING_RULES", "*=false", 1);
  benchmark::Initialize(&argc, argv);
  int words = 1;
  {
    QApplication qt(words, argv);
    std::setlocale(LC_NUMERIC, "C");
    Desk program;
    desk = &program;
    benchmark::RunSpecifiedBenchmarks();
  }
  std::filesystem::remove_all(benchFolder());
  return 0;
}
