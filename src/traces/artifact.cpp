#include "traces/artifact.h"

namespace tarnvisor {

namespace {

constexpr int32_t kLetThrough = 3;
ArtifactRun rejectionsInARow;

double limitOf(float limit, int32_t mode, double previous) {
  return mode == ArtifactSettings::kPercent ? limit * previous * 0.01 : limit;
}

// The action of the first test that rejects; kOff when none does.
int32_t actionFor(const ArtifactSettings& settings, double previous, double sample) {
  const auto isOn = [](int32_t action) {
    return action == ArtifactSettings::kFixed || action == ArtifactSettings::kPrevious;
  };
  if (isOn(settings.lowaction) && sample < limitOf(settings.lowlimit, settings.lowmode, previous))
    return settings.lowaction;
  if (isOn(settings.highaction) && sample > limitOf(settings.highlimit, settings.highmode, previous))
    return settings.highaction;
  if (isOn(settings.equalaction) && sample == settings.fixedvalue) return settings.equalaction;
  return ArtifactSettings::kOff;
}

bool pass(double& previous, double sample, ArtifactRun& run) {
  run.rejections = 0;
  previous = sample;
  return true;
}

bool turnedAbsolute(int32_t before, int32_t now) {
  return before == ArtifactSettings::kPercent && now != ArtifactSettings::kPercent;
}

}  // namespace

ArtifactRun& processArtifactRun() { return rejectionsInARow; }

bool artifactcheck(const ArtifactSettings* settings, double& previous, double& sample, ArtifactRun& run) {
  if (!settings) return pass(previous, sample, run);
  const int32_t action = actionFor(*settings, previous, sample);
  if (action == ArtifactSettings::kOff || ++run.rejections >= kLetThrough) return pass(previous, sample, run);
  const bool takesPrevious = action == ArtifactSettings::kPrevious;
  sample = takesPrevious ? previous : settings->fixedvalue;
  return takesPrevious;
}

void resetArtifactCount() { rejectionsInARow = {}; }

void changeArtifactSettings(ArtifactSettings& held, const ArtifactSettings& fresh) {
  if (turnedAbsolute(held.lowmode, fresh.lowmode) || turnedAbsolute(held.highmode, fresh.highmode))
    resetArtifactCount();
  held = fresh;
}

}  // namespace tarnvisor
