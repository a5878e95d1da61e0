// What a movie knows of one of its frames beside the pixels. The table of them is kept by the document, as it
// stands in memory: four little-endian words a frame.
#pragma once

#include <cstdint>
#include <vector>

#include "image/zzimage.h"

namespace tarnvisor {

struct FrameRecord {
  static constexpr uint32_t kUnknown = 0xFFFFFFFF;

  uint32_t number = kUnknown;
  int32_t interlace = -1;
  int32_t xOrigin = -1;
  int32_t yOrigin = -1;  // in frame rows: doubled for a field

  bool isKnown() const { return number != kUnknown; }
  static FrameRecord of(const CZZimage& image) {
    return {static_cast<uint32_t>(image.frameNumber), image.interlace, image.xOrigin, image.frameOrigin().y};
  }
  // An unknown record changes nothing.
  void applyTo(CZZimage& image) const {
    if (!isKnown()) return;
    image.frameNumber = static_cast<int32_t>(number);
    image.interlace = interlace >= 0 && interlace <= 2 ? interlace : 0;
    image.xOrigin = xOrigin;
    image.setYOrigin(yOrigin);
  }
};
static_assert(sizeof(FrameRecord) == 16);

using FrameTable = std::vector<FrameRecord>;

}  // namespace tarnvisor
