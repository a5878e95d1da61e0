// The list of slopes, and slopes from the peaks of the correlation.
#include <algorithm>
#include <cmath>

#include "analysis/linescan.h"

namespace tarnvisor {

void sortSlopes(std::vector<Slope>& slopes) {
  std::stable_sort(slopes.begin(), slopes.end(),
                   [](const Slope& a, const Slope& b) { return a.t0 + a.t1 < b.t0 + b.t1; });
}

namespace {

constexpr double kStandingHalf = 0.1;  // seconds either way

// Through the middle of a line of that height, for as long as the window or until the ends of the line.
Slope slopeAt(double time, double velocity, double height, double window) {
  const double speed = std::abs(velocity);
  if (speed == 0) return {time - kStandingHalf, height * 0.5, time + kStandingHalf, height * 0.5};
  Slope slope{0, 0, 0, height};
  double span = height / speed;
  if (speed <= height * 0.5) {
    span = window;
    slope.y0 = (height - span * speed) * 0.5;
    slope.y1 = (height + span * speed) * 0.5;
  }
  slope.t0 = time - span * 0.5;
  slope.t1 = time + span * 0.5;
  if (velocity < 0) std::swap(slope.y0, slope.y1);
  return slope;
}

// Zeroes so many samples either way, and the sample in any case.
void wipe(CdataVect& work, uint32_t index, int64_t half) {
  if (2 * half >= int64_t{work.size}) return work.fill(0.0);
  work.fillrange(index - half, index + half, 0.0);
  work.putval(index, 0.0);
}

}  // namespace

std::vector<Slope> slopesFromCorrelation(const VelocityParameters& parameters, const LinescanTraces& traces) {
  std::vector<Slope> slopes;
  const ZZTrace *correlation = traces.correlation, *cbv = traces.cbv;
  const C2DTrace *correllogram = traces.correllogram, *scan = traces.scan;
  if (!scan || !correllogram || !correlation || !cbv || !correlation->data ||
      cbv->size() != correlation->size())
    return slopes;
  const double lags = parameters.bothways ? correllogram->width() / 2 : correllogram->width();
  const double height = scan->ygain * 2 * lags;
  const double window = correllogram->period * parameters.correlpeakwindow;
  const int64_t half = std::max(parameters.correlpeakwindow / 2, 0);
  const CdataVect::Own work = correlation->data->clone();
  if (!work) return slopes;
  for (uint32_t at = work->maxindex(0, work->size); at > 0; at = work->maxindex(0, work->size)) {
    const double peak = work->at(at);
    if (slopes.size() == kMostSlopes || !(peak > 0) || !(parameters.coeflimit < peak * 0.001)) break;
    if (const double velocity = cbv->data->at(at); velocity != kNoReading)
      slopes.push_back(slopeAt(correlation->timeof(at), velocity * cbv->ygain, height, window));
    wipe(*work, at, half);
  }
  return slopes;
}

}  // namespace tarnvisor
