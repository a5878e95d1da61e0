// What a simulated camera is set to: the value of each role, held to what the others allow.
#pragma once

#include <array>
#include <optional>
#include <vector>

#include "camera/cameradriver.h"

namespace tarnvisor {

class SimulatedRegisters {
 public:
  SimulatedRegisters(Size sensor, double mostFramesPerSecond, const std::vector<CameraRole>& without);

  bool has(CameraRole role) const { return present[static_cast<size_t>(role)]; }
  CameraRange range(CameraRole role) const;
  double operator[](CameraRole role) const { return values[static_cast<size_t>(role)]; }
  bool on(CameraRole role) const { return (*this)[role] != 0; }
  // To the nearest that there is. A new binning shows the whole sensor.
  void set(CameraRole role, double value);

  Size sensor() const;  // at the present binning
  const Rect& area() const { return shown; }
  Outcome setArea(const Rect& area);

  double lightMicroseconds() const;
  double framePeriod() const { return 1.0 / (*this)[CameraRole::FrameRate]; }  // seconds

 private:
  void hold(CameraRole role, double value);
  void settle();

  Size pixels;
  double mostFrames;
  Rect shown;
  std::array<bool, kCameraRoles> present;
  std::array<double, kCameraRoles> values{};
};

}  // namespace tarnvisor
