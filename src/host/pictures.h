// The port for pictures as files.
#pragma once

#include <functional>
#include <string>

#include "base/lengthunits.h"
#include "base/outcome.h"
#include "host/canvas.h"

namespace tarnvisor {

class PictureWriter {
 public:
  virtual ~PictureWriter() = default;
  // Draws a picture of that size in the format that the path's ending names: png, jpg, tif, bmp, svg, pdf or
  // wmf. On failure an old file of that name stays as it was.
  // A tif tells the size of its pixels where that is known.
  virtual Outcome write(const std::string& path, Size size, PixelSize pixel,
                        const std::function<void(Canvas&)>& draw) = 0;
  Outcome write(const std::string& path, Size size, const std::function<void(Canvas&)>& draw) {
    return write(path, size, {}, draw);
  }
};

}  // namespace tarnvisor
