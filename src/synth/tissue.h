// What surrounds the capillaries in the simulated nailfold: skin, light, focus and dust.
#pragma once

#include <span>
#include <vector>

#include "synth/nailfold.h"
#include "synth/vessel.h"

namespace tarnvisor {

// Smooth random hills: random heights on a lattice of cells, blended between. Heights are -1..1.
class ValueNoise {
 public:
  ValueNoise(uint64_t seed, uint64_t stream, double cellWidth, double cellHeight);
  double at(double x, double y) const;
  // Adds amplitude times the height at (0, y), (1, y), ... to a row.
  void addTo(std::span<float> row, double y, double amplitude) const;

 private:
  double corner(int64_t column, int64_t line) const;
  uint64_t key;
  double width;
  double height;
};

// How brightly the skin shines in each place of the frame, about 1: mottling, creases, grain, the bright edge
// of the cuticle, and veins that shimmer through. Without light, focus and capillaries.
Plane skinOf(const NailfoldStill& still);

// The light's share at a place of the frame: 1 on average without vignette.
double lightAt(const NailfoldStill& still, double x, double y);

// What one colour of light meets: how brightly skin throws it back, and how much of it blood takes, both as
// shares of what the grey camera with its green light sees.
struct Channel {
  double skin;
  double blood;
};
std::span<const Channel> channelsOf(const NailfoldStill& still);  // one; or blue, green and red

// Gaussian blur in place; the border pixel stands for all beyond it. A sigma under 0.3 does nothing.
void blur(Plane& plane, double sigma);

// Specks in frame coordinates, and what they let through (1 where there is none).
std::vector<DustSpeck> scatterDust(const NailfoldStill& still);
void drawDust(const NailfoldStill& still, const std::vector<DustSpeck>& dust, Plane& transmission);

}  // namespace tarnvisor
