// tarnvisor-pictures: drives the real program over a demonstration data folder and keeps pictures of its
// windows and dialogs, for the manual and for looking at them in other themes and scales. See
// scripts/make-pictures.
#include <QApplication>
#include <QDialog>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QStyleFactory>
#include <QTest>
#include <QToolBar>
#include <clocale>
#include <cstdio>
#include <utility>

#include "app/processstate.h"
#include "assembly/assembly.h"
#include "base/files.h"
#include "capture/commandids.h"
#include "charts/commandids.h"
#include "charts/commonflodoc.h"
#include "charts/xychart.h"
#include "desktop/paintercanvas.h"
#include "desktop/qthost.h"
#include "desktop/qttext.h"
#include "doppler/commandids.h"
#include "doppler/dopplerinput.h"
#include "dynamic/commandids.h"
#include "dynamic/fcfdoc.h"
#include "dynamic/vivocapview.h"
#include "frame/mainframe.h"
#include "imagedoc/zbasicview.h"
#include "linescan/commandids.h"
#include "linescan/zlinescandoc.h"
#include "results/resultdoc.h"
#include "settings/settings.h"
#include "sound/pacedsound.h"

namespace {

using namespace tarnvisor;

QPalette darkPalette() {
  QPalette dark;
  dark.setColor(QPalette::Window, QColor(43, 46, 51));
  dark.setColor(QPalette::Base, QColor(32, 34, 38));
  dark.setColor(QPalette::AlternateBase, QColor(38, 41, 46));
  dark.setColor(QPalette::Button, QColor(52, 56, 62));
  dark.setColor(QPalette::ToolTipBase, QColor(52, 56, 62));
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText})
    dark.setColor(role, QColor(226, 230, 235));
  dark.setColor(QPalette::PlaceholderText, QColor(150, 155, 162));
  dark.setColor(QPalette::Highlight, QColor(44, 110, 160));
  dark.setColor(QPalette::HighlightedText, Qt::white);
  dark.setColor(QPalette::Link, QColor(108, 195, 232));
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
    dark.setColor(QPalette::Disabled, role, QColor(125, 130, 136));
  return dark;
}

class Photographer {
 public:
  Photographer(CBasicApp& application, QtHost& qtHost, PacedSound*& sound, std::string outputFolder)
      : app(application),
        host(qtHost),
        velocitySound(sound),
        folder(withSeparator(std::move(outputFolder))) {}

  void keep(QWidget& widget, const char* name) {
    settle();
    const std::string path = folder + name + ".png";
    if (!widget.grab().save(toQt(path))) std::fprintf(stderr, "%s could not be written\n", path.c_str());
  }
  void settle() {
    window().updateSoon();
    QTest::qWait(250);
  }

  // Runs a command, keeps the first dialog that it opens, and cancels all.
  void keepDialog(int32_t command, const char* name) {
    QTimer watch;
    bool kept = false;
    QObject::connect(&watch, &QTimer::timeout, &watch, [&] {
      QWidget* dialog = QApplication::activeModalWidget();
      if (!dialog || busy) return;
      busy = true;
      if (!std::exchange(kept, true)) keep(*dialog, name);
      dialog->close();
      busy = false;
    });
    watch.start(300);
    (void)app.runCommand(command);
    settle();
  }
  void keepTop(const char* title, const char* name) {
    settle();
    for (QWidget* each : QApplication::topLevelWidgets())
      if (each->isVisible() && each->windowTitle().startsWith(title)) keep(*each, name);
  }
  void keepMenus(const std::string& prefix) {
    settle();
    QMenuBar* bar = window().menuBar();
    for (QMenu* menu : bar->findChildren<QMenu*>(Qt::FindDirectChildrenOnly)) {
      menu->popup(window().mapToGlobal(QPoint(40, 40)));
      const std::string name = prefix + fromQt(menu->title().toLower().remove('&'));
      keep(*menu, name.c_str());
      menu->close();
    }
  }

  ZBasicDoc* open(const std::string& path) { return dynamic_cast<ZBasicDoc*>(app.openDocumentFile(path)); }
  ZBasicView& viewOf(ZBasicDoc& document) { return static_cast<ZBasicView&>(*document.views().front()); }
  MainWindow& window() { return *host.mainWindow(); }
  QMdiSubWindow& frameOf(CDocument& document) { return *window().documentWindows().windowOf(document); }

  // False when the data folder holds no demonstration.
  bool all();

 private:
  bool select();
  void documents();
  void dialogs(ZBasicDoc& image);
  void tables(ZBasicDoc& image);
  // Of a line on the image, and of its region.
  void levelCharts(ZBasicDoc& image);
  void videos();
  void flow();
  // A line along a loop of the video that is at rest, and one across it.
  void linescans();
  // Of the video that shakes.
  void movement();
  void live();
  void velocityInput();
  void charts();
  void chartDialogs(ZchartDoc& chart, ZchartView& view);
  void toolBox(ZchartDoc& chart, ZchartView& view);
  // With the values that a form begins with.
  void runWithoutAsking(int32_t command) {
    process.quietMode = true;
    (void)app.runCommand(command);
    process.quietMode = false;
  }
  void discardAll() {
    for (CDocument* document : std::vector<CDocument*>(app.documents.documents()))
      document->type()->discard(*document);
  }

  CBasicApp& app;
  QtHost& host;
  PacedSound*& velocitySound;  // of the velocity input, once it is open
  std::string folder;
  bool busy = false;
};

std::string examPath(const char* file) { return theExams().folder() + file; }

bool Photographer::select() {
  const auto exams = app.db ? app.db->examsOf("DEMO-1") : std::vector<ExamRow>{};
  if (exams.empty()) return false;
  const auto subject = app.db->readSubject("DEMO-1");
  theExams().selectSubject("DEMO-1", subject ? subject->name + " " + subject->surname : "");
  theExams().selectExam(exams.back().id, exams.back().folder);
  return true;
}

bool Photographer::all() {
  if (!select()) return false;
  keepMenus("menu-");
  documents();
  return true;
}

void Photographer::documents() {
  ZBasicDoc* good = open(examPath("good.tv1"));
  ZBasicDoc* colour = open(examPath("colour.tv1"));
  if (!good || !colour) return;
  window().tile();
  app.documents.activate(*good);
  keep(window(), "main-window");
  keepMenus("menu-");

  app.documents.closeAll();
  ZBasicDoc& image = *open(examPath("good.tv1"));
  image.calibrated = 1;
  image.magx = image.magy = 1.68;
  image.roi = {300, 250, 1000, 780};
  frameOf(image).resize(900, 640);
  ZBasicView& view = viewOf(image);
  view.fitTo(view.windowSize());
  view.showsScaleBar = true;
  image.dimlists[0].removeAll();
  const int32_t line = image.addDimension({320, 280}, CDimList::kPolyline);
  for (const Point p : {Point{380, 330}, Point{470, 300}, Point{560, 360}})
    image.addPointToDimension(line, p);
  const int32_t circle = image.addDimension({700, 420}, CDimList::kCircle);
  image.addPointToDimension(circle, {790, 420});
  view.selected = line;
  image.updateAllViews();
  keep(frameOf(image), "image-window");
  image.dimlists[0].removeAll();
  (void)image.countCapillaries();
  keep(frameOf(image), "found");
  dialogs(image);
  (void)app.runCommand(cmd::VoronoiRegions);
  app.documents.activate(image);
  keep(frameOf(image), "voronoi");
  tables(image);
  levelCharts(image);
  discardAll();
  videos();
  linescans();
  movement();
  live();
  velocityInput();
  charts();
}

void Photographer::dialogs(ZBasicDoc& image) {
  const std::pair<int32_t, const char*> shown[] = {{cmd::Magnification, "magnification"},
                                                   {cmd::CalibrateMagnification, "calibrate"},
                                                   {cmd::Units, "units"},
                                                   {cmd::GridSettings, "grid-settings"},
                                                   {cmd::AdjustBrightnessContrast, "adjust"},
                                                   {cmd::Threshold, "threshold"},
                                                   {cmd::Processing, "processing"},
                                                   {cmd::HighPassFilter, "high-pass"},
                                                   {cmd::CustomFilter, "custom-filter"},
                                                   {cmd::Notes, "notes"},
                                                   {cmd::SelectProfile, "profile"},
                                                   {cmd::SelectSubject, "subject"},
                                                   {cmd::AppAbout, "about"},
                                                   {cmd::FilePrintPreview, "print-preview"},
                                                   {cmd::FileOpen, "open"}};
  for (const auto& [command, name] : shown) {
    if (app.documents.active() != &image) app.documents.activate(image);
    keepDialog(command, name);
  }
  select();  // cancelling the subject dialog cleared it
  (void)app.runCommand(cmd::ViewExams);
  keepTop("Select Exam", "exams");
  (void)app.runCommand(cmd::StatusWindow);
  keepTop("Status", "status-window");
  (void)app.runCommand(cmd::StatusWindow);
}

void Photographer::tables(ZBasicDoc& image) {
  (void)app.runCommand(cmd::CalculateAverage);
  image.roi = {};
  (void)app.runCommand(cmd::CalculateAverage);
  if (CResultDoc* table = findResultDocument("Image Results")) {
    app.documents.activate(*table);
    frameOf(*table).resize(1000, 260);
    keep(frameOf(*table), "results");
  }
  app.documents.activate(image);
  (void)app.runCommand(cmd::DimensionListWindow);
  frameOf(*app.documents.active()).resize(760, 380);
  keep(frameOf(*app.documents.active()), "dimension-list");
}

void Photographer::levelCharts(ZBasicDoc& image) {
  image.currentDims().removeAll();
  // Across the limbs of four loops.
  const int32_t line = image.addDimension({200, 180}, CDimList::kPolyline);
  image.addPointToDimension(line, {720, 180});
  viewOf(image).selected = line;
  image.updateAllViews();
  for (const auto& [command, name] :
       {std::pair{cmd::GreyLevel, "level-profile"}, std::pair{cmd::Histogram, "histogram"}}) {
    app.documents.activate(image);
    (void)app.runCommand(command);
    frameOf(*app.documents.active()).resize(760, 420);
    keep(frameOf(*app.documents.active()), name);
  }
  window().tile();
  keep(window(), "level-charts");
}

void Photographer::videos() {
  auto* video = dynamic_cast<CVivoCapDoc*>(app.openDocumentFile(examPath("flow.dtv")));
  if (!video) return;
  auto& view = static_cast<CVivoCapView&>(*video->views().front());
  settle();
  view.goTo(47);
  if (!video->select(20, 100)) return;
  keep(frameOf(*video), "video");
  keep(window(), "video-window");
  keepMenus("video-menu-");
  for (const auto& [command, name] :
       {std::pair{cmd::SelectImages, "select-images"}, std::pair{cmd::VideoProperties, "video-properties"},
        std::pair{cmd::PlaybackSkip, "playback"}})
    keepDialog(command, name);
  runWithoutAsking(cmd::AverageSequence);
  window().tile();
  keep(window(), "video-average");
  app.documents.activate(*video);
  flow();
  discardAll();
}

// Of the video in front.
void Photographer::flow() {
  runWithoutAsking(cmd::CalculateFcf);
  auto* map = dynamic_cast<fcfdoc*>(app.documents.active());
  if (!map) return;
  map->autoThreshold = map->autoGain = 1;
  map->recomputeFcf();
  keep(frameOf(*map), "flow");
  keepMenus("flow-menu-");
  keepDialog(cmd::RecalculateFcf, "recalculate-flow");
}

void Photographer::linescans() {
  auto* video = dynamic_cast<CVivoCapDoc*>(app.openDocumentFile(examPath("flow.dtv")));
  if (!video) return;
  for (const char* addition : {"subpoint", "bothways"}) settings.setInt("correlation", addition, 1);
  settings.setInt("correlation", "gap", 2);
  settings.setInt("capwidth", "edgesub", 1);
  // Up the limb that blood comes by.
  const int32_t along = video->addDimension({434, 160}, CDimList::kPolyline);
  for (const Point p : {Point{435, 115}, Point{437, 91}, Point{438, 70}})
    video->addPointToDimension(along, p);
  video->currentDims().at(along).width = 9;
  viewOf(*video).selected = along;
  video->updateAllViews();
  keep(frameOf(*video), "line-along-loop");
  keepDialog(cmd::CalculateAllLines, "velocity");
  app.documents.activate(*video);
  runWithoutAsking(cmd::CalculateAllLines);
  ZlineScanDoc* scan = theLinescan();
  if (!scan) return;
  app.documents.activate(*scan);
  runWithoutAsking(cmd::HoughVelocities);
  frameOf(*scan).resize(1000, 700);
  static_cast<ZchartView&>(*scan->views().front()).fit();
  keep(frameOf(*scan), "linescan");
  keepMenus("linescan-menu-");
  keepDialog(cmd::VelocityForm, "velocity-settings");
  keepDialog(cmd::VelocityResult, "velocity-result");
  if (CResultDoc* table = findResultDocument("Capillary Measurement Results")) {
    app.documents.activate(*table);
    frameOf(*table).resize(1000, 220);
    keep(frameOf(*table), "capillary-results");
  }
  app.documents.activate(*video);
  video->currentDims().removeAll();
  const int32_t across = video->addDimension({412, 115}, CDimList::kLine);
  video->addPointToDimension(across, {458, 115});
  (void)app.runCommand(cmd::WidthAgainstTime);
  constexpr int kLongestRun = 60000;  // milliseconds
  if (!QTest::qWaitFor([&] { return !video->isBusy(); }, kLongestRun)) return;
  frameOf(*app.documents.active()).resize(1000, 420);
  keep(frameOf(*app.documents.active()), "widths");
  discardAll();
}

void Photographer::movement() {
  auto* video = dynamic_cast<CVivoCapDoc*>(app.openDocumentFile(examPath("shake.dtv")));
  if (!video) return;
  constexpr int kLongestRun = 120000;  // milliseconds
  (void)app.runCommand(cmd::NailfoldPanorama);
  if (!QTest::qWaitFor([&] { return !video->isBusy(); }, kLongestRun)) return;
  keep(frameOf(*app.documents.active()), "panorama");
  for (const auto& [command, name] :
       {std::pair{cmd::MovementQuality, "movement-quality"}, std::pair{cmd::FocusCheck, "focus-check"}}) {
    app.documents.activate(*video);
    (void)app.runCommand(command);
    frameOf(*app.documents.active()).resize(1000, 620);
    keep(frameOf(*app.documents.active()), name);
  }
  discardAll();
}

void Photographer::live() {
  (void)app.runCommand(cmd::LiveVideo);
  constexpr int kLongestStart = 20000;  // milliseconds
  constexpr int32_t kSettled = 90;      // frames, until the light is right
  const bool runs =
      QTest::qWaitFor([&] { return app.camera && app.camera->frameCounter() > kSettled; }, kLongestStart);
  if (!runs) return;
  (void)app.runCommand(cmd::AutoBrightnessControl);
  QTest::qWait(600);  // its values are read anew
  keep(frameOf(*app.documents.active()), "live");
  for (QWidget* each : QApplication::topLevelWidgets())
    if (each->isVisible() && each->windowTitle() == "Auto Brightness") keep(*each, "auto-brightness");
  discardAll();
}

void Photographer::velocityInput() {
  constexpr int kBlocks = 330;  // 28 seconds
  (void)app.runCommand(cmd::Flo1Monitor);
  if (!app.flo1View) return;
  CDocument& document = *app.documents.active();
  frameOf(document).resize(1000, 620);
  settle();
  app.flo1View->start();
  for (int block = 0; block < kBlocks; ++block) {
    velocitySound->step(SoundBlock::kSamples);
    app.loop.turn();
  }
  keep(frameOf(document), "doppler");
  keepMenus("doppler-menu-");
  app.flo1View->stop();
  for (const int32_t command : {cmd::InputSettings, cmd::InputChannel, cmd::AuxiliarySettings,
                                cmd::CbvParameters, cmd::HardwareSettings, cmd::RecalculateShift})
    keepDialog(command, ("doppler-" + std::to_string(command)).c_str());
  for (const int32_t command : {cmd::ThresholdWindow, cmd::Cuff}) (void)app.runCommand(command);
  keepTop("Threshold", "doppler-threshold");
  keepTop("CUFF", "doppler-cuff");
  discardAll();
}

void Photographer::charts() {
  auto* chart = dynamic_cast<ZchartDoc*>(app.openDocumentFile(examPath("pulse.zz1")));
  if (!chart) return;
  auto& view = static_cast<ZchartView&>(*chart->views().front());
  frameOf(*chart).resize(1000, 620);
  settle();
  view.setActive(chart->findtrace("flow"));
  keep(frameOf(*chart), "chart");
  keepMenus("chart-menu-");
  view.zoomTime(0.2, 0.0);
  view.select(1.5, 4.5);
  chart->updateAllViews();
  keep(frameOf(*chart), "chart-selection");
  chartDialogs(*chart, view);
  toolBox(*chart, view);
  discardAll();
}

void Photographer::chartDialogs(ZchartDoc& chart, ZchartView& view) {
  const std::pair<int32_t, const char*> ofSamples[] = {{cmd::SimpleSmoothing, "simple-smoothing"},
                                                       {cmd::ArtifactFilter, "artifact-filter"},
                                                       {cmd::FirFilter, "fir-filter"},
                                                       {cmd::PulsatilityIndex, "pulsatility-settings"},
                                                       {cmd::TraceProperties, "trace-properties"},
                                                       {cmd::XyChart, "xy-settings"},
                                                       {cmd::ExportTrace, "trace-export"},
                                                       {cmd::Import, "trace-import"},
                                                       {cmd::FilePrintPreview, "chart-preview"}};
  for (const auto& [command, name] : ofSamples) keepDialog(command, name);
  view.setActive(chart.findtrace("Doppler spectrum"));
  keepDialog(cmd::LevelContour, "level-contours");
}

void Photographer::toolBox(ZchartDoc& chart, ZchartView& view) {
  const auto fresh = [&](const char* trace, double from, double to) {
    while (chart.canUndo()) chart.undo();
    view.setActive(chart.findtrace(trace));
    view.select(from, to);
  };
  fresh("flow", 2, 38);
  runWithoutAsking(cmd::PulsatilityIndex);
  view.fit();
  frameOf(chart).resize(1000, 760);
  keep(frameOf(chart), "pulsatility");
  fresh("Doppler", 0, 0);
  runWithoutAsking(cmd::PowerSpectrum);
  keep(frameOf(chart), "power-spectrum");
  fresh("Doppler spectrum", 0, 0);
  runWithoutAsking(cmd::SignalStrength);
  view.setActive(chart.findtrace("Doppler spectrum"));
  runWithoutAsking(cmd::LevelContour);
  keep(frameOf(chart), "contours");
  fresh("Doppler spectrum", 0, 0);
  view.cursor = 3.0;
  runWithoutAsking(cmd::PsdProfile);
  frameOf(*app.documents.active()).resize(760, 420);
  keep(frameOf(*app.documents.active()), "psd-profile");
  app.documents.activate(chart);
  fresh("flow", 0, 0);
  runWithoutAsking(cmd::ChartResults);
  if (CResultDoc* table = findResultDocument("Chart Results")) {
    app.documents.activate(*table);
    frameOf(*table).resize(900, 220);
    keep(frameOf(*table), "chart-results");
  }
  app.documents.activate(chart);
  runWithoutAsking(cmd::Differentiate);
  const ZZTrace* flow = chart.findtrace("flow");
  const ZZTrace* slope = chart.findtrace("dy/dx of flow");
  if (!flow || !slope) return;
  if (xychartdoc* against = makeXyChart(*flow, *slope, "slope against flow")) {
    frameOf(*against).resize(640, 520);
    keep(frameOf(*against), "xy-chart");
  }
}

}  // namespace

int main(int argc, char** argv) {
  using namespace tarnvisor;
  const bool dark = argc == 4 && std::string(argv[3]) == "--dark";
  if (argc != 3 && !dark) {
    std::fputs("usage: tarnvisor-pictures DATAFOLDER OUTPUTFOLDER [--dark]\n", stderr);
    return 2;
  }
  QApplication qt(argc, argv);
  std::setlocale(LC_NUMERIC, "C");
  QApplication::setStyle(QStyleFactory::create("Fusion"));
  if (dark) QApplication::setPalette(darkPalette());
  registerStoredClasses();
  QtHost windows;
  const HostScope scope(windows.ports);
  CBasicApp app;
  const ExamSelection exams(app);
  // Its sound comes when it is asked for, the same each time.
  PacedSound* sound = nullptr;
  DopplerInput velocity(app, [&](std::string&) {
    auto made = std::make_unique<PacedSound>(simulatedSound(), SoundPace::Step);
    sound = made.get();
    return made;
  });
  CBasicMainFrame frame(app);
  windows.connect(app, frame);
  StartOptions start;
  start.dataFolder = argv[1];
  // A profile of its own beside the pictures, so that nobody's settings show or change.
  const std::string profile = withSeparator(argv[2]) + "pictures.ini";
  (void)makeFolderPath(argv[2]);
  (void)replaceFile(
      profile,
      std::string_view(
          "[Settings]\nshowdb=0\nfloEN=1\n[MainWindow]\nstatusbar=1\nw=1180\nh=800\nFLO1=0\n"
          "[Cflo1Doc]\nrawenabled=1\nrawnpts=600\nflonpts=600\ndopnpts=600\nstopmode=0\n[FLOcalcs]\ncbvMethod=5\n"
          "[ueyeP]\ncamera=simulated\n[autoflashcontrol]\nautoBrightnessMethod=1\n"));
  start.programPath = argv[0];
  start.profilePath = profile;
  start.documentTable = documentTable();
  start.listenForOthers = false;
  start.keepWorkingFolder = true;
  start.remembersFiles = false;
  if (!app.initInstance(start)) return 1;
  bool done = false;
  {
    const QtLoop loop(app.loop, [&] { windows.mainWindow()->updateSoon(); });
    done = Photographer(app, windows, sound, argv[2]).all();
  }
  windows.closeWindows();
  app.exitInstance();
  if (!done) std::fputs("there is no demonstration in this data folder\n", stderr);
  return done ? 0 : 1;
}
