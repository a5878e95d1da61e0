// Planes of the loop finder: a colour still resampled to a grid of micrometres, weighted blurs, turns.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <vector>

#include "analysis/workmemory.h"
#include "image/zzimage.h"

namespace tarnvisor {

struct LoopPlane {
  int32_t width = 0, height = 0;
  WorkVector<float> values;

  LoopPlane() = default;
  LoopPlane(int32_t w, int32_t h, float value = 0)
      : width(w), height(h), values(static_cast<size_t>(w) * static_cast<size_t>(h), value) {}
  // All 0; keeps its memory.
  void reset(int32_t w, int32_t h) {
    width = w;
    height = h;
    values.assign(static_cast<size_t>(w) * static_cast<size_t>(h), 0.0f);
  }
  float* row(int32_t y) { return values.data() + static_cast<size_t>(y) * static_cast<size_t>(width); }
  const float* row(int32_t y) const { return const_cast<LoopPlane*>(this)->row(y); }
  float at(int32_t x, int32_t y) const { return row(y)[x]; }
  bool has(int32_t x, int32_t y) const { return x >= 0 && y >= 0 && x < width && y < height; }
  // Between the pixels; the nearest edge outside.
  float between(double x, double y) const;
};

struct LoopColours {
  LoopPlane blue, green, red;
  double left = 0, top = 0;  // source pixels beside the grid
};
// So many source pixels for each of the grid, about the image's middle, so that a turned image has the same
// ones: areas are averaged, and what is enlarged is interpolated.
LoopColours resampledColours(const CZZimage& image, double pixels);

// Of each square of so many pixels what weight lets through, and the sum of the plane there. Squares lie
// about the middle, so that a turned plane has the same ones.
struct LoopCoarse {
  LoopPlane sum, weight;
  int32_t step = 1;
  int32_t left = 0, top = 0;  // pixels of the first squares that lie beside the plane
};
LoopCoarse coarsened(const LoopPlane& plane, const LoopPlane& weight, int32_t step);
// Separable, in place; nothing lies beyond the edges.
void blurSums(LoopPlane& plane, double sigma);
// Of what weight lets through, by sigma pixels; 0 where nothing is near.
LoopPlane blurredBroadly(const LoopPlane& plane, const LoopPlane& weight, double sigma);
void blurFinely(LoopPlane& plane, double sigma);

// A frame turned about the middle of the grid: x along the row, y away from the nail.
struct LoopTurn {
  double px = 0, py = 1;  // the step in the grid that leads away from the nail
  double fromX = 0, fromY = 0;
  int32_t toX = 0, toY = 0;
  int32_t width = 0, height = 0;
  double gridX(double x, double y) const { return fromX + py * (x - toX) + px * (y - toY); }
  double gridY(double x, double y) const { return fromY - px * (x - toX) + py * (y - toY); }
};
LoopTurn turnTo(double px, double py, int32_t width, int32_t height);
// What of a row of the frame lies in a grid of that size, half-open.
struct LoopSpan {
  int32_t first = 0, end = 0;
};
LoopSpan turnedSpan(const LoopTurn& turn, int32_t width, int32_t height, int32_t y);
struct Turned {
  const LoopPlane& from;
  LoopPlane& to;
};
// Interpolated, or of masks the nearest pixel; 0 outside. All of one size.
void turnAll(const LoopTurn& turn, std::initializer_list<Turned> smooth, std::initializer_list<Turned> masks);

}  // namespace tarnvisor
