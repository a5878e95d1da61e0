// What the camera is set to, as it is kept from one start to the next.
#pragma once

#include <cstdint>
#include <string>

namespace tarnvisor {

// Section "ueyeP" of the settings: read by fginit, written by fgterm. What no camera takes any more, as
// `flessx`, is kept.
struct GrabberSettings {
  int32_t whitelevel = 0, blacklevel = 0, gain = 0;
  int32_t dualMonitor = 0;
  int32_t inputChannel = 0;
  int32_t grabLeft = 0, grabTop = 0, grabWidth = 768, grabHeight = 512;
  int32_t ipStepX = 1, ipStepY = 1;
  int32_t zoomX = 1, zoomY = 1;
  int32_t cameraType = 0, showErrors = 0, grabColour = 0;
  int32_t flashDuration = 500;  // microseconds
  int32_t redLevel = 0, greenLevel = 9, blueLevel = 30;
  int32_t binning = 0;
  int32_t grabFullSize = 1, grabFixedPixelSize = 1;
  int32_t grabArea = 0;  // a part of the sensor, of the user's size
  int32_t userGrabWidth = 200, userGrabHeight = 100;
  int32_t bounceCount = 2;
  int32_t exposure = 10000;  // microseconds
  int32_t gainBoost = 1;
  int32_t gamma = 0;
  double fps = 30.0;
  int32_t lutOrigin = 0, lutEnabled = 0;
  int32_t noStrobe = 0;
  int32_t pixelClock = 35;  // MHz
  int32_t softTrigger = 0, disableTrigger = 1;
  int32_t flickerless = 0, flickerlessHeight = 640;
  double flickerlessFps = 39.5, flickerlessX = 2.5;
  int32_t exposureTracksFlash = 0;
  std::string camera;  // which, as openCamera() takes it

  void load();
  void store() const;
};

}  // namespace tarnvisor
