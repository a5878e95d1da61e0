// Spectra of simulated moving scatterers, and how far the velocities that a method finds in them are off.
#pragma once

#include <array>
#include <cmath>
#include <vector>

#include "synth/scatterers.h"
#include "traces/cbv.h"
#include "vectors/fft.h"
#include "vectors/fftwindow.h"

namespace tarnvisor {

struct DopplerCase {
  FlowProfile profile = FlowProfile::Plug;
  double noiseDecibels = -20;
  double meanBin = 20;
  bool noiseAlone = false;
  double threshold = 0;  // times the noise; 0 for the one that follows it
  int32_t window = 0;
  uint64_t seed = 1;
};

struct DopplerErrors {
  double ofMean = 0;                    // bins
  double withinOne = 0, withinTwo = 0;  // shares of the rows
  double read = 0;                      // share of the rows that gave a reading
};

// Rows of 256 bins, each some rows after the one before, as blocks come of a running input.
inline DopplerErrors dopplerErrors(int32_t method, const DopplerCase& flow, int rows = 300) {
  constexpr size_t kBins = 256, kSamples = 2 * kBins, kBetween = 4;
  constexpr int kSettling = 10;
  ScattererSettings set;
  set.profile = flow.profile;
  set.meanHertz = flow.meanBin * set.rate / kSamples;
  set.noiseDecibels = flow.noiseDecibels;
  set.deviation = flow.noiseAlone ? 0 : 1;
  set.scale = 8;
  set.seed = flow.seed;
  MovingScatterers sound(set);
  CFFT fft;
  fft.setup(kBins);
  NoiseFloor own;
  CbvAnalysis analysis;
  analysis.noise = &own;
  analysis.parameters.cbvMethod = method;
  analysis.parameters.autonoise = flow.threshold == 0;
  const double noisePower = kBins * set.scale * set.scale * std::pow(10.0, flow.noiseDecibels / 10);
  analysis.threshold = static_cast<int32_t>(flow.threshold * noisePower);
  CFFTWindow window;
  window.build(flow.window, kSamples);
  // The method of the highest frequency is right where it finds that.
  const bool ofHighest = method == kMaxFrequency && flow.profile == FlowProfile::Parabolic;
  const double truth = ofHighest ? 2 * flow.meanBin : flow.meanBin;
  std::vector<double> samples(kSamples * kBetween);
  DopplerErrors errors;
  for (int row = -kSettling; row < rows; ++row) {
    sound.fill(samples);
    window.apply(samples.data());
    fft.realpower(samples.data(), samples.data());
    const double found = cbvfind(analysis, std::span(samples).first(kBins));
    if (row < 0) continue;
    const double off = found - truth;
    errors.ofMean += off / rows;
    errors.withinOne += (std::abs(off) <= 1) / static_cast<double>(rows);
    errors.withinTwo += (std::abs(off) <= 2) / static_cast<double>(rows);
    errors.read += (found > 0) / static_cast<double>(rows);
  }
  errors.ofMean = std::abs(errors.ofMean);
  return errors;
}

}  // namespace tarnvisor
