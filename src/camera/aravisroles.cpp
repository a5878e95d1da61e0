#include "aravisroles.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "base/text.h"

namespace tarnvisor {

namespace {

double toDecibels(double factor) { return 20 * std::log10(std::max(factor, 1e-6)); }
double fromDecibels(double decibels) { return std::pow(10, decibels / 20); }
double toHertz(double megahertz) { return megahertz * 1e6; }
double fromHertz(double hertz) { return hertz / 1e6; }
// Some cameras do not tell the unit: what is below any sensor's clock in Hz is in MHz.
bool isInMegahertz(AravisFeatures& features, const char* clock) {
  const auto bounds = features.bounds(clock);
  return equalIgnoringCase(features.unitOf(clock), "MHz") || (bounds && bounds->high < 10000);
}

Outcome chooseIfOffered(AravisFeatures& features, const char* feature, const char* choice) {
  return features.offers(feature, choice) ? features.choose(feature, choice) : Outcome::success();
}

// Green before red: blood is darkest in it.
Outcome chooseGreyPixels(AravisFeatures& features) {
  for (const char* pixels : {"Mono8", "G8", "R8", "B8"})
    if (features.offers("PixelFormat", pixels)) return features.choose("PixelFormat", pixels);
  if (features.isGone()) return Outcome::failure(kNoAnswer);
  return Outcome::failure("The camera gives no grey images of 8 bits a pixel.");
}

}  // namespace

// Features that a camera keeps as they are do not keep it from being used: their values tell.
Outcome settle(AravisFeatures& features) {
  if (Outcome grey = chooseGreyPixels(features); !grey) return grey;
  constexpr std::array<std::pair<const char*, const char*>, 8> kManual{{{"AcquisitionMode", "Continuous"},
                                                                        {"ExposureMode", "Timed"},
                                                                        {"ExposureAuto", "Off"},
                                                                        {"GainSelector", "All"},
                                                                        {"GainSelector", "AnalogAll"},
                                                                        {"GainAuto", "Off"},
                                                                        {"AcquisitionFrameRateAuto", "Off"},
                                                                        {"DeviceClockSelector", "Sensor"}}};
  constexpr std::array<std::pair<const char*, double>, 3> kSwitches{
      {{"AcquisitionFrameRateEnable", 1}, {"AcquisitionFrameRateEnabled", 1}, {"ChunkModeActive", 0}}};
  for (const auto& [feature, choice] : kManual) (void)chooseIfOffered(features, feature, choice);
  for (const auto& [feature, on] : kSwitches)
    if (features.has(feature)) (void)features.setNumber(feature, on);
  for (const std::string& trigger : features.choices("TriggerSelector"))
    if (features.choose("TriggerSelector", trigger)) (void)chooseIfOffered(features, "TriggerMode", "Off");
  (void)chooseIfOffered(features, "TriggerMode", "Off");
  (void)chooseIfOffered(features, "TriggerSelector", "FrameStart");

  AravisRoles roles(features);
  if (roles.range(CameraRole::Binning)) (void)roles.set(CameraRole::Binning, 1);
  const Size whole = roles.sensor();
  (void)roles.setArea({0, 0, whole.width, whole.height});
  return features.isGone() ? Outcome::failure(kNoAnswer) : Outcome::success();
}

AravisRoles::AravisRoles(AravisFeatures& borrowed) : features(borrowed) {
  frameRate.feature = features.firstOf({"AcquisitionFrameRate", "AcquisitionFrameRateAbs"});
  exposureTime.feature = features.firstOf({"ExposureTime", "ExposureTimeAbs"});
  mirrorLeftRight.feature = features.firstOf({"ReverseX"});
  mirrorUpDown.feature = features.firstOf({"ReverseY"});
  gain.feature = features.firstOf({"Gain", "GainRaw"});
  if (gain.feature && equalIgnoringCase(features.unitOf(gain.feature), "dB"))
    gain = {gain.feature, fromDecibels, toDecibels};
  clock.feature = features.firstOf({"PixelClock", "DeviceClockFrequency"});
  if (clock.feature && !isInMegahertz(features, clock.feature)) clock = {clock.feature, fromHertz, toHertz};
  findStrobe();
}

// Only a line that is an output already: what is wired to one that could be turned round is not known.
void AravisRoles::findStrobe() {
  for (const std::string& candidate : features.choices("LineSelector")) {
    if (!features.choose("LineSelector", candidate) || features.chosen("LineMode") != "Output") continue;
    for (const std::string& each : features.choices("TimerSelector"))
      if (timer.empty() && features.offers("LineSource", each + "Active")) timer = each;
    if (!timer.empty() || features.offers("LineSource", "ExposureActive")) {
      line = candidate;
      return;
    }
  }
}

std::string AravisRoles::strobeSource() const { return timer.empty() ? "ExposureActive" : timer + "Active"; }

AravisRoles::Plain AravisRoles::plain(CameraRole role) const {
  switch (role) {
    case CameraRole::PixelClock:
      return clock;
    case CameraRole::FrameRate:
      return frameRate;
    case CameraRole::Exposure:
      return exposureTime;
    case CameraRole::Gain:
      return gain;
    case CameraRole::MirrorLeftRight:
      return mirrorLeftRight;
    case CameraRole::MirrorUpDown:
      return mirrorUpDown;
    default:
      return {};
  }
}

std::optional<CameraRange> AravisRoles::range(CameraRole role) {
  constexpr CameraRange kSwitch{0, 1, 1};
  switch (role) {
    case CameraRole::Binning: {
      const auto across = features.bounds("BinningHorizontal"), down = features.bounds("BinningVertical");
      if (!across || !down || std::min(across->high, down->high) < 2) return std::nullopt;
      return CameraRange{1, 2, 1};
    }
    case CameraRole::SoftwareTrigger:
      return features.offers("TriggerSource", "Software") ? std::optional(kSwitch) : std::nullopt;
    case CameraRole::Strobe:
      return line.empty() ? std::nullopt : std::optional(kSwitch);
    case CameraRole::StrobeStart:
      return timer.empty() ? std::nullopt : features.bounds("TimerDelay");
    case CameraRole::StrobeEnd: {
      const auto start = value(CameraRole::StrobeStart);
      const auto duration = start ? features.bounds("TimerDuration") : std::nullopt;
      if (!duration) return std::nullopt;
      const double shift = *start - exposure();
      return CameraRange{duration->low + shift, duration->high + shift, duration->step};
    }
    default: {
      const Plain one = plain(role);
      const auto bounds = one.feature ? features.bounds(one.feature) : std::nullopt;
      if (!bounds || !one.toRole) return bounds;
      // The steps of what was converted are not even.
      return CameraRange{one.toRole(bounds->low), one.toRole(bounds->high), 0};
    }
  }
}

std::optional<double> AravisRoles::value(CameraRole role) {
  switch (role) {
    case CameraRole::Binning:
      return range(role) ? features.number("BinningHorizontal") : std::nullopt;
    case CameraRole::SoftwareTrigger:
      if (!range(role)) return std::nullopt;
      return features.chosen("TriggerMode") == "On" && features.chosen("TriggerSource") == "Software";
    case CameraRole::Strobe:
      if (line.empty() || !features.choose("LineSelector", line)) return std::nullopt;
      return features.chosen("LineSource") == strobeSource();
    case CameraRole::StrobeStart:
      if (timer.empty() || !features.choose("TimerSelector", timer)) return std::nullopt;
      return features.number("TimerDelay");
    case CameraRole::StrobeEnd: {
      const auto start = value(CameraRole::StrobeStart);
      const auto duration = start ? features.number("TimerDuration") : std::nullopt;
      return duration ? std::optional(*start + *duration - exposure()) : std::nullopt;
    }
    default: {
      const Plain one = plain(role);
      const auto number = one.feature ? features.number(one.feature) : std::nullopt;
      return number && one.toRole ? std::optional(one.toRole(*number)) : number;
    }
  }
}

Outcome AravisRoles::set(CameraRole role, double value) {
  if (!std::isfinite(value)) return Outcome::failure(format("That is no number for the %s.", nameOf(role)));
  if (features.isGone()) return Outcome::failure(kNoAnswer);
  if (!range(role)) return Outcome::failure(format("The camera has no %s to set.", nameOf(role)));
  switch (role) {
    case CameraRole::Binning:
      return setBinning(value >= 1.5 ? 2 : 1);
    case CameraRole::SoftwareTrigger:
      return setTrigger(value != 0);
    case CameraRole::Strobe:
      return setStrobe(value != 0);
    case CameraRole::StrobeStart:
      return setStrobeStart(value);
    case CameraRole::StrobeEnd:
      return setStrobeEnd(value);
    case CameraRole::Exposure:
      return setExposure(value);
    default: {
      const Plain one = plain(role);
      return features.setNumber(one.feature, one.toFeature ? one.toFeature(value) : value);
    }
  }
}

Outcome AravisRoles::setBinning(double factor) {
  const auto before = features.number("BinningHorizontal");
  Outcome done = features.setNumber("BinningHorizontal", factor);
  if (done) done = features.setNumber("BinningVertical", factor);
  // Never one direction alone.
  if (!done && before) (void)features.setNumber("BinningHorizontal", *before);
  if (!done) return done;
  const Size whole = sensor();
  return setArea({0, 0, whole.width, whole.height});
}

Outcome AravisRoles::setTrigger(bool software) {
  Outcome done = chooseIfOffered(features, "TriggerSelector", "FrameStart");
  if (done && software) done = features.choose("TriggerSource", "Software");
  return done ? features.choose("TriggerMode", software ? "On" : "Off") : done;
}

Outcome AravisRoles::setStrobe(bool on) {
  Outcome done = features.choose("LineSelector", line);
  if (done && on && !timer.empty()) {
    done = features.choose("TimerSelector", timer);
    if (done) done = chooseIfOffered(features, "TimerTriggerSource", "ExposureStart");
  }
  return done ? features.choose("LineSource", on ? strobeSource() : "Off") : done;
}

// The timer has a duration, the strobe an end: what changes the one beneath the other sets it again.
Outcome AravisRoles::setStrobeStart(double start) {
  const auto end = value(CameraRole::StrobeEnd);
  const Outcome done = features.setNumber("TimerDelay", start);
  return done && end ? setStrobeEnd(*end) : done;
}

Outcome AravisRoles::setStrobeEnd(double end) {
  const auto start = value(CameraRole::StrobeStart);
  return features.setNumber("TimerDuration", exposure() + end - start.value_or(0));
}

Outcome AravisRoles::setExposure(double wanted) {
  const auto end = value(CameraRole::StrobeEnd);
  const Outcome done = features.setNumber(exposureTime.feature, wanted);
  return done && end ? setStrobeEnd(*end) : done;
}

double AravisRoles::exposure() { return value(CameraRole::Exposure).value_or(0); }

double AravisRoles::frameSeconds() {
  constexpr double kUsualRate = 30;
  const double rate = value(CameraRole::FrameRate).value_or(kUsualRate);
  return std::max(1 / std::max(rate, 1e-3), exposure() * 1e-6);
}

Size AravisRoles::sensor() {
  const auto length = [this](const char* most, const char* pixels, const char* binning, const char* present) {
    const auto told = features.number(most), unbinned = features.number(pixels);
    if (told) return static_cast<int32_t>(*told);
    if (unbinned)
      return static_cast<int32_t>(*unbinned / std::max(1.0, features.number(binning).value_or(1)));
    return static_cast<int32_t>(features.bounds(present).value_or(CameraRange{}).high);
  };
  return {length("WidthMax", "SensorWidth", "BinningHorizontal", "Width"),
          length("HeightMax", "SensorHeight", "BinningVertical", "Height")};
}

Rect AravisRoles::area() {
  const auto told = [this](const char* feature) {
    return static_cast<int32_t>(features.number(feature).value_or(0));
  };
  const Point corner{told("OffsetX"), told("OffsetY")};
  return {corner.x, corner.y, corner.x + told("Width"), corner.y + told("Height")};
}

// The corner first moves out of the way of the size.
Outcome AravisRoles::setArea(const Rect& wanted) {
  const Size whole = sensor();
  const Rect inside = wanted.intersected({0, 0, whole.width, whole.height});
  if (inside.isEmpty()) return Outcome::failure("That area is not on the camera's sensor.");
  const std::array<std::pair<const char*, int32_t>, 6> steps{{{"OffsetX", 0},
                                                              {"OffsetY", 0},
                                                              {"Width", inside.width()},
                                                              {"Height", inside.height()},
                                                              {"OffsetX", inside.left},
                                                              {"OffsetY", inside.top}}};
  for (const auto& [feature, number] : steps) {
    if (!features.has(feature)) continue;
    if (Outcome done = features.setNumber(feature, number); !done) return done;
  }
  return Outcome::success();
}

}  // namespace tarnvisor
