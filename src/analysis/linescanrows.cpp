// Velocity from the shift between rows.
#include <algorithm>
#include <cmath>

#include "analysis/linescan.h"
#include "linescanpeaks.h"

namespace tarnvisor {

namespace {

constexpr double kSettling = 20;       // rows in the mean, at least
constexpr double kSlow = 10.0;         // how much longer than `smoothing` says the mean lasts with `subpoint`
constexpr double kBeyondChance = 5.0;  // deviations: of the best of many lags
constexpr double kBeyondNoise = 3.0;   // of a single one
constexpr int32_t kNear = 4;           // lags between the broad peak and the narrow one
constexpr double kLift = 64.0;         // of the difference trace, so that it shows both signs
// Of the mean square of a row: what varies by less varies by rounding.
constexpr double kFlat = 1e-20;

bool varies(std::span<const double> row) {
  double sum = 0, squares = 0, variance = 0;
  for (const double x : row) sum += x;
  const double mean = sum / static_cast<double>(row.size());
  for (const double x : row) {
    squares += x * x;
    variance += (x - mean) * (x - mean);
  }
  return std::isfinite(variance) && variance > kFlat * squares;
}

void readRow(const C2DTrace& trace, uint32_t row, std::vector<double>& out) {
  out.resize(trace.width());
  trace.data->getcopy(out.data(), row, 1);
}

uint32_t rowBefore(const C2DTrace& trace, uint32_t row, int32_t lag) {
  const uint64_t rows = trace.size();
  return static_cast<uint32_t>((row + rows - static_cast<uint64_t>(lag) % rows) % rows);
}

bool has(const C2DTrace* trace, uint32_t row) { return trace && trace->data && row < trace->size(); }

double get(const ZZTrace* trace) {
  return trace && trace->origin < trace->size() ? trace->data->at(trace->origin) : 0.0;
}

void putNoReading(const LinescanTraces& traces) {
  putAtOrigin(traces.correlation, kNoReading);
  putAtOrigin(traces.cbvUncut, kNoReading);
  putAtOrigin(traces.cbv, kNoReading);
  putAtOrigin(traces.peakratio, 0.0);
}

uint32_t columnsPerPoint(const VelocityParameters& parameters) {
  return static_cast<uint32_t>(std::max(parameters.linesperpoint, 1));
}

// As many rows alike say as much.
double averagedRows(int32_t rows) { return std::max(2.0 * rows - 1, 1.0); }

// Light that falls off along the line is no pattern.
void takeOffSlope(std::vector<double>& row) {
  const double middle = (static_cast<double>(row.size()) - 1) / 2;
  double moment = 0, spread = 0;
  for (size_t i = 0; i < row.size(); ++i) {
    const double away = static_cast<double>(i) - middle;
    moment += row[i] * away;
    spread += away * away;
  }
  if (!(spread > 0)) return;
  for (size_t i = 0; i < row.size(); ++i) row[i] -= moment / spread * (static_cast<double>(i) - middle);
}

double varianceOf(std::span<const double> row) {
  double sum = 0, squares = 0;
  for (const double x : row) sum += x;
  const double mean = sum / static_cast<double>(row.size());
  for (const double x : row) squares += (x - mean) * (x - mean);
  return squares;
}

// Columns of a point within the rows that are correlated.
uint32_t columnsApart(const VelocityParameters& parameters) {
  return parameters.twod ? columnsPerPoint(parameters) : 1;
}

// Whether a row has one to be compared with. As set, any row that was once there does.
bool hasPartner(const VelocityParameters& parameters, const C2DTrace& source, uint32_t row) {
  const bool isShort = source.width() / columnsApart(parameters) < 2;
  if (source.extent(row) == 0 || isShort || parameters.gap < 1) return false;
  if (static_cast<uint32_t>(parameters.gap) >= source.size()) return false;
  const bool isFine = parameters.subpoint || parameters.bothways;
  return !isFine || source.extent(rowBefore(source, row, parameters.gap)) != 0;
}

// The velocity that the columns of a correlogram's row span.
double extentOf(const VelocityParameters& parameters, const C2DTrace& source, uint32_t row) {
  const double share = parameters.bothways ? 1.0 : 0.5;
  return source.extent(row) / std::max(parameters.gap, 1) * share / source.period;
}

// The least lag at which a peak counts.
int32_t leastLag(const VelocityParameters& parameters, int32_t half) {
  return parameters.bothways ? -half : parameters.zeropeak ? 0 : 1;
}

// What is correlated.
const C2DTrace* correlated(const VelocityParameters& parameters, const LinescanTraces& traces) {
  if (parameters.hipass && traces.difference) return traces.difference;
  return parameters.twod ? traces.scan2D : traces.scan;
}

}  // namespace

C2DTrace* rowSource(const VelocityParameters& parameters, const LinescanTraces& traces) {
  return parameters.twod && parameters.hipass && traces.scan2D ? traces.scan2D : traces.scan;
}

uint16_t correllogramWidth(const VelocityParameters& parameters, uint32_t points) {
  const bool two = parameters.cbvmethod == kTwoLines;
  const int64_t lags = two ? std::max(parameters.noofpoints, 0) : points / 2;
  return static_cast<uint16_t>(std::min<int64_t>(parameters.bothways ? 2 * lags : lags, UINT16_MAX));
}

void RowVelocity::restart() { isFirst = true; }

void RowVelocity::resetMean() { runningMean.clear(); }

// With `subpoint` the mean follows no faster than the blood passes by, and is the mean of all rows while
// these are few: blood that hardly moves would be taken off with the background.
double RowVelocity::shareInMean(const VelocityParameters& parameters) {
  rowsInMean += 1;
  if (!parameters.subpoint) return parameters.smoothing;
  return std::max(parameters.smoothing / (kSlow * std::max(parameters.gap, 1)), 1 / rowsInMean);
}

void RowVelocity::rowstep(const VelocityParameters& parameters, const LinescanTraces& traces, uint32_t row) {
  const bool isReduced = traces.scan2D != traces.scan && has(traces.scan2D, row) && has(traces.scan, row);
  const bool reducesDifference = parameters.twod && parameters.hipass;
  if (isReduced && !reducesDifference)
    traces.scan2D->rowaverage(row, *traces.scan, columnsPerPoint(parameters));
  const C2DTrace* source = rowSource(parameters, traces);
  C2DTrace* difference = traces.difference;
  if (parameters.hipass && has(source, row) && has(difference, row)) {
    const bool fits = difference->width() == source->width();
    difference->setextent(row, fits ? source->extent(row) : 0.0);
    if (difference->extent(row) != 0) {
      highpass(parameters, *source, *difference, row);
      if (isReduced && reducesDifference)
        difference->rowaverage(row, *traces.scan, columnsPerPoint(parameters));
    }
  }
  if (parameters.cbvmethod == kRowCorrelation) correlstep(parameters, traces, row);
  isFirst = false;
}

void RowVelocity::highpass(const VelocityParameters& parameters, const C2DTrace& source, C2DTrace& difference,
                           uint32_t row) {
  readRow(source, row, values);
  if (runningMean.size() != values.size()) {
    runningMean = values;
    rowsInMean = 0;
  }
  const double share = shareInMean(parameters);
  for (uint32_t i = 0; i < values.size(); ++i) {
    const double apart = values[i] - runningMean[i];
    difference.data->putcell(row, i, apart + kLift);
    // What is no number would stay in the mean for good.
    const double moved = runningMean[i] + apart * share;
    runningMean[i] = std::isfinite(moved) ? moved : std::isfinite(values[i]) ? values[i] : 0.0;
  }
}

// Rows without contrast, with anything that is no number, and the same picture twice tell no velocity;
// peaks between the latter are of the pattern alone.
bool RowVelocity::canBeCompared(const VelocityParameters& parameters, const LinescanTraces& traces,
                                const C2DTrace& source, uint32_t row) {
  readRow(source, rowBefore(source, row, parameters.gap), earlier);
  readRow(source, row, values);
  // As set, the first half of the earlier row is moved along the other.
  const bool isFine = parameters.subpoint || parameters.bothways;
  const size_t compared = isFine ? earlier.size() : earlier.size() / 2;
  if (!varies(std::span(earlier).first(compared)) || !varies(earlier) || !varies(values)) return false;
  if (parameters.zeropeak || parameters.bothways) return true;
  const C2DTrace* sampled = rowSource(parameters, traces);
  if (!has(sampled, row)) sampled = &source;
  readRow(*sampled, rowBefore(*sampled, row, parameters.gap), earlier);
  readRow(*sampled, row, values);
  return earlier != values;
}

void RowVelocity::correlstep(const VelocityParameters& parameters, const LinescanTraces& traces,
                             uint32_t row) {
  const C2DTrace* source = correlated(parameters, traces);
  C2DTrace* correllogram = traces.correllogram;
  if (!has(source, row) || !has(correllogram, correllogram ? correllogram->origin : 0)) return;
  const uint32_t at = correllogram->origin;
  const bool isFine = parameters.subpoint || parameters.bothways;
  const bool hasBoth = hasPartner(parameters, *source, row);
  if (!hasBoth || !canBeCompared(parameters, traces, *source, row)) {
    correllogram->setextent(at, extentOf(parameters, *source, row));
    passOver(*correllogram, traces);
    if (hasBoth) putStanding(parameters, traces, row);
    return;
  }
  const bool hasFadedRow =
      isFine && source == traces.difference &&
      (hasFaded(traces, *source, row) || hasFaded(traces, *source, rowBefore(*source, row, parameters.gap)));
  if (hasFadedRow) {
    correllogram->setextent(at, extentOf(parameters, *source, row));
    return passOver(*correllogram, traces);
  }
  if (isFine) return finestep(parameters, traces, *source, row);
  source->correlatestep(row, static_cast<uint32_t>(parameters.gap), *correllogram, at,
                        columnsApart(parameters));
  if (!isFirst && !wasPassedOver && parameters.filter > 1)
    correllogram->data->lowpassat(at, parameters.filter);
  wasPassedOver = false;
  readPeak(parameters, traces);
}

// No reading, and nothing that the next row could be averaged with.
void RowVelocity::passOver(C2DTrace& correllogram, const LinescanTraces& traces) {
  wasPassedOver = true;
  correllogram.data->putval(correllogram.origin, 0.0);
  levels.coefficients.clear();
  rises.coefficients.clear();
  motion = 0;
  putNoReading(traces);
}

void RowVelocity::readPeak(const VelocityParameters& parameters, const LinescanTraces& traces) {
  const C2DTrace& correllogram = *traces.correllogram;
  const uint32_t at = correllogram.origin;
  ZZTrace *correlation = traces.correlation, *uncut = traces.cbvUncut;
  if (!correlation || !uncut || !traces.cbv) return;
  const double extent = correllogram.extent(at);
  if (extent == 0) return putNoReading(traces);
  if (parameters.zeropeak)
    correllogram.peakmax(at, correlation, correlation->origin, uncut, uncut->origin, 0.0);
  else
    correllogram.peaklocal(at, correlation, correlation->origin, uncut, uncut->origin, 0.0);
  const double peak = get(uncut);
  const double velocity = peak * extent / correllogram.width();
  putAtOrigin(uncut, velocity);
  putAtOrigin(traces.cbv, get(correlation) <= parameters.coeflimit * 1000 ? kNoReading : velocity);
  if (!traces.peakratio) return;
  readRow(correllogram, at, values);
  putAtOrigin(traces.peakratio, peak >= 0 ? peakRatio(values, static_cast<size_t>(peak)) : 0.0);
}

// --- the additions

void RowVelocity::finestep(const VelocityParameters& parameters, const LinescanTraces& traces,
                           const C2DTrace& source, uint32_t row) {
  C2DTrace& correllogram = *traces.correllogram;
  const uint32_t at = correllogram.origin, step = columnsApart(parameters);
  const size_t points = source.width() / step;
  const auto half = static_cast<int32_t>(points / 2);
  const double moved = parameters.gap * source.period;
  readRow(source, rowBefore(source, row, parameters.gap), earlier);
  readRow(source, row, values);
  followMotion(parameters);
  levels.lags.begin(points, -half, half);
  for (uint32_t column = 0; column < step; ++column) levels.lags.add(&earlier[column], &values[column], step);
  levels.average(parameters.filter, isFirst);
  correllogram.setextent(at, extentOf(parameters, source, row));
  putCorrelogram(levels.coefficients, levels.lags, parameters.bothways ? -half : 0, *correllogram.data, at);
  LagPeak peak =
      highestPeak(levels.coefficients, levels.lags, leastLag(parameters, half), half, parameters.subpoint);
  peak.pairs *= step;
  if (parameters.subpoint) refine(parameters, points, peak);
  const bool isSettled = hasSettled(parameters, traces);
  const double velocity = peak.pairs > 0 ? readingOf(peak.lag / moved) : kNoReading;
  const bool isGood = isSettled && peak.square > parameters.coeflimit &&
                      peak.isBeyondChance(kBeyondChance, averagedRows(levels.averaged));
  if (!isGood && putStanding(parameters, traces, row)) return;
  putAtOrigin(traces.correlation, peak.pairs > 0 ? peak.square * 1000 : kNoReading);
  putAtOrigin(traces.cbvUncut, velocity);
  putAtOrigin(traces.cbv, isGood ? velocity : kNoReading);
  putAtOrigin(traces.peakratio, peak.ratio());
}

// Broad peaks lean towards what is left of the running mean. The edges of cells have a narrow one near by.
void RowVelocity::refine(const VelocityParameters& parameters, size_t points, LagPeak& peak) {
  constexpr size_t kLost = 2 * LagCorrelation::kRise;
  const auto half = static_cast<int32_t>(points / 2), step = static_cast<int32_t>(columnsApart(parameters));
  if (points < kLost + points / 2 + 2) return;
  rises.lags.begin(points - kLost, -half, half);
  for (int32_t column = 0; column < step; ++column)
    rises.lags.addRises(&earlier[column], &values[column], step);
  rises.average(parameters.filter, isFirst);
  const auto at = static_cast<int32_t>(std::lround(peak.lag));
  LagPeak near = highestPeak(rises.coefficients, rises.lags, std::max(at - kNear, leastLag(parameters, half)),
                             at + kNear, true);
  near.pairs *= step;
  near.next = 0;
  if (near.isBeyondChance(kBeyondChance, averagedRows(rises.averaged))) peak.lag = near.lag;
}

// Of a row with little in it, as when finger or light is gone, the high pass leaves the mean of those before,
// turned over: that stands, whatever the blood does.
bool RowVelocity::hasFaded(const LinescanTraces& traces, const C2DTrace& source, uint32_t row) {
  constexpr double kLeastShare = 0.6;  // less of noise that is left, and the mean would pass the limit
  const C2DTrace* sampled = source.width() == traces.scan->width() ? traces.scan : traces.scan2D;
  if (!has(sampled, row)) return false;
  readRow(*sampled, row, values);
  readRow(source, row, earlier);
  return varianceOf(values) < kLeastShare * varianceOf(earlier);
}

// A mean of few rows holds much of the pattern that it is taken off of.
bool RowVelocity::hasSettled(const VelocityParameters& parameters, const LinescanTraces& traces) const {
  const bool hasMean = parameters.hipass && traces.difference;
  return !hasMean || rowsInMean > std::max(2.0 * parameters.gap, kSettling);
}

void RowVelocity::Averaged::average(int32_t rows, bool isFirst) {
  const std::span<const double> own = lags.finish();
  const bool isNew = isFirst || coefficients.size() != own.size() || rows <= 1;
  // The first rows weigh no more than those after them.
  averaged = isNew ? 1 : std::min(averaged + 1, rows);
  coefficients.resize(own.size());
  for (size_t i = 0; i < own.size(); ++i)
    coefficients[i] = isNew ? own[i] : coefficients[i] + (own[i] - coefficients[i]) / averaged;
}

// The share of what is alike in points that lie two apart, in all that varies in the row: of noise it is 0.
void RowVelocity::followMotion(const VelocityParameters& parameters) {
  double mean = 0, variance = 0, alike = 0;
  for (const double x : values) mean += x / static_cast<double>(values.size());
  const uint32_t apart = 2 * columnsApart(parameters);
  for (size_t i = 0; i < values.size(); ++i) {
    variance += (values[i] - mean) * (values[i] - mean);
    if (i >= apart) alike += (values[i] - mean) * (values[i - apart] - mean);
  }
  const double share = variance > 0 ? alike / variance : 0.0;
  motion = isFirst || parameters.filter <= 1 ? share : motion + (share - motion) / parameters.filter;
}

// Cells that stand go with the running mean. Where only noise is left of the rows, and these are alike
// before the mean is taken off, nothing moves.
bool RowVelocity::putStanding(const VelocityParameters& parameters, const LinescanTraces& traces,
                              uint32_t row) {
  const C2DTrace* sampled = rowSource(parameters, traces);
  if (!parameters.bothways || !parameters.hipass || !has(sampled, row)) return false;
  if (!hasSettled(parameters, traces)) return false;
  const auto points = static_cast<double>(sampled->width());
  if (motion > kBeyondNoise / std::sqrt(points * averagedRows(parameters.filter))) return false;
  readRow(*sampled, rowBefore(*sampled, row, parameters.gap), earlier);
  readRow(*sampled, row, values);
  if (!varies(earlier) || !varies(values)) return false;
  takeOffSlope(earlier);
  takeOffSlope(values);
  levels.lags.begin(values.size(), 0, 0);
  levels.lags.add(earlier.data(), values.data());
  const double r = levels.lags.finish()[0];
  const LagPeak alike{0, r > 0 ? r * r : 0.0, 0, points};
  if (!(alike.square > parameters.coeflimit) || !alike.isBeyondChance(kBeyondNoise, 1)) return false;
  putAtOrigin(traces.correlation, alike.square * 1000);
  putAtOrigin(traces.cbvUncut, 0.0);
  putAtOrigin(traces.cbv, 0.0);
  putAtOrigin(traces.peakratio, 0.0);
  return true;
}

}  // namespace tarnvisor
