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

#include "app/mainframe.h"
#include "assembly/assembly.h"
#include "base/files.h"
#include "desktop/paintercanvas.h"
#include "desktop/qthost.h"
#include "desktop/qttext.h"
#include "framework/commandids.h"
#include "imagedoc/zbasicview.h"
#include "results/resultdoc.h"

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
  Photographer(CBasicApp& application, QtHost& qtHost, std::string outputFolder)
      : app(application), host(qtHost), folder(withSeparator(std::move(outputFolder))) {}

  void keep(QWidget& widget, const char* name) {
    settle();
    const std::string path = folder + name + ".png";
    if (!widget.grab().save(toQt(path))) std::fprintf(stderr, "%s could not be written\n", path.c_str());
  }
  void settle() {
    window().updateSoon();
    QTest::qWait(250);
  }

  // Runs a command, and keeps and cancels the dialogs that it opens.
  void keepDialog(int32_t command, const char* name) {
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, &watch, [&] {
      QWidget* dialog = QApplication::activeModalWidget();
      if (!dialog || busy) return;
      busy = true;
      keep(*dialog, name);
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
  void keepMenus() {
    settle();
    QMenuBar* bar = window().menuBar();
    for (QMenu* menu : bar->findChildren<QMenu*>(Qt::FindDirectChildrenOnly)) {
      menu->popup(window().mapToGlobal(QPoint(40, 40)));
      const std::string name = "menu" + fromQt(menu->title().toLower().replace('&', '-'));
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

  CBasicApp& app;
  QtHost& host;
  std::string folder;
  bool busy = false;
};

std::string examPath(CBasicApp& app, const char* file) {
  return app.dataFolder + app.examFolder + kSeparator + file;
}

bool Photographer::select() {
  const auto exams = app.db ? app.db->examsOf("DEMO-1") : std::vector<ExamRow>{};
  if (exams.empty()) return false;
  app.subjectId = "DEMO-1";
  if (const auto subject = app.db->readSubject("DEMO-1"))
    app.subjectName = subject->name + " " + subject->surname;
  app.examId = exams.back().id;
  app.examFolder = exams.back().folder;
  return true;
}

bool Photographer::all() {
  if (!select()) return false;
  keepMenus();
  documents();
  return true;
}

void Photographer::documents() {
  ZBasicDoc* good = open(examPath(app, "good.tv1"));
  ZBasicDoc* colour = open(examPath(app, "colour.tv1"));
  if (!good || !colour) return;
  window().tile();
  app.documents.activate(*good);
  keep(window(), "main-window");
  keepMenus();

  app.documents.closeAll();
  ZBasicDoc& image = *open(examPath(app, "good.tv1"));
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
  for (CDocument* document : std::vector<CDocument*>(app.documents.documents()))
    document->type()->discard(*document);
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
  app.documents.activate(image);
  (void)app.runCommand(cmd::Histogram);
  frameOf(*app.documents.active()).resize(760, 480);
  keep(frameOf(*app.documents.active()), "histogram");
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
  CBasicMainFrame frame(app);
  windows.connect(app, frame);
  StartOptions start;
  start.dataFolder = argv[1];
  // A profile of its own beside the pictures, so that nobody's settings show or change.
  const std::string profile = withSeparator(argv[2]) + "pictures.ini";
  (void)makeFolderPath(argv[2]);
  (void)replaceFile(profile,
                    std::string_view("[Settings]\nshowdb=0\n[MainWindow]\nstatusbar=1\nw=1180\nh=800\n"));
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
    done = Photographer(app, windows, argv[2]).all();
  }
  windows.closeWindows();
  app.exitInstance();
  if (!done) std::fputs("there is no demonstration in this data folder\n", stderr);
  return done ? 0 : 1;
}
