// Per-pixel sums over the frames of a sequence. Frames of another size than the first are passed over.
#pragma once

#include <cstdint>
#include <vector>

namespace tarnvisor {

class PixelStatistics {
 public:
  int32_t width = 0, height = 0;
  int32_t images = 0;
  std::vector<uint32_t> sum;
  std::vector<uint64_t> sumSquares;
};

// The value and its difference from the frame before. The first frame adds to no sum: it seeds `previous` and
// the count. reset() before a new sequence.
class MotionStatistics {
 public:
  int32_t width = 0, height = 0;
  std::vector<int32_t> previous, count, sum, sumDifference;
  std::vector<int64_t> sumSquares, sumDifferenceSquares;

  void reset() { *this = {}; }
};

}  // namespace tarnvisor
