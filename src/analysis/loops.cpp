#include "analysis/loops.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "analysis/loopmeasures.h"
#include "analysis/loopnoise.h"
#include "analysis/looprow.h"
#include "analysis/loopscores.h"
#include "base/text.h"

namespace tarnvisor {

namespace {

constexpr double kFinestGrid = 4, kCoarsestGrid = 6;
constexpr double kMostArea = 60;           // square millimetres that a nailfold still may show
constexpr double kWorkPixels = 1'200'000;  // of the turned frame

constexpr float kClipped = 250;  // levels above tell nothing
// Common contrast of skin in focus; with less than that, grain would count.
constexpr double kLeastUnit = 0.008;

// --- Preparation

struct Prepared {
  double grid = kFinestGrid;
  double pixels = 1;  // of the source, for each of the grid
  double left = 0, top = 0;
  LoopPlane green, magenta, darkness, redness, weight, glint;
  std::vector<float> magentaRanks;
  double magentaSpan = 0, unit = 0;
  double neutralShare = 0;  // of the picture: hair and dirt
};

// Of 8-bit values, kept off the black level.
class Logarithm {
 public:
  Logarithm() {
    for (size_t i = 0; i < table.size(); ++i) table[i] = std::log(static_cast<float>(i) / kSteps + 8.0f);
  }
  float operator()(float level) const {
    const float place = std::clamp(level, 0.0f, 255.0f) * kSteps;
    const auto i = static_cast<size_t>(place);
    return table[i] + (place - static_cast<float>(i)) * (table[i + 1] - table[i]);
  }

 private:
  static constexpr float kSteps = 8;
  std::array<float, 2049> table;
};

template <typename T>
T percentile(std::vector<T>& values, double share) {
  const auto at = static_cast<ptrdiff_t>(share * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), values.begin() + at, values.end());
  return values[static_cast<size_t>(at)];
}

// A mask grown by so many pixels to each side.
void dilate(LoopPlane& mask, int32_t reach) {
  const auto grow = [&](auto at, int32_t count) {
    int32_t last = -reach - 1;
    std::vector<char> was(static_cast<size_t>(count));
    for (int32_t i = 0; i < count; ++i) was[static_cast<size_t>(i)] = at(i) > 0;
    for (int32_t i = 0; i < count; ++i) {
      if (was[static_cast<size_t>(i)]) last = i;
      if (i - last <= reach) at(i) = 1;
    }
    last = count + reach + 1;
    for (int32_t i = count - 1; i >= 0; --i) {
      if (was[static_cast<size_t>(i)]) last = i;
      if (last - i <= reach) at(i) = 1;
    }
  };
  for (int32_t y = 0; y < mask.height; ++y)
    grow([&](int32_t x) -> float& { return mask.row(y)[x]; }, mask.width);
  for (int32_t x = 0; x < mask.width; ++x)
    grow([&](int32_t y) -> float& { return mask.row(y)[x]; }, mask.height);
}

LoopPlane specularOf(const LoopColours& colours, double grid) {
  const LoopPlane all(colours.green.width, colours.green.height, 1);
  const LoopPlane broad = blurredBroadly(colours.green, all, 100 / grid);
  LoopPlane mask(all.width, all.height);
  for (size_t i = 0; i < mask.values.size(); ++i) {
    const float g = colours.green.values[i];
    mask.values[i] = g > kClipped || g > 1.25f * broad.values[i] + 10 ? 1.0f : 0.0f;
  }
  dilate(mask, std::max(1, static_cast<int32_t>(std::lround(14 / grid))));
  return mask;
}

// What a band of sizes holds: fine less broad.
LoopPlane bandOf(const LoopPlane& plane, const LoopPlane& weight, double fine, double broad) {
  LoopPlane band = plane;
  blurFinely(band, fine);
  const LoopPlane coarse = blurredBroadly(plane, weight, broad);
  for (size_t i = 0; i < band.values.size(); ++i) band.values[i] -= coarse.values[i];
  return band;
}

LoopPlane flattened(const LoopPlane& plane, const LoopPlane& weight, double sigma) {
  LoopPlane out = blurredBroadly(plane, weight, sigma);
  for (size_t i = 0; i < out.values.size(); ++i) out.values[i] = plane.values[i] - out.values[i];
  return out;
}

// Median of what small boxes show.
double unitOf(const LoopPlane& darkness, const LoopPlane& weight, double grid) {
  const LoopCoarse boxes = coarsened(darkness, weight, std::max(1, static_cast<int32_t>(24 / grid)));
  std::vector<float> sizes;
  for (size_t i = 0; i < boxes.sum.values.size(); ++i)
    if (boxes.weight.values[i] > 0) sizes.push_back(std::abs(boxes.sum.values[i] / boxes.weight.values[i]));
  return sizes.empty() ? 0 : percentile(sizes, 0.5);
}

void flatten(const LoopPlane& redness, Prepared& work) {
  work.darkness = flattened(work.green, work.weight, 100 / work.grid);
  work.redness = flattened(redness, work.weight, 100 / work.grid);
}

// Hair and dirt are dark in all colours: what is no blood counts as not there. Whether there is any.
bool maskNeutral(Prepared& work) {
  constexpr double kLeastNeutral = 0.0005;
  constexpr float kDark = 0.15f, kRedShare = 0.25f;
  LoopPlane neutral(work.weight.width, work.weight.height);
  size_t count = 0;
  for (size_t i = 0; i < neutral.values.size(); ++i) {
    if (work.darkness.values[i] < kDark || work.redness.values[i] > kRedShare * work.darkness.values[i])
      continue;
    neutral.values[i] = work.weight.values[i];
    ++count;
  }
  work.neutralShare = static_cast<double>(count) / static_cast<double>(neutral.values.size());
  if (work.neutralShare < kLeastNeutral) return false;
  dilate(neutral, std::max(1, static_cast<int32_t>(std::lround(12 / work.grid))));
  for (size_t i = 0; i < neutral.values.size(); ++i)
    if (neutral.values[i] > 0) work.weight.values[i] = 0;
  return true;
}

// How much of what dark marks take from green they take from red: 0.2 to 0.4 as the eye sees blood, more
// where the camera's own balance makes it brown.
float redOfBlood(const LoopPlane& greenBand, const LoopPlane& redBand, const LoopPlane& weight) {
  constexpr float kDark = 0.03f;
  double green = 0, red = 0;
  for (size_t i = 0; i < greenBand.values.size(); ++i)
    if (weight.values[i] > 0 && greenBand.values[i] > kDark)
      green += greenBand.values[i], red += redBand.values[i];
  return green > 0 ? static_cast<float>(red / green) : 0.0f;
}

// Small and brighter than what is near, in red as well: beside blood, skin is brighter in green above all,
// and the more so where the camera sharpens. Hair must be known by then, or the skin beside it would shine.
LoopPlane glintOf(const LoopPlane& red, const LoopPlane& dim, const LoopPlane& specular,
                  const Prepared& work) {
  constexpr float kRedOfShine = 0.33f, kRedOfBrown = 0.40f, kRedFull = 238;
  const LoopPlane greenBand = bandOf(work.green, work.weight, 4 / work.grid, 24 / work.grid);
  const LoopPlane redBand = bandOf(dim, work.weight, 4 / work.grid, 24 / work.grid);
  const float brown = std::max(redOfBlood(greenBand, redBand, work.weight) - kRedOfBrown, 0.0f);
  const float redOfShine = kRedOfShine + 2 * brown;
  LoopPlane glint = specular;
  for (size_t i = 0; i < glint.values.size(); ++i) {
    const float inGreen = greenBand.values[i], inRed = redBand.values[i];
    if (inGreen < -0.03f && (inRed < std::min(-0.012f, redOfShine * inGreen) || red.values[i] > kRedFull))
      glint.values[i] = 1;
  }
  return glint;
}

Prepared prepared(const CZZimage& image, double pixelSize) {
  Prepared out;
  const double finest = image.width * pixelSize / kFinestGrid * (image.height * pixelSize / kFinestGrid);
  out.grid = std::clamp(kFinestGrid * std::sqrt(2 * finest / kWorkPixels), kFinestGrid, kCoarsestGrid);
  out.pixels = out.grid / pixelSize;
  LoopColours colours = resampledColours(image, out.pixels);
  out.left = colours.left;
  out.top = colours.top;
  for (LoopPlane* plane : {&colours.blue, &colours.green, &colours.red}) blurFinely(*plane, 3.2 / out.grid);
  const LoopPlane specular = specularOf(colours, out.grid);
  const int32_t w = specular.width, h = specular.height;
  const auto edge = static_cast<int32_t>(std::ceil(10 / out.grid));
  out.weight = LoopPlane(w, h);
  for (int32_t y = edge; y < h - edge; ++y)
    for (int32_t x = edge; x < w - edge; ++x) out.weight.row(y)[x] = specular.at(x, y) > 0 ? 0.0f : 1.0f;
  const Logarithm ln;
  LoopPlane dim(w, h), redness(w, h);
  out.green = out.magenta = LoopPlane(w, h);
  for (size_t i = 0; i < dim.values.size(); ++i) {
    const float r = ln(colours.red.values[i]), g = ln(colours.green.values[i]),
                b = ln(colours.blue.values[i]);
    out.green.values[i] = -g;
    dim.values[i] = -r;
    redness.values[i] = r - g;
    out.magenta.values[i] = r + b - 2 * g;
  }
  flatten(redness, out);
  if (maskNeutral(out)) flatten(redness, out);
  out.glint = glintOf(colours.red, dim, specular, out);
  out.unit = unitOf(out.darkness, out.weight, out.grid);
  // Every 17th pixel, and of an image turned by half the same ones.
  for (size_t i = (out.magenta.values.size() - 1) * 9 % 17; i < out.magenta.values.size(); i += 17)
    if (out.weight.values[i] > 0) out.magentaRanks.push_back(out.magenta.values[i]);
  std::sort(out.magentaRanks.begin(), out.magentaRanks.end());
  const auto rank = [&](double share) {
    const auto last = static_cast<double>(out.magentaRanks.size() - 1);
    return out.magentaRanks[static_cast<size_t>(share * last)];
  };
  if (!out.magentaRanks.empty()) out.magentaSpan = rank(0.95) - rank(0.05);
  return out;
}

// Half as fine, for what needs no more.
Prepared halved(const Prepared& from) {
  Prepared out;
  out.grid = 2 * from.grid;
  out.pixels = 2 * from.pixels;
  out.magentaRanks = from.magentaRanks;
  out.magentaSpan = from.magentaSpan;
  out.unit = from.unit;
  const auto half = [&](const LoopPlane& plane) {
    LoopCoarse coarse = coarsened(plane, from.weight, 2);
    for (size_t i = 0; i < coarse.sum.values.size(); ++i)
      coarse.sum.values[i] /= std::max(coarse.weight.values[i], 1.0f);
    return coarse;
  };
  LoopCoarse darkness = half(from.darkness);
  out.weight = std::move(darkness.weight);
  for (float& w : out.weight.values) w = w >= 2 ? 1.0f : 0.0f;
  out.darkness = std::move(darkness.sum);
  out.redness = half(from.redness).sum;
  out.magenta = half(from.magenta).sum;
  out.glint = half(from.glint).sum;
  return out;
}

void turnFrame(const Prepared& from, double px, double py, LoopFrame& frame) {
  frame.grid = from.grid;
  frame.unit = std::max(from.unit, kLeastUnit);
  frame.magentaSpan = from.magentaSpan;
  frame.magentaRanks = from.magentaRanks;
  frame.turn = turnTo(px, py, from.weight.width, from.weight.height);
  turnAll(frame.turn,
          {{from.darkness, frame.darkness}, {from.redness, frame.redness}, {from.magenta, frame.magenta}},
          {{from.weight, frame.weight}, {from.glint, frame.glint}});
  frame.top.assign(static_cast<size_t>(frame.turn.width), frame.turn.height);
  frame.bottom.assign(frame.top.size(), 0);
  for (int32_t y = 0; y < frame.turn.height; ++y) {
    const LoopSpan span = turnedSpan(frame.turn, from.weight.width, from.weight.height, y);
    for (auto x = static_cast<size_t>(span.first); x < static_cast<size_t>(span.end); ++x) {
      frame.top[x] = std::min(frame.top[x], y);
      frame.bottom[x] = y + 1;
    }
  }
}

// --- Direction

struct Direction {
  double px = 0, py = 1;  // away from the nail
  double strength = 0, concentration = 0;
};

struct Slope {
  double x = 0, y = 0;
};

// Of the plane that fits best, for each pixel.
Slope slopeOf(const LoopPlane& plane, const LoopPlane& weight) {
  double n = 0, sx = 0, sy = 0, sz = 0, xx = 0, xy = 0, yy = 0, xz = 0, yz = 0;
  for (int32_t y = 0; y < plane.height; ++y)
    for (int32_t x = 0; x < plane.width; ++x) {
      if (weight.at(x, y) <= 0) continue;
      const double z = plane.at(x, y);
      n += 1, sx += x, sy += y, sz += z, xx += x * x, xy += x * y, yy += y * y, xz += x * z, yz += y * z;
    }
  if (n < 3) return {};
  xx -= sx * sx / n, xy -= sx * sy / n, yy -= sy * sy / n, xz -= sx * sz / n, yz -= sy * sz / n;
  const double determinant = xx * yy - xy * xy;
  if (!(determinant > 1e-9)) return {};
  return {(xz * yy - yz * xy) / determinant, (yz * xx - xz * xy) / determinant};
}

struct RednessMap {
  LoopPlane level;  // 0..1
  Slope slope;
  int32_t step = 4, left = 0, top = 0;
};

RednessMap rednessMap(const Prepared& from) {
  RednessMap map;
  LoopCoarse coarse = coarsened(from.magenta, from.weight, map.step);
  const LoopPlane there = coarse.weight;
  blurSums(coarse.sum, 60 / (from.grid * map.step));
  blurSums(coarse.weight, 60 / (from.grid * map.step));
  std::vector<float> levels;
  for (size_t i = 0; i < coarse.sum.values.size(); ++i) {
    coarse.sum.values[i] /= std::max(coarse.weight.values[i], 1e-3f);
    if (there.values[i] > 0) levels.push_back(coarse.sum.values[i]);
  }
  map.level = std::move(coarse.sum);
  map.left = coarse.left;
  map.top = coarse.top;
  if (levels.empty()) return map;
  const float low = percentile(levels, 0.1), high = percentile(levels, 0.9);
  for (float& level : map.level.values)
    level = high > low ? std::clamp((level - low) / (high - low), 0.0f, 1.0f) : 0.0f;
  map.slope = slopeOf(map.level, there);
  return map;
}

constexpr size_t kBins = 180;
constexpr double kDegree = 3.14159265358979 / 180;

// How much runs along each direction, by degrees.
std::array<double, kBins> ridgeDirections(const Prepared& from, const RednessMap& red) {
  LoopCoarse coarse = coarsened(flattened(from.green, from.weight, 120 / from.grid), from.weight, 2);
  for (size_t i = 0; i < coarse.sum.values.size(); ++i)
    coarse.sum.values[i] /= std::max(coarse.weight.values[i], 1.0f);
  LoopPlane& plane = coarse.sum;
  blurFinely(plane, 16 / (2 * from.grid));
  struct Ridge {
    float strength, along;
  };
  std::vector<Ridge> ridges;
  std::vector<float> strengths;
  for (int32_t y = 2; y < plane.height - 2; ++y)
    for (int32_t x = 2; x < plane.width - 2; ++x) {
      if (coarse.weight.at(x, y) <= 0) continue;
      const float a = plane.at(x + 1, y) + plane.at(x - 1, y) - 2 * plane.at(x, y);
      const float c = plane.at(x, y + 1) + plane.at(x, y - 1) - 2 * plane.at(x, y);
      const float b = 0.25f * (plane.at(x + 1, y + 1) + plane.at(x - 1, y - 1) - plane.at(x + 1, y - 1) -
                               plane.at(x - 1, y + 1));
      const float root = std::sqrt(0.25f * (a - c) * (a - c) + b * b), mean = 0.5f * (a + c);
      const float strength = -(mean - root) - std::abs(mean + root);
      if (strength <= 0) continue;
      const double level = red.level.between((2 * x + 1.0 + red.left) / red.step - 0.5,
                                             (2 * y + 1.0 + red.top) / red.step - 0.5);
      const auto share = static_cast<float>(std::clamp((level - 0.2) / 0.4, 0.0, 1.0));
      strengths.push_back(strength);
      if (share > 0)
        ridges.push_back({strength, 0.5f * std::atan2(2 * b, a - c)}), ridges.back().strength *= share;
    }
  std::array<double, kBins> counts{}, smooth{};
  if (strengths.empty()) return smooth;
  const float cap = percentile(strengths, 0.99);
  for (const Ridge& ridge : ridges) {
    const double turns = ridge.along / (kBins * kDegree);
    const auto bin = static_cast<size_t>((turns - std::floor(turns)) * kBins);
    counts[std::min(bin, kBins - 1)] += std::min(ridge.strength, cap);
  }
  for (size_t i = 0; i < kBins; ++i)
    for (int32_t d = -18; d <= 18; ++d)
      smooth[i] += counts[(i + kBins + static_cast<size_t>(d + 180) - 180) % kBins] * std::exp(-d * d / 72.0);
  return smooth;
}

Direction directionOf(const Prepared& from) {
  const RednessMap red = rednessMap(from);
  std::array<double, kBins> along = ridgeDirections(from, red);
  Direction out;
  const double steepness = std::hypot(red.slope.x, red.slope.y);
  out.strength = steepness * std::hypot(red.level.width, red.level.height);
  double sum = 0;
  for (const double a : along) sum += a;
  if (sum > 0) out.concentration = *std::max_element(along.begin(), along.end()) * kBins / sum;
  const double belief = std::clamp((out.strength - 0.7) / 0.3, 0.0, 1.0);
  const double axis = std::atan2(red.slope.y, red.slope.x) / kDegree;
  for (size_t i = 0; i < kBins; ++i) {
    const double away = std::abs(std::remainder(static_cast<double>(i) + 0.5 - axis, 180.0));
    along[i] = (along[i] + 1e-12) * std::exp(-0.5 * belief * away * away / 3600);
  }
  const auto best = static_cast<double>(std::max_element(along.begin(), along.end()) - along.begin()) + 0.5;
  out.px = std::cos(best * kDegree);
  out.py = std::sin(best * kDegree);
  if (out.px * red.slope.x + out.py * red.slope.y < 0) out.px = -out.px, out.py = -out.py;
  return out;
}

// Of a direction and its quarter turns the one whose row holds most; told is how far it leads the next.
double chooseTurn(const Prepared& from, Direction& direction, LoopScores& scores) {
  const Prepared coarse = halved(from);
  const Direction base = direction;
  std::array<std::pair<double, double>, 4> ways{
      {{base.px, base.py}, {-base.py, base.px}, {-base.px, -base.py}, {base.py, -base.px}}};
  double best = -1e9, second = -1e9;
  LoopFrame frame;
  for (const auto& [px, py] : ways) {
    turnFrame(coarse, px, py, frame);
    const double total = findRow(frame, std::span(kLoopShears).first(1), scores).total;
    if (total > best) {
      second = best;
      best = total;
      direction.px = px;
      direction.py = py;
    } else {
      second = std::max(second, total);
    }
  }
  if (best <= 0) return 0;
  return second > 0 ? best / second : 1e9;
}

// --- What is told

LoopPoint toImage(const LoopFrame& frame, const Prepared& from, double x, double y) {
  return {from.left + (frame.turn.gridX(x, y) + 0.5) * from.pixels - 0.5,
          from.top + (frame.turn.gridY(x, y) + 0.5) * from.pixels - 0.5};
}

void tellRow(const LoopFrame& frame, const Prepared& from, const LoopRow& row, NailfoldLoops& out) {
  const auto step = static_cast<size_t>(std::max(1, frame.pixels(40)));
  size_t last = 0, first = row.seen.size();
  for (size_t x = 0; x < row.seen.size(); ++x)
    if (row.seen[x]) last = x, first = std::min(first, x);
  for (size_t x = first; x < row.seen.size(); ++x)
    if (row.seen[x] && ((x - first) % step == 0 || x == last))
      out.row.push_back(toImage(frame, from, static_cast<double>(x), row.curve[x]));
}

std::vector<LoopPoint> apexesOf(const NailfoldLoops& found) {
  std::vector<LoopPoint> apexes;
  for (const NailfoldLoop& loop : found.loops) apexes.push_back(loop.apex);
  return apexes;
}

NailfoldLoops refused(std::string why) {
  NailfoldLoops out;
  out.reasons.push_back(std::move(why));
  return out;
}

// What can be said before any pixel was looked at; empty when it can be tried.
std::string objection(const CZZimage& image, double pixelSize) {
  if (image.empty()) return "there is no image";
  if (image.colourset != kColour) return "it needs a colour still: blood is told from shadow by its colour";
  if (!(pixelSize > 0)) return "it needs a scale: calibrate the image in micrometres";
  if (pixelSize > kCoarsestGrid)
    return format("a pixel of %.3g micrometres is too coarse to show loops", pixelSize);
  const double width = image.width * pixelSize / 1000, height = image.height * pixelSize / 1000;
  if (std::max(width, height) < 1 || std::min(width, height) < 0.3)
    return format("a field of %.2f x %.2f mm is too small to count loops a millimetre", width, height);
  if (width * height > kMostArea)
    return format("a field of %.1f x %.1f mm is larger than a nailfold: check the scale", width, height);
  return {};
}

constexpr const char* kByHand = "not enough loops in focus: count by hand";
// What the grid may add to a width: a loop is called giant only where it surely is, so no faint one.
constexpr double kWidthError = 4;
// The steepest step across limbs: a pair of them shows about 0.27 in focus, and 0.13 where optics of 14
// micrometres blur it, from where on loops are lost.
constexpr double kBlurred = 0.135, kSoft = 0.165;

}  // namespace

const char* nameOf(LoopVerdict verdict) {
  static constexpr const char* names[] = {"good", "low", "refused"};
  return names[static_cast<size_t>(verdict)];
}

size_t NailfoldLoops::clearLoops() const {
  return static_cast<size_t>(
      std::count_if(loops.begin(), loops.end(), [](const NailfoldLoop& l) { return l.clear; }));
}

double loopsAbout(LoopPoint centre, const NailfoldLoops& found, double pixelSize) {
  return countLoops(found.row, apexesOf(found), centre, pixelSize).centralPerMm;
}

NailfoldLoops findLoops(const CZZimage& image, const LoopRequest& request) {
  const WorkMemory memory;
  if (const std::string why = objection(image, request.pixelSize); !why.empty()) return refused(why);
  const Prepared work = prepared(image, request.pixelSize);
  if (work.magentaRanks.size() < 100) return refused("glare or clipping hides the skin");
  if (!(work.unit > 1e-5)) return refused("the picture is flat: there is nothing to count");
  if (work.magentaSpan < 0.15)
    return refused(format("%s (the skin shows no reddening behind a pale border)", kByHand));
  LoopScores scores;
  Direction direction;
  double lead = 1e9;
  if (request.distal) {
    const double size = std::hypot(request.distal->x, request.distal->y);
    if (!(size > 0)) return refused("the direction towards the nail has no length");
    direction.px = -request.distal->x / size;
    direction.py = -request.distal->y / size;
    direction.concentration = direction.strength = 2;
  } else {
    direction = directionOf(work);
    lead = chooseTurn(work, direction, scores);
  }
  LoopFrame frame;
  turnFrame(work, direction.px, direction.py, frame);
  const LoopRow row = findRow(frame, kLoopShears, scores);
  const std::vector<LoopTip> tips = loopsOfRow(frame, row);
  NailfoldLoops out;
  tellRow(frame, work, row, out);
  const LoopRowPath along(out.row);
  const double length = along.length() * request.pixelSize / 1000;
  if (direction.strength < 0.6 || lead < 1.15)
    return refused(format("%s (no side of the picture is clearly the nail's)", kByHand));
  if (direction.concentration < 1.1) return refused(format("%s (no common direction of limbs)", kByHand));
  if (length < 1) return refused(format("%s (only %.2f mm of the row can be seen)", kByHand, length));
  if (row.hiddenShare > 0.4) return refused(format("%s (glare hides the row)", kByHand));
  if (row.atEdgeShare > 0.4) return refused(format("%s (the row lies at the picture's edge)", kByHand));
  if (std::none_of(tips.begin(), tips.end(), [](const LoopTip& t) { return t.score >= kClearLoopScore; }))
    return refused(format("%s (no clear apex was found)", kByHand));
  std::vector<float> contrasts;
  for (const LoopTip& tip : tips)
    if (tip.score >= kLeastLoopScore) contrasts.push_back(tip.score);
  // Skin alone has no common direction, and nothing on it stands out.
  if (direction.concentration < 1.5 && percentile(contrasts, 0.5) < 1.8f)
    return refused(format("%s (nothing stands out from the skin)", kByHand));
  std::vector<double> sharpness;
  for (const LoopTip& tip : tips) {
    MeasuredLoop measured = measureLoop(frame, tip);
    // Grain makes faint ones steep.
    if (tip.score >= kLeastLoopScore) sharpness.push_back(measured.sharpness);
    NailfoldLoop& loop = measured.loop;
    loop.apex = toImage(frame, work, tip.x, tip.y);
    loop.score = tip.score;
    loop.clear = tip.score >= kClearLoopScore;
    loop.giant = loop.clear && loop.apexWidth > kGiantLoop + kWidthError;
    out.loops.push_back(loop);
  }
  const double sharp = percentile(sharpness, 0.5);
  if (sharp < kBlurred) return refused(format("%s (it is out of focus)", kByHand));
  out.distal = {-direction.px, -direction.py};
  out.rowLength = length;
  const std::vector<LoopPoint> apexes = apexesOf(out);
  const std::vector<double> neighbours = neighbourDistances(apexes);
  for (size_t i = 0; i < neighbours.size(); ++i)
    if (neighbours[i] >= 0) out.loops[i].neighbour = neighbours[i] * request.pixelSize;
  out.centre = along.at(along.placeOf({0.5 * image.width, 0.5 * image.height}));
  const LoopCount counted = countLoops(out.row, apexes, out.centre, request.pixelSize);
  out.avascular = counted.avascular;
  out.perMm = counted.perMm;
  out.perMmError = counted.perMmError;
  out.centralPerMm = counted.centralPerMm;
  if (sharp < kSoft) out.reasons.emplace_back("the loops are soft");
  if (length < 2) out.reasons.push_back(format("only %.2f mm of the row can be seen", length));
  const float contrast = percentile(contrasts, 0.5);
  // Faint loops come and go with what compression and a dim light leave of their colour.
  constexpr double kMostNoise = 0.3;
  if (colourNoise(frame, row) > kMostNoise * contrast)
    out.reasons.emplace_back("compression or noise hides the colour of faint loops");
  // Beside a row of dark loops, what grain makes is none of them.
  constexpr float kShareOfRow = 0.4f;
  if (const size_t before = loopsBefore(frame, row, kShareOfRow * contrast);
      before > 1 && 10 * before >= tips.size())
    out.reasons.emplace_back("loops stand before the row that was found");
  if (row.hiddenShare > 0.15) out.reasons.emplace_back("glare hides a part of the row");
  if (hiddenBefore(frame, row) > 0.25)
    out.reasons.emplace_back("the skin before the row is too bright to be seen");
  if (work.neutralShare > 0.004) out.reasons.emplace_back("a hair or dirt lies on the skin");
  if (row.stepShare < 0.5) out.reasons.emplace_back("the skin hardly reddens behind the row");
  if (out.loops.size() < 3) out.reasons.emplace_back("there are fewer than three loops");
  out.verdict = out.reasons.empty() ? LoopVerdict::Good : LoopVerdict::Low;
  return out;
}

}  // namespace tarnvisor
