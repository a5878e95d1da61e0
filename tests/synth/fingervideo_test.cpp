#include "synth/fingervideo.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "base/numbers.h"
#include "base/parallel.h"
#include "base/text.h"

namespace tarnvisor {
namespace {

using Settings = FingerVideo::Settings;

Settings still(Settings settings = flowingFinger(1)) {
  settings.movement = {};
  settings.focusDrift = settings.flicker = settings.flow.velocity = 0;
  settings.still.dustSpecks = 0;
  return settings;
}

std::unique_ptr<CZZimage> shown(const FingerVideo& video, int32_t frame) {
  auto image = std::make_unique<CZZimage>();
  EXPECT_TRUE(video.render(frame, *image));
  return image;
}

std::vector<uint8_t> bytesOf(const CZZimage& image) {
  std::vector<uint8_t> bytes;
  for (int32_t y = 0; y < image.height; ++y)
    bytes.insert(bytes.end(), image.row(y), image.row(y) + image.rowBytes);
  return bytes;
}

double levelAt(const CZZimage& image, double x, double y) {
  const auto left = static_cast<int32_t>(x), top = static_cast<int32_t>(y);
  const double tx = x - left, ty = y - top;
  const uint8_t* upper = image.row(top) + left;
  const uint8_t* lower = image.row(top + 1) + left;
  return (1 - ty) * ((1 - tx) * upper[0] + tx * upper[1]) + ty * ((1 - tx) * lower[0] + tx * lower[1]);
}

// Levels along a capillary's middle line, pixel by pixel; a row for each frame, less the mean of all frames.
std::vector<std::vector<double>> kymograph(const FingerVideo& video, size_t capillary, int32_t frames) {
  const FingerCapillary& c = video.capillaries()[capillary];
  std::vector<std::vector<double>> rows;
  for (int32_t frame = 0; frame < frames; ++frame) {
    const auto image = shown(video, frame);
    std::vector<double>& row = rows.emplace_back();
    size_t piece = 1;
    for (double s = 0; s < c.arc.back(); ++s) {
      while (c.arc[piece] <= s) ++piece;
      const double t = (s - c.arc[piece - 1]) / (c.arc[piece] - c.arc[piece - 1]);
      const VesselPoint &a = c.line[piece - 1], &b = c.line[piece];
      row.push_back(levelAt(*image, a.x + t * (b.x - a.x), a.y + t * (b.y - a.y)));
    }
  }
  for (size_t s = 0; s < rows[0].size(); ++s) {
    double mean = 0;
    for (const auto& row : rows) mean += row[s] / frames;
    for (auto& row : rows) row[s] -= mean;
  }
  return rows;
}

// How far b lies ahead of a: the greatest correlation over 0..most, between pixels by a parabola.
double shiftBetween(const std::vector<double>& a, const std::vector<double>& b, size_t most) {
  const auto likeness = [&](size_t shift) {
    double product = 0, squares = 1;
    for (size_t s = 0; s + shift < a.size(); ++s) {
      product += a[s] * b[s + shift];
      squares += a[s] * a[s] + b[s + shift] * b[s + shift];
    }
    return product / squares;
  };
  size_t best = 0;
  for (size_t shift = 1; shift < most; ++shift)
    if (likeness(shift) > likeness(best)) best = shift;
  if (best == 0) return 0;
  const double before = likeness(best - 1), at = likeness(best), after = likeness(best + 1);
  return static_cast<double>(best) + 0.5 * (before - after) / (before - 2 * at + after);
}

// The shift from frame 0 at which a frame fits best: over `around` plus or minus 6 pixels.
Point registered(const CZZimage& frame, const CZZimage& first, Point around) {
  const Rect middle{80, 60, frame.width - 80, frame.height - 60};
  Point best;
  double least = std::numeric_limits<double>::max();
  for (int32_t dy = around.y - 6; dy <= around.y + 6; ++dy)
    for (int32_t dx = around.x - 6; dx <= around.x + 6; ++dx) {
      const auto fit = frame.sumSquaredDifference(first, middle, dx, dy);
      if (fit.pixels == 0 || fit.sum >= least) continue;
      least = fit.sum;
      best = {dx, dy};
    }
  return best;
}

TEST(FingerVideo, MovesTheCellsOfEachLoopAtItsVelocity) {
  for (const double velocity : {120.0, 400.0, 900.0}) {
    Settings settings = flowingFinger(3);
    settings.flow.velocity = velocity;
    const FingerVideo video(settings);
    double mean = 0;
    for (size_t i = 0; i < video.capillaries().size(); ++i) {
      const double wanted = video.capillaries()[i].velocity;
      mean += wanted / static_cast<double>(video.capillaries().size());
      EXPECT_NEAR(wanted, velocity, 0.2501 * velocity);
      if (!video.capillaries()[i].hairpin || i >= 5) continue;
      const auto rows = kymograph(video, i, 200);
      // Frames between which the cells have gone far enough to tell 3 % of it.
      const auto lag = static_cast<size_t>(std::max(1.0, 360 / velocity));
      const auto most = static_cast<size_t>(1.6 * static_cast<double>(lag) * wanted / 60);
      double found = 0;
      for (size_t k = lag; k < rows.size(); ++k) found += shiftBetween(rows[k - lag], rows[k], most);
      found *= 60 / static_cast<double>(lag * (rows.size() - lag));
      EXPECT_NEAR(found, wanted, 0.03 * wanted) << "capillary " << i;
    }
    EXPECT_NEAR(mean, velocity, 1e-9 * velocity);
  }
}

TEST(FingerVideo, PulsesWithTheHeart) {
  for (const double heartRate : {60.0, 105.0}) {
    Settings settings = pulsingFinger(2);
    settings.flow.heartRate = heartRate;
    settings.flow.velocity = 500;
    const FingerVideo video(settings);
    const auto rows = kymograph(video, 1, 300);
    double found = 0, truth = 0, error = 0, previous = 0;
    std::vector<int32_t> rises;
    for (int32_t k = 1; k < 300; ++k) {
      const double shift =
          60 * shiftBetween(rows[static_cast<size_t>(k - 1)], rows[static_cast<size_t>(k)], 26);
      const double wanted = 0.5 * (video.truthOf(k - 1).velocities[1] + video.truthOf(k).velocities[1]);
      found += shift;
      truth += wanted;
      error += std::abs(shift - wanted) / 299;
      const double middle = video.capillaries()[1].velocity * 1.15;
      if (previous > 0 && previous < middle && shift >= middle && (rises.empty() || k - rises.back() > 10))
        rises.push_back(k);
      previous = shift;
    }
    EXPECT_NEAR(found / truth, 1, 0.03);
    EXPECT_LT(error, 25);
    ASSERT_GE(rises.size(), 4u);
    const double beats = static_cast<double>(rises.size() - 1);
    EXPECT_NEAR(beats * 3600 / (rises.back() - rises.front()), heartRate, 0.02 * heartRate);
  }
}

TEST(FingerVideo, HasAMeanVelocityAndAPulsatilityAsAskedFor) {
  Settings settings = pulsingFinger();
  settings.framesPerSecond = 1000;
  settings.frames = 10000;  // 12 beats
  settings.flow.pulsatility = 1.5;
  const FingerVideo video(settings);
  double sum = 0, least = 1e9, most = 0;
  for (int32_t k = 0; k < 10000; ++k) {
    const double v = video.truthOf(k).velocity;
    sum += v / 10000;
    least = std::min(least, v);
    most = std::max(most, v);
  }
  EXPECT_NEAR(sum, 400, 0.1);
  EXPECT_NEAR((most - least) / 400, 1.5, 0.001);
}

TEST(FingerVideo, ShowsTheShareOfGapsAskedFor) {
  for (const double share : {0.0, 0.2, 0.5}) {
    Settings settings = flowingFinger(4);
    settings.flow.gapShare = share;
    settings.flow.columnLength = 60;
    settings.still.noiseSigma = settings.still.plexus = settings.still.texture = 0;
    const FingerVideo video(settings);
    // At the apex, which is near enough to the surface to be dark with every column.
    const TrueCapillary& apex = video.truth().capillaries[1];
    double light = 0;
    for (int32_t k = 0; k < 300; ++k) light += levelAt(*shown(video, k), apex.apexX, apex.apexY) > 128;
    EXPECT_NEAR(light / 300, share, share > 0 ? 0.07 : 0);
  }
}

TEST(FingerVideo, MovesTheSkinAsItsTableSays) {
  const auto moved = [](auto set) {
    Settings settings = still();
    set(settings.movement);
    return settings;
  };
  Settings shaking = shakingFinger(1);
  shaking.still.dustSpecks = 0;  // which stays, and would hold back whoever compares
  const struct {
    const char* name;
    Settings settings;
    double furthest;  // at least this far in the time
  } cases[] = {
      {"rest", still(), 0},
      {"tremor", moved([](FingerMovement& m) { m.tremor = 4; }), 3},
      {"pulse", moved([](FingerMovement& m) { m.pulse = 9; }), 8.9},
      {"drift", moved([](FingerMovement& m) { m.driftX = 9, m.driftY = -5, m.driftReach = 12; }), 13},
      {"jumps", moved([](FingerMovement& m) {
         m.jumps = {{150, 3, 9.25}, {100, 31, -20.5}};
       }),
       35},
      {"chance", moved([](FingerMovement& m) { m.jumpsPerMinute = 80, m.jumpSize = 30; }), 20},
      {"all", shaking, 10},
  };
  for (const auto& [name, settings, furthest] : cases) {
    const FingerVideo video(settings);
    const auto first = shown(video, 0);
    EXPECT_TRUE(video.truthOf(0).dx == 0 && video.truthOf(0).dy == 0);
    double way = 0;
    for (const int32_t k : {7, 8, 60, 99, 100, 149, 150, 203, 299}) {
      const FrameTruth truth = video.truthOf(k);
      const auto image = shown(video, k);
      image->multiply({}, video.truthOf(0).light / truth.light);
      const Point found = registered(*image, *first, {truncated(truth.dx), truncated(truth.dy)});
      EXPECT_NEAR(found.x, truth.dx, 1.0) << name << k;
      EXPECT_NEAR(found.y, truth.dy, 1.0) << name << k;
    }
    for (int32_t k = 0; k < 300; ++k)
      way = std::max(way, std::hypot(video.truthOf(k).dx, video.truthOf(k).dy));
    EXPECT_GE(way, furthest) << name;
    EXPECT_TRUE(way == 0 || furthest > 0) << name;
  }
  const FingerVideo jumping(cases[4].settings);
  for (const auto& [frame, dx, dy] : {std::tuple{99, 0.0, 0.0}, {100, 31.0, -20.5}, {150, 34.0, -11.25}}) {
    EXPECT_EQ(jumping.truthOf(frame).dx, dx);
    EXPECT_EQ(jumping.truthOf(frame).dy, dy);
  }
}

TEST(FingerVideo, KeepsDustOnTheWindowWhileTheSkinMoves) {
  Settings settings = still();
  settings.movement.jumps = {{1, 24, -13}};
  settings.still.dustSpecks = 12;
  const FingerVideo dusty(settings);
  settings.still.dustSpecks = 0;
  const FingerVideo clean(settings);
  const auto taken = [&](int32_t frame) {
    std::vector<double> shares;
    const auto with = shown(dusty, frame), without = shown(clean, frame);
    for (const DustSpeck& speck : dusty.truth().dust)
      if (speck.x < 639 && speck.y < 479)
        shares.push_back(1 - levelAt(*with, speck.x, speck.y) / levelAt(*without, speck.x, speck.y));
    return shares;
  };
  const auto before = taken(0), after = taken(1);
  ASSERT_GE(before.size(), 10u);
  for (size_t i = 0; i < before.size(); ++i) {
    EXPECT_GT(before[i], 0.1);
    EXPECT_NEAR(after[i], before[i], 0.03);
  }
}

TEST(FingerVideo, FlickersWithItsLightAndLosesItsFocus) {
  Settings settings = still();
  settings.flicker = 0.2;
  settings.focusDrift = 3;
  settings.still.noiseSigma = 0;
  const FingerVideo video(settings);
  const auto first = shown(video, 0);
  const double level = first->meanLevel({}) / video.truthOf(0).light;
  double sharpest = 1.4, dimmest = 1;
  for (int32_t k = 0; k < 300; k += 13) {
    const auto image = shown(video, k);
    const FrameTruth truth = video.truthOf(k);
    EXPECT_NEAR(image->meanLevel({}) / truth.light, level, 0.5);
    // Against a still-standing finger that is made with that focus.
    Settings alike = settings;
    alike.focusDrift = 0;
    alike.still.blurRadius = truth.blur;
    const auto peer = shown(FingerVideo(alike), k);
    EXPECT_NEAR(image->gradientEnergy({}) / peer->gradientEnergy({}), 1, 0.1) << truth.blur;
    sharpest = std::max(sharpest, truth.blur);
    dimmest = std::min(dimmest, truth.light);
  }
  EXPECT_GT(sharpest, 2.5);
  EXPECT_LT(dimmest, 0.86);
}

TEST(FingerVideo, AtRestAndWithoutGapsIsTheStill) {
  for (const bool colour : {false, true}) {
    Settings settings = still();
    settings.flow.gapShare = 0;
    settings.still.noiseSigma = 0;
    settings.still.colour = colour;
    const FingerVideo video(settings);
    NailfoldTruth truth;
    const auto peer = renderNailfold(settings.still, truth);
    const auto made = bytesOf(*shown(video, 5)), wanted = bytesOf(*peer);
    ASSERT_EQ(made.size(), wanted.size());
    int most = 0, apart = 0;
    for (size_t i = 0; i < made.size(); ++i) {
      most = std::max(most, std::abs(made[i] - wanted[i]));
      apart += std::abs(made[i] - wanted[i]) > 1;
    }
    EXPECT_LT(most, 20);  // the grain of the columns
    EXPECT_LT(apart, static_cast<int>(made.size() / 15));
    ASSERT_EQ(video.truth().capillaries.size(), truth.capillaries.size());
    EXPECT_EQ(video.truth().capillaries[2].apexX, truth.capillaries[2].apexX);
  }
}

TEST(FingerVideo, GivesTheSamePixelsInAnyOrderAndWithAnyNumberOfThreads) {
  Settings settings = shakingFinger(6);
  settings.frames = std::numeric_limits<int32_t>::max();
  const int32_t frames[] = {0, 131, 4, 2147483646, 130};
  std::vector<std::vector<uint8_t>> alone;
  setParallelThreads(1);
  const FingerVideo one(settings);
  for (const int32_t k : frames) alone.push_back(bytesOf(*shown(one, k)));
  setParallelThreads(3);
  const FingerVideo other(settings);
  for (size_t i = std::size(frames); i-- > 0;) EXPECT_EQ(bytesOf(*shown(other, frames[i])), alone[i]);
  setParallelThreads(0);
  EXPECT_NE(alone[1], alone[4]);
  uint64_t hash = 14695981039346656037ULL;  // FNV-1a; frozen: another value is another picture
  for (const auto& bytes : alone)
    for (const uint8_t byte : bytes) hash = (hash ^ byte) * 1099511628211ULL;
  EXPECT_EQ(hash, 13638719538139801783ULL);
}

TEST(FingerVideo, AlternatesTheFieldsOfTheFrames) {
  Settings settings = shakingFinger(8);
  settings.still.height = 301;
  const FingerVideo whole(settings);
  settings.still.interlace = 2;
  const FingerVideo fields(settings);
  for (const int32_t k : {0, 1, 96, 97}) {
    const auto frame = shown(whole, k), field = shown(fields, k);
    EXPECT_EQ(field->interlace, 1 + k % 2);
    EXPECT_EQ(field->frameNumber, k);
    EXPECT_EQ(frame->interlace, 0);
    ASSERT_EQ(field->height, 150);
    for (int32_t y = 0; y < 150; ++y)
      ASSERT_EQ(0, std::memcmp(field->row(y), frame->row(2 * y + k % 2), 640)) << k << " row " << y;
  }
  EXPECT_EQ(fields.truthTable(), whole.truthTable());
}

TEST(FingerVideo, WritesItsTruthDown) {
  Settings settings = shakingFinger(1);
  settings.frames = 97;
  const FingerVideo video(settings);
  const auto lines = split(video.truthTable(), '\n');
  ASSERT_EQ(lines.size(), 99u);  // header, frames, and nothing after the last line's end
  EXPECT_EQ(lines[0], "frame,time (s),dx (pixels),dy (pixels),light,blur (pixels),velocity (um/s)");
  const FrameTruth truth = video.truthOf(96);
  const auto cells = split(lines[97], ',');
  const double wanted[] = {96, 1.6, truth.dx, truth.dy, truth.light, truth.blur, truth.velocity};
  ASSERT_EQ(cells.size(), std::size(wanted));
  for (size_t i = 0; i < cells.size(); ++i) EXPECT_NEAR(std::stod(cells[i]), wanted[i], 0.0006);
  EXPECT_EQ(video.truthTable(96), lines[0] + "\n" + lines[97] + "\n");
  EXPECT_EQ(video.truthTable(-5, 1), lines[0] + "\n" + lines[1] + "\n");

  const auto points = split(video.capillaryTable(), '\n');
  size_t count = 0;
  for (const FingerCapillary& c : video.capillaries()) count += c.line.size();
  ASSERT_EQ(points.size(), count + 2);
  const FingerCapillary& c = video.capillaries().back();
  EXPECT_EQ(points[count],
            format("%d,%s,%.3f,%d,%.2f,%.2f,%.2f,%.2f", static_cast<int>(video.capillaries().size()) - 1,
                   c.hairpin ? "hairpin" : "on end", c.velocity, static_cast<int>(c.line.size()) - 1,
                   c.line.back().x, c.line.back().y, c.arc.back(), 2 * c.line.back().radius));
}

TEST(FingerVideo, TakesAnyParametersAndDrawsOnlyWhatFits) {
  CZZimage target(12, 10, 77);
  for (const auto& [width, height, interlace] : {std::tuple{0, 9, 0}, {9, 5000, 0}, {9, 9, 3}, {9, 1, 1}}) {
    const FingerVideo video({.still = {.width = width, .height = height, .interlace = interlace}});
    EXPECT_EQ(video.empty(), height != 1);
    EXPECT_EQ(video.render(0, target), height == 1);
  }
  const FingerVideo small({.still = {.width = 64, .height = 48}, .frames = 3});
  for (const int32_t frame : {-1, 3}) EXPECT_FALSE(small.render(frame, target));
  CZZimage parent(200, 100);
  EXPECT_TRUE(small.render(2, *parent.makeChild({10, 20, 74, 68})));
  EXPECT_TRUE(parent.row(20)[10] > 100 && parent.row(67)[73] > 100 && parent.row(67)[74] == 0);
  EXPECT_FALSE(small.render(2, *parent.makeChild({10, 20, 74, 69})));

  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const double wild : {nan, -1e300, 1e300})
    for (const int32_t count : {std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()}) {
      const FingerVideo video(
          {.still = {.width = 70, .height = 50, .rows = count, .loopLength = wild, .blurRadius = wild},
           .framesPerSecond = wild,
           .frames = count,
           .movement = {wild, wild, wild, wild, -wild, wild, {{count, wild, wild}, {2, wild, 1}}, wild, wild},
           .flow = {wild, wild, wild, wild, wild, wild},
           .focusDrift = wild,
           .flicker = wild});
      ASSERT_FALSE(video.empty());
      for (const int32_t k : {0, 1, video.frames() - 1})
        EXPECT_EQ(shown(video, k < video.frames() ? k : 0)->width, 70);
      for (const double v : {video.truthOf(1).dx, video.truthOf(1).dy, video.truthOf(1).velocity})
        EXPECT_LT(std::abs(v), 1e5);
    }
}

}  // namespace
}  // namespace tarnvisor
