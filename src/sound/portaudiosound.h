// Sound inputs of the system, by PortAudio.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "sound/sounddriver.h"

namespace tarnvisor {

std::vector<SoundChoice> findPortAudioInputs();
// By its id; with an empty one the system's own choice. One that isn't there can't be opened.
std::unique_ptr<SoundDriver> openPortAudioInput(const std::string& id);

}  // namespace tarnvisor
