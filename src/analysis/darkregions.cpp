#include "analysis/darkregions.h"

#include <algorithm>
#include <bit>
#include <numeric>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "darkregions.cpp"
#include <hwy/foreach_target.h>
// after foreach_target.h
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace tarnvisor {
namespace HWY_NAMESPACE {
namespace {
namespace hn = hwy::HWY_NAMESPACE;

// One bit a pixel of a whole number of vectors, lowest first: set where the pixel is 0. Returns the pixels
// done.
int32_t zeroBits(const uint8_t* row, int32_t width, uint8_t* bits) {
  const hn::CappedTag<uint8_t, 64> d;
  const int32_t lanes = static_cast<int32_t>(hn::Lanes(d));
  if (lanes < 8) return 0;
  int32_t x = 0;
  for (; x + lanes <= width; x += lanes)
    hn::StoreMaskBits(d, hn::Eq(hn::LoadU(d, row + x), hn::Zero(d)), bits + x / 8);
  return x;
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace tarnvisor
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tarnvisor {
namespace {
HWY_EXPORT(zeroBits);

// The earliest member's index; paths are halved on the way.
uint32_t rootOf(std::vector<uint32_t>& parent, uint32_t i) {
  while (parent[i] != i) i = parent[i] = parent[parent[i]];
  return i;
}

void join(std::vector<uint32_t>& parent, uint32_t a, uint32_t b) {
  a = rootOf(parent, a);
  b = rootOf(parent, b);
  if (a < b)
    parent[b] = a;
  else
    parent[a] = b;
}

// Calls touch(a, b) for each pair of runs, one of each row, that share a column. Both are sorted.
template <class Touch>
void forTouching(std::span<const PixelRun> above, std::span<const PixelRun> below, const Touch& touch) {
  size_t a = 0;
  for (size_t b = 0; b < below.size(); ++b) {
    while (a < above.size() && above[a].end <= below[b].begin) ++a;
    for (size_t i = a; i < above.size() && above[i].begin < below[b].end; ++i) touch(i, b);
  }
}

// A region's holes from its runs alone. The gaps between runs are joined to gaps of the rows above and below;
// those that never meet the outside are holes. Gap 0 stands for the outside.
class HoleFinder {
 public:
  HoleFinder(const std::vector<PixelRun>& regionRuns, const Rect& regionBox)
      : runs(regionRuns), box(regionBox) {}

  std::vector<PixelRun> find() {
    gaps.push_back({});
    const int32_t lastRow = box.bottom - 2;  // the box's last row is not looked at
    size_t run = 0;
    size_t above = 0;  // where the gaps of the row above begin; 0 for none
    for (int32_t y = box.top; y <= lastRow; ++y) {
      const size_t here = gaps.size();
      run = addGaps(run, y);
      if (y == box.top || y == lastRow)
        for (size_t gap = here; gap < gaps.size(); ++gap) open.push_back(static_cast<uint32_t>(gap));
      if (above) touching.push_back({above, here});
      above = here;
    }
    return closedGaps();
  }

 private:
  struct RowPair {
    size_t above, here;
  };

  // The gaps of a row, from left of the box to right of it. Its last two columns count as open.
  size_t addGaps(size_t run, int32_t y) {
    int32_t begin = box.left - 1;
    open.push_back(static_cast<uint32_t>(gaps.size()));
    for (; run < runs.size() && runs[run].y == y; ++run) {
      if (runs[run].begin >= box.right - 2) continue;
      if (runs[run].begin > begin) gaps.push_back({y, begin, runs[run].begin});
      begin = std::min(runs[run].end, box.right - 2);
    }
    open.push_back(static_cast<uint32_t>(gaps.size()));
    gaps.push_back({y, begin, box.right});
    return run;
  }

  std::vector<PixelRun> closedGaps() {
    std::vector<uint32_t> parent(gaps.size());
    std::iota(parent.begin(), parent.end(), 0u);
    for (const uint32_t gap : open) join(parent, 0, gap);
    const std::span<const PixelRun> all(gaps);
    for (size_t i = 0; i < touching.size(); ++i) {
      const size_t above = touching[i].above;
      const size_t here = touching[i].here;
      const size_t end = i + 1 < touching.size() ? touching[i + 1].here : gaps.size();
      forTouching(all.subspan(above, here - above), all.subspan(here, end - here), [&](size_t a, size_t b) {
        join(parent, static_cast<uint32_t>(above + a), static_cast<uint32_t>(here + b));
      });
    }
    std::vector<PixelRun> holes;
    for (uint32_t gap = 1; gap < gaps.size(); ++gap)
      if (rootOf(parent, gap) != 0) holes.push_back(gaps[gap]);
    return holes;
  }

  const std::vector<PixelRun>& runs;
  Rect box;
  std::vector<PixelRun> gaps;
  std::vector<uint32_t> open;
  std::vector<RowPair> touching;
};
}  // namespace

void PixelSums::add(const PixelRun& run) {
  const int64_t length = run.end - run.begin;
  count += length;
  x += (int64_t{run.begin} + run.end - 1) * length / 2;
  y += run.y * length;
}

DarkRegions::DarkRegions(const CZZimage& image) {
  rowStart.push_back(0);
  if (image.empty() || image.bytesPerPixel != 1) return;
  findRuns(image);
  joinRuns();
  numberRegions();
}

void DarkRegions::findRuns(const CZZimage& image) {
  std::vector<uint64_t> bits(static_cast<size_t>(image.width) / 64 + 2);
  auto* bytes = reinterpret_cast<uint8_t*>(bits.data());
  for (int32_t y = 0; y < image.height; ++y) {
    const uint8_t* row = image.row(y);
    const int32_t done = HWY_DYNAMIC_DISPATCH(zeroBits)(row, image.width, bytes);
    std::fill(bytes + done / 8, bytes + bits.size() * 8, uint8_t{0});
    for (int32_t x = done; x < image.width; ++x)
      if (row[x] == 0) bytes[x / 8] = static_cast<uint8_t>(bytes[x / 8] | 1 << (x % 8));
    // Bits that differ from the one before are where runs begin and end, in turn.
    uint64_t before = 0;
    int32_t begin = -1;
    for (size_t word = 0; word < bits.size(); ++word) {
      for (uint64_t edges = bits[word] ^ (bits[word] << 1 | before); edges != 0; edges &= edges - 1) {
        const int32_t x = static_cast<int32_t>(word * 64) + std::countr_zero(edges);
        if (begin >= 0) runs.push_back({y, begin, x});
        begin = begin >= 0 ? -1 : x;
      }
      before = bits[word] >> 63;
    }
    rowStart.push_back(static_cast<uint32_t>(runs.size()));
  }
}

// Rows from 1 on are joined to each other first: there a step up is always allowed, so the fill's regions are
// the 4-connected ones. Row 0 comes before them in raster order and its runs in turn: each is filled from
// itself, takes what touches it from below and has not been taken, and can't be reached from there. A region
// that a run of row 0 has taken has that run, the earliest of its members, as root.
void DarkRegions::joinRuns() {
  parent.resize(runs.size());
  std::iota(parent.begin(), parent.end(), 0u);
  const std::span<const PixelRun> all(runs);
  const auto rowRuns = [&](size_t y) { return all.subspan(rowStart[y], rowStart[y + 1] - rowStart[y]); };
  const size_t rows = rowStart.size() - 1;
  for (size_t y = 2; y < rows; ++y)
    forTouching(rowRuns(y - 1), rowRuns(y), [&](size_t a, size_t b) {
      join(parent, rowStart[y - 1] + static_cast<uint32_t>(a), rowStart[y] + static_cast<uint32_t>(b));
    });
  if (rows < 2) return;
  const uint32_t firstBelow = rowStart[1];
  for (uint32_t top = 0; top < firstBelow; ++top)
    forTouching(all.subspan(top, 1), rowRuns(1), [&](size_t, size_t b) {
      const uint32_t root = rootOf(parent, firstBelow + static_cast<uint32_t>(b));
      if (root >= firstBelow) join(parent, top, root);
    });
}

void DarkRegions::numberRegions() {
  regionOf.resize(runs.size());
  std::vector<uint32_t> runCount;
  for (uint32_t i = 0; i < runs.size(); ++i) {
    const uint32_t root = rootOf(parent, i);
    const PixelRun& run = runs[i];
    if (root == i) {
      regionOf[i] = static_cast<uint32_t>(regions.size());
      regions.push_back({{}, {run.begin, run.y, run.end, run.y + 1}});
      runCount.push_back(0);
    }
    const uint32_t number = regionOf[i] = regionOf[root];
    DarkRegion& region = regions[number];
    region.sums.add(run);
    region.box = {std::min(region.box.left, run.begin), region.box.top, std::max(region.box.right, run.end),
                  run.y + 1};
    ++runCount[number];
  }
  parent.clear();
  firstRun.assign(regions.size() + 1, 0);
  std::partial_sum(runCount.begin(), runCount.end(), firstRun.begin() + 1);
  std::vector<uint32_t> next(firstRun.begin(), firstRun.end());
  order.resize(runs.size());
  for (uint32_t i = 0; i < runs.size(); ++i) order[next[regionOf[i]]++] = i;
}

std::vector<PixelRun> DarkRegions::runsOf(size_t region) const {
  std::vector<PixelRun> result;
  result.reserve(firstRun[region + 1] - firstRun[region]);
  for (uint32_t i = firstRun[region]; i < firstRun[region + 1]; ++i) result.push_back(runs[order[i]]);
  return result;
}

std::vector<PixelRun> DarkRegions::holesOf(size_t region) const {
  const Rect& box = regions[region].box;
  // One run a row leaves no gap between runs.
  if (static_cast<int64_t>(firstRun[region + 1] - firstRun[region]) == box.height() || box.width() < 3)
    return {};
  return HoleFinder(runsOf(region), box).find();
}

void DarkRegions::regionsIn(const PixelRun& run, std::vector<uint32_t>& found) const {
  const auto from = runs.begin() + rowStart[static_cast<size_t>(run.y)];
  const auto to = runs.begin() + rowStart[static_cast<size_t>(run.y) + 1];
  auto i = std::partition_point(from, to, [&](const PixelRun& r) { return r.end <= run.begin; });
  for (; i != to && i->begin < run.end; ++i) found.push_back(regionOf[static_cast<size_t>(i - runs.begin())]);
}

}  // namespace tarnvisor
#endif
