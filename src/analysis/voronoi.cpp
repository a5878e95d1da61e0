#include "analysis/voronoi.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <unordered_set>

#include "base/numbers.h"
#include "base/text.h"

namespace tarnvisor {

namespace {

// Numbers of one line after the other. The first thing that isn't as wanted spoils all that follows.
class LineReader {
 public:
  explicit LineReader(std::string_view text) : rest(text) {}

  bool isGood() const { return good; }
  // Goes to the next line; what is left of the present one is passed over.
  void next() {
    if (rest.empty()) return spoil();
    const size_t end = rest.find('\n');
    line = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  }
  template <class T>
  T number() {
    skipBlanks();
    T value{};
    const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), value);
    if (!good || error != std::errc()) {
      spoil();
      return {};
    }
    line.remove_prefix(static_cast<size_t>(end - line.data()));
    return value;
  }
  bool lineHasMore() {
    skipBlanks();
    return !line.empty();
  }
  // How many lines follow. Each takes a byte at least, so a count beyond the bytes left is spoilt.
  size_t lineCount() { return countWithin(rest.size()); }
  // How many numbers follow in this line.
  size_t countInLine() { return countWithin(line.size()); }

 private:
  void spoil() {
    good = false;
    line = rest = {};
  }
  void skipBlanks() {
    const size_t first = line.find_first_not_of(" \t\r");
    line.remove_prefix(std::min(first, line.size()));
  }
  size_t countWithin(size_t limit) {
    const auto value = number<int64_t>();
    if (value < 0 || static_cast<uint64_t>(value) > limit) spoil();
    return good ? static_cast<size_t>(value) : 0;
  }

  std::string_view rest;
  std::string_view line;
  bool good = true;
};

class EdgeTable {
 public:
  // The edges round one facet. Sites on a common circle make facets of more than three; their diagonals
  // join no neighbours.
  void addRing(std::span<const int32_t> sites) {
    for (size_t i = 0; i < sites.size(); ++i) add(sites[i], sites[(i + 1) % sites.size()]);
  }
  std::vector<std::array<int32_t, 2>> edges;

 private:
  void add(int32_t a, int32_t b) {
    if (a == b) return;
    const auto low = static_cast<uint32_t>(std::min(a, b));
    const auto high = static_cast<uint32_t>(std::max(a, b));
    if (seen.insert(static_cast<uint64_t>(low) << 32 | high).second) edges.push_back({a, b});
  }
  std::unordered_set<uint64_t> seen;
};

void readFacets(LineReader& lines, VoronoiDiagram& diagram) {
  lines.next();
  const size_t facets = lines.lineCount();
  EdgeTable table;
  std::vector<int32_t> sites;
  for (size_t f = 0; f < facets && lines.isGood(); ++f) {
    lines.next();
    sites.clear();
    while (lines.lineHasMore()) sites.push_back(lines.number<int32_t>());
    table.addRing(sites);
  }
  diagram.edges = std::move(table.edges);
}

void readVertices(LineReader& lines, size_t count, VoronoiDiagram& diagram) {
  for (size_t v = 0; v < count && lines.isGood(); ++v) {
    lines.next();
    const double x = lines.number<double>();
    const double y = lines.number<double>();
    diagram.vertices.push_back({x, y});
  }
}

// False for a vertex that there is not.
bool readRegions(LineReader& lines, size_t count, VoronoiDiagram& diagram) {
  for (size_t r = 0; r < count && lines.isGood(); ++r) {
    lines.next();
    const size_t corners = lines.countInLine();
    for (size_t c = 0; c < corners && lines.isGood(); ++c) {
      const auto vertex = lines.number<int32_t>();
      if (vertex < 0 || static_cast<size_t>(vertex) >= diagram.vertices.size()) return false;
      diagram.regionVertices.push_back(vertex);
    }
    diagram.regionEnds.push_back(diagram.regionVertices.size());
  }
  return true;
}

bool isFinite(const PlanePoint& p) { return std::isfinite(p.x) && std::isfinite(p.y); }

}  // namespace

std::array<Point, 4> boundingSites(const Rect& working, Size image) {
  const Rect r{wrapSub(working.left, image.width / 2), wrapSub(working.top, image.height / 2),
               wrapAdd(working.right, image.width / 2), wrapAdd(working.bottom, image.height / 2)};
  return {Point{r.left, r.top}, {r.right, r.top}, {r.right, r.bottom}, {r.left, r.bottom}};
}

std::string sitesText(std::span<const PlanePoint> marks, std::span<const Point, 4> bounding) {
  std::string text = format("2\n%zu\n", marks.size() + bounding.size());
  for (const PlanePoint& mark : marks) text += format("%f %f\n", mark.x, mark.y);
  for (const Point& site : bounding) text += format("%i %i\n", site.x, site.y);
  return text;
}

std::span<const int32_t> VoronoiDiagram::region(size_t index) const {
  const size_t begin = index == 0 ? 0 : regionEnds[index - 1];
  return std::span(regionVertices).subspan(begin, regionEnds[index] - begin);
}

std::optional<VoronoiDiagram> readVoronoi(std::string_view text) {
  constexpr int32_t kPlane = 2;
  VoronoiDiagram diagram;
  LineReader lines(text);
  readFacets(lines, diagram);
  lines.next();
  if (lines.number<int32_t>() != kPlane) return std::nullopt;
  lines.next();
  const size_t vertices = lines.lineCount();
  const size_t regions = lines.lineCount();
  lines.number<int32_t>();
  readVertices(lines, vertices, diagram);
  if (!lines.isGood() || !std::all_of(diagram.vertices.begin(), diagram.vertices.end(), isFinite) ||
      !readRegions(lines, regions, diagram) || !lines.isGood())
    return std::nullopt;
  return diagram;
}

bool isInRegionOfInterest(Point point, const Rect& rect, bool circle) {
  if (!rect.contains(point)) return false;
  if (!circle) return true;
  const double dx = static_cast<double>(point.x) - wrapAdd(rect.left, rect.width() / 2);
  const double dy = static_cast<double>(point.y) - wrapAdd(rect.top, rect.height() / 2);
  const double radius = std::min(rect.width(), rect.height()) * 0.5;
  return dx * dx + dy * dy <= radius * radius;
}

std::vector<Point> keptRegion(const VoronoiDiagram& diagram, size_t index, const Rect& image,
                              const Rect& working, bool circle) {
  std::vector<Point> outline;
  for (const int32_t number : diagram.region(index)) {
    const PlanePoint& vertex = diagram.vertices[static_cast<size_t>(number)];
    const Point point{truncated(vertex.x), truncated(vertex.y)};
    if (!image.contains(point) || !isInRegionOfInterest(point, working, circle)) return {};
    outline.push_back(point);
  }
  return outline;
}

std::array<Point, 2> kroghCircle(PlanePoint site, double area) {
  const double r = std::sqrt(area * 0.3183098861837907);
  const Point first{truncated(site.x - r + 0.5), truncated(site.y)};
  return {first, Point{truncated(first.x + 2 * r + 0.5), first.y}};
}

}  // namespace tarnvisor
