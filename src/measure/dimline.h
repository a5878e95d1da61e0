// A point, line or polyline; a wide one is drawn as its outline.
#pragma once

#include "measure/dim.h"

namespace tarnvisor {

class CDimLine : public CDim {
 public:
  static const ArchiveClass& archiveClass();
  const ArchiveClass& classRecord() const override { return archiveClass(); }

  void Update() override;
  std::unique_ptr<CDim> Clone() const override;
  // The middle of first and last point; the floating one is exact, the point truncated.
  void Centre(Point& out, double& x, double& y) const override;
  // Length over chord in pixels; 1.0 with under three points, infinite when the ends meet.
  double Tortuosity0() const override;
  // The sum of the excess arc-over-chord ratios of the curves, times the number of inflections, per unit of
  // length walked, under tortuositySettings. Refills breaks. 0.0 with under two curves.
  double Tortuosity1(double sx, double sy, int32_t& curves) override;
  // From anywhere within a wide one it is 0.
  double DistanceTo(double x, double y) const override;
  void Paint(Canvas& canvas, bool isSelected) const override;

  // The polygon around a line wider than a pixel with two or more points: one side from first to last point,
  // then the other back. Empty otherwise. Derived by Update, not stored.
  std::vector<Point> outline;
  std::vector<Point> breaks;  // where curves begin; drawn as diamonds, not stored
};

}  // namespace tarnvisor
