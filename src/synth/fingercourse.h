// How the skin, the light, the focus and the blood of a simulated finger go on in time: a function of the
// frame's number alone.
#pragma once

#include <array>

#include "synth/fingersettings.h"

namespace tarnvisor {

// Every number at the nearest bound of its range; the still's too.
FingerVideoSettings withinRange(FingerVideoSettings settings);

class FingerCourse {
 public:
  explicit FingerCourse(const FingerVideoSettings& settings);  // within range

  // All but the velocities of the single capillaries. Frames below 0 are as frame 0.
  FrameTruth at(int32_t frame) const;
  // um that blood of the mean velocity has moved since frame 0.
  double distance(int32_t frame) const;

  // No frame's dx, dy goes further than this either way.
  double reachX() const { return reach[0]; }
  double reachY() const { return reach[1]; }
  double largestBlur() const;

 private:
  struct Place {
    double x = 0;
    double y = 0;
  };
  double beats(int32_t frame) const;
  double tremor(size_t axis, double seconds) const;
  Place jumped(int32_t frame) const;
  Place jumpedByChance(double seconds) const;
  Place chanceTarget(int64_t interval) const;
  double light(int32_t frame, double seconds) const;

  FingerVideoSettings set;
  std::vector<FingerMovement::Jump> places;  // by frame: where the jumps so far have led
  std::array<std::array<double, 3>, 2> tremorPhases{};
  double flickerPhase = 0;
  std::array<double, 2> reach{};
};

}  // namespace tarnvisor
