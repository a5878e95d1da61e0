#include "charts/commonflodoc.h"

#include <algorithm>

#include "app/processstate.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {
constexpr const char* kSection = "commonflodoc";
}

void ZcommonFLODoc::readSettings() {
  ZchartDoc::readSettings();
  analysis.threshold = settings.getInt(kSection, "threshold", 200);
  fftpoints = static_cast<uint16_t>(std::clamp(settings.getInt(kSection, "fftpoints", 256), 0, UINT16_MAX));
  dopplerscale = settings.getDouble(kSection, "dopplerscale", kDefaultDopplerScale);
}

void ZcommonFLODoc::saveSettings() const {
  ZchartDoc::saveSettings();
  settings.setInt(kSection, "threshold", analysis.threshold);
  settings.setInt(kSection, "fftpoints", fftpoints);
  settings.setDouble(kSection, "dopplerscale", dopplerscale);
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

}  // namespace tarnvisor
