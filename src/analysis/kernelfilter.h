// Filters by a kernel of int32 weights, in place on a grey image or a view of one. The kernel is laid over
// the pixels as it is written, not flipped. Results are cut towards zero and clipped to 0..255. Each
// operation is false, with nothing changed, on an empty or colour image, a kernel that is not of its size, or
// no memory.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "image/zzimage.h"

namespace tarnvisor {

// The centre weighs 4 against eight neighbours, so the weights sum to -4 and a flat area becomes 0: required.
inline constexpr std::array<int32_t, 9> kLaplacianKernel = {-1, -1, -1, -1, 4, -1, -1, -1, -1};

// trunc(sum * factor + offset), kernel row by row from the top left. Pixels outside the image are replaced by
// the nearest edge pixel.
bool filter3x3(CZZimage& image, std::span<const int32_t, 9> kernel, double factor, int32_t offset);

// trunc(sum * (factor / s) + offset), where s is the sum of those kernel cells that fall inside the image, so
// a flat area keeps its value * factor + offset right up to the border. Where s is 0 the factor stands for
// factor / s. The kernel has size * size cells, row by row; its cell (size / 2, size / 2) lies on the pixel.
// It may be larger than the image. Kernels that are mirrored both ways, of odd size and with 16-bit weights
// take a fast road; others cost time in proportion to their cells.
bool filterNxN(CZZimage& image, std::span<const int32_t> kernel, int32_t size, double factor, int32_t offset);

}  // namespace tarnvisor
