// tarnvisor: the workstation.

#include <QApplication>
#include <QTimer>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>

#include "assembly/assembly.h"
#include "base/files.h"
#include "desktop/opening.h"
#include "desktop/qthost.h"
#include "doppler/dopplerinput.h"
#include "frame/autosave.h"
#include "frame/mainframe.h"

namespace {

using namespace tarnvisor;

[[noreturn]] void endWithoutDisplay(const char* why) {
  std::fprintf(
      stderr,
      "no display: %s\n"
      "tarnvisor shows windows. Where there are none, use tarnvisor-batch, which does the same from a script.\n",
      why);
  std::_Exit(1);
}

bool isSet(const char* variable) {
  const char* value = std::getenv(variable);
  return value && *value;
}

// Qt gives up with an abort where its display can't be reached.
void sayWhyInWords(QtMsgType type, const QMessageLogContext&, const QString& words) {
  if (type == QtFatalMsg) endWithoutDisplay("the one that is named can't be reached.");
  if (type != QtCriticalMsg) return;
  std::fprintf(stderr, "%s\n", qPrintable(words));
}

std::string ownPath() {
  std::error_code error;
  const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? "./tarnvisor" : self.string();
}

// Such a run is for one task, and can do without anybody who looks.
bool isForATask(const CommandLine& line) {
  const std::string& given = line.forApplication;
  return given.size() > 2 && given[0] == '/' && given[2] == ' ';
}

// Turns go on behind dialogs, whose answer may take long. The first one offers what was left, before anything
// else is asked; another data folder is seen at once.
class AutoSaveTimer {
 public:
  explicit AutoSaveTimer(CBasicApp& application)
      : app(application), autoSave(app), toldBefore(app.onDataFolderChanged) {
    QObject::connect(&timer, &QTimer::timeout, &timer, [this] { turn(); });
    app.onDataFolderChanged = [this] {
      if (toldBefore) toldBefore();
      timer.start(0);
    };
    turn();
  }
  ~AutoSaveTimer() { app.onDataFolderChanged = toldBefore; }
  AutoSaveTimer(const AutoSaveTimer&) = delete;
  AutoSaveTimer& operator=(const AutoSaveTimer&) = delete;

 private:
  void turn() {
    timer.start(AutoSave::turnMs());
    autoSave.turn();
  }
  CBasicApp& app;
  AutoSave autoSave;
  std::function<void()> toldBefore;
  QTimer timer;
};

int runWorkstation(const CommandLine& line, bool hasDisplay) {
  registerStoredClasses();
  QtHost windows;
  if (!hasDisplay) windows.tellOnStandardError();
  const HostScope scope(windows.ports);
  CBasicApp app;
  const ExamSelection exams(app);
  DopplerInput velocity(app);
  CBasicMainFrame frame(app);
  windows.connect(app, frame);
  const QtLoop loop(app.loop, [&] {
    if (windows.mainWindow()) windows.mainWindow()->updateSoon();
  });
  StartOptions start;
  start.programPath = ownPath();
  start.profilePath = line.profile;
  start.commandLine = line.forApplication;
  start.documentTable = documentTable();
  start.dataFolder = line.dataFolder;
  std::optional<TemporaryFolder> settingsOfTheRun;
  if (!hasDisplay) {
    // Nobody is asked, and the windows that nobody saw leave no trace in the profile.
    start.askForDataFolder = false;
    start.remembersFiles = false;
    start.settingsCopy = settingsOfTheRun.emplace("settings").file("settings.ini");
    app.onSwitchDone = [] { QCoreApplication::quit(); };
  }
  if (!app.initInstance(start)) return 1;
  windows.mainWindow()->openFiles(line.otherFiles);
  if (app.documents.documents().size() > 1) windows.tile();
  std::optional<AutoSaveTimer> autoSave;
  if (hasDisplay && !isForATask(line)) autoSave.emplace(app);
  QApplication::exec();
  const bool failed = app.startSwitchFailed() || windows.toldError();
  autoSave.reset();
  windows.closeWindows();
  const int code = app.exitInstance();
  return code == 0 && failed ? 1 : code;
}

}  // namespace

int main(int argc, char** argv) {
  const CommandLine line = parseCommandLine({argv + 1, argv + argc});
  if (line.exitCode >= 0) {
    std::fputs(line.message.c_str(), line.exitCode == 0 ? stdout : stderr);
    return line.exitCode;
  }
  std::signal(SIGXFSZ, SIG_IGN);  // a file that may not grow is an error in words
  const bool hasDisplay = isSet("DISPLAY") || isSet("WAYLAND_DISPLAY") || isSet("QT_QPA_PLATFORM");
  if (!hasDisplay && !isForATask(line)) endWithoutDisplay("neither DISPLAY nor WAYLAND_DISPLAY is set.");
  if (!hasDisplay) setenv("QT_QPA_PLATFORM", "offscreen", 1);
  QtMessageHandler usual = qInstallMessageHandler(sayWhyInWords);
  int noArguments = 1;
  QApplication qt(noArguments, argv);
  if (hasDisplay) qInstallMessageHandler(usual);  // else it would complain of what it can't show
  // Numbers in files and forms have a point in every language.
  std::setlocale(LC_NUMERIC, "C");
  QApplication::setApplicationName("tarnvisor");
  QApplication::setDesktopFileName("tarnvisor");
  QApplication::setQuitOnLastWindowClosed(false);
  return runWorkstation(line, hasDisplay);
}
