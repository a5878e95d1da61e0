#include "synth/widefield.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <new>

#include "base/numbers.h"
#include "base/parallel.h"
#include "synth/foldscene.h"
#include "synth/jpegloss.h"
#include "synth/tissue.h"

namespace tarnvisor {

namespace {

enum Stream : uint64_t { mottleStream = 1u << 23, edgeStream = mottleStream + 100, glintStream, grainStream };

using Rgb = std::array<double, 3>;  // blue, green, red, as pixels lie

// Optical densities, relative to green's.
constexpr Rgb kBed{0.72, 1.0, 0.22}, kPigment{1.6, 0.8, 0.35}, kStain{1.5, 1.0, 0.3};
constexpr int32_t kCoarse = 8;  // pixels from node to node of what is broad
// Seeds place the finger for fields of any size.
constexpr double kReach = 4000;

double rootOfSquares(double a, double b) { return std::sqrt(a * a + b * b); }
double ramp(double x) { return smoothStep(std::clamp(x, 0.0, 1.0)); }

// Between image pixels and the finger's frame.
class View {
 public:
  View(const WideField& field, double turn)
      : size(field.pixelSize),
        middleX(0.5 * (field.width - 1)),
        middleY(0.5 * (field.height - 1)),
        c(sineOfTurns(turn + 0.25)),
        s(sineOfTurns(turn)) {}
  FoldPoint toFinger(double x, double y) const {
    const double dx = (x - middleX) * size, dy = (y - middleY) * size;
    return {c * dx + s * dy, c * dy - s * dx};
  }
  FoldPoint toImage(double u, double v) const {
    return {middleX + (c * u - s * v) / size, middleY + (s * u + c * v) / size};
  }
  FoldPoint distal() const { return {s, -c}; }
  double pixels(double micrometres) const { return micrometres / size; }

 private:
  double size, middleX, middleY, c, s;
};

// exp(-x) read from a table.
class Passed {
 public:
  Passed() {
    for (size_t i = 0; i < table.size(); ++i)
      table[i] = static_cast<float>(expMinus(static_cast<double>(i) / kSteps));
  }
  float operator()(float density) const {
    const float place = std::clamp(density, 0.0f, kMost) * kSteps;
    const auto i = static_cast<size_t>(place);
    return table[i] + (place - static_cast<float>(i)) * (table[i + 1] - table[i]);
  }

 private:
  static constexpr float kSteps = 512, kMost = 7;
  std::array<float, 3586> table{};
};

struct Planes {
  Plane blood, deep, neutral, glint;
  Planes(int32_t w, int32_t h) : blood(w, h, 0), deep(w, h, 0), neutral(w, h, 0), glint(w, h, 0) {}
};

// A tube's darkening goes with the chord of light through it.
void drawTube(Plane& plane, FoldPoint a, FoldPoint b, double radius, double from, double to) {
  const double left = std::min(a.x, b.x) - radius, right = std::max(a.x, b.x) + radius;
  const double top = std::min(a.y, b.y) - radius, bottom = std::max(a.y, b.y) + radius;
  if (right < 0 || bottom < 0 || left > plane.width - 1 || top > plane.height - 1) return;
  const double dx = b.x - a.x, dy = b.y - a.y, square = std::max(dx * dx + dy * dy, 1e-9);
  for (auto y = static_cast<int32_t>(std::max(0.0, top)); y <= std::min(plane.height - 1.0, bottom); ++y)
    for (auto x = static_cast<int32_t>(std::max(0.0, left)); x <= std::min(plane.width - 1.0, right); ++x) {
      const double t = std::clamp(((x - a.x) * dx + (y - a.y) * dy) / square, 0.0, 1.0);
      const double ex = x - a.x - t * dx, ey = y - a.y - t * dy;
      const double inside = 1 - (ex * ex + ey * ey) / (radius * radius);
      if (inside <= 0) continue;
      float& out = plane.row(y)[x];
      out = std::max(out, static_cast<float>((from + t * (to - from)) * std::sqrt(inside)));
    }
}

// A soft heap, such as a bleeding or a shine.
void drawCloud(Plane& plane, FoldPoint at, double radius, double height, const ValueNoise& edge) {
  const double reach = 1.6 * radius;
  for (auto y = static_cast<int32_t>(std::max(0.0, at.y - reach));
       y <= std::min(plane.height - 1.0, at.y + reach); ++y)
    for (auto x = static_cast<int32_t>(std::max(0.0, at.x - reach));
         x <= std::min(plane.width - 1.0, at.x + reach); ++x) {
      const double away = rootOfSquares(x - at.x, y - at.y) / radius * (1 + 0.5 * edge.at(x, y));
      plane.row(y)[x] += static_cast<float>(height * ramp(1.4 * (1 - away)));
    }
}

class Picture {
 public:
  Picture(const WideField& wanted, const FoldScene& what)
      : field(wanted), scene(what), view(wanted, what.tissue.turn), planes(wanted.width, wanted.height) {}

  void render(CZZimage& image) {
    drawVessels();
    drawGlints();
    soften();
    expose(image);
  }

 private:
  void drawVessels() {
    for (const FoldVessel& vessel : scene.vessels)
      for (size_t i = 1; i < vessel.size(); ++i) {
        const FoldVesselPoint &a = vessel[i - 1], &b = vessel[i];
        const auto draw = [&](Plane& plane, double from, double to) {
          if (from <= 0 && to <= 0) return;
          drawTube(plane, view.toImage(a.u, a.v), view.toImage(b.u, b.v),
                   std::max(view.pixels(0.5 * (a.radius + b.radius)), 0.6), from, to);
        };
        const bool dips = scene.tissue.dip > 0;
        draw(planes.neutral, -a.density, -b.density);
        draw(planes.blood, a.density * (dips ? 1 - a.deep : 1), b.density * (dips ? 1 - b.deep : 1));
        if (dips) draw(planes.deep, a.density * a.deep, b.density * b.deep);
      }
    for (size_t i = 0; i < scene.bleedings.size(); ++i) {
      const FoldVesselPoint& b = scene.bleedings[i];
      const double radius = view.pixels(b.radius);
      drawCloud(planes.blood, view.toImage(b.u, b.v), radius, b.density,
                ValueNoise(field.seed, edgeStream + 10 + i, 0.7 * radius, 0.7 * radius));
    }
  }

  void drawGlints() {
    Random random(field.seed, glintStream);
    const FoldTissue& t = scene.tissue;
    const auto shine = [&](double u, double v, double radius, double height) {
      const double r = std::max(view.pixels(radius), 0.7);
      drawCloud(planes.glint, view.toImage(u, v), r, height,
                ValueNoise(field.seed, random.next(), 0.8 * r, 0.8 * r));
    };
    for (int32_t i = 0; i < static_cast<int32_t>(t.glints); ++i) {
      const double u = random.between(-2000, 2000);
      const double onNail = random.unit() < 0.75 ? -random.between(t.pale, t.pale + t.cuticle + 1200)
                                                 : random.between(-300, 1200);
      const double size = random.unit();
      shine(u, t.rowAt(u) + onNail, 8 + 60 * size * size, random.between(40, 200));
    }
    if (!t.glare) return;
    const double u = random.between(-900, 900);
    shine(u, t.rowAt(u) + random.between(-500, 500), random.between(500, 900), random.between(25, 80));
  }

  // Focus differs over the field: near to far it is blended from two.
  void soften() {
    const FoldTissue& t = scene.tissue;
    const double least = rootOfSquares(t.blur, field.extraBlur),
                 most = rootOfSquares(t.blur + t.unevenBlur, field.extraBlur);
    Plane far = planes.blood;
    blur(planes.blood, view.pixels(least));
    blur(planes.neutral, view.pixels(least));
    blur(planes.glint, view.pixels(rootOfSquares(3, field.extraBlur)));
    addDeep(rootOfSquares(least, t.dip));
    if (t.sharpened > 0) sharpen(planes.blood);
    if (t.unevenBlur <= 0.5) return;
    blur(far, view.pixels(most));
    for (int32_t y = 0; y < far.height; ++y)
      for (int32_t x = 0; x < far.width; ++x) {
        const double share = static_cast<double>(x) / far.width;
        float& out = planes.blood.row(y)[x];
        out += static_cast<float>(share) * (far.row(y)[x] - out);
      }
  }

  void addDeep(double sigma) {
    if (scene.tissue.dip <= 0) return;
    blur(planes.deep, view.pixels(sigma));
    for (int32_t y = 0; y < field.height; ++y)
      std::transform(planes.blood.row(y), planes.blood.row(y) + field.width, planes.deep.row(y),
                     planes.blood.row(y), std::plus<>());
  }

  // As cameras do it, with the bright seams that it leaves.
  void sharpen(Plane& plane) {
    Plane smooth = plane;
    blur(smooth, view.pixels(2.5 * scene.tissue.blur));
    const auto amount = static_cast<float>(scene.tissue.sharpened);
    for (int32_t y = 0; y < plane.height; ++y)
      for (int32_t x = 0; x < plane.width; ++x) {
        float& out = plane.row(y)[x];
        out += amount * (out - smooth.row(y)[x]);
      }
  }

  // What is broad, at the nodes.
  Rgb tissueAt(FoldPoint p, const std::array<ValueNoise, 5>& noise) const {
    const FoldTissue& t = scene.tissue;
    const double wander = 90 * noise[0].at(p.x, p.y) + 35 * noise[1].at(p.x, p.y);
    const double behind = p.y - t.rowAt(p.x) + wander;
    const double crease = 30 * noise[2].at(p.x, p.y);
    const double inCuticle =
        ramp((-behind - t.pale + crease) / 120) * ramp((behind + t.pale + t.cuticle) / 60 + 0.5);
    const double onNail = ramp((-behind - t.pale - t.cuticle + crease) / 60 + 0.5);
    const double bed = t.bed * (ramp((behind - t.onset + 120) / t.rise) + t.nailRed * onNail) *
                       (1 + 0.3 * noise[0].at(p.x + 500, p.y) + 0.15 * noise[1].at(p.x, p.y + 500));
    const double pigment = t.brown * inCuticle * (1 + 0.5 * noise[1].at(p.x, p.y)) + 0.15 * t.brown * onNail;
    const double spots = t.stain * inCuticle * ramp(2.5 * noise[3].at(p.x, p.y) - 0.2);
    const double mottle = t.skin + 0.05 * noise[1].at(p.x + 900, p.y) + 0.025 * noise[4].at(p.x, p.y);
    Rgb density;
    for (size_t i = 0; i < 3; ++i)
      density[i] = mottle + bed * kBed[i] + pigment * kPigment[i] + spots * kStain[i];
    if (t.blotches > 0) {
      density[0] += t.blotches * noise[1].at(p.x - 700, p.y - 300);
      density[2] += 1.5 * t.blotches * noise[0].at(p.x - 400, p.y + 800);
    }
    return density;
  }

  std::vector<Plane> tissueNodes() const {
    const int32_t w = field.width / kCoarse + 2, h = field.height / kCoarse + 2;
    const auto layer = [&](uint64_t i, double wide, double high) {
      return ValueNoise(field.seed, mottleStream + i, wide, high);
    };
    const std::array<ValueNoise, 5> noise{layer(0, 900, 500), layer(1, 260, 180), layer(2, 400, 60),
                                          layer(3, 110, 90), layer(4, 70, 50)};
    std::vector<Plane> nodes(3, Plane(w, h, 0));
    for (int32_t y = 0; y < h; ++y)
      for (int32_t x = 0; x < w; ++x) {
        const Rgb density = tissueAt(view.toFinger(x * kCoarse, y * kCoarse), noise);
        for (size_t i = 0; i < 3; ++i) nodes[i].row(y)[x] = static_cast<float>(density[i]);
      }
    return nodes;
  }

  static float between(const Plane& nodes, int32_t x, int32_t y) {
    const float tx = static_cast<float>(x % kCoarse) / kCoarse,
                ty = static_cast<float>(y % kCoarse) / kCoarse;
    const float* a = nodes.row(y / kCoarse) + x / kCoarse;
    const float* b = nodes.row(y / kCoarse + 1) + x / kCoarse;
    const float upper = a[0] + tx * (a[1] - a[0]), lower = b[0] + tx * (b[1] - b[0]);
    return upper + ty * (lower - upper);
  }

  void expose(CZZimage& image) const {
    const FoldTissue& t = scene.tissue;
    const std::vector<Plane> nodes = tissueNodes();
    const Passed passed;
    const auto fine = [&](uint64_t i, double cell) {
      return ValueNoise(field.seed, grainStream + i, view.pixels(cell), view.pixels(cell));
    };
    const std::array<ValueNoise, 3> texture{fine(1, 45), fine(2, 18), fine(3, 9)};
    // Out of focus the finest go first.
    const double blurred = rootOfSquares(t.blur + 0.5 * t.unevenBlur, field.extraBlur);
    const auto marked = [&](double amplitude, double cell) {
      return amplitude * expMinus(std::min(5 * blurred * blurred / (cell * cell), 20.0));
    };
    const std::array<double, 3> amplitudes{marked(0.02, 45), marked(0.03, 18), marked(0.05, 9)};
    Random tint(field.seed, grainStream);
    const auto strayed = [&](double less, double more) {
      return tint.between(1 - t.tint * less, 1 + t.tint * more);
    };
    const double green = t.light * field.exposure / expMinus(t.skin);
    const double blue = green * strayed(0.3, 0.1) * (1 - field.warmth);
    const double red = green * strayed(0.15, 0.2) * (1 + field.warmth);
    const std::array<float, 3> light{static_cast<float>(blue), static_cast<float>(green),
                                     static_cast<float>(red)};
    const double slope = tint.between(-0.2, 0.2), vignette = tint.between(0.05, 0.3);
    const Rgb taken{t.bloodBlue, 1.0, t.bloodRed};
    const auto mixed = [&](uint64_t i) { return ValueNoise(field.seed, grainStream - 10 - i, 3, 3); };
    const std::array<ValueNoise, 3> hues{mixed(0), mixed(1), mixed(2)};
    const bool noisy = field.kind == FoldKind::Noise;
    parallelFor(field.height, 32, [&](int64_t begin, int64_t end) {
      std::vector<float> grain(static_cast<size_t>(field.width));
      std::array<std::vector<float>, 3> hue{grain, grain, grain};
      for (auto y = static_cast<int32_t>(begin); y < end; ++y) {
        std::fill(grain.begin(), grain.end(), 0.0f);
        for (size_t i = 0; i < texture.size(); ++i) texture[i].addTo(grain, y, amplitudes[i]);
        for (size_t i = 0; i < 3 && t.colourNoise > 0; ++i) {
          std::fill(hue[i].begin(), hue[i].end(), 0.0f);
          hues[i].addTo(hue[i], y, t.colourNoise);
        }
        Random noise(field.seed, grainStream + 10 + static_cast<uint64_t>(y));
        uint8_t* out = image.row(y);
        const double v = 2.0 * y / field.height - 1;
        for (int32_t x = 0; x < field.width; ++x) {
          const double u = 2.0 * x / field.width - 1, corner = 0.5 * (u * u + v * v);
          const auto shade = static_cast<float>((1 + slope * u) * (1 - vignette * corner * corner));
          const float blood = planes.blood.row(y)[x],
                      other = planes.neutral.row(y)[x] + grain[static_cast<size_t>(x)];
          for (size_t i = 0; i < 3; ++i) {
            const float density = between(nodes[i], x, y) + blood * static_cast<float>(taken[i]) + other;
            const float level = light[i] * shade * passed(density) +
                                planes.glint.row(y)[x] * static_cast<float>(field.exposure) +
                                hue[i][static_cast<size_t>(x)];
            const double sensed = level + t.noise * noise.normal() + 0.5;
            *out++ = truncatedToByte(noisy ? 128 + 60 * noise.normal() : sensed);
          }
        }
      }
    });
  }

  const WideField& field;
  const FoldScene& scene;
  View view;
  Planes planes;
};

bool lies(const WideField& field, FoldPoint p, double margin) {
  return p.x >= margin && p.y >= margin && p.x <= field.width - 1 - margin &&
         p.y <= field.height - 1 - margin;
}

// Of the row counts what has nail-ward skin before it: a tenth of a millimetre.
WideFieldTruth truthOf(const WideField& field, const FoldScene& scene) {
  const View view(field, scene.tissue.turn);
  WideFieldTruth truth;
  truth.distal = view.distal();
  const auto seen = [&](double u, double v) {
    return lies(field, view.toImage(u, v), view.pixels(10)) && lies(field, view.toImage(u, v - 100), 0);
  };
  for (const PlacedLoop& loop : scene.loops)
    if (seen(loop.u, loop.v)) truth.loops.push_back({view.toImage(loop.u, loop.v), loop.width, loop.faint});
  constexpr double kStep = 10;
  for (double u = -kReach; u <= kReach; u += kStep) {
    const double v = scene.tissue.rowAt(u), rise = scene.tissue.rowAt(u + kStep) - v;
    if (!seen(u, v)) continue;
    truth.row.push_back(view.toImage(u, v));
    truth.rowLength += std::sqrt(kStep * kStep + rise * rise) / 1000;
  }
  return truth;
}

}  // namespace

const char* nameOf(FoldKind kind) {
  static constexpr std::array<const char*, kFoldKinds> names{
      "healthy",       "sharp",       "soft",     "rarefied", "sparse",   "giant", "bushy",
      "gaps",          "slanted",     "late red", "stained",  "red nail", "glare", "hair",
      "proximal only", "distal only", "bare",     "grey",     "blurred",  "noise", "pale"};
  return names[static_cast<size_t>(kind)];
}

bool canBeCounted(FoldKind kind) { return kind < FoldKind::ProximalOnly || kind == FoldKind::Pale; }

std::unique_ptr<CZZimage> renderWideField(const WideField& field, WideFieldTruth& truth) {
  truth = {};
  const auto within = [](int32_t side) { return side >= 1 && side <= 4096; };
  if (!within(field.width) || !within(field.height)) return nullptr;
  if (!(field.pixelSize >= 0.2 && field.pixelSize <= 20)) return nullptr;
  try {
    auto image = std::make_unique<CZZimage>(field.width, field.height, -1, 0, kColour);
    if (image->empty()) return nullptr;
    const FoldScene scene = foldSceneOf(field.kind, field.seed, kReach);
    Picture(field, scene).render(*image);
    if (field.quality > 0) loseAsJpeg(*image, field.quality);
    if (field.kind == FoldKind::Grey && !image->convertToGrey()) return nullptr;
    if (canBeCounted(field.kind)) truth = truthOf(field, scene);
    return image;
  } catch (const std::bad_alloc&) {
    truth = {};
    return nullptr;
  }
}

}  // namespace tarnvisor
