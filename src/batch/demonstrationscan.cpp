#include "batch/demonstrationscan.h"

#include <vector>

#include "linescan/zlinescandoc.h"
#include "synth/cellcolumn.h"

namespace tarnvisor {

Outcome saveDemonstrationScan(const std::string& path) {
  constexpr int32_t kRows = 600, kPoints = 96;
  CellColumn::Settings cells;
  cells.velocity = kDemonstrationVelocity;  // a point is a micrometre
  const CellColumn column(cells);
  ZlineScanDoc scan;
  if (!scan.onNewDocument()) return Outcome::failure(path);
  scan.setNoPtsToSample(kRows);
  scan.sampleperiod = 1;
  scan.subtracting = scan.cbvON = false;
  CdataVect* line = scan.setline(&scan, kPoints, 1, {0.5 / cells.rate, 1.0, "um", "demonstration"});
  if (!line) return Outcome::failure("There is not enough memory.");
  scan.setZeroing(false);
  scan.startCapture();
  std::vector<double> levels(kPoints);
  for (int32_t row = 0; row < kRows; ++row) {
    column.row(row, levels);
    for (uint32_t i = 0; i < kPoints; ++i) line->putval(i, levels[i]);
    scan.linesample(1);
  }
  scan.release(&scan);
  scan.calculateVelocity(false);
  return scan.onSaveDocument(path) ? Outcome::success() : Outcome::failure(path + " can't be written");
}

}  // namespace tarnvisor
