// The live picture and the recorder before a simulated camera that gives frames as the test asks.
#pragma once

#include "camera/framegrabber.h"
#include "camera/simulatedcamera.h"
#include "capture/commandids.h"
#include "capture/vivorecdoc.h"
#include "capture/zbasicfgview.h"
#include "frame/mainframe.h"
#include "support/imagedoctest.h"

namespace tarnvisor {

class Capture : public ImageDocument {
 protected:
  void SetUp() override {
    ImageDocument::SetUp();
    frame = std::make_unique<CBasicMainFrame>(*app);
    GrabberSettings{}.store();  // not those of the test before
    process.recordDir = folder.path();
    process.baseName = "hand";
    useCamera({});
  }
  void TearDown() override {
    app->documents.discardAll();
    fgOpenWith(nullptr);
    frame.reset();
    ImageDocument::TearDown();
  }

  void useCamera(SimulatedCameraSettings wanted) {
    wanted.sensor = {128, 64};
    wanted.pace = CameraPace::Step;
    fgOpenWith([this, wanted](const std::string&, std::string& why) -> std::unique_ptr<CameraDriver> {
      if (!plugged) {
        why = "The camera is not there.";
        return nullptr;
      }
      auto made = openSimulatedCamera(wanted);
      camera = made.get();
      return made;
    });
  }

  void openLive() {
    runCommand(cmd::LiveVideo);
    turn();
  }
  void runCommand(int32_t id) { ASSERT_EQ(app->runCommand(id), CommandResult::Done) << id; }
  void turn() {
    for (int k = 0; k < 20; ++k) app->loop.turn();
  }
  void frames(int32_t count) {
    camera->step(count);
    fgDrain();
    turn();
  }
  // Until lost frames were found, which may have been while they came.
  void awaitCheck() {
    while (log().find("did not arrive") == std::string::npos) app->loop.turn();
  }
  ZBasicfgDoc& live() { return *liveDocument(); }
  ZBasicfgView& view() { return dynamic_cast<ZBasicfgView&>(*app->liveView); }
  CVivoRecDoc& recorder() { return dynamic_cast<CVivoRecDoc&>(*app->recorder); }
  static void sequence(int32_t count, int32_t skip, int32_t loop, int32_t toDisc) {
    settings.setInt("Dynamic settings", "no of frames", count);
    settings.setInt("Dynamic settings", "skip frames", skip);
    settings.setInt("Dynamic settings", "loop", loop);
    process.direct2disc = toDisc;
    process.triggermovie = 1;
  }
  std::vector<uint32_t> numbersOf(CVivoCapDoc& doc) {
    std::vector<uint32_t> numbers;
    for (int32_t k = 0; k < doc.imageCount(); ++k) numbers.push_back(doc.movie->recordOf(k).number);
    return numbers;
  }

  bool plugged = true;
  SimulatedCamera* camera = nullptr;
  std::unique_ptr<CBasicMainFrame> frame;
};

}  // namespace tarnvisor
