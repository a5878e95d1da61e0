#include "traces/shownvalues.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace tarnvisor {

namespace {

constexpr double kKiloHertz = 0.001;
// What computing leaves of a whole number.
constexpr double kNoise = 1e-6;

struct Range {
  double least, greatest;
};
template <class Item>
constexpr Range rangeOf() {
  return {static_cast<double>(std::numeric_limits<Item>::min()),
          static_cast<double>(std::numeric_limits<Item>::max())};
}

Range itemRange(int32_t typecode) {
  switch (typecode) {
    case kInt8Code:
      return rangeOf<int8_t>();
    case kUint8Code:
      return rangeOf<uint8_t>();
    case kInt16Code:
      return rangeOf<int16_t>();
    case kUint16Code:
      return rangeOf<uint16_t>();
    case kInt32Code:
      return rangeOf<int32_t>();
    case kUint32Code:
      return rangeOf<uint32_t>();
    default:
      return {0, 0};
  }
}

}  // namespace

ShownValues::ShownValues(const ZZTrace& trace) : gain(trace.ygain), offset(trace.yoffset) {
  const bool isRows = dynamic_cast<const C2DTrace*>(&trace) != nullptr;
  if (isRows && trace.yunits == "kHz") {
    gain /= kKiloHertz;
    offset /= kKiloHertz;
  } else if (isRows && trace.yunits == "mm/s") {
    gain = 1;
    offset = 0;
  }
  const Range range = itemRange(trace.typecode());
  least = range.least;
  greatest = range.greatest;
  isWhole = least < greatest;
}

double ShownValues::item(double shown) const {
  if (!isWhole) return (shown - offset) / gain;
  if (gain == 1 && offset == 0) return std::clamp(shown, least, greatest);
  const double exact = (shown - offset) / gain;
  const double whole = std::round(exact);
  return std::clamp(std::abs(exact - whole) < kNoise ? whole : exact, least, greatest);
}

double ShownValues::nearestItem(double shown) const {
  return isWhole ? std::round(item(shown)) : item(shown);
}

}  // namespace tarnvisor
