// What doesn't change in the video of a simulated finger, made once: the skin at every focus it may be seen
// with, a list of the places that blood can darken, light and dust of the window, and a supply of noise.
//
// The canvas is the skin that the frame may come to show: the frame of number 0 lies marginX from its left
// and marginY from its top border, and skin that moves by (dx, dy) is seen by a frame moved the other way.
#pragma once

#include <span>
#include <vector>

#include "synth/fingercourse.h"
#include "synth/layout.h"
#include "synth/tissue.h"

namespace tarnvisor {

// Places beside each other on one row of the canvas that belong to one capillary.
struct BloodRun {
  int32_t x = 0;  // canvas
  int32_t count = 0;
  int32_t capillary = 0;
  size_t first = 0;  // index of the first place in arc and in absorption
};

// A capillary's moving pattern is worked out at samplesPerPixel along its middle line, from firstArc on.
struct PatternSpan {
  double firstArc = 0;
  size_t first = 0;  // index in a table for all capillaries
  size_t count = 0;
};

class FingerScene {
 public:
  static constexpr double samplesPerPixel = 2.0;
  static constexpr size_t noiseLength = 1u << 16;

  // Throws std::bad_alloc.
  FingerScene(const FingerVideoSettings& settings, const FingerCourse& course);  // within range

  // Two neighbouring stages of focus, and the second one's share, for a blur within range.
  struct Focus {
    size_t stage = 0;
    float share = 0;  // 0: the first stage alone, and there may be no second one
  };
  Focus focusOf(double blur) const;

  std::span<const BloodRun> runsOf(int32_t canvasRow) const;

  int32_t marginX = 0;
  int32_t marginY = 0;
  NailfoldStill canvas;                      // a still of the whole canvas
  std::vector<PlacedCapillary> capillaries;  // on the canvas
  std::vector<DustSpeck> dust;               // in the frame

  std::vector<double> stages;                  // Gaussian sigmas, ascending
  std::vector<Plane> skin;                     // canvas; by stage
  std::vector<std::vector<float>> absorption;  // by place; by stage
  std::vector<float> arc;                      // by place: in samples of its capillary's pattern
  std::vector<PatternSpan> patterns;           // by capillary
  size_t patternSamples = 0;                   // of all capillaries
  Plane window;                                // frame: grey level of skin of brightness 1, dust included
  std::vector<float> noise;  // grey levels, 0.5 for rounding included: noiseLength and a row more

 private:
  void findBlood();
  std::vector<size_t> listRuns(std::span<const int16_t> owners, const Plane& sharpest, const Plane& widest);
  void measurePatterns();
  void lightWindow(const NailfoldStill& still);

  std::vector<BloodRun> runs;
  std::vector<size_t> firstRun;  // by canvas row, and the end
};

}  // namespace tarnvisor
