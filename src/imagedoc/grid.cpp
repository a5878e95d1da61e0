#include "imagedoc/grid.h"

#include <array>
#include <cmath>

#include "base/numbers.h"
#include "drawing/metafile.h"
#include "imagedoc/zbasicdoc.h"

namespace tarnvisor {

namespace {

enum GridStyle { kLines = 0, kPoints = 1, kChalkley = 2, kUser = 3 };

// The image coordinates of the multiples of the spacing from `origin` within [from, to), cut to whole pixels;
// of those that fall on one pixel of the window the first. target: where a coordinate lies in the window.
template <class Target>
std::vector<int32_t> multiples(double spacing, int32_t origin, int32_t from, int32_t to, Target target) {
  std::vector<int32_t> found;
  spacing = std::abs(spacing);
  if (!std::isfinite(spacing) || spacing == 0 || from >= to) return found;
  // Closer than a pixel, every pixel has one.
  spacing = std::max(spacing, 1.0);
  const double first = std::ceil((double(from) - origin) / spacing);
  for (double k = first;; ++k) {
    const int32_t at = truncated(std::floor(origin + k * spacing));
    if (at >= to) break;
    if (at >= from && (found.empty() || target(found.back()) != target(at))) found.push_back(at);
  }
  return found;
}

void drawSpacing(ZoomCanvas& canvas, const ZBasicDoc& document, const Rect& area) {
  const GridSpacing spacing = gridSpacing(document);
  const Point origin = document.imageoffset;
  const auto xs = multiples(spacing.x, origin.x, area.left, area.right, [&](int32_t x) {
    return canvas.toTarget(Point{x, 0}).x;
  });
  const auto ys = multiples(spacing.y, origin.y, area.top, area.bottom, [&](int32_t y) {
    return canvas.toTarget(Point{0, y}).y;
  });
  canvas.setPen({document.gridcolour, 1, false});
  if (document.gridstyle == kPoints) {
    for (const int32_t y : ys)
      for (const int32_t x : xs) canvas.point({x, y});
    return;
  }
  const auto line = [&](Point a, Point b) { canvas.polyline(std::array<Point, 2>{a, b}); };
  for (const int32_t x : xs) line({x, area.top}, {x, area.bottom});
  for (const int32_t y : ys) line({area.left, y}, {area.right, y});
}

}  // namespace

GridSpacing gridSpacing(const ZBasicDoc& document) {
  if (!document.gridunits) return {document.gridspacing, document.gridspacing};
  return {document.gridspacing / document.magx, document.gridspacing / document.magy};
}

Rect centralSquare(Size image) {
  const int32_t side = std::min(image.width, image.height);
  const int32_t left = (image.width - side) / 2, top = (image.height - side) / 2;
  return {left, top, left + side, top + side};
}

void drawGrid(ZoomCanvas& canvas, const ZBasicDoc& document, const Rect& visible) {
  const CZZimage* image = document.theImage();
  if (!image) return;
  const Rect whole = image->frameRect();
  switch (document.gridstyle) {
    case kLines:
      return drawSpacing(canvas, document, visible);
    case kPoints:
      return drawSpacing(canvas, document, visible.intersected(whole));
    case kChalkley:
    case kUser:
      return playMetafile(document.gridmetafile, canvas,
                          centralSquare({image->width, image->frameHeight()}).offsetBy(whole.left, whole.top),
                          document.gridcolour);
    default:
      return;
  }
}

}  // namespace tarnvisor
