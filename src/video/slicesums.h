// The check sums that an FFV1 stream may carry, one behind each slice: the decoder notices a wrong one, puts
// the picture before in its place and tells nobody.
#pragma once

#include "ffmpeg/ffmpeghandles.h"

namespace tarnvisor {

class SliceSums {
 public:
  SliceSums() = default;
  explicit SliceSums(const AVCodecParameters& codec);
  // False where a packet of a stream that has sums doesn't agree with its own.
  bool fit(const AVPacket& packet);

 private:
  bool possible = false;
  bool seen = false;  // a packet had them
};

}  // namespace tarnvisor
