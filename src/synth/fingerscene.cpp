#include "synth/fingerscene.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "base/parallel.h"
#include "synth/random.h"

namespace tarnvisor {

namespace {

constexpr uint64_t noiseStream = 1u << 28;

// The cells in the middle of a vessel go ahead of those at its wall: by so many radii.
constexpr double bow = 0.35;
constexpr double leastAbsorption = 1e-3;
constexpr int64_t mostSkinValues = 24'000'000;  // of all stages together, where two are not more

// Room for sampling between pixels, on both axes of a finger that moves along one of them.
int32_t marginOf(double reach, double across) {
  return reach > 0 || across > 0 ? static_cast<int32_t>(std::ceil(reach)) + 3 : 0;
}

// The finger's density stays as it is.
NailfoldStill canvasOf(NailfoldStill still, int32_t marginX, int32_t marginY) {
  const int32_t width = still.width + 2 * marginX;
  const int32_t height = still.height + 2 * marginY;
  const auto grown = [](int32_t count, int32_t length, int32_t from) {
    return static_cast<int32_t>((static_cast<int64_t>(std::clamp(count, 0, 256)) * length + from / 2) / from);
  };
  still.rows = grown(still.rows, still.height + marginY, still.height);
  still.capillariesPerRow = grown(still.capillariesPerRow, width, still.width);
  still.width = width;
  still.height = height;
  still.interlace = 0;
  return still;
}

std::vector<double> stagesOf(double least, double most, int64_t canvasPixels) {
  const int64_t affordable = std::clamp<int64_t>(mostSkinValues / canvasPixels, 2, 8);
  const int64_t count = std::min(affordable, static_cast<int64_t>(std::ceil((most - least) / 0.45)) + 1);
  std::vector<double> sigmas{least};
  for (int64_t i = 1; i < count; ++i) {
    // Closer where it is sharp, as there a change of focus shows most.
    const double u = static_cast<double>(i) / static_cast<double>(count - 1);
    sigmas.push_back(least + (most - least) * u * (0.5 + 0.5 * u));
  }
  return sigmas;
}

// To which capillary each place of the canvas belongs, and where along it.
struct Claims {
  Plane away;  // from the nearest vessel's wall
  Plane arc;   // along its middle line
  std::vector<int16_t> owner;

  Claims(int32_t width, int32_t height)
      : away(width, height, std::numeric_limits<float>::max()),
        arc(width, height, 0.0f),
        owner(away.values.size(), -1) {}

  void add(const std::vector<VesselPoint>& line, int16_t number, double reach) {
    double passed = 0;
    for (size_t i = 1; i < line.size(); ++i) {
      const double length = std::sqrt((line[i].x - line[i - 1].x) * (line[i].x - line[i - 1].x) +
                                      (line[i].y - line[i - 1].y) * (line[i].y - line[i - 1].y));
      addPiece(line[i - 1], line[i], passed, length, number, reach);
      passed += length;
    }
  }

 private:
  void addPiece(const VesselPoint& a, const VesselPoint& b, double passed, double length, int16_t number,
                double reach) {
    const double wide = std::max(a.radius, b.radius) + reach;
    const auto first = [](double v) { return std::max(0, static_cast<int32_t>(std::ceil(v))); };
    const auto last = [](double v, int32_t end) {
      return std::min(end - 1, static_cast<int32_t>(std::floor(v)));
    };
    const double dx = b.x - a.x;
    const double dy = b.y - a.y;
    const double length2 = std::max(1e-12, length * length);
    for (int32_t y = first(std::min(a.y, b.y) - wide); y <= last(std::max(a.y, b.y) + wide, away.height); ++y)
      for (int32_t x = first(std::min(a.x, b.x) - wide); x <= last(std::max(a.x, b.x) + wide, away.width);
           ++x) {
        const double t = std::clamp(((x - a.x) * dx + (y - a.y) * dy) / length2, 0.0, 1.0);
        const double ex = x - (a.x + t * dx);
        const double ey = y - (a.y + t * dy);
        const double radius = a.radius + t * (b.radius - a.radius);
        const double beside2 = ex * ex + ey * ey;
        const double distance = std::sqrt(beside2) - radius;
        float& nearest = away.row(y)[x];
        if (distance > reach || !(distance < nearest)) continue;
        nearest = static_cast<float>(distance);
        // Seen at the wall: cells that have come less far.
        const double behind = bow * radius * std::min(1.0, beside2 / (radius * radius));
        arc.row(y)[x] = static_cast<float>(passed + t * length + behind);
        owner[static_cast<size_t>(y) * static_cast<size_t>(away.width) + static_cast<size_t>(x)] = number;
      }
  }
};

// The distal row lies as high in the frame as in a still: the canvas has no capillaries above it.
std::vector<PlacedCapillary> capillariesOn(NailfoldStill canvas, int32_t marginY) {
  canvas.height -= marginY;
  std::vector<PlacedCapillary> placed = layOutCapillaries(canvas);
  for (PlacedCapillary& capillary : placed) capillary.vessel.moveBy(0, marginY);
  return placed;
}

}  // namespace

FingerScene::FingerScene(const FingerVideoSettings& settings, const FingerCourse& course)
    : marginX(marginOf(course.reachX(), course.reachY())),
      marginY(marginOf(course.reachY(), course.reachX())),
      canvas(canvasOf(settings.still, marginX, marginY)),
      capillaries(capillariesOn(canvas, marginY)),
      dust(scatterDust(settings.still)),
      window(settings.still.width, settings.still.height, 1.0f) {
  stages = stagesOf(settings.still.blurRadius, course.largestBlur(),
                    static_cast<int64_t>(canvas.width) * canvas.height);
  const Plane sharp = skinOf(canvas);
  for (const double sigma : stages) {
    skin.push_back(sharp);
    blur(skin.back(), sigma);
  }
  findBlood();
  lightWindow(settings.still);
  Random random(settings.still.seed, noiseStream);
  noise.resize(noiseLength + static_cast<size_t>(settings.still.width) * (settings.still.colour ? 3 : 1));
  for (float& value : noise) value = static_cast<float>(settings.still.noiseSigma * random.normal() + 0.5);
}

void FingerScene::lightWindow(const NailfoldStill& still) {
  drawDust(still, dust, window);
  parallelFor(still.height, 32, [&](int64_t begin, int64_t end) {
    for (auto y = static_cast<int32_t>(begin); y < end; ++y)
      for (int32_t x = 0; x < still.width; ++x)
        window.row(y)[x] *= static_cast<float>(still.brightness * lightAt(still, x, y));
  });
}

void FingerScene::findBlood() {
  Claims claims(canvas.width, canvas.height);
  for (size_t i = 0; i < capillaries.size(); ++i)
    claims.add(capillaries[i].vessel.course(), static_cast<int16_t>(i), 3.5 * stages.back() + 1.0);
  Plane sharp(canvas.width, canvas.height, 0.0f);
  for (const PlacedCapillary& capillary : capillaries) capillary.vessel.draw(sharp);
  std::vector<Plane> seen;
  for (const double sigma : stages) {
    seen.push_back(sharp);
    blur(seen.back(), sigma);
  }
  const std::vector<size_t> places = listRuns(claims.owner, seen.front(), seen.back());
  for (const Plane& plane : seen) {
    std::vector<float>& stage = absorption.emplace_back();
    for (const size_t place : places) stage.push_back(plane.values[place]);
  }
  for (const size_t place : places) arc.push_back(claims.arc.values[place]);
  measurePatterns();
}

std::vector<size_t> FingerScene::listRuns(std::span<const int16_t> owners, const Plane& sharpest,
                                          const Plane& widest) {
  std::vector<size_t> places;
  size_t place = 0;
  for (int32_t y = 0; y < canvas.height; ++y) {
    firstRun.push_back(runs.size());
    for (int32_t x = 0; x < canvas.width; ++x, ++place) {
      const int32_t owner = owners[place];
      if (owner < 0 || std::max(widest.values[place], sharpest.values[place]) < leastAbsorption) continue;
      const bool goesOn = runs.size() > firstRun.back() && runs.back().capillary == owner &&
                          runs.back().x + runs.back().count == x;
      if (!goesOn) runs.push_back({x, 0, owner, places.size()});
      ++runs.back().count;
      places.push_back(place);
    }
  }
  firstRun.push_back(runs.size());
  return places;
}

// From pixels along each line to samples of its capillary's pattern.
void FingerScene::measurePatterns() {
  struct Range {
    float low = std::numeric_limits<float>::max(), high = 0;
  };
  std::vector<Range> ranges(capillaries.size());
  const auto arcsOf = [&](const BloodRun& run) {
    return std::span(arc).subspan(run.first, static_cast<size_t>(run.count));
  };
  for (const BloodRun& run : runs)
    for (const float along : arcsOf(run)) {
      Range& range = ranges[static_cast<size_t>(run.capillary)];
      range.low = std::min(range.low, along);
      range.high = std::max(range.high, along);
    }
  for (const Range& range : ranges) {
    PatternSpan span{0, patternSamples, 0};
    if (range.low <= range.high) {  // a vessel may be too faint to be seen at all
      span.firstArc = std::floor(range.low);
      span.count = static_cast<size_t>(std::ceil((range.high - span.firstArc) * samplesPerPixel)) + 2;
    }
    patternSamples += span.count;
    patterns.push_back(span);
  }
  for (const BloodRun& run : runs)
    for (float& along : arcsOf(run))
      along = static_cast<float>((along - patterns[static_cast<size_t>(run.capillary)].firstArc) *
                                 samplesPerPixel);
}

FingerScene::Focus FingerScene::focusOf(double sigma) const {
  size_t stage = 0;
  while (stage + 2 < stages.size() && stages[stage + 1] <= sigma) ++stage;
  if (stage + 1 >= stages.size()) return {stage, 0.0f};
  // Mixed so that the variance is right.
  const double low = stages[stage] * stages[stage];
  const double high = stages[stage + 1] * stages[stage + 1];
  return {stage, static_cast<float>(std::clamp((sigma * sigma - low) / (high - low), 0.0, 1.0))};
}

std::span<const BloodRun> FingerScene::runsOf(int32_t canvasRow) const {
  const auto row = static_cast<size_t>(canvasRow);
  return std::span(runs).subspan(firstRun[row], firstRun[row + 1] - firstRun[row]);
}

}  // namespace tarnvisor
