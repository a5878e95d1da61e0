// Gaussian blur with a tail that reaches zero smoothly, separable, in single precision.
#pragma once

#include <cstdint>
#include <vector>

#include "image/zzimage.h"

namespace tarnvisor {

struct BlurKernel {
  std::vector<float> weights;      // k[0] in the middle, k[i] at distance i; k[0] + 2 * (k[1] + ..) is 1
  std::vector<float> edgeWeights;  // e[i]: what lies beyond distance i on one side, k[i + 1] + ..
};

// Length ceil(3 * sigma) + 1, or 0 for a sigma that is not above 0 or whose kernel no line could hold.
int64_t blurKernelLength(float sigma);
// Whether a line of that length is blurred; otherwise it is too short for the kernel and stays as it is.
bool blurFits(float sigma, int32_t length);
// Computed in double, each table entry stored as float. Empty when the length is 0.
BlurKernel blurKernel(float sigma);

// Blurs in place, along rows and then along columns, each result cut to a byte. Beyond the ends of a line its
// end samples count, by the edge weights. A line whose length L has kernel length >= L / 2 stays as it is, so
// a large sigma may smooth one axis only. False, with nothing changed, on an empty or colour image, a sigma
// that is not above 0, or no memory.
bool gaussianBlur(CZZimage& image, float sigma);

}  // namespace tarnvisor
