#include "analysis/autoflash.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "base/numbers.h"
#include "settings/settings.h"

namespace tarnvisor {

autoflashcontrol flashControl;

namespace {

constexpr const char* kSection = "autoflashcontrol";
constexpr int32_t kNearlyWhite =
    245;  // much of the picture is saturated, so that in proportion is too little
constexpr double kOfNearlyWhite = 0.6;  // what the light goes to then
constexpr int32_t kWhite = 255;         // and nothing tells how much too bright it is
constexpr double kOfWhite = 0.25;
constexpr double kNear = 0.05;         // of the target
constexpr double kFar = 0.2;           // a change so large is seen when it comes
constexpr double kSecondsToTry = 5.0;  // between two tries whether an empty field has tissue

template <typename Control, typename Whole, typename Number>
void forEachKey(Control& c, Whole whole, Number number) {
  number("ROI3", c.lines);
  whole("flashon", c.on);
  whole("brighttarget3", c.target);
  whole("gooderr", c.goodError);
  whole("notissue", c.noTissue);
  whole("flashmin", c.flashMin);
  whole("flashmax", c.flashMax);
  number("flashrc3", c.rc);
  number("flashgain3", c.gain);
  whole("autoBrightnessMethod", c.method);
}

}  // namespace

void autoflashcontrol::loadSettings() {
  *this = {};
  forEachKey(
      *this,
      [](const char* key, auto& value) {
        value = static_cast<std::decay_t<decltype(value)>>(settings.getInt(kSection, key, value));
      },
      [](const char* key, double& value) { value = settings.getDouble(kSection, key, value); });
}

void autoflashcontrol::storeSettings() const {
  forEachKey(
      *this, [](const char* key, const auto& value) { settings.setInt(kSection, key, value); },
      [](const char* key, const double& value) { settings.setDouble(kSection, key, value); });
}

void autoflashcontrol::start(double framesPerSecond) {
  roi = {};
  flash = 500;
  if (lastGood == 0) lastGood = 500;
  rate = framesPerSecond;
  k = 1 - std::exp(-1 / (rate * rc));
  course = {};
}

void autoflashcontrol::setFlash(int32_t microseconds) {
  flash = lastGood = microseconds;
  course = {.exact = static_cast<double>(microseconds)};
}

void autoflashcontrol::frame(const CZZimage& image) {
  if (!on) return;
  const double measured = image.meanBrightness(truncated(lines));
  step(measured < 0 ? brightness : truncated(measured));
}

void autoflashcontrol::step(int32_t measured) {
  if (!on) return;
  brightness = measured;
  if (lastGood > flashMax) lastGood = flashMax / 2;
  if (method == kByProportion)
    stepByProportion();
  else
    stepByShares();
}

void autoflashcontrol::stepByShares() {
  if (brightness < noTissue) {
    flash = lastGood;
    return;
  }
  const int32_t error = target - brightness;
  if (std::abs(error) < goodError) lastGood = flash;
  flash = truncated(k * gain * error + flash);
  if (flash < flashMin || flash > flashMax) flash = lastGood;
}

void autoflashcontrol::change(double microseconds) {
  const double limited = std::clamp(microseconds, double(flashMin), double(std::max(flashMin, flashMax)));
  const int32_t before = flash;
  course.exact = limited;
  flash = truncated(std::round(limited));
  if (flash == before) return;
  course.waits = true;
  course.frames = 0;
  course.before = brightness;
  course.expected = brightness * limited / std::max(before, 1);
}

// The frames that are under way were taken with the light before. A large change is seen when it comes; a
// small one could be the pulse, and the longest delay is waited for.
bool autoflashcontrol::waitsForLight() {
  if (!course.waits) return false;
  const double wanted = course.expected - course.before;
  const bool isLarge = std::abs(wanted) > kFar * course.before + 2;
  const double moved = (brightness - course.before) * (wanted < 0 ? -1 : 1);
  const bool isThere = isLarge && moved > std::abs(wanted) / 2;
  if (!isThere && course.frames++ < kLongestDelay) return true;
  course.waits = false;
  course.frames = 0;
  return false;
}

void autoflashcontrol::stepByProportion() {
  if (waitsForLight()) return;
  if (brightness < noTissue) return stepInTheDark();
  course.tries = false;
  course.frames = 0;
  const int32_t error = target - brightness;
  if (std::abs(error) < goodError) {
    lastGood = flash;
    course.wasGood = true;
  }
  if (brightness >= kWhite && error < 0) return change(course.exact * kOfWhite);
  if (brightness >= kNearlyWhite && error < -kNear * target) return change(course.exact * kOfNearlyWhite);
  const double ratio = static_cast<double>(target) / std::max(brightness, 1);
  if (std::abs(error) > kNear * target) return change(course.exact * ratio);
  course.exact = std::clamp(course.exact * (1 + k * (ratio - 1)), double(flashMin),
                            double(std::max(flashMin, flashMax)));
  flash = truncated(std::round(course.exact));
}

// An empty field, or tissue in too little light: as much light as would bring it to the target tells.
void autoflashcontrol::stepInTheDark() {
  if (course.tries || (course.wasGood && flash != lastGood)) {
    course.tries = false;
    course.exact = flash = lastGood;
    course.frames = 0;
    return;
  }
  if (course.wasGood && ++course.frames < kSecondsToTry * rate) return;
  course.tries = course.wasGood = true;  // the next try comes later
  change(course.exact * target / std::max(brightness, 1));
}

}  // namespace tarnvisor
