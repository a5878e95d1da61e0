// Images as Python has them.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "base/lengthunits.h"
#include "bindings.h"
#include "image/zzimage.h"

namespace tarnvisor::python {

struct Image {
  std::shared_ptr<CZZimage> pixels;
  PixelSize pixel;  // in micrometres
  std::string notes;
  bool isUsers = false;  // made by the user, who may write to it
};

// Rows top first, as read-only memory of the image, unless it is the user's: (rows, columns), of colours
// (rows, columns, 3) in the order red, green, blue.
py::array pixelsOf(const std::shared_ptr<CZZimage>& image, bool mayWrite = false);

}  // namespace tarnvisor::python
