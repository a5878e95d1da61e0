#include "synth/nailfold.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <set>

#include "base/parallel.h"
#include "synth/layout.h"
#include "synth/random.h"
#include "synth/tissue.h"

namespace tarnvisor {
namespace {

struct Made {
  NailfoldTruth truth;  // before the image, whose making fills it
  std::unique_ptr<CZZimage> image;
  explicit Made(const NailfoldStill& still) : image(renderNailfold(still, truth)) {}

  uint64_t hash() const {  // FNV-1a
    uint64_t h = 14695981039346656037ULL;
    for (int32_t y = 0; y < image->height; ++y)
      for (int32_t x = 0; x < image->rowBytes; ++x) h = (h ^ image->row(y)[x]) * 1099511628211ULL;
    return h;
  }
  double mean(double x, double y, int reach, int channel = 0) const {
    double sum = 0;
    for (int dy = -reach; dy <= reach; ++dy)
      for (int dx = -reach; dx <= reach; ++dx)
        sum += image->row(static_cast<int32_t>(y) +
                          dy)[(static_cast<int32_t>(x) + dx) * image->bytesPerPixel + channel];
    return sum / ((2 * reach + 1) * (2 * reach + 1));
  }
};

NailfoldStill smallStill(uint64_t seed) {
  return {.width = 401, .height = 300, .rows = 2, .capillariesPerRow = 3, .dustSpecks = 3, .seed = seed};
}

using Preset = NailfoldStill (*)(uint64_t);
constexpr Preset presets[] = {goodNailfold,  denseNailfold, sparseNailfold, colourNailfold,
                              fieldNailfold, dimNailfold,   dustyNailfold};

TEST(Chance, FollowsThePublishedSequenceAndItsMoments) {
  EXPECT_EQ(scattered(0), 0xE220A8397B1DCDAFULL);  // first outputs of SplitMix64 seeded with 0
  EXPECT_EQ(scattered(0x9E3779B97F4A7C15ULL), 0x6E789E6AA1B965F4ULL);
  Random random(3, 4);
  double sum = 0, squares = 0;
  for (int i = 0; i < 100000; ++i) {
    const double v = random.normal();
    sum += v;
    squares += v * v;
  }
  EXPECT_NEAR(sum / 100000, 0.0, 0.02);
  EXPECT_NEAR(squares / 100000, 1.0, 0.02);
  for (const double x : {0.0, 0.1, 1.0, 6.0, 20.0}) EXPECT_NEAR(expMinus(x) / std::exp(-x), 1.0, 1e-4);
}

// Frozen: a changed value means that every picture made before has changed.
TEST(Nailfold, GivesTheSamePixelsOnEveryMachineAndWithAnyNumberOfThreads) {
  EXPECT_EQ(Made(smallStill(1)).hash(), 15848434329155201846ULL);
  setParallelThreads(1);
  const Made alone(goodNailfold(7));
  setParallelThreads(5);
  const Made together(goodNailfold(7));
  setParallelThreads(0);
  EXPECT_EQ(alone.hash(), together.hash());
}

TEST(Nailfold, ShowsAnotherFingerForEachSeed) {
  std::set<uint64_t> hashes;
  std::set<double> places;
  for (uint64_t seed = 0; seed < 8; ++seed) {
    const Made made(smallStill(seed));
    hashes.insert(made.hash());
    places.insert(made.truth.capillaries.at(0).apexX);
  }
  EXPECT_EQ(hashes.size(), 8u);
  EXPECT_EQ(places.size(), 8u);
}

TEST(Nailfold, ShowsTheSameFingerWhateverTheMicroscope) {
  const Made plain(smallStill(5));
  NailfoldStill other = smallStill(5);
  other.colour = true;
  other.contrast = 0.2;
  other.brightness = 90;
  other.illuminationGradient = 0.5;
  other.vignette = 0.5;
  other.blurRadius = 5;
  other.noiseSigma = 9;
  other.dustSpecks = 20;
  const Made changed(other);
  ASSERT_EQ(changed.truth.capillaries.size(), plain.truth.capillaries.size());
  for (size_t i = 0; i < plain.truth.capillaries.size(); ++i) {
    EXPECT_EQ(changed.truth.capillaries[i].apexX, plain.truth.capillaries[i].apexX);
    EXPECT_EQ(changed.truth.capillaries[i].bottom, plain.truth.capillaries[i].bottom);
  }
  EXPECT_EQ(changed.truth.dust.size(), 20u);
  EXPECT_EQ(changed.truth.dust[2].x, plain.truth.dust[2].x);
}

TEST(Nailfold, KeepsCapillariesApartAndAwayFromTheBorder) {
  for (const Preset preset : presets)
    for (uint64_t seed = 1; seed <= 3; ++seed) {
      const NailfoldStill still = preset(seed);
      const Made made(still);
      const double c = clearanceOf(still) - 1e-9;
      const double cy = still.interlace ? c / 2 : c;
      const std::vector<TrueCapillary>& all = made.truth.capillaries;
      ASSERT_GT(all.size(), 15u);
      EXPECT_EQ(made.truth.areaPixels, 1.0 * made.image->width * made.image->height);
      for (size_t i = 0; i < all.size(); ++i) {
        const TrueCapillary& a = all[i];
        EXPECT_TRUE(a.left >= c && a.right <= made.image->width - c);
        EXPECT_TRUE(a.top >= cy && a.bottom <= made.image->height - cy + 0.5);
        EXPECT_TRUE(a.left < a.apexX && a.apexX < a.right && a.top < a.apexY && a.apexY < a.bottom);
        for (size_t k = 0; k < i; ++k) {
          const TrueCapillary& b = all[k];
          EXPECT_TRUE(a.left >= b.right + c || b.left >= a.right + c || a.top >= b.bottom + cy ||
                      b.top >= a.bottom + cy)
              << "seed " << seed << ": " << i << " and " << k;
        }
      }
    }
}

TEST(Nailfold, DrawsEachApexDarkerThanTheSkinAroundIt) {
  const struct {
    Preset preset;
    double greyLevels;
  } cases[] = {
      {goodNailfold, 30}, {denseNailfold, 30}, {sparseNailfold, 40}, {fieldNailfold, 25}, {dimNailfold, 8}};
  for (const auto& [preset, greyLevels] : cases)
    for (uint64_t seed = 1; seed <= 3; ++seed) {
      const Made made(preset(seed));
      for (const TrueCapillary& capillary : made.truth.capillaries) {
        const double skin = (made.mean(capillary.apexX, capillary.top - 6, 2) +
                             made.mean(capillary.left - 7, capillary.apexY, 2) +
                             made.mean(capillary.right + 7, capillary.apexY, 2)) /
                            3;
        EXPECT_GT(skin - made.mean(capillary.apexX, capillary.apexY, 1), greyLevels) << "seed " << seed;
      }
    }
}

TEST(Nailfold, DrawsHairpinsInTheDistalRowWithSkinBetweenTheirLimbs) {
  NailfoldStill still = goodNailfold(2);
  still.rows = 1;
  const Made made(still);
  ASSERT_EQ(made.truth.capillaries.size(), 9u);
  int open = 0;
  for (const TrueCapillary& c : made.truth.capillaries) {
    EXPECT_TRUE(c.hairpin);
    EXPECT_NEAR(c.right - c.left, 40, 30);
    const double y = c.apexY + 30;
    double darkest = 255,
           between = 0;  // the lightest place in the middle third against the darkest of the rest
    for (double x = c.left; x < c.right; ++x) {
      const double level = made.mean(x, y, 1);
      darkest = std::min(darkest, level);
      if (std::fabs(x - (c.left + c.right) / 2) < (c.right - c.left) / 6) between = std::max(between, level);
    }
    open += between > darkest + 25;
  }
  EXPECT_GE(open, 7);
}

TEST(Nailfold, HoldsTheRowsOfTheFrameInAField) {
  NailfoldStill still = smallStill(9);
  const Made frame(still);
  for (const int32_t field : {1, 2}) {
    still.interlace = field;
    const Made made(still);
    EXPECT_EQ(made.image->interlace, field);
    ASSERT_EQ(made.image->height, frame.image->height / 2);
    for (int32_t y = 0; y < made.image->height; ++y)
      ASSERT_EQ(0, std::memcmp(made.image->row(y), frame.image->row(2 * y + field - 1), 401)) << y;
    const TrueCapillary& whole = frame.truth.capillaries.at(1);
    const TrueCapillary& half = made.truth.capillaries.at(1);
    EXPECT_EQ(half.apexX, whole.apexX);
    EXPECT_EQ(2 * half.apexY + field - 1, whole.apexY);
    EXPECT_EQ(2 * half.bottom + field - 1, whole.bottom);
  }
}

TEST(Nailfold, ShowsPinkSkinAndBloodThatTakesMostlyGreen) {
  const Made made(colourNailfold());
  ASSERT_EQ(made.image->colourset, kColour);
  for (const TrueCapillary& c : made.truth.capillaries) {
    double taken[3];
    double skin[3];
    for (int channel = 0; channel < 3; ++channel) {
      skin[channel] = made.mean(c.apexX, c.top - 6, 2, channel);
      taken[channel] = 1 - made.mean(c.apexX, c.apexY, 1, channel) / skin[channel];
    }
    EXPECT_TRUE(skin[2] > skin[1] && skin[1] > skin[0]);
    EXPECT_TRUE(taken[1] > taken[0] && taken[0] > taken[2] && taken[2] > 0.02) << c.apexX;
  }
}

TEST(Nailfold, ReachesTheDensityAskedForWhileThereIsRoom) {
  for (const double density : {5.0, 20.0, 45.0, 70.0}) {
    NailfoldStill still = goodNailfold();
    still.rows = density > 30 ? 7 : 4;
    still.densityPerMm2 = density;
    const Made made(still);
    const double reached = static_cast<double>(made.truth.capillaries.size()) / made.truth.areaPixels * 1e6;
    EXPECT_NEAR(reached, density, 0.5 + 0.03 * density);
  }
  NailfoldStill crowded = goodNailfold();
  crowded.densityPerMm2 = 1e9;
  const size_t most = Made(crowded).truth.capillaries.size();
  EXPECT_GT(most, 45u);
  EXPECT_LT(most, 200u);
}

TEST(Nailfold, LightsDimsBlursAndSoilsAsAsked) {
  NailfoldStill still{
      .rows = 0, .texture = 0, .plexus = 0, .illuminationGradient = 0, .vignette = 0, .noiseSigma = 0};
  EXPECT_NEAR(Made(still).mean(640, 700, 5), 172, 0.6);
  still.illuminationGradient = 0.4;
  const Made slanted(still);
  EXPECT_NEAR((slanted.mean(1277, 2, 1) - slanted.mean(2, 1021, 1)) / 172, 0.4,
              0.04 + 0.07);  // cuticle above
  still.illuminationGradient = 0;
  still.vignette = 0.5;
  EXPECT_NEAR(Made(still).mean(1277, 1021, 1), 86, 2);
  still.vignette = 0;
  still.dustSpecks = 30;
  const Made dusty(still);
  int dark = 0;
  for (const DustSpeck& speck : dusty.truth.dust)
    if (speck.x > 2 && speck.x < 1277 && speck.y > 2 && speck.y < 1021)
      dark += dusty.mean(speck.x, speck.y, 0) < 150;
  EXPECT_GE(dark, 26);
  still.dustSpecks = 0;
  still.noiseSigma = 4;
  const Made noisy(still);
  double squares = 0;
  for (int32_t x = 0; x < 1280; ++x) squares += std::pow(noisy.image->row(800)[x] - 172.0, 2);
  EXPECT_NEAR(std::sqrt(squares / 1280), 4, 0.4);

  Plane plane(101, 91, 0.0f);
  plane.row(45)[50] = 1000.0f;
  blur(plane, 3.0);
  for (const auto& [dx, dy] : {std::pair{0, 0}, {3, 0}, {0, -3}, {4, 5}})
    EXPECT_NEAR(plane.row(45 + dy)[50 + dx], 1000 / (2 * M_PI * 9) * std::exp(-(dx * dx + dy * dy) / 18.0),
                0.05);
}

TEST(Nailfold, TakesAnyParameters) {
  NailfoldTruth truth;
  truth.areaPixels = 3;
  for (const auto& [width, height, interlace] : {std::array{0, 9, 0},
                                                 {9, 0, 0},
                                                 {-1, 9, 0},
                                                 {4097, 9, 0},
                                                 {9, 4097, 0},
                                                 {9, 9, 3},
                                                 {9, 9, -1},
                                                 {9, 1, 1}}) {
    EXPECT_EQ(renderNailfold({.width = width, .height = height, .interlace = interlace}, truth), nullptr);
    EXPECT_TRUE(truth.capillaries.empty() && truth.areaPixels == 0);
  }
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const double wild : {nan, -1e300, 0.0, 1e300})
    for (const int32_t count : {-5, 2000000000}) {
      const Made made({.width = 150,
                       .height = 101,
                       .rows = count,
                       .capillariesPerRow = count,
                       .densityPerMm2 = wild,
                       .loopWidth = wild,
                       .loopLength = wild,
                       .vesselWidth = wild,
                       .contrast = wild,
                       .texture = wild,
                       .plexus = wild,
                       .brightness = wild,
                       .illuminationGradient = wild,
                       .vignette = wild,
                       .blurRadius = wild,
                       .noiseSigma = wild,
                       .dustSpecks = count});
      ASSERT_TRUE(made.image);
      EXPECT_LT(made.truth.capillaries.size(), 100u);
      EXPECT_EQ(made.truth.dust.size(), count < 0 ? 0u : 4096u);
    }
  EXPECT_TRUE(Made({.width = 1, .height = 1}).truth.capillaries.empty());
}

}  // namespace
}  // namespace tarnvisor
