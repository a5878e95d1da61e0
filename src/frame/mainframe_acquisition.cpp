// Starting and stopping the inputs, and recording from them.
#include <utility>

#include "frame/commandids.h"
#include "frame/mainframe.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr const char* kNoVelocityInput = "The velocity input is not available.";

// Brings the window of an input's view to the front.
template <class Sink>
void activate(CBasicApp& app, Sink* sink) {
  if (auto* view = dynamic_cast<CView*>(sink)) app.documents.activate(view->document());
}

}  // namespace

RecordBarValues CBasicMainFrame::recordBar() const {
  if (onReadRecordBar) return onReadRecordBar();
  return {process.recordDir, process.baseName, process.direct2disc, process.triggermovie};
}

void CBasicMainFrame::takeRecordBar(const RecordBarValues& values) {
  theExams().setRecordingFolder(values.recordDir);
  process.baseName = values.baseName;
  process.direct2disc = values.direct2disc != 0;
  process.triggermovie = values.triggerMovie != 0;
  settings.setString("directories", "basename", process.baseName);
  settings.setInt("Dynamic settings", "direct2disc", process.direct2disc);
  settings.setInt("Dynamic settings", "triggermovie", process.triggermovie);
}

void CBasicMainFrame::recordFolder() {
  const auto folder = host().choosers.chooseFolder("Select Recording folder", process.recordDir);
  if (!folder || folder->empty()) return;
  theExams().setRecordingFolder(*folder);
  refresh();
}

bool CBasicMainFrame::canShowLive() const { return process.liveTemplate && process.liveTemplate->canOpen(); }
bool CBasicMainFrame::canShowFlo1() const { return process.flo1Template && process.flo1Template->canOpen(); }

void CBasicMainFrame::showLive() {
  if (!canShowLive()) return;
  if (app.liveView)
    activate(app, app.liveView);
  else
    process.liveTemplate->newDocument();
}

void CBasicMainFrame::showFlo1() {
  if (!canShowFlo1()) return;
  if (!process.flo1Template->documents().empty())
    app.documents.activate(*process.flo1Template->documents().front());
  else
    process.flo1Template->newDocument();
}

void CBasicMainFrame::flo1Monitor() {
  if (!process.flo1Available)
    host().messages.show(kNoVelocityInput, Buttons::Ok, Icon::Warning);
  else
    showFlo1();
}

void CBasicMainFrame::openAcquisitionWindows() {
  showLive();
  showFlo1();
}

// A new examination begins with its inputs, where they are in use.
void CBasicMainFrame::chainOfNewExam() {
  chainShowsLive = settings.getInt("MainWindow", "fg", 0) != 0;
  startChain();
}

// The velocity input first, then the camera half a second later. Each step is a command of its own, so that
// what the one before opened is in front by then; all pass over an input that isn't there.
void CBasicMainFrame::startChain() {
  if (!process.flo1Template) return showLiveOfChain();
  if (!process.flo1Template->documents().empty())
    app.documents.activate(*process.flo1Template->documents().front());
  app.postMainCommand(cmd::AcquisitionStartVelocity);
}

void CBasicMainFrame::startVelocity() {
  if (app.flo1View) app.flo1View->start();
  acquisitionDelay.start(kAcquisitionDelayMs, [this] { showLiveOfChain(); });
}

void CBasicMainFrame::showLiveOfChain() {
  acquisitionDelay.stop();
  if (!std::exchange(chainShowsLive, true)) return;
  showLive();
  activate(app, app.liveView);
  app.postMainCommand(cmd::AcquisitionStartCamera);
}

void CBasicMainFrame::startCamera() {
  if (app.liveView) app.liveView->startCamera();
}

void CBasicMainFrame::stop() {
  acquisitionDelay.stop();
  if (app.liveView) app.liveView->stopCamera();
  if (app.flo1View) app.flo1View->stop();
}

void CBasicMainFrame::runOrStop() {
  const bool running = app.camera && app.camera->isRunning();
  if (running || (app.flo1View && app.flo1View->isRecording()))
    stop();
  else
    startChain();
}

void CBasicMainFrame::recordSequence() {
  takeRecordBar(recordBar());
  if (isRecording()) return app.recorder->stopRecording();
  showLiveOfChain();
  takeRecordBar(recordBar());
  if (app.liveView && openRecorder()) app.recorder->startRecording();
}

bool CBasicMainFrame::openRecorder() {
  if (!app.recorder && process.cytoTemplate && process.cytoTemplate->canOpen())
    process.cytoTemplate->newDocument();
  return app.recorder != nullptr;
}

void CBasicMainFrame::imageSequence() {
  showLiveOfChain();
  if (app.liveView && openRecorder()) app.recorder->editSettings();
}

void CBasicMainFrame::saveImage() {
  takeRecordBar(recordBar());
  if (app.liveView) app.liveView->freezeAndSave("");
}

void CBasicMainFrame::trigger() {
  if (process.triggermovie)
    recordSequence();
  else
    saveImage();
}

}  // namespace tarnvisor
