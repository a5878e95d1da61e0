#include "imagedoc/picturepainter.h"

#include "image/palette.h"

namespace tarnvisor {

void PicturePainter::paint(Canvas& canvas, CZZimage& image, int32_t zoomnum, int32_t zoomden, Point scroll,
                           Size window) {
  block.assign(static_cast<size_t>(window.width) * static_cast<size_t>(window.height), 0);
  for (int32_t y = 0; y < window.height; ++y)
    for (int32_t x = 0; x < window.width; ++x) {
      const int32_t sx = (x + scroll.x) * zoomden / zoomnum, sy = (y + scroll.y) * zoomden / zoomnum;
      if (sx >= image.width || sy >= image.height) continue;
      const uint8_t* p = image.row(sy) + sx * image.bytesPerPixel;
      const uint32_t grey = p[0];
      block[static_cast<size_t>(y) * static_cast<size_t>(window.width) + static_cast<size_t>(x)] =
          image.bytesPerPixel == 3 ? 0xff000000u | (p[2] * 65536u + p[1] * 256u + p[0])
                                   : 0xff000000u | (grey * 0x10101u);
    }
  canvas.pixels({block.data(), window.width, window.height, window.width},
                {0, 0, window.width, window.height});
  valid = true;
}

}  // namespace tarnvisor
