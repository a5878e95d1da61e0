// Any bytes as what a server answers to LIST.
#include "remote/ftplisting.h"

#include <cstdint>
#include <cstdlib>

using namespace tarnvisor;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const auto entries = parseFtpListing({reinterpret_cast<const char*>(data), size});
  size_t bytes = 0;
  for (const RemoteEntry& entry : entries) {
    bytes += entry.name.size();
    if (entry.name.empty() || entry.size < -1) std::abort();
  }
  if (bytes > size) std::abort();
  return 0;
}
