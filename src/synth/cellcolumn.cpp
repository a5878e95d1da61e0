#include "synth/cellcolumn.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "synth/random.h"

namespace tarnvisor {

namespace {

constexpr uint64_t noiseStream = 1u << 30;

FingerFlow flowOf(const CellColumn::Settings& set) {
  FingerFlow flow;
  flow.columnLength = set.columnLength;
  flow.gapShare = set.gapShare;
  return flow;
}

}  // namespace

CellColumn::CellColumn(const Settings& wanted) : set(wanted), cells(wanted.seed, 0, flowOf(wanted), 0.9) {}

void CellColumn::row(int64_t number, std::span<double> out) const {
  std::vector<float> shares(out.size());
  cells.darkening(set.velocity * static_cast<double>(number) / set.rate, set.blur, 0, 1, shares);
  Random random(scattered(set.seed) + static_cast<uint64_t>(number), noiseStream);
  for (size_t i = 0; i < out.size(); ++i) {
    const double level = set.light - set.depth * static_cast<double>(shares[i]) + set.noise * random.normal();
    out[i] = std::clamp(std::round(level), 0.0, 255.0);
  }
}

}  // namespace tarnvisor
