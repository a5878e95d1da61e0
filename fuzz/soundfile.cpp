// Any bytes as a WAV file that the velocity input plays.
#include <array>
#include <cstdlib>

#include "imagebytes.h"
#include "sound/pacedsound.h"

using namespace tarnvisor;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const BytesAsFile file(data, size);
  const auto source = soundFile(file.path());
  std::array<int16_t, 1024> samples;
  uint64_t read = 0;
  if (source->open(48000, 0))
    while (const size_t got = source->read(samples)) read += got;
  if (2 * read > size) std::abort();
  return 0;
}
