// Straight stripes of a scan, by a Hough transform.
#include <algorithm>
#include <cmath>

#include "analysis/blur.h"
#include "analysis/linescan.h"
#include "analysis/minima.h"
#include "base/numbers.h"
#include "base/parallel.h"

namespace tarnvisor {

namespace {

constexpr double kRightAngle = 1.57079632675;
constexpr double kDegrees = 57.29577951471995;

double startAngle(const VelocityParameters& parameters, const C2DTrace& scan) {
  return std::atan(scan.period * parameters.houghmin);
}

// From column to column of the map. A column's angle is that of the last column but k, k steps.
double angleStep(const VelocityParameters& parameters, const C2DTrace& scan) {
  return (kRightAngle - startAngle(parameters, scan)) * 0.00390625;
}

// A place of the scan that votes.
struct Voter {
  double y;  // rows from the newest one on
  double c;
};

// What lies above the threshold, in rows that hold something: from the greatest y on.
std::vector<Voter> voters(const VelocityParameters& parameters, const C2DTrace& source, uint32_t rows) {
  std::vector<Voter> found;
  uint32_t first = 0, last = 0;
  source.validrange(first, last);
  double mean = 0, least = 0, greatest = 0, deviation = 0;
  // As far as the last row, which itself does not count.
  source.data->meanstd(mean, least, greatest, deviation, first, last);
  if (!std::isfinite(deviation)) return found;
  const int32_t threshold = truncated(deviation * parameters.houghdifthreshold + mean);
  std::vector<double> values(source.width());
  for (uint32_t i = 0, row = source.origin % source.size(); i < source.size();
       ++i, row = row + 1 == source.size() ? 0 : row + 1) {
    if (source.extent(row) == 0) continue;
    source.data->getcopy(values.data(), row, 1);
    for (size_t c = 0; c < values.size(); ++c)
      if (truncated(values[c]) > threshold)
        found.push_back({static_cast<double>(rows) - i, static_cast<double>(c)});
  }
  return found;
}

// The same seen from the line's other end: what moves backward goes forward there.
void turnRound(std::vector<Voter>& cells, double width) {
  for (Voter& cell : cells) cell.c = width - 1 - cell.c;
}

// Items of a map, column after column.
std::vector<uint16_t> votesOf(std::span<const Voter> cells, double step, uint32_t rows) {
  std::vector<double> angles(kHoughColumns);
  double theta = 0;
  for (size_t k = kHoughColumns; k-- > 0; theta += step) angles[k] = theta;
  std::vector<uint16_t> votes(size_t{kHoughColumns} * rows);
  parallelFor(kHoughColumns, 8, [&](int64_t begin, int64_t end) {
    for (auto k = static_cast<size_t>(begin); k < static_cast<size_t>(end); ++k) {
      const double cosine = std::cos(angles[k]), sine = std::sin(angles[k]);
      uint16_t* column = &votes[k * rows];
      for (const Voter& cell : cells) {
        const auto rho = static_cast<uint32_t>(truncated(rows - (cosine * cell.y + sine * cell.c)));
        if (rho < rows) ++column[rho];
      }
    }
  });
  return votes;
}

void put(std::span<const uint16_t> votes, C2DTrace& map) {
  const uint32_t rows = map.size();
  for (uint32_t rho = 0; rho < rows; ++rho)
    for (uint32_t k = 0; k < kHoughColumns; ++k) map.data->putcell(rho, k, votes[size_t{k} * rows + rho]);
}

// Leaving out the edges of the map, where what stands still has its votes.
double greatest(std::span<const uint16_t> votes, uint32_t rows) {
  return *std::max_element(votes.begin() + 2 * rows, votes.end() - rows);
}

// cos(theta) * y + sin(theta) * c = rho
struct Line {
  double theta;
  double rho;
};

// The straight line nearest the cells of a stripe: those near the line at first, and then, since a broad
// stripe's diagonal gets most votes, as far to both sides as the stripe goes on.
Line fitted(Line line, std::span<const Voter> cells, double width) {
  constexpr double kNear = 2.0, kFar = 12.0;
  constexpr double kSides = 2.1;  // in deviations: a little more than an even band's half
  constexpr int32_t kTurns = 16;
  double reach = kNear;
  for (int32_t turn = 0; turn < kTurns; ++turn) {
    const double cosine = std::cos(line.theta), sine = std::sin(line.theta);
    const double most = (line.rho + reach) / cosine, least = (line.rho - reach - sine * width) / cosine;
    const auto first =
        std::partition_point(cells.begin(), cells.end(), [&](const Voter& v) { return v.y > most; });
    const auto last = std::partition_point(first, cells.end(), [&](const Voter& v) { return v.y >= least; });
    double n = 0, y = 0, c = 0, yy = 0, cc = 0, yc = 0;
    for (const Voter& cell : std::span(first, last)) {
      if (std::abs(cosine * cell.y + sine * cell.c - line.rho) > reach) continue;
      n += 1;
      y += cell.y;
      c += cell.c;
      yy += cell.y * cell.y;
      cc += cell.c * cell.c;
      yc += cell.y * cell.c;
    }
    if (n < 2) return line;
    // Across the line the cells scatter least.
    const double spreadY = yy - y * y / n, spreadC = cc - c * c / n, both = yc - y * c / n;
    const double along = 0.5 * std::atan2(2 * both, spreadY - spreadC);
    const double theta = along > 0 ? along - kRightAngle : along + kRightAngle;
    if (!(theta > 0) || !(theta < kRightAngle)) return line;
    line = {theta, (std::cos(theta) * y + std::sin(theta) * c) / n};
    const double across = (spreadY + spreadC - std::hypot(spreadY - spreadC, 2 * both)) / 2;
    reach = std::clamp(kSides * std::sqrt(std::max(across, 0.0) / n), kNear, kFar);
  }
  return line;
}

// False for what is no stripe: a peak that the map's edge cuts off, or cells that lie along another line.
bool fit(Line& line, std::span<const Voter> cells, double width, int32_t column) {
  constexpr double kFaster = 1.4;
  const double before = std::tan(line.theta);
  line = fitted(line, cells, width);
  const double changed = std::tan(line.theta) / before;
  return column > 1 && changed < kFaster && changed > 1 / kFaster;
}

Slope slopeOf(const Line& line, double height, double width, const C2DTrace& scan) {
  const double along = std::sin(line.theta) * line.rho, tangent = std::tan(line.theta);
  const double top = height - std::cos(line.theta) * line.rho;
  return {(top - along * tangent) * scan.period, 0.0, (top + (width - along) * tangent) * scan.period,
          width * scan.ygain};
}

// How far the darkest pixel is from white.
int32_t deepest(const CZZimage& image) {
  int32_t darkest = 255;
  for (int32_t y = 0; y < image.height; ++y)
    darkest = std::min<int32_t>(darkest, *std::min_element(image.row(y), image.row(y) + image.width));
  return 255 - darkest;
}

// The map as a grey image with dark peaks. False without any vote.
bool makePeakImage(const C2DTrace& map, CZZimage& image) {
  const double scale = 255 / map.data->maxvalue();
  if (!std::isfinite(scale) || !image.resizedata(map.width(), static_cast<int32_t>(map.size()), 1))
    return false;
  std::vector<double> values(map.width());
  for (uint32_t row = 0; row < map.size(); ++row) {
    std::fill(values.begin(), values.end(), 0.0);
    if (map.extent(row) != 0) map.data->getcopy(values.data(), row, 1);
    uint8_t* out = image.row(static_cast<int32_t>(row));
    for (size_t x = 0; x < values.size(); ++x)
      out[x] = static_cast<uint8_t>(255 - truncatedToByte(values[x] * scale));
  }
  return true;
}

}  // namespace

C2DTrace* houghSource(const VelocityParameters& parameters, const LinescanTraces& traces) {
  return parameters.twod && parameters.hipass && traces.scan ? traces.scan : traces.difference;
}

uint32_t houghRows(const C2DTrace& source, const C2DTrace& scan) {
  const double rows = scan.size(), width = source.width();
  return static_cast<uint32_t>(std::sqrt(rows * rows + width * width));
}

Stripes houghMap(const VelocityParameters& parameters, const C2DTrace& source, const C2DTrace& scan,
                 C2DTrace& map) {
  const uint32_t rows = houghRows(source, scan);
  if (!source.size() || !scan.size() || map.size() != rows || map.width() != kHoughColumns)
    return Stripes::None;
  const double start = startAngle(parameters, scan) * kDegrees;
  map.name = "Hough";
  map.yunits = "degrees";
  map.xunits = scan.xunits;
  map.tracetype = kHoughTrace;
  map.setdisplay(1000.0, 1.25, 10.0, 51200.0);
  map.ygain = 1.0;
  map.yoffset = start;
  map.xscale = 0.3515625;
  map.period = scan.period * scan.size() / rows;
  map.circular = 1;
  map.origin = 0;
  map.hidden = false;
  map.rowvalues->fill(90 - start);
  const double step = angleStep(parameters, scan);
  std::vector<Voter> cells = voters(parameters, source, scan.size());
  const std::vector<uint16_t> forward = votesOf(cells, step, rows);
  put(forward, map);
  if (!parameters.bothways) return Stripes::Forward;
  // Noise has peaks of the same height either way.
  constexpr double kStandsOut = 1.3;
  turnRound(cells, source.width());
  const std::vector<uint16_t> backward = votesOf(cells, step, rows);
  const double one = greatest(forward, rows), other = greatest(backward, rows);
  if (one > other * kStandsOut) return Stripes::Forward;
  if (!(other > one * kStandsOut)) return Stripes::None;
  put(backward, map);
  return Stripes::Backward;
}

std::vector<Slope> houghSlopes(const VelocityParameters& parameters, const C2DTrace& source,
                               const C2DTrace& scan, const C2DTrace& map, Stripes stripes) {
  std::vector<Slope> slopes;
  if (stripes == Stripes::None || !source.size() || !scan.size() || map.width() != kHoughColumns)
    return slopes;
  CZZimage image;
  if (!makePeakImage(map, image)) return slopes;
  if (parameters.houghlowpass != 0) gaussianBlur(image, 1.0f);
  const int32_t depth = parameters.subpoint ? deepest(image) : 255;
  const int32_t limit = 255 - depth + truncated((1 - parameters.houghthreshold * 0.01) * depth);
  const double step = angleStep(parameters, scan);
  const double height = scan.size();
  std::vector<Voter> cells =
      parameters.subpoint ? voters(parameters, source, scan.size()) : std::vector<Voter>();
  if (stripes == Stripes::Backward) turnRound(cells, source.width());
  for (const MinimumPoint& peak : minimaInTolerance(image, limit, parameters.houghtol * depth / 100)) {
    if (slopes.size() == kMostSlopes) break;
    Line line{(kHoughColumns - 1 - peak.x) * step, static_cast<double>(map.size()) - peak.y};
    if (parameters.subpoint && !fit(line, cells, source.width(), peak.x)) continue;
    slopes.push_back(slopeOf(line, height, source.width(), scan));
    if (stripes == Stripes::Backward) std::swap(slopes.back().y0, slopes.back().y1);
  }
  return slopes;
}

}  // namespace tarnvisor
