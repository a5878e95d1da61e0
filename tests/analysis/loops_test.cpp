#include "analysis/loops.h"

#include "analysis/looplimbs.h"
#include "analysis/loopscores.h"
#include "support/loops.h"
#include "support/testing.h"
#include "synth/random.h"

namespace tarnvisor {
namespace {

// --- Scores once more, box by box

struct Fields {
  LoopPlane dark, red, weight;
};

Fields fieldsOf(int32_t width, int32_t height, uint64_t seed) {
  Fields f{LoopPlane(width, height), LoopPlane(width, height), LoopPlane(width, height)};
  Random random(seed, 0);
  for (size_t i = 0; i < f.dark.values.size(); ++i) {
    f.dark.values[i] = static_cast<float>(random.between(-2.5, 2.5));
    f.red.values[i] = static_cast<float>(random.between(-1.5, 1.5));
    f.weight.values[i] = random.unit() < 0.8 ? 1.0f : 0.0f;
  }
  return f;
}

struct PlainBox {
  int32_t left, top, right, bottom;
};

// Of a box that follows the shear, row by row.
template <typename Value>
float plainSum(const Fields& f, int32_t x, int32_t y, const PlainBox& box, double shear, Value value) {
  int32_t sum = 0;
  for (int32_t j = y + box.top; j < y + box.bottom; ++j) {
    if (j < 0 || j >= f.dark.height) continue;
    const auto moved = static_cast<int32_t>(std::lround(shear * j) - std::lround(shear * y));
    for (int32_t i = x + box.left + moved; i < x + box.right + moved; ++i)
      if (i >= 0 && i < f.dark.width && f.weight.at(i, j) > 0) sum += value(i, j);
  }
  return static_cast<float>(sum);
}

void plainScore(const Fields& f, int32_t x, int32_t y, const LoopBoxes& b, double shear, float kind,
                float& best, float& kinds) {
  const int32_t h = b.half, away = b.half + b.gap;
  const PlainBox boxes[4] = {{-h, 0, h, b.length},
                             {-away - b.side, 0, -away, b.length},
                             {away, 0, away + b.side, b.length},
                             {-h, -b.gap - b.top, h, -b.gap}};
  const auto body = static_cast<float>(2 * h * b.length), side = static_cast<float>(b.side * b.length);
  const float least[4] = {0.6f * body, 0.5f * side, 0.5f * side, 0.6f * static_cast<float>(2 * h * b.top)};
  float share[4];
  for (size_t i = 0; i < 4; ++i) {
    const float count = plainSum(f, x, y, boxes[i], shear, [](int32_t, int32_t) { return 1; });
    if (count < least[i]) return;
    share[i] = 1.0f / count;
  }
  float score = 1e9f;
  for (const bool red : {false, true}) {
    float mean[4];
    for (size_t i = 0; i < 4; ++i)
      mean[i] = share[i] * plainSum(f, x, y, boxes[i], shear, [&](int32_t px, int32_t py) {
                  return red ? static_cast<int32_t>(16384 / 0.61f * std::clamp(f.red.at(px, py), -1.3f, 1.3f))
                             : static_cast<int32_t>(16384 * std::clamp(f.dark.at(px, py), -2.0f, 2.0f));
                });
    score = std::min(score, 0.8f * (mean[0] - 0.5f * (mean[1] + mean[2])));
    score = std::min(score, mean[0] - mean[3]);
    score = std::min(score, 1.6f * (mean[0] - std::max(mean[1], mean[2])));
  }
  score *= (shear != 0 ? 0.97f : 1.0f) / 16384;
  if (score > best) best = score, kinds = kind;
}

TEST(LoopScores, EqualThosePlainlySummed) {
  for (const auto& [width, height] : {std::array{61, 50}, {7, 64}, {130, 9}, {1, 1}}) {
    const Fields f = fieldsOf(width, height, static_cast<uint64_t>(width));
    LoopScores fast;
    fast.fill(f.dark, f.red, f.weight, 4.5, kLoopShears);
    LoopPlane score(width, height), kind(width, height);
    for (int32_t y = 0; y < height; y += 2)
      for (int32_t x = 0; x < width; ++x)
        for (size_t s = 0; s < std::size(kLoopShears); ++s)
          for (size_t b = 0; b < std::size(kLoopBodies); ++b)
            plainScore(f, x, y, loopBoxes(kLoopBodies[b], 4.5), kLoopShears[s], static_cast<float>(b + 3 * s),
                       score.row(y)[x], kind.row(y)[x]);
    EXPECT_EQ(fast.score.values, score.values) << width;
    EXPECT_EQ(fast.kind.values, kind.values) << width;
  }
}

// --- What can't be counted is refused in words

std::string refusalOf(const CZZimage& image, double pixelSize) {
  const NailfoldLoops found = findLoops(image, {pixelSize, {}});
  EXPECT_EQ(found.verdict, LoopVerdict::Refused);
  EXPECT_EQ(found.perMm, -1);
  EXPECT_THAT(found.loops, IsEmpty());
  return found.reasons.empty() ? "" : found.reasons[0];
}

CZZimage& filled(CZZimage& image, uint8_t level) {
  for (int32_t y = 0; y < image.height; ++y) std::fill_n(image.row(y), image.rowBytes, level);
  return image;
}

TEST(Loops, AreRefusedInWordsWhereNothingCanBeCounted) {
  CZZimage grey(700, 500), colour(700, 500, -1, 0, kColour), small(100, 100, -1, 0, kColour);
  filled(grey, 120);
  filled(colour, 120);
  filled(small, 120);
  EXPECT_THAT(refusalOf(CZZimage(), 2), HasSubstr("no image"));
  EXPECT_THAT(refusalOf(grey, 2), HasSubstr("colour"));
  EXPECT_THAT(refusalOf(colour, 0), HasSubstr("scale"));
  EXPECT_THAT(refusalOf(colour, std::nan("")), HasSubstr("scale"));
  EXPECT_THAT(refusalOf(colour, 0.1), HasSubstr("too small"));
  EXPECT_THAT(refusalOf(colour, 50), HasSubstr("too coarse"));
  EXPECT_THAT(refusalOf(small, 2.5), HasSubstr("too small"));
  EXPECT_THAT(refusalOf(colour, 2), HasSubstr("flat"));
  EXPECT_THAT(refusalOf(filled(colour, 255), 2), HasSubstr("glare or clipping"));
  CZZimage wide(12000, 9000, -1, 0, kColour);
  EXPECT_THAT(refusalOf(wide, 2), HasSubstr("larger than a nailfold"));
}

TEST(Loops, AreRefusedOnStillsThatShowNoRow) {
  for (const FoldKind kind :
       {FoldKind::ProximalOnly, FoldKind::DistalOnly, FoldKind::Noise, FoldKind::Grey}) {
    const WideField field = usualField(kind, 3);
    WideFieldTruth truth;
    refusalOf(*renderWideField(field, truth), field.pixelSize);
  }
}

// --- Limbs: a strip 40 micrometres wide, as dark as 0.1

float contrastOfStrip(int32_t length, float redOfDark, double slant) {
  LoopFrame frame;
  frame.unit = 0.05;
  frame.darkness = frame.redness = LoopPlane(120, 80);
  frame.weight = LoopPlane(120, 80, 1);
  for (int32_t y = 20; y < 20 + length; ++y)
    for (auto i = -5, x = 60 + static_cast<int32_t>(std::lround(slant * (y - 20))); i <= 5; ++i) {
      frame.darkness.row(y)[x + i] = 0.1f;
      frame.redness.row(y)[x + i] = 0.1f * redOfDark;
    }
  return limbContrast(frame, {.x = 60, .y = 20});
}

TEST(LoopLimbs, AreToldFromSpecksAndFromWhatIsNoBlood) {
  EXPECT_NEAR(contrastOfStrip(50, kRedOfBlood, 0), 2, 1e-3);
  EXPECT_NEAR(contrastOfStrip(50, kRedOfBlood, 0.3), 2, 0.1);
  EXPECT_LT(contrastOfStrip(14, kRedOfBlood, 0), 0.7f);
  EXPECT_LT(contrastOfStrip(50, 0.1f, 0), 0.4f);
}

// --- The worst kinds, few stills of each

TEST(Loops, AreFoundOnTheKindsThatAreHardest) {
  LoopTally all;
  for (const FoldKind kind : {FoldKind::Sharp, FoldKind::Giant, FoldKind::StainedCuticle, FoldKind::LateRed})
    for (const uint64_t seed : {2, 3}) all.take(judged(usualField(kind, seed)));
  EXPECT_EQ(all.directed, all.stills);
  EXPECT_EQ(all.badGood, 0u);
  EXPECT_GE(all.onRow + 2, all.stills);
  EXPECT_GE(all.recall(), 0.85);
  EXPECT_GE(all.clearPrecision(), 0.72);
  EXPECT_LE(all.absoluteError(), 1.6);
}

TEST(Loops, AreSeenBesidePaleSkinAndBesideAHair) {
  for (const auto& [kind, seed] : {std::pair{FoldKind::Sharp, 12}, std::pair{FoldKind::Hair, 8}}) {
    const LoopJudgement one = judged(usualField(kind, static_cast<uint64_t>(seed)));
    EXPECT_GE(one.foundOfClear + 2, one.trueClear) << nameOf(kind);
  }
}

// What clips looks like shine, and the curve goes where the skin can be seen.
TEST(Loops, AreNotToldAsGoodWhereTheSkinBeforeThemIsClipped) {
  WideField field = usualField(FoldKind::Sharp, 5);
  EXPECT_TRUE(judged(field).good);
  field.exposure = 1.5;
  EXPECT_FALSE(judged(field).good);
}

// What compression leaves of colour is coarser than loops.
TEST(Loops, AreNotToldAsGoodWhereCompressionTakesTheirColour) {
  WideField field = usualField(FoldKind::Healthy, 7);
  EXPECT_TRUE(judged(field).good);
  field.quality = 25;
  EXPECT_FALSE(judged(field).good);
}

// Brown blood, sharpened seams that are no shine, and grain before the row.
TEST(Loops, AreFoundWhereAContactLensShowsThemPale) {
  LoopTally all;
  for (const uint64_t seed : {6, 13, 14, 21, 24, 33}) all.take(judged(usualField(FoldKind::Pale, seed)));
  EXPECT_EQ(all.told, all.stills);
  EXPECT_EQ(all.badGood, 0u);
  EXPECT_GE(all.recall(), 0.85);
  EXPECT_LE(all.absoluteError(), 1.2);
}

TEST(Loops, AreTheSameInAMirroredPictureAndWithTheNailSetByHand) {
  const WideField field = usualField(FoldKind::Rarefied, 4);
  WideFieldTruth truth;
  const auto image = renderWideField(field, truth);
  const NailfoldLoops found = findLoops(*image, {field.pixelSize, {}});
  ASSERT_NE(found.verdict, LoopVerdict::Refused);
  const NailfoldLoops byHand = findLoops(*image, {field.pixelSize, found.distal});
  EXPECT_EQ(byHand.loops.size(), found.loops.size());
  for (int32_t y = 0; y < image->height; ++y)
    for (int32_t x = 0; x < image->width / 2; ++x)
      std::swap_ranges(image->row(y) + 3 * x, image->row(y) + 3 * x + 3,
                       image->row(y) + 3 * (image->width - 1 - x));
  EXPECT_NEAR(findLoops(*image, {field.pixelSize, {}}).perMm, found.perMm, 0.5);
}

TEST(Loops, LieInTheSamePlacesOfAPictureTurnedByHalf) {
  const WideField field = usualField(FoldKind::Healthy, 3);
  WideFieldTruth truth;
  const auto image = renderWideField(field, truth);
  const NailfoldLoops found = findLoops(*image, {field.pixelSize, {}});
  for (int32_t y = 0; y < image->height / 2; ++y)
    for (int32_t x = 0; x < image->width; ++x)
      std::swap_ranges(image->row(y) + 3 * x, image->row(y) + 3 * x + 3,
                       image->row(image->height - 1 - y) + 3 * (image->width - 1 - x));
  const NailfoldLoops turned = findLoops(*image, {field.pixelSize, {}});
  ASSERT_EQ(turned.loops.size(), found.loops.size());
  for (size_t i = 0; i < found.loops.size(); ++i) {
    EXPECT_NEAR(turned.loops[i].apex.x, image->width - 1 - found.loops[i].apex.x, 0.01);
    EXPECT_NEAR(turned.loops[i].apex.y, image->height - 1 - found.loops[i].apex.y, 0.01);
  }
}

TEST(Loops, TellWhereARowHasNone) {
  const WideField field = usualField(FoldKind::Sparse, 1);
  WideFieldTruth truth;
  const auto image = renderWideField(field, truth);
  const NailfoldLoops found = findLoops(*image, {field.pixelSize, {}});
  ASSERT_THAT(found.avascular, Not(IsEmpty()));
  EXPECT_GT(found.avascular[0].length, kAvascularStretch);
  EXPECT_NEAR(found.perMm, truth.densityPerMm(), 1.5);
}

TEST(Loops, CountTheMillimetreAboutAnyPlaceOfTheRow) {
  NailfoldLoops found;
  found.row = {{0, 0}, {1000, 0}, {1500, 0}};
  for (const double x : {100.0, 450.0, 520.0, 900.0}) {
    NailfoldLoop loop;
    loop.apex = {x, 8};
    found.loops.push_back(loop);
  }
  EXPECT_EQ(loopsAbout({700, 50}, found, 2), 3);
  EXPECT_EQ(loopsAbout({-90, 0}, found, 2), 2);
  EXPECT_EQ(loopsAbout({1500, 0}, found, 2), 0);
  EXPECT_EQ(loopsAbout({700, 0}, found, 0.5), -1);
}

}  // namespace
}  // namespace tarnvisor
