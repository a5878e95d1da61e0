#include "linescan/scanline.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "analysis/profile.h"
#include "base/numbers.h"

namespace tarnvisor {

namespace {

constexpr double kWidestRow = UINT16_MAX;  // items

}  // namespace

ScanLine::ScanLine(std::span<const Point> path, int32_t across, double aspect)
    : perPoint(std::max(1, across)) {
  if (path.empty() || !(aspect > 0) || !std::isfinite(aspect)) return;
  // In units of a pixel's width; y downward is shorter or longer by the aspect.
  const auto lengthOf = [&](Point a, Point b) {
    return std::hypot(static_cast<double>(b.x) - a.x, (static_cast<double>(b.y) - a.y) / aspect);
  };
  double length = 0;
  for (size_t i = 1; i < path.size(); ++i) length += lengthOf(path[i - 1], path[i]);
  if (!(std::max(length, 1.0) * perPoint <= kWidestRow)) return;
  if (length < 1.0) {
    add(path[0].x, path[0].y, 1.0, 0.0, aspect);
    return;
  }
  double begun = 0;  // length before the segment
  for (size_t i = 1; i < path.size(); ++i) {
    const double segment = lengthOf(path[i - 1], path[i]);
    const double dx = static_cast<double>(path[i].x) - path[i - 1].x;
    const double dy = static_cast<double>(path[i].y) - path[i - 1].y;
    for (; count < begun + segment && count < std::floor(length);) {
      const double share = (count - begun) / segment;
      add(path[i - 1].x + share * dx, path[i - 1].y + share * dy, dx / segment, dy / aspect / segment,
          aspect);
    }
    begun += segment;
  }
}

// A point, and the pixels at right angles to the line's direction, which is told in pixel widths.
void ScanLine::add(double x, double y, double alongX, double alongY, double aspect) {
  for (int32_t i = 0; i < perPoint; ++i) {
    const double beside = i - (perPoint - 1) * 0.5;
    const Point pixel{static_cast<int32_t>(std::lround(x - alongY * beside)),
                      static_cast<int32_t>(std::lround(y + alongX * beside * aspect))};
    const Rect own{pixel.x, pixel.y, pixel.x + 1, pixel.y + 1};
    box = pixels.empty() ? own
                         : Rect{std::min(box.left, own.left), std::min(box.top, own.top),
                                std::max(box.right, own.right), std::max(box.bottom, own.bottom)};
    indices.push_back(static_cast<uint32_t>(pixels.size()));
    pixels.push_back(pixel);
  }
  ++count;
}

bool ScanLine::liesIn(const CZZimage& image) const {
  return !isEmpty() && !image.empty() && box.intersected(image.frameRect()) == box;
}

bool ScanLine::levels(const CZZimage& image, std::span<uint8_t> to, Rows rows) const {
  if (!liesIn(image) || to.size() < pixels.size()) return false;
  const Point origin = image.frameOrigin();
  const bool isGrey = image.bytesPerPixel == 1;
  for (size_t i = 0; i < pixels.size(); ++i) {
    Point at = pixels[i] - origin;
    if (image.isField())
      at.y /= 2;
    else if (rows != Rows::All)
      at.y = std::min((at.y & ~1) + (rows == Rows::SecondField ? 1 : 0), image.height - 1);
    const uint8_t* pixel = image.row(at.y) + static_cast<ptrdiff_t>(at.x) * image.bytesPerPixel;
    to[i] = isGrey ? *pixel : truncatedToByte(greyOf(pixel));
  }
  return true;
}

void ScanLine::put(std::span<const uint8_t> levels, CdataVect& row) const {
  row.sampleavg(levels.data(), {indices, 1, static_cast<uint32_t>(std::min(indices.size(), levels.size()))});
}

bool ScanLine::sample(const CZZimage& image, CdataVect& row, Rows rows) {
  greys.resize(pixels.size());
  if (!levels(image, greys, rows)) return false;
  put(greys, row);
  return true;
}

}  // namespace tarnvisor
