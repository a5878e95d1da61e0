// The idle pass: the poll that drives the display of a running camera and the reading of the velocity input.
#include <algorithm>

#include "app/basicapp.h"
#include "app/commandids.h"

namespace tarnvisor {

bool CBasicApp::onIdle(int32_t) {
  if (startSwitch == Switch::Running) endStartSwitch();
  if (link)
    link->poll([this](InstanceMessage message, const std::string& path) {
      if (message == InstanceMessage::AutoLoad) receiveAutoLoad(path);
      if (message == InstanceMessage::FreezeSave) receiveFreezeSave(path);
    });
  bool again = documents.turnJobs();
  again = idleVelocityInput() || again;
  again = idleCamera() || again;
  idleCameraStop();
  return again;
}

bool CBasicApp::idleVelocityInput() {
  const bool recording = process.floEnabled && velocityInput && flo1View && flo1View->isRecording();
  const bool first = recording && !wasRecording;
  wasRecording = recording;
  if (!recording || sampleBuffer.empty()) return recording;
  // What the device gathered before the recording began does not belong to it.
  if (first) velocityInput->read(sampleBuffer);
  const int32_t available = velocityInput->availableSamples();
  if (available > 0) {
    if (static_cast<size_t>(available) > sampleBuffer.size())
      sampleBuffer.resize(static_cast<size_t>(available));
    const int32_t got =
        std::max(0, velocityInput->read(std::span(sampleBuffer).first(static_cast<size_t>(available))));
    flo1View->takeSamples(std::span<const int16_t>(sampleBuffer).first(static_cast<size_t>(got)));
    samplesRead += got;
  }
  return !velocityInput->wakesTheLoop();
}

bool CBasicApp::idleCamera() {
  if (!process.tarnvisorEnabled || !liveView || !camera) return false;
  if (camera->status() & CameraPoll::kNewPicture) liveView->redrawNow();
  if (camera->isTriggered()) postMainCommand(cmd::Trigger);
  return camera->isRunning() && !camera->wakesTheLoop();
}

void CBasicApp::idleCameraStop() {
  if (!process.tarnvisorEnabled || !camera || !camera->hasStoppedByItself()) return;
  // Stopping may open or close documents.
  const std::vector<CDocument*> present = documents.documents();
  for (CDocument* document : present) {
    if (std::ranges::find(documents.documents(), document) == documents.documents().end()) continue;
    std::vector<CommandTarget*> targets;
    for (const auto& view : document->views()) targets.push_back(view.get());
    targets.push_back(document);
    routeCommand(targets, cmd::Stop);
  }
}

}  // namespace tarnvisor
