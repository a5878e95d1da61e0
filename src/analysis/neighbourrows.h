// Runs a 3 x 3 neighbourhood filter over an image in place. Each row is handed over with its neighbours as
// they were before anything was written; pixels outside the image repeat the nearest edge pixel.
#pragma once

#include <cstdint>
#include <functional>

#include "image/zzimage.h"

namespace tarnvisor {

// Computes out[0..width) from three rows, each readable from [-1] to a whole vector past [width].
using RowFilter = std::function<void(const uint8_t* above, const uint8_t* here, const uint8_t* below,
                                     uint8_t* out, int32_t width)>;

// work(filter) is called once for each piece of the image, on its own thread, to make that piece's row
// filter, so that a filter may own buffers. False, with nothing changed, on an empty or colour image.
bool filterByNeighbours(CZZimage& image, const std::function<RowFilter()>& makeFilter);

}  // namespace tarnvisor
