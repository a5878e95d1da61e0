#include "charts/screentrace.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

namespace tarnvisor {

namespace {

// One place is 256 screen units high; xscale tells the units of y in each.
constexpr double kScreenUnits = 256.0;
// A curve that fills less of its place than this is hardly seen.
constexpr double kLeastFill = 1.0 / 16;
constexpr double kMargin = 0.05;
constexpr double kFarAway = 4.0;  // heights beyond the plot at which lines are cut

bool isUsable(double value) { return std::isfinite(value) && std::abs(value) < 1e300; }
// A full scale must leave something when a plot's height divides it.
constexpr double kLeastScale = 1e-300;
bool isFullScale(double value) { return isUsable(value) && value >= kLeastScale; }
double fullScaleOf(const ZZTrace& trace) {
  const double full = kScreenUnits * trace.xscale;
  return isFullScale(full) ? full : kScreenUnits;
}

// Dots and hand-made marks are as wide as the trace says, within what can be seen.
constexpr int32_t kWidestMark = 64;

// What a curve that runs to the right covers of each column. A screen fills a few thousand rectangles much
// faster than it strokes as many short lines; on paper the lines stay lines.
void strokeCurve(Canvas& canvas, std::span<const Point> line, const Rect& plot, Colour colour) {
  if (line.empty()) return;
  if (canvas.isPrinter()) return canvas.polyline(line);
  const int32_t first = std::max(plot.left, line.front().x), last = std::min(plot.right - 1, line.back().x);
  if (first > last) return;
  struct Cover {
    int32_t top = INT32_MAX, bottom = INT32_MIN;
    bool operator==(const Cover&) const = default;
  };
  std::vector<Cover> covers(static_cast<size_t>(last - first) + 1);
  const auto cover = [&](int32_t x, double y1, double y2) {
    if (x < first || x > last) return;
    Cover& c = covers[static_cast<size_t>(x - first)];
    c.top = std::min(c.top, static_cast<int32_t>(std::lround(std::min(y1, y2))));
    c.bottom = std::max(c.bottom, static_cast<int32_t>(std::lround(std::max(y1, y2))));
  };
  cover(line.front().x, line.front().y, line.front().y);
  for (size_t i = 1; i < line.size(); ++i) {
    const Point a = line[i - 1], b = line[i];
    if (a.x >= b.x) {
      cover(b.x, a.y, b.y);
      continue;
    }
    const double length = static_cast<double>(b.x) - a.x, slope = (static_cast<double>(b.y) - a.y) / length;
    for (int32_t x = std::max(a.x, first); x <= std::min(b.x, last); ++x) {
      const double along = static_cast<double>(x) - a.x;
      cover(x, a.y + slope * std::max(0.0, along - 0.5), a.y + slope * std::min(length, along + 0.5));
    }
  }
  for (size_t i = 0; i < covers.size();) {
    size_t end = i + 1;
    while (end < covers.size() && covers[end] == covers[i]) ++end;
    const int32_t top = std::max(covers[i].top, plot.top),
                  bottom = std::min(covers[i].bottom + 1, plot.bottom);
    if (covers[i].top <= covers[i].bottom && top < bottom)
      canvas.fill({first + static_cast<int32_t>(i), top, first + static_cast<int32_t>(end), bottom}, colour);
    i = end;
  }
}

}  // namespace

Colour drawnColour(const ZZTrace& trace) {
  constexpr uint32_t kNumbered = 0x1000000;
  static constexpr std::array<Colour, 10> kRow = {0xa05000, 0x3030c0, 0x307000, 0x900090, 0x0070c0,
                                                  0x808000, 0x606060, 0x7020d0, 0x006060, 0xc08020};
  const uint32_t own = trace.colour & 0xffffff;
  return trace.colour & kNumbered ? kRow[own % kRow.size()] : own;
}

std::unique_ptr<CScreenTrace> CScreenTrace::make(ZZTrace& trace) {
  if (auto* rows = dynamic_cast<C2DTrace*>(&trace)) return std::make_unique<C2DScreenTrace>(*rows);
  return std::make_unique<CScreenTrace>(trace);
}

void CScreenTrace::setTrace(ZZTrace& by) {
  shownTrace = &by;
  dataChanged();
}

Extent CScreenTrace::extentOfAges(uint32_t from, uint32_t to) {
  const CdataVect& data = *shownTrace->data;
  to = std::min(to, data.size);
  if (from >= to) return {};
  const uint32_t oldest = data.size - shownTrace->origin % data.size;  // ages before the end of the ring
  Extent extent;
  if (from < oldest)
    extent = extents.of(data, indexOfAge(from), indexOfAge(from) + (std::min(to, oldest) - from),
                        shownTrace->absent);
  if (to > oldest)
    extent.take(extents.of(data, std::max(from, oldest) - oldest, to - oldest, shownTrace->absent));
  return extent;
}

// NaN where nothing was measured.
double CScreenTrace::valueOfAge(double age) const {
  const double raw = shownTrace->data->at(indexOfAge(static_cast<uint32_t>(age)));
  return shownTrace->isAbsent(raw) ? std::numeric_limits<double>::quiet_NaN() : shownTrace->displayed(raw);
}

uint32_t CScreenTrace::indexOfAge(uint32_t age) const {
  const uint32_t size = shownTrace->size();
  return static_cast<uint32_t>((uint64_t{shownTrace->origin} + age) % size);
}

double CScreenTrace::ageAt(double time) const {
  return (time - shownTrace->starttime * 0.001) / shownTrace->period;
}

bool CScreenTrace::indexAt(double time, uint32_t& index) const {
  if (!shownTrace->size()) return false;
  const double age = std::floor(ageAt(time));
  if (!(age >= 0 && age < shownTrace->size())) return false;
  index = indexOfAge(static_cast<uint32_t>(age));
  return true;
}

void CScreenTrace::selfScale() {
  FS = fullScaleOf(*shownTrace);
  OS = 0.0;
  if (!shownTrace->size()) return;
  const Extent raw = extentOfAges(0, shownTrace->size());
  Extent shown;
  shown.take(shownTrace->displayed(raw.low));
  shown.take(shownTrace->displayed(raw.high));
  if (shown.isEmpty() || !isUsable(shown.low) || !isUsable(shown.high)) return;
  const bool own = FS == kScreenUnits * shownTrace->xscale;
  const bool fits =
      own && shown.low >= 0 && shown.high <= FS && (shown.high >= FS * kLeastFill || shown.high == 0);
  if (fits) return;
  const double range = shown.high - shown.low;
  const bool varies = range >= kLeastScale;
  FS = varies ? range * (1 + 2 * kMargin) : std::max(1.0, std::abs(shown.high));
  OS = varies ? shown.low - range * kMargin : shown.low - FS / 2;
}

void CScreenTrace::scaleAbout(double value, double factor) {
  const double full = FS * factor;
  if (!isFullScale(full)) return;
  OS = value - (value - OS) * factor;
  FS = full;
}

double CScreenTrace::valueAt(int32_t y, const Rect& plot) const {
  return OS + FS * (plot.bottom - y) / std::max(1, plot.height());
}

int32_t CScreenTrace::yOf(double value, const Rect& plot) const {
  const double height = plot.height();
  const double above = (value - OS) / FS * height;
  const double bounded = above > -kFarAway * height ? std::min(above, kFarAway * height) : -kFarAway * height;
  return plot.bottom - 1 - static_cast<int32_t>(std::lround(bounded));
}

void CScreenTrace::draw(Canvas& canvas, const Rect& plot, const TimeColumns& columns) {
  if (!shownTrace->size() || plot.isEmpty() || !(shownTrace->period > 0)) return;
  const double samplesPerColumn = columns.perColumn / shownTrace->period;
  canvas.setPen({drawnColour(*shownTrace), 1, false});
  if (shownTrace->marked)
    drawDots(canvas, plot, columns);
  else if (samplesPerColumn > 2)
    drawColumns(canvas, plot, columns);
  else
    drawCurve(canvas, plot, columns, samplesPerColumn);
}

// More samples than columns: a stroke in each column from its least to its greatest value, joined to the
// next.
void CScreenTrace::drawColumns(Canvas& canvas, const Rect& plot, const TimeColumns& columns) {
  std::vector<Point> strokes;
  strokes.reserve(2 * static_cast<size_t>(std::max(0, columns.count)));
  const double size = shownTrace->size();
  const auto flush = [&] {
    strokeCurve(canvas, strokes, plot, drawnColour(*shownTrace));
    strokes.clear();
  };
  for (int32_t c = 0; c < columns.count; ++c) {
    const double from = std::floor(ageAt(columns.timeAt(c))), to = std::floor(ageAt(columns.timeAt(c + 1)));
    if (!(to > 0) || !(from < size)) continue;
    const Extent extent =
        extentOfAges(static_cast<uint32_t>(std::max(0.0, from)), static_cast<uint32_t>(std::min(size, to)));
    if (extent.isEmpty()) {
      flush();
      continue;
    }
    int32_t low = yOf(shownTrace->displayed(extent.low), plot),
            high = yOf(shownTrace->displayed(extent.high), plot);
    // The nearer end first, so that the line between columns crosses nothing.
    if (!strokes.empty() && std::abs(strokes.back().y - high) < std::abs(strokes.back().y - low))
      std::swap(low, high);
    strokes.push_back({plot.left + c, low});
    if (high != low) strokes.push_back({plot.left + c, high});
  }
  flush();
}

// Fewer samples than columns: straight lines from sample to sample.
void CScreenTrace::drawCurve(Canvas& canvas, const Rect& plot, const TimeColumns& columns, double perColumn) {
  const double size = shownTrace->size();
  const double from = std::max(0.0, std::floor(ageAt(columns.timeAt(0))) - 1);
  const double to = std::min(size, std::ceil(ageAt(columns.timeAt(columns.count))) + 2);
  std::vector<Point> line;
  const auto flush = [&] {
    strokeCurve(canvas, line, plot, drawnColour(*shownTrace));
    line.clear();
  };
  const double columnOfFirst = columns.columnOf(shownTrace->starttime * 0.001);
  for (double age = from; age < to; ++age) {
    const double value = valueOfAge(age);
    if (std::isnan(value)) {
      flush();
      continue;
    }
    const double column = std::clamp(columnOfFirst + age / perColumn, -1e6, 1e6);
    line.push_back({plot.left + static_cast<int32_t>(std::lround(column)), yOf(value, plot)});
  }
  flush();
}

void CScreenTrace::drawDots(Canvas& canvas, const Rect& plot, const TimeColumns& columns) {
  canvas.setPen({drawnColour(*shownTrace), std::clamp(shownTrace->linewidth, 1, kWidestMark), false});
  const double size = shownTrace->size();
  const double from = std::max(0.0, std::floor(ageAt(columns.timeAt(0))));
  const double to = std::min(size, std::ceil(ageAt(columns.timeAt(columns.count))) + 1);
  const double columnOfFirst = columns.columnOf(shownTrace->starttime * 0.001);
  Point last{INT32_MIN, 0};
  for (double age = from; age < to; ++age) {
    const double value = valueOfAge(age);
    if (std::isnan(value)) continue;
    const double column = std::clamp(columnOfFirst + age * shownTrace->period / columns.perColumn, -1e6, 1e6);
    const Point at{plot.left + static_cast<int32_t>(std::lround(column)), yOf(value, plot)};
    if (!(at == last)) canvas.point(at);
    last = at;
  }
}

// --- rows

void C2DScreenTrace::dataChanged() {
  CScreenTrace::dataChanged();
  maxima.clear();
}

// The whole extent of the rows.
void C2DScreenTrace::selfScale() {
  OS = isUsable(rows().lowest) ? rows().lowest : 0.0;
  FS = fullScaleOf(*shownTrace);
  const C2DTrace& trace = rows();
  if (!trace.data || !trace.rowvalues) return;
  double greatest = 0;
  for (uint32_t r = 0; r < std::min(trace.size(), trace.rowvalues->size); ++r)
    greatest = std::max(greatest, trace.rowvalues->at(r));
  const double full = greatest * std::abs(trace.ygain);
  if (isFullScale(full)) FS = full;
}

int32_t C2DScreenTrace::paletteIndex(double value, double fullscale, double fsoffset) {
  const double index = (value - fsoffset) * DisplayPalette::kEntries / fullscale;
  return index > 0 ? static_cast<int32_t>(std::min(index, DisplayPalette::kEntries - 1.0)) : 0;
}

// For each pixel of a column, from its top, the items of a row that fall on it, when the row ends at the
// displayed value `extent`. Where it has none both are 0.
void C2DScreenTrace::mapItems(int32_t height, double extent) {
  const auto items = static_cast<double>(row.size());
  const double itemsPerPixel = FS / height / extent * items;
  const double bottom = (OS - rows().lowest) / extent * items;
  spans.assign(static_cast<size_t>(height), {0, 0});
  for (int32_t y = 0; y < height; ++y) {
    const double from = bottom + y * itemsPerPixel;
    if (!(from > -itemsPerPixel) || from >= items) continue;
    const auto first = static_cast<uint32_t>(std::max(0.0, from));
    const auto end = static_cast<uint32_t>(std::min(items, std::max(from + itemsPerPixel, 0.0)));
    spans[static_cast<size_t>(height - 1 - y)] = {first, std::max(end, first + 1)};
  }
  spansExtent = extent;
}

// The greatest items of rows by age [from, to) into `row`, as entries of the palette into `levels`; their
// extent as displayed, 0 where all are empty.
double C2DScreenTrace::readRows(uint32_t from, uint32_t to) {
  C2DTrace& trace = rows();
  const uint32_t index = indexOfAge(from);
  const uint32_t beforeEnd = std::min(to - from, trace.size() - index);
  double extent = maxima.of(*trace.data, *trace.rowvalues, index, index + beforeEnd, row);
  if (to - from > beforeEnd) {  // the group crosses the end of the ring
    std::vector<double> rest(row.size());
    const double more = maxima.of(*trace.data, *trace.rowvalues, 0, to - from - beforeEnd, rest);
    if (more != 0.0)
      for (size_t i = 0; i < row.size(); ++i) row[i] = extent == 0.0 || rest[i] > row[i] ? rest[i] : row[i];
    extent = std::max(extent, more);
  }
  if (extent > 0)
    for (size_t i = 0; i < row.size(); ++i)
      levels[i] = static_cast<uint8_t>(paletteIndex(row[i], trace.fullscale, trace.fsoffset));
  return extent * std::abs(trace.ygain);
}

void C2DScreenTrace::drawColumn(std::span<uint32_t> pixels, double extent, const Colours& colours) {
  if (!(extent > 0)) {
    std::ranges::fill(pixels, colours.paper);
    return;
  }
  if (extent != spansExtent || spans.size() != pixels.size())
    mapItems(static_cast<int32_t>(pixels.size()), extent);
  for (size_t y = 0; y < pixels.size(); ++y) {
    const auto [first, end] = spans[y];
    if (first == end) {
      pixels[y] = colours.paper;
      continue;
    }
    uint8_t level = levels[first];
    for (uint32_t i = first + 1; i < end; ++i) level = std::max(level, levels[i]);
    pixels[y] = colours.entries[level];
  }
}

C2DScreenTrace::Colours C2DScreenTrace::coloursOf(const DisplayPalette& palette) {
  const auto packed = [](const PaletteEntry& e) {
    return 0xff000000U | static_cast<uint32_t>(e.red << 16 | e.green << 8 | e.blue);
  };
  Colours colours;
  for (size_t i = 0; i < colours.entries.size(); ++i) colours.entries[i] = packed(palette.entries()[i]);
  colours.paper = packed(DisplayPalette::kWindowColour);
  return colours;
}

void C2DScreenTrace::draw(Canvas& canvas, const Rect& plot, const TimeColumns& columns) {
  // So many columns are drawn upright before they are laid beside each other.
  constexpr int32_t kBeside = 16;
  C2DTrace& trace = rows();
  if (!trace.size() || !trace.rowvalues || plot.isEmpty() || !(trace.period > 0) || !(FS > 0)) return;
  const double ratio = canvas.isPrinter() ? 1.0 : canvas.pixelRatio();
  const auto width = static_cast<int32_t>(columns.count * ratio);
  const auto height = static_cast<int32_t>(plot.height() * ratio);
  if (width < 1 || height < 1) return;
  const auto tall = static_cast<size_t>(height), wide = static_cast<size_t>(width);
  block.resize(wide * tall);
  row.resize(trace.data->width);
  levels.resize(row.size());
  spans.clear();
  std::vector<uint32_t> upright(kBeside * tall);
  const Colours colours = coloursOf(trace.palette);
  const double size = trace.size();
  double from = std::floor(ageAt(columns.timeAt(0)));
  double shownFrom = -1, shownTo = -1;  // the rows of the column before
  for (int32_t x = 0; x < width; ++x) {
    const auto nth = static_cast<size_t>(x % kBeside);
    const std::span column(upright.data() + nth * tall, tall);
    const double next = std::floor(ageAt(columns.timeAt((x + 1) / ratio)));
    const double to = std::max(from + 1, next);
    if (from == shownFrom && to == shownTo) {
      const std::span before(upright.data() + (nth + kBeside - 1) % kBeside * tall, tall);
      std::ranges::copy(before, column.begin());
    } else {
      const bool some = to > 0 && from < size;
      const double extent = some ? readRows(static_cast<uint32_t>(std::max(0.0, from)),
                                            static_cast<uint32_t>(std::min(size, to)))
                                 : 0.0;
      drawColumn(column, extent, colours);
      shownFrom = from;
      shownTo = to;
    }
    from = next;
    if (nth + 1 < kBeside && x + 1 < width) continue;
    for (size_t y = 0; y < tall; ++y) {
      uint32_t* out = block.data() + y * wide + static_cast<size_t>(x) - nth;
      for (size_t k = 0; k <= nth; ++k) out[k] = upright[k * tall + y];
    }
  }
  canvas.pixels({block.data(), width, height, width},
                {plot.left, plot.top, plot.left + columns.count, plot.bottom});
}

}  // namespace tarnvisor
