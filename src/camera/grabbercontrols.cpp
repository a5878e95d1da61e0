// What the camera is set to, role by role: light, exposure, rate, gain, clock, and the settings kept of them.
#include <algorithm>

#include "base/numbers.h"
#include "base/text.h"
#include "grabber.h"
#include "settings/log.h"

namespace tarnvisor {

namespace {

constexpr double kAnalogueGain = 1.6;
constexpr int32_t kShortestStrobe = 50;    // microseconds; no strobe can be shorter
constexpr double kLongExposure = 10000.0;  // microseconds
constexpr double kReadout = 50.0;          // microseconds between two exposures
constexpr double kFastRate = 99.0;         // frames a second: no time is left for the long one

}  // namespace

std::optional<CameraRange> Grabber::rangeOf(CameraRole role) {
  if (!driver) return std::nullopt;
  const auto range = driver->range(role);
  if (!range && missing.insert(role).second) {
    logPrintf("the camera has no %s\n", nameOf(role));
    if (role == CameraRole::StrobeEnd) logPrintf("flashend get range fail=%i\n", 1);
  }
  return range;
}

void Grabber::fail(const std::string& what, const std::string& words) {
  logPrintf("%s\n", words.c_str());
  if (state.set.showErrors && onError && told.insert(what).second) onError(words);
}

void Grabber::setRole(CameraRole role, double value, const char* words) {
  if (!rangeOf(role)) return;
  if (const Outcome done = driver->set(role, value); !done) fail(words, words + done.why());
}

void Grabber::setClock() {
  if (!rangeOf(CameraRole::PixelClock)) return;
  const auto done = driver->set(CameraRole::PixelClock, state.set.pixelClock);
  if (!done)
    return fail("pixel clock", format("set pixelclk %i failed %s", state.set.pixelClock, done.why().c_str()));
  logPrintf("pixclk=%i.actual=%f\n", state.set.pixelClock,
            driver->value(CameraRole::PixelClock).value_or(state.set.pixelClock));
}

// The setting counts in hundredths above the camera's own factor.
void Grabber::applyGain() {
  const auto range = rangeOf(CameraRole::Gain);
  if (!range) return;
  const double factor = state.set.gain > 0 ? state.set.gain / 100.0 * kAnalogueGain : range->low;
  setRole(CameraRole::Gain, std::clamp(factor, range->low, range->high), "set gain failed=");
}

// The strobe's end is told from the exposure's, and without a strobe the exposure is the flash.
void Grabber::sendFlashAgain() {
  if (driver && state.flashUs > 0) fgSetFlash(state.flashUs, true);
}

// None is left for a long one: all that the rate allows, where 0 would be taken for the shortest. A camera
// that offers more would slow down for it.
double Grabber::longestExposure() {
  const auto range = rangeOf(CameraRole::Exposure);
  const double between = 1e6 / state.actualFps - kReadout;
  return range ? std::min(range->high, std::max(range->low, between)) : 0.0;
}

// The light lasts for so long of the exposure: what its end is told from is the end of that.
void Grabber::setStrobe(int32_t microseconds) {
  const auto range = rangeOf(CameraRole::StrobeEnd);
  if (!range) return;
  if (state.set.exposureTracksFlash)
    fgSetExposure(truncated(microseconds + std::max(range->step, 0.0)), false);
  setRole(CameraRole::StrobeStart, 0, "flash start failed=");
  const double end = std::clamp<double>(microseconds - state.exposureUs, range->low, range->high);
  if (const Outcome done = driver->set(CameraRole::StrobeEnd, end); !done)
    fail("strobe end", format("flash end=%f failed=%s", end, done.why().c_str()));
  state.flashUs = microseconds;
}

int32_t fgSetFlash(int32_t microseconds, bool force) {
  Grabber& g = grabber();
  if (!g.driver || (microseconds == g.state.flashUs && !force)) return g.state.flashUs;
  if (g.state.set.noStrobe || !g.rangeOf(CameraRole::StrobeEnd)) {
    if (microseconds > 0) fgSetExposure(microseconds, false);
    g.state.flashUs = microseconds;
  } else if (microseconds > kShortestStrobe) {
    g.setStrobe(microseconds);
  }
  return g.state.flashUs;
}

int32_t fgSetExposure(int32_t microseconds, bool force) {
  Grabber& g = grabber();
  if (!g.driver || (!force && microseconds == g.state.exposureUs)) return g.state.flashUs;
  double sent = microseconds;
  const bool isFree =
      g.state.set.exposureTracksFlash || g.state.set.noStrobe || !g.rangeOf(CameraRole::StrobeEnd);
  if (!isFree) sent = g.rateInUse() <= kFastRate ? kLongExposure : g.longestExposure();
  g.setRole(CameraRole::Exposure, sent, "set exp failed=");
  g.state.exposureUs = truncated(g.driver->value(CameraRole::Exposure).value_or(sent));
  return g.state.flashUs;
}

double fgSetFps(double framesPerSecond) {
  Grabber& g = grabber();
  (g.state.set.flickerless ? g.state.set.flickerlessFps : g.state.set.fps) = framesPerSecond;
  if (!g.driver) return g.state.actualFps;
  g.setRole(CameraRole::FrameRate, framesPerSecond, "set fps failed=");
  g.state.actualFps = g.driver->value(CameraRole::FrameRate).value_or(framesPerSecond);
  logPrintf("fps:%f -> %f\n", framesPerSecond, g.state.actualFps);
  fgSetExposure(g.state.set.exposure, true);
  g.sendFlashAgain();
  return g.state.actualFps;
}

void fgSetPixelClock(int32_t megahertz) {
  Grabber& g = grabber();
  const auto now = g.driver ? g.driver->value(CameraRole::PixelClock) : std::nullopt;
  if (megahertz == g.state.set.pixelClock && (!now || truncated(*now) == megahertz)) return;
  g.state.set.pixelClock = megahertz;
  g.setClock();
}

int32_t fgGetPixelClockRange(int32_t& low, int32_t& high, int32_t& step) {
  const CameraRange range = grabber().rangeOf(CameraRole::PixelClock).value_or(CameraRange{});
  low = truncated(range.low);
  high = truncated(range.high);
  step = truncated(range.step);
  const auto now = grabber().driver ? grabber().driver->value(CameraRole::PixelClock) : std::nullopt;
  return now ? truncated(*now) : grabber().state.set.pixelClock;
}

void fgSetZoom(int32_t x, int32_t y) {
  grabber().state.set.zoomX = std::max(1, x);
  grabber().state.set.zoomY = std::max(1, y);
}

int32_t fgAlignedLeft(int32_t left) {
  const int32_t step = 4 * grabber().state.set.zoomX;
  return left / step * step;
}

bool fgSetBinning() {
  GrabberState& state = grabber().state;
  if (state.recording) return state.set.binning != 0;
  const bool on = !state.set.binning;
  state.set.binning = on ? 1 : 0;
  const bool ran = state.grabbing;
  fgterm();
  state.set.store();
  const bool opened = fginit();
  if ((state.set.binning != 0) == on)
    for (int32_t* size :
         {&state.set.grabWidth, &state.set.grabHeight, &state.set.userGrabWidth, &state.set.userGrabHeight})
      *size = on ? *size / 2 : *size * 2;
  if (opened && state.set.grabArea) {
    state.set.store();
    fgReopen();
  }
  if (opened && ran) fggrab(true);
  return state.set.binning != 0;
}

double fgSetADCgain(double gain) {
  Grabber& g = grabber();
  // What the camera can't give is not what is in use.
  const auto range = g.rangeOf(CameraRole::Gain);
  g.state.set.gain = truncated(range ? std::min(gain, range->high / kAnalogueGain * 100.0) : gain);
  g.applyGain();
  return g.state.set.gain;
}

bool fgSetBoost(int32_t boost) {
  grabber().state.set.gainBoost = boost;
  logPrintf("NOT IMPLEMENTED setBoost=%i\n", boost);
  return false;
}

void fgSetFlickerless(bool on) {
  grabber().state.set.flickerless = on ? 1 : 0;
  grabber().state.set.store();
}

int32_t fgSetManualFlash(int32_t microseconds) {
  grabber().state.set.flashDuration = microseconds;
  flashControl.setFlash(microseconds);
  return fgSetFlash(microseconds, false);
}

int32_t fgSetManualExposure(int32_t microseconds) {
  grabber().state.set.exposure = microseconds;
  fgSetExposure(microseconds, true);
  grabber().sendFlashAgain();
  return grabber().state.flashUs;
}

void fgSetStrobeUse(bool none, bool exposureTracksFlash) {
  GrabberState& state = grabber().state;
  state.set.noStrobe = none ? 1 : 0;
  state.set.exposureTracksFlash = exposureTracksFlash ? 1 : 0;
  if (state.grabbing) grabber().setRole(CameraRole::Strobe, none ? 0 : 1, "strobe failed=");
  fgSetExposure(state.set.exposure, true);
  fgSetFlash(state.flashUs, true);
}

void fgSetGrabSize(int32_t width, int32_t height, bool whole) {
  GrabberSettings& set = grabber().state.set;
  set.userGrabWidth = width;
  set.userGrabHeight = height;
  set.grabArea = whole ? 0 : 1;
  set.store();
}

void fgSetCamera(const std::string& id) {
  grabber().state.set.camera = id;
  grabber().state.set.store();
}

void fgSetShowErrors(bool on) {
  grabber().state.set.showErrors = on ? 1 : 0;
  grabber().state.set.store();
}

}  // namespace tarnvisor
