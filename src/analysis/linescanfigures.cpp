// What the readings of a linescan say as a whole.
#include <algorithm>
#include <cmath>
#include <limits>

#include "analysis/linescan.h"
#include "base/numbers.h"
#include "settings/log.h"

namespace tarnvisor {

LimitCurves limitCurves(const LinescanTraces& traces) {
  constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
  constexpr size_t kLimits = LimitCurves::kLimits;
  LimitCurves curves{std::vector<double>(kLimits, kNone), std::vector<double>(kLimits, kNone),
                     std::vector<double>(kLimits, kNone), std::vector<double>(kLimits, 0.0)};
  const ZZTrace *correlation = traces.correlation, *uncut = traces.cbvUncut;
  if (!correlation || !uncut) return curves;
  std::vector<double> sum(kLimits, 0.0);
  const uint32_t rows = std::min(uncut->size(), correlation->size());
  for (uint32_t i = 0; i < rows; ++i) {
    const uint32_t row = static_cast<uint32_t>((uint64_t{uncut->origin} + i) % rows);
    const double velocity = uncut->data->at(row);
    if (velocity == kNoReading || !std::isfinite(velocity)) continue;
    const int32_t passed = truncated(correlation->data->at(row) * 0.25);
    if (passed >= static_cast<int32_t>(kLimits)) {
      logPrintf("cbvvcoef cf[%i]=%d\n", static_cast<int>(row), static_cast<int>(passed));
      continue;
    }
    for (size_t l = 0; static_cast<int32_t>(l) < passed; ++l) {
      sum[l] += velocity;
      curves.count[l] += 1;
      curves.mean[l] = sum[l] / curves.count[l];
      curves.least[l] = std::fmin(curves.least[l], velocity);
      curves.greatest[l] = std::fmax(curves.greatest[l], velocity);
    }
  }
  return curves;
}

namespace {

// Rows that a reading looks back on.
uint32_t rowsBack(const VelocityParameters& parameters) {
  if (parameters.cbvmethod == kTwoLines) return 2 * static_cast<uint32_t>(std::max(parameters.noofpoints, 0));
  return static_cast<uint32_t>(std::max(parameters.gap, 0));
}

bool isGood(const LinescanTraces& traces, const VelocityParameters& parameters, uint32_t row) {
  const double velocity = traces.cbv->data->at(row);
  return std::isfinite(velocity) && velocity != kNoReading &&
         traces.correlation->data->at(row) > parameters.coeflimit * 1000;
}

}  // namespace

VelocityStatistics velocityStatistics(const LinescanTraces& traces, const VelocityParameters& parameters,
                                      uint32_t from, uint32_t to) {
  VelocityStatistics found;
  const ZZTrace *cbv = traces.cbv, *correlation = traces.correlation;
  if (!cbv || !correlation || !cbv->data || correlation->size() != cbv->size()) return found;
  const uint32_t size = cbv->size(), back = rowsBack(parameters);
  if (from >= size || to > size) return found;
  const auto isWanted = [&](uint32_t row) {
    return from == to || (from < to ? row >= from && row < to : row >= from || row < to);
  };
  const bool knowsRatio = traces.peakratio && traces.peakratio->size() == size;
  uint64_t held = 0;  // rows without a break up to this one
  for (uint32_t i = 0; i < size; ++i) {
    const uint32_t row = static_cast<uint32_t>((uint64_t{cbv->origin} + i) % size);
    const bool holds = !traces.correllogram || traces.correllogram->extent(row) != 0;
    held = holds ? held + 1 : 0;
    if (!holds || !isWanted(row)) continue;
    ++found.rows;
    if (held <= back || !isGood(traces, parameters, row)) continue;
    const double velocity = cbv->data->at(row);
    found.least = found.goodRows ? std::min(found.least, velocity) : velocity;
    found.greatest = found.goodRows ? std::max(found.greatest, velocity) : velocity;
    ++found.goodRows;
    found.mean += velocity;
    found.correlation += correlation->data->at(row) * 0.001;
    if (knowsRatio) found.peakRatio += traces.peakratio->data->at(row);
  }
  if (!found.hasReading()) return found;
  for (double* sum : {&found.mean, &found.correlation, &found.peakRatio}) *sum /= found.goodRows;
  return found;
}

}  // namespace tarnvisor
