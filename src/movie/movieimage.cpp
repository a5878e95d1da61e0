#include "movie/movieimage.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <climits>
#include <deque>
#include <map>
#include <new>
#include <numeric>
#include <span>
#include <utility>

#include "base/clock.h"
#include "base/parallel.h"
#include "base/text.h"
#include "movie/bytesums.h"

namespace tarnvisor {

namespace {

constexpr int64_t kMostCanvas = int64_t{1} << 28;  // pixels
constexpr int64_t kLeastRows = 16;                 // for a thread
constexpr int64_t kMostSums = int64_t{1} << 24;    // that a thread keeps
constexpr double kWhile = 0.02;                    // seconds that a step lasts

// A frame on a canvas: where its first pixel lies, in the canvas's own pixels and rows.
struct Placement {
  int32_t index;
  int32_t x, y;
};
using Placements = std::vector<Placement>;

Placements placements(CZZMovie& movie, const CZZMovie::Range& range, const CZZMovie::Extents& extents) {
  Placements placed;
  const int32_t rowsPerRow = movie.form().isField() ? 2 : 1;
  for (int32_t i = range.first; i < range.last; ++i) {
    const FrameRecord& record = movie.recordOf(i);
    placed.push_back({i, static_cast<int32_t>(record.xOrigin - extents.x),
                      static_cast<int32_t>((record.yOrigin - extents.y) / rowsPerRow)});
  }
  return placed;
}

// The canvas of those extents, where they lie; null, and why, when there can't be one.
std::unique_ptr<CZZimage> canvasOf(CZZMovie& movie, const CZZMovie::Extents& extents, std::string& why) {
  if (extents.width < 1 || extents.width > kMostCanvas / extents.height) {
    why = extents.width < 1 ? "There are no frames." : "The frames lie too far apart for one image.";
    return nullptr;
  }
  auto canvas = std::make_unique<CZZimage>();
  canvas->interlace = movie.form().interlace;
  if (!canvas->setColourset(movie.form().colourset) ||
      !canvas->setSize(static_cast<int32_t>(extents.width), static_cast<int32_t>(extents.height)))
    return nullptr;
  canvas->xOrigin = static_cast<int32_t>(extents.x);
  canvas->setYOrigin(static_cast<int32_t>(extents.y));
  canvas->frameNumber = movie.image().frameNumber;
  return canvas;
}

// Sums of bytes: 16 bits hold 256 of them, so that most of the adding is done in little memory.
class ByteSums {
 public:
  void prepare(size_t places) {
    few.resize(places);
    all.resize(places);
  }
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
  void prepare(int32_t columns, int32_t rows) {
    width = static_cast<size_t>(columns) + 1;
    steps.resize(width * (static_cast<size_t>(rows) + 1));
  }
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
  size_t width = 0;
  std::vector<int32_t> steps;
  int32_t row = 0;
};

// Rows of the canvas, which one thread sums.
class Band {
 public:
  Band(CZZMovie& of, CZZimage& onto, int32_t first, int32_t end)
      : movie(of), canvas(onto), from(first), to(end) {}

  // False without memory. In the thread that sums, which is the first to touch it.
  bool prepare() {
    try {
      sums.prepare(static_cast<size_t>(canvas.rowBytes) * static_cast<size_t>(to - from));
      coverage.prepare(canvas.width, to - from);
      rows.reserve(read.size());
      return true;
    } catch (const std::bad_alloc&) {
      return false;
    }
  }
  // As many of the frames as a short while lasts, from where the last call ended: threads that look at the
  // clock each for itself need not wait for one another. Frames at the same place are added four at a time.
  void addSome(std::span<const Placement> frames) {
    const double end = steadySeconds() + kWhile;
    for (; taken < frames.size(); ++taken) {
      const Placement& frame = frames[taken];
      const auto [top, bottom] = rowsOf(frame);
      if (top >= bottom) continue;
      if (!rows.empty() && (rows.size() == read.size() || frame.x != place.x || frame.y != place.y)) {
        addRows();
        if (steadySeconds() > end) return;
      }
      const uint8_t* first = movie.rowsOf(frame.index, top - frame.y, bottom - frame.y, read[rows.size()]);
      if (!first) {
        missing = frame.index;
        return;
      }
      rows.push_back(first);
      place = frame;
      coverage.add(frame.x, movie.form().width, top - from, bottom - from);
    }
    if (!rows.empty()) addRows();
  }
  int32_t unread() const { return missing; }  // the frame that could not be read; INT32_MAX for none
  size_t done() const { return taken; }       // frames

  void writeMeans() {
    const uint32_t* sum = sums.sums().data();
    for (int32_t y = from; y < to; ++y) {
      const int32_t* frames = coverage.nextRow();
      uint8_t* out = canvas.row(y);
      for (int32_t x = 0; x < canvas.width; ++x)
        for (int32_t channel = 0; channel < canvas.bytesPerPixel; ++channel, ++sum)
          *out++ = frames[x] ? static_cast<uint8_t>(*sum / static_cast<uint32_t>(frames[x])) : uint8_t{0};
    }
  }

 private:
  std::pair<int32_t, int32_t> rowsOf(const Placement& frame) const {
    return {std::max(from, frame.y), std::min(to, frame.y + movie.form().height)};
  }
  void addRows() {
    const CZZimage& form = movie.form();
    const auto [top, bottom] = rowsOf(place);
    // Rows that follow each other in the frame as on the canvas are one.
    const bool asWhole = canvas.rowBytes == form.rowBytes && form.stride == form.rowBytes;
    const int32_t rowsAtOnce = asWhole ? bottom - top : 1;
    const auto bytes = static_cast<size_t>(form.rowBytes) * static_cast<size_t>(rowsAtOnce);
    sums.begin(rows.size());
    for (int32_t y = top; y < bottom; y += rowsAtOnce) {
      sums.add(rows, bytes,
               static_cast<size_t>(canvas.rowBytes) * static_cast<size_t>(y - from) +
                   static_cast<size_t>(place.x) * static_cast<size_t>(canvas.bytesPerPixel));
      for (const uint8_t*& row : rows) row += form.stride;
    }
    rows.clear();
  }

  CZZMovie& movie;
  CZZimage& canvas;
  int32_t from, to;
  ByteSums sums;
  Coverage coverage;
  std::array<CZZimage, 4> read;  // frames at `place` that wait to be added, and where they begin
  std::vector<const uint8_t*> rows;
  Placement place{};
  size_t taken = 0;  // frames
  int32_t missing = INT32_MAX;
};

}  // namespace

// The mean of frames where they lie on a canvas. Each thread walks the frames for its own rows, so that a
// file is read in its order. Only a canvas far larger than a frame is walked in parts, for the memory of the
// sums.
class FrameMean {
 public:
  FrameMean(CZZMovie& of, CZZimage& onto, Placements where)
      : movie(of), canvas(onto), placed(std::move(where)) {}

  // Throws std::bad_alloc.
  bool next() {
    if (bands.empty()) begin();
    eachBand([&](Band& band) { band.addSome(placed); });
    at = placed.size();
    for (const Band& band : bands) {
      missing = std::min(missing, band.unread());
      at = std::min(at, band.done());
    }
    if (missing != INT32_MAX) return false;
    if (at < placed.size()) return true;
    eachBand([](Band& band) { band.writeMeans(); });
    bands.clear();
    at = 0;
    row = rowEnd;
    return row < canvas.height;
  }
  int32_t unread() const { return missing; }  // INT32_MAX for none
  int64_t done() const {
    return row * static_cast<int64_t>(placed.size()) + (rowEnd - row) * static_cast<int64_t>(at);
  }
  int64_t total() const { return canvas.height * static_cast<int64_t>(placed.size()); }

 private:
  void begin() {
    const int64_t rows = canvas.height - row;
    int64_t count = 1, length = rows;
    if (movie.sharesRows()) {
      count = std::clamp<int64_t>(rows / kLeastRows, 1, parallelThreads());
      length = std::min((rows + count - 1) / count, std::max(kLeastRows, kMostSums / canvas.rowBytes));
    }
    rowEnd = static_cast<int32_t>(std::min<int64_t>(canvas.height, row + count * length));
    const auto edge = [&](int64_t band) {
      return row + static_cast<int32_t>((int64_t{rowEnd} - row) * band / count);
    };
    for (int64_t band = 0; band < count; ++band)
      bands.emplace_back(movie, canvas, edge(band), edge(band + 1));
    std::atomic<bool> enough = true;
    eachBand([&](Band& band) {
      if (!band.prepare()) enough = false;
    });
    if (!enough) throw std::bad_alloc();
  }
  template <class Work>
  void eachBand(Work work) {
    parallelFor(static_cast<int64_t>(bands.size()), 1, [&](int64_t first, int64_t end) {
      for (int64_t band = first; band < end; ++band) work(bands[static_cast<size_t>(band)]);
    });
  }

  CZZMovie& movie;
  CZZimage& canvas;
  Placements placed;
  std::deque<Band> bands;
  size_t at = 0;                // frames that all bands have
  int32_t row = 0, rowEnd = 0;  // of the canvas, the part in work
  int32_t missing = INT32_MAX;
};

// --- what they have in common

MovieImage::MovieImage(CZZMovie& shown, int32_t first, int32_t last)
    : movie(shown), range(shown.clamped(first, last)) {}

MovieImage::~MovieImage() = default;

std::unique_ptr<CZZimage> MovieImage::take() { return trouble.empty() ? std::move(image) : nullptr; }

bool MovieImage::failsAt(int32_t index) {
  trouble = format("image %i can't be read", index);
  return false;
}

// --- the mean

MovieMean::MovieMean(CZZMovie& shown, int32_t first, int32_t last) : MovieImage(shown, first, last) {
  const CZZMovie::Extents extents = movie.frameExtents(range.first, range.last);
  image = canvasOf(movie, extents, trouble);
  if (image) mean = std::make_unique<FrameMean>(movie, *image, placements(movie, range, extents));
}

MovieMean::~MovieMean() = default;

int64_t MovieMean::done() const { return mean ? mean->done() : 0; }
int64_t MovieMean::total() const { return mean ? mean->total() : 0; }

bool MovieMean::next() {
  if (!image) return false;
  if (mean->next()) return true;
  return mean->unread() != INT32_MAX && failsAt(mean->unread());
}

// --- the deviation

MovieDeviation::MovieDeviation(CZZMovie& shown, int32_t first, int32_t last)
    : MovieImage(shown, first, last), at(range.first) {
  if (range.size() < 1 || movie.form().bytesPerPixel != 1) return;
  movie.getImage(range.first, each);
  image = std::make_unique<CZZimage>();
  if (image->copyImage(each))
    image->startStats(&statistics);
  else
    image.reset();
}

bool MovieDeviation::next() {
  if (!image || at >= range.last) return false;
  movie.getImage(at, each);
  if (!movie.hasRead()) return failsAt(at);
  each.addStats(&statistics);
  return ++at < range.last;
}

std::unique_ptr<CZZimage> MovieDeviation::take() {
  if (image && trouble.empty()) image->finishStats(&statistics);
  return MovieImage::take();
}

// --- the sharpest

MovieSharpest::MovieSharpest(CZZMovie& shown, Measure sharpness, int32_t first, int32_t last, Choice choice)
    : MovieImage(shown, first, last),
      measure(std::move(sharpness)),
      wanted(choice),
      extents(shown.frameExtents(range.first, range.last)) {
  image = canvasOf(movie, extents, trouble);
}

MovieSharpest::~MovieSharpest() = default;

std::string MovieSharpest::words() const { return mean ? "Averaging" : "Looking for the sharpest images"; }
int64_t MovieSharpest::done() const { return mean ? mean->done() : static_cast<int64_t>(focus.size()); }
int64_t MovieSharpest::total() const { return mean ? mean->total() : range.size(); }

bool MovieSharpest::hasFocus() const {
  return std::ranges::any_of(focus, [](double measured) { return measured > 0.0; });
}

bool MovieSharpest::next() {
  if (!image) return false;
  if (mean) return mean->next() || (mean->unread() != INT32_MAX && failsAt(mean->unread()));
  const int32_t index = range.first + static_cast<int32_t>(focus.size());
  movie.getImage(index, each);
  if (!movie.hasRead()) return failsAt(index);
  focus.push_back(measure(each));
  if (index + 1 == range.last) choose();
  return true;
}

namespace {

// At least one of some; the order of the images stays.
Placements sharperHalf(const Placements& all, const std::vector<double>& focus) {
  std::vector<double> sorted = focus;
  std::ranges::sort(sorted);
  Placements sharp;
  for (size_t i = 0; i < all.size(); ++i)
    if (focus[i] > 0.0 && focus[i] >= sorted[sorted.size() / 2]) sharp.push_back(all[i]);
  return sharp;
}

// From the canvas's corner on, but only while it is below the room for movement as such: it has always been
// so. An origin on an edge lies in no cell.
Placements sharpestOfCells(CZZMovie& movie, const CZZMovie::Extents& extents, const Placements& all,
                           const std::vector<double>& focus) {
  const int32_t width = movie.form().width, height = movie.form().frameHeight();
  const int64_t stepX = std::max(1, width / 2), stepY = std::max(1, height / 2);
  std::map<std::pair<int64_t, int64_t>, size_t> best;
  for (size_t i = 0; i < all.size(); ++i) {
    const FrameRecord& record = movie.recordOf(all[i].index);
    const int64_t right = record.xOrigin - extents.x, down = record.yOrigin - extents.y;
    const bool onEdge = right % stepX == 0 || down % stepY == 0;
    const bool walked = record.xOrigin - right % stepX < extents.width - width &&
                        record.yOrigin - down % stepY < extents.height - height;
    if (onEdge || !walked || !(focus[i] > 0.0)) continue;
    const auto [cell, isFirst] = best.try_emplace({down / stepY, right / stepX}, i);
    if (!isFirst && focus[i] > focus[cell->second]) cell->second = i;
  }
  Placements sharpest;
  sharpest.reserve(best.size());
  for (const auto& [cell, i] : best) sharpest.push_back(all[i]);
  return sharpest;
}

}  // namespace

void MovieSharpest::choose() {
  const Placements all = placements(movie, range, extents);
  Placements sharpest =
      wanted == Choice::EachCell ? sharpestOfCells(movie, extents, all, focus) : sharperHalf(all, focus);
  used = sharpest.size();
  mean = std::make_unique<FrameMean>(movie, *image, std::move(sharpest));
}

}  // namespace tarnvisor
