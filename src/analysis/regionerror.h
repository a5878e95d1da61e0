// How well an image fits over a reference at a shift, and where it fits best. An image pixel (x, y) lies over
// the reference's (x + dx, y + dy). Rectangles are the reference's, in its own rows and without its origin;
// images are grey.
#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <vector>

#include "base/geometry.h"
#include "image/zzimage.h"

namespace tarnvisor {

class AmcLog;
using Regions = std::span<const Rect>;

// 255 squared: the error of a shift that compares nothing.
inline constexpr double kWorstError = 65025.0;

enum MatchFlag : int32_t {
  kAboveThreshold = 1,
  kStepLimit = 4,
  kNoRegion = 8,  // ends a descent; never among the failures of an image
};

struct SubPixel {
  double x = std::numeric_limits<double>::quiet_NaN();
  double y = std::numeric_limits<double>::quiet_NaN();
  bool isKnown() const { return x == x && y == y; }
};
struct SquareSum {
  uint64_t sum = 0;
  int64_t pixels = 0;  // 0 where the rectangle leaves an image
};
SquareSum regionSquareSum(const CZZimage& reference, const CZZimage& other, const Rect& region, Point shift);

// The mean squared difference over all regions; kWorstError, with kNoRegion in flags, where none had pixels.
double regionError(const CZZimage& reference, const CZZimage& other, Regions regions, Point shift,
                   int32_t& flags, AmcLog* log);

// The same for one pair of images, shift after shift. A walk comes by the same shifts again: what was
// measured last is kept, and logged again.
class ErrorSurface {
 public:
  ErrorSurface(const CZZimage& referenceImage, const CZZimage& otherImage, Regions compared);
  double at(Point shift, int32_t& flags, AmcLog* log);
  Size referenceSize() const { return {reference.width, reference.height}; }
  // At a shift and the eight around it, [y + 1][x + 1], with light and contrast of the images fitted to each
  // other. False where they don't all compare the same pixels.
  bool around(Point shift, std::array<std::array<double, 3>, 3>& errors);

 private:
  static constexpr size_t kKept = 32;
  struct Measured {
    Point shift;
    SquareSum whole;
    std::vector<SquareSum> parts;  // by region
  };
  const Measured& measured(Point shift);

  const CZZimage& reference;
  const CZZimage& other;
  Regions regions;
  std::vector<Measured> kept;  // a ring of the last kKept
  size_t next = 0;
};

// Walks from the shift to where no direction that it tries is better, equal being good enough. The error
// there; kWorstError with kStepLimit in failures for a walk as long as the reference is wide and high.
double descendError(ErrorSurface& surface, Point& shift, int32_t& failures, AmcLog* log);
double descendError(const CZZimage& reference, const CZZimage& other, Regions regions, Point& shift,
                    int32_t& failures, AmcLog* log);

// Rms errors of the centre of b over all of a, four times the grey level; null where b is too small for it or
// memory is short.
std::unique_ptr<CZZimage> centreErrorMap(const CZZimage& a, const CZZimage& b);

// The shift to a fraction of a pixel: the lowest point of the error near a whole-pixel shift. Unknown where
// the error has none. Noise hides it: smoothed images give better fractions.
SubPixel subPixelShift(const CZZimage& reference, const CZZimage& other, Regions regions, Point shift);

}  // namespace tarnvisor
