// The modified Laplacian, a measure of local sharpness (Nayar and Nakagawa, "Shape from focus"), in place on
// a grey image or a view of one. False, with nothing changed, on an empty or colour image or without memory.
#pragma once

#include <cstdint>

#include "image/zzimage.h"

namespace tarnvisor {

// |2p - left - right| + |2p - up - down|, clipped at 255. At an edge a term that would leave the image is the
// one-sided difference; a side of one pixel gives no term.
bool modifiedLaplacian(CZZimage& image);

// The modified Laplacian, then the window low pass of that window over it. True when the first was done: the
// low pass does nothing for a window of 0 or at or above the smaller side.
bool sumModifiedLaplacian(CZZimage& image, int32_t window);

}  // namespace tarnvisor
