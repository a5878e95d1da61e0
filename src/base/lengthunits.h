// Units of length by the names that people and other programs give them.
#pragma once

#include <string_view>

namespace tarnvisor {

// The unit in micrometres, in whatever spelling and capitals ("um", "micron", "mm", "inch"...); 0 for a word
// that is no unit of length.
double micrometresOf(std::string_view unit);

// Of a pixel, in micrometres; 0 where nobody knows.
struct PixelSize {
  double x = 0, y = 0;

  bool isKnown() const { return x > 0 && y > 0; }
  PixelSize operator/(double times) const { return {x / times, y / times}; }
};

}  // namespace tarnvisor
