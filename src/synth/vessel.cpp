#include "synth/vessel.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tarnvisor {

namespace {

constexpr double step = 3.0;  // pixels from point to point along a limb

// A smooth random line: values at even distances, blended.
class Sway {
 public:
  Sway(Random& random, double knotDistance) : distance(knotDistance) {
    for (double& knot : knots) knot = random.between(-1.0, 1.0);
  }
  double at(double position) const {
    const double p = std::clamp(position / distance, 0.0, static_cast<double>(knots.size() - 1) - 1e-6);
    const auto i = static_cast<size_t>(p);
    return knots[i] + (knots[i + 1] - knots[i]) * smoothStep(p - static_cast<double>(i));
  }

 private:
  double distance;
  std::array<double, 16> knots{};
};

// What the limbs of one hairpin have in common.
struct Hairpin {
  Vessel::Shape shape;
  double halfGap;  // from the loop's axis to the middle of a limb, where the limbs begin
  double arch;     // height of the apex above that place
  double swayPixels;
  double closing;  // share of the gap that is lost by the end
  bool crosses;
  Sway axis;
  Sway own;

  Hairpin(const Vessel::Shape& s, Random& random)
      : shape(s),
        halfGap(std::max(0.5, (s.loopWidth - s.width) * 0.5)),
        arch(halfGap * random.between(1.0, 1.35)),
        swayPixels(s.width * random.between(0.05, 0.45)),
        closing(random.between(-0.1, 0.45)),
        crosses(random.unit() < 0.1),
        axis(random, s.length * 0.4),
        own(random, s.length * 0.3) {}

  // Middle of the limb on one side (-1 or 1) at v pixels below the apex, v beyond the arch.
  double limbX(double side, double v) const {
    const double t = (v - arch) / std::max(1.0, shape.length - arch);
    double gap = halfGap * (1.0 - closing * smoothStep(std::clamp(t, 0.0, 1.0)));
    if (crosses) gap *= 1.0 - 2.0 * smoothStep(std::clamp((t - 0.2) / 0.5, 0.0, 1.0));
    const double grown = std::clamp(t * 2.0, 0.0, 1.0);
    return side * gap + shape.lean * v + grown * swayPixels * (axis.at(v) + side * 0.4 * own.at(v));
  }
};

double faded(double t) { return 1.0 - t * t; }

}  // namespace

Vessel Vessel::hairpin(const Shape& shape, Random& random) {
  const Hairpin loop(shape, random);
  const double arterialSide = random.sign();
  const double shortness = random.between(0.7, 0.95);
  const Sway cells(random, 11.0);             // blood is not equally dense along the tube
  const auto radiusAt = [&](double across) {  // across: -1 left limb, 1 right limb
    return shape.width * (0.5 - 0.09 * across * arterialSide);
  };
  const auto limb = [&](double side) {
    const double length = side == arterialSide ? shape.length * shortness : shape.length;
    std::vector<VesselPoint> down;
    for (double v = loop.arch; v <= length; v += step) {
      const double t = v / length;
      const double strength = shape.strength * faded(t) * (0.95 + 0.05 * cells.at(side > 0 ? v : 160.0 - v));
      down.push_back({loop.limbX(side, v), v, radiusAt(side) * (1.0 + 0.2 * t), strength, t});
    }
    return down;
  };

  Vessel vessel;
  std::vector<VesselPoint> left = limb(-1.0);
  vessel.points.assign(left.rbegin(), left.rend());
  constexpr int half = 6;
  for (int i = 1 - half; i < half; ++i) {
    // Half an ellipse in rational form: q from -1 to 1.
    const double q = static_cast<double>(i) / half;
    const double across = 2.0 * q / (1.0 + q * q);
    const double v = loop.arch * (1.0 - (1.0 - q * q) / (1.0 + q * q));
    if (i == 0) vessel.apex = vessel.points.size();
    vessel.points.push_back({loop.halfGap * across + shape.lean * v, v, radiusAt(across),
                             shape.strength * faded(v / shape.length), v / shape.length});
  }
  const std::vector<VesselPoint> right = limb(1.0);
  vessel.points.insert(vessel.points.end(), right.begin(), right.end());
  vessel.againstCourse = arterialSide > 0;
  return vessel;
}

Vessel Vessel::onEnd(const Shape& shape, Random& random) {
  const double side = random.sign();
  const double bend = side * random.between(0.2, 0.8);
  const double headRadius = shape.width * random.between(0.65, 0.85);
  Vessel vessel;
  vessel.againstCourse = true;
  constexpr int count = 7;
  for (int i = 0; i < count; ++i) {
    const double t = static_cast<double>(i) / (count - 1);
    const double v = t * shape.length;
    vessel.points.push_back({shape.lean * v + bend * shape.length * t * t, v, headRadius * (1.0 - 0.4 * t),
                             shape.strength * (1.0 - 0.6 * t * t), 0.25 + 0.6 * t});
  }
  return vessel;
}

void Vessel::moveBy(double dx, double dy) {
  for (VesselPoint& p : points) {
    p.x += dx;
    p.y += dy;
  }
}

std::vector<VesselPoint> Vessel::course() const {
  std::vector<VesselPoint> line = points;
  if (againstCourse) std::reverse(line.begin(), line.end());
  return line;
}

VesselBox Vessel::box() const {
  VesselBox b{1e300, 1e300, -1e300, -1e300};
  for (const VesselPoint& p : points) {
    b.left = std::min(b.left, p.x - p.radius);
    b.top = std::min(b.top, p.y - p.radius);
    b.right = std::max(b.right, p.x + p.radius);
    b.bottom = std::max(b.bottom, p.y + p.radius);
  }
  return b;
}

void Vessel::draw(Plane& absorption) const {
  for (size_t i = 1; i < points.size(); ++i) drawSegment(points[i - 1], points[i], absorption);
}

void Vessel::drawSegment(const VesselPoint& a, const VesselPoint& b, Plane& absorption) const {
  const double reach = std::max(a.radius, b.radius);
  const auto first = [](double v) { return std::max(0, static_cast<int32_t>(std::ceil(v))); };
  const auto last = [](double v, int32_t end) {
    return std::min(end - 1, static_cast<int32_t>(std::floor(v)));
  };
  const int32_t xEnd = last(std::max(a.x, b.x) + reach, absorption.width);
  const int32_t yEnd = last(std::max(a.y, b.y) + reach, absorption.height);
  const double dx = b.x - a.x;
  const double dy = b.y - a.y;
  const double length2 = std::max(1e-12, dx * dx + dy * dy);
  for (int32_t y = first(std::min(a.y, b.y) - reach); y <= yEnd; ++y) {
    float* out = absorption.row(y);
    for (int32_t x = first(std::min(a.x, b.x) - reach); x <= xEnd; ++x) {
      const double t = std::clamp(((x - a.x) * dx + (y - a.y) * dy) / length2, 0.0, 1.0);
      const double ex = x - (a.x + t * dx);
      const double ey = y - (a.y + t * dy);
      const double radius = a.radius + t * (b.radius - a.radius);
      const double inside = 1.0 - (ex * ex + ey * ey) / (radius * radius);
      if (inside <= 0.0) continue;
      // Light crosses a tube along a chord; tissue above scatters the edge away.
      const double depth = a.depth + t * (b.depth - a.depth);
      const double profile = (1.0 - depth) * std::sqrt(inside) + depth * inside * inside;
      const double strength = a.strength + t * (b.strength - a.strength);
      out[x] = std::max(out[x], static_cast<float>(strength * profile));
    }
  }
}

}  // namespace tarnvisor
