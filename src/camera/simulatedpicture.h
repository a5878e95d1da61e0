// What a simulated sensor makes of the light: grey levels.
#pragma once

#include <cstdint>
#include <vector>

#include "simulatedfinger.h"
#include "simulatedregisters.h"

namespace tarnvisor {

class SimulatedPicture {
 public:
  // Throws std::bad_alloc.
  explicit SimulatedPicture(const SimulatedCameraSettings& settings);

  // The area, rows without gaps, of the finger at that moment. Asks for no memory. Noise is the number's own.
  void draw(double seconds, const SimulatedRegisters& registers, int64_t number, uint8_t* out);

  const SimulatedFinger& finger() const { return skin; }

 private:
  void readRow(int32_t row, int32_t binning);
  const float* mirrored(const float* row, int32_t count);

  SimulatedCameraSettings set;
  SimulatedFinger skin;
  std::vector<float> noise;  // deviation 1
  std::vector<float> light;  // of one row of the picture
  std::vector<float> other;  // of a sensor row, or of one mirrored
};

}  // namespace tarnvisor
