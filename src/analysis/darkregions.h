// The regions of value 0 in a grey image, as the system's flood fill finds them one after the other from the
// top left. The image is read once; each region is then at hand as its runs of pixels, so that whatever is
// done with a region costs time in proportion to that region.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "base/geometry.h"
#include "image/zzimage.h"

namespace tarnvisor {

// Pixels begin..end - 1 of row y.
struct PixelRun {
  int32_t y = 0;
  int32_t begin = 0;
  int32_t end = 0;
  friend bool operator==(const PixelRun&, const PixelRun&) = default;
};

struct PixelSums {
  int64_t count = 0;
  int64_t x = 0;
  int64_t y = 0;
  void add(const PixelRun& run);
};

struct DarkRegion {
  PixelSums sums;
  Rect box;  // half-open, in the image's own pixels
};

// A region is what a fill reaches from its first pixel in raster order by steps right, down, left, and up,
// but never up into row 0: runs of row 0 that hang together only through lower rows are regions of their own,
// and what lies below them belongs to the first run that touches it.
class DarkRegions {
 public:
  explicit DarkRegions(const CZZimage& image);  // reads only; the image may change afterwards

  // In raster order of their first pixels.
  size_t size() const { return regions.size(); }
  const DarkRegion& operator[](size_t region) const { return regions[region]; }
  std::vector<PixelRun> runsOf(size_t region) const;  // top to bottom, left to right
  // The pixels that filling the region's holes adds, as seen from a box whose last row and last two columns
  // count as open: a wall that lies in them only does not close a hole. (Required: capillary areas depend on
  // it.)
  std::vector<PixelRun> holesOf(size_t region) const;
  // The regions that have a pixel in a run.
  void regionsIn(const PixelRun& run, std::vector<uint32_t>& found) const;

 private:
  void findRuns(const CZZimage& image);
  void joinRuns();
  void numberRegions();

  std::vector<PixelRun> runs;
  std::vector<uint32_t> rowStart;  // index of each row's first run, and the end
  std::vector<uint32_t> parent;    // while joining: a run of the same region, never a later one
  std::vector<uint32_t> regionOf;  // of each run
  std::vector<uint32_t> firstRun;  // of each region in order, and the end
  std::vector<uint32_t> order;     // the runs' indices, region by region
  std::vector<DarkRegion> regions;
};

}  // namespace tarnvisor
