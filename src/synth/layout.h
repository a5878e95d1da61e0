// Where the capillaries of the simulated nailfold lie.
#pragma once

#include <vector>

#include "synth/nailfold.h"
#include "synth/vessel.h"

namespace tarnvisor {

struct PlacedCapillary {
  Vessel vessel;
  bool hairpin = false;
};

// By rows from the distal one down, in each from left to right. The boxes of any two are clearance apart in x
// or in y, and clearance away from the frame's border.
double clearanceOf(const NailfoldStill& still);
std::vector<PlacedCapillary> layOutCapillaries(const NailfoldStill& still);

// In pixels of the still's image.
NailfoldTruth truthOf(const NailfoldStill& still, const std::vector<PlacedCapillary>& capillaries,
                      const std::vector<DustSpeck>& dust);

}  // namespace tarnvisor
