// Velocity from the shift between rows.
#include <algorithm>
#include <cmath>

#include "analysis/linescan.h"
#include "linescanpeaks.h"

namespace tarnvisor {

namespace {

constexpr double kLift = 64.0;  // of the difference trace, so that it shows both signs
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

void put(ZZTrace* trace, double value) {
  if (trace && trace->origin < trace->size()) trace->data->putval(trace->origin, value);
}
double get(const ZZTrace* trace) {
  return trace && trace->origin < trace->size() ? trace->data->at(trace->origin) : 0.0;
}

void putNoReading(const LinescanTraces& traces) {
  put(traces.correlation, kNoReading);
  put(traces.cbvUncut, kNoReading);
  put(traces.cbv, kNoReading);
  put(traces.peakratio, 0.0);
}

uint32_t columnsPerPoint(const VelocityParameters& parameters) {
  return static_cast<uint32_t>(std::max(parameters.linesperpoint, 1));
}

// Of the correlation.
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

void RowVelocity::rowstep(const VelocityParameters& parameters, const LinescanTraces& traces, uint32_t row) {
  const bool isReduced = traces.scan2D != traces.scan && has(traces.scan2D, row) && has(traces.scan, row);
  const bool reducesDifference = parameters.twod && parameters.hipass;
  if (isReduced && !reducesDifference)
    traces.scan2D->rowaverage(row, *traces.scan, columnsPerPoint(parameters));
  const C2DTrace* source = rowSource(parameters, traces);
  C2DTrace* difference = traces.difference;
  if (parameters.hipass && has(source, row) && has(difference, row) && source->extent(row) != 0 &&
      difference->width() == source->width()) {
    highpass(parameters, *source, *difference, row);
    if (isReduced && reducesDifference)
      difference->rowaverage(row, *traces.scan, columnsPerPoint(parameters));
  }
  if (parameters.cbvmethod == kRowCorrelation) correlstep(parameters, traces, row);
  isFirst = false;
}

void RowVelocity::highpass(const VelocityParameters& parameters, const C2DTrace& source, C2DTrace& difference,
                           uint32_t row) {
  difference.setextent(row, source.extent(row));
  readRow(source, row, values);
  if (runningMean.size() != values.size()) runningMean = values;
  for (uint32_t i = 0; i < values.size(); ++i) {
    const double apart = values[i] - runningMean[i];
    difference.data->putcell(row, i, apart + kLift);
    // What is no number would stay in the mean for good.
    const double moved = runningMean[i] + apart * parameters.smoothing;
    runningMean[i] = std::isfinite(moved) ? moved : std::isfinite(values[i]) ? values[i] : 0.0;
  }
}

// Rows without contrast, with anything that is no number, and the same picture twice tell no velocity;
// peaks between the latter are of the pattern alone.
bool RowVelocity::canBeCompared(const VelocityParameters& parameters, const LinescanTraces& traces,
                                const C2DTrace& source, uint32_t row) {
  readRow(source, rowBefore(source, row, parameters.gap), earlier);
  readRow(source, row, values);
  if (!varies(earlier) || !varies(values)) return false;
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
  const bool tells = source->extent(row) != 0 && parameters.gap > 0 && source->width() > 1 &&
                     canBeCompared(parameters, traces, *source, row);
  if (!tells) {
    correllogram->setextent(at, source->extent(row));
    correllogram->data->putval(at, 0.0);
    return putNoReading(traces);
  }
  source->correlatestep(row, static_cast<uint32_t>(parameters.gap), *correllogram, at,
                        parameters.twod ? columnsPerPoint(parameters) : 1);
  if (!isFirst && parameters.filter > 1) correllogram->data->lowpassat(at, parameters.filter);
  readPeak(parameters, traces);
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
  put(uncut, velocity);
  put(traces.cbv, get(correlation) <= parameters.coeflimit * 1000 ? kNoReading : velocity);
  if (!traces.peakratio) return;
  readRow(correllogram, at, values);
  put(traces.peakratio, peak >= 0 ? peakRatio(values, static_cast<size_t>(peak)) : 0.0);
}

}  // namespace tarnvisor
