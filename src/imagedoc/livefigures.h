// What is told beside the mouse of a shape that is being drawn or altered.
#pragma once

#include <string>

#include "imagedoc/zbasicdoc.h"

namespace tarnvisor {

// Diameter and area of a circle; sides and area of a rectangle; perimeter and area of a polygon; of a line
// its length, and its angle to the horizontal or, of more points, that at the one named, where there is one.
std::string figuresOf(const ZBasicDoc& document, const CDim& shape, int32_t vertex);
// Sides and area.
std::string figuresOf(const ZBasicDoc& document, const Rect& box, bool isCircle);

}  // namespace tarnvisor
