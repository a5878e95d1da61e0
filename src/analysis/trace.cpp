#include "analysis/trace.h"

#include <memory>
#include <new>

#include "analysis/finder.h"

namespace tarnvisor {

namespace {

int64_t pixelsOf(const Rect& r) { return static_cast<int64_t>(r.width()) * r.height(); }

// Each pixel's threshold, found when it is first asked for. 0 stands for one not known yet, so that a
// threshold that is 0 is found anew each time.
class LocalThresholds {
 public:
  LocalThresholds(const CZZimage& picture, int32_t windowSize)
      : image(picture),
        window(windowSize),
        levels(picture),
        known(new (std::nothrow)
                  uint8_t[static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height)]()) {}

  bool hasMemory() const { return known != nullptr; }

  uint8_t at(Point p) {
    uint8_t& threshold =
        known[static_cast<size_t>(p.y) * static_cast<size_t>(image.width) + static_cast<size_t>(p.x)];
    if (threshold == 0)
      threshold = static_cast<uint8_t>(isodata(levels.moveTo(traceWindow(image, p, window))).threshold);
    return threshold;
  }

 private:
  const CZZimage& image;
  const int32_t window;
  SlidingLevels levels;
  std::unique_ptr<uint8_t[]> known;
};

// The order in which neighbours are tried; a move's code is its place here plus 1.
constexpr Point kMoves[8] = {{0, -1}, {1, -1}, {1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}, {-1, -1}};
constexpr uint8_t kUntouched = 255;
constexpr uint8_t kTraced = 0;

// The road back lies in the map itself: each pixel on it holds the code of the move that led there.
class Walker {
 public:
  Walker(CZZimage& pathMap, const CZZimage& picture, LocalThresholds& limits, Point seed)
      : map(pathMap), source(picture), thresholds(limits), at(seed) {}

  void run() {
    map.fill(kUntouched);
    map.row(at.y)[at.x] = kTraced;
    while (goOn() || goBack()) {
    }
  }

 private:
  bool goOn() {
    const uint8_t threshold = thresholds.at(at);
    const Rect whole{0, 0, map.width, map.height};
    for (uint8_t move = 0; move < 8; ++move) {
      const Point next = at + kMoves[move];
      if (!whole.contains(next) || map.row(next.y)[next.x] != kUntouched ||
          source.row(next.y)[next.x] > threshold)
        continue;
      at = next;
      map.row(at.y)[at.x] = static_cast<uint8_t>(move + 1);
      return true;
    }
    return false;
  }

  bool goBack() {
    uint8_t& code = map.row(at.y)[at.x];
    if (code < 1 || code > 8) return false;
    at = at - kMoves[code - 1];
    code = kTraced;
    return true;
  }

  CZZimage& map;
  const CZZimage& source;
  LocalThresholds& thresholds;
  Point at;
};

}  // namespace

Rect traceWindow(const CZZimage& image, Point pixel, int32_t window) {
  const int32_t half = window / 2;
  const Point centre{pixel.x, image.isField() ? wrapAdd(pixel.y, pixel.y) : pixel.y};
  return image.clipLocal(Rect{centre.x, centre.y, centre.x, centre.y}.inflatedBy(half));
}

const std::array<uint32_t, 256>& SlidingLevels::moveTo(const Rect& area) {
  if (area == present) return counts;
  const Rect kept = present.intersected(area);
  const int64_t changes = pixelsOf(present) + pixelsOf(area) - 2 * pixelsOf(kept);
  if (kept.isEmpty() || changes >= pixelsOf(area)) {
    image.countLevels(area, counts);
  } else {
    change(area, kept, 1);
    change(present, kept, ~0u);
  }
  present = area;
  return counts;
}

// The four strips of outer around inner.
void SlidingLevels::change(const Rect& outer, const Rect& inner, uint32_t by) {
  count({outer.left, outer.top, outer.right, inner.top}, by);
  count({outer.left, inner.bottom, outer.right, outer.bottom}, by);
  count({outer.left, inner.top, inner.left, inner.bottom}, by);
  count({inner.right, inner.top, outer.right, inner.bottom}, by);
}

// by is added modulo 2 to the 32, so that ~0u takes away.
void SlidingLevels::count(const Rect& strip, uint32_t by) {
  for (int32_t y = strip.top; y < strip.bottom; ++y) {
    const uint8_t* pixels = image.row(y);
    for (int32_t x = strip.left; x < strip.right; ++x) counts[pixels[x]] += by;
  }
}

bool traceVessel(CZZimage& image, Point seed, int32_t window) {
  if (image.empty() || image.bytesPerPixel != 1 || !Rect{0, 0, image.width, image.height}.contains(seed))
    return false;
  CZZimage source;
  if (!source.copyImage(image)) return false;
  LocalThresholds thresholds(source, window);
  if (!thresholds.hasMemory()) return false;
  Walker(image, source, thresholds, seed).run();
  image.andWith(source);
  return true;
}

}  // namespace tarnvisor
