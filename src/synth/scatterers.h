// Simulated moving scatterers: the sound of a laser Doppler instrument over blood whose mean speed is known.
// Every scatterer is seen for a moment and beats at its own frequency: in plug flow all at the mean, in
// parabolic flow evenly spread from rest to twice the mean. White noise lies below, so much weaker.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "synth/random.h"

namespace tarnvisor {

enum class FlowProfile { Plug, Parabolic };

struct ScattererSettings {
  FlowProfile profile = FlowProfile::Parabolic;
  double meanHertz = 1000;     // frequency shift of the mean speed
  double rate = 48000;         // samples a second
  double deviation = 1;        // of the signal, without noise; 0 for noise alone
  double noiseDecibels = -20;  // power of the noise, against a signal of deviation 1 times `scale`
  double scale = 1;            // of both
  int32_t scatterers = 60;
  uint64_t seed = 1;
};

class MovingScatterers {
 public:
  explicit MovingScatterers(const ScattererSettings& settings);
  // The samples that follow.
  void fill(std::span<double> samples);
  void setMean(double hertz) { set.meanHertz = hertz; }  // from the next sample on

 private:
  struct Scatterer {
    double speed = 0;  // of the mean
    double turns = 0;
    double stay = 1, seen = 0;  // seconds
  };
  void renew(Scatterer& scatterer);

  ScattererSettings set;
  Random random, noise;
  double noiseDeviation = 0;
  std::vector<Scatterer> all;
};

}  // namespace tarnvisor
