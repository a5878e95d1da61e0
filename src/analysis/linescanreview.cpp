// What a chart makes of any traces.
#include <algorithm>
#include <cmath>

#include "analysis/linescan.h"

namespace tarnvisor {

ZZTrace::Own correlateTraces(const ZZTrace& first, const ZZTrace& second) {
  const uint32_t lags = std::min(first.size(), second.size()) / 2;
  if (lags == 0) return nullptr;
  auto result = std::make_unique<CTrace>(kDoubleCode, lags);
  if (!result->data) return nullptr;
  first.data->correlate(0, *second.data, 0, *result->data, lags, false);
  result->period = first.period;
  return result;
}

namespace {

// Pearson's coefficient times 1000 of n items and a window that moves by one item a lag; what is below 0, or
// no number, is 0.
void signedCorrelation(const double* items, const double* windows, size_t n, std::span<double> out) {
  double x = 0, xx = 0, y = 0, yy = 0;
  for (size_t i = 0; i < n; ++i) {
    x += items[i];
    xx += items[i] * items[i];
    y += windows[i];
    yy += windows[i] * windows[i];
  }
  const auto count = static_cast<double>(n);
  for (double& value : out) {
    double xy = 0;
    for (size_t i = 0; i < n; ++i) xy += items[i] * windows[i];
    const double spread = std::sqrt((count * xx - x * x) * (count * yy - y * y));
    const double scaled = (count * xy - x * y) * 1000 / spread;
    value = scaled > 0 && std::isfinite(scaled) ? scaled : 0.0;
    y += windows[n] - windows[0];
    yy += windows[n] * windows[n] - windows[0] * windows[0];
    ++windows;
  }
}

VelocityReview emptyReview(const C2DTrace& source, uint32_t rows) {
  VelocityReview made;
  made.correlation =
      std::make_unique<C2DTrace>(kWordRowsCode, rows, static_cast<uint16_t>(source.width() / 2 + 1));
  made.cbv = std::make_unique<CTrace>(kUint16Code, rows);
  if (!made.correlation->data || !made.cbv->data) return {};
  for (ZZTrace* trace :
       {static_cast<ZZTrace*>(made.correlation.get()), static_cast<ZZTrace*>(made.cbv.get())}) {
    trace->ygain = trace->xscale = 1 / source.period;
    trace->yunits = source.yunits + "/" + source.xunits;
    trace->xunits = source.xunits;
    trace->period = source.period;
  }
  made.correlation->name = "correlation";
  made.correlation->setdisplay(65535.0, 1.25, 10.0, 65535.0);
  made.cbv->name = "cbv";
  made.cbv->colour = 255;
  return made;
}

// The lowest item of a row, from the middle of the row on; 0 for a row that begins with 0.
double lowestFromMiddle(const CdataVect& rows, uint32_t row) {
  if (rows.at(row) == 0) return 0;
  double least = 9.9e+31;
  int32_t position = 0;
  for (uint32_t i = 0; i < rows.width; ++i) {
    const double value = rows.at(row, i);
    if (!(value < least)) continue;
    least = value;
    position = static_cast<int32_t>(i);
  }
  const int32_t middle = (rows.width - 1) / 2;
  return position - middle;
}

}  // namespace

VelocityReview reviewVelocity(const C2DTrace& source, uint32_t from, uint32_t to) {
  if (source.width() < 2 || from >= source.size() || to > source.size()) return {};
  source.orderrange(from, to);
  if (from == source.size()) from = 0;
  const uint32_t rows = source.rangecount(from, to);
  VelocityReview made = emptyReview(source, rows);
  if (!made.correlation) return {};
  made.correlation->setstarttime(source.timeof(from));
  made.cbv->setstarttime(source.timeof(from));
  const size_t half = source.width() / 2;
  // One item more, which is read past the last lag and not used.
  std::vector<double> before, row(source.width() + size_t{1}), lags(2 * half);
  for (uint32_t i = 0; i < rows; ++i) {
    const uint32_t at = static_cast<uint32_t>((uint64_t{from} + i) % source.size());
    if (source.extent(at) == 0) continue;
    source.data->getcopy(row.data(), at, 1);
    if (!before.empty()) {
      signedCorrelation(before.data() + half, row.data(), half, std::span(lags).first(half));
      signedCorrelation(before.data(), row.data(), half, std::span(lags).last(half));
      for (uint32_t lag = 0; lag < std::min<size_t>(made.correlation->width(), lags.size()); ++lag)
        made.correlation->data->putcell(i, lag, lags[lag]);
      made.correlation->setextent(i, source.width());
    }
    before = row;
  }
  for (uint32_t i = 0; i < rows; ++i) made.cbv->data->putval(i, lowestFromMiddle(*made.correlation->data, i));
  return made;
}

}  // namespace tarnvisor
