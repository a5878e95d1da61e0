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
  // A circle is in a region, whole, where its centre is: whichever way its diameter was drawn.
  bool Overlaps(const Rect& rect, bool circle) const override;
  double LengthIn(const Rect& rect, bool circle, double sx, double sy) const override;
  // From its rim or its centre.
  double DistanceTo(double x, double y) const override;
  // About its centre, which stays.
  void MovePoint(int32_t index, Point to) override;
  std::unique_ptr<CDim> Clipped(const Rect& rect, bool circle) const override;
  // The middle of the diameter.
  void Centre(Point& out, double& x, double& y) const override;
  void Paint(Canvas& canvas, bool isSelected) const override;

  double radius() const { return Distance(0, 1, 1.0, 1.0) * 0.5; }

  Rect bounds;  // centre plus and minus radius, truncated
};

}  // namespace tarnvisor
