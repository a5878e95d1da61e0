// How right capillary widths are, of edges at the samples and between them: drawn vessels of known width
// under a point spread and noise, crossed at angles from 0 to 90 degrees. Printed are bias, the worst error
// and the shares within half a pixel and without a width; last, how often a width is made up where there is
// no vessel.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "analysis/width.h"
#include "synth/random.h"

namespace tarnvisor {
namespace {

constexpr int32_t kSide = 120, kDraws = 8;
constexpr double kSkin = 170, kDepth = 70, kSpread = 1.2;

double risen(double x) { return 0.5 * std::erfc(-x / std::sqrt(2.0)); }

struct Scene {
  double width = 0, angle = 0, noise = 0;
  double depth = kDepth;
};

// A dark band through (x, y), at right angles to the line that crosses it.
void draw(CZZimage& image, const Scene& scene, double x, double y, Point along, Random& random) {
  const double length = std::hypot(along.x, along.y), ux = along.x / length, uy = along.y / length;
  for (int32_t row = 0; row < kSide; ++row)
    for (int32_t column = 0; column < kSide; ++column) {
      const double d = (column - x) * ux + (row - y) * uy;
      const double dark = risen((d + scene.width / 2) / kSpread) - risen((d - scene.width / 2) / kSpread);
      const double level = kSkin - scene.depth * dark + scene.noise * random.normal();
      image.row(row)[column] = static_cast<uint8_t>(std::lround(std::clamp(level, 0.0, 255.0)));
    }
}

struct Tally {
  int32_t all = 0, measured = 0, close = 0;
  double sum = 0, worst = 0;
  void take(double width, double truth) {
    ++all;
    if (width < 1) return;
    ++measured;
    const double error = width - truth;
    sum += error;
    worst = std::max(worst, std::abs(error));
    close += std::abs(error) <= 0.5;
  }
  void print() const {
    std::printf(" | %6.2f %6.2f %5.0f %5.0f", measured ? sum / measured : 0, worst,
                measured ? 100.0 * close / measured : 0, 100.0 * (all - measured) / all);
  }
};

// What the rule means by the width of a band under this point spread.
double truthOf(WidthRule rule, double width) {
  constexpr double kAtNineTenths = 1.2816;
  return width + 2 * kSpread * (rule == WidthRule::Threshold ? kAtNineTenths : rule == WidthRule::OuterEdge);
}

void measure(const Scene& scene, WidthRule rule, Tally (&tallies)[2], Random& random) {
  CZZimage image(kSide, kSide);
  const double half = 0.5 * (3 * scene.width + 12);
  const double angle = scene.angle * 3.14159265358979 / 180;
  for (int32_t n = 0; n < kDraws; ++n) {
    const Point from{static_cast<int32_t>(std::lround(60 - half * std::cos(angle))),
                     static_cast<int32_t>(std::lround(60 - half * std::sin(angle)))};
    const Point to{static_cast<int32_t>(std::lround(60 + half * std::cos(angle))),
                   static_cast<int32_t>(std::lround(60 + half * std::sin(angle)))};
    draw(image, scene, 60 + random.between(-1, 1), 60 + random.between(-1, 1), to - from, random);
    const Point line[] = {from, to};
    for (int32_t fine = 0; fine < 2; ++fine)
      tallies[fine].take(widthAlong(image, line, 1, rule, {.subSample = fine}).width,
                         truthOf(rule, scene.width));
  }
}

void print() {
  for (const WidthRule rule : {WidthRule::Threshold, WidthRule::Edge, WidthRule::OuterEdge}) {
    std::printf("\n%-20s at the samples              | between the samples\n", nameOf(rule));
    std::printf("%6s %6s | %6s %6s %5s %5s | %6s %6s %5s %5s\n", "noise", "width", "bias", "worst", "<=.5%",
                "none%", "bias", "worst", "<=.5%", "none%");
    for (const double noise : {0.0, 5.0, 10.0, 20.0})
      for (const double width : {3.0, 4.0, 5.5, 8.0, 12.0, 20.0}) {
        Random random(1, 0);
        Tally tallies[2];
        for (double angle = 0; angle <= 90; angle += 7.5)
          measure({width, angle, noise}, rule, tallies, random);
        std::printf("%6.0f %6.1f", noise, width);
        tallies[0].print();
        tallies[1].print();
        std::printf("\n");
      }
  }
  std::printf("\nno vessel: widths made up, %%\n%6s %10s %10s\n", "noise", "at", "between");
  for (const double noise : {2.0, 5.0, 20.0}) {
    Random random(2, 0);
    Tally tallies[2];
    for (int32_t n = 0; n < 40; ++n)
      for (double angle = 0; angle <= 90; angle += 7.5)
        measure({double(3 + n % 18), angle, noise, 0}, WidthRule::Edge, tallies, random);
    std::printf("%6.0f %10.1f %10.2f\n", noise, 100.0 * tallies[0].measured / tallies[0].all,
                100.0 * tallies[1].measured / tallies[1].all);
  }
}

}  // namespace
}  // namespace tarnvisor

int main() { tarnvisor::print(); }
