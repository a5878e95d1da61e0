// Any bytes as the header of raw frames, of lines and of tags.
#include "movie/rawheader.h"

#include <cstdint>
#include <cstdlib>

using namespace tarnvisor;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  for (const bool xml : {false, true}) {
    RawHeader header;
    const Outcome parsed = parseRawHeader({reinterpret_cast<const char*>(data), size}, xml, header);
    if (header.text.size() != size) std::abort();
    if (bool(parsed) != parsed.why().empty()) std::abort();
    if (header.width < 1 || header.height < 1 || header.frames < 0) std::abort();
  }
  return 0;
}
