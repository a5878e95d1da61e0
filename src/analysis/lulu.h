// Order filters of size 3, in place on a grey image or a view of one: the LULU smoothers (Rohwer, "Nonlinear
// smoothing and multiresolution analysis") and a minimum. Windows are cut at the edges, only pixels that
// exist count. False, with nothing changed, on an empty or colour image or without memory.
#pragma once

#include "image/zzimage.h"

namespace tarnvisor {

// Over the four 2 x 2 squares that hold a pixel: the maximum of their minima.
bool lowerLulu(CZZimage& image);  // L3
// Over the same squares: the minimum of their maxima.
bool upperLulu(CZZimage& image);  // U3
// The minimum of the 3 x 3 window.
bool min3x3(CZZimage& image);

}  // namespace tarnvisor
