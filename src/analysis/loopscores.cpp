#include "analysis/loopscores.h"

#include <algorithm>
#include <cmath>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "loopscores.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace tarnvisor {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// The corners of a box in the three tables, as steps from the place that is scored.
struct BoxSteps {
  ptrdiff_t a, b, c, d;
};

template <class D>
HWY_INLINE hn::Vec<D> sumIn(D d, const int32_t* HWY_RESTRICT table, const BoxSteps& box) {
  const hn::RebindToSigned<D> whole;
  const auto lower = hn::Sub(hn::LoadU(whole, table + box.d), hn::LoadU(whole, table + box.c));
  const auto upper = hn::Sub(hn::LoadU(whole, table + box.b), hn::LoadU(whole, table + box.a));
  return hn::ConvertTo(d, hn::Sub(lower, upper));
}

// Body, left, right and top; counts of those that are there may be less than the boxes'.
template <class D>
HWY_INLINE void scoreAt(D d, const int32_t* dark, const int32_t* red, const int32_t* there,
                        const BoxSteps* box, const float* least, float factor, float kind, float* best,
                        float* kinds) {
  const auto one = hn::Set(d, 1.0f);
  hn::Vec<D> count[4];
  auto fits = hn::Eq(one, one);
  for (size_t i = 0; i < 4; ++i) {
    count[i] = sumIn(d, there, box[i]);
    fits = hn::And(fits, hn::Ge(count[i], hn::Set(d, least[i])));
    count[i] = hn::Div(one, hn::Max(count[i], one));
  }
  if (hn::AllFalse(d, fits)) return;
  auto score = hn::Set(d, 1e9f);
  for (const int32_t* table : {dark, red}) {
    const auto body = hn::Mul(sumIn(d, table, box[0]), count[0]);
    const auto left = hn::Mul(sumIn(d, table, box[1]), count[1]);
    const auto right = hn::Mul(sumIn(d, table, box[2]), count[2]);
    const auto top = hn::Sub(body, hn::Mul(sumIn(d, table, box[3]), count[3]));
    const auto lateral = hn::Sub(body, hn::Max(left, right));
    const auto mean = hn::Sub(body, hn::Mul(hn::Set(d, 0.5f), hn::Add(left, right)));
    score = hn::Min(score, hn::Mul(hn::Set(d, 0.8f), mean));
    score = hn::Min(score, top);
    score = hn::Min(score, hn::Mul(hn::Set(d, 1.6f), lateral));
  }
  score = hn::Mul(score, hn::Set(d, factor));
  const auto before = hn::LoadU(d, best);
  const auto better = hn::And(fits, hn::Gt(score, before));
  hn::StoreU(hn::IfThenElse(better, score, before), d, best);
  hn::StoreU(hn::IfThenElse(better, hn::Set(d, kind), hn::LoadU(d, kinds)), d, kinds);
}

void scoreRowWide(const LoopSums& sums, int32_t y, const LoopBoxes& boxes, float factor, float kind,
                  float* best, float* kinds, size_t count) {
  const ptrdiff_t stride = sums.stride;
  const auto steps = [&](int32_t left, int32_t right, int32_t top, int32_t bottom) {
    return BoxSteps{top * stride + left, top * stride + right, bottom * stride + left,
                    bottom * stride + right};
  };
  const int32_t h = boxes.half, away = boxes.half + boxes.gap;
  const BoxSteps box[4] = {steps(-h, h, 0, boxes.length), steps(-away - boxes.side, -away, 0, boxes.length),
                           steps(away, away + boxes.side, 0, boxes.length),
                           steps(-h, h, -boxes.gap - boxes.top, -boxes.gap)};
  const auto body = static_cast<float>(2 * h * boxes.length),
             side = static_cast<float>(boxes.side * boxes.length);
  const float least[4] = {0.6f * body, 0.5f * side, 0.5f * side,
                          0.6f * static_cast<float>(2 * h * boxes.top)};
  const ptrdiff_t first = (y + LoopSums::kMargin) * stride + LoopSums::kMargin + sums.movedBy(y);
  const int32_t *dark = sums.dark.data() + first, *red = sums.red.data() + first,
                *there = sums.there.data() + first;
  const hn::ScalableTag<float> wide;
  const hn::CappedTag<float, 1> single;
  size_t x = 0;
  for (; x + hn::Lanes(wide) <= count; x += hn::Lanes(wide))
    scoreAt(wide, dark + x, red + x, there + x, box, least, factor, kind, best + x, kinds + x);
  for (; x < count; ++x)
    scoreAt(single, dark + x, red + x, there + x, box, least, factor, kind, best + x, kinds + x);
}

}  // namespace HWY_NAMESPACE
}  // namespace tarnvisor
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tarnvisor {

HWY_EXPORT(scoreRowWide);

namespace {

int32_t inPixels(double micrometres, double grid) {
  return std::max(1, static_cast<int32_t>(std::lround(micrometres / grid)));
}

}  // namespace

LoopBoxes loopBoxes(double body, double grid) {
  return {inPixels(body / 2, grid), inPixels(2.2 * body, grid), inPixels(std::max(0.8 * body, 16.0), grid),
          inPixels(std::max(body, 32.0), grid), inPixels(std::max(body / 6, 4.0), grid)};
}

void LoopSums::fill(const LoopPlane& darkness, const LoopPlane& redness, const LoopPlane& weight,
                    double shear) {
  height = darkness.height;
  moved.resize(static_cast<size_t>(height));
  int32_t lowest = 0, highest = 0;
  for (int32_t y = 0; y < height; ++y) {
    moved[static_cast<size_t>(y)] = -static_cast<int32_t>(std::lround(shear * y));
    lowest = std::min(lowest, moved[static_cast<size_t>(y)]);
    highest = std::max(highest, moved[static_cast<size_t>(y)]);
  }
  for (int32_t& m : moved) m -= lowest;
  width = darkness.width + highest - lowest;
  stride = width + 2 * kMargin + 1;
  const auto cells = static_cast<size_t>(stride) * static_cast<size_t>(height + 2 * kMargin + 1);
  for (WorkVector<int32_t>* table : {&dark, &red, &there}) {
    if (table->capacity() < cells) table->clear();  // nothing of it is copied
    table->resize(cells);
    std::fill_n(table->begin(), static_cast<size_t>(stride) * (kMargin + 1), 0);
  }
  for (int32_t line = kMargin; line < height + 2 * kMargin; ++line) {
    const int32_t y = line - kMargin;
    uint32_t darkSum = 0, redSum = 0;
    int32_t thereSum = 0;
    const size_t above = static_cast<size_t>(line) * static_cast<size_t>(stride);
    const size_t here = above + static_cast<size_t>(stride);
    const auto put = [&](size_t i) {
      dark[here + i] = static_cast<int32_t>(static_cast<uint32_t>(dark[above + i]) + darkSum);
      red[here + i] = static_cast<int32_t>(static_cast<uint32_t>(red[above + i]) + redSum);
      there[here + i] = there[above + i] + thereSum;
    };
    if (y >= height) {
      for (WorkVector<int32_t>* table : {&dark, &red, &there})
        std::copy_n(table->begin() + static_cast<ptrdiff_t>(above), stride,
                    table->begin() + static_cast<ptrdiff_t>(here));
      continue;
    }
    const auto first = static_cast<size_t>(int64_t{kMargin} + 1 + movedBy(y));
    for (size_t i = 0; i < first; ++i) put(i);
    size_t next = first;
    const float *darkRow = darkness.row(y), *redRow = redness.row(y), *weightRow = weight.row(y);
    for (int32_t x = 0; x < darkness.width; ++x, ++next) {
      if (weightRow[x] > 0) {
        darkSum += static_cast<uint32_t>(static_cast<int32_t>(kUnit * std::clamp(darkRow[x], -2.0f, 2.0f)));
        redSum += static_cast<uint32_t>(
            static_cast<int32_t>(kUnit / kRedOfBlood * std::clamp(redRow[x], -1.3f, 1.3f)));
        ++thereSum;
      }
      put(next);
    }
    for (; next < static_cast<size_t>(stride); ++next) put(next);
  }
}

void scoreLoopRow(const LoopSums& sums, int32_t y, const LoopBoxes& boxes, float factor, float kind,
                  std::span<float> best, std::span<float> kinds) {
  HWY_DYNAMIC_DISPATCH(scoreRowWide)
  (sums, y, boxes, factor, kind, best.data(), kinds.data(), best.size());
}

void LoopScores::fill(const LoopPlane& darkness, const LoopPlane& redness, const LoopPlane& weight,
                      double grid, std::span<const double> shears) {
  score.reset(darkness.width, darkness.height);
  kind.reset(darkness.width, darkness.height);
  const auto wide = static_cast<size_t>(darkness.width);
  for (size_t s = 0; s < shears.size(); ++s) {
    sums.fill(darkness, redness, weight, shears[s]);
    const float factor = (shears[s] != 0 ? 0.97f : 1.0f) / LoopSums::kUnit;
    for (int32_t y = 0; y < darkness.height; y += 2)
      for (size_t b = 0; b < std::size(kLoopBodies); ++b)
        scoreLoopRow(sums, y, loopBoxes(kLoopBodies[b], grid), factor, static_cast<float>(b + 3 * s),
                     {score.row(y), wide}, {kind.row(y), wide});
  }
}

}  // namespace tarnvisor
#endif
