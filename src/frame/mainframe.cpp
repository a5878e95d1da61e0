#include "frame/mainframe.h"

#include <algorithm>

#include "base/files.h"
#include "base/text.h"
#include "frame/commandtexts.h"
#include "frame/menus.h"
#include "frame/profileselection.h"
#include "framework/commandids.h"
#include "framework/documenttype.h"
#include "host/host.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {
constexpr const char* kSection = "MainWindow";
constexpr const char* kStatusBarKey = "statusbar";
constexpr Point kPopupPlace{100, 100};
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
  app.onSelectionChanged = [this] {
    exams.refresh();
    if (examFace) examFace->refreshIfOpen(exams);
    refresh();
  };
}

CBasicMainFrame::~CBasicMainFrame() {
  app.loop.killTimer(kAcquisitionTimer);
  app.mainFrame = nullptr;
  app.onSelectionChanged = nullptr;
}

const CommandTableBase* CBasicMainFrame::commands() const {
  using F = CBasicMainFrame;
  static const CommandTable<F> table{
      {cmd::SelectSubject, "Select Subject...", &F::selectSubject, &F::canSelectSubject},
      {cmd::OpenCytoscan, "Open C&ytoscan file...", &F::openCytoscan, &F::canOpenVideos},
      {cmd::ViewExams, "View Exams", &F::viewExams, &F::canViewExams, &F::showsExams},
      {cmd::ProcessResults, "Process Results", &F::processResults},
      {cmd::CloseAll, "Close All", &F::closeAll},
      {cmd::SelectProfile, "Select &profile...", &F::selectProfile, &F::canSelectProfile},
      {cmd::ShortcutList, "&Keyboard shortcuts", &F::listShortcuts},

      {cmd::ExpertMode, "Expert Mode", &F::toggleExpertMode, nullptr, &F::isExpertMode},
      {cmd::AlwaysOnTop, "&Always on top", &F::toggle<&Bars::alwaysOnTop>, nullptr,
       &F::shows<&Bars::alwaysOnTop>},
      {cmd::Toolbar, "&Toolbar", &F::toggleToolbar, &F::isExpertMode, &F::showsToolbar},
      {cmd::RecordBar, "&Record bar", &F::toggleRecordBar, &F::canShowRecordBar, &F::showsRecordBar},
      {cmd::StatusWindow, "&Status", &F::toggle<&Bars::statusWindow>, nullptr,
       &F::shows<&Bars::statusWindow>},
      {cmd::StatusBar, "Status &bar", &F::toggleStatusBar, nullptr, &F::shows<&Bars::statusBar>},
      {cmd::ToggleOpsGroup1, "T&ools", &F::toggleOpsGroup<0>, &F::canShowOps, &F::showsOpsGroup<0>},
      {cmd::ToggleOpsGroup2, "&Zoom and measuring", &F::toggleOpsGroup<1>, &F::canShowOps,
       &F::showsOpsGroup<1>},
      {cmd::ToggleOpsGroup3, "A&nalysis", &F::toggleOpsGroup<2>, &F::canShowOps, &F::showsOpsGroup<2>},
      {cmd::RestoreMainMenu, "", &F::restoreMainMenu},
      {cmd::MainPopup, "", &F::mainPopup},
      {cmd::SecondPopup, "", &F::secondPopup},

      {cmd::LiveVideo, "Live &Video", &F::showLive, &F::canShowLive, &F::showsLive},
      {cmd::Flo1Monitor, "FLO1 &Monitor", &F::flo1Monitor, &F::hasVelocityChannel, &F::showsFlo1},
      {cmd::OpenAcquisitionWindows, "Open &aquisition windows", &F::openAcquisitionWindows, &F::canAcquire},
      {cmd::RunStop, "", &F::runOrStop, &F::canAcquire},
      {cmd::Stop, "", &F::stop, &F::canStop},
      {cmd::RecordSequence, "&Record sequence", &F::recordSequence, &F::canShowLive, &F::isRecording},
      {cmd::SaveImage, "Sa&ve Image", &F::saveImage, &F::showsLive},
      {cmd::Trigger, "&Trigger", &F::trigger, &F::canTrigger},
      {cmd::TriggerButton, "", &F::trigger, &F::canTrigger},
      {cmd::RecordFolder, "Recording &folder...", &F::recordFolder, &F::hasRecordBar},
      {cmd::AcquisitionChain, "", &F::startChain},
      {cmd::AcquisitionStartVelocity, "", &F::startVelocity},
      {cmd::AcquisitionShowLive, "", &F::showLiveOfChain},
      {cmd::AcquisitionStartCamera, "", &F::startCamera},
  };
  return &table;
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
  showLive();
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
  const std::string subject = app.subjectId.empty() ? "none" : app.subjectId + ": " + app.subjectName;
  const std::string exam = app.examId < 0 ? "none" : format("%i, %s", app.examId, app.examFolder.c_str());
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

// A video document takes the header for what it is.
void CBasicMainFrame::openCytoscan() {
  const auto header = host().choosers.openFile(
      {"Open Cytoscan file", "cytoscan files (*.*)|*.*||", "", settings.getString("hdr", "header", "")});
  if (header && !header->empty()) (void)process.videoTemplate->importDocument(*header);
}

void CBasicMainFrame::viewExams() {
  exams.refresh();
  examFace->openOrRefresh(exams);
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

// The third group takes the bar along: it is there as long as any group is.
void CBasicMainFrame::setOpsGroup(size_t group, bool shown) {
  wanted.opsGroups[group] = shown;
  if (group == 2) wanted.ops = std::ranges::find(wanted.opsGroups, true) != wanted.opsGroups.end();
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
  refresh();
}

void CBasicMainFrame::listShortcuts() {
  std::string words = shortcutListText();
  Form form("Keyboard shortcuts");
  form.addLongText("Shortcuts", words, true);
  (void)host().forms.run(form);
}

}  // namespace tarnvisor
