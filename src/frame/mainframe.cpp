#include "frame/mainframe.h"

#include <algorithm>

#include "app/demonstrationfolder.h"
#include "base/files.h"
#include "base/text.h"
#include "frame/commandids.h"
#include "frame/commandwords.h"
#include "frame/hdrfileopendlg.h"
#include "frame/menus.h"
#include "frame/profileselection.h"
#include "framework/documenttype.h"
#include "host/host.h"
#include "settings/profile.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {
constexpr const char* kSection = "MainWindow";
constexpr const char* kStatusBarKey = "statusbar";
constexpr const char* kMetafileFilter = "Windows Meta files (*.wmf)|*.wmf||";
constexpr Point kPopupPlace{100, 100};
}  // namespace

namespace {

// Looking for one that nobody names takes a second, and opens it.
bool namesCamera() { return !settings.getString("ueyeP", "camera", "").empty(); }

}  // namespace

Placement readPlacement(Size screen) {
  Placement p;
  p.left = settings.getInt(kSection, "left", 0);
  p.top = settings.getInt(kSection, "top", 0);
  p.width = settings.getInt(kSection, "w", screen.width);
  p.height = settings.getInt(kSection, "h", screen.height);
  if (p.width <= 0 || p.height <= 0) {
    p.width = screen.width;
    p.height = screen.height;
  }
  // A screen that is no longer there must not take the window along.
  const auto isAway = [](int32_t from, int32_t size, int32_t limit) {
    return from >= limit || int64_t{from} + size <= 0;
  };
  if (isAway(p.left, p.width, screen.width) || isAway(p.top, p.height, screen.height)) p.left = p.top = 0;
  p.status = {settings.getInt(kSection, "statleft", 100), settings.getInt(kSection, "stattop", 100)};
  if (p.status.x < 0 || p.status.x >= screen.width) p.status.x = 0;
  if (p.status.y < 0 || p.status.y >= screen.height) p.status.y = 0;
  return p;
}

CBasicMainFrame::CBasicMainFrame(CBasicApp& application) : app(application) {
  app.mainFrame = this;
  theExams().listen(this, [this] {
    exams.refresh();
    if (examFace) examFace->refreshIfOpen(exams);
    if (showsOverview()) {
      overview.refresh();
      overviewFace->refresh();
    }
    refresh();
  });
}

CView* CBasicMainFrame::viewInFront() const {
  const CDocument* front = app.documents.active();
  return front && !front->views().empty() ? front->views().front().get() : nullptr;
}

// Null where no kind of document holds results.
void (*CBasicMainFrame::ofStudy(void (*DocumentFace::*what)()) const)() {
  for (const auto& type : app.documents.types())
    if (type->face().*what) return type->face().*what;
  return nullptr;
}

CBasicMainFrame::~CBasicMainFrame() {
  app.mainFrame = nullptr;
  theExams().forget(this);
}

Bars CBasicMainFrame::bars() const {
  Bars shown = wanted;
  shown.main = shown.main && isExpertMode();
  shown.ops = shown.ops && canShowOps();
  shown.record = shown.record && canShowRecordBar();
  return shown;
}

void CBasicMainFrame::windowShown() {
  wanted.statusBar = settings.getInt(kSection, kStatusBarKey, 0) != 0;
  wanted.marksDock = settings.getInt(kSection, "marksdock", 1) != 0;
  wanted.examDock = settings.getInt(kSection, "examdock", 1) != 0;
  cameraIsNamed = namesCamera();
  // The live window comes back where it was open: to look for a camera takes a second, and where there is
  // none each start would say so.
  if (settings.getInt(kSection, "fg", 0)) showLive();
  if (process.floEnabled && settings.getInt(kSection, "FLO1", 1)) flo1Monitor();
  refresh();
}

void CBasicMainFrame::storePlacement(const Placement& placement, bool minimised) const {
  if (minimised) return;
  settings.setInt(kSection, "left", placement.left);
  settings.setInt(kSection, "top", placement.top);
  settings.setInt(kSection, "w", placement.width);
  settings.setInt(kSection, "h", placement.height);
  settings.setInt(kSection, "statleft", placement.status.x);
  settings.setInt(kSection, "stattop", placement.status.y);
  settings.setInt(kSection, "FLO1", app.flo1View ? 1 : 0);
  settings.setInt(kSection, "fg", app.liveView ? 1 : 0);
}

std::string CBasicMainFrame::statusText() const {
  const ExamSelection& selected = theExams();
  const std::string subject =
      selected.subjectId().empty() ? "none" : selected.subjectId() + ": " + selected.subjectName();
  const std::string exam =
      selected.hasExam() ? format("%i, %s", selected.examId(), selected.examFolder().c_str()) : "none";
  const std::string& records = process.recordDir;
  const uint64_t room = freeDiscBytes(!records.empty() && folderExists(records) ? records : workingFolder());
  return format(
      "Subject  %s\nExam  %s\nData folder  %s\nRecording folder  %s\nFree disc space  %llu MB\nProfile  %s",
      subject.c_str(), exam.c_str(), app.db ? app.dataFolder.c_str() : "none",
      records.empty() ? "none" : records.c_str(), static_cast<unsigned long long>(room >> 20),
      fileNameOf(withoutExtension(settings.path())).c_str());
}

bool CBasicMainFrame::canOpenVideos() const {
  return process.videoTemplate && process.videoTemplate->canOpen();
}

bool CBasicMainFrame::isInDemonstration() const { return isDemonstration(app.dataFolder); }

// In a data folder of its own, which the profile does not keep: the user's comes back by the same command, or
// at the next start.
void CBasicMainFrame::openDemonstration() {
  const std::string folder = demonstrationFolder();
  if (!app.documents.closeAll()) return;
  if (isInDemonstration()) {
    if (ownDataFolder.empty()) ownDataFolder = folderOf(settings.getString("Settings", "database", ""));
    if (ownDataFolder.empty() || isDemonstration(ownDataFolder))
      host().messages.show("There is no other data folder yet: File, Data folder chooses one.");
    else if (app.useDataFolder(ownDataFolder))
      host().messages.notice({"Your own data folder is back: " + ownDataFolder});
    return;
  }
  const std::string complete = folder + "complete";
  if (!fileExists(complete)) {
    const WaitScope wait;
    host().messages.notice({"The demonstration is being made. This takes some seconds."});
    const bool made = makeFolderPath(folder) &&
                      host().processes.run({installedFolder() + "tarnvisor-batch", "--demonstration",
                                            "--data", folder}) == 0 &&
                      replaceFile(complete, std::string_view());
    if (!made) {
      host().messages.show("The demonstration could not be made in " + folder + ".", Buttons::Ok,
                           Icon::Error);
      return;
    }
  }
  const std::string before = app.dataFolder;
  if (!app.useDataFolder(folder)) return;
  ownDataFolder = before;
  SubjectDialog dialog;
  dialog.chooseId("DEMO-1");
  exams.refresh();
  if (!exams.exams().empty()) exams.select(0);
  refresh();
  host().messages.notice({"The demonstration's examination is selected: open its documents at the left."});
}

// A video document takes the header for what it is.
void CBasicMainFrame::openCytoscan() {
  if (const auto header = HdrFileOpenDlg().run()) process.videoTemplate->importDocument(*header);
}

void CBasicMainFrame::openRemote() {
  // The profile may be another than at the last time.
  if (!remoteFace->isOpen()) {
    remoteFace->letGo();
    remote = std::make_unique<RemoteBrowser>(app);
  }
  remoteFace->openOrRaise(*remote);
}

bool CBasicMainFrame::hasView() const {
  const CDocument* front = app.documents.active();
  return front && !front->views().empty();
}

// What the window shows; one that has none shows all.
void CBasicMainFrame::exportMetafile() {
  CDocument& front = *app.documents.active();
  CView& view = *front.views().front();
  const auto path =
      front.askExportPath({"Export metafile", kMetafileFilter, ".wmf", front.exportPath(".wmf")});
  if (!path || path->empty()) return;
  Size size = view.windowSize();
  if (size == Size{}) size = view.contentSize();
  if (size == Size{}) size = kPlainWindow;
  view.setWindowSize(size);
  Outcome done = app.documents.mayOutputTo(*path);
  if (done) done = host().pictures.write(*path, size, [&view](Canvas& canvas) { view.draw(canvas); });
  front.tellExported(done, *path);
}

void CBasicMainFrame::viewExams() {
  exams.refresh();
  examFace->openOrRefresh(exams);
}

void CBasicMainFrame::examsOfSubject() {
  overview.refresh();
  overviewFace->open(overview);
}

void CBasicMainFrame::toggleExpertMode() {
  app.expertMode = !app.expertMode;
  wanted.main = wanted.ops = wanted.record = true;
  refresh();
}

void CBasicMainFrame::toggleToolbar() {
  wanted.main = !wanted.main;
  if (!process.cytoMode) wanted.ops = wanted.main;
  refresh();
}

void CBasicMainFrame::toggleRecordBar() {
  wanted.record = !wanted.record;
  refresh();
}

void CBasicMainFrame::toggleStatusBar() {
  wanted.statusBar = !wanted.statusBar;
  settings.setInt(kSection, kStatusBarKey, wanted.statusBar);
  refresh();
}

// The third group takes the bar along, which is there as long as any group is; each brings it back.
void CBasicMainFrame::toggleDock(bool Bars::*dock, const char* key) {
  wanted.*dock = !(wanted.*dock);
  settings.setInt(kSection, key, wanted.*dock);
  refresh();
}

void CBasicMainFrame::setOpsGroup(size_t group, bool shown) {
  wanted.opsGroups[group] = shown;
  if (shown || group == 2) wanted.ops = std::ranges::find(wanted.opsGroups, true) != wanted.opsGroups.end();
  refresh();
}

void CBasicMainFrame::restoreMainMenu() {
  wanted.mainMenu = true;
  refresh();
}

void CBasicMainFrame::mainPopup() { host().windows.popupMenu(kToolsPopup, kPopupPlace); }
void CBasicMainFrame::secondPopup() { host().windows.popupMenu(kDisplayPopup, kPopupPlace); }

// The chosen profile counts at once and until the program ends; the channels and the open database stay.
void CBasicMainFrame::selectProfile() {
  ProfileDialog dialog = presentProfiles(app.programPath);
  const bool chosen = profileFace->run(dialog);
  applyProfile(app, chosen ? dialog.pathOf(dialog.selected()) : settings.path());
  cameraIsNamed = namesCamera();
  refresh();
}

void CBasicMainFrame::listShortcuts() {
  std::string words = CommandDirectory(app).shortcutList();
  Form form("Keyboard shortcuts");
  form.addLongText("Shortcuts", words, true);
  host().forms.run(form);
}

}  // namespace tarnvisor
