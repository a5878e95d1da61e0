// A histogram with the box of the quartiles above it.
#pragma once

#include <span>
#include <string>

#include "host/canvas.h"
#include "report/distribution.h"

namespace tarnvisor {

// Fills an area of that size. values: without NaN, at least one. along: what they are, with the unit.
void drawDistribution(Canvas& canvas, Size area, std::span<const double> values, const std::string& along);

}  // namespace tarnvisor
