#include "portaudiosound.h"
#include "sound/pacedsound.h"
#include "sound/sounddriver.h"

namespace tarnvisor {

std::vector<SoundChoice> findSoundInputs() {
  std::vector<SoundChoice> all = findPortAudioInputs();
  all.push_back({kSimulatedSound, "Simulated flow"});
  return all;
}

std::unique_ptr<SoundDriver> openSoundInput(const std::string& id) {
  if (id == kSimulatedSound) return std::make_unique<PacedSound>(simulatedSound(), SoundPace::Clock);
  if (id.starts_with(kSoundFile))
    return std::make_unique<PacedSound>(soundFile(id.substr(std::string(kSoundFile).size())),
                                        SoundPace::Clock);
  return openPortAudioInput(id);
}

}  // namespace tarnvisor
