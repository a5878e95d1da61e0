// The pixels that a line samples in an image: for each point along it those at right angles through it.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "image/zzimage.h"
#include "vectors/datavect.h"

namespace tarnvisor {

class ScanLine {
 public:
  ScanLine() = default;
  // Points as far apart as one pixel is wide, from the first point of the path on, `across` pixels for each.
  // Path in frame rows; a pixel is `aspect` times as wide as it is high. A path without length has one point.
  // Empty for a path without points, and for a line too long or too wide to be a row of a trace.
  ScanLine(std::span<const Point> path, int32_t across, double aspect);

  int32_t points() const { return count; }
  int32_t across() const { return perPoint; }
  size_t size() const { return pixels.size(); }  // points * across
  bool isEmpty() const { return count == 0; }
  // What holds all of its pixels, in frame rows.
  const Rect& bounds() const { return box; }
  // Whether all of it lies in the image, which lies where its origin says.
  bool liesIn(const CZZimage& image) const;

  enum class Rows { All, FirstField, SecondField };
  // The level of each pixel, of colour its grey, the pixels of a point beside each other; of one field the
  // rows that stand for it. False, with nothing done, for an image in which the line doesn't lie, and where
  // there is no room for all. Makes no memory, on any thread.
  bool levels(const CZZimage& image, std::span<uint8_t> to, Rows rows = Rows::All) const;
  // What levels() gave. The row takes as many as it holds.
  void put(std::span<const uint8_t> levels, CdataVect& row) const;
  // Both.
  bool sample(const CZZimage& image, CdataVect& row, Rows rows = Rows::All);

 private:
  void add(double x, double y, double alongX, double alongY, double aspect);
  std::vector<Point> pixels;      // points * across, in frame rows
  std::vector<uint32_t> indices;  // of the levels: each its own
  int32_t count = 0, perPoint = 1;
  Rect box;
  std::vector<uint8_t> greys;  // of one sampling, kept for their room
};

}  // namespace tarnvisor
