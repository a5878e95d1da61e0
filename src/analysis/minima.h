// The small finders beside the capillary finder: dark points, regions of equal level, and a walk downhill.
// They read a grey image or a view of one; positions are in its own pixels, so that the caller adds the
// corner of a view. All give nothing on an empty or colour image.
#pragma once

#include <cstdint>
#include <vector>

#include "base/geometry.h"
#include "image/zzimage.h"

namespace tarnvisor {

struct MinimumPoint {
  int32_t x = 0;
  int32_t y = 0;
  uint8_t value = 0;
  friend bool operator==(const MinimumPoint&, const MinimumPoint&) = default;
};

// Pixels below the threshold that nothing within (width / 2, height / 2) of them, inside the image, is
// strictly below. Each plateau of equal ones becomes one point at its mean position, cut towards zero. Sorted
// by value, equal ones in raster order. A plateau is walked like the flood fill: never up into row 0.
std::vector<MinimumPoint> minimaInWindow(const CZZimage& image, int32_t threshold, int32_t width,
                                         int32_t height);

// One point for each dark area: a pixel below the threshold, no brighter than its six neighbours, from which
// no way through pixels of at most its value + tolerance leads to a darker one or to an area looked at
// before. The point is that of the area's pixels at its lowest value nearest to their mean position. Sorted
// by value.
//
// The neighbours are those of a hexagonal grid. In the test for candidates an odd row's neighbours above and
// below lie two columns to the left of those the growing uses: required. Neighbours outside the image don't
// count.
std::vector<MinimumPoint> minimaInTolerance(const CZZimage& image, int32_t threshold, int32_t tolerance);

// Makes target a grey image of the source's size, origin 0: 128 where two or more 8-connected pixels have
// equal values, 255 for an isolated pixel, 0 for an edge pixel that no region from inside reaches. False,
// with target unchanged, when there is no memory.
bool regionsByLevel(const CZZimage& source, CZZimage& target);

struct DownhillWalk {
  int32_t steps = 0;
  Point end;
};
// Walks from a pixel over pixels no brighter than the last one, straight on where it can, reading source and
// writing the path into path: 0 at the start, then the number of each step (its low byte). Ends at the edge
// of the image, where all ways lead uphill, or after width * height steps. path must be of the source's size.
// Nothing is done from a start outside the image.
DownhillWalk walkToMinima(const CZZimage& source, CZZimage& path, Point start);

}  // namespace tarnvisor
