// One capillary blood velocity (CBV) out of one Doppler spectrum. A spectrum is a row of n powers, bin 0 of
// no frequency; results are bins.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "traces/velocitysettings.h"

namespace tarnvisor {

enum CbvMethod : int32_t {
  kMaxFrequency = 0,
  kPeakFrequency = 1,
  kPercentPower = 2,
  kAverageSpeed = 3,
  kAutomatic = 4,
  kFirstMoment = 5
};

inline constexpr double kDefaultDopplerScale = 0.00029239766081871346;

// The noise floor that follows from spectrum to spectrum. One is the process's; a signal may bring its own,
// so that two can be followed side by side.
struct NoiseFloor {
  double held = 0;
};
NoiseFloor& processNoiseFloor();

// What kFirstMoment keeps from spectrum to spectrum, and what it found beside the mean.
struct MomentState {
  std::vector<double> average;
  double share = 1;   // of the variance of one spectrum that is left in the average
  double rows = 1;    // spectra that the next average is taken over
  double spread = 0;  // bins: the deviation of frequencies about the mean
};

// What a document keeps for the analysis of its spectra.
struct CbvAnalysis {
  VelocitySettings parameters;
  int32_t threshold = 200;
  std::vector<double> copy;  // room for kAutomatic, kept from spectrum to spectrum
  NoiseFloor* noise = &processNoiseFloor();
  MomentState moment = {};
  void beginSignal();  // nothing that other spectra left counts any more
};

// Hertz of a result in bins, in a row of so many that reaches to the extent: the one factor between the two.
inline double shiftOfBins(double bins, double extent, size_t width) {
  return bins * extent / static_cast<double>(width);
}

// By the method in force; a method that there isn't gives 0. With autonoise the threshold follows first. The
// spectrum changes with cutDopTop, and by kAutomatic without keepDop.
double cbvfind(CbvAnalysis& analysis, std::span<double> spectrum);

// The noise floor over the top 16 bins, fewer in a shorter row; it follows from spectrum to spectrum, and a
// walk over stored ones begins with a reset.
double autothreshold(const VelocitySettings& parameters, std::span<const double> spectrum,
                     NoiseFloor& noise = processNoiseFloor());
void resetNoiseFloor();  // the process's

// The topmost of the first nOverThresh bins in a row that lie above the threshold, from the top; 0 for none.
int32_t maxfrequency(const VelocitySettings& parameters, std::span<double> spectrum, double threshold,
                     bool peak);
double percentpower(const VelocitySettings& parameters, std::span<const double> spectrum, double percent);
double averagespeed(std::span<const double> spectrum, double threshold);
int32_t automatic(CbvAnalysis& analysis, std::span<double> spectrum);
// The mean frequency of the power above the noise, as the quietest quarter of the bins shows it, over the
// bins between the first and the last that stand out of it. The power is averaged over as many spectra as the
// mean needs to be sure to a bin, momentRows at most: few for slow flow or of one speed. 0 where nothing
// stands out: noise alone gives no reading.
double firstmoment(CbvAnalysis& analysis, std::span<const double> spectrum);

// Weighs the bins below three quarters of the highest frequency by three slopes, and zeroes those above it;
// the result is its bin + 1. Without one all is zeroed, and the result 0. The second slope begins where the
// first ends; the third begins at (ped2 + ped3) percent, above the end of the second at (ped1 + ped2).
int32_t pedestalcut(const VelocitySettings& parameters, std::span<double> spectrum, double level);
// A bin more than factor times both its neighbours becomes their mean; from bin 2 on, upwards, in place.
void spikecut(std::span<double> spectrum, double factor);

}  // namespace tarnvisor
