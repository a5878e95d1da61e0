// What a line's rows need to know of the images that it is sampled in.
#pragma once

#include <string>

namespace tarnvisor {

struct ImageFacts {
  double xScale = 1.0, yScale = 1.0;  // units a pixel
  std::string unit;
  double period = 0.0;     // seconds from one image to the next
  bool areFields = false;  // each image is one
};

}  // namespace tarnvisor
