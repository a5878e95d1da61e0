// Tracing: from a seed in a dark vessel, everything that a flood under a local threshold can reach. The image
// is a grey one (one byte a pixel), or a view of one; coordinates are its own pixels.
#pragma once

#include <array>
#include <cstdint>

#include "base/geometry.h"
#include "image/zzimage.h"

namespace tarnvisor {

// Where the local threshold of a pixel is taken: half the window either way, right and bottom excluded, cut
// at the image's sides. On a field the window counts frame rows, two for each row of the image. A window
// below 2 is no window: it takes in the whole image; a negative one counts as its amount.
Rect traceWindow(const CZZimage& image, Point pixel, int32_t window);

// How often each grey level occurs in a rectangle that moves about a picture. A short move counts only what
// came in and what went out.
class SlidingLevels {
 public:
  // The picture must outlive this; grey.
  explicit SlidingLevels(const CZZimage& picture) : image(picture) {}
  // area: in the picture's own pixels, within it. The result lasts until the next call.
  const std::array<uint32_t, 256>& moveTo(const Rect& area);

 private:
  void change(const Rect& outer, const Rect& inner, uint32_t by);
  void count(const Rect& strip, uint32_t by);

  const CZZimage& image;
  Rect present;
  std::array<uint32_t, 256> counts{};
};

// Walks from the seed over all pixels that are not brighter than the threshold at their predecessor, which is
// the isodata threshold of the window around it; traced pixels become 0, all others keep their value. The
// seed is always traced. False, with nothing changed, for a seed outside, an image that isn't grey or without
// memory.
bool traceVessel(CZZimage& image, Point seed, int32_t window);

}  // namespace tarnvisor
