#include "capture/livecontrols.h"

#include <cmath>
#include <optional>

#include "base/numbers.h"
#include "base/text.h"
#include "camera/framegrabber.h"
#include "host/host.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr int32_t kRefreshMs = 250;
constexpr std::array<const char*, LiveControls::kCount> kSections{"fgip", "fgip1", "flashcontroldlg",
                                                                  "focuscontroldlg"};
constexpr int32_t kUnknownPlace = INT32_MIN;

std::optional<Point> placeOf(const char* section) {
  const Point at{settings.getInt(section, "left", kUnknownPlace),
                 settings.getInt(section, "top", kUnknownPlace)};
  if (at.x == kUnknownPlace || at.y == kUnknownPlace) return std::nullopt;
  return at;
}

}  // namespace

void LiveControls::open() {
  for (size_t i = 0; i < kCount; ++i)
    if (settings.getInt(kSections[i], "show", 0)) show(static_cast<Which>(i));
}

bool LiveControls::isShown(Which which) const {
  const auto& form = forms[static_cast<size_t>(which)];
  return form && form->isOpen();
}

void LiveControls::toggle(Which which) {
  if (isShown(which)) {
    storePlaces();
    forms[static_cast<size_t>(which)].reset();
  } else {
    show(which);
  }
  storePlaces();
  host().windows.refreshBars();
}

void LiveControls::storePlaces() const {
  for (size_t i = 0; i < kCount; ++i) {
    settings.setInt(kSections[i], "show", isShown(static_cast<Which>(i)) ? 1 : 0);
    if (!forms[i]) continue;
    settings.setInt(kSections[i], "left", forms[i]->place().x);
    settings.setInt(kSections[i], "top", forms[i]->place().y);
  }
}

void LiveControls::show(Which which) {
  read();
  FormEvents events{.onClose =
                        [this] {
                          storePlaces();
                          host().windows.refreshBars();
                        },
                    .refreshMs = kRefreshMs,
                    .onRefresh = [this] { read(); },
                    .place = placeOf(kSections[static_cast<size_t>(which)])};
  if (which == AutoBrightness) {
    events.buttons.push_back({"Apply", [this] { applyAutoBrightness(); }, true});
    flash = flashControl;
    flashOn = flash.on;
  }
  if (which == AutoFocus) {
    events.buttons.push_back({"Apply", [this] { applyAutoFocus(); }, true});
    focus = focusControl;
    focusOn = focus.on;
    boxPercent = truncated(std::round(focus.boxFraction * 100));
  }
  Form form = which == Video            ? videoForm()
              : which == Brightness     ? brightnessForm()
              : which == AutoBrightness ? autoBrightnessForm()
                                        : autoFocusForm();
  forms[static_cast<size_t>(which)] = host().forms.show(std::move(form), std::move(events));
}

void LiveControls::read() {
  const GrabberState& camera = fgState();
  input = {camera.flashUs,
           camera.exposureUs,
           camera.set.gain,
           camera.set.flickerless ? camera.set.flickerlessFps : camera.set.fps,
           camera.set.exposureTracksFlash,
           camera.set.noStrobe};
  shown = input;
  slider = camera.flashUs;
  actual = format("%.1f frames a second, exposure %i us", camera.actualFps, camera.exposureUs);
  measured = format("brightness=%i", flashControl.brightness);
  lastGood = format("lastgood=%i", flashControl.lastGood);
  flashNow = format("flash=%i", flashControl.flash);
  // Before the first picture of a start what is shown is a block that the camera fills.
  if (isShown(AutoFocus) && camera.liveImage && !camera.liveImage->empty() &&
      (camera.shownFrames > 0 || !camera.grabbing))
    focusNow = format("focus=%.1f", focusControl.measureFocus(*camera.liveImage));
}

Form LiveControls::videoForm() {
  Form form("Video");
  form.addSlider("flash (usec)", input.flash, flashControl.flashMin, flashControl.flashMax)
      .add("exposure (usec)", input.exposure, {1, 10000000, {}})
      .addSlider("gain", input.gain, 0, 1000)
      .add("frames a second", input.fps, {0.1, 2000, {}})
      .withDecimals(2)
      .addCheck("exposure follows the flash", input.tracksFlash)
      .addCheck("no strobe: the flash is the exposure", input.noStrobe)
      .addReading("camera", actual)
      .addReading("shown", rate)
      .setOnChange([this] { takeVideo(); });
  return form;
}

void LiveControls::takeVideo() {
  if (input.noStrobe != shown.noStrobe || input.tracksFlash != shown.tracksFlash)
    fgSetStrobeUse(input.noStrobe != 0, input.tracksFlash != 0);
  if (input.flash != shown.flash) fgSetManualFlash(input.flash);
  if (input.exposure != shown.exposure) fgSetManualExposure(input.exposure);
  if (input.gain != shown.gain) fgSetADCgain(input.gain);
  if (input.fps != shown.fps) fgSetFps(input.fps);
  read();
}

Form LiveControls::brightnessForm() {
  Form form("Brightness");
  form.addSlider("brightness", slider, flashControl.flashMin, flashControl.flashMax)
      .addReading("", measured)
      .setOnChange([this] { takeBrightness(); });
  return form;
}

void LiveControls::takeBrightness() {
  if (slider != fgState().flashUs) fgSetManualFlash(slider);
}

Form LiveControls::autoBrightnessForm() {
  const Limits level{0, 255, {}}, time{1, 10000000, {}};
  Form form("Auto Brightness");
  form.addCheck("on", flashOn)
      .add("measurement lines", flash.lines, {1, 1000, {}})
      .add("Target peak brightness", flash.target, level)
      .withUnit("grey levels")
      .add("good error range", flash.goodError, level)
      .withUnit("grey levels")
      .add("no tissue brightness", flash.noTissue, level)
      .withUnit("grey levels")
      .add("min (usec)", flash.flashMin, time)
      .add("max (usec)", flash.flashMax, time)
      .add("control RC", flash.rc, {0.01, 1000, {}})
      .add("gain", flash.gain, {0, 1000, {}})
      .addChoice("method", flash.method, {"by shares of the error", "by proportion"})
      .addReading("", measured)
      .addReading("", lastGood)
      .addReading("", flashNow);
  return form;
}

void LiveControls::applyAutoBrightness() {
  autoflashcontrol& control = flashControl;
  // While it was off it knows nothing of the light.
  const int32_t now = control.on ? control.flash : fgState().flashUs;
  control.on = flashOn != 0;
  control.lines = flash.lines;
  control.target = flash.target;
  control.goodError = flash.goodError;
  control.noTissue = flash.noTissue;
  control.flashMin = flash.flashMin;
  control.flashMax = std::max(flash.flashMin, flash.flashMax);
  control.rc = flash.rc;
  control.gain = flash.gain;
  control.method = flash.method;
  const int32_t found = control.lastGood;
  control.start(std::max(1.0, fgState().actualFps));
  if (control.on)
    control.setFlash(now);
  else
    fgSetManualFlash(now);
  control.lastGood = found;  // by a picture, which the light of now need not give
  control.storeSettings();
}

Form LiveControls::autoFocusForm() {
  Form form("Auto Focus");
  form.addCheck("on", focusOn)
      .add("box %", boxPercent, {1, 100, {}})
      .add("gap", focus.gap, {1, 10000, {}})
      .withUnit("pixels")
      .add("noise threshold", focus.noise, {0, 1020, {}})
      .withUnit("grey levels")
      .add("method", focus.method, {1, autofocuscontrol::kAllMethods, {}})
      .add("hyst", focus.hyst, {0, 1, {}})
      .add("focusness threshold", focus.focusness, {0, 1e6, {}})
      .add("refocus delay", focus.refocusN, {0, 100000, {}})
      .add("refocus step", focus.refocusStep, {0, 100000, {}})
      .add("GS tol", focus.search.tolerance, {1, 65536, {}})
      .addReading("", focusNow);
  return form;
}

void LiveControls::applyAutoFocus() {
  autofocuscontrol& control = focusControl;
  control.on = focusOn != 0;
  control.boxFraction = boxPercent * 0.01;
  control.box = {};
  control.gap = focus.gap;
  control.noise = focus.noise;
  control.method = focus.method;
  control.hyst = focus.hyst;
  control.focusness = focus.focusness;
  control.refocusN = focus.refocusN;
  control.refocusStep = focus.refocusStep;
  control.search.tolerance = focus.search.tolerance;
  control.storeSettings();
}

}  // namespace tarnvisor
