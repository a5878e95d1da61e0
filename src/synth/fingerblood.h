// The blood in the capillaries of a simulated finger: how fast it goes in each, and what it darkens.
#pragma once

#include <span>
#include <vector>

#include "synth/fingerscene.h"
#include "synth/redcells.h"

namespace tarnvisor {

class FingerBlood {
 public:
  // The scene must outlive this. Throws std::bad_alloc.
  FingerBlood(const FingerVideoSettings& settings, const FingerScene& scene);  // within range

  std::span<const double> factors() const { return shares; }  // by capillary: its velocity, of the mean
  std::vector<double> velocities(double mean) const;          // by capillary

  // One capillary's pattern, at its place in a table of scene.patternSamples, when blood of the mean velocity
  // has moved by distance since frame 0. Asks for no memory.
  void darken(size_t capillary, double distance, double blur, std::span<float> table) const;

 private:
  const FingerScene& scene;
  std::vector<double> shares;
  std::vector<RedCells> cells;  // by capillary
};

}  // namespace tarnvisor
