// Counting the loops of a nailfold's distal row: a millimetre, over the whole row and over one millimetre of
// it. Of apexes and a curve, whoever found or drew them.
#pragma once

#include <cstddef>
#include <vector>

namespace tarnvisor {

struct LoopPoint {
  double x = 0, y = 0;
};

struct AvascularStretch {
  LoopPoint from, to;
  double length = 0;  // micrometres
};
// Over the outer edges of an apex, and along the row.
inline constexpr double kGiantLoop = 50, kAvascularStretch = 500;

// The places of points along a polyline, in its units. It must outlive this.
class LoopRowPath {
 public:
  explicit LoopRowPath(const std::vector<LoopPoint>& line);
  double length() const { return until.empty() ? 0 : until.back(); }
  double placeOf(LoopPoint p) const;  // of the nearest on the polyline
  LoopPoint at(double place) const;
  // What of the polyline lies between two places, with its corners.
  std::vector<LoopPoint> between(double from, double to) const;

 private:
  const std::vector<LoopPoint>& points;
  std::vector<double> until;
};

struct LoopCount {
  size_t loops = 0;
  double rowLength = 0;                // millimetres
  double perMm = -1, perMmError = -1;  // the error is that of counting; -1 without a row
  double centralPerMm = -1;            // -1 for a row that is shorter than a millimetre
  std::vector<LoopPoint> central;      // that millimetre of the row
  std::vector<AvascularStretch> avascular;
  double avascularShare = 0;  // of the row's length
};
// The millimetre lies about the place of the row that is nearest to `centre`. pixelSize: micrometres a unit
// of the points.
LoopCount countLoops(const std::vector<LoopPoint>& row, const std::vector<LoopPoint>& apexes,
                     LoopPoint centre, double pixelSize);
// From each apex to the nearest other one, in their units; -1 of a single one.
std::vector<double> neighbourDistances(const std::vector<LoopPoint>& apexes);

}  // namespace tarnvisor
