// CBasicMainFrame: the commands that belong to no document, and the state of the main window's bars. A window
// system gives it the faces of the subject dialog, the exam list and the profile dialog, without which their
// commands are off, and shows what bars() says whenever host().windows.refreshBars() is called.
#pragma once

#include <array>

#include "app/basicapp.h"
#include "exams/examoverview.h"
#include "exams/examselection.h"
#include "exams/resultfigures.h"
#include "exams/subjectselection.h"
#include "frame/pictureexport.h"
#include "frame/remotebrowser.h"
#include "host/host.h"
#include "report/examreport.h"
#include "settings/profile.h"

namespace tarnvisor {

class ExamListFace {
 public:
  virtual ~ExamListFace() = default;
  virtual void openOrRefresh(ExamList& list) = 0;
  virtual void refreshIfOpen(ExamList& list) = 0;
  virtual bool isOpen() const = 0;
};

class ExamOverviewFace {
 public:
  virtual ~ExamOverviewFace() = default;
  virtual void open(ExamOverview& overview) = 0;  // or brings it to the front
  virtual void refresh() = 0;                     // of one that is open
  virtual bool isOpen() const = 0;
};

// What of the main window is to be seen.
struct Bars {
  bool mainMenu = true;
  bool main = true;
  bool ops = true;     // never without the image channel
  bool record = true;  // never without a camera
  bool statusWindow = false;
  bool statusBar = false;
  bool alwaysOnTop = false;
  bool marksDock = true;
  bool examDock = true;
  std::array<bool, 3> opsGroups{true, true, true};
};

// Screen coordinates of the main window and of the status window's top left corner.
struct Placement {
  int32_t left = 0;
  int32_t top = 0;
  int32_t width = 0;
  int32_t height = 0;
  Point status;
};
// What the profile keeps. A window that would lie wholly beyond the screen comes to its corner, and each
// coordinate of the status window that lies beyond it becomes 0.
Placement readPlacement(Size screen);

struct RecordBarValues {
  std::string recordDir;
  std::string baseName;
  int32_t direct2disc = 1;
  int32_t triggerMovie = 0;  // its check; the radio opposite is its contrary
};

class CBasicMainFrame : public CommandTarget {
 public:
  static constexpr int32_t kAcquisitionTimer = 32973;
  static constexpr int32_t kAcquisitionDelayMs = 500;

  explicit CBasicMainFrame(CBasicApp& application);
  ~CBasicMainFrame() override;
  CBasicMainFrame(const CBasicMainFrame&) = delete;
  CBasicMainFrame& operator=(const CBasicMainFrame&) = delete;

  static const CommandTableBase& commandTable();
  const CommandTableBase* commands() const override { return &commandTable(); }
  ExamList& examList() { return exams; }

  // As they are to be seen now, expert mode and channels taken into account.
  Bars bars() const;
  // Opens the windows that a start opens; to be called once the main window is on the screen.
  void windowShown();
  // On closing, before the documents go: keeps the placement, and which input windows are open, unless the
  // window is minimised.
  void storePlacement(const Placement& placement, bool minimised) const;
  bool hasRecordBar() const { return app.fgMode != 0; }
  bool hasCamera() const { return app.liveView || cameraIsNamed; }
  RecordBarValues recordBar() const;  // what its face shows; without one what is kept
  // Reads the face of the record bar; null without one.
  std::function<RecordBarValues()> onReadRecordBar;
  // To be called at each change by the user.
  void takeRecordBar(const RecordBarValues& values);
  // The small status window's lines: subject, exam, folders, room on the disc, profile.
  std::string statusText() const;

  // Borrowed; null when there is no face.
  SubjectDialogFace* subjectFace = nullptr;
  ExamListFace* examFace = nullptr;
  ExamOverviewFace* overviewFace = nullptr;
  ProfileFace* profileFace = nullptr;
  RemoteFace* remoteFace = nullptr;

 private:
  // --- mainframe.cpp
  void selectSubject() { runSelectSubject(*subjectFace); }
  void newExamination() { runNewExamination(*subjectFace); }
  bool canSelectSubject() const {
    return subjectFace != nullptr && !isRecording() && !(app.flo1View && app.flo1View->isRecording());
  }
  void openDemonstration();
  bool isInDemonstration() const;
  void viewExams();
  void examsOfSubject();
  bool canShowOverview() const { return overviewFace != nullptr; }
  bool showsOverview() const { return overviewFace && overviewFace->isOpen(); }
  void courseOfResults() { runCourse(); }
  void examReport() { examReportCommand(); }
  bool canReportExams() const { return app.db != nullptr; }
  bool canChartCourse() const { return process.xyChartTemplate != nullptr; }
  bool canOpenVideos() const;
  void openCytoscan();
  void openRemote();
  bool canOpenRemote() const { return remoteFace != nullptr; }
  void exportMetafile();
  bool hasView() const;
  bool canViewExams() const { return examFace != nullptr; }
  bool showsExams() const { return examFace && examFace->isOpen(); }
  void processResults() { runProcessResults(); }
  CView* viewInFront() const;
  void exportPictureOfView() { exportPicture(*viewInFront()); }
  bool canExportPicture() const { return viewInFront() && viewInFront()->hasPicture(); }
  void (*ofStudy(void (*DocumentFace::*what)()) const)();
  void exportStudy() { ofStudy (&DocumentFace::exportStudy)(); }
  bool canExportStudy() const { return ofStudy(&DocumentFace::exportStudy) != nullptr; }
  void summariseStudy() { ofStudy (&DocumentFace::studySummary)(); }
  bool canSummariseStudy() const { return ofStudy(&DocumentFace::studySummary) != nullptr; }
  void closeAll() { app.documents.closeAll(); }
  void toggleExpertMode();
  bool isExpertMode() const { return app.expertMode != 0; }
  void toggleToolbar();
  bool showsToolbar() const { return bars().main; }
  void toggleRecordBar();
  bool canShowRecordBar() const { return hasRecordBar() && hasCamera() && isExpertMode(); }
  bool showsRecordBar() const { return bars().record; }
  template <bool Bars::*Part>
  void toggle() {
    wanted.*Part = !(wanted.*Part);
    refresh();
  }
  template <bool Bars::*Part>
  bool shows() const {
    return wanted.*Part;
  }
  void toggleStatusBar();
  void toggleMarksDock() { toggleDock(&Bars::marksDock, "marksdock"); }
  void toggleExamDock() { toggleDock(&Bars::examDock, "examdock"); }
  void toggleDock(bool Bars::*dock, const char* key);
  template <size_t Group>
  void toggleOpsGroup() {
    setOpsGroup(Group, !wanted.opsGroups[Group]);
  }
  template <size_t Group>
  bool showsOpsGroup() const {
    return wanted.opsGroups[Group];
  }
  void setOpsGroup(size_t group, bool shown);
  bool canShowOps() const { return process.tarnvisorEnabled && isExpertMode(); }
  void restoreMainMenu();
  void mainPopup();
  void secondPopup();
  void selectProfile();
  bool canSelectProfile() const { return profileFace != nullptr; }
  void listShortcuts();
  static void refresh() { host().windows.refreshBars(); }

  // --- mainframe_acquisition.cpp
  void recordFolder();
  void chainOfNewExam();
  void startChain();
  void startVelocity();
  void showLiveOfChain();
  void startCamera();
  void stop();
  bool canStop() const { return app.liveView || app.flo1View; }
  void runOrStop();
  void showLive();
  bool canShowLive() const;
  bool showsLive() const { return app.liveView != nullptr; }
  void showFlo1();
  bool canShowFlo1() const;
  void flo1Monitor();
  void velocityHardware() { app.velocityInput->chooseHardware(); }
  bool hasVelocityHardware() const { return process.floEnabled && app.velocityInput; }
  bool hasVelocityChannel() const { return process.floEnabled != 0; }
  bool showsFlo1() const { return app.flo1View != nullptr; }
  void openAcquisitionWindows();
  bool canAcquire() const { return canShowLive() || canShowFlo1(); }
  bool openRecorder();
  void recordSequence();
  void imageSequence();
  bool canRecord() const { return canShowLive() && !isRecording(); }
  bool isRecording() const { return app.recorder && app.recorder->isRecording(); }
  void saveImage();
  void trigger();
  bool canTrigger() const { return process.triggermovie ? canShowLive() : showsLive(); }

  CBasicApp& app;
  std::string ownDataFolder;                            // in use before the demonstration's
  Timer acquisitionDelay{app.loop, kAcquisitionTimer};  // between the inputs of the start chain
  ExamList exams;
  ExamOverview overview;
  std::unique_ptr<RemoteBrowser> remote;  // of the window that was opened last
  bool chainShowsLive = true;
  bool cameraIsNamed = false;  // in the profile
  Bars wanted;                 // without regard to expert mode and channels
};

}  // namespace tarnvisor
