// What exists once in the process: the channels, modes and settings that all rooms read, set at start-up and
// fixed for the life of the process unless said otherwise.
#pragma once

#include <cstdint>
#include <string>

namespace tarnvisor {

class DocumentType;
class CView;

// How one velocity comes out of one Doppler spectrum, and the keys of the section "FLOcalcs".
struct VelocitySettings {
  int32_t cbvMethod = 0;      // a CbvMethod
  int32_t minThreshold = 50;  // floor of the mean power for kPercentPower; level of the pedestal cut
  int32_t threshOfAv2 = 30;   // percent of the noise's deviation added to its mean
  int32_t nOverThresh = 4;    // bins in a row over the threshold; 1 and below: the first decides
  int32_t loCutOff = 10;
  int32_t noisefloorRC = 1;  // time constant in spectra; 0 counts as 1
  int32_t autonoise = 0;     // the threshold follows the noise
  int32_t ped1 = 10;         // slopes of the pedestal cut, up to a quarter,
  int32_t ped2 = 60;         // half
  int32_t ped3 = 90;         // and three quarters of the highest frequency
  int32_t keepDop = 1;       // kAutomatic works on a copy of the spectrum
  int32_t cutDopTop = 0;     // the spectrum is zeroed above the result
  int32_t fftWindow = 0;     // a kind of CFFTWindow
  int32_t fsLinkThreshold = 1;
  double fsThreshold = 0.5;  // of the full scale
};

struct ProcessState {
  int32_t floEnabled = 0;        // the velocity input channel is configured
  int32_t tarnvisorEnabled = 1;  // the image channel is configured
  int32_t vivocapEnabled = 1;    // the dynamic channel is configured
  int32_t cytoMode = 0;          // read as an alternative to vivocapEnabled; set to 0 at start
  int32_t flo1Available = 0;     // the velocity input's hardware initialised
  int32_t fgAvailable = 0;       // the live camera type exists
  int32_t batchMode = 0;         // the command that finishes saves its document and closes the program
  int32_t quietMode = 0;         // commands take their stored parameters and show no dialog
  int32_t dustMaskEnabled = 0;

  VelocitySettings velocity;
  int32_t direct2disc = 1;
  int32_t triggermovie = 0;
  std::string recordDir;
  std::string baseName;

  // Null while the type is off: whoever uses one tests for that.
  DocumentType* imageTemplate = nullptr;
  DocumentType* liveTemplate = nullptr;
  DocumentType* videoTemplate = nullptr;
  DocumentType* cytoTemplate = nullptr;
  DocumentType* reviewTemplate = nullptr;
  DocumentType* profileTemplate = nullptr;
  DocumentType* resultTemplate = nullptr;
  DocumentType* xyChartTemplate = nullptr;
  DocumentType* dimTemplate = nullptr;
  DocumentType* flo1Template = nullptr;
  DocumentType* linescanTemplate = nullptr;
  DocumentType* fcfTemplate = nullptr;

  CView* autoLoadView = nullptr;  // receives the files that other programs ask to load
  uint32_t wmFreezeSave = 0;
  uint32_t wmAutoLoad = 0;

  bool dynamicChannel() const { return vivocapEnabled || cytoMode; }
};

extern ProcessState process;

// The application-wide keys. Logging is switched on in the middle of reading, after the velocity keys.
void readApplicationSettings(int32_t& expertMode, int32_t& showDb, int32_t& fgMode);
// Reads again those that saveApplicationSettings writes.
void rereadApplicationSettings(int32_t& expertMode, int32_t& fgMode);
// Writes them back, but for the channels, showdb and the grey weights, which only people change.
void saveApplicationSettings(int32_t expertMode, int32_t fgMode);

}  // namespace tarnvisor
