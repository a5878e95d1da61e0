// A private plane of bytes with a margin of zeros on all sides: what vector loops read, so that they need no
// test for the edges and may run past a row's end.
#pragma once

#include <hwy/aligned_allocator.h>

#include <cstdint>

#include "image/zzimage.h"

namespace tarnvisor {

class PaddedPlane {
 public:
  // Bytes that may be read past the right margin of any row.
  static constexpr int32_t kSlack = 64;

  // Not valid when there is no memory. The margins are zero, the inside is not set.
  PaddedPlane(int32_t width, int32_t height, int32_t marginX, int32_t marginY);
  // With the image's pixels inside.
  PaddedPlane(const CZZimage& image, int32_t marginX, int32_t marginY);
  bool valid() const { return block != nullptr; }

  // From -marginY to height + marginY - 1.
  uint8_t* row(int32_t y) { return block.get() + (y + marginY) * stride + left; }
  const uint8_t* row(int32_t y) const { return block.get() + (y + marginY) * stride + left; }

 private:
  int32_t width, height, marginY;
  int64_t left;    // of the first pixel in its row
  int64_t stride;  // a multiple of the vector size, off powers of two
  hwy::AlignedFreeUniquePtr<uint8_t[]> block;
};

// What the filters of this room can work on.
inline bool isFilterable(const CZZimage& image) { return !image.empty() && image.bytesPerPixel == 1; }

}  // namespace tarnvisor
