#include "analysis/regionerror.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "analysis/amclog.h"
#include "base/numbers.h"
#include "base/parallel.h"
#include "image/kernels.h"

namespace tarnvisor {

namespace {

// Left, top, right and bottom of a region over an image, in 64 bits: coordinates may be anything.
bool liesWithin(const CZZimage& image, const Rect& region, Point shift) {
  return int64_t{region.left} - shift.x >= 0 && int64_t{region.right} - shift.x <= image.width &&
         int64_t{region.top} - shift.y >= 0 && int64_t{region.bottom} - shift.y <= image.height;
}

double mean(const SquareSum& sum) { return static_cast<double>(sum.sum) / static_cast<double>(sum.pixels); }

}  // namespace

SquareSum regionSquareSum(const CZZimage& reference, const CZZimage& other, const Rect& region, Point shift) {
  if (region.isEmpty() || !liesWithin(other, region, shift) || !liesWithin(reference, region, {})) return {};
  const int32_t width = region.width(), height = region.height();
  const uint64_t sum = kernels::squaredDifferenceSum(
      reference.row(region.top) + region.left, other.row(region.top - shift.y) + region.left - shift.x,
      static_cast<size_t>(width), static_cast<size_t>(height), reference.stride, other.stride);
  return {sum, int64_t{width} * height};
}

double regionError(const CZZimage& reference, const CZZimage& other, Regions regions, Point shift,
                   int32_t& flags, AmcLog* log) {
  return ErrorSurface(reference, other, regions).at(shift, flags, log);
}

// --- one pair of images

ErrorSurface::ErrorSurface(const CZZimage& referenceImage, const CZZimage& otherImage, Regions compared)
    : reference(referenceImage), other(otherImage), regions(compared) {}

const ErrorSurface::Measured& ErrorSurface::measured(Point shift) {
  const auto known =
      std::find_if(kept.begin(), kept.end(), [&](const Measured& m) { return m.shift == shift; });
  if (known != kept.end()) return *known;
  if (kept.size() < kKept) kept.emplace_back();
  Measured& made = kept[next];
  next = (next + 1) % kKept;
  made.shift = shift;
  made.whole = {};
  made.parts.clear();
  for (const Rect& region : regions) {
    const SquareSum part = regionSquareSum(reference, other, region, shift);
    made.whole.sum += part.sum;
    made.whole.pixels += part.pixels;
    made.parts.push_back(part);
  }
  return made;
}

double ErrorSurface::at(Point shift, int32_t& flags, AmcLog* log) {
  const Measured& found = measured(shift);
  const bool any = found.whole.pixels > 0;
  if (!any) flags |= kNoRegion;
  const double error = any ? mean(found.whole) : kWorstError;
  if (!log) return error;
  *log << shift.x << "," << shift.y;
  for (size_t i = 0; i < found.parts.size(); ++i)
    if (found.parts[i].pixels > 0) *log << ",[" << static_cast<int32_t>(i) << "]," << mean(found.parts[i]);
  if (any)
    *log << "," << error;
  else
    *log << ",no rects";
  log->endLine();
  return error;
}

// --- the walk

namespace {

constexpr std::array<Point, 8> kDirections = {
    {{-1, 1}, {0, 1}, {1, 1}, {1, 0}, {1, -1}, {0, -1}, {-1, -1}, {-1, 0}}};
// Where a walk turns first, in this order; relative to the direction it came in once it goes. It takes no
// sharp turn to the left (-2) and none back (4): results depend on it.
constexpr std::array<int32_t, 8> kOpening = {2, 3, 1, 0, 4, 7, 5, 6};
constexpr std::array<int32_t, 6> kTurns = {0, 1, -1, 2, 3, -3};

Point neighbour(Point shift, int32_t direction) {
  return shift + kDirections[static_cast<size_t>(direction & 7)];
}

}  // namespace

double descendError(ErrorSurface& surface, Point& shift, int32_t& failures, AmcLog* log) {
  const int64_t limit = int64_t{surface.referenceSize().width} + surface.referenceSize().height;
  int32_t flags = 0, count = 0, direction = 0;
  double best = surface.at(shift, flags, log);
  // The first neighbour that is as good or better, or that leaves all regions: the walk ends there.
  const auto find = [&](std::span<const int32_t> turns, int32_t from) {
    for (const int32_t turn : turns) {
      const double error = surface.at(neighbour(shift, from + turn), flags, log);
      if (flags == 0 && error > best) continue;
      if (flags == 0) best = error;
      direction = from + turn;
      return true;
    }
    return false;
  };
  if (flags == 0) {
    count = 1;
    bool moves = find(kOpening, 0);
    if (flags != 0) direction = 2;
    for (; moves; moves = flags == 0 && count < limit && find(kTurns, direction)) {
      shift = neighbour(shift, direction);
      ++count;
    }
  }
  if (log) {
    *log << best << "," << count << "," << shift.x << "," << shift.y;
    log->endLine();
  }
  if (count < limit) return best;
  failures |= kStepLimit;
  return kWorstError;
}

double descendError(const CZZimage& reference, const CZZimage& other, Regions regions, Point& shift,
                    int32_t& failures, AmcLog* log) {
  ErrorSurface surface(reference, other, regions);
  return descendError(surface, shift, failures, log);
}

// --- fractions of a pixel

namespace {

// Sums of pixels and of their squares, by which windows of different light are compared.
struct Moments {
  int64_t sum = 0, squares = 0;
  Moments& operator+=(const Moments& o) {
    sum += o.sum;
    squares += o.squares;
    return *this;
  }
  Moments& operator-=(const Moments& o) {
    sum -= o.sum;
    squares -= o.squares;
    return *this;
  }
};

Moments momentsOf(uint8_t value) { return {value, int64_t{value} * value}; }

// A value for each of the nine places around a shift: [y + 1][x + 1].
template <class Value>
using Surroundings = std::array<std::array<Value, 3>, 3>;

// From -1 to 1 either way.
double& valueAt(Surroundings<double>& values, int32_t x, int32_t y) {
  return values[static_cast<size_t>(int64_t{y} + 1)][static_cast<size_t>(int64_t{x} + 1)];
}

// Of the window `at`, moved by one pixel each way: (x, y) moves it by (-x, -y), as shifts do. Only its own
// pixels are added up: a step takes a row or column off and another on.
class WindowMoments {
 public:
  WindowMoments(const CZZimage& windowed, const Rect& at)
      : image(windowed), window(at), zeros(static_cast<size_t>(at.width()), 0) {}
  Moments inPlace() const {
    Moments all;
    for (int32_t y = window.top; y < window.bottom; ++y) all += ofRow(y);
    return all;
  }
  void addTo(Surroundings<Moments>& sums) const {
    std::array<Moments, 3> columns = moved(inPlace(), window.top, window.bottom);
    const auto above = moved(ofRow(window.top - 1), window.top - 1, window.top);
    const auto first = moved(ofRow(window.top), window.top, window.top + 1);
    const auto last = moved(ofRow(window.bottom - 1), window.bottom - 1, window.bottom);
    const auto below = moved(ofRow(window.bottom), window.bottom, window.bottom + 1);
    for (size_t x = 0; x < 3; ++x) {
      sums[1][x] += columns[x];
      ((sums[0][x] += columns[x]) -= first[x]) += below[x];
      ((sums[2][x] += columns[x]) -= last[x]) += above[x];
    }
  }

 private:
  Moments ofRow(int32_t y) const {
    const uint8_t* first = image.row(y) + window.left;
    kernels::ByteRange range;
    kernels::addRange(first, zeros.size(), range);
    return {static_cast<int64_t>(range.sum),
            static_cast<int64_t>(kernels::squaredDifferenceSum(first, zeros.data(), zeros.size()))};
  }
  // The rows of the window, and these moved to the right and to the left.
  std::array<Moments, 3> moved(const Moments& rows, int32_t top, int32_t bottom) const {
    std::array<Moments, 3> all{rows, rows, rows};
    for (int32_t y = top; y < bottom; ++y) {
      const uint8_t* line = image.row(y);
      (all[0] -= momentsOf(line[window.left])) += momentsOf(line[window.right]);
      (all[2] -= momentsOf(line[window.right - 1])) += momentsOf(line[window.left - 1]);
    }
    return all;
  }

  const CZZimage& image;
  Rect window;
  std::vector<uint8_t> zeros;
};

// What is left of the mean squared difference once the one window's light and contrast are fitted to the
// other's: changes of light would pull its lowest point aside.
double errorWithoutLight(double error, double pixels, const Moments& a, const Moments& b) {
  const double meanA = static_cast<double>(a.sum) / pixels, meanB = static_cast<double>(b.sum) / pixels;
  const double squaresA = static_cast<double>(a.squares) / pixels;
  const double squaresB = static_cast<double>(b.squares) / pixels;
  const double common = (squaresA + squaresB - error) / 2 - meanA * meanB;
  return squaresA - meanA * meanA - common * common / (squaresB - meanB * meanB);
}

// The lowest point of the quadric that lies nearest the nine values.
SubPixel lowestOf(const Surroundings<double>& z) {
  std::array<double, 3> columns{}, rows{};
  for (size_t y = 0; y < 3; ++y)
    for (size_t x = 0; x < 3; ++x) {
      columns[x] += z[y][x];
      rows[y] += z[y][x];
    }
  const double bendX = (columns[0] - 2 * columns[1] + columns[2]) / 3;
  const double bendY = (rows[0] - 2 * rows[1] + rows[2]) / 3;
  const double twist = (z[2][2] + z[0][0] - z[2][0] - z[0][2]) / 4;
  const double slopeX = (columns[2] - columns[0]) / 6, slopeY = (rows[2] - rows[0]) / 6;
  const double determinant = bendX * bendY - twist * twist;
  if (!(bendX > 0) || !(determinant > 0)) return {};
  return {(twist * slopeY - bendY * slopeX) / determinant, (twist * slopeX - bendX * slopeY) / determinant};
}

}  // namespace

bool ErrorSurface::around(Point shift, std::array<std::array<double, 3>, 3>& errors) {
  const std::vector<SquareSum> parts = measured(shift).parts;
  const auto pixels = static_cast<double>(measured(shift).whole.pixels);
  const auto samePixels = [](const SquareSum& a, const SquareSum& b) { return a.pixels == b.pixels; };
  for (int32_t y = -1; y <= 1; ++y)
    for (int32_t x = -1; x <= 1; ++x) {
      const Measured& found = measured(shift + Point{x, y});
      if (!std::equal(parts.begin(), parts.end(), found.parts.begin(), samePixels)) return false;
      valueAt(errors, x, y) = static_cast<double>(found.whole.sum) / pixels;
    }
  Moments fixed;
  Surroundings<Moments> moving{};
  for (size_t i = 0; i < parts.size(); ++i) {
    if (parts[i].pixels == 0) continue;
    fixed += WindowMoments(reference, regions[i]).inPlace();
    WindowMoments(other, regions[i].offsetBy(-shift.x, -shift.y)).addTo(moving);
  }
  for (size_t y = 0; y < 3; ++y)
    for (size_t x = 0; x < 3; ++x)
      errors[y][x] = errorWithoutLight(errors[y][x], pixels, fixed, moving[y][x]);
  return pixels > 0;
}

SubPixel subPixelShift(const CZZimage& reference, const CZZimage& other, Regions regions, Point shift) {
  ErrorSurface surface(reference, other, regions);
  // A descent may end beside the lowest whole-pixel shift.
  constexpr int32_t kFarthest = 8;
  Surroundings<double> errors;
  for (int32_t step = 0; step < kFarthest && surface.around(shift, errors); ++step) {
    Point lowest;
    double least = errors[1][1];
    for (int32_t y = -1; y <= 1; ++y)
      for (int32_t x = -1; x <= 1; ++x) {
        const double error = valueAt(errors, x, y);
        if (error >= least) continue;
        least = error;
        lowest = {x, y};
      }
    if (lowest == Point{}) {
      const SubPixel fraction = lowestOf(errors);
      const bool isNear = std::abs(fraction.x) <= 1 && std::abs(fraction.y) <= 1;
      return isNear ? SubPixel{shift.x + fraction.x, shift.y + fraction.y} : SubPixel{};
    }
    shift = shift + lowest;
  }
  return {};
}

// --- the centre of one image over another

std::unique_ptr<CZZimage> centreErrorMap(const CZZimage& a, const CZZimage& b) {
  const int32_t width = a.width / 2 / 2 * 2, height = a.height / 4 * 2;
  const int32_t left = a.width / 2 / 2, top = a.height / 4;
  if (a.empty() || b.empty() || a.bytesPerPixel != 1 || b.bytesPerPixel != 1) return nullptr;
  if (width < 1 || height < 1 || left + width > b.width || top + height > b.height) return nullptr;
  auto map = std::make_unique<CZZimage>();
  if (!map->resizedata(width, height, 1)) return nullptr;
  const double pixels = static_cast<double>(width) * height;
  parallelFor(height, 4, [&](int64_t first, int64_t end) {
    for (auto j = static_cast<int32_t>(first); j < end; ++j)
      for (int32_t i = 0; i < width; ++i) {
        const uint64_t sum =
            kernels::squaredDifferenceSum(b.row(top) + left, a.row(j) + i, static_cast<size_t>(width),
                                          static_cast<size_t>(height), b.stride, a.stride);
        map->row(j)[i] = truncatedToByte(std::sqrt(static_cast<double>(sum) / pixels) * 4);
      }
  });
  return map;
}

}  // namespace tarnvisor
