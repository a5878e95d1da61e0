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
  // Anywhere on its rim.
  bool IsHit(double x, double y, double reach) const override;
  std::unique_ptr<CDim> Clipped(const Rect& rect, bool circle) const override;
  // The middle of the diameter.
  void Centre(Point& out, double& x, double& y) const override;
  void Paint(Canvas& canvas, bool isSelected) const override;

  Rect bounds;  // centre plus and minus radius, truncated

 private:
  double radius() const { return Distance(0, 1, 1.0, 1.0) * 0.5; }
};

}  // namespace tarnvisor
