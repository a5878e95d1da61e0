#include "analysis/autofocus.h"

#include <algorithm>
#include <type_traits>

#include "base/numbers.h"
#include "settings/settings.h"

namespace tarnvisor {

autofocuscontrol focusControl;

namespace {

constexpr const char* kSection = "autofocuscontrol";

// Each value with its key, in the order of the fields.
template <typename Control, typename Whole, typename Number>
void forEachKey(Control& c, Whole whole, Number number) {
  number("ROI", c.boxFraction);
  whole("focuson", c.on);
  whole("minstep", c.minStep);
  whole("maxstep", c.maxStep);
  whole("focusgain", c.focusGain);
  whole("focusgap", c.gap);
  whole("focusthreshold", c.noise);
  whole("fmethod", c.method);
  number("fhyst", c.hyst);
  number("focusnessthreshold", c.focusness);
  whole("refocusn", c.refocusN);
  whole("refocusstep", c.refocusStep);
  whole("fminrange", c.search.tolerance);
}

}  // namespace

void autofocuscontrol::loadSettings() {
  *this = {};
  forEachKey(
      *this,
      [](const char* key, auto& value) {
        value = static_cast<std::decay_t<decltype(value)>>(
            settings.getInt(kSection, key, static_cast<int32_t>(value)));
      },
      [](const char* key, double& value) { value = settings.getDouble(kSection, key, value); });
  position = minStep;
}

void autofocuscontrol::storeSettings() const {
  forEachKey(
      *this,
      [](const char* key, const auto& value) {
        settings.setInt(kSection, key, truncated(static_cast<double>(value)));
      },
      [](const char* key, const double& value) { settings.setDouble(kSection, key, value); });
}

Rect autofocuscontrol::boxOf(const CZZimage& image) const {
  if (!box.isEmpty()) return box;
  const Point centre{image.width / 2, image.frameHeight() / 2};
  const double part = std::clamp(boxFraction, 0.0, 1.0);
  const Point half{truncated(centre.x * part), truncated(centre.y * part)};
  const Rect middle{centre.x - half.x, centre.y - half.y, centre.x + half.x, centre.y + half.y};
  const Point origin = image.frameOrigin();
  return middle.offsetBy(origin.x, origin.y);
}

double autofocuscontrol::measureFocus(const CZZimage& image) {
  if (!on || !(method & kAllMethods)) return focus;
  CZZimage grey;
  if (image.colourset != kGrey && (!grey.copyImage(image) || !grey.convertToGrey())) return focus;
  const CZZimage& measured = image.colourset != kGrey ? grey : image;
  const Rect area = boxOf(image);
  if (method & kPeaks) return focus = measured.laplacianFocus(area, gap, noise);
  if (method & kRowPeaks) return focus = measured.rowPeakFocus(area, gap, noise);
  return focus = measured.gradientEnergy(area);
}

}  // namespace tarnvisor
