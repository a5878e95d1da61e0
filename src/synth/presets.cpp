#include "synth/fingervideo.h"
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

FingerVideo::Settings flowingFinger(uint64_t seed) {
  FingerVideo::Settings video;
  video.still = {.width = 640,
                 .height = 480,
                 .rows = 3,
                 .capillariesPerRow = 5,
                 .loopWidth = 46.0,
                 .loopLength = 190.0,
                 .vesselWidth = 14.0,
                 .texture = 1.3,
                 .noiseSigma = 2.0,
                 .seed = seed};
  video.flow.spread = 0.25;
  return video;
}

FingerVideo::Settings pulsingFinger(uint64_t seed) {
  FingerVideo::Settings video = flowingFinger(seed);
  video.flow.pulsatility = 1.2;
  return video;
}

FingerVideo::Settings shakingFinger(uint64_t seed) {
  FingerVideo::Settings video = pulsingFinger(seed);
  video.still.dustSpecks = 9;
  video.movement.tremor = 0.7;
  video.movement.pulse = 1.6;
  video.movement.driftX = 3.0;
  video.movement.driftY = -1.4;
  video.movement.jumps = {{95, 11.0, -7.0}, {210, -18.5, 3.5}};
  video.focusDrift = 1.8;
  video.flicker = 0.05;
  return video;
}

}  // namespace tarnvisor
