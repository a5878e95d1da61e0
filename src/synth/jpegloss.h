// What storing as JPEG does to a colour picture: chroma of half the size, and blocks of 8 x 8 whose cosines
// are rounded by the usual tables.
#pragma once

#include "image/zzimage.h"

namespace tarnvisor {

// Quality 1..100. Colour only.
void loseAsJpeg(CZZimage& image, int32_t quality);

}  // namespace tarnvisor
