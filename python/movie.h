// Movies as Python has them.
#pragma once

#include <memory>
#include <string>

#include "bindings.h"
#include "movie/zzmovie.h"

namespace tarnvisor::python {

struct Movie {
  std::unique_ptr<CZZMovie> frames;  // null once it is closed
  double framesPerSecond = 0;
  std::string path;  // of the file with the frames
  std::string notes;
};

}  // namespace tarnvisor::python
