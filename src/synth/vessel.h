// One blood-filled vessel of the simulated finger: a bent tube given by points along its middle line, and how
// it darkens the light that passes it.
#pragma once

#include <cstddef>
#include <vector>

#include "synth/random.h"

namespace tarnvisor {

// Row by row, top row first: width * height values.
struct Plane {
  int32_t width = 0;
  int32_t height = 0;
  std::vector<float> values;

  Plane(int32_t planeWidth, int32_t planeHeight, float value)
      : width(planeWidth),
        height(planeHeight),
        values(static_cast<size_t>(planeWidth) * static_cast<size_t>(planeHeight), value) {}
  float* row(int32_t y) { return values.data() + static_cast<size_t>(y) * static_cast<size_t>(width); }
  const float* row(int32_t y) const {
    return values.data() + static_cast<size_t>(y) * static_cast<size_t>(width);
  }
};

struct VesselPoint {
  double x = 0;  // frame pixels
  double y = 0;
  double radius = 0;
  double strength = 0;  // of the darkening in the middle, 0..1
  double depth = 0;     // 0 just under the surface: sharp; 1: softened by the tissue above
};

struct VesselBox {
  double left = 0;
  double top = 0;
  double right = 0;
  double bottom = 0;
};

class Vessel {
 public:
  struct Shape {
    double loopWidth = 0;  // of a hairpin, outside
    double length = 0;     // from the apex to where the longer limb is out of sight
    double width = 0;      // mean width of the tube
    double strength = 1;   // of its darkening, 0..1
    double lean = 0;       // how far it leans to the right for each pixel down
  };
  // With the apex at (0, 0). A hairpin's limbs run downwards, one of them arterial (narrower, shorter), sway
  // with chance and now and then cross once.
  static Vessel hairpin(const Shape& shape, Random& random);
  // A comma: a round head and a short bent tail downwards.
  static Vessel onEnd(const Shape& shape, Random& random);

  void moveBy(double dx, double dy);
  VesselBox box() const;  // of all that draw may touch
  // Raises the plane's values (0 lets light through, 1 takes all that blood can take) to this vessel's. Parts
  // outside the plane are left out.
  void draw(Plane& absorption) const;

  // The middle line in the order in which the blood goes: from the arterial limb to the venous one, or up
  // into the head.
  std::vector<VesselPoint> course() const;

  double apexRadius() const { return points[apex].radius; }
  double apexX() const { return points[apex].x; }
  double apexY() const { return points[apex].y; }

 private:
  void drawSegment(const VesselPoint& a, const VesselPoint& b, Plane& absorption) const;

  std::vector<VesselPoint> points;  // two at least
  size_t apex = 0;
  bool againstCourse = false;  // the points lie from the venous limb to the arterial one
};

}  // namespace tarnvisor
