// The finger before a simulated camera: the one of synth/, at any moment of a time that goes on, and now and
// then drawn back from the field, or out of focus.
#pragma once

#include <span>
#include <vector>

#include "camera/simulatedcamera.h"
#include "synth/fingerblood.h"
#include "synth/fingercourse.h"
#include "synth/fingerscene.h"
#include "synth/movedrows.h"

namespace tarnvisor {

class SimulatedFinger {
 public:
  // Throws std::bad_alloc.
  explicit SimulatedFinger(const SimulatedCameraSettings& settings);

  // All of the finger's own; from any thread.
  SimulatedTruth truthAt(double seconds) const;

  // By one thread: a moment, and then rows of the sensor from the top down. The light that comes from each
  // pixel, about 1 from skin. Neither asks for memory.
  void begin(double seconds);
  void light(int32_t row, std::span<float> out);

 private:
  struct Moment {
    FrameTruth skin;
    double tissue;     // share of the rows
    int32_t edge = 0;  // row at which the finger begins
    int32_t tick = 0;
  };
  Moment momentAt(double seconds) const;
  double depth(const FingerSpells& spells, uint64_t stream, double seconds) const;

  SimulatedCameraSettings set;
  FingerVideoSettings finger;
  FingerCourse course;
  FingerScene scene;
  FingerBlood blood;
  MovedRows rows;
  std::vector<float> patterns;
  Moment shown{};
};

}  // namespace tarnvisor
