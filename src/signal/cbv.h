// One capillary blood velocity (CBV) out of one Doppler spectrum: the parameters, and the methods. A spectrum
// is a row of n powers, bin 0 of no frequency; results are bins.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace tarnvisor {

enum CbvMethod : int32_t {
  kMaxFrequency = 0,
  kPeakFrequency = 1,
  kPercentPower = 2,
  kAverageSpeed = 3,
  kAutomatic = 4
};

// Section `FLOcalcs` of the profile, one key a field.
struct CbvParameters {
  int32_t cbvMethod = kMaxFrequency;
  int32_t minThreshold = 50;  // floor of the mean power for kPercentPower; level of the pedestal cut
  int32_t threshOfAv2 = 30;   // percent of the noise's deviation added to its mean
  int32_t nOverThresh = 4;    // bins in a row over the threshold; 1 and below: the first decides
  int32_t LoCutOff = 10;
  double noisefloorRC = 1;  // time constant in spectra; 0 counts as 1
  int32_t autonoise = 0;
  int32_t ped1 = 10;  // slopes of the pedestal cut, up to a quarter,
  int32_t ped2 = 60;  // half
  int32_t ped3 = 90;  // and three quarters of the highest frequency
  int32_t keepDop = 1;
  int32_t cutDopTop = 0;
  int32_t FFTwindow = 0;
  int32_t FSlinkthreshold = 1;
  double FSthreshold = 0.5;

  void readSettings();  // a missing key gives the default
  void saveSettings() const;
};

inline constexpr double kDefaultDopplerScale = 0.00029239766081871346;

// What a document keeps for the analysis of its spectra.
struct CbvAnalysis {
  CbvParameters parameters;
  int32_t threshold = 200;
  std::vector<double> copy;  // room for kAutomatic, kept from spectrum to spectrum
};

// By the method in force; a method that there isn't gives 0. With autonoise the threshold follows first. The
// spectrum changes with cutDopTop, and by kAutomatic without keepDop.
double cbvfind(CbvAnalysis& analysis, std::span<double> spectrum);

// The noise floor over the top 16 bins, fewer in a shorter row; held for the whole process, so it follows
// from spectrum to spectrum.
double autothreshold(const CbvParameters& parameters, std::span<const double> spectrum);
void resetNoiseFloor();

// The topmost of the first nOverThresh bins in a row that lie above the threshold, from the top; 0 for none.
int32_t maxfrequency(const CbvParameters& parameters, std::span<double> spectrum, double threshold,
                     bool peak);
double percentpower(const CbvParameters& parameters, std::span<const double> spectrum, double percent);
double averagespeed(std::span<const double> spectrum, double threshold);
int32_t automatic(CbvAnalysis& analysis, std::span<double> spectrum);

// Weighs the bins below three quarters of the highest frequency by three slopes, and zeroes those above it;
// the result is its bin + 1. Without one all is zeroed, and the result 0. The second slope begins where the
// first ends; the third begins at (ped2 + ped3) percent, above the end of the second at (ped1 + ped2).
int32_t pedestalcut(const CbvParameters& parameters, std::span<double> spectrum, double level);
// A bin more than factor times both its neighbours becomes their mean; from bin 2 on, upwards, in place.
void spikecut(std::span<double> spectrum, double factor);

}  // namespace tarnvisor
