#include <algorithm>
#include <array>
#include <atomic>
#include <limits>
#include <map>
#include <new>
#include <numeric>
#include <thread>

#include "base/numbers.h"
#include "base/parallel.h"
#include "base/text.h"
#include "image/accumulate.h"
#include "movie/bytesums.h"
#include "movie/moviefile.h"
#include "movie/moviepass.h"
#include "movie/zzmovie.h"
#include "settings/log.h"
#include "video/videoreader.h"

namespace tarnvisor {

constexpr int64_t kMostCanvas = int64_t{1} << 28;  // pixels
constexpr int64_t kLeastRows = 16;                 // for a thread
constexpr int64_t kMostSums = int64_t{1} << 24;    // that a thread keeps

// A frame on a canvas: where its first pixel lies, in the canvas's own pixels and rows.
struct CZZMovie::Placement {
  int32_t index;
  int32_t x, y;
};

CZZMovie::Extents CZZMovie::frameExtents(int32_t first, int32_t last) {
  const Range range = clamped(first, last);
  if (range.size() < 1) return {};
  int64_t left = INT64_MAX, top = INT64_MAX, right = INT64_MIN, bottom = INT64_MIN;
  for (int32_t i = range.first; i < range.last; ++i) {
    const FrameRecord& record = recordOf(i);
    left = std::min<int64_t>(left, record.xOrigin);
    top = std::min<int64_t>(top, record.yOrigin);
    right = std::max<int64_t>(right, record.xOrigin);
    bottom = std::max<int64_t>(bottom, record.yOrigin);
  }
  return {right - left + holder.width, bottom - top + holder.frameHeight(), left, top};
}

bool CZZMovie::prepareCanvas(CZZimage& image, const Extents& extents) {
  if (extents.width < 1 || extents.width > kMostCanvas / extents.height) {
    trouble = extents.width < 1 ? "There are no frames." : "The frames lie too far apart for one image.";
    return false;
  }
  image.interlace = holder.interlace;
  if (!image.setColourset(holder.colourset) ||
      !image.setSize(static_cast<int32_t>(extents.width), static_cast<int32_t>(extents.height)))
    return false;
  image.xOrigin = static_cast<int32_t>(extents.x);
  image.setYOrigin(static_cast<int32_t>(extents.y));
  image.frameNumber = frame.frameNumber;
  return true;
}

std::vector<CZZMovie::Placement> CZZMovie::placements(const Range& range, const Extents& extents) {
  std::vector<Placement> placed;
  const int32_t rowsPerRow = holder.isField() ? 2 : 1;
  for (int32_t i = range.first; i < range.last; ++i) {
    const FrameRecord& record = recordOf(i);
    placed.push_back({i, static_cast<int32_t>(record.xOrigin - extents.x),
                      static_cast<int32_t>((record.yOrigin - extents.y) / rowsPerRow)});
  }
  return placed;
}

namespace {

// Sums of bytes: 16 bits hold 256 of them, so that most of the adding is done in little memory.
class ByteSums {
 public:
  explicit ByteSums(size_t places) : few(places), all(places) {}

  // Before the frames are added row by row.
  void begin(size_t frames) {
    if (inFew + frames > 256) collect();
    inFew += frames;
  }
  void add(kernels::Runs rows, size_t count, size_t at) { kernels::addBytes(rows, count, few.data() + at); }
  const std::vector<uint32_t>& sums() {
    collect();
    return all;
  }

 private:
  void collect() {
    for (size_t i = 0; i < all.size(); ++i) all[i] += few[i];
    std::fill(few.begin(), few.end(), uint16_t{0});
    inFew = 0;
  }
  std::vector<uint16_t> few;
  std::vector<uint32_t> all;
  size_t inFew = 0;  // frames
};

// How many rectangles cover each place, from their corners alone.
class Coverage {
 public:
  Coverage(int32_t columns, int32_t rows)
      : width(static_cast<size_t>(columns) + 1), steps(width * (static_cast<size_t>(rows) + 1)) {}
  void add(int32_t x, int32_t columns, int32_t top, int32_t bottom) {
    at(x, top) += 1;
    at(x + columns, top) -= 1;
    at(x, bottom) -= 1;
    at(x + columns, bottom) += 1;
  }
  // Row after row from the first.
  const int32_t* nextRow() {
    int32_t* line = steps.data() + width * static_cast<size_t>(row);
    const int32_t* above = row > 0 ? line - width : nullptr;
    std::partial_sum(line, line + width, line);
    for (size_t x = 0; above && x < width; ++x) line[x] += above[x];
    ++row;
    return line;
  }

 private:
  int32_t& at(int32_t x, int32_t y) { return steps[width * static_cast<size_t>(y) + static_cast<size_t>(x)]; }
  size_t width;
  std::vector<int32_t> steps;
  int32_t row = 0;
};

void writeMeans(CZZimage& image, int32_t from, int32_t to, ByteSums& sums, Coverage& coverage) {
  const uint32_t* sum = sums.sums().data();
  for (int32_t y = from; y < to; ++y) {
    const int32_t* frames = coverage.nextRow();
    uint8_t* out = image.row(y);
    for (int32_t x = 0; x < image.width; ++x)
      for (int32_t channel = 0; channel < image.bytesPerPixel; ++channel, ++sum)
        *out++ = frames[x] ? static_cast<uint8_t>(*sum / static_cast<uint32_t>(frames[x])) : uint8_t{0};
  }
}

}  // namespace

// Rows of a frame, one after the other; null when they can't be read. What they are read into is the
// caller's.
const uint8_t* CZZMovie::rowsOf(int32_t index, int32_t first, int32_t last, CZZimage& into) {
  if (memory) return memory.get() + slotBytes() * slotOf(index) + int64_t{first} * holder.stride;
  if (!readsRows()) {
    getImage(index, into);
    return into.empty() || !isRead ? nullptr : into.row(first);
  }
  if (into.height != last - first && !into.resizedata(holder.width, last - first, holder.bytesPerPixel))
    return nullptr;
  const auto bytes = static_cast<size_t>(int64_t{last - first} * holder.stride);
  const int64_t at = dataOffset + frameBytes * slotOf(index) + int64_t{first} * holder.stride;
  return file->read(into.pixels, bytes, at) == bytes ? into.pixels : nullptr;
}

// The mean in the canvas's rows from `from` to `to`. Frames at the same place are added four at a time.
// tell: after each frame; false ends the walk.
void CZZMovie::sumRows(CZZimage& image, const std::vector<Placement>& placed, int32_t from, int32_t to,
                       const std::function<bool(size_t)>& tell) {
  const auto canvasBytes = static_cast<size_t>(image.rowBytes);
  ByteSums sums(canvasBytes * static_cast<size_t>(to - from));
  Coverage coverage(image.width, to - from);
  // Rows that follow each other in the frame as on the canvas are one.
  const bool asWhole = image.rowBytes == holder.rowBytes && holder.stride == holder.rowBytes;
  std::array<CZZimage, 4> read;
  std::vector<const uint8_t*> rows;
  Placement place{};
  const auto addRows = [&] {
    const int32_t top = std::max(from, place.y), bottom = std::min(to, place.y + holder.height);
    const int32_t rowsAtOnce = asWhole ? bottom - top : 1;
    const auto bytes = static_cast<size_t>(holder.rowBytes) * static_cast<size_t>(rowsAtOnce);
    sums.begin(rows.size());
    for (int32_t y = top; y < bottom; y += rowsAtOnce) {
      sums.add(rows, bytes,
               canvasBytes * static_cast<size_t>(y - from) +
                   static_cast<size_t>(place.x) * static_cast<size_t>(image.bytesPerPixel));
      for (const uint8_t*& row : rows) row += holder.stride;
    }
    rows.clear();
  };
  for (const Placement& p : placed) {
    if (!tell(static_cast<size_t>(&p - placed.data()))) return;
    const int32_t top = std::max(from, p.y), bottom = std::min(to, p.y + holder.height);
    if (top >= bottom) continue;
    if (!rows.empty() && (rows.size() == read.size() || p.x != place.x || p.y != place.y)) addRows();
    const uint8_t* first = rowsOf(p.index, top - p.y, bottom - p.y, read[rows.size()]);
    if (!first) continue;
    rows.push_back(first);
    place = p;
    coverage.add(p.x, holder.width, top - from, bottom - from);
  }
  if (!rows.empty()) addRows();
  writeMeans(image, from, to, sums, coverage);
}

// False when the user stopped it.
bool CZZMovie::averageOf(CZZimage& image, const std::vector<Placement>& placed) {
  MoviePass averaging(*this, "Averaging", static_cast<int32_t>(placed.size()));
  std::atomic<bool> stopped = false;
  const auto mine = std::this_thread::get_id();
  // Only the thread that asked for the average tells how far it is: the others do the same share meanwhile.
  const auto walk = [&](int32_t first, int32_t end, int32_t from, int32_t to) {
    sumRows(image, placed, from, to, [&](size_t frameNumber) {
      if (std::this_thread::get_id() == mine) {
        const int64_t rows = end - first, before = from - first;
        const auto frames = static_cast<int64_t>(placed.size());
        if (!averaging.goesOn(before * frames + (to - from) * static_cast<int64_t>(frameNumber),
                              rows * frames))
          stopped = true;
      }
      return !stopped;
    });
  };
  if (!memory && !readsRows()) {
    walk(0, image.height, 0, image.height);
    return !stopped;
  }
  // Each thread walks all frames for its own rows, so that the file is read in its order. Only a canvas far
  // larger than a frame is walked in bands, for the memory of the sums.
  const int64_t band = std::max<int64_t>(kLeastRows, kMostSums / image.rowBytes);
  parallelFor(image.height, kLeastRows, [&](int64_t begin, int64_t end) {
    for (int64_t from = begin; from < end && !stopped; from += band)
      walk(static_cast<int32_t>(begin), static_cast<int32_t>(end), static_cast<int32_t>(from),
           static_cast<int32_t>(std::min(end, from + band)));
  });
  return !stopped;
}

bool CZZMovie::averageInto(CZZimage& image, int32_t first, int32_t last) {
  const Extents extents = frameExtents(first, last);
  return prepareCanvas(image, extents) && averageOf(image, placements(clamped(first, last), extents));
}

bool CZZMovie::deviationInto(CZZimage& image, int32_t first, int32_t last) {
  const Range range = clamped(first, last);
  if (range.size() < 1 || holder.bytesPerPixel != 1) return false;
  PixelStatistics statistics;
  CZZimage each;
  getImage(range.first, each);
  if (!image.copyImage(each)) return false;
  image.startStats(&statistics);
  MoviePass deviating(*this, "Computing deviations", range.size());
  while (deviating.next()) {
    getImage(range.first + deviating.step(), each);
    if (!isRead) trouble = format("image %i can't be read", range.first + deviating.step());
    if (!isRead) return false;
    each.addStats(&statistics);
  }
  image.finishStats(&statistics);
  return !deviating.wasStopped();
}

std::optional<int32_t> CZZMovie::bestFocusInto(CZZimage& image, const FocusMeasure& measure, int32_t /*step*/,
                                               int32_t first, int32_t last) {
  const Range range = clamped(first, last);
  const Extents extents = frameExtents(first, last);
  if (!prepareCanvas(image, extents)) return std::nullopt;
  const std::vector<Placement> all = placements(range, extents);
  std::vector<double> focus;
  CZZimage each;
  MoviePass measuring(*this, "Looking for the sharpest images", static_cast<int32_t>(all.size()));
  while (measuring.next()) {
    getImage(all[static_cast<size_t>(measuring.step())].index, each);
    focus.push_back(isRead ? measure(each) : 0.0);
  }
  if (measuring.wasStopped()) return std::nullopt;
  const int32_t height = holder.frameHeight();
  const int64_t stepX = std::max(1, holder.width / 2), stepY = std::max(1, height / 2);
  // From the canvas's corner on, but only while it is below the room for movement as such: it has always been
  // so. An origin on an edge lies in no cell.
  std::map<std::pair<int64_t, int64_t>, size_t> best;
  for (size_t i = 0; i < all.size(); ++i) {
    const FrameRecord& record = recordOf(all[i].index);
    const int64_t right = record.xOrigin - extents.x, down = record.yOrigin - extents.y;
    const bool onEdge = right % stepX == 0 || down % stepY == 0;
    const bool walked = record.xOrigin - right % stepX < extents.width - holder.width &&
                        record.yOrigin - down % stepY < extents.height - height;
    if (onEdge || !walked || !(focus[i] > 0.0)) continue;
    const auto [cell, isFirst] = best.try_emplace({down / stepY, right / stepX}, i);
    if (!isFirst && focus[i] > focus[cell->second]) cell->second = i;
  }
  std::vector<Placement> sharpest;
  sharpest.reserve(best.size());
  for (const auto& [cell, i] : best) sharpest.push_back(all[i]);
  if (!averageOf(image, sharpest)) return std::nullopt;
  return static_cast<int32_t>(sharpest.size());
}

}  // namespace tarnvisor
