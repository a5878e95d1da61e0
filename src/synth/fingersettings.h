// What a simulated finger does before the camera, and what is known of each frame. Lengths are frame pixels,
// one pixel being one micrometre, so that velocities in um/s are pixels a second.
#pragma once

#include <cstdint>
#include <vector>

#include "synth/nailfold.h"

namespace tarnvisor {

// A number outside its range counts as the nearest bound.
struct FingerMovement {
  struct Jump {
    int32_t frame = 0;  // the first that shows it
    double dx = 0;      // of the skin; where it lies after all jumps so far is held to +-200 either way
    double dy = 0;
  };
  double tremor = 0.0;    // 0..20: sway either way, on each axis of its own
  double tremorHz = 8.0;  // 0..50
  double pulse = 0.0;     // 0..20: how far each heart beat moves the skin, to the upper right, and back
  double driftX = 0.0;    // -200..200 a second; the drift turns round where it has gone driftReach either way
  double driftY = 0.0;
  double driftReach = 40.0;  // 0..200
  std::vector<Jump> jumps;   // in any order
  // Jumps at moments left to chance, each to a place of its own up to jumpSize away on each axis.
  double jumpsPerMinute = 0.0;  // 0..600
  double jumpSize = 10.0;       // 0..100
};

// Columns of red cells with gaps of plasma between them, moving along each capillary.
struct FingerFlow {
  double velocity = 400.0;     // 0..20000 um/s: mean over time and capillaries
  double pulsatility = 0.0;    // 0..2: greatest less least velocity in a beat, of the mean (Gosling's index)
  double heartRate = 72.0;     // 20..300 beats a minute; a beat begins at frame 0
  double gapShare = 0.25;      // 0..0.95: mean share of a capillary's length that gaps take; 0: no gaps
  double columnLength = 40.0;  // 5..2000: mean
  double spread = 0.0;  // 0..0.9: a capillary's velocity differs from the mean by up to about this share
};

inline constexpr double kMostFingerFrames = 100000;  // a second

struct FingerVideoSettings {
  NailfoldStill still;            // with interlace 1 or 2, a video of fields; blurRadius up to 8 here
  double framesPerSecond = 60.0;  // 1..kMostFingerFrames; of fields, fields
  int32_t frames = 300;           // 1 and more: images that can be rendered
  FingerMovement movement;
  FingerFlow flow;
  double focusDrift = 0.0;  // 0..8: most Gaussian sigma that drifting out of focus adds (by squares)
  double flicker = 0.0;     // 0..1: most by which the light differs from its mean, of the mean
};

struct FrameTruth {
  int32_t frame = 0;
  double timeSeconds = 0;  // frame / framesPerSecond
  // Where the skin lies: what frame 0 shows at (x, y), this frame shows at (x + dx, y + dy), in frame rows
  // also for fields. Both 0 for frame 0.
  double dx = 0;
  double dy = 0;
  double light = 1;                // of the mean light
  double blur = 0;                 // Gaussian sigma of optics and focus together
  double velocity = 0;             // um/s at this moment, mean of all capillaries
  std::vector<double> velocities;  // of each capillary
};

}  // namespace tarnvisor
