// The demonstration's videos: simulated fingers whose flow and movement are known.
#pragma once

#include <string>

#include "base/outcome.h"
#include "synth/fingervideo.h"

namespace tarnvisor {

struct DemonstrationVideo {
  const char* name;  // of its files in the exam's folder: .dtv, .mve, -truth.csv and -capillaries.csv
  const char* about;
  FingerVideo::Settings (*make)(uint64_t seed);
};
inline constexpr DemonstrationVideo kDemonstrationVideos[] = {
    {"flow", "red cells at a constant velocity, skin at rest", flowingFinger},
    {"shake", "pulsing flow; skin that sways, drifts and jumps", shakingFinger},
};
inline constexpr int32_t kDemonstrationImages = 120;

// Renders it into a movie and a video document around that, with its tables of truth beside. Images that are
// there already are written over.
Outcome saveDemonstrationVideo(const DemonstrationVideo& video, const std::string& folder);

// What the table of truth says of the whole video, in words.
std::string knownOf(const std::string& folder, const DemonstrationVideo& video);

}  // namespace tarnvisor
