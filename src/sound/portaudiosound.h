// Sound inputs of the system, by PortAudio.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "sound/sounddriver.h"

namespace tarnvisor {

std::vector<SoundChoice> findPortAudioInputs();
// By its id; with an empty one the system's own choice.
std::unique_ptr<SoundDriver> openPortAudioInput(const std::string& id, std::string& why);

}  // namespace tarnvisor
