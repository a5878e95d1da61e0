#include "simulatedfinger.h"

#include <algorithm>
#include <cmath>

#include "synth/random.h"

namespace tarnvisor {

namespace {

enum Stream : uint64_t { awayStream = 1u << 29, blurredStream };

constexpr double ticksPerSecond = kMostFingerFrames;
constexpr int64_t mostTicks = 2'000'000'000;  // more than five hours; then the finger starts anew
constexpr double rampSeconds = 0.4;           // that it takes to leave, and to come back
constexpr float stray = 0.04f;                // light that comes back where there is no skin, of skin's
constexpr int32_t softEdge = 40;              // rows over which the finger ends

// As dense with capillaries on any sensor.
FingerVideoSettings fingerOf(const SimulatedCameraSettings& set) {
  FingerVideoSettings finger;
  finger.still = {.width = set.sensor.width,
                  .height = set.sensor.height,
                  .rows = std::max(2, set.sensor.height / 160),
                  .capillariesPerRow = std::max(2, set.sensor.width / 128),
                  .loopWidth = 46.0,
                  .loopLength = 190.0,
                  .vesselWidth = 14.0,
                  .texture = 1.3,
                  .brightness = 1.0,
                  .seed = set.seed};
  finger.framesPerSecond = ticksPerSecond;
  finger.movement = set.movement;
  finger.flow = set.flow;
  finger.focusDrift = set.focusDrift;
  finger.flicker = set.flicker;
  return withinRange(finger);
}

bool happens(const FingerSpells& spells) { return spells.perMinute > 0 || !spells.given.empty(); }

// As far out of focus as drift and spells together lead.
FingerVideoSettings widest(FingerVideoSettings finger, const SimulatedCameraSettings& set) {
  if (happens(set.blurred)) finger.focusDrift = std::min(8.0, std::hypot(finger.focusDrift, set.spellBlur));
  return finger;
}

// 0 before and after, 1 within.
double ramp(double since, double seconds) {
  const double ramps = std::min(rampSeconds, seconds / 3);
  const double inside = std::min(since, seconds - since);
  return inside > 0 ? smoothStep(std::min(1.0, inside / ramps)) : 0.0;
}

}  // namespace

SimulatedFinger::SimulatedFinger(const SimulatedCameraSettings& settings)
    : set(settings),
      finger(fingerOf(settings)),
      course(finger),
      scene(widest(finger, settings), FingerCourse(widest(finger, settings))),
      blood(finger, scene),
      rows(scene),
      patterns(scene.patternSamples) {}

double SimulatedFinger::depth(const FingerSpells& spells, uint64_t stream, double seconds) const {
  double deepest = 0;
  for (const FingerSpells::Spell& spell : spells.given)
    deepest = std::max(deepest, ramp(seconds - spell.begin, spell.seconds));
  if (!(spells.perMinute > 0)) return deepest;
  // One in each interval; the last interval's may not be over.
  const double interval = 60 / spells.perMinute;
  const double now = std::floor(seconds / interval);
  for (double i = std::max(0.0, now - 1); i <= now; ++i) {
    Random random(scattered(set.seed) + static_cast<uint64_t>(i), stream);
    const double begin = (i + random.between(0.2, 0.8)) * interval;
    deepest = std::max(deepest, ramp(seconds - begin, spells.seconds));
  }
  return deepest;
}

SimulatedFinger::Moment SimulatedFinger::momentAt(double seconds) const {
  Moment moment;
  moment.tick = static_cast<int32_t>(std::llround(seconds * ticksPerSecond) % mostTicks);
  FrameTruth& skin = moment.skin = course.at(moment.tick);
  skin.blur = std::hypot(skin.blur, set.spellBlur * depth(set.blurred, blurredStream, skin.timeSeconds));
  // Whole rows, so that skin at rest stays as sharp as it is.
  const double rowsAway = depth(set.away, awayStream, skin.timeSeconds) * scene.window.height;
  moment.edge = static_cast<int32_t>(std::lround(rowsAway));
  moment.tissue = 1.0 - static_cast<double>(moment.edge) / scene.window.height;
  skin.dy += moment.edge;
  return moment;
}

SimulatedTruth SimulatedFinger::truthAt(double seconds) const {
  const Moment moment = momentAt(seconds);
  SimulatedTruth truth;
  static_cast<FrameTruth&>(truth) = moment.skin;
  truth.velocities = blood.velocities(truth.velocity);
  truth.tissue = moment.tissue;
  return truth;
}

void SimulatedFinger::begin(double seconds) {
  shown = momentAt(seconds);
  const double distance = course.distance(shown.tick);
  for (size_t i = 0; i < scene.capillaries.size(); ++i) blood.darken(i, distance, shown.skin.blur, patterns);
  rows.begin(shown.skin, patterns);
}

void SimulatedFinger::light(int32_t row, std::span<float> out) {
  const float* window = scene.window.row(row);
  const auto lit = static_cast<float>(shown.skin.light);
  if (row < shown.edge) {
    for (size_t x = 0; x < out.size(); ++x) out[x] = lit * stray * window[x];
    return;
  }
  rows.moveTo(row);
  const float* skin = rows.skin();
  const float* red = rows.blood();
  const auto contrast = static_cast<float>(finger.still.contrast);
  const int32_t soft = std::min(softEdge, shown.edge);
  const float there =
      row - shown.edge < soft ? static_cast<float>(row - shown.edge) / static_cast<float>(soft) : 1.0f;
  const float rest = stray * (1.0f - there);
  for (size_t x = 0; x < out.size(); ++x)
    out[x] = lit * window[x] * (rest + there * skin[x] * (1.0f - contrast * red[x]));
}

}  // namespace tarnvisor
