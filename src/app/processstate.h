// What exists once in the process: the channels, modes and settings that all rooms read, set at start-up and
// fixed for the life of the process unless said otherwise.
#pragma once

#include <cstdint>
#include <string>

#include "traces/velocitysettings.h"

namespace tarnvisor {

class DocumentType;
class CView;

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
// What a profile without keys would give, for all that saveApplicationSettings writes but the recording
// folder.
void resetApplicationSettings(int32_t& expertMode, int32_t& fgMode);
// Reads again those that saveApplicationSettings writes.
void rereadApplicationSettings(int32_t& expertMode, int32_t& fgMode);
// Writes them back, but for the channels, showdb and the grey weights, which only people change.
void saveApplicationSettings(int32_t expertMode, int32_t fgMode);

}  // namespace tarnvisor
