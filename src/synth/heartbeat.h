// One heart beat as the blood in a capillary feels it: a quick rise to systole, then a fall in two steps
// without a second peak. Phases are 0..1 of a beat. Polynomials alone, so the integral is exact and the bits
// are the same everywhere.
#pragma once

#include <algorithm>

#include "synth/random.h"

namespace tarnvisor {

inline constexpr double kSystole = 0.18;        // the phase of the greatest value
inline constexpr double kQuickFallEnd = 0.55;   // the phase at which the quick part of the fall is over
inline constexpr double kQuickFallShare = 0.6;  // of the whole fall
inline constexpr double kMeanOfBeat = 0.365;    // of beatShape, which is beatArea(1)

// 0 at both ends of a beat, 1 at systole.
inline double beatShape(double phase) {
  if (phase < kSystole) return smoothStep(phase / kSystole);
  const double quick = smoothStep(std::min(1.0, (phase - kSystole) / (kQuickFallEnd - kSystole)));
  return 1 - kQuickFallShare * quick -
         (1 - kQuickFallShare) * smoothStep((phase - kSystole) / (1 - kSystole));
}

// The integral of beatShape from 0 to the phase.
inline double beatArea(double phase) {
  const auto stepArea = [](double t) { return t * t * t * (1.0 - 0.5 * t); };  // of smoothStep
  if (phase < kSystole) return kSystole * stepArea(phase / kSystole);
  const double fall = phase - kSystole;
  const double quickLength = kQuickFallEnd - kSystole;
  const double quick =
      quickLength * stepArea(std::min(1.0, fall / quickLength)) + std::max(0.0, phase - kQuickFallEnd);
  const double slow = (1 - kSystole) * stepArea(fall / (1 - kSystole));
  return 0.5 * kSystole + fall - kQuickFallShare * quick - (1 - kQuickFallShare) * slow;
}

}  // namespace tarnvisor
