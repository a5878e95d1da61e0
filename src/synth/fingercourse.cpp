#include "synth/fingercourse.h"

#include <algorithm>
#include <cmath>

#include "synth/heartbeat.h"
#include "synth/random.h"

namespace tarnvisor {

namespace {

enum Stream : uint64_t { tremorStream = 1u << 26, jumpStream, flickerStream };

constexpr double furthestJump = 200.0;

// Three swings that never come back together, of the tremor's frequency and amplitude.
struct Swing {
  double frequency, share;
};
constexpr std::array swings{Swing{1.0, 0.5}, Swing{0.83, 0.3}, Swing{1.21, 0.2}};

// The way a beat pushes the skin; of length 1.
constexpr double beatX = 0.6;
constexpr double beatY = -0.8;

constexpr double flickerHertz = 11.0;  // what is left of mains light against the camera's rate
constexpr double flickerSwing = 0.7;   // the rest comes frame by frame

double within(double value, double low, double high) {
  return value >= low ? std::min(value, high) : low;  // NaN becomes low
}

double eitherWay(double value, double most) { return std::isnan(value) ? 0.0 : within(value, -most, most); }

// A way gone to and fro between -reach and reach, from 0 on.
double folded(double way, double reach) {
  if (!(reach > 0)) return 0;
  const double turns = (way / reach + 1.0) * 0.25;
  const double t = 4.0 * (turns - std::floor(turns));  // 0..4: 0 at -reach, 2 at reach
  return reach * (t < 2.0 ? t - 1.0 : 3.0 - t);
}

// Out of focus and back, -1..1, 0 at the beginning.
double slowly(double seconds) { return 0.6 * sineOfTurns(seconds / 9.0) + 0.4 * sineOfTurns(seconds / 3.7); }

}  // namespace

FingerVideoSettings withinRange(FingerVideoSettings s) {
  s.still = withinRange(s.still);
  s.still.blurRadius = std::min(s.still.blurRadius, 8.0);
  s.framesPerSecond = within(s.framesPerSecond, 1, kMostFingerFrames);
  s.frames = std::max(s.frames, 1);
  FingerMovement& m = s.movement;
  m.tremor = within(m.tremor, 0, 20);
  m.tremorHz = within(m.tremorHz, 0, 50);
  m.pulse = within(m.pulse, 0, 20);
  m.driftX = eitherWay(m.driftX, 200);
  m.driftY = eitherWay(m.driftY, 200);
  m.driftReach = within(m.driftReach, 0, 200);
  m.jumpsPerMinute = within(m.jumpsPerMinute, 0, 600);
  m.jumpSize = within(m.jumpSize, 0, 100);
  s.flow.velocity = within(s.flow.velocity, 0, 20000);
  s.flow.pulsatility = within(s.flow.pulsatility, 0, 2);
  s.flow.heartRate = within(s.flow.heartRate, 20, 300);
  s.flow.gapShare = within(s.flow.gapShare, 0, 0.95);
  s.flow.columnLength = within(s.flow.columnLength, 5, 2000);
  s.flow.spread = within(s.flow.spread, 0, 0.9);
  s.focusDrift = within(s.focusDrift, 0, 8);
  s.flicker = within(s.flicker, 0, 1);
  return s;
}

FingerCourse::FingerCourse(const FingerVideoSettings& settings) : set(settings) {
  Random random(set.still.seed, tremorStream);
  for (auto& axis : tremorPhases)
    for (double& phase : axis) phase = random.unit();
  flickerPhase = random.unit();

  const FingerMovement& m = set.movement;
  places = m.jumps;
  std::stable_sort(places.begin(), places.end(),
                   [](const auto& a, const auto& b) { return a.frame < b.frame; });
  double x = 0, y = 0, furthestX = 0, furthestY = 0;
  for (FingerMovement::Jump& jump : places) {
    // Frame 0 is where the skin lies by definition: what happens up to it moves nothing.
    const bool counts = jump.frame > 0;
    x = jump.dx = eitherWay(x + (counts ? eitherWay(jump.dx, 2 * furthestJump) : 0.0), furthestJump);
    y = jump.dy = eitherWay(y + (counts ? eitherWay(jump.dy, 2 * furthestJump) : 0.0), furthestJump);
    furthestX = std::max(furthestX, std::abs(x));
    furthestY = std::max(furthestY, std::abs(y));
  }
  const double byChance = m.jumpsPerMinute > 0 ? m.jumpSize : 0.0;
  reach[0] = 2 * m.tremor + beatX * m.pulse + (m.driftX != 0 ? m.driftReach : 0.0) + furthestX + byChance;
  reach[1] = 2 * m.tremor - beatY * m.pulse + (m.driftY != 0 ? m.driftReach : 0.0) + furthestY + byChance;
}

double FingerCourse::beats(int32_t frame) const {
  return frame * (set.flow.heartRate / (60.0 * set.framesPerSecond));
}

double FingerCourse::tremor(size_t axis, double seconds) const {
  double sway = 0;
  for (size_t i = 0; i < swings.size(); ++i) {
    const double phase = tremorPhases[axis][i];
    const double turns = swings[i].frequency * set.movement.tremorHz * seconds + phase;
    sway += swings[i].share * (sineOfTurns(turns) - sineOfTurns(phase));
  }
  return set.movement.tremor * sway;
}

FingerCourse::Place FingerCourse::jumped(int32_t frame) const {
  const auto later =
      std::upper_bound(places.begin(), places.end(), frame,
                       [](int32_t f, const FingerMovement::Jump& jump) { return f < jump.frame; });
  if (later == places.begin()) return {};
  return {std::prev(later)->dx, std::prev(later)->dy};
}

FingerCourse::Place FingerCourse::chanceTarget(int64_t interval) const {
  if (interval < 0) return {};
  Random random(scattered(set.still.seed) + static_cast<uint64_t>(interval), jumpStream);
  random.next();  // the moment of the jump
  const double x = set.movement.jumpSize * random.between(-1, 1);
  return {x, set.movement.jumpSize * random.between(-1, 1)};
}

FingerCourse::Place FingerCourse::jumpedByChance(double seconds) const {
  if (!(set.movement.jumpsPerMinute > 0)) return {};
  // One jump in each interval.
  const double intervals = seconds * set.movement.jumpsPerMinute / 60.0;
  const auto interval = static_cast<int64_t>(intervals);
  Random random(scattered(set.still.seed) + static_cast<uint64_t>(interval), jumpStream);
  const double moment = static_cast<double>(interval) + random.between(0.2, 0.8);
  return chanceTarget(intervals >= moment ? interval : interval - 1);
}

double FingerCourse::light(int32_t frame, double seconds) const {
  Random random(scattered(set.still.seed) + static_cast<uint64_t>(frame), flickerStream);
  const double swing = flickerSwing * sineOfTurns(flickerHertz * seconds + flickerPhase);
  return 1.0 + set.flicker * (swing + (1.0 - flickerSwing) * random.between(-1, 1));
}

FrameTruth FingerCourse::at(int32_t asked) const {
  const int32_t frame = std::max(asked, 0);
  const FingerMovement& m = set.movement;
  FrameTruth truth;
  truth.frame = frame;
  const double seconds = truth.timeSeconds = frame / set.framesPerSecond;
  const double beat = beats(frame);
  const double push = beatShape(beat - std::floor(beat));
  const Place jump = jumped(frame);
  const Place chance = jumpedByChance(seconds);
  truth.dx = tremor(0, seconds) + beatX * m.pulse * push + folded(m.driftX * seconds, m.driftReach) + jump.x +
             chance.x;
  truth.dy = tremor(1, seconds) + beatY * m.pulse * push + folded(m.driftY * seconds, m.driftReach) + jump.y +
             chance.y;
  truth.light = light(frame, seconds);
  const double defocus = set.focusDrift * slowly(seconds);
  truth.blur = std::sqrt(set.still.blurRadius * set.still.blurRadius + defocus * defocus);
  truth.velocity = set.flow.velocity * (1.0 + set.flow.pulsatility * (push - kMeanOfBeat));
  return truth;
}

double FingerCourse::distance(int32_t frame) const {
  // A whole beat leads as far as the mean velocity does.
  const double beat = beats(frame);
  const double phase = beat - std::floor(beat);
  const double ahead = set.flow.pulsatility * (beatArea(phase) - kMeanOfBeat * phase);
  return set.flow.velocity * (frame / set.framesPerSecond + ahead * 60.0 / set.flow.heartRate);
}

double FingerCourse::largestBlur() const {
  return std::sqrt(set.still.blurRadius * set.still.blurRadius + set.focusDrift * set.focusDrift);
}

}  // namespace tarnvisor
