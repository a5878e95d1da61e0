// ZBasicfgView: shows the live picture as its frames come, and commands the camera.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "app/inputs.h"
#include "capture/livecontrols.h"
#include "capture/zbasicfgdoc.h"
#include "framework/messageloop.h"
#include "imagedoc/zbasicview.h"

namespace tarnvisor {

class ZBasicfgView final : public ZBasicView, public LiveSink, public CameraPoll {
 public:
  static constexpr int32_t kRateTimer = 10015, kRateMs = 500;
  static constexpr int32_t kCheckTimer = 32886;
  static constexpr int32_t kSaveTimer = 33013;

  explicit ZBasicfgView(ZBasicfgDoc& document);
  ~ZBasicfgView() override;
  ZBasicfgDoc& liveDocument() const { return doc; }

  void draw(Canvas& canvas) override;
  std::vector<StatusPane> panes() const override;
  bool keepsPlace() const override { return true; }

  // The window's size and zoom, as they are kept; and the size as it was stored last.
  void storeZoom() const;
  void restoreSize();

  // --- as the application sees it
  void redrawNow() override;
  void freezeAndSave(const std::string& path) override;
  void startCamera() override;
  void stopCamera() override;
  uint32_t status() override;
  bool isTriggered() override { return false; }
  bool isRunning() override;
  bool wakesTheLoop() const override { return true; }
  bool hasStoppedByItself() override;
  int32_t frameCounter() override;
  double frameRate() override;

  static const CommandTableBase& commandTable();
  const CommandTableBase* commands() const override { return &commandTable(); }

 private:
  void freeze();
  void stopTimers();
  void takeLostCamera();
  void measureRate();
  void takeRate(double measured);
  std::string rateWords() const;
  void checkFrames();
  void tellOfLostFrames(const std::string& flaw);
  void changeClock(int32_t megahertz);
  void saveTimed();
  void startTimedSaves();
  void restoreZoom();
  void restart();  // after a change that the camera takes only while it is stopped

  // --- commands
  bool isLive() const { return doc.isLive(); }
  bool isFrozen() const { return !doc.isLive(); }
  void videoControl() { controls.toggle(LiveControls::Video); }
  void bigBrightness() { controls.toggle(LiveControls::Brightness); }
  void autoBrightness() { controls.toggle(LiveControls::AutoBrightness); }
  void autoFocus() { controls.toggle(LiveControls::AutoFocus); }
  template <LiveControls::Which W>
  bool shows() const {
    return controls.isShown(W);
  }
  void pixelClock();
  void flickerless();
  bool isFlickerless() const;
  void zoomInLive();
  void zoomOutLive();
  void halfResolution();
  bool isHalfResolution() const;
  bool canChangeCamera() const;
  void grabImageSize();
  void timerCommand();
  void frameSkipCommand();
  void selectCamera();
  void showAllErrors();
  bool showsAllErrors() const;
  void toggleText();
  bool showsText() const { return text; }
  void focusDrive();
  bool hasFocusDrive() const { return false; }

  ZBasicfgDoc& doc;
  LiveControls controls;
  Timer rateTimer, checkTimer, saveTimer;
  bool wasSized = false;
  bool text = false;  // over the picture
  bool asking = false;
  int64_t displayed = 0;
  int64_t displayedAtTick = 0;
  double tickedAt = 0;
  double rate = 0;
  int32_t saved = 0;  // of timed saves
  std::string saveStem;
};

}  // namespace tarnvisor
