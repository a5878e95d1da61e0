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
  if (parameters.cbvmethod != kTwoLines && traces.scan) found.points = traces.scan->width();
  const ZZTrace *cbv = traces.cbv, *correlation = traces.correlation;
  if (!cbv || !correlation || !cbv->data || correlation->size() != cbv->size()) return found;
  const uint32_t size = cbv->size(), back = rowsBack(parameters);
  if (from >= size || to > size) return found;
  const auto isWanted = [&](uint32_t row) {
    return from == to || (from < to ? row >= from && row < to : row >= from || row < to);
  };
  const bool knowsRatio = traces.peakratio && traces.peakratio->size() == size;
  uint32_t ratios = 0;
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
    const double ratio = knowsRatio ? traces.peakratio->data->at(row) : 0.0;
    if (!(ratio > 0)) continue;
    found.peakRatio += ratio;
    ++ratios;
  }
  if (!found.hasReading()) return found;
  found.mean /= found.goodRows;
  found.correlation /= found.goodRows;
  if (ratios > 0) found.peakRatio /= ratios;
  return found;
}

// Measured on cells of known velocity: beyond these lie most of what is wrong by more than a tenth, what
// comes of noise, and flow the other way that is taken for forward.
Reliability reliabilityOf(const VelocityStatistics& statistics) {
  constexpr uint32_t kFewPoints = 32;
  constexpr double kNearlyAlike = 0.7;  // leaves no doubt, whatever else is alike
  if (!statistics.hasReading()) return Reliability::None;
  const bool isShort = statistics.points > 0 && statistics.points < kFewPoints;
  const auto hasRivals = [&](double ratio) {
    return statistics.peakRatio > 0 && statistics.peakRatio < ratio && statistics.correlation < kNearlyAlike;
  };
  if (isShort || hasRivals(1.65) || statistics.share() < 0.1) return Reliability::Unreliable;
  const bool isFair = hasRivals(2) || statistics.share() < 0.5 || statistics.correlation < 0.3;
  return isFair ? Reliability::Fair : Reliability::Good;
}

const char* wordsFor(Reliability reliability) {
  switch (reliability) {
    case Reliability::Unreliable:
      return "unreliable";
    case Reliability::Fair:
      return "fair";
    case Reliability::Good:
      return "good";
    case Reliability::None:
      break;
  }
  return "no reading";
}

namespace {

constexpr const char* kTooFast = "too fast for the line and rate";
constexpr const char* kStanding = "nothing moves along the line: blood that stands, or no vessel";
constexpr const char* kTooSlow = "too slow to tell from standing still";

}  // namespace

std::string velocityWarning(const VelocityStatistics& statistics, const VelocityParameters& parameters,
                            double period) {
  // Half a line is the farthest that can be seen at all.
  constexpr double kNearlyHalf = 0.45, kNearlyAll = 0.9, kFewRows = 2;
  const double speed = std::abs(statistics.mean);
  if (!statistics.hasReading()) return {};
  if (speed == 0) return kStanding;
  if (parameters.cbvmethod == kTwoLines) {
    const double delay = parameters.linedistance / (speed * period);
    return delay < kFewRows ? kTooFast : delay > kNearlyAll * parameters.noofpoints ? kTooSlow : "";
  }
  const double shift = speed * period * parameters.gap;
  // Of whole points one may as well be none.
  const double least = parameters.subpoint ? 0.5 : 1.5;
  return shift > kNearlyHalf * statistics.points ? kTooFast : shift < least ? kTooSlow : "";
}

std::string additionWords(const VelocityParameters& parameters) {
  if (parameters.subpoint && parameters.bothways) return "between points, both ways";
  return parameters.subpoint ? "between points" : parameters.bothways ? "both ways" : "";
}

}  // namespace tarnvisor
