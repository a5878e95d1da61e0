#include "measure/tortuosity.h"

#include <cmath>
#include <numbers>

#include "measure/dimline.h"
#include "settings/log.h"

namespace tarnvisor {

TortuositySettings tortuositySettings;

namespace {

constexpr double kRadians = 0.017453292519943295;

double wrappedOnce(double angle) {
  if (angle > std::numbers::pi) return angle - 2 * std::numbers::pi;
  if (angle < -std::numbers::pi) return angle + 2 * std::numbers::pi;
  return angle;
}

// The walk from chord to chord along a polyline: a curve is a stretch that keeps turning one way.
class Walk {
 public:
  Walk(CDimLine& walked, double xScale, double yScale)
      : line(walked),
        sx(xScale),
        sy(yScale),
        last(walked.pointCount() - 1),
        previousDirection(walked.Direction(0, 1, xScale, yScale)) {
    breakAt(0);
  }

  double run(int32_t& curves) {
    for (int32_t k = 1; k <= last; ++k) {
      const double step = line.Distance(anchor, k, sx, sy);
      if (settings.log) logPrintf("%3i\t%3i\t%7.2f\t", k, anchor, step);
      if (step > settings.minlength || k == last) take(k, step);
      if (settings.log) logPrintf("\n");
    }
    curves = count;
    return count > 1 ? (count - 1) * sum / total : 0.0;
  }

 private:
  void take(int32_t k, double step) {
    total += step;
    const double direction = line.Direction(anchor, k, sx, sy);
    const double delta = wrappedOnce(direction - previousDirection);
    if (settings.log) logPrintf("%7.2f\t%5.3f\t%5.3f\t%5.3f\t", total, direction, previousDirection, delta);
    if (std::abs(delta) > settings.minangle * kRadians || k == last) turn(delta > 0.0, k == last);
    arc += step;
    anchor = k;
    previousDirection = direction;
  }

  void turn(bool turnSense, bool isLast) {
    if (settings.log) logPrintf("%1i\t", turnSense ? 1 : 0);
    if (first) {
      sense = turnSense;
      first = false;
    } else if (turnSense != sense || isLast) {
      endCurve();
      sense = turnSense;
    }
  }

  void endCurve() {
    if (settings.log) logPrintf("%7.2f\t", arc);
    if (arc > settings.mincurvelength) {
      const double chord = line.Distance(lastBreak, anchor, sx, sy);
      const double excess = arc / chord - 1;
      ++count;
      sum += excess;
      if (settings.log) logPrintf("%2i\t%5.2f\t%5.3f\t%5.3f\t", count, chord, excess, sum);
    }
    breakAt(anchor);
    arc = 0.0;
  }

  void breakAt(int32_t index) {
    line.breaks.push_back(line.points[static_cast<size_t>(index)]);
    lastBreak = index;
  }

  CDimLine& line;
  const TortuositySettings settings = tortuositySettings;
  const double sx, sy;
  const int32_t last;
  double previousDirection;
  int32_t anchor = 0, lastBreak = 0, count = 0;
  double arc = 0.0, total = 0.0, sum = 0.0;
  bool first = true, sense = false;
};

}  // namespace

double CDimLine::Tortuosity0() const {
  if (points.size() < 3) return 1.0;
  return Length(1.0, 1.0) / Distance(0, pointCount() - 1, 1.0, 1.0);
}

double CDimLine::Tortuosity1(double sx, double sy, int32_t& curves) {
  breaks.clear();
  curves = 0;
  if (points.size() < 3) return 0.0;
  return Walk(*this, sx, sy).run(curves);
}

}  // namespace tarnvisor
