#include "charts/commonflodoc.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "app/processstate.h"
#include "base/text.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {
constexpr const char* kSection = "commonflodoc";
}

void ZcommonFLODoc::readSettings() {
  ZchartDoc::readSettings();
  analysis.threshold = settings.getInt(kSection, "threshold", 200);
  fftpoints = static_cast<uint16_t>(std::clamp(settings.getInt(kSection, "fftpoints", 256), 0, UINT16_MAX));
  // Numbers of settings have six decimals, too few for this one; what is the default so cut is the default.
  const std::string scale = settings.getString(kSection, "dopplerscale", "");
  const double held = scale == format("%f", kDefaultDopplerScale) ? 0 : std::strtod(scale.c_str(), nullptr);
  dopplerscale = held > 0 && std::isfinite(held) ? held : kDefaultDopplerScale;
}

void ZcommonFLODoc::saveSettings() const {
  ZchartDoc::saveSettings();
  settings.setInt(kSection, "threshold", analysis.threshold);
  settings.setString(kSection, "dopplerscale", format("%.17g", dopplerscale));
}

CFFT* ZcommonFLODoc::fft() {
  if (!transform || transform->size != fftpoints) {
    transform = std::make_unique<CFFT>();
    if (!transform->setup(fftpoints)) transform.reset();
  }
  return transform.get();
}

CFFTWindow& ZcommonFLODoc::window() {
  weights.build(process.velocity.fftWindow, 2 * int32_t{fftpoints});
  return weights;
}

CbvAnalysis ZcommonFLODoc::reviewAnalysis() const {
  CbvAnalysis own;
  own.parameters = process.velocity;
  own.threshold = analysis.threshold;
  return own;
}

Outcome ZcommonFLODoc::checkThreshold() const {
  const VelocitySettings& velocity = process.velocity;
  if (velocity.cbvMethod != kPercentPower || velocity.autonoise || analysis.threshold <= 100)
    return Outcome::success();
  return Outcome::failure(format(
      "The threshold is percent here: %i %% of the total power are more than there is. Set it to 0 to 100.",
      analysis.threshold));
}

void ZcommonFLODoc::setThreshold(int32_t wanted) {
  if (wanted == analysis.threshold) return;
  analysis.threshold = wanted;
  words = format("threshold = %.f", static_cast<double>(wanted));
  updateAllViews();
}

// A spectrum in kHz may carry a scale of its own, which goes to the extents of its rows.
void ZcommonFLODoc::swapUnits() {
  constexpr const char* kSpeed = "mm/s";
  constexpr const char* kFrequency = "kHz";
  constexpr double kKiloHertz = 0.001;
  if (!(dopplerscale > 0)) return;
  Change change(*this);
  for (size_t i = 0; i < traces.items.size(); ++i) {
    ZZTrace& trace = *traces.items[i];
    const bool isSpeed = trace.yunits == kSpeed;
    if ((!isSpeed && trace.yunits != kFrequency) || !change.altering(trace)) continue;
    const double from = isSpeed ? dopplerscale : kKiloHertz, to = isSpeed ? kKiloHertz : dopplerscale;
    if (auto* rows = dynamic_cast<C2DTrace*>(&trace); rows && rows->rowvalues) {
      rows->rowvalues->scale(trace.ygain / from);
      trace.ygain = from;
    }
    trace.ygain *= to / from;
    trace.yoffset *= to / from;
    trace.xscale *= to / from;
    trace.yunits = isSpeed ? kFrequency : kSpeed;
  }
}

}  // namespace tarnvisor
