// What the functions with the prefix fg work on, for the sources of them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "analysis/autoflash.h"
#include "camera/framegrabber.h"
#include "movie/framesource.h"
#include "movie/zzmovie.h"

namespace tarnvisor {

// The camera and all that hangs on it.
class Grabber final : public FrameSource {
 public:
  Grabber() {
    hub.requeue = [this](uint8_t* block) {
      if (driver) driver->requeue(block);
    };
  }

  bool open();
  void close();
  bool grab();
  void freeze();
  uint32_t checkFrame();
  bool record(CZZMovie& movie, int32_t skip, const Rect& part);
  void endRecording();
  double rateInUse() const { return state.set.flickerless ? state.set.flickerlessFps : state.set.fps; }
  void takeRateOfFrames();

  // --- grabbercontrols.cpp
  std::optional<CameraRange> rangeOf(CameraRole role);
  void setRole(CameraRole role, double value, const char* failure);
  // For the log; and once for each `what` for whoever is shown all errors.
  void fail(const std::string& what, const std::string& words);
  void applyGain();
  void setClock();
  void setStrobe(int32_t microseconds);
  void sendFlashAgain();
  double longestExposure();

  int32_t colourset() const override { return kGrey; }
  double rate() const override { return state.actualFps / (std::max(0, skipFrames) + 1); }
  bool isProgressive() const override { return true; }
  void setTarget(CZZMovie* movie, const Rect& window) override {
    if (movie) fgAllocbufs(movie->slots, window.width(), window.height());
    if (movie)
      fgRecordMovie(*movie, skipFrames, window.left, window.top, window.width(), window.height());
    else
      fgStopRecording(recordMovie);
  }

  GrabberState state;
  std::unique_ptr<CameraDriver> driver;
  FrameHub hub;
  CZZMovie* recordMovie = nullptr;
  std::unique_ptr<CZZchildimage> recImage;  // the part of a picture that is recorded
  int32_t skipFrames = 0;
  CameraOpener opener;
  std::function<void(const std::string&)> onError;
  std::string failure;  // of the last recording; written by the hub's thread, read after it ended
  FrameHub::Counts checked;

 private:
  int32_t wantedFlash() const { return flashControl.on ? flashControl.flash : state.set.flashDuration; }
  void takeDriversWords();
  void chooseArea();
  bool makeBuffers();
  bool addBuffers(int32_t count);
  bool add(const FrameHub::Frame& frame, Point corner);
  void takeLost(const std::string& why);
  std::vector<std::unique_ptr<uint8_t[]>> blocks;
  std::set<CameraRole> missing;  // that were told of
  std::set<std::string> told;
};

Grabber& grabber();

}  // namespace tarnvisor
