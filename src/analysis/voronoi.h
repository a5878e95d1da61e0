// How marks share the tissue between them: the exchange with Qhull's program `qvoronoi` by two text files
// (docs/formats/voronoi.md), which of its regions count, and the Krogh circle of a region. Image pixels; the
// regions follow the order of the sites.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/geometry.h"

namespace tarnvisor {

struct PlanePoint {
  double x = 0;
  double y = 0;
};

// The corners of the working rectangle grown by half the image's width and height: sites that close the
// regions of the marks at its border.
std::array<Point, 4> boundingSites(const Rect& working, Size image);
// What qvoronoi reads: the marks, then the bounding sites.
std::string sitesText(std::span<const PlanePoint> marks, std::span<const Point, 4> bounding);

struct VoronoiDiagram {
  // Neighbours, each pair once in either direction, as the facets tell them. Numbers of sites from 0; a
  // damaged file may name sites that don't exist.
  std::vector<std::array<int32_t, 2>> edges;
  std::vector<PlanePoint> vertices;  // the first stands for infinity, at -10.101, -10.101
  // Vertices in order round each region; one may be empty (two sites at one place).
  size_t regionCount() const { return regionEnds.size(); }
  std::span<const int32_t> region(size_t index) const;

  std::vector<int32_t> regionVertices;  // of all regions in turn
  std::vector<size_t> regionEnds;       // where each ends in regionVertices
};

// The output of the options "i o". Nothing for a text that is cut off or not of that form.
std::optional<VoronoiDiagram> readVoronoi(std::string_view text);

// In the rectangle, and with circle also in the circle about its centre (by integer halves) that touches its
// nearer sides; the circle's edge belongs to it.
bool isInRegionOfInterest(Point point, const Rect& rect, bool circle);

// A region's outline with its vertices truncated, if all of them lie in the image's rectangle and in the
// working one; otherwise, and for an empty region, nothing: a region is dropped whole, not clipped.
std::vector<Point> keptRegion(const VoronoiDiagram& diagram, size_t index, const Rect& image,
                              const Rect& working, bool circle);

// The ends of the horizontal diameter of the circle about the site that has the area: a capillary with the
// tissue that it supplies (Krogh 1919).
std::array<Point, 2> kroghCircle(PlanePoint site, double area);

}  // namespace tarnvisor
