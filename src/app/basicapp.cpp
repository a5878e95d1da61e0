#include "app/basicapp.h"

#include <unistd.h>

#include <cctype>

#include "app/about.h"
#include "app/commandids.h"
#include "app/demonstrationfolder.h"
#include "app/recentfiles.h"
#include "base/clock.h"
#include "base/files.h"
#include "base/text.h"
#include "base/version.h"
#include "host/host.h"
#include "settings/log.h"
#include "settings/profile.h"
#include "settings/profileuse.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {
CBasicApp* runningApp = nullptr;

// "/a FILE": one letter and a blank. Absolute paths begin with the same character.
bool isSwitchLine(const std::string& line) {
  const auto letter = static_cast<unsigned char>(line.size() > 1 ? line[1] : ' ');
  return line.size() >= 2 && line[0] == '/' && std::isalpha(letter) && (line.size() == 2 || line[2] == ' ');
}

void logVersion() {
  logPrintf("%i-%i-%i-%i build:%s\n", kVersion[0], kVersion[1], kVersion[2], kVersion[3], kBuildStamp);
}
}  // namespace

CBasicApp& theApp() { return *runningApp; }

CBasicApp::CBasicApp() {
  runningApp = this;
  loop.onCommand = [this](int32_t id) {
    if (runCommand(id) == CommandResult::Done || startSwitch != Switch::Running) return;
    switchFailed = true;
    host().messages.show(format("Nothing here takes the command of the switch \"%s\".", commandLine.c_str()),
                         Buttons::Ok, Icon::Error);
  };
  loop.onIdle = [this](int32_t count) { return onIdle(count); };
  documents.onSaved = [this](const std::string& path) {
    remember(path);
    host().messages.notice({"Saved " + fileNameOf(path)});
  };
  // Only a window system turns the loop by itself; a start switch does one thing after the other.
  documents.drivesJobs = [this] { return loop.isDriven() && !process.quietMode; };
}

CBasicApp::~CBasicApp() {
  logPrintf("end:%s", ascTime(currentTime()).c_str());
  documents.discardAll();
  unregistered.clear();
  process = {};
  runningApp = nullptr;
}

const CommandTableBase& CBasicApp::commandTable() {
  static const CommandTable<CBasicApp> table{
      {cmd::FileOpen,
       "&Open...",
       &CBasicApp::onFileOpen,
       {.tip = "Open",
        .status = "Opens images, result tables and other documents.",
        .keys = "Ctrl+O",
        .icon = "open"}},
      {cmd::Import, "&Import...", &CBasicApp::onFileImport, &CBasicApp::canImport},
      {cmd::FileClose,
       "&Close",
       &CBasicApp::closeDocument,
       &CBasicApp::hasDocument,
       {.tip = "Close", .status = "Closes the document in front.", .keys = "Ctrl+W"}},
      {cmd::DataFolder,
       "Data &folder...",
       &CBasicApp::chooseDataFolder,
       {.tip = "Data folder",
        .status = "Closes all documents and works in another data folder with its own subjects.",
        .icon = "data-folder"}},
      {cmd::RecentFile1,
       "",
       &CBasicApp::openRecent<0>,
       {.tip = "Latest file", .status = "Opens this file again."}},
      {cmd::RecentFile2,
       "",
       &CBasicApp::openRecent<1>,
       {.tip = "Second latest file", .status = "Opens this file again."}},
      {cmd::RecentFile3,
       "",
       &CBasicApp::openRecent<2>,
       {.tip = "Third latest file", .status = "Opens this file again."}},
      {cmd::RecentFile4,
       "",
       &CBasicApp::openRecent<3>,
       {.tip = "Fourth latest file", .status = "Opens this file again."}},
      {cmd::WindowTile,
       "&Tile",
       &CBasicApp::tileWindows,
       {.tip = "Tile windows",
        .status = "Arranges the windows side by side.",
        .keys = "Shift+F4",
        .icon = "tile"}},
      {cmd::WindowCascade,
       "C&ascade",
       &CBasicApp::cascadeWindows,
       {.tip = "Cascade windows",
        .status = "Arranges the windows one behind the other.",
        .keys = "Shift+F5",
        .icon = "cascade"}},
      {cmd::HelpContents,
       "&Contents",
       &CBasicApp::helpContents,
       {.tip = "Help",
        .status = "Opens the manual at the page of the window in front.",
        .keys = "F1",
        .icon = "help"}},
      {cmd::AppAbout,
       "&About Tarnvisor...",
       &CBasicApp::about,
       {.tip = "About",
        .status = "Shows version, licence and libraries, the memory and the room on the disc.",
        .icon = "about",
        .shown = "&About Tarnvisor"}},
      {cmd::AppExit,
       "E&xit",
       &CBasicApp::closeProgram,
       {.tip = "Exit",
        .status = "Ends the program, asking about documents that have changed.",
        .keys = "Ctrl+Q",
        .icon = "exit"}},
  };
  return table;
}

void CBasicApp::readSettings() { readApplicationSettings(expertMode, showDb, fgMode); }
void CBasicApp::rereadSettings() {
  rereadApplicationSettings(expertMode, fgMode);
  process.dustMaskEnabled = settings.getInt("settings", "dustmask", process.dustMaskEnabled);
  readSettingsOfKinds();
}
void CBasicApp::readSettingsOfKinds() {
  for (const auto& type : documents.types())
    if (type->face().readSettings) type->face().readSettings();
}
void CBasicApp::takeProfile() {
  resetApplicationSettings(expertMode, fgMode);
  rereadSettings();
}
void CBasicApp::saveSettings() { saveApplicationSettings(expertMode, fgMode); }

void CBasicApp::logBanner() {
  logPrintf("\n\n\n****  start:%s", ascTime(currentTime()).c_str());
  logVersion();
  logPrintf("%s\n", logLine.c_str());
}

// The order of these steps is known to whoever reads the log, and posted commands rely on it.
bool CBasicApp::initInstance(const StartOptions& options) {
  commandLine = options.commandLine;
  logLine = commandLine.empty() ? options.logLine : commandLine;
  programPath = options.programPath;
  remembersFiles = options.remembersFiles;
  documentTable = options.documentTable;
  const bool profileFound = options.profilePath.empty()
                                ? selectProfile(options.programPath, false)
                                : selectProfileFile(options.programPath, options.profilePath);
  if (!profileFound) return false;
  if (options.settingsCopy)
    if (const Outcome copied = workOnCopy(*options.settingsCopy); !copied) {
      host().messages.show(copied.why(), Buttons::Ok, Icon::Error);
      return false;
    }
  readSettings();
  const std::string folder = rememberedFolder();
  const bool entered = options.keepWorkingFolder || ::chdir(folder.c_str()) == 0;
  logBanner();
  writeMemoryReport();
  if (!entered) logPrintf("folder %s can't be entered\n", folder.c_str());
  process.cytoMode = 0;
  if (process.tarnvisorEnabled) {
    process.dustMaskEnabled = settings.getInt("settings", "dustmask", process.dustMaskEnabled);
    process.fgAvailable = fgMode != 0;
  }
  if (process.floEnabled) startVelocityInput();
  if (!options.dataFolder.empty())
    openDatabaseIn(options.dataFolder);
  else if ((options.askForDataFolder && !isSwitchLine(commandLine)) ||
           fileExists(settings.getString("Settings", "database", "")))
    openDatabase();
  // Nothing is selected yet: what is recorded doesn't go to the exam of the run before.
  if (!dataFolder.empty() && onDataFolderChanged) onDataFolderChanged();
  registerDocumentTypes(options);
  readSettingsOfKinds();
  if (!host().windows.createMainFrame(programTitle())) return false;
  process.wmFreezeSave = static_cast<uint32_t>(InstanceMessage::FreezeSave);
  process.wmAutoLoad = static_cast<uint32_t>(InstanceMessage::AutoLoad);
  if (options.listenForOthers)
    if (auto listening = InstanceLink::listen(kInstanceClass)) link.emplace(std::move(*listening));

  const bool isSwitch = isSwitchLine(commandLine);
  if (isSwitch) {
    process.batchMode = process.quietMode = 1;  // what opening has to say, too, goes without a dialog
    startSwitch = Switch::Running;
  }
  if (!commandLine.empty()) {
    const std::string file =
        isSwitch ? commandLine.substr(std::min<size_t>(3, commandLine.size())) : commandLine;
    if ((file.empty() || !openDocumentFile(file)) && isSwitch) switchFailed = true;
  }
  host().windows.showMainFrame();
  logPrintf("%s\n", logLine.c_str());
  // Nobody can be chosen on the first day: then the page below says how to begin.
  if (commandLine.empty() && db && showDb && !db->recentSubjects().empty())
    postMainCommand(cmd::SelectSubject);
  if (isSwitch) runStartSwitch(commandLine[1]);
  logPrintf("initinst ok\n");
  return true;
}

void CBasicApp::startVelocityInput() {
  process.flo1Available = 0;
  const int32_t address = hwSettings.getInt("flo1", "address", 768);
  if (!velocityInput) return;
  velocityInput->setAddress(address);
  velocityInput->initialise(settings.getInt("FLOcalcs", "numberofchannels", 1));
  if (!velocityInput->isReady()) return;
  process.flo1Available = 1;
  sampleBuffer.resize(512);
}

void CBasicApp::registerDocumentTypes(const StartOptions& options) {
  if (process.tarnvisorEnabled && options.bindCameraControllers) options.bindCameraControllers();
  for (const DocumentRow& row : options.documentTable) {
    if (!gateOpen(row.gate)) continue;
    auto type = std::make_unique<DocumentType>(row.classes);
    DocumentType* kept = type.get();
    if (row.registered)
      documents.registerType(std::move(type));
    else {
      documents.attach(*kept);
      unregistered.push_back(std::move(type));
    }
    if (row.keptAs) process.*row.keptAs = kept;
  }
}

// A switch works only by posted commands, so that the opened document is in front when they come.
void CBasicApp::runStartSwitch(char letter) {
  for (const auto& type : documents.types())
    for (const StartSwitch& known : type->face().startSwitches)
      if (known.letter == letter) {
        for (const int32_t id : known.commands) postMainCommand(id);
        return;
      }
}

// Quiet was for what the switch asked for. The window that stays open is like any other.
void CBasicApp::endStartSwitch() {
  startSwitch = Switch::Done;
  if (onSwitchDone) return onSwitchDone();
  if (!ending) process.batchMode = process.quietMode = 0;
}

int32_t CBasicApp::exitInstance() {
  // While whoever owns subject and exam is still there.
  if (recorder && recorder->isRecording()) recorder->stopRecording();
  documents.discardAll();
  saveSettings();
  process.linescanTemplate = nullptr;
  unregistered.clear();
  if (process.floEnabled && velocityInput) velocityInput->stop();
  closeDatabase();
  link.reset();
  return 0;
}

CDocument* CBasicApp::openDocumentFile(const std::string& path) {
  DocumentType* type = documents.typeFor(path);
  DocumentType* importer = type ? nullptr : documents.importerFor(path);
  if (!type && !importer) {
    host().messages.show(format("%s can't be opened: no kind of document has this ending.", path.c_str()),
                         Buttons::Ok, Icon::Error);
    return nullptr;
  }
  CDocument* document = type ? type->openDocument(path) : importer->importDocument(path);
  if (!document) return nullptr;
  rememberFolder(path);
  remember(path);
  return document;
}

// A run over a study is no history of what somebody looked at, and what was tried in the demonstration would
// stand among the user's own.
void CBasicApp::remember(const std::string& path) {
  if (remembersFiles && !process.quietMode && !isDemonstration(dataFolder)) addRecentFile(absolutePath(path));
}

void CBasicApp::openRecentFile(size_t index) {
  const std::vector<std::string> files = recentFiles();
  if (index < files.size()) openRecentFile(files[index]);
}

void CBasicApp::openRecentFile(const std::string& path) {
  const bool there = fileExists(path);
  if (there && importFile(path)) return;
  removeRecentFile(path);
  host().messages.show(path + (there ? " could not be opened" : " is no longer there") +
                           " and has been taken off the list of recent files.",
                       Buttons::Ok, Icon::Warning);
}

void CBasicApp::onFileOpen() {
  if (documents.types().empty()) return;
  FileRequest request;
  request.title = "Open";
  request.filter = openFilter(documentTable);
  if (folderOfExam) request.initialPath = folderOfExam();
  int opened = 0;
  for (const std::string& path : host().choosers.openFiles(request))
    if (openDocumentFile(path)) ++opened;
  if (opened > 1) tileWindows();
}

DocumentType* CBasicApp::importType() const {
  for (const auto& type : documents.types())
    if (type->classes().imports) return type.get();
  return nullptr;
}

// One whose ending nobody knows is tried by its bytes.
CDocument* CBasicApp::importFile(const std::string& path) {
  const bool claimed = documents.typeFor(path) || documents.importerFor(path);
  DocumentType* tries = claimed ? nullptr : importType();
  if (!tries) return openDocumentFile(path);
  CDocument* document = tries->importDocument(path);
  if (document) remember(path);
  return document;
}

void CBasicApp::onFileImport() {
  std::string filter = "All files (*.*)|*.*||";
  for (auto type = documents.types().rbegin(); type != documents.types().rend(); ++type)
    if ((*type)->classes().imports) filter.insert(0, std::string((*type)->classes().importFilter) + "|");
  int opened = 0;
  for (const std::string& path : host().choosers.openFiles({"Import", filter, "", ""}))
    if (importFile(path)) ++opened;
  if (opened > 1) tileWindows();
}

std::vector<CommandTarget*> CBasicApp::commandChain(CDocument* front) {
  std::vector<CommandTarget*> chain;
  if (front) {
    if (!front->views().empty()) chain.push_back(front->views().front().get());
    chain.push_back(front);
  }
  chain.push_back(mainFrame);
  chain.push_back(this);
  return chain;
}

CommandResult CBasicApp::runCommand(int32_t id) { return routeCommand(commandChain(), id); }

void CBasicApp::tileWindows() { host().windows.tile(); }
void CBasicApp::cascadeWindows() { host().windows.cascade(); }
void CBasicApp::closeDocument() {
  if (CDocument* front = documents.active()) documents.close(*front);
}
void CBasicApp::closeProgram() {
  ending = startSwitch == Switch::Running;
  host().windows.closeMainFrame();
}

void CBasicApp::helpContents() {
  const std::string page = installedFolder() + "help" + kSeparator + "index.html";
  if (!host().windows.openWithDesktop(page))
    host().messages.show("The help can't be opened: " + page, Buttons::Ok, Icon::Warning);
}

void CBasicApp::about() {
  const std::string title = process.floEnabled && !process.tarnvisorEnabled   ? "FLO1"
                            : process.tarnvisorEnabled && !process.floEnabled ? "Tarnvisor"
                                                                              : programTitle();
  const MemoryStatus memory = memoryStatus();
  host().messages.show(
      format("%s\n\nphysical memory %lluKB\nfree physical memory %lluKB\nmemory load %u %%\n"
             "used virtual memory %lluKB\nfree disc space %lluKB",
             title.c_str(), static_cast<unsigned long long>(memory.totalPhysical >> 10),
             static_cast<unsigned long long>(memory.availablePhysical >> 10), memory.loadPercent,
             static_cast<unsigned long long>((memory.totalVirtual - memory.availableVirtual) >> 10),
             static_cast<unsigned long long>(freeDiscBytes(workingFolder()) >> 10)) +
      "\n\n" + licenceWords());
}

bool CBasicApp::isOpenView(const CView* view) const {
  for (const CDocument* document : documents.documents())
    for (const auto& open : document->views())
      if (open.get() == view) return true;
  return false;
}

void CBasicApp::receiveAutoLoad(const std::string& path) {
  if (!process.imageTemplate) return;
  if (!isOpenView(process.autoLoadView)) process.autoLoadView = nullptr;
  if (const auto* sink = dynamic_cast<AutoLoadSink*>(process.autoLoadView); sink && !sink->isUntouched()) {
    // What was measured on one picture is no other's.
    if (!process.autoLoadView->document().saveModified()) return;
    process.autoLoadView = nullptr;
  }
  if (!process.autoLoadView) {
    CDocument* document = process.imageTemplate->newDocument();
    if (!document || document->views().empty()) return;
    process.autoLoadView = document->views().front().get();
  }
  documents.activate(process.autoLoadView->document());
  if (auto* sink = dynamic_cast<AutoLoadSink*>(process.autoLoadView)) sink->loadImageFile(path);
}

void CBasicApp::receiveFreezeSave(const std::string& path) {
  if (liveView) liveView->freezeAndSave(path);
}

}  // namespace tarnvisor
