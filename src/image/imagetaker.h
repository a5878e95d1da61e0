// A document that others give pixels to: the image document, for rooms that stand before it.
#pragma once

#include <memory>

#include "image/zzimage.h"

namespace tarnvisor {

class ImageTaker {
 public:
  virtual ~ImageTaker() = default;
  virtual void takeImage(std::unique_ptr<CZZimage> pixels) = 0;
};

}  // namespace tarnvisor
