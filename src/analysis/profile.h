// Grey levels along paths that are drawn on an image. The points are the parent frame's, as marks are.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "image/zzimage.h"

namespace tarnvisor {

// The grey levels along a path through the points, from the first to the last, evenly and as near to one for
// each pixel of its length as that comes; of colour the weighted grey. What lies outside the image is left
// out.
std::vector<double> levelsAlong(const CZZimage& image, std::span<const Point> path);
// The length in pixels from the first of these levels to the last.
double lengthWithin(const CZZimage& image, std::span<const Point> path);

struct FineLevels {
  std::vector<double> levels;
  double apart = 1.0;  // pixels from one to the next
};
// As many levels, read between the pixels, each the mean over a stretch of so many pixels at right angles to
// the path. None where the path leaves the image.
FineLevels fineLevelsAlong(const CZZimage& image, std::span<const Point> path, int32_t across);

// A pixel's level, weighted where it has colours, at a frame row of the image itself. No bounds are checked.
double greyLevelAt(const CZZimage& image, Point at);
double greyOf(const uint8_t* blueGreenRed);

}  // namespace tarnvisor
