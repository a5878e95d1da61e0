#include "analysis/looplimbs.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tarnvisor {

namespace {

struct Amount {
  float dark = 0, red = 0, count = 0;
  void add(const Amount& from, const Amount& until) {
    dark += until.dark - from.dark;
    red += until.red - from.red;
    count += until.count - from.count;
  }
};

// Micrometres: below the tip, and across the strip; sides lie beyond a gap.
constexpr double kFrom = 20, kTo = 160, kHalf = 20, kGap = 6, kSide = 16;
// Slants to each side, sideways for each pixel downwards.
constexpr int32_t kSlants = 4;
constexpr double kSlant = 0.1;
constexpr float kLeastCount = 8;

// The weaker of both colours, as for a score.
float contrastOf(const Amount& strip, const Amount& beside) {
  if (strip.count < kLeastCount || beside.count < kLeastCount) return 0;
  const float dark = strip.dark / strip.count - beside.dark / beside.count;
  const float red = strip.red / strip.count - beside.red / beside.count;
  return std::min(dark, red / kRedOfBlood);
}

}  // namespace

float limbContrast(const LoopFrame& frame, const LoopTip& tip) {
  const int32_t half = frame.pixels(kHalf), inner = frame.pixels(kHalf + kGap);
  const int32_t outer = frame.pixels(kHalf + kGap + kSide), end = frame.pixels(kTo);
  const int32_t reach = outer + static_cast<int32_t>(std::ceil(kSlants * kSlant * end));
  const auto left = static_cast<int32_t>(tip.x) - reach, top = static_cast<int32_t>(tip.y);
  std::array<Amount, 2 * kSlants + 1> strips{}, besides{};
  std::vector<Amount> until(static_cast<size_t>(2 * reach + 2));
  // Every second line tells enough.
  for (int32_t down = frame.pixels(kFrom); down < std::min(end, frame.darkness.height - top); down += 2) {
    for (size_t i = 0; i + 1 < until.size(); ++i) {
      until[i + 1] = until[i];
      const int32_t x = left + static_cast<int32_t>(i), y = top + down;
      if (!frame.weight.has(x, y) || frame.weight.at(x, y) <= 0) continue;
      until[i + 1].dark += frame.darkness.at(x, y);
      until[i + 1].red += frame.redness.at(x, y);
      until[i + 1].count += 1;
    }
    for (int32_t slant = -kSlants; slant <= kSlants; ++slant) {
      const auto which = static_cast<size_t>(int64_t{slant} + kSlants);
      const auto middle = reach + static_cast<int32_t>(std::lround(slant * kSlant * down));
      const auto at = [&](int32_t aside) { return until[static_cast<size_t>(int64_t{middle} + aside)]; };
      strips[which].add(at(-half), at(half + 1));
      besides[which].add(at(-outer), at(-inner));
      besides[which].add(at(inner + 1), at(outer + 1));
    }
  }
  float best = 0;
  for (size_t i = 0; i < strips.size(); ++i) best = std::max(best, contrastOf(strips[i], besides[i]));
  return best / static_cast<float>(frame.unit);
}

}  // namespace tarnvisor
