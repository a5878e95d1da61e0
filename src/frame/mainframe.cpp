#include "frame/mainframe.h"

#include <algorithm>

#include "base/files.h"
#include "base/text.h"
#include "frame/commandids.h"
#include "frame/commandwords.h"
#include "frame/demonstrationfolder.h"
#include "frame/hdrfileopendlg.h"
#include "frame/menus.h"
#include "frame/profileselection.h"
#include "framework/documenttype.h"
#include "host/host.h"
#include "settings/profile.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {
constexpr const char* kNoCamera = "This needs a camera, and none is in use.";
constexpr const char* kNoInput = "This needs a camera or the velocity input, and none is in use.";
constexpr const char* kNoLive = "This needs the live video, which is not open.";
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

const CommandTableBase& CBasicMainFrame::commandTable() {
  using F = CBasicMainFrame;
  static const CommandTable<F> table{
      {cmd::SelectSubject,
       "Select Subject...",
       &F::selectSubject,
       &F::canSelectSubject,
       {.tip = "Select subject",
        .status = "Selects or adds a subject and starts or views examinations.",
        .keys = "Ctrl+B",
        .icon = "subject",
        .whyOff = "A recording is under way."}},
      {cmd::NewExamination,
       "&New examination...",
       &F::newExamination,
       &F::canSelectSubject,
       {.tip = "New examination",
        .status = "Starts an examination of the selected subject: asks for its site and makes its folder.",
        .whyOff = "A recording is under way."}},
      {cmd::OpenCytoscan,
       "Open C&ytoscan file...",
       &F::openCytoscan,
       &F::canOpenVideos,
       {.tip = "Open Cytoscan file", .status = "Opens raw frames by the header file that tells of them."}},
      {cmd::OpenRemote,
       "Open from &server...",
       &F::openRemote,
       &F::canOpenRemote,
       {.tip = "Open from server", .status = "Gets a file from an FTP server, and opens it."}},
      {cmd::ExportMetafile,
       "Export &metafile...",
       &F::exportMetafile,
       &F::hasView,
       {.tip = "Export metafile", .status = "Writes the view in front as a Windows metafile."}},
      {cmd::ViewExams,
       "View Exams",
       &F::viewExams,
       &F::canViewExams,
       &F::showsExams,
       {.tip = "View exams",
        .status = "Lists the subject's examinations and their results.",
        .keys = "Ctrl+Shift+E",
        .icon = "exams"}},
      {cmd::ExamsOfSubject,
       "Exams of subject...",
       &F::examsOfSubject,
       &F::canShowOverview,
       &F::showsOverview,
       {.tip = "Exams of subject",
        .status =
            "Shows all examinations of the subject with small pictures of their documents and the results.",
        .keys = "Ctrl+Alt+B",
        .icon = "exams"}},
      {cmd::CourseOfResults,
       "&Course of results...",
       &F::courseOfResults,
       &F::canChartCourse,
       {.tip = "Course of results", .status = "Makes a chart of a result over the subject's examinations."}},
      {cmd::ExamReport,
       "Exam &report...",
       &F::examReport,
       &F::canReportExams,
       {.tip = "Exam report",
        .status =
            "Writes a PDF of the examination, or of all of the subject: pictures, results and their course.",
        .whyOff = "There is no database of subjects."}},
      {cmd::ProcessResults,
       "Process Results",
       &F::processResults,
       {.tip = "Process results",
        .status = "Opens all images of the exam and, where the profile says so, analyses them.",
        .icon = "process-results"}},
      {cmd::ExportPicture,
       "Export &picture...",
       &F::exportPictureOfView,
       &F::canExportPicture,
       {.tip = "Export picture",
        .status = "Writes what the window shows as a picture: png, jpg, tif, svg or pdf.",
        .keys = "Ctrl+Alt+X",
        .whyOff = "The window shows nothing yet."}},
      {cmd::ExportStudy,
       "Export st&udy results...",
       &F::exportStudy,
       &F::canExportStudy,
       {.tip = "Export study results",
        .status =
            "Writes the results of the open tables, of a subject or of all, as one table for statistics."}},
      {cmd::StudySummary,
       "Study s&ummary...",
       &F::summariseStudy,
       &F::canSummariseStudy,
       {.tip = "Study summary",
        .status =
            "Writes how the results of a study are distributed, with their outliers, as PDF or picture."}},
      {cmd::CloseAll,
       "Close All",
       &F::closeAll,
       {.tip = "Close all",
        .status = "Closes all documents, asking about those that have changed.",
        .keys = "Ctrl+Shift+W",
        .icon = "close-all"}},
      {cmd::SelectProfile,
       "Select &profile...",
       &F::selectProfile,
       &F::canSelectProfile,
       {.tip = "Select profile",
        .status = "Chooses the profile that keeps the settings, and copies, removes or resets profiles.",
        .icon = "profile"}},
      {cmd::Demonstration,
       "&Demonstration",
       &F::openDemonstration,
       nullptr,
       &F::isInDemonstration,
       {.tip = "Demonstration",
        .status = "Opens a data folder with simulated examinations, or goes back from it to your own."}},
      {cmd::ShortcutList,
       "&Keyboard shortcuts",
       &F::listShortcuts,
       {.tip = "Keyboard shortcuts",
        .status = "Lists all keyboard shortcuts.",
        .keys = "Ctrl+F1",
        .icon = "shortcuts"}},

      {cmd::ExpertMode,
       "Expert Mode",
       &F::toggleExpertMode,
       nullptr,
       &F::isExpertMode,
       {.tip = "Expert mode",
        .status = "Shows all bars, or only the menus for everyday work.",
        .icon = "expert"}},
      {cmd::AlwaysOnTop,
       "&Always on top",
       &F::toggle<&Bars::alwaysOnTop>,
       nullptr,
       &F::shows<&Bars::alwaysOnTop>,
       {.tip = "Always on top",
        .status = "Keeps the main window above those of other programs.",
        .icon = "always-on-top"}},
      {cmd::Toolbar,
       "&Toolbar",
       &F::toggleToolbar,
       &F::isExpertMode,
       &F::showsToolbar,
       {.tip = "Tool bars", .status = "Shows or hides the tool bars."}},
      {cmd::RecordBar,
       "&Record bar",
       &F::toggleRecordBar,
       &F::canShowRecordBar,
       &F::showsRecordBar,
       {.tip = "Record bar",
        .status = "Shows or hides the bar with the recording folder and the name of recordings.",
        .icon = "record-bar",
        .whyOff = kNoCamera}},
      {cmd::StatusWindow,
       "&Status",
       &F::toggle<&Bars::statusWindow>,
       nullptr,
       &F::shows<&Bars::statusWindow>,
       {.tip = "Status window",
        .status = "Shows or hides the small window with subject, exam and room on the disc.",
        .keys = "Ctrl+F2",
        .icon = "status"}},
      {cmd::StatusBar,
       "Status &bar",
       &F::toggleStatusBar,
       nullptr,
       &F::shows<&Bars::statusBar>,
       {.tip = "Status bar", .status = "Shows or hides the status bar."}},
      {cmd::MarksDock,
       "&Marks",
       &F::toggleMarksDock,
       nullptr,
       &F::shows<&Bars::marksDock>,
       {.tip = "Marks",
        .status = "Shows or hides the table of the marks beside the windows.",
        .keys = "Ctrl+F3"}},
      {cmd::ExamDock,
       "&Examination",
       &F::toggleExamDock,
       nullptr,
       &F::shows<&Bars::examDock>,
       {.tip = "Examination",
        .status = "Shows or hides the documents of the examination beside the windows.",
        .keys = "Ctrl+F4"}},
      {cmd::ToggleOpsGroup1,
       "T&ools",
       &F::toggleOpsGroup<0>,
       &F::canShowOps,
       &F::showsOpsGroup<0>,
       {.tip = "Tool buttons", .status = "Shows or hides the buttons of the drawing tools."}},
      {cmd::ToggleOpsGroup2,
       "&Zoom and measuring",
       &F::toggleOpsGroup<1>,
       &F::canShowOps,
       &F::showsOpsGroup<1>,
       {.tip = "Zoom and measuring buttons",
        .status = "Shows or hides the buttons for zooming and measuring."}},
      {cmd::ToggleOpsGroup3,
       "A&nalysis",
       &F::toggleOpsGroup<2>,
       &F::canShowOps,
       &F::showsOpsGroup<2>,
       {.tip = "Analysis buttons", .status = "Shows or hides the buttons for the analysis."}},
      {cmd::RestoreMainMenu,
       "",
       &F::restoreMainMenu,
       {.tip = "Restore the menus",
        .status = "Brings the menus of the main window back.",
        .keys = "Ctrl+F10"}},
      {cmd::MainPopup,
       "",
       &F::mainPopup,
       {.tip = "Tools menu", .status = "Opens the menu of the tools.", .keys = "Shift+F10"}},
      {cmd::SecondPopup,
       "",
       &F::secondPopup,
       {.tip = "Display menu", .status = "Opens the menu of zoom and display.", .keys = "Ctrl+Shift+F10"}},

      {cmd::LiveVideo,
       "Live &Video",
       &F::showLive,
       &F::canShowLive,
       &F::showsLive,
       {.tip = "Live video",
        .status = "Opens the live video of the camera.",
        .keys = "Ctrl+Shift+L",
        .icon = "live",
        .whyOff = kNoCamera}},
      {cmd::Flo1Monitor,
       "FLO1 &Monitor",
       &F::flo1Monitor,
       &F::hasVelocityChannel,
       &F::showsFlo1,
       {.tip = "FLO1 monitor",
        .status = "Opens the window of the velocity input.",
        .icon = "velocity",
        .whyOff = "The velocity input is not set up on this computer."}},
      {cmd::HardwareSettings,
       "Hard&ware settings...",
       &F::velocityHardware,
       &F::hasVelocityHardware,
       {.tip = "Hardware settings",
        .status = "Sets which sound input and which serial line the velocity input is.",
        .whyOff = "The velocity input is not set up on this computer."}},
      {cmd::OpenAcquisitionWindows,
       "Open &aquisition windows",
       &F::openAcquisitionWindows,
       &F::canAcquire,
       {.tip = "Open acquisition windows",
        .status = "Opens the windows of the camera and of the velocity input.",
        .whyOff = kNoInput,
        .shown = "Open &acquisition windows"}},
      {cmd::RunStop,
       "",
       &F::runOrStop,
       &F::canAcquire,
       {.tip = "Run or stop",
        .status = "Starts the camera and the velocity input, or stops both.",
        .keys = "F5",
        .icon = "run-stop",
        .whyOff = kNoInput}},
      {cmd::Stop,
       "",
       &F::stop,
       &F::canStop,
       {.tip = "Stop",
        .status = "Stops the camera and the velocity input.",
        .keys = "Shift+F6",
        .whyOff = "Nothing is running."}},
      {cmd::RecordSequence,
       "&Record sequence",
       &F::recordSequence,
       &F::canShowLive,
       &F::isRecording,
       {.tip = "Record sequence",
        .status = "Starts or stops the recording of a video sequence.",
        .keys = "F11",
        .icon = "record",
        .whyOff = kNoCamera}},
      {cmd::ImageSequence,
       "&Image sequence...",
       &F::imageSequence,
       &F::canRecord,
       {.tip = "Image sequence",
        .status = "How many frames are recorded, to where, and what that needs.",
        .whyOff = kNoCamera}},
      {cmd::SaveImage,
       "Sa&ve Image",
       &F::saveImage,
       &F::showsLive,
       {.tip = "Save image",
        .status = "Saves the present picture of the live video.",
        .keys = "F12",
        .icon = "save-image",
        .whyOff = kNoLive}},
      {cmd::Trigger,
       "&Trigger",
       &F::trigger,
       &F::canTrigger,
       {.tip = "Trigger",
        .status = "Saves a picture or starts a recording, as the record bar says.",
        .keys = "Ctrl+T",
        .whyOff = kNoLive}},
      {cmd::TriggerButton,
       "",
       &F::trigger,
       &F::canTrigger,
       {.tip = "Trigger",
        .status = "Saves a picture or starts a recording, as the record bar says.",
        .icon = "trigger",
        .whyOff = kNoLive}},
      {cmd::RecordFolder,
       "Recording &folder...",
       &F::recordFolder,
       &F::hasRecordBar,
       {.tip = "Recording folder",
        .status = "Selects the folder that recordings go to.",
        .whyOff = kNoCamera}},
      {cmd::AcquisitionChain,
       "",
       &F::chainOfNewExam,
       {.tip = "Start acquisition", .status = "Starts the velocity input, then the camera."}},
      {cmd::AcquisitionStartVelocity,
       "",
       &F::startVelocity,
       {.tip = "Start the velocity input", .status = "Starts the velocity input."}},
      {cmd::AcquisitionShowLive,
       "",
       &F::showLiveOfChain,
       {.tip = "Show the live video", .status = "Brings the live video to the front and starts it."}},
      {cmd::AcquisitionStartCamera,
       "",
       &F::startCamera,
       {.tip = "Start the camera", .status = "Starts the camera of the live video."}},
  };
  return table;
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
