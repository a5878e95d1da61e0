#include "synth/movedrows.h"

#include <algorithm>
#include <cmath>

namespace tarnvisor {

namespace {

// Cubic convolution (R. G. Keys, "Cubic convolution interpolation for digital image processing", IEEE Trans.
// ASSP 29, 1981) for a place this far behind the second of four samples.
std::array<float, 4> cubicWeights(double t) {
  return {static_cast<float>(t * (-0.5 + t * (1.0 - 0.5 * t))),
          static_cast<float>(1.0 + t * t * (1.5 * t - 2.5)),
          static_cast<float>(t * (0.5 + t * (2.0 - 1.5 * t))), static_cast<float>(t * t * (0.5 * t - 0.5))};
}

}  // namespace

MovedRows::MovedRows(const FingerScene& shown) : scene(shown) {
  const auto width = static_cast<size_t>(scene.canvas.width);
  for (Line& one : lines) {
    one.skin.resize(width);
    one.blood.resize(width);
  }
  const auto frameWidth = static_cast<size_t>(scene.window.width);
  down.resize(frameWidth + 3);
  skinRow.resize(frameWidth);
  bloodRow.resize(frameWidth);
}

void MovedRows::begin(const FrameTruth& moment, std::span<const float> cellPatterns) {
  patterns = cellPatterns;
  focus = scene.focusOf(moment.blur);
  const double x = scene.marginX - moment.dx;
  const double y = scene.marginY - moment.dy;
  left = static_cast<int32_t>(std::floor(x));
  top = static_cast<int32_t>(std::floor(y));
  weightsX = cubicWeights(x - left);
  weightsY = cubicWeights(y - top);
  whole = x == left && y == top;
  for (Line& one : lines) one.row = -1;
}

void MovedRows::moveTo(int32_t frameY) {
  const int32_t row = top + frameY;
  if (whole) {
    const Line& own = line(row);
    movedSkin = own.skin.data() + left;
    movedBlood = own.blood.data() + left;
    return;
  }
  std::array<const float*, 4> skins{}, bloods{};
  for (int32_t i = 0; i < 4; ++i) {
    const Line& near = line(row + i - 1);
    skins[static_cast<size_t>(i)] = near.skin.data() + left - 1;
    bloods[static_cast<size_t>(i)] = near.blood.data() + left - 1;
  }
  between(skins, down, skinRow);
  between(bloods, down, bloodRow);
  movedSkin = skinRow.data();
  movedBlood = bloodRow.data();
}

void MovedRows::between(const std::array<const float*, 4>& from, std::vector<float>& column,
                        std::vector<float>& out) {
  const auto [a, b, c, d] = from;
  const auto [wa, wb, wc, wd] = weightsY;
  for (size_t x = 0; x < column.size(); ++x) column[x] = wa * a[x] + wb * b[x] + wc * c[x] + wd * d[x];
  const auto [va, vb, vc, vd] = weightsX;
  const float* in = column.data();
  for (size_t x = 0; x < out.size(); ++x)
    out[x] = va * in[x] + vb * in[x + 1] + vc * in[x + 2] + vd * in[x + 3];
}

const MovedRows::Line& MovedRows::line(int32_t canvasRow) {
  Line& own = lines[static_cast<size_t>(canvasRow & 3)];
  if (own.row == canvasRow) return own;
  own.row = canvasRow;
  fillSkin(own);
  fillBlood(own);
  return own;
}

void MovedRows::fillSkin(Line& line) const {
  const float* sharp = scene.skin[focus.stage].row(line.row);
  if (focus.share == 0) {
    std::copy_n(sharp, line.skin.size(), line.skin.data());
    return;
  }
  const float* soft = scene.skin[focus.stage + 1].row(line.row);
  for (size_t x = 0; x < line.skin.size(); ++x) line.skin[x] = sharp[x] + (soft[x] - sharp[x]) * focus.share;
}

void MovedRows::fillBlood(Line& line) const {
  std::fill(line.blood.begin(), line.blood.end(), 0.0f);
  const std::vector<float>& sharp = scene.absorption[focus.stage];
  const std::vector<float>& soft = scene.absorption[focus.share == 0 ? focus.stage : focus.stage + 1];
  for (const BloodRun& run : scene.runsOf(line.row)) {
    const float* pattern = patterns.data() + scene.patterns[static_cast<size_t>(run.capillary)].first;
    const float* arc = scene.arc.data() + run.first;
    float* out = line.blood.data() + run.x;
    for (int32_t i = 0; i < run.count; ++i) {
      const size_t place = run.first + static_cast<size_t>(i);
      const float blood = sharp[place] + (soft[place] - sharp[place]) * focus.share;
      const auto sample = static_cast<int32_t>(arc[i]);
      const float t = arc[i] - static_cast<float>(sample);
      out[i] = blood * (pattern[sample] + (pattern[sample + 1] - pattern[sample]) * t);
    }
  }
}

}  // namespace tarnvisor
