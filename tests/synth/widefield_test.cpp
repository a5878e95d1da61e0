#include "synth/widefield.h"

#include "support/hash.h"
#include "support/testing.h"

namespace tarnvisor {
namespace {

struct Made {
  WideFieldTruth truth;
  std::unique_ptr<CZZimage> image;
  explicit Made(const WideField& field) : image(renderWideField(field, truth)) {}
};

TEST(WideField, GivesTheFrozenPixelsOnEveryMachine) {
  Hash h;
  for (size_t kind = 0; kind < kFoldKinds; ++kind)
    h.pixels(
        *Made({.kind = static_cast<FoldKind>(kind), .width = 160, .height = 120, .pixelSize = 12}).image);
  EXPECT_EQ(h.value, 4428739158776572136U);
}

// Light passes less where a loop lies.
TEST(WideField, DrawsALoopWhereTheTruthTellsOne) {
  const Made made({.kind = FoldKind::Sharp, .width = 700, .height = 700, .pixelSize = 1.5, .quality = 0});
  ASSERT_THAT(made.truth.loops, Not(IsEmpty()));
  for (const FoldLoop& loop : made.truth.loops) {
    if (loop.faint) continue;
    const auto green = [&](double away) {
      const auto x = static_cast<int32_t>(loop.apex.x + away * made.truth.distal.x / 1.5);
      const auto y = static_cast<int32_t>(loop.apex.y + away * made.truth.distal.y / 1.5);
      return made.image->row(y)[3 * x + 1];
    };
    EXPECT_LT(green(-5), green(22) - 5);
  }
}

TEST(WideField, ShowsTheSameFingerAtAnyPixelSize) {
  const Made coarse({.width = 400, .height = 300, .pixelSize = 8});
  const Made fine({.width = 800, .height = 600, .pixelSize = 4});
  ASSERT_EQ(coarse.truth.loops.size(), fine.truth.loops.size());
  EXPECT_NEAR(coarse.truth.loops[0].apex.x * 2, fine.truth.loops[0].apex.x, 1);
  EXPECT_NEAR(coarse.truth.densityPerMm(), fine.truth.densityPerMm(), 0.1);
}

TEST(WideField, RefusesSizesThatCannotBeShown) {
  EXPECT_EQ(Made({.width = 0}).image, nullptr);
  EXPECT_EQ(Made({.height = 4097}).image, nullptr);
  EXPECT_EQ(Made({.pixelSize = 0}).image, nullptr);
  EXPECT_EQ(Made({.pixelSize = std::nan("")}).image, nullptr);
}

}  // namespace
}  // namespace tarnvisor
