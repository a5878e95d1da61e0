#include "synth/layout.h"

#include <algorithm>
#include <cmath>

namespace tarnvisor {

namespace {

constexpr int32_t mostRows = 64;
constexpr int32_t mostPerRow = 256;
constexpr int tries = 12;

struct Rows {
  int32_t count = 0;
  int32_t total = 0;
  double distalY = 0;  // apex line of the distal row, in the middle of the frame
  double secondY = 0;
  double pitch = 0;
  double bow = 0;  // the finger is round: how much lower a row lies at the left and right border

  // Capillaries of one row; the rows differ by one at most.
  int32_t in(int32_t row) const { return total * (row + 1) / count - total * row / count; }
  double y(int32_t row) const { return row == 0 ? distalY : secondY + (row - 1) * pitch; }
};

Rows rowsOf(const NailfoldStill& still) {
  Rows rows;
  rows.count = std::clamp(still.rows, 0, mostRows);
  const double total = still.densityPerMm2 > 0.0
                           ? still.densityPerMm2 * 1e-6 * still.width * still.height + 0.5
                           : static_cast<double>(still.capillariesPerRow) * rows.count;
  rows.total = static_cast<int32_t>(std::clamp(total, 0.0, static_cast<double>(mostPerRow) * rows.count));
  rows.bow = 0.03 * still.width;
  const double margin = clearanceOf(still) + still.vesselWidth;
  rows.distalY = std::max(margin, (rows.count > 1 ? 0.12 : 0.3) * still.height);
  const double onEndLength = 3.0 * still.vesselWidth;
  const double distalEnd = rows.distalY + still.loopLength + margin;
  const double room = still.height - margin - rows.bow - onEndLength - distalEnd;
  rows.pitch = room / std::max(1, rows.count - 1);
  rows.secondY = distalEnd + 0.5 * rows.pitch;
  return rows;
}

Vessel shapeOf(const NailfoldStill& still, int32_t row, bool hairpin, double centred, Random& random) {
  Vessel::Shape shape;
  shape.width = still.vesselWidth * random.between(0.88, 1.12);
  shape.lean = 0.12 * centred + random.between(-0.18, 0.18);  // the outer ones spread
  shape.strength = random.between(0.82, 1.0);
  if (hairpin) {
    const double size = row == 0 ? 1.0 : 0.75;  // deeper ones are seen in part
    shape.width *= row == 0 ? 1.0 : 0.9;
    shape.loopWidth = std::max(size * still.loopWidth * random.between(0.8, 1.1), 1.9 * shape.width);
    shape.length = std::max(size * size * still.loopLength * random.between(0.6, 1.0), 1.4 * shape.loopWidth);
    return Vessel::hairpin(shape, random);
  }
  shape.length = still.vesselWidth * random.between(0.7, 2.4);
  return Vessel::onEnd(shape, random);
}

bool fits(const VesselBox& box, const NailfoldStill& still, const std::vector<VesselBox>& taken) {
  const double c = clearanceOf(still);
  if (!(box.left >= c && box.top >= c && box.right <= still.width - c && box.bottom <= still.height - c))
    return false;
  return std::none_of(taken.begin(), taken.end(), [&](const VesselBox& other) {
    return box.left < other.right + c && other.left < box.right + c && box.top < other.bottom + c &&
           other.top < box.bottom + c;
  });
}

}  // namespace

double clearanceOf(const NailfoldStill& still) { return std::max(8.0, 2.0 * still.vesselWidth); }

std::vector<PlacedCapillary> layOutCapillaries(const NailfoldStill& still) {
  const Rows rows = rowsOf(still);
  std::vector<PlacedCapillary> placed;
  std::vector<VesselBox> taken;
  for (int32_t row = 0; row < rows.count; ++row) {
    const double freedomY = row == 0 ? 0.15 * still.loopLength : std::max(0.0, 0.3 * rows.pitch);
    const double slot = (still.width - 2.0 * clearanceOf(still)) / std::max(1, rows.in(row));
    for (int32_t i = 0; i < rows.in(row); ++i) {
      Random random(still.seed, static_cast<uint64_t>(row) * mostPerRow + static_cast<uint64_t>(i));
      const double middle = clearanceOf(still) + (i + 0.5) * slot;
      const bool hairpin = row == 0 || random.unit() < 0.4 / (row * row);
      const double centred = 2.0 * middle / still.width - 1.0;
      for (int attempt = 0; attempt < tries; ++attempt) {
        // Later tries stay nearer to the middle of the place that is theirs.
        const double freedom = 1.0 - static_cast<double>(attempt) / tries;
        Vessel vessel = shapeOf(still, row, hairpin, centred, random);
        const VesselBox own = vessel.box();
        const double besideX = freedom * random.between(-0.3, 0.3) * slot;
        const double besideY = freedom * random.between(-1.0, 1.0) * freedomY;
        vessel.moveBy(middle - 0.5 * (own.left + own.right) + besideX,
                      rows.y(row) + rows.bow * centred * centred + besideY);
        const VesselBox box = vessel.box();
        if (!fits(box, still, taken)) continue;
        taken.push_back(box);
        placed.push_back({std::move(vessel), hairpin});
        break;
      }
    }
  }
  return placed;
}

}  // namespace tarnvisor
