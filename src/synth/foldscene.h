// What lies in a wide-field still, before light and camera: how its tissue is coloured, where loops stand and
// what their vessels are. In the finger's own frame, micrometres: u along the fold, v away from the nail,
// (0, 0) in the middle of the picture.
#pragma once

#include <vector>

#include "synth/widefield.h"

namespace tarnvisor {

struct FoldTissue {
  double row = 0, slope = 0, bend = 0;  // the distal row: v = row + slope u + bend u^2, u in millimetres
  double pale = 300, cuticle = 400;     // widths of the band and the strip distal of the row
  double onset = 0, rise = 500;         // where the red begins behind the row, and how far it rises
  double bed = 0.4;                     // blood in the bed: optical density of green
  double brown = 0.25;                  // pigment in the cuticle
  double stain = 0;                     // brown-red spots there
  double nailRed = 0;                   // 1: as red as the bed
  double skin = 0.35;                   // optical density of pale skin
  double glints = 10;
  bool glare = false, hair = false;
  double blur = 5, unevenBlur = 2;
  double light = 175;  // level of green on pale skin
  double noise = 2.5;
  double bloodRed = 0.25, bloodBlue = 0.9;  // optical density of blood, of that in green
  double dip = 0;                           // how far out of focus the ends of limbs are, micrometres
  double blotches = 0;                      // hues that change over the skin, optical density
  double colourNoise = 0;                   // levels, a few pixels wide
  double sharpened = 0;                     // by the camera
  double tint = 1;                          // how far the light's colour strays
  double turn = 0;                          // of the picture, in turns
  double rowAt(double u) const { return row + 1e-3 * slope * u + 1e-6 * bend * u * u; }
};

struct FoldVesselPoint {
  double u = 0, v = 0, radius = 0, density = 0;
  double deep = 0;  // share of it that lies out of focus
};
using FoldVessel = std::vector<FoldVesselPoint>;

struct PlacedLoop {
  double u = 0, v = 0, width = 0;
  bool faint = false;
};

struct FoldScene {
  FoldTissue tissue;
  std::vector<FoldVessel> vessels;
  std::vector<PlacedLoop> loops;           // of the distal row
  std::vector<FoldVesselPoint> bleedings;  // clouds
};

// Loops stand as far as `reach` from the middle.
FoldScene foldSceneOf(FoldKind kind, uint64_t seed, double reach);

}  // namespace tarnvisor
