// Paints the part of an image that a window shows, stretched by the zoom through the image's palette: nearest
// pixel when larger, the same when smaller. Keeps what it painted, so that only what changed is made again.
#pragma once

#include <cstdint>
#include <vector>

#include "host/canvas.h"
#include "image/zzimage.h"

namespace tarnvisor {

class PicturePainter {
 public:
  // The image changed: its pixels, size or palette.
  void invalidate() { valid = false; }
  // Draws the image's part that lies in the window, whose top left shows the scroll position.
  void paint(Canvas& canvas, CZZimage& image, int32_t zoomnum, int32_t zoomden, Point scroll, Size window);

 private:
  bool valid = false;
  std::vector<uint32_t> block;
};

}  // namespace tarnvisor
