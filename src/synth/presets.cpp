#include "synth/nailfold.h"

namespace tarnvisor {

NailfoldStill goodNailfold(uint64_t seed) { return {.seed = seed}; }

NailfoldStill denseNailfold(uint64_t seed) { return {.rows = 7, .densityPerMm2 = 70.0, .seed = seed}; }

// Where capillaries have been lost, the ones that are left grow wide.
NailfoldStill sparseNailfold(uint64_t seed) {
  return {.rows = 3,
          .densityPerMm2 = 18.0,
          .loopWidth = 62.0,
          .loopLength = 190.0,
          .vesselWidth = 20.0,
          .contrast = 0.5,
          .seed = seed};
}

NailfoldStill colourNailfold(uint64_t seed) { return {.colour = true, .seed = seed}; }

NailfoldStill fieldNailfold(uint64_t seed) { return {.interlace = 1, .seed = seed}; }

NailfoldStill dimNailfold(uint64_t seed) {
  return {.contrast = 0.36,
          .brightness = 60.0,
          .illuminationGradient = 0.4,
          .vignette = 0.35,
          .noiseSigma = 6.0,
          .seed = seed};
}

NailfoldStill dustyNailfold(uint64_t seed) { return {.blurRadius = 7.0, .dustSpecks = 45, .seed = seed}; }

}  // namespace tarnvisor
