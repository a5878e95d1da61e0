#include "signal/screentrace.h"

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

}  // namespace

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
    extent = extents.of(data, indexOfAge(from), indexOfAge(from) + (std::min(to, oldest) - from));
  if (to > oldest) extent.take(extents.of(data, std::max(from, oldest) - oldest, to - oldest));
  return extent;
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
  const bool fits = own && shown.low >= 0 && shown.high <= FS && shown.high >= FS * kLeastFill;
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
  canvas.setPen({shownTrace->colour & 0xffffff, 1, false});
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
    if (!strokes.empty()) canvas.polyline(strokes);
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
    if (!line.empty()) canvas.polyline(line);
    line.clear();
  };
  const double columnOfFirst = columns.columnOf(shownTrace->starttime * 0.001);
  for (double age = from; age < to; ++age) {
    const double value = shownTrace->displayed(shownTrace->data->at(indexOfAge(static_cast<uint32_t>(age))));
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
  canvas.setPen({shownTrace->colour & 0xffffff, std::clamp(shownTrace->linewidth, 1, kWidestMark), false});
  const double size = shownTrace->size();
  const double from = std::max(0.0, std::floor(ageAt(columns.timeAt(0))));
  const double to = std::min(size, std::ceil(ageAt(columns.timeAt(columns.count))) + 1);
  const double columnOfFirst = columns.columnOf(shownTrace->starttime * 0.001);
  Point last{INT32_MIN, 0};
  for (double age = from; age < to; ++age) {
    const double value = shownTrace->displayed(shownTrace->data->at(indexOfAge(static_cast<uint32_t>(age))));
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
  OS = 0.0;
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

// Items of `row`, which ends at the displayed value `extent`, upward from the bottom; the greatest where
// several items fall on a pixel.
void C2DScreenTrace::drawColumn(int32_t x, int32_t height, double extent, uint32_t* pixels, int32_t stride) {
  const auto items = static_cast<double>(row.size());
  const double itemsPerPixel = FS / height / extent * items;
  for (int32_t y = 0; y < height; ++y) {
    const double from = OS / extent * items + y * itemsPerPixel;
    if (!(from > -itemsPerPixel)) continue;
    if (from >= items) break;
    const auto first = static_cast<size_t>(std::max(0.0, from));
    const auto end = static_cast<size_t>(std::min(items, std::max(from + itemsPerPixel, 0.0)));
    uint32_t index = colours[first];
    for (size_t i = first + 1; i < end; ++i) index = std::max(index, colours[i]);
    pixels[static_cast<ptrdiff_t>(height - 1 - y) * stride + x] = index;
  }
}

void C2DScreenTrace::draw(Canvas& canvas, const Rect& plot, const TimeColumns& columns) {
  C2DTrace& trace = rows();
  if (!trace.size() || !trace.rowvalues || plot.isEmpty() || !(trace.period > 0)) return;
  const double ratio = canvas.isPrinter() ? 1.0 : canvas.pixelRatio();
  const auto width = static_cast<int32_t>(columns.count * ratio);
  const auto height = static_cast<int32_t>(plot.height() * ratio);
  if (width < 1 || height < 1) return;
  constexpr uint32_t kNothing = UINT32_MAX;
  block.assign(static_cast<size_t>(width) * static_cast<size_t>(height), kNothing);
  row.resize(trace.data->width);
  colours.resize(row.size());
  const double size = trace.size();
  uint32_t shown = kNothing;  // the row that `colours` holds, where it is a single one
  double extent = 0;
  for (int32_t x = 0; x < width; ++x) {
    const double from = std::floor(ageAt(columns.timeAt(x / ratio)));
    const double to = std::max(from + 1, std::floor(ageAt(columns.timeAt((x + 1) / ratio))));
    if (!(to > 0) || !(from < size)) continue;
    const auto first = static_cast<uint32_t>(std::max(0.0, from));
    const auto end = static_cast<uint32_t>(std::min(size, to));
    if (first != shown || end - first != 1) {
      const uint32_t index = indexOfAge(first);
      const uint32_t beforeEnd = std::min(end - first, trace.size() - index);
      extent = maxima.of(*trace.data, *trace.rowvalues, index, index + beforeEnd, row);
      if (end - first > beforeEnd) {  // the group crosses the end of the ring
        std::vector<double> rest(row.size());
        const double more = maxima.of(*trace.data, *trace.rowvalues, 0, end - first - beforeEnd, rest);
        if (more != 0.0)
          for (size_t i = 0; i < row.size(); ++i)
            row[i] = extent == 0.0 || rest[i] > row[i] ? rest[i] : row[i];
        extent = std::max(extent, more);
      }
      extent *= std::abs(trace.ygain);
      for (size_t i = 0; i < row.size(); ++i)
        colours[i] = static_cast<uint32_t>(paletteIndex(row[i], trace.fullscale, trace.fsoffset));
      shown = end - first == 1 ? first : kNothing;
    }
    if (extent > 0) drawColumn(x, height, extent, block.data(), width);
  }
  std::array<uint32_t, DisplayPalette::kEntries> palette;
  for (size_t i = 0; i < palette.size(); ++i) {
    const PaletteEntry& e = trace.palette.entries()[i];
    palette[i] = 0xff000000U | static_cast<uint32_t>(e.red << 16 | e.green << 8 | e.blue);
  }
  // Where there is no row the paper shows.
  const PaletteEntry& paper = DisplayPalette::kWindowColour;
  const uint32_t background =
      0xff000000U | static_cast<uint32_t>(paper.red << 16 | paper.green << 8 | paper.blue);
  for (uint32_t& pixel : block) pixel = pixel == kNothing ? background : palette[pixel];
  canvas.pixels({block.data(), width, height, width},
                {plot.left, plot.top, plot.left + columns.count, plot.bottom});
}

}  // namespace tarnvisor
