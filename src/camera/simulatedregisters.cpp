#include "simulatedregisters.h"

#include <algorithm>
#include <cmath>

namespace tarnvisor {

namespace {

constexpr double pixelsPerClock = 8;
constexpr double readoutGap = 50;  // microseconds of a frame's time in which it can't be exposed

}  // namespace

SimulatedRegisters::SimulatedRegisters(Size sensor, double mostFramesPerSecond,
                                       const std::vector<CameraRole>& without)
    : pixels(sensor), mostFrames(std::max(mostFramesPerSecond, 1.0)) {
  present.fill(true);
  for (const CameraRole role : without) present[static_cast<size_t>(role)] = false;
  set(CameraRole::Binning, 1);
  hold(CameraRole::PixelClock, 35);
  hold(CameraRole::FrameRate, 30);
  hold(CameraRole::Exposure, 1000);
  hold(CameraRole::Gain, 1);
  settle();
}

CameraRange SimulatedRegisters::range(CameraRole role) const {
  const double exposure = (*this)[CameraRole::Exposure];
  switch (role) {
    case CameraRole::Binning:
      return {1, 2, 1};
    case CameraRole::PixelClock:
      return {5, 60, 1};
    case CameraRole::FrameRate: {
      const double readable = (*this)[CameraRole::PixelClock] * 1e6 * pixelsPerClock /
                              (static_cast<double>(shown.width()) * shown.height());
      return {1, std::clamp(readable, 1.0, mostFrames), 0};
    }
    case CameraRole::Exposure:
      return {20, std::floor(1e6 * framePeriod() - readoutGap), 1};
    case CameraRole::StrobeStart:
      return {0, exposure, 1};
    case CameraRole::StrobeEnd:
      return {-exposure, 0, 1};
    case CameraRole::Gain:
      return {1, 4, 0};
    case CameraRole::SoftwareTrigger:
    case CameraRole::Strobe:
    case CameraRole::MirrorLeftRight:
    case CameraRole::MirrorUpDown:
      break;
  }
  return {0, 1, 1};
}

void SimulatedRegisters::hold(CameraRole role, double value) {
  const CameraRange allowed = range(role);
  if (allowed.step > 0) value = allowed.low + std::round((value - allowed.low) / allowed.step) * allowed.step;
  values[static_cast<size_t>(role)] = std::clamp(value, allowed.low, std::max(allowed.low, allowed.high));
}

// In the order in which one bounds the next.
void SimulatedRegisters::settle() {
  for (const CameraRole role :
       {CameraRole::FrameRate, CameraRole::Exposure, CameraRole::StrobeStart, CameraRole::StrobeEnd})
    hold(role, (*this)[role]);
}

void SimulatedRegisters::set(CameraRole role, double value) {
  hold(role, value);
  if (role == CameraRole::Binning) shown = {0, 0, sensor().width, sensor().height};
  settle();
}

Size SimulatedRegisters::sensor() const {
  const auto binning = static_cast<int32_t>((*this)[CameraRole::Binning]);
  return {pixels.width / binning, pixels.height / binning};
}

Outcome SimulatedRegisters::setArea(const Rect& asked) {
  const Size whole = sensor();
  const Rect inside = asked.intersected({0, 0, whole.width, whole.height});
  const int32_t left = inside.left / 4 * 4, top = inside.top / 2 * 2;
  const int32_t width = inside.width() / 4 * 4, height = inside.height() / 2 * 2;
  if (width == 0 || height == 0) return Outcome::failure("The area is too small, or outside of the sensor.");
  shown = {left, top, left + width, top + height};
  settle();
  return Outcome::success();
}

double SimulatedRegisters::lightMicroseconds() const {
  const double exposure = (*this)[CameraRole::Exposure];
  if (!on(CameraRole::Strobe)) return exposure;
  return std::max(0.0, exposure + (*this)[CameraRole::StrobeEnd] - (*this)[CameraRole::StrobeStart]);
}

}  // namespace tarnvisor
