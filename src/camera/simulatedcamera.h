// A camera that is computed: the finger of synth/ before a sensor that answers as a real one does. Grey
// levels follow the light, with a dark level, noise and saturation; a setting takes frames to work; frames
// are lost, and the camera can vanish. Programs are tried with it, and tests measure with it: what each frame
// shows is known.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "camera/cameradriver.h"
#include "synth/fingersettings.h"

namespace tarnvisor {

// Times at which something happens to the finger, in seconds of the camera's own time.
struct FingerSpells {
  struct Spell {
    double begin = 0, seconds = 0;
  };
  std::vector<Spell> given;
  // As well, at moments left to chance: not within the first twelve seconds at one a minute.
  double perMinute = 0;
  double seconds = 4;  // each of these
};

// But for the first, frames arrive by the camera's own time, and all that they are is the same each time.
enum class CameraPace {
  Clock,   // at the frame rate, by the steady clock; without a free block the frame is lost
  Step,    // as step() asks, at no time of its own; without a free block the frame is lost
  Blocks,  // as fast as blocks come back; none is lost for want of one
};

struct SimulatedCameraSettings {
  Size sensor{1280, 1024};  // multiples of 8, 64..4096
  uint64_t seed = 1;        // of finger and noise
  double mostFramesPerSecond = 500;
  CameraPace pace = CameraPace::Clock;

  // The finger, in sensor pixels; a jump's frame counts hundred-thousandths of a second.
  FingerMovement movement{.tremor = 0.7, .pulse = 1.6, .driftX = 3.0, .driftY = -1.4};
  FingerFlow flow{.pulsatility = 1.2, .spread = 0.25};
  double focusDrift = 1.0;
  double flicker = 0;
  FingerSpells away{.given = {}, .perMinute = 1, .seconds = 4};     // no tissue before the camera
  FingerSpells blurred{.given = {}, .perMinute = 1, .seconds = 3};  // out of focus
  double spellBlur = 5;  // 0..8: Gaussian sigma that these add (by squares)

  // The sensor.
  double skinLight = 1200;  // microseconds of light, at a gain of 1, that bring skin to about 160
  double noise = 2;   // deviation at 128 and a gain of 1; goes with the square root of light and of gain
  int32_t delay = 1;  // 1..4: frames that still come as they were after a setting
  std::vector<CameraRole> without;
  int32_t losesEvery = 0;     // each so manieth frame is lost; 0: none
  int64_t vanishesAfter = 0;  // frames, counted from the opening on; 0: never
};

// What the frame of a counter showed. Lengths and places are those of the sensor: not binned, not mirrored.
// The frame is the counter, and the time the finger's, which rests while the camera is stopped.
struct SimulatedTruth : FrameTruth {
  double tissue = 1;              // share of the sensor's rows that show skin
  double lightMicroseconds = 0;   // of the strobe while it is on, else the exposure
  double exposure = 0, gain = 1;  // in force, as the next
  double framesPerSecond = 0;
  bool strobe = false;
  bool lost = false;  // it never reached the receiver
};

class SimulatedCamera : public CameraDriver {
 public:
  // Of the last frames since the start, some thousand of them. From any thread.
  virtual std::optional<SimulatedTruth> truthOf(int64_t counter) const = 0;
  // With CameraPace::Step: so many frames, and returns when the receiver took them, or they were lost.
  virtual void step(int32_t frames) = 0;
};

// The finger is made when the camera first starts.
std::unique_ptr<SimulatedCamera> openSimulatedCamera(const SimulatedCameraSettings& settings = {});

}  // namespace tarnvisor
