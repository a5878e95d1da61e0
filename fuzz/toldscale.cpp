// Any bytes as the description of a TIFF page, in which other programs tell its scale.
#include "image/toldscale.h"

#include <cstdlib>
#include <string>

using namespace tarnvisor;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  TiffWords words{4, 2, std::string(reinterpret_cast<const char*>(data), size), 4, 4};
  const ToldScale told = scaleOf(words);
  if (told.isTold() && !(isPixelSize(told.x) && isPixelSize(told.y))) std::abort();
  return 0;
}
