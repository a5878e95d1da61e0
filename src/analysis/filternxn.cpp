#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <vector>

#include "analysis/kernelfilter.h"
#include "base/numbers.h"
#include "base/parallel.h"
#include "paddedplane.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filternxn.cpp"
#include <hwy/aligned_allocator.h>
#include <hwy/foreach_target.h>
// after foreach_target.h
#include <hwy/highway.h>

#include "rows-inl.h"

#ifndef TARNVISOR_FILTERNXN_JOB
#define TARNVISOR_FILTERNXN_JOB
namespace tarnvisor {
namespace {

constexpr int32_t kStrip = 32;  // columns worked on at a time: what they need stays in the first cache

struct NxNJob {
  CZZimage& image;
  const PaddedPlane& source;  // with size / 2 rows and columns of zeros around it
  std::span<const int32_t> kernel;
  int32_t size;
  int32_t half;
  double factor;
  int32_t offset;
  std::vector<int64_t> corner;   // sums of the kernel's upper left corners, (size + 1) squared
  std::vector<int32_t> quarter;  // a mirrored kernel's cells by distance from the centre, two columns packed

  // factor / s at a pixel.
  double scaleAt(int32_t x, int32_t y) const {
    const int32_t left = std::clamp(half - x, 0, size);
    const int32_t right = std::clamp(image.width - x + half, 0, size);
    const int32_t top = std::clamp(half - y, 0, size);
    const int32_t bottom = std::clamp(image.height - y + half, 0, size);
    const auto at = [&](int32_t row, int32_t column) {
      return corner[static_cast<size_t>(row) * static_cast<size_t>(size + 1) + static_cast<size_t>(column)];
    };
    const int64_t s = at(bottom, right) - at(top, right) - at(bottom, left) + at(top, left);
    return s == 0 ? factor : factor / static_cast<double>(s);
  }
  bool rowIsInside(int32_t y) const { return y >= half && y + (size - half) <= image.height; }
};

}  // namespace
}  // namespace tarnvisor
#endif

HWY_BEFORE_NAMESPACE();
namespace tarnvisor {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR
template <class D, class V>
HWY_INLINE V addProducts(D d, V pixels, int32_t weights, V total, V&) {
  const int32_t p = hn::GetLane(pixels);
  const int32_t sum = (p & 0xFFFF) * static_cast<int16_t>(weights & 0xFFFF) + (p >> 16) * (weights >> 16);
  return hn::Add(total, hn::Set(d, sum));
}
template <class V>
HWY_INLINE V finished(V total, V) {
  return total;
}
#else
// Adds the products of both packed values to a lane; what is added up where is the processor's own.
template <class D, class V>
HWY_INLINE V addProducts(D d, V pixels, int32_t weights, V total, V& spare) {
  const hn::Repartition<int16_t, D> d16;
  const auto k = hn::BitCast(d16, hn::Set(d, weights));
  return hn::ReorderWidenMulAccumulate(d, hn::BitCast(d16, pixels), k, total, spare);
}
template <class V>
HWY_INLINE V finished(V total, V spare) {
  return hn::RearrangeToOddPlusEven(total, spare);
}
#endif

// A strip of a mirrored kernel's result. Because k(i, j) is the same for +-i and +-j, each source row is kept
// as its column sums p(x - j) + p(x + j), two neighbouring j packed into one 32-bit lane, and rows at +-i are
// added before the multiplication: a quarter of the products, two to an instruction. Rows and columns outside
// the image are zeros, which leaves out the kernel's cells there.
class MirroredStrip {
 public:
  explicit MirroredStrip(const NxNJob& filterJob)
      : job(filterJob), pairs((job.half + 2) / 2), rowLength(static_cast<size_t>(pairs) * kStrip) {
    const size_t rows = static_cast<size_t>(job.size);
    folded = hwy::AllocateAligned<int32_t>(rowLength * (rows + 1));
    std::fill_n(folded.get() + rowLength * rows, rowLength, 0);
  }

  void run(int32_t x0) {
    const int32_t count = std::min(kStrip, job.image.width - x0);
    bool insideFactors = false;
    for (int32_t y = -job.half; y < job.image.height + job.half; ++y) {
      fold(job.source.row(y) + x0, rowAt(y));
      const int32_t target = y - job.half;
      if (target < 0) continue;
      const bool inside = job.rowIsInside(target);
      if (!inside || !insideFactors)
        for (int32_t x = 0; x < count; ++x) factors[x] = job.scaleAt(x0 + x, target);
      insideFactors = inside;
      sum(target);
      scaledRow(sums, factors, job.offset, count);
      clippedRow(sums, job.image.row(target) + x0, count);
    }
  }

 private:
  using D = hn::CappedTag<int32_t, 16>;
  static constexpr size_t kVectors = kStrip / hn::MaxLanes(D());

  int32_t* rowAt(int32_t y) {
    return folded.get() + rowLength * static_cast<size_t>((y + job.half) % job.size);
  }

  void fold(const uint8_t* HWY_RESTRICT row, int32_t* HWY_RESTRICT to) const {
    const D d;
    const hn::Rebind<uint8_t, D> d8;
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(d));
    const auto at = [&](int32_t x) { return hn::PromoteTo(d, hn::LoadU(d8, row + x)); };
    for (int32_t pair = 0; pair < pairs; ++pair, to += kStrip) {
      const int32_t j = 2 * pair;
      // Past the kernel's edge the weight is 0: take any pixel that can be read.
      const int32_t next = std::min(j + 1, job.half);
      for (int32_t x = 0; x < kStrip; x += lanes) {
        const auto even = j == 0 ? at(x) : hn::Add(at(x - j), at(x + j));
        const auto odd = hn::Add(at(x - next), at(x + next));
        hn::StoreU(hn::Or(even, hn::ShiftLeft<16>(odd)), d, to + x);
      }
    }
  }

  void sum(int32_t y) {
    const D d;
    const size_t lanes = hn::Lanes(d);
    hn::Vec<D> total[kVectors];
    hn::Vec<D> spare[kVectors];
    for (size_t v = 0; v < kVectors; ++v) total[v] = spare[v] = hn::Zero(d);
    const int32_t* weight = job.quarter.data();
    const size_t slots = static_cast<size_t>(job.size);
    size_t upSlot = static_cast<size_t>((y + job.half) % job.size);
    size_t downSlot = upSlot;
    for (int32_t i = 0; i <= job.half; ++i) {
      const int32_t* HWY_RESTRICT up = folded.get() + rowLength * upSlot;
      // The middle row has no partner.
      const int32_t* HWY_RESTRICT down = folded.get() + rowLength * (i == 0 ? slots : downSlot);
      upSlot = upSlot == 0 ? slots - 1 : upSlot - 1;
      downSlot = downSlot + 1 == slots ? 0 : downSlot + 1;
#pragma GCC unroll 4
      for (int32_t pair = 0; pair < pairs; ++pair, up += kStrip, down += kStrip) {
        const int32_t k = *weight++;
        for (size_t v = 0; v < kVectors; ++v) {
          const auto pixels = hn::Add(hn::Load(d, up + v * lanes), hn::Load(d, down + v * lanes));
          total[v] = addProducts(d, pixels, k, total[v], spare[v]);
        }
      }
    }
    for (size_t v = 0; v < kVectors; ++v) hn::StoreU(finished(total[v], spare[v]), d, sums + v * lanes);
  }

  const NxNJob& job;
  int32_t pairs;
  size_t rowLength;
  hwy::AlignedFreeUniquePtr<int32_t[]> folded;  // of the last size rows, and a row of zeros
  int32_t sums[kStrip + 16] = {};
  double factors[kStrip + 16] = {};
};

void mirroredStrips(const NxNJob& job, int32_t begin, int32_t end) {
  MirroredStrip strip(job);
  for (int32_t i = begin; i < end; ++i) strip.run(i * kStrip);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace tarnvisor
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tarnvisor {
namespace {
HWY_EXPORT(mirroredStrips);

int32_t cell(const NxNJob& job, int32_t row, int32_t column) {
  return job.kernel[static_cast<size_t>(row) * static_cast<size_t>(job.size) + static_cast<size_t>(column)];
}

void addCorners(NxNJob& job) {
  const size_t line = static_cast<size_t>(job.size) + 1;
  job.corner.assign(line * line, 0);
  for (size_t row = 1; row < line; ++row) {
    int64_t sum = 0;
    for (size_t column = 1; column < line; ++column) {
      sum += cell(job, static_cast<int32_t>(row) - 1, static_cast<int32_t>(column) - 1);
      job.corner[row * line + column] = job.corner[(row - 1) * line + column] + sum;
    }
  }
}

// Whether sums fit 32 bits, weights 16, and the kernel is its own mirror both ways.
bool takesFastRoad(const NxNJob& job) {
  if (job.size % 2 == 0 || !std::isfinite(job.factor)) return false;
  int64_t reach = 0;
  for (int32_t row = 0; row < job.size; ++row) {
    for (int32_t column = 0; column < job.size; ++column) {
      const int32_t k = cell(job, row, column);
      if (k < -32768 || k > 32767 || k != cell(job, job.size - 1 - row, column) ||
          k != cell(job, row, job.size - 1 - column))
        return false;
      reach += 255 * std::abs(int64_t{k});
    }
  }
  return reach <= std::numeric_limits<int32_t>::max();
}

void packQuarter(NxNJob& job) {
  for (int32_t i = 0; i <= job.half; ++i) {
    for (int32_t j = 0; j <= job.half; j += 2) {
      const int32_t even = cell(job, job.half + i, job.half + j);
      const int32_t odd = j < job.half ? cell(job, job.half + i, job.half + j + 1) : 0;
      job.quarter.push_back(static_cast<int32_t>(static_cast<uint32_t>(odd) << 16 | (even & 0xFFFF)));
    }
  }
}

void plainRows(const NxNJob& job, int32_t begin, int32_t end) {
  for (int32_t y = begin; y < end; ++y) {
    const int32_t top = std::max(job.half - y, 0);
    const int32_t bottom = std::min(job.image.height - y + job.half, job.size);
    for (int32_t x = 0; x < job.image.width; ++x) {
      const int32_t left = std::max(job.half - x, 0);
      const int32_t right = std::min(job.image.width - x + job.half, job.size);
      int64_t sum = 0;
      for (int32_t row = top; row < bottom; ++row) {
        const uint8_t* pixel = job.source.row(y + row - job.half) + x - job.half;
        for (int32_t column = left; column < right; ++column)
          sum += int64_t{cell(job, row, column)} * pixel[column];
      }
      job.image.row(y)[x] = truncatedToByte(static_cast<double>(sum) * job.scaleAt(x, y) + job.offset);
    }
  }
}
}  // namespace

bool filterNxN(CZZimage& image, std::span<const int32_t> kernel, int32_t size, double factor,
               int32_t offset) {
  if (!isFilterable(image) || size < 1 || size > 8191) return false;
  if (kernel.size() != static_cast<size_t>(size) * static_cast<size_t>(size)) return false;
  const int32_t half = size / 2;
  const PaddedPlane source(image, half, half);
  if (!source.valid()) return false;
  NxNJob job{image, source, kernel, size, half, factor, offset, {}, {}};
  addCorners(job);
  if (takesFastRoad(job)) {
    packQuarter(job);
    parallelFor((image.width + kStrip - 1) / kStrip, 4, [&](int64_t begin, int64_t end) {
      HWY_DYNAMIC_DISPATCH(mirroredStrips)(job, static_cast<int32_t>(begin), static_cast<int32_t>(end));
    });
  } else {
    parallelFor(image.height, 16, [&](int64_t begin, int64_t end) {
      plainRows(job, static_cast<int32_t>(begin), static_cast<int32_t>(end));
    });
  }
  return true;
}

}  // namespace tarnvisor
#endif
