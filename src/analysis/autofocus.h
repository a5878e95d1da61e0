// autofocuscontrol: how sharp an image is, and a search for the position of a focus drive where it is
// sharpest. Sharp walls of vessels are steep, and narrow on their ground: the measures grow with both.
#pragma once

#include <cstdint>

#include "base/geometry.h"
#include "base/goldensection.h"
#include "image/zzimage.h"

namespace tarnvisor {

class autofocuscontrol {
 public:
  // The measures of `method`.
  enum Method : int32_t { kGradient = 1, kRowPeaks = 2, kPeaks = 4, kAllMethods = 7 };

  // Section "autofocuscontrol"; a key that is missing gives the value of a new control.
  void loadSettings();
  void storeSettings() const;

  // Where the measures look, in the parent frame: `box`, or, as long as that is empty, the middle of the
  // image wherever it lies, `boxFraction` of its width and height. One without area stands for the whole
  // image.
  Rect boxOf(const CZZimage& image) const;
  // Sets `focus`, and gives it, unless `on` is 0 or `method` names no measure: then the one before stays. Of
  // colours it is that of their grey. 0 for an image that the box doesn't lie in.
  double measureFocus(const CZZimage& image);

  // Both give the position to go to next, in `position` too. At the end it is the one just tried.
  int32_t searchStart(int32_t low, int32_t high) { return position = search.start(low, high); }
  int32_t searchStep(double value) { return position = search.step(value); }

  Rect box;
  double boxFraction = 0.5;
  uint8_t on = 1;
  double focus = 0;
  double best = 100.0;
  int32_t position = 0;
  int32_t minStep = 0;
  int32_t maxStep = 4096;
  double focusGain = 1;
  // How far apart the pixels are that kRowPeaks and kPeaks compare. Where the box lies nearer to an edge,
  // they give 0.
  int32_t gap = 30;
  int32_t noise = 1;           // differences up to it don't count
  int32_t method = kRowPeaks;  // a sum of measures, of which the highest counts
  double hyst = 0.9;
  double focusness = 4.0;
  int32_t refocusN = 30;
  int32_t refocusStep = 8000;
  GoldenSection search{.tolerance = 500, .low = -32512, .high = 32512};
};

// One for the process: that of the camera, of the figure that image views show, and of composites.
extern autofocuscontrol focusControl;

}  // namespace tarnvisor
