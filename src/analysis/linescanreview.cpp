// What a chart makes of any traces.
#include <algorithm>
#include <array>
#include <memory>
#include <vector>

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

// Of rows [from, from + count) of the ring, in the order of time.
std::unique_ptr<C2DTrace> rowsOf(const C2DTrace& source, uint32_t from, uint32_t count) {
  auto rows = std::make_unique<C2DTrace>(kDoubleRowsCode, count, source.width());
  if (!rows->data) return nullptr;
  std::vector<double> values(source.width());
  for (uint32_t i = 0; i < count; ++i) {
    const auto at = static_cast<uint32_t>((uint64_t{from} + i) % source.size());
    if (source.extent(at) == 0) continue;
    source.data->getcopy(values.data(), at, 1);
    for (uint32_t c = 0; c < values.size(); ++c) rows->data->putcell(i, c, values[c]);
    rows->setextent(i, source.width());
  }
  return rows;
}

}  // namespace

VelocityReview reviewVelocity(const C2DTrace& source, uint32_t from, uint32_t to) {
  if (source.width() < 2 || from >= source.size() || to > source.size()) return {};
  source.orderrange(from, to);
  if (from == source.size()) from = 0;
  const uint32_t rows = source.rangecount(from, to);
  const VelocityParameters asSet;
  const auto scan = rowsOf(source, from, rows);
  C2DTrace difference(kDoubleRowsCode, rows, source.width());
  ZZTrace coefficients(kDoubleCode, rows), uncut(kDoubleCode, rows);
  VelocityReview made;
  made.correlation =
      std::make_unique<C2DTrace>(kWordRowsCode, rows, correllogramWidth(asSet, source.width()));
  made.cbv = std::make_unique<CTrace>(kDoubleCode, rows);
  if (!scan || !difference.data || !coefficients.data || !uncut.data || !made.correlation->data ||
      !made.cbv->data)
    return {};
  LinescanTraces set;
  set.scan2D = set.scan = scan.get();
  set.difference = &difference;
  set.correllogram = made.correlation.get();
  set.correlation = &coefficients;
  set.cbv = made.cbv.get();
  set.cbvUncut = &uncut;
  const std::array<ZZTrace*, 6> all{scan.get(),    &difference, set.correllogram,
                                    &coefficients, set.cbv,     &uncut};
  for (ZZTrace* trace : all) {
    trace->period = source.period;
    trace->xunits = source.xunits;
    trace->yunits = source.yunits + "/" + source.xunits;
    trace->ygain = source.ygain;
  }
  made.cbv->data->fill(kNoReading);
  RowVelocity velocity;
  for (uint32_t row = 0; row < rows; ++row) {
    for (ZZTrace* trace : all) trace->origin = row;
    if (scan->extent(row) != 0) velocity.rowstep(asSet, set, row);
  }
  for (ZZTrace* trace : all) {
    trace->origin = 0;
    trace->setstarttime(source.timeof(from));
  }
  made.correlation->name = "correlation";
  made.correlation->setdisplay(1000.0, 1.25, 10.0, 65535.0);
  made.cbv->name = "cbv";
  made.cbv->colour = 255;
  made.cbv->absent = kNoReading;
  return made;
}

}  // namespace tarnvisor
