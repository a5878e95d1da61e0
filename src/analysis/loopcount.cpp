#include "analysis/loopcount.h"

#include <algorithm>
#include <cmath>

namespace tarnvisor {

namespace {

double distance(LoopPoint a, LoopPoint b) { return std::hypot(a.x - b.x, a.y - b.y); }

}  // namespace

LoopRowPath::LoopRowPath(const std::vector<LoopPoint>& line) : points(line), until(line.size()) {
  for (size_t i = 1; i < points.size(); ++i) until[i] = until[i - 1] + distance(points[i - 1], points[i]);
}

double LoopRowPath::placeOf(LoopPoint p) const {
  double place = 0, least = 1e300;
  for (size_t i = 1; i < points.size(); ++i) {
    const LoopPoint a = points[i - 1], b = points[i];
    const double dx = b.x - a.x, dy = b.y - a.y, square = std::max(dx * dx + dy * dy, 1e-12);
    const double t = std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / square, 0.0, 1.0);
    const double away = distance(p, {a.x + t * dx, a.y + t * dy});
    if (away < least) least = away, place = until[i - 1] + t * std::sqrt(square);
  }
  return place;
}

LoopPoint LoopRowPath::at(double place) const {
  for (size_t i = 1; i < points.size(); ++i) {
    if (until[i] < place && i + 1 < points.size()) continue;
    const double step = std::max(until[i] - until[i - 1], 1e-12),
                 t = std::clamp((place - until[i - 1]) / step, 0.0, 1.0);
    return {points[i - 1].x + t * (points[i].x - points[i - 1].x),
            points[i - 1].y + t * (points[i].y - points[i - 1].y)};
  }
  return points.empty() ? LoopPoint{} : points.front();
}

std::vector<LoopPoint> LoopRowPath::between(double from, double to) const {
  std::vector<LoopPoint> part{at(from)};
  for (size_t i = 0; i < points.size(); ++i)
    if (until[i] > from && until[i] < to) part.push_back(points[i]);
  part.push_back(at(to));
  return part;
}

LoopCount countLoops(const std::vector<LoopPoint>& row, const std::vector<LoopPoint>& apexes,
                     LoopPoint centre, double pixelSize) {
  LoopCount out;
  out.loops = apexes.size();
  const LoopRowPath path(row);
  if (!(path.length() > 0)) return out;
  out.rowLength = path.length() * pixelSize / 1000;
  const auto count = static_cast<double>(apexes.size());
  out.perMm = count / out.rowLength;
  out.perMmError = std::sqrt(count) / out.rowLength;
  std::vector<double> places;
  places.reserve(apexes.size() + 2);
  for (const LoopPoint& apex : apexes) places.push_back(path.placeOf(apex));
  if (const double window = 1000 / pixelSize; path.length() >= window) {
    const double from = std::clamp(path.placeOf(centre) - window / 2, 0.0, path.length() - window);
    out.centralPerMm = static_cast<double>(
        std::ranges::count_if(places, [&](double place) { return place >= from && place < from + window; }));
    out.central = path.between(from, from + window);
  }
  places.push_back(0);
  places.push_back(path.length());
  std::ranges::sort(places);
  for (size_t i = 1; i < places.size(); ++i) {
    const double length = (places[i] - places[i - 1]) * pixelSize;
    if (length <= kAvascularStretch) continue;
    out.avascular.push_back({path.at(places[i - 1]), path.at(places[i]), length});
    out.avascularShare += length / 1000 / out.rowLength;
  }
  return out;
}

std::vector<double> neighbourDistances(const std::vector<LoopPoint>& apexes) {
  std::vector<double> out(apexes.size(), -1);
  for (size_t i = 0; i < apexes.size(); ++i)
    for (size_t j = 0; j < apexes.size(); ++j) {
      if (i == j) continue;
      const double away = distance(apexes[i], apexes[j]);
      if (out[i] < 0 || away < out[i]) out[i] = away;
    }
  return out;
}

}  // namespace tarnvisor
