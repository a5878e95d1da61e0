// How much each place of a turned nailfold looks like the apex of a loop: a dark and red body below it, with
// lighter skin to the left, to the right and towards the nail.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "analysis/loopplanes.h"

namespace tarnvisor {

// Pixels. The body begins at the place and lies below it; between it and the boxes about it is a gap.
struct LoopBoxes {
  int32_t half, length, side, top, gap;
};
// For a body of so many micrometres on a grid.
LoopBoxes loopBoxes(double body, double grid);
// Of what blood shows in green, so much is redness; less of a thin loop whose colour compression spread.
inline constexpr float kRedOfBlood = 0.61f;
inline constexpr double kLoopBodies[] = {24, 40, 72};
// Sideways for each pixel downwards.
inline constexpr double kLoopShears[] = {0, 0.35, -0.35};

// Sums over all pixels above and to the left, of whole numbers, which wrap: the sum over a box is exact. With
// a margin all round that no box leaves.
struct LoopSums {
  static constexpr int32_t kMargin = 48;
  static constexpr float kUnit = 16384;
  int32_t width = 0, height = 0, stride = 0;
  WorkVector<int32_t> dark, red, there;
  // Rows are moved by the shear times their number.
  void fill(const LoopPlane& darkness, const LoopPlane& redness, const LoopPlane& weight, double shear);
  // Where a row of the picture begins in the sums.
  int32_t movedBy(int32_t y) const { return moved[static_cast<size_t>(y)]; }
  std::vector<int32_t> moved;
};

// Keeps its memory.
class LoopScores {
 public:
  // Of every second row. redness is taken in units of what blood shows for its darkness.
  void fill(const LoopPlane& darkness, const LoopPlane& redness, const LoopPlane& weight, double grid,
            std::span<const double> shears);
  LoopPlane score;  // 0 and above
  LoopPlane kind;   // body + 3 * shear

 private:
  LoopSums sums;
};

// The scores of row y, for boxes of one kind, where they beat what stands in best.
void scoreLoopRow(const LoopSums& sums, int32_t y, const LoopBoxes& boxes, float factor, float kind,
                  std::span<float> best, std::span<float> kinds);

}  // namespace tarnvisor
