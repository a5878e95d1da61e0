// The check that a new sample of a signal is no artifact: three tests against limits and one value.
// Rejections in a row are counted from where a signal begins: the first and second act, the third is let
// through, so that a real step of the signal is followed after two samples. The count is one for the whole
// process unless a signal brings its own.
#pragma once

#include <cstdint>

namespace tarnvisor {

struct ArtifactSettings {
  enum Action : int32_t { kFixed = 0, kPrevious = 1, kOff = 2 };
  enum Mode : int32_t { kAbsolute = 0, kPercent = 1 };  // of the previous sample

  int32_t lowaction = kOff;
  float lowlimit = 0;
  int32_t lowmode = kAbsolute;
  int32_t highaction = kOff;
  float highlimit = 0;
  int32_t highmode = kAbsolute;
  int32_t equalaction = kOff;  // for a sample equal to fixedvalue
  double fixedvalue = 0;
};

struct ArtifactRun {
  int32_t rejections = 0;  // in a row
};
ArtifactRun& processArtifactRun();

// The tests in the order low, high, equal; the first that rejects decides. False: the sample has become
// fixedvalue. True: it has passed, and previous is it, or it has become previous. Without settings all pass.
bool artifactcheck(const ArtifactSettings* settings, double& previous, double& sample,
                   ArtifactRun& run = processArtifactRun());
void resetArtifactCount();  // the process's
// Replaces the settings; a limit that was in percent and no longer is resets the count.
void changeArtifactSettings(ArtifactSettings& held, const ArtifactSettings& fresh);

}  // namespace tarnvisor
