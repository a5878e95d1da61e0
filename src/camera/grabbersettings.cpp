#include "camera/grabbersettings.h"

#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr const char* kSection = "ueyeP";
constexpr double kLeastRate = 0.1;  // frames a second

// Each value with its key, in the order of the fields.
template <typename Settings, typename Whole, typename Number>
void forEachKey(Settings& s, Whole whole, Number number) {
  whole("whitelevel", s.whitelevel);
  whole("blacklevel", s.blacklevel);
  whole("gain", s.gain);
  whole("DualMonitor", s.dualMonitor);
  whole("InputChannel", s.inputChannel);
  whole("grabLeft", s.grabLeft);
  whole("grabTop", s.grabTop);
  whole("grabwidth", s.grabWidth);
  whole("grabHeight", s.grabHeight);
  whole("IPstepx", s.ipStepX);
  whole("IPstepy", s.ipStepY);
  whole("zoomx", s.zoomX);
  whole("zoomy", s.zoomY);
  whole("CameraType", s.cameraType);
  whole("ShowErrors", s.showErrors);
  whole("grabcolour", s.grabColour);
  whole("flashduration", s.flashDuration);
  whole("redlevel", s.redLevel);
  whole("greenlevel", s.greenLevel);
  whole("bluelevel", s.blueLevel);
  whole("binning", s.binning);
  whole("grabfullsize", s.grabFullSize);
  whole("grabfixedpixelsz", s.grabFixedPixelSize);
  whole("grabarea", s.grabArea);
  whole("usergrabwidth", s.userGrabWidth);
  whole("usergrabHeight", s.userGrabHeight);
  whole("bouncecount2", s.bounceCount);
  whole("exposure", s.exposure);
  whole("gainboost", s.gainBoost);
  whole("gamma", s.gamma);
  number("fps", s.fps);
  whole("LUTorg", s.lutOrigin);
  whole("LUTenabled", s.lutEnabled);
  whole("nostrobe", s.noStrobe);
  whole("pixclk", s.pixelClock);
  whole("softtrigger", s.softTrigger);
  whole("disabletrigger", s.disableTrigger);
  whole("flessEN", s.flickerless);
  whole("flessh", s.flickerlessHeight);
  number("flessfps", s.flickerlessFps);
  number("flessx", s.flickerlessX);
  whole("usrexptracksflash", s.exposureTracksFlash);
}

}  // namespace

void GrabberSettings::load() {
  forEachKey(
      *this, [](const char* key, int32_t& value) { value = settings.getInt(kSection, key, value); },
      [](const char* key, double& value) { value = settings.getDouble(kSection, key, value); });
  if (!(fps >= kLeastRate)) fps = kLeastRate;
  camera = settings.getString(kSection, "camera", camera);
}

void GrabberSettings::store() const {
  forEachKey(
      *this, [](const char* key, const int32_t& value) { settings.setInt(kSection, key, value); },
      [](const char* key, const double& value) { settings.setDouble(kSection, key, value); });
  settings.setString(kSection, "camera", camera);
}

}  // namespace tarnvisor
