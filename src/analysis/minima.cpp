#include "analysis/minima.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "paddedplane.h"

namespace tarnvisor {

namespace {

using Plane = std::vector<uint8_t>;

// to[i] = the least of from[i - half .. i + half] that exists, by windows of doubled length. lines of count
// samples lie step bytes apart from sample to sample; width samples lie side by side and are treated alike.
void slidingMinimum(Plane& values, size_t count, size_t width, size_t half) {
  half = std::min(half, count - 1);
  if (half == 0) return;
  // Samples that don't exist are the brightest value, on both sides.
  Plane padded(width * half, 255);
  padded.insert(padded.end(), values.begin(), values.end());
  padded.insert(padded.end(), width * half, 255);
  const size_t total = padded.size();
  const size_t length = 2 * half + 1;
  size_t covered = 1;
  while (covered < length) {
    const size_t shift = std::min(covered, length - covered) * width;
    for (size_t i = 0; i + shift < total; ++i) padded[i] = std::min(padded[i], padded[i + shift]);
    covered += shift / width;
  }
  std::copy_n(padded.begin(), values.size(), values.begin());
}

Plane windowMinimum(const CZZimage& image, int32_t halfWidth, int32_t halfHeight) {
  const size_t width = static_cast<size_t>(image.width);
  const size_t height = static_cast<size_t>(image.height);
  Plane result;
  result.reserve(width * height);
  Plane line(width);
  for (int32_t y = 0; y < image.height; ++y) {
    line.assign(image.row(y), image.row(y) + image.width);
    slidingMinimum(line, width, 1, static_cast<size_t>(halfWidth));
    result.insert(result.end(), line.begin(), line.end());
  }
  slidingMinimum(result, height, width, static_cast<size_t>(halfHeight));
  return result;
}

// Replaces the plateau of equal value around a pixel by one pixel at its mean position. The way back lies in
// the pixels as codes above the value, wrapping at 255; no code equals the value.
class PlateauWalk {
 public:
  PlateauWalk(Plane& workPlane, int32_t planeWidth, int32_t planeHeight)
      : work(workPlane), width(planeWidth), height(planeHeight) {}

  void collapse(int32_t startX, int32_t startY) {
    x = startX;
    y = startY;
    value = at(x, y);
    sumX = sumY = count = 0;
    at(x, y) = code(1);
    do {
      while (advance()) {
      }
    } while (retreat());
    at(static_cast<int32_t>(sumX / count), static_cast<int32_t>(sumY / count)) = value;
  }

 private:
  uint8_t& at(int32_t px, int32_t py) {
    return work[static_cast<size_t>(py) * static_cast<size_t>(width) + static_cast<size_t>(px)];
  }
  uint8_t code(int32_t n) const { return static_cast<uint8_t>(value + n); }

  bool advance() {
    if (y > 1 && at(x, y - 1) == value)
      at(x, --y) = code(2);
    else if (x < width - 1 && at(x + 1, y) == value)
      at(++x, y) = code(3);
    else if (y < height - 1 && at(x, y + 1) == value)
      at(x, ++y) = code(4);
    else if (x > 0 && at(x - 1, y) == value)
      at(--x, y) = code(5);
    else
      return false;
    return true;
  }

  bool retreat() {
    const uint8_t reached = at(x, y);
    sumX += x;
    sumY += y;
    ++count;
    at(x, y) = 255;
    if (reached == code(2))
      ++y;
    else if (reached == code(3))
      --x;
    else if (reached == code(4))
      --y;
    else if (reached == code(5))
      ++x;
    else
      return false;
    return true;
  }

  Plane& work;
  int32_t width, height;
  int32_t x = 0, y = 0;
  uint8_t value = 0;
  int64_t sumX = 0, sumY = 0, count = 0;
};

void sortByValue(std::vector<MinimumPoint>& points) {
  std::stable_sort(points.begin(), points.end(),
                   [](const MinimumPoint& a, const MinimumPoint& b) { return a.value < b.value; });
}

struct Step {
  int32_t x, y;
};

// The search for minima within a tolerance. Mask bits of each pixel:
enum MaskBit : uint8_t {
  kCandidate = 1,
  kListed = 2,  // in the present growth
  kProcessed = 4,
  kInMinimum = 8,
  kAtSeedLevel = 16,
  kChosen = 32,
};

class ToleranceSearch {
 public:
  ToleranceSearch(const CZZimage& searched, int32_t levelTolerance)
      : image(searched),
        tolerance(levelTolerance),
        mask(static_cast<size_t>(image.width) * static_cast<size_t>(image.height), 0) {}

  std::vector<MinimumPoint> find(int32_t threshold) {
    std::vector<MinimumPoint> seeds = candidates(threshold);
    std::vector<MinimumPoint> found;
    for (const MinimumPoint& seed : seeds)
      if (!(maskAt(seed.x, seed.y) & kProcessed) && grow(seed)) found.push_back(chosen(seed.value));
    return found;
  }

 private:
  uint8_t& maskAt(int32_t x, int32_t y) {
    return mask[static_cast<size_t>(y) * static_cast<size_t>(image.width) + static_cast<size_t>(x)];
  }
  bool isInterior(int32_t x, int32_t y) const {
    return x > 0 && y > 0 && x < image.width - 1 && y < image.height - 1;
  }

  bool isCandidate(int32_t x, int32_t y) const {
    static constexpr Step even[] = {{-1, 0}, {1, 0}, {-1, -1}, {0, -1}, {0, 1}, {-1, 1}};
    static constexpr Step odd[] = {{-1, 0}, {1, 0}, {-2, -1}, {-1, -1}, {-1, 1}, {-2, 1}};
    for (const Step& step : y % 2 ? odd : even)
      if (x + step.x >= 0 && image.row(y + step.y)[x + step.x] < image.row(y)[x]) return false;
    return true;
  }

  std::vector<MinimumPoint> candidates(int32_t threshold) {
    std::vector<MinimumPoint> seeds;
    for (int32_t y = 1; y < image.height - 1; ++y) {
      for (int32_t x = 1; x < image.width - 1; ++x) {
        const uint8_t value = image.row(y)[x];
        if (value >= threshold || !isCandidate(x, y)) continue;
        maskAt(x, y) = kCandidate;
        seeds.push_back({x, y, value});
      }
    }
    sortByValue(seeds);
    return seeds;
  }

  // Collects what can be reached from the seed; true when it is a true minimum.
  bool grow(const MinimumPoint& seed) {
    queue.assign(1, {seed.x, seed.y});
    sumX = seed.x;
    sumY = seed.y;
    atLevel = 1;
    maskAt(seed.x, seed.y) |= kListed | kAtSeedLevel;
    bool isMinimum = true;
    for (size_t i = 0; i < queue.size(); ++i)
      if (!growFrom(queue[i], seed.value)) isMinimum = false;
    for (const Point& p : queue) {
      uint8_t& m = maskAt(p.x, p.y);
      m = static_cast<uint8_t>((m & ~kListed) | kProcessed);
      m = static_cast<uint8_t>(isMinimum ? m | kInMinimum : m & ~kAtSeedLevel);
    }
    return isMinimum;
  }

  bool growFrom(Point p, int32_t level) {
    static constexpr Step even[] = {{-1, -1}, {0, -1}, {-1, 0}, {1, 0}, {-1, 1}, {0, 1}};
    static constexpr Step odd[] = {{0, -1}, {1, -1}, {-1, 0}, {1, 0}, {0, 1}, {1, 1}};
    if (!isInterior(p.x, p.y)) return true;
    for (const Step& step : p.y % 2 ? odd : even) {
      const Point q{p.x + step.x, p.y + step.y};
      uint8_t& m = maskAt(q.x, q.y);
      if (m & kListed) continue;
      const int32_t value = image.row(q.y)[q.x];
      if ((m & kProcessed) || value < level) return false;
      if (value > int64_t{level} + tolerance) continue;
      m |= kListed;
      queue.push_back(q);
      if (value == level) {
        sumX += q.x;
        sumY += q.y;
        ++atLevel;
        m |= kAtSeedLevel;
      }
    }
    return true;
  }

  MinimumPoint chosen(uint8_t value) {
    const int64_t meanX = sumX / atLevel;
    const int64_t meanY = sumY / atLevel;
    Point best = queue.front();
    int64_t least = INT64_MAX;
    for (const Point& p : queue) {
      const int64_t distance = (p.x - meanX) * (p.x - meanX) + (p.y - meanY) * (p.y - meanY);
      if (!(maskAt(p.x, p.y) & kAtSeedLevel) || distance >= least) continue;
      least = distance;
      best = p;
    }
    maskAt(best.x, best.y) |= kChosen;
    return {best.x, best.y, value};
  }

  const CZZimage& image;
  int32_t tolerance;
  Plane mask;
  std::vector<Point> queue;
  int64_t sumX = 0, sumY = 0, atLevel = 0;
};

// Directions of the walk in ring order.
constexpr std::array<Step, 8> kRing = {
    {{-1, 1}, {0, 1}, {1, 1}, {1, 0}, {1, -1}, {0, -1}, {-1, -1}, {-1, 0}}};

// The first of some directions, each from 0 to 7, in which the image is no brighter than level; -1 for none.
int32_t firstDownhill(const CZZimage& image, Point from, int32_t level, std::span<const int32_t> directions) {
  for (const int32_t direction : directions) {
    const int32_t x = from.x + kRing[static_cast<size_t>(direction)].x;
    const int32_t y = from.y + kRing[static_cast<size_t>(direction)].y;
    if (x < 0 || y < 0 || x >= image.width || y >= image.height) continue;
    if (image.row(y)[x] <= level) return direction;
  }
  return -1;
}

// Marks the 8-connected pixels of equal value and returns how many there are.
int64_t floodLevel(const CZZimage& source, CZZimage& target, Point start, std::vector<Point>& queue) {
  const uint8_t value = source.row(start.y)[start.x];
  queue.assign(1, start);
  target.row(start.y)[start.x] = 128;
  for (size_t i = 0; i < queue.size(); ++i) {
    const Point p = queue[i];
    for (const Step& step : kRing) {
      const int32_t x = p.x + step.x;
      const int32_t y = p.y + step.y;
      if (x < 0 || y < 0 || x >= source.width || y >= source.height) continue;
      if (target.row(y)[x] != 0 || source.row(y)[x] != value) continue;
      target.row(y)[x] = 128;
      queue.push_back({x, y});
    }
  }
  return static_cast<int64_t>(queue.size());
}

}  // namespace

std::vector<MinimumPoint> minimaInWindow(const CZZimage& image, int32_t threshold, int32_t width,
                                         int32_t height) {
  std::vector<MinimumPoint> points;
  if (!isFilterable(image)) return points;
  // A window that reaches less than nothing holds no cell that could be below.
  const bool hasWindow = width / 2 >= 0 && height / 2 >= 0;
  Plane work = windowMinimum(image, hasWindow ? width / 2 : 0, hasWindow ? height / 2 : 0);
  auto cell = work.begin();
  for (int32_t y = 0; y < image.height; ++y)
    for (int32_t x = 0; x < image.width; ++x, ++cell)
      if (const uint8_t p = image.row(y)[x]; p >= threshold || *cell < p) *cell = 255;
  PlateauWalk walk(work, image.width, image.height);
  cell = work.begin();
  for (int32_t y = 0; y < image.height; ++y)
    for (int32_t x = 0; x < image.width; ++x, ++cell)
      if (*cell != 255) walk.collapse(x, y);
  cell = work.begin();
  for (int32_t y = 0; y < image.height; ++y)
    for (int32_t x = 0; x < image.width; ++x, ++cell)
      if (*cell != 255) points.push_back({x, y, *cell});
  sortByValue(points);
  return points;
}

std::vector<MinimumPoint> minimaInTolerance(const CZZimage& image, int32_t threshold, int32_t tolerance) {
  if (!isFilterable(image)) return {};
  return ToleranceSearch(image, tolerance).find(threshold);
}

bool regionsByLevel(const CZZimage& source, CZZimage& target) {
  if (!isFilterable(source)) return false;
  CZZimage result(source.width, source.height);
  if (result.empty()) return false;
  std::vector<Point> queue;
  for (int32_t y = 1; y < source.height - 1; ++y)
    for (int32_t x = 1; x < source.width - 1; ++x)
      if (result.row(y)[x] == 0 && floodLevel(source, result, {x, y}, queue) < 2) result.row(y)[x] = 255;
  return target.copyImage(result);
}

DownhillWalk walkToMinima(const CZZimage& source, CZZimage& path, Point start) {
  const Rect area{0, 0, source.width, source.height};
  if (!isFilterable(source) || path.width != source.width || path.height != source.height ||
      !isFilterable(path) || !area.contains(start))
    return {0, start};
  DownhillWalk walk{0, start};
  path.row(start.y)[start.x] = 0;
  int32_t level = source.row(start.y)[start.x];
  static constexpr int32_t first[] = {2, 3, 1, 0, 4, 7, 5, 6};
  int32_t d = firstDownhill(source, start, level, first);
  const int64_t most = int64_t{source.width} * source.height;
  while (d >= 0) {
    walk.end = walk.end + Point{kRing[static_cast<size_t>(d)].x, kRing[static_cast<size_t>(d)].y};
    const auto [x, y] = walk.end;
    level = source.row(y)[x];
    const bool onEdge = x == 0 || y == 0 || x == source.width - 1 || y == source.height - 1;
    if (onEdge || walk.steps >= most) break;
    path.row(y)[x] = static_cast<uint8_t>(++walk.steps);
    const int32_t next[] = {d, (d + 1) % 8, (d + 7) % 8, (d + 2) % 8, (d + 3) % 8, (d + 5) % 8};
    d = firstDownhill(source, walk.end, level, next);
  }
  return walk;
}

}  // namespace tarnvisor
