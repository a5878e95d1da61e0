#include "paddedplane.h"

#include <cstring>

#include "base/parallel.h"

namespace tarnvisor {

PaddedPlane::PaddedPlane(int32_t planeWidth, int32_t planeHeight, int32_t marginX, int32_t marginRows)
    : width(planeWidth), height(planeHeight), marginY(marginRows) {
  left = (static_cast<int64_t>(marginX) + 63) / 64 * 64;
  stride = (left + width + marginX + kSlack + 63) / 64 * 64;
  // Rows a power of two apart fall into the same few sets of the cache.
  if (stride % 512 == 0) stride += 64;
  block = hwy::AllocateAligned<uint8_t>(static_cast<size_t>(stride * (height + 2 * int64_t{marginY})));
  if (!block) return;
  uint8_t* end = block.get() + stride * (height + 2 * int64_t{marginY});
  std::memset(block.get(), 0, static_cast<size_t>(stride * marginY));
  std::memset(end - stride * marginY, 0, static_cast<size_t>(stride * marginY));
  for (int32_t y = 0; y < height; ++y) {
    std::memset(row(y) - left, 0, static_cast<size_t>(left));
    std::memset(row(y) + width, 0, static_cast<size_t>(stride - left - width));
  }
}

PaddedPlane::PaddedPlane(const CZZimage& image, int32_t marginX, int32_t marginRows)
    : PaddedPlane(image.width, image.height, marginX, marginRows) {
  if (!block) return;
  parallelFor(height, 512, [&](int64_t begin, int64_t end) {
    for (int64_t y = begin; y < end; ++y)
      std::memcpy(row(static_cast<int32_t>(y)), image.row(static_cast<int32_t>(y)),
                  static_cast<size_t>(width));
  });
}

}  // namespace tarnvisor
