// A polygon. While it is drawn it is open; closed, its last point is a copy of its first.
#pragma once

#include "measure/dim.h"

namespace tarnvisor {

class CDimPolygon : public CDim {
 public:
  static const ArchiveClass& archiveClass();
  const ArchiveClass& classRecord() const override { return archiveClass(); }

  std::unique_ptr<CDim> Clone() const override;
  // Of all points but the last, which closes the polygon.
  double Area(double sx, double sy) const override;
  // The mean of all points but the last, truncated.
  void Anchor(Point& out) const override;
  // Adds a copy of the first point if there are over two and the last differs from it.
  void Close() override;
  // From the segment that closes it too.
  double DistanceTo(double x, double y) const override;
  // The point that closes it stays on the first.
  void MovePoint(int32_t index, Point to) override;
  std::unique_ptr<CDim> Clipped(const Rect& rect, bool circle) const override;
  void Paint(Canvas& canvas, bool isSelected) const override;
};

}  // namespace tarnvisor
