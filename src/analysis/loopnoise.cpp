#include "analysis/loopnoise.h"

#include <algorithm>
#include <cmath>

namespace tarnvisor {

namespace {

// Micrometres: before the curve and behind it, and what is broader than loops are.
constexpr double kBefore = 48, kBehind = 400, kBroad = 40;

// Sums of two variables and their products.
struct Moments {
  double n = 0, x = 0, y = 0, xx = 0, xy = 0, yy = 0;
  void take(double a, double b) { n += 1, x += a, y += b, xx += a * a, xy += a * b, yy += b * b; }
  // Of y about the line that fits best.
  double residual() const {
    if (n < 3) return 0;
    const double sx = xx - x * x / n, sxy = xy - x * y / n, sy = yy - y * y / n;
    return sx > 0 ? std::sqrt(std::max(0.0, sy - sxy * sxy / sx) / n) : 0;
  }
};

// On a grid half as fine, without what is broad.
LoopCoarse detailsOf(const LoopPlane& plane, const LoopPlane& weight, double grid) {
  LoopCoarse coarse = coarsened(plane, weight, 2);
  LoopPlane there = coarse.weight;
  for (size_t i = 0; i < there.values.size(); ++i) {
    coarse.sum.values[i] /= std::max(coarse.weight.values[i], 1.0f);
    there.values[i] = coarse.weight.values[i] > 0 ? 1.0f : 0.0f;
  }
  const LoopPlane broad = blurredBroadly(coarse.sum, there, kBroad / (2 * grid));
  for (size_t i = 0; i < there.values.size(); ++i) coarse.sum.values[i] -= broad.values[i];
  return coarse;
}

}  // namespace

double colourNoise(const LoopFrame& frame, const LoopRow& row) {
  const LoopCoarse dark = detailsOf(frame.darkness, frame.weight, frame.grid);
  const LoopCoarse red = detailsOf(frame.redness, frame.weight, frame.grid);
  Moments moments;
  for (int32_t x = 0; x < dark.sum.width; ++x) {
    const size_t column = std::min(2 * static_cast<size_t>(x), row.seen.size() - 1);
    if (!row.seen[column]) continue;
    const auto line = [&](double micrometres) {
      return static_cast<int32_t>((row.curve[column] + micrometres / frame.grid) / 2);
    };
    for (int32_t y = std::max(0, line(-kBefore)); y < std::min(dark.sum.height, line(kBehind)); ++y)
      if (dark.weight.at(x, y) >= 4) moments.take(dark.sum.at(x, y), red.sum.at(x, y));
  }
  return moments.residual() / (kRedOfBlood * frame.unit);
}

}  // namespace tarnvisor
