// Any bytes as a WAV file.
#include <cstdlib>

#include "imagebytes.h"
#include "traces/traceimport.h"

using namespace tarnvisor;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const BytesAsFile file(data, size);
  const Imported read = importWav(file.path(), "x");
  if (read.failure.empty() == read.traces.empty()) std::abort();
  uint64_t samples = 0;
  for (const auto& trace : read.traces) samples += trace->size();
  if (samples > size) std::abort();
  return 0;
}
