// Any bytes as a video file: opened, and some frames read out of order.
#include <cstdlib>
#include <vector>

#include "imagebytes.h"
#include "video/videoreader.h"

using namespace tarnvisor;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const BytesAsFile file(data, size);
  std::string why;
  const auto reader = VideoReader::open(file.path(), why);
  if (!reader != !why.empty()) std::abort();
  if (!reader) return 0;
  if (reader->frames() < 0 || reader->rate() < 1 || reader->scale() < 1) std::abort();
  const int64_t pixels = int64_t{reader->width()} * reader->height();
  if (pixels < 1 || pixels > 1 << 20) return 0;  // large frames only take time
  std::vector<uint8_t> frame(static_cast<size_t>(pixels) * 3);
  for (const int32_t i : {reader->frames() - 1, 0, 3, 2, 1, -1, reader->frames()}) {
    (void)reader->readGrey(i, frame.data(), reader->width());
    (void)reader->readColour(i, frame.data(), reader->width() * 3);
  }
  return 0;
}
