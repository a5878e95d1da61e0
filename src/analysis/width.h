// The width of a vessel from the grey levels along a line across it: a dark trough between lighter skin.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "image/zzimage.h"

namespace tarnvisor {

// Where an edge lies: at a share of the rise from the bottom of the trough, where the rise is steepest, or
// beyond that, where it flattens out.
enum class WidthRule { Threshold, Edge, OuterEdge };
const char* nameOf(WidthRule rule);

// Section "capwidth".
struct WidthSettings {
  static constexpr int32_t kThreshold = 1, kEdge = 2, kOuterEdge = 3;
  int32_t method = kEdge;
  double pointOnRise = 0.9;
  int32_t subSample = 0;  // edges between the pixels; a width that can't be told is none

  void load();
  void store() const;
  // The numbers have one meaning for a line in an image and another for a line followed through a video. None
  // for a number that means nothing.
  std::optional<WidthRule> ruleInImage() const;
  std::optional<WidthRule> ruleAgainstTime() const;
};

struct VesselWidth {
  double width = 0;            // pixels along the line; below 1 where there is none
  double left = 0, right = 0;  // where the edges lie, pixels from the line's first point
};
// Of the vessel that a line of so many pixels' width crosses.
VesselWidth widthAlong(const CZZimage& image, std::span<const Point> line, int32_t lineWidth, WidthRule rule,
                       const WidthSettings& with);

}  // namespace tarnvisor
