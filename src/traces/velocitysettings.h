// The settings of velocities from Doppler spectra.
#pragma once

#include <cstdint>

namespace tarnvisor {

// How one velocity comes out of one Doppler spectrum, and the keys of the section "FLOcalcs".
struct VelocitySettings {
  int32_t cbvMethod = 0;      // a CbvMethod
  int32_t minThreshold = 50;  // floor of the mean power for kPercentPower; level of the pedestal cut
  int32_t threshOfAv2 = 30;   // percent of the noise's deviation added to its mean
  int32_t nOverThresh = 4;    // bins in a row over the threshold; 1 and below: the first decides
  int32_t loCutOff = 10;      // hertz; the live input drops what lies below
  int32_t noisefloorRC = 1;   // time constant in spectra; 0 counts as 1
  int32_t autonoise = 0;      // the threshold follows the noise
  int32_t ped1 = 10;          // slopes of the pedestal cut, up to a quarter,
  int32_t ped2 = 60;          // half
  int32_t ped3 = 90;          // and three quarters of the highest frequency
  int32_t keepDop = 1;        // kAutomatic works on a copy of the spectrum
  int32_t cutDopTop = 0;      // the spectrum is zeroed above the result
  int32_t fftWindow = 0;      // a kind of CFFTWindow
  int32_t fsLinkThreshold = 1;
  double fsThreshold = 0.5;  // of the full scale
  int32_t momentRows = 8;    // spectra that kFirstMoment averages at most; 1 for none
};

}  // namespace tarnvisor
