// A rectangle, told by two opposite corners. With one point, or more than two, it has no bounds and no area.
#pragma once

#include "measure/dim.h"

namespace tarnvisor {

class CDimRect : public CDim {
 public:
  static const ArchiveClass& archiveClass();
  const ArchiveClass& classRecord() const override { return archiveClass(); }

  void Update() override;
  std::unique_ptr<CDim> Clone() const override;
  double Area(double sx, double sy) const override;
  // What of it lies in the rectangle, or in its inscribed circle.
  double AreaIn(const Rect& rect, bool circle, double sx, double sy) const override;
  std::unique_ptr<CDim> Clipped(const Rect& rect, bool circle) const override;
  double DistanceTo(double x, double y) const override;
  void Paint(Canvas& canvas, bool isSelected) const override;

  Rect bounds;  // normalised
};

}  // namespace tarnvisor
