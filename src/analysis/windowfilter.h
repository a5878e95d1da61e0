// The window filter: each pixel against the mean of the square window around it. Windows are cut at the edges
// of the filtered area, so sum and count there are those of what is left.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "base/geometry.h"
#include "image/zzimage.h"

namespace tarnvisor {

// Whether an area takes a window: one at or above its smaller side filters nothing. 0 asks for no filter.
inline bool windowFits(int32_t window, Size area) {
  return std::abs(int64_t{window}) < std::min(area.width, area.height);
}

enum class WindowMode { LowPass = 0, HighPass = 1 };

// Filters the part of source inside rect (parent-frame coordinates; empty means all) into the same place of
// destination, in destination's own pixels. Both may be the same image or views of the same pixels.
//
// The window is (|window| / 2) * 2 + 1 pixels wide and high, so 6 acts as 7; a negative window forces a low
// pass. Low pass: sum / count. High pass: p - (sum - p) / (count - 1) + 128, clipped: the pixel against the
// mean of the others. Divisions cut towards zero. Under a high pass of window 1 there are no others and the
// pixel stays; callers refuse that window.
//
// False, with nothing written, when there is nothing to do: window 0, a window at or above the smaller side
// of the area, an empty or colour image, a destination that does not reach over the area, or no memory.
bool windowFilter(CZZimage& destination, WindowMode mode, const CZZimage& source, const Rect& rect,
                  int32_t window);

}  // namespace tarnvisor
