// Pictures as files, drawn by Qt: pixels as png, jpg or bmp, strokes and letters as svg or pdf.
#pragma once

#include "host/pictures.h"

namespace tarnvisor {

class QtPictureWriter final : public PictureWriter {
 public:
  Outcome write(const std::string& path, Size size, const std::function<void(Canvas&)>& draw) override;
};

}  // namespace tarnvisor
