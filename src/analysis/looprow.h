// From scores to the distal row: tips of loops, the curve along them, and which belong to it. All in the
// turned frame, whose limbs are upright and whose nail is above.
#pragma once

#include <span>
#include <vector>

#include "analysis/loopplanes.h"
#include "analysis/loopscores.h"

namespace tarnvisor {

struct LoopFrame {
  LoopTurn turn;
  double grid = 4;  // micrometres a pixel
  LoopPlane darkness, redness, magenta, weight, glint;
  double unit = 1;  // contrast that is common in this still
  double magentaSpan = 0;
  std::vector<float> magentaRanks;   // a sample of it, sorted
  std::vector<int32_t> top, bottom;  // what of each column lies in the picture, half-open
  int32_t pixels(double micrometres) const;
};

struct LoopTip {
  double x = 0, y = 0;
  float score = 0;  // in units
  double body = 0, shear = 0;
  double depth = 0;  // darkness in the body
  double gate = 0;   // 0..1: whether colour and glints about it speak for a loop
};

// What counts by itself wherever it stands near the row; fainter marks need more to speak for them.
inline constexpr float kLeastLoopScore = 1.1f;
// What anybody would call a loop.
inline constexpr float kClearLoopScore = 1.6f;

struct LoopRow {
  std::vector<LoopTip> tips;
  std::vector<double> curve;  // y of each column
  std::vector<char> seen;     // whether the column shows the row
  double total = 0;
  double stepShare = 0;    // of its seen columns, those behind which it gets redder
  double atEdgeShare = 0;  // those where it runs along the picture's distal edge
  double hiddenShare = 0;  // of those within the picture, those under glare
};

// The scores are looked at no more afterwards.
LoopRow findRow(const LoopFrame& frame, std::span<const double> shears, LoopScores& scores);
// Of the skin before the curve, to 400 micrometres from it, the share that glare or clipping hides: what is
// hidden there can't say that the row begins behind it.
double hiddenBefore(const LoopFrame& frame, const LoopRow& row);
// Those of at least that score that stand before the curve, where the row should have none.
size_t loopsBefore(const LoopFrame& frame, const LoopRow& row, float least);
// From left to right.
std::vector<LoopTip> loopsOfRow(const LoopFrame& frame, const LoopRow& row);

}  // namespace tarnvisor
