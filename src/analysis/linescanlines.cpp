// Velocity from the delay between two lines.
#include <algorithm>
#include <cmath>

#include "analysis/linescan.h"
#include "linescanpeaks.h"

namespace tarnvisor {

namespace {

constexpr double kBeyondChance = 3.0;  // deviations

// The last samples up to an index; nothing where there are fewer.
std::vector<double> lastSamples(const ZZTrace& line, uint32_t index, uint32_t count) {
  std::vector<double> samples;
  if (count > line.size()) return samples;
  for (uint32_t back = count; back-- > 0;)
    samples.push_back(
        line.data->at(static_cast<uint32_t>((uint64_t{index} + line.size() - back) % line.size())));
  return samples;
}

bool allFinite(std::span<const double> samples) {
  return std::all_of(samples.begin(), samples.end(), [](double x) { return std::isfinite(x); });
}

// By the true delay, between rows where asked for. What takes less than half a row is too fast to be told.
void fineTwolinestep(const VelocityParameters& parameters, const LinescanTraces& traces, uint32_t index1,
                     uint32_t index2) {
  C2DTrace& correllogram = *traces.correllogram;
  const int32_t most = parameters.noofpoints;
  const std::vector<double> first = lastSamples(*traces.line1, index1, 2 * static_cast<uint32_t>(most));
  const std::vector<double> second = lastSamples(*traces.line2, index2, 2 * static_cast<uint32_t>(most));
  LagPeak peak;
  correllogram.data->putval(correllogram.origin, 0.0);
  if (!first.empty() && !second.empty() && allFinite(first) && allFinite(second)) {
    LagCorrelation lags;
    lags.begin(first.size(), -most, most);
    lags.add(first.data(), second.data());
    const std::span<const double> coefficients = lags.finish();
    putCorrelogram(coefficients, lags, parameters.bothways ? -most : 0, *correllogram.data,
                   correllogram.origin);
    peak = highestPeak(coefficients, lags, parameters.bothways ? -most : 0, most, parameters.subpoint);
  }
  const bool isDelay = peak.pairs > 0 && std::abs(peak.lag) >= 0.5;
  const bool isGood = isDelay && peak.square > parameters.coeflimit && peak.isBeyondChance(kBeyondChance, 1);
  const double velocity =
      isDelay ? readingOf(parameters.linedistance / (peak.lag * correllogram.period)) : kNoReading;
  putAtOrigin(traces.correlation, peak.pairs > 0 ? peak.square * 1000 : kNoReading);
  putAtOrigin(traces.cbvUncut, velocity);
  putAtOrigin(traces.cbv, isGood ? velocity : kNoReading);
  putAtOrigin(traces.peakratio, peak.ratio());
}

}  // namespace

void twolinestep(const VelocityParameters& parameters, const LinescanTraces& traces, uint32_t index1,
                 uint32_t index2) {
  C2DTrace* correllogram = traces.correllogram;
  const ZZTrace *line1 = traces.line1, *line2 = traces.line2;
  if (!line1 || !line2 || index1 >= line1->size() || index2 >= line2->size()) return;
  if (!correllogram || correllogram->origin >= correllogram->size()) return;
  const int32_t lags = parameters.noofpoints;
  if (lags < 1 || correllogram->width() != correllogramWidth(parameters, 0)) return;
  const uint32_t at = correllogram->origin;
  const double extent = correllogram->period * lags / parameters.linedistance;
  correllogram->setextent(at, extent);
  if (parameters.subpoint || parameters.bothways) return fineTwolinestep(parameters, traces, index1, index2);
  line2->data->correlate(index2, *line1->data, index1, *correllogram->data->getArray(at),
                         static_cast<uint32_t>(lags), true);
  ZZTrace *correlation = traces.correlation, *cbv = traces.cbv;
  if (!cbv) return;
  correllogram->peakmax(at, correlation, correlation ? correlation->origin : 0, cbv, cbv->origin,
                        parameters.coeflimit * 1000);
  if (cbv->origin >= cbv->size()) return;
  const double peak = cbv->data->at(cbv->origin);
  if (peak != 0) cbv->data->putval(cbv->origin, correllogram->width() / (peak * extent));
  std::vector<double> row(correllogram->width());
  correllogram->data->getcopy(row.data(), at, 1);
  putAtOrigin(traces.peakratio, peak < 0 ? 0.0 : peakRatio(row, static_cast<size_t>(peak)));
}

}  // namespace tarnvisor
