// The capillary finder, with its default parameters, against the truth of simulated nailfolds.

#include "analysis/finder.h"
#include "support/testing.h"
#include "synth/nailfold.h"

namespace tarnvisor {
namespace {

struct Count {
  size_t real = 0;   // capillaries drawn
  size_t found = 0;  // regions found
  size_t met = 0;    // capillaries with the middle of exactly one region inside
};

Count countIn(const NailfoldStill& still) {
  NailfoldTruth truth;
  const auto image = renderNailfold(still, truth);
  EXPECT_TRUE(image->convertToGrey());
  const auto regions = findcaps(*image, {}, {}, {}).regions;
  Count count{truth.capillaries.size(), regions.size(), 0};
  for (const TrueCapillary& c : truth.capillaries)
    count.met += 1 == std::count_if(regions.begin(), regions.end(), [&](const CapillaryRegion& r) {
                   return r.cx > c.left && r.cx < c.right && r.cy > c.top && r.cy < c.bottom;
                 });
  return count;
}

TEST(SimulatedNailfold, HasEveryCapillaryFoundOnceAndNothingElse) {
  const struct {
    const char* name;
    NailfoldStill (*preset)(uint64_t);
    size_t fewest;
    size_t most;
  } cases[] = {{"good", goodNailfold, 44, 46},
               {"dense", denseNailfold, 88, 92},
               {"sparse", sparseNailfold, 22, 24},
               {"colour", colourNailfold, 44, 46},
               {"field", fieldNailfold, 44, 46}};
  for (const auto& [name, preset, fewest, most] : cases)
    for (uint64_t seed = 1; seed <= 3; ++seed) {
      const Count count = countIn(preset(seed));
      EXPECT_TRUE(count.real >= fewest && count.real <= most) << name << seed << ": " << count.real;
      EXPECT_EQ(count.found, count.real) << name << seed;
      EXPECT_EQ(count.met, count.real) << name << seed;
    }
}

TEST(SimulatedNailfold, MisleadsTheFinderWhenItIsDustyAndTriesItWhenItIsDim) {
  const Count dusty = countIn(dustyNailfold());
  EXPECT_GT(dusty.found, dusty.real + 5);  // large specks pass for capillaries
  EXPECT_GT(dusty.met, dusty.real * 9 / 10);
  const Count dim = countIn(dimNailfold());
  EXPECT_GT(dim.met, dim.real * 9 / 10);
}

}  // namespace
}  // namespace tarnvisor
