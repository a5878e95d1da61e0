#include "synth/nailfold.h"

#include "base/parallel.h"
#include "support/hash.h"
#include "support/testing.h"

namespace tarnvisor {
namespace {

struct Made {
  NailfoldTruth truth;  // before the image, whose making fills it
  std::unique_ptr<CZZimage> image;
  explicit Made(const NailfoldStill& still) : image(renderNailfold(still, truth)) {}

  // Of the pixels and of the truth.
  uint64_t hash() const {
    Hash h;
    h.pixels(*image).number(truth.areaPixels);
    for (const TrueCapillary& c : truth.capillaries)
      for (const double n : {c.apexX, c.apexY, c.width, c.left, c.top, c.right, c.bottom})
        h.number(n).byte(c.hairpin);
    for (const DustSpeck& speck : truth.dust) h.number(speck.x).number(speck.y).number(speck.radius);
    return h.value;
  }
};

NailfoldStill smallStill(uint64_t seed) {
  return {.width = 401, .height = 300, .rows = 2, .capillariesPerRow = 3, .dustSpecks = 3, .seed = seed};
}

NailfoldStill changed(NailfoldStill still, void (*change)(NailfoldStill&)) {
  change(still);
  return still;
}

TEST(Nailfold, GivesTheFrozenPixelsAndTruthOnEveryMachine) {
  const struct {
    NailfoldStill still;
    uint64_t hash;
  } cases[] = {
      {smallStill(1), 12892307683868242183U},
      {smallStill(2), 7060444391262649141U},
      {goodNailfold(2), 1157419405881476983U},
      {denseNailfold(), 16163552451912436935U},
      {sparseNailfold(), 9514113929541930679U},
      {colourNailfold(), 285204848705342365U},
      {fieldNailfold(), 16794735124975790052U},
      {dimNailfold(), 13887245216839077568U},
      {dustyNailfold(), 5694291940222465435U},
      {changed(smallStill(9), [](NailfoldStill& s) { s.interlace = 2; }), 12741176241720030434U},
      {changed(goodNailfold(), [](NailfoldStill& s) { s.densityPerMm2 = 70, s.rows = 7; }),
       16163552451912436935U},
      {changed(goodNailfold(), [](NailfoldStill& s) { s.densityPerMm2 = 1e9; }), 10696792720641614647U},
      {changed(smallStill(3), [](NailfoldStill& s) { s.illuminationGradient = 0.4, s.vignette = 0.5; }),
       12703459215915632789U},
      {changed(smallStill(4), [](NailfoldStill& s) { s.rows = 0, s.texture = s.plexus = 0; }),
       17269765491152249568U},
  };
  for (const auto& c : cases) EXPECT_EQ(Made(c.still).hash(), c.hash) << &c - cases;
}

TEST(Nailfold, GivesTheSamePixelsWithAnyNumberOfThreads) {
  setParallelThreads(1);
  const Made alone(goodNailfold(7));
  setParallelThreads(5);
  const Made together(goodNailfold(7));
  setParallelThreads(0);
  EXPECT_EQ(alone.hash(), together.hash());
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
  const Made peer(other);
  ASSERT_EQ(peer.truth.capillaries.size(), plain.truth.capillaries.size());
  for (size_t i = 0; i < plain.truth.capillaries.size(); ++i) {
    EXPECT_EQ(peer.truth.capillaries[i].apexX, plain.truth.capillaries[i].apexX);
    EXPECT_EQ(peer.truth.capillaries[i].bottom, plain.truth.capillaries[i].bottom);
  }
  EXPECT_EQ(peer.truth.dust.size(), 20u);
  EXPECT_EQ(peer.truth.dust[2].x, plain.truth.dust[2].x);
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
    EXPECT_THAT(truth.capillaries, IsEmpty());
    EXPECT_EQ(truth.areaPixels, 0);
  }
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const double wild : {nan, -1e300, 0.0, 1e300})
    for (const int32_t count : {-5, 2000000000}) {
      const Made made({150, 101, 0, false, count, count, wild, wild, wild, wild, wild, wild, wild, wild, wild,
                       wild, wild, wild, count});
      ASSERT_TRUE(made.image);
      EXPECT_LT(made.truth.capillaries.size(), 100u);
      EXPECT_EQ(made.truth.dust.size(), count < 0 ? 0u : 4096u);
    }
  EXPECT_TRUE(Made({.width = 1, .height = 1}).truth.capillaries.empty());
}

}  // namespace
}  // namespace tarnvisor
