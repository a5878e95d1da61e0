#include "charts/axis.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "base/text.h"
#include "drawing/textmeasure.h"
#include "settings/log.h"

namespace tarnvisor {

namespace {

constexpr double kHoursPerSecond = 0.0002777777777777778;
constexpr double kMinutesPerSecond = 0.016666666666666666;
constexpr int32_t kLabelGap = 2;  // pixels between a tick and its label, and between labels
constexpr double kExactWhole = 9007199254740992.0;

constexpr std::array<int32_t, 4> kByTen = {10, 5, 2, 1};
constexpr std::array<int32_t, 4> kByTwo = {10, 4, 2, 1};
constexpr std::array<int32_t, 3> kByFive = {10, 5, 1};
constexpr std::array<int32_t, 3> kByFifteen = {15, 3, 1};
constexpr std::array<int32_t, 3> kByThirty = {6, 3, 1};
constexpr std::array<CAxis::Base, 6> kTable = {
    {{1, kByTen}, {2, kByTwo}, {5, kByFive}, {10, kByTen}, {15, kByFifteen}, {30, kByThirty}}};

bool usable(double s) { return std::isfinite(s) && s > 0.0; }

}  // namespace

std::span<const CAxis::Base> CAxis::decimal() { return std::span(kTable).first(3); }
std::span<const CAxis::Base> CAxis::sexagesimal() { return kTable; }

void CAxis::measure(const Canvas& canvas) {
  const TextMeasure text = TextMeasure::of(canvas);
  const bool proportional = canvas.textSize("iiii").width != canvas.textSize("MMMM").width;
  line = text.line;
  charw = text.character;
  u = line * (proportional ? 1.5 : 1.0);
  tickLength = 2 * line / 3;
}

void CValueAxis::measure(const Canvas& canvas) {
  CAxis::measure(canvas);
  minpx = 7 * u;
  maxpx = 18 * u;
}

// A number of several digits is wider than a line is high.
void CValueAxis::measureAlong(const Canvas& canvas) {
  CAxis::measure(canvas);
  minpx = 7.0 * charw;
  maxpx = 18.0 * charw;
  u = charw;
}

void CTimeAxis::measure(const Canvas& canvas) {
  CAxis::measure(canvas);
  minpx = 2.1 * charw;
  maxpx = 8.0 * charw;
}

int32_t CAxis::findfactor(double scale, std::span<const Base> table) {
  if (scale == 0) {
    logPrintf("CAxis::findfactor s=0\n");
    return -1;
  }
  s = scale;
  major = 1.0;
  minor = 1;
  if (!usable(scale)) return -1;  // the search below would not end
  const double least = minpx * scale, most = maxpx * scale;
  for (size_t row = 0; row < table.size(); ++row) {
    const double base = table[row].base;
    double m = 1.0;
    while (base * m < least) m *= 10;
    while (base * m > most) m *= 0.1;
    if (!(base * m > least && base * m < most)) continue;
    major = base * m;
    for (const int32_t parts : table[row].subdivisions) {
      minor = parts;
      if (major / parts >= u * scale) break;
    }
    return static_cast<int32_t>(row);
  }
  return -1;
}

int32_t CAxis::findTimeFactor(double scale) {
  const double span = maxpx * scale;
  if (scale == 0) {
    logPrintf("CAxis::findTimeFactor s=0\n");
    return 0;
  }
  if (span > 3600) {
    units = "hours";
    factor = kHoursPerSecond;
    return findfactor(scale * kHoursPerSecond, decimal());
  }
  if (span > 60) {
    units = "minutes";
    factor = kMinutesPerSecond;
    return findfactor(scale * kMinutesPerSecond, sexagesimal());
  }
  units = "seconds";
  factor = 1.0;
  return findfactor(scale, span > 1 ? sexagesimal() : decimal());
}

void CAxis::setScale(double scale) {
  if (scale == 0) {
    logPrintf("CAxis::setScale = 0\n");
    return;
  }
  if (isTime())
    findTimeFactor(scale);
  else
    findfactor(scale, decimal());
  s = scale;
}

int32_t CAxis::digits(double distance) {
  // A double has no smaller power of ten, and none above 308 to multiply by at once.
  constexpr int32_t kMost = 324, kFirstPart = 300;
  const auto multiplied = [&](int32_t power) {
    return power <= kFirstPart ? distance * std::pow(10.0, power)
                               : distance * 1e300 * std::pow(10.0, power - kFirstPart);
  };
  int32_t count = 0;
  while (count < kMost && multiplied(count) < 1) ++count;
  return count;
}

bool CAxis::ticks(Ticks& out) const {
  const double step = unitsPerPixel();
  if (!usable(step) || !usable(major) || size <= 0 || minor < 1) return false;
  const double first = std::floor(pos * step / major);
  const double last = std::ceil((pos + size) * step / major);
  if (!(std::abs(first) < kExactWhole && std::abs(last) < kExactWhole)) return false;
  if ((last - first) * minor > size) return false;
  out = {static_cast<int64_t>(first), static_cast<int64_t>(last)};
  return true;
}

template <class Paint>
void CAxis::eachTick(const Paint& paint) const {
  Ticks range;
  if (!ticks(range)) return;
  const double step = unitsPerPixel();
  const auto placeOf = [&](double value) { return value / step - pos; };
  const auto isOn = [&](double at) { return at >= -0.5 && at < size + 0.5; };
  int64_t labelled = 0;
  for (int64_t i = range.first; i <= range.last; ++i)
    labelled += isOn(placeOf(static_cast<double>(i) * major));
  // Two labels hardly tell a scale: on a short axis the ticks between have theirs too.
  const bool labelsAll = labelled < 3;
  const int32_t after = digits(labelsAll ? major / minor : major);
  for (int64_t i = range.first; i <= range.last; ++i) {
    for (int32_t part = 0; part < (i == range.last ? 1 : minor); ++part) {
      const double value = static_cast<double>(i) * major + major * part / minor;
      const double at = placeOf(value);
      if (!isOn(at)) continue;
      const bool hasLabel = part == 0 || labelsAll;
      paint(static_cast<int32_t>(std::lround(at)), hasLabel ? format("%-6.*f", after, value) : std::string());
    }
  }
}

void CAxis::paintLeft(Canvas& canvas, const Rect& plot, Colour ink) const {
  canvas.setPen({ink, 1, false});
  const Point ends[] = {{plot.left, plot.bottom}, {plot.left, wrapSub(plot.bottom, size)}};
  canvas.polyline(ends);
  const int32_t top = ends[1].y;
  const int32_t labelRight = plot.left - 2 * tickLength - kLabelGap;
  // All texts lie beside the axis, not beyond its ends: another axis may begin there.
  const auto beside = [&](int32_t y) { return std::max(top, std::min(y - line / 2, plot.bottom - line)); };
  const Rect unitText{labelRight - canvas.textSize(units).width, top, labelRight, top + line};
  if (!units.empty()) canvas.text(unitText.topLeft(), units, ink);
  if (!name.empty()) canvas.text({labelRight - canvas.textSize(name).width, unitText.top - line}, name, ink);
  eachTick([&](int32_t at, const std::string& label) {
    const int32_t y = plot.bottom - at;
    const Point tick[] = {{plot.left - (label.empty() ? 1 : 2) * tickLength, y}, {plot.left, y}};
    canvas.polyline(tick);
    const bool free = units.empty() || beside(y) >= unitText.bottom;
    if (!label.empty() && free)
      canvas.text({labelRight - canvas.textSize(std::string(trimmed(label))).width, beside(y)}, label, ink);
  });
}

void CAxis::paintAlong(Canvas& canvas, const Rect& plot, bool below, Colour ink) const {
  canvas.setPen({ink, 1, false});
  const int32_t base = below ? plot.bottom : plot.top, away = below ? 1 : -1;
  const int32_t right = wrapAdd(plot.left, size);
  const Point ends[] = {{plot.left, base}, {right, base}};
  canvas.polyline(ends);
  const int32_t labelTop = base + away * (2 * tickLength + kLabelGap) - (below ? 0 : line);
  const int32_t unitLeft = right - canvas.textSize(units).width;
  if (!units.empty()) canvas.text({unitLeft, labelTop}, units, ink);
  if (!name.empty())
    canvas.text({plot.left + (size - canvas.textSize(name).width) / 2, labelTop + away * line}, name, ink);
  int32_t taken = std::numeric_limits<int32_t>::min();  // right edge of the last label
  eachTick([&](int32_t at, const std::string& label) {
    const int32_t x = wrapAdd(plot.left, at);
    const Point tick[] = {{x, base}, {x, base + away * (label.empty() ? 1 : 2) * tickLength}};
    canvas.polyline(tick);
    if (label.empty()) return;
    const int32_t width = canvas.textSize(std::string(trimmed(label))).width;
    const int32_t left = x - width / 2;
    // The allowed distance of labels is less than the width of most of them.
    if (left < taken || (!units.empty() && left + width + kLabelGap > unitLeft)) return;
    canvas.text({left, labelTop}, label, ink);
    taken = left + width + kLabelGap;
  });
}

}  // namespace tarnvisor
