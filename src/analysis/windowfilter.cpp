#include "analysis/windowfilter.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <vector>

#include "base/numbers.h"
#include "base/parallel.h"
#include "paddedplane.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "windowfilter.cpp"
#include <hwy/foreach_target.h>
// after foreach_target.h
#include <hwy/highway.h>

#include "rows-inl.h"

#ifndef TARNVISOR_WINDOWFILTER_JOB
#define TARNVISOR_WINDOWFILTER_JOB
namespace tarnvisor {
namespace {
struct WindowJob {
  const PaddedPlane& source;
  CZZimage& destination;
  Point corner;  // of the area in destination
  int32_t width;
  int32_t height;
  int32_t half;
  bool highPass;
};
}  // namespace
}  // namespace tarnvisor
#endif

HWY_BEFORE_NAMESPACE();
namespace tarnvisor {
namespace HWY_NAMESPACE {
namespace {

// Sums are kept per column as the window moves down, and summed along the row as it moves right. All arrays
// are padded so that whole vectors can be read and written past the last column.
class WindowRows {
 public:
  explicit WindowRows(const WindowJob& windowJob) : job(windowJob) {
    const size_t padded = static_cast<size_t>(job.width) + 64;
    columns.assign(padded + 2 * static_cast<size_t>(job.half) + 1, 0);
    widths.assign(padded, 1);
    divisors.assign(padded, 1);
    reciprocals.assign(padded, 0.0f);
    for (int32_t x = 0; x < job.width; ++x)
      widths[static_cast<size_t>(x)] = std::min(x + job.half, job.width - 1) - std::max(x - job.half, 0) + 1;
  }

  void run(int32_t begin, int32_t end) {
    for (int32_t y = std::max(begin - job.half, 0); y < std::min(begin + job.half, job.height); ++y)
      moveColumns(y, -1);
    for (int32_t y = begin; y < end; ++y) {
      const int32_t entering = y + job.half;
      moveColumns(entering < job.height ? entering : -1, y > begin ? y - job.half - 1 : -1);
      const int32_t rows = std::min(entering, job.height - 1) - std::max(y - job.half, 0) + 1;
      if (rows != divisorRows) fillDivisors(rows);
      if (job.highPass)
        finishRow<true>(y);
      else
        finishRow<false>(y);
    }
  }

 private:
  // Adds one row to the column sums and takes another from them; -1 for none.
  void moveColumns(int32_t entering, int32_t leaving) {
    const hn::ScalableTag<int32_t> d;
    const hn::Rebind<uint8_t, decltype(d)> d8;
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(d));
    int32_t* HWY_RESTRICT column = columns.data() + job.half + 1;
    const uint8_t* HWY_RESTRICT in = entering >= 0 ? job.source.row(entering) : nullptr;
    const uint8_t* HWY_RESTRICT out = leaving >= 0 ? job.source.row(leaving) : nullptr;
    // Past the last column the plane holds zeros, so whole vectors leave the margin's sums at 0.
    const auto widened = [&](const uint8_t* row, int32_t x) {
      return hn::PromoteTo(d, hn::LoadU(d8, row + x));
    };
    if (in && out) {
      for (int32_t x = 0; x < job.width; x += lanes) {
        const auto change = hn::Sub(widened(in, x), widened(out, x));
        hn::StoreU(hn::Add(hn::LoadU(d, column + x), change), d, column + x);
      }
    } else if (in) {
      for (int32_t x = 0; x < job.width; x += lanes)
        hn::StoreU(hn::Add(hn::LoadU(d, column + x), widened(in, x)), d, column + x);
    } else if (out) {
      for (int32_t x = 0; x < job.width; x += lanes)
        hn::StoreU(hn::Sub(hn::LoadU(d, column + x), widened(out, x)), d, column + x);
    }
  }

  // The divisor of every column for windows of that many rows, and a little less than its reciprocal.
  void fillDivisors(int32_t rows) {
    divisorRows = rows;
    const hn::ScalableTag<int32_t> d;
    const hn::Rebind<float, decltype(d)> df;
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(d));
    const auto less = hn::Set(d, job.highPass ? 1 : 0);
    const auto nearlyOne = hn::Set(df, 1.0f - 1.0f / (1 << 20));
    for (int32_t x = 0; x < job.width; x += lanes) {
      const auto count = hn::Mul(hn::LoadU(d, widths.data() + x), hn::Set(d, rows));
      const auto divisor = hn::Max(hn::Sub(count, less), hn::Set(d, 1));
      hn::StoreU(divisor, d, divisors.data() + x);
      hn::StoreU(hn::Div(nearlyOne, hn::ConvertTo(df, divisor)), df, reciprocals.data() + x);
    }
  }

  using D = hn::CappedTag<int32_t, 16>;

  // sums[i] = start + changes[0] + .. + changes[i]; start becomes the last of them. The scan goes within
  // blocks of four lanes, then from block to block, so that only one addition waits for the vector before.
  static HWY_INLINE hn::Vec<D> runningSum(hn::Vec<D> changes, hn::Vec<D>& start) {
#if HWY_TARGET == HWY_SCALAR
    return start = hn::Add(start, changes);
#else
    const D d;
    changes = hn::Add(changes, hn::ShiftLeftLanes<1>(d, changes));
    changes = hn::Add(changes, hn::ShiftLeftLanes<2>(d, changes));
    if constexpr (hn::MaxLanes(D()) >= 8) changes = hn::Add(changes, lastOfEarlierBlock(changes, 4));
    if constexpr (hn::MaxLanes(D()) >= 16) changes = hn::Add(changes, lastOfEarlierBlock(changes, 8));
    const auto sums = hn::Add(changes, start);
    HWY_ALIGN static constexpr int32_t last[16] = {kLast, kLast, kLast, kLast, kLast, kLast, kLast, kLast,
                                                   kLast, kLast, kLast, kLast, kLast, kLast, kLast, kLast};
    start = hn::Add(start, hn::TableLookupLanes(changes, hn::SetTableIndices(d, last)));
    return sums;
#endif
  }

#if HWY_TARGET != HWY_SCALAR
  static constexpr int32_t kLast = static_cast<int32_t>(hn::MaxLanes(D())) - 1;

  // In each lane the last lane of the block that many lanes before, 0 where there is none.
  static HWY_INLINE hn::Vec<D> lastOfEarlierBlock(hn::Vec<D> v, int32_t distance) {
    const D d;
    HWY_ALIGN static constexpr int32_t by4[16] = {0, 0, 0, 0, 3, 3, 3, 3, 7, 7, 7, 7, 11, 11, 11, 11};
    HWY_ALIGN static constexpr int32_t by8[16] = {0, 0, 0, 0, 0, 0, 0, 0, 3, 3, 3, 3, 7, 7, 7, 7};
    const auto moved = hn::TableLookupLanes(v, hn::SetTableIndices(d, distance == 4 ? by4 : by8));
    return hn::IfThenElseZero(hn::Gt(hn::Iota(d, 0), hn::Set(d, distance - 1)), moved);
  }
#endif

  // Exact quotients. With S <= 255 * divisor < 2^31 and divisor < 2^24, float(S) * reciprocal is off by less
  // than 3 * 2^-24 of itself beside the 2^-20 that the reciprocal is made too small by: never above S /
  // divisor and less than 0.001 under it. So its integer part is the quotient or one less, and the remainder
  // tells.
  template <bool kHighPass>
  void finishRow(int32_t y) {
    const D d;
    const hn::Rebind<float, D> df;
    const hn::Rebind<uint8_t, D> d8;
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(d));
    const auto one = hn::Set(d, 1);
    const int32_t* HWY_RESTRICT leaving = columns.data();
    const int32_t* HWY_RESTRICT entering = columns.data() + 2 * job.half + 1;
    const int32_t* HWY_RESTRICT divisorAt = divisors.data();
    const float* HWY_RESTRICT reciprocalAt = reciprocals.data();
    const uint8_t* HWY_RESTRICT in = job.source.row(y);
    uint8_t* HWY_RESTRICT out = job.destination.row(job.corner.y + y) + job.corner.x;
    int32_t beforeFirst = 0;
    for (int32_t x = 0; x < job.half; ++x) beforeFirst += leaving[job.half + 1 + x];
    auto start = hn::Set(d, beforeFirst);
    for (int32_t x = 0; x < job.width; x += lanes) {
      auto sum = runningSum(hn::Sub(hn::LoadU(d, entering + x), hn::LoadU(d, leaving + x)), start);
      const auto pixel = hn::PromoteTo(d, hn::LoadU(d8, in + x));
      if (kHighPass) sum = hn::Sub(sum, pixel);
      const auto divisor = hn::LoadU(d, divisorAt + x);
      const auto low = hn::ConvertTo(d, hn::Mul(hn::ConvertTo(df, sum), hn::LoadU(df, reciprocalAt + x)));
      const auto remainder = hn::Sub(sum, hn::Mul(low, divisor));
      const auto oneMore =
          hn::VecFromMask(d, hn::Gt(hn::Add(remainder, one), divisor));  // -1 where one is missing
      auto value = hn::Sub(low, oneMore);
      if (kHighPass) value = hn::Add(hn::Sub(pixel, value), hn::Set(d, 128));
      storeUpTo(hn::DemoteTo(d8, value), d8, out, x, job.width);
    }
  }

  const WindowJob& job;
  int32_t divisorRows = 0;
  std::vector<int32_t> columns;  // half + 1 zeros, the column sums, zeros
  std::vector<int32_t> widths;   // of the window in x
  std::vector<int32_t> divisors;
  std::vector<float> reciprocals;
};

void windowRows(const WindowJob& job, int32_t begin, int32_t end) { WindowRows(job).run(begin, end); }

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace tarnvisor
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tarnvisor {
namespace {
HWY_EXPORT(windowRows);

// Windows whose sums leave 32 bits, on images larger than any camera's: the same by single columns.
void wideWindowRows(const WindowJob& job) {
  std::vector<int64_t> columns(static_cast<size_t>(job.width), 0);
  const auto moveRow = [&](int32_t y, int64_t sign) {
    const uint8_t* row = job.source.row(y);
    for (size_t x = 0; x < columns.size(); ++x) columns[x] += sign * row[x];
  };
  for (int32_t y = 0; y < std::min(job.half, job.height); ++y) moveRow(y, 1);
  for (int32_t y = 0; y < job.height; ++y) {
    if (y + job.half < job.height) moveRow(y + job.half, 1);
    if (y > job.half) moveRow(y - job.half - 1, -1);
    const int64_t rows = std::min(y + job.half, job.height - 1) - std::max(y - job.half, 0) + 1;
    int64_t sum = 0;
    for (int32_t x = 0; x < std::min(job.half, job.width); ++x) sum += columns[static_cast<size_t>(x)];
    uint8_t* out = job.destination.row(job.corner.y + y) + job.corner.x;
    for (int32_t x = 0; x < job.width; ++x) {
      if (x + job.half < job.width) sum += columns[static_cast<size_t>(x) + static_cast<size_t>(job.half)];
      if (x > job.half) sum -= columns[static_cast<size_t>(x - job.half - 1)];
      const int64_t count = rows * (std::min(x + job.half, job.width - 1) - std::max(x - job.half, 0) + 1);
      const int32_t p = job.source.row(y)[x];
      out[x] = job.highPass ? clipToByte(static_cast<int32_t>(p - (sum - p) / (count - 1) + 128))
                            : static_cast<uint8_t>(sum / count);
    }
  }
}
}  // namespace

bool windowFilter(CZZimage& destination, WindowMode mode, const CZZimage& source, const Rect& rect,
                  int32_t window) {
  if (!isFilterable(source) || !isFilterable(destination)) return false;
  const Rect area = source.clipToImage(rect);
  if (area.isEmpty() || area.right > destination.width || area.bottom > destination.height) return false;
  const int64_t wanted = std::abs(static_cast<int64_t>(window));
  if (wanted == 0 || !windowFits(window, {area.width(), area.height()})) return false;
  const bool highPass = window > 0 && mode == WindowMode::HighPass;

  const PaddedPlane copy(CZZchildimage(area.width(), area.height(),
                                       const_cast<uint8_t*>(source.row(area.top)) + area.left, source.stride),
                         0, 0);
  if (!copy.valid()) return false;
  const int32_t half = static_cast<int32_t>(wanted / 2);
  const WindowJob job{copy, destination, area.topLeft(), area.width(), area.height(), half, highPass};
  const int64_t side = 2 * int64_t{half} + 1;
  if (side == 1) {  // a pixel is its own mean, and has no others to be held against
    for (int32_t y = 0; y < job.height; ++y)
      std::copy_n(copy.row(y), job.width, destination.row(area.top + y) + area.left);
  } else if (side * side * 255 > std::numeric_limits<int32_t>::max()) {
    wideWindowRows(job);
  } else {
    parallelFor(job.height, std::max<int64_t>(side, 64), [&](int64_t begin, int64_t end) {
      HWY_DYNAMIC_DISPATCH(windowRows)(job, static_cast<int32_t>(begin), static_cast<int32_t>(end));
    });
  }
  return true;
}

}  // namespace tarnvisor
#endif
