// A circle, told by the two ends of a diameter. With one point, or more than two, it has no bounds and no
// area.
#pragma once

#include "measure/dim.h"

namespace tarnvisor {

class CDimCircle : public CDim {
 public:
  static const ArchiveClass& archiveClass();
  const ArchiveClass& classRecord() const override { return archiveClass(); }

  void Update() override;
  std::unique_ptr<CDim> Clone() const override;
  double Area(double sx, double sy) const override;
  // All or nothing: the whole area when bounds meet the rectangle; with circle also when twice the squared
  // distance of the centres is below the rectangle's width plus the diameter (as it has always been).
  double AreaIn(const Rect& rect, bool circle, double sx, double sy) const override;
  // The middle of the diameter.
  void Centre(Point& out, double& x, double& y) const override;
  void Paint(Canvas& canvas, bool isSelected) const override;

  Rect bounds;  // centre plus and minus radius, truncated
};

}  // namespace tarnvisor
