#include "synth/fingervideo.h"

#include "base/numbers.h"
#include "base/parallel.h"
#include "base/text.h"
#include "support/hash.h"
#include "support/testing.h"

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

Settings moving(void (*set)(Settings&)) {
  Settings settings = still();
  settings.still.width = 320;
  settings.still.height = 240;
  set(settings);
  return settings;
}

TEST(FingerVideo, GivesTheFrozenPixelsAndTruthOfAllThatMoves) {
  const struct {
    const char* what;
    Settings settings;
    uint64_t hash;
  } cases[] = {
      {"flow", flowingFinger(3), 179294342867408316U},
      {"pulse", pulsingFinger(2), 3803095121909039901U},
      {"fast", moving([](Settings& s) { s.flow = {.velocity = 900, .pulsatility = 1, .heartRate = 105}; }),
       1820155751022504883U},
      {"gaps", moving([](Settings& s) {
         s.flow = {.velocity = 120, .gapShare = 0.5, .columnLength = 60, .spread = 0.5};
       }),
       1170085795309518374U},
      {"pulsatility",
       moving([](Settings& s) { s.flow.pulsatility = 1.5, s.flow.velocity = 200, s.framesPerSecond = 1000; }),
       7609159415422606898U},
      {"tremor", moving([](Settings& s) { s.movement.tremor = 4, s.movement.pulse = 9; }),
       1651391169534239114U},
      {"drift", moving([](Settings& s) { s.movement = {.driftX = 9, .driftY = -5, .driftReach = 12}; }),
       4383231539809744633U},
      {"jumps", moving([](Settings& s) {
         s.movement.jumps = {{150, 3, 9.25}, {100, 31, -20.5}};
       }),
       14995376105173567649U},
      {"chance", moving([](Settings& s) { s.movement.jumpsPerMinute = 80, s.movement.jumpSize = 30; }),
       6218450647752924655U},
      {"dust", moving([](Settings& s) {
         s.still.dustSpecks = 12, s.movement.jumps = {{1, 24, -13}};
       }),
       6607513066619133143U},
      {"light", moving([](Settings& s) { s.flicker = 0.2, s.focusDrift = 3; }), 7334399239325538183U},
      {"colour", moving([](Settings& s) { s.still.colour = true; }), 1798487529079708604U},
  };
  for (const auto& [what, settings, wanted] : cases) {
    const FingerVideo video(settings);
    Hash hash;
    for (const int32_t frame : {0, 7, 131}) hash.pixels(*shown(video, frame));
    for (const double v : video.truthOf(131).velocities) hash.number(v);
    hash.text(video.truthTable()).text(video.capillaryTable());
    for (const DustSpeck& speck : video.truth().dust) hash.number(speck.x).number(speck.y);
    EXPECT_EQ(hash.value, wanted) << what;
  }
}

// What the program's own search finds between two frames is what the truth says.
TEST(FingerVideo, MovesTheSkinAsItsTableSays) {
  Settings settings = shakingFinger(1);
  settings.still.dustSpecks = 0;  // which stays, and would hold back whoever compares
  const FingerVideo video(settings);
  const auto first = shown(video, 0);
  for (const int32_t k : {60, 99, 203}) {
    const FrameTruth truth = video.truthOf(k);
    const auto image = shown(video, k);
    image->multiply({}, video.truthOf(0).light / truth.light);
    const Point found = registered(*image, *first, {truncated(truth.dx), truncated(truth.dy)});
    EXPECT_NEAR(found.x, truth.dx, 1.0) << k;
    EXPECT_NEAR(found.y, truth.dy, 1.0) << k;
  }
}

TEST(FingerVideo, MovesAlongOneAxisAlone) {
  for (const auto& set : {+[](Settings& s) { s.movement = {.driftX = 9, .driftReach = 12}; },
                          +[](Settings& s) { s.movement = {.driftY = 9, .driftReach = 12}; }})
    EXPECT_FALSE(shown(FingerVideo(moving(set)), 20)->empty());
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
  Hash hash;
  for (const auto& bytes : alone) hash.text({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  EXPECT_EQ(hash.value, 13638719538139801783ULL);
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
  EXPECT_THAT(lines[97], StartsWith("96,1.600000,"));
  EXPECT_EQ(video.truthTable(96), lines[0] + "\n" + lines[97] + "\n");
  EXPECT_EQ(video.truthTable(-5, 1), lines[0] + "\n" + lines[1] + "\n");
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
  EXPECT_GT(parent.row(20)[10], 100);
  EXPECT_GT(parent.row(67)[73], 100);
  EXPECT_EQ(parent.row(67)[74], 0);
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
