// Point operations, measures and sums over frames, on values worked out by hand; fast loops against plain
// ones.

#include "base/numbers.h"
#include "image/accumulate.h"
#include "image/kernels.h"
#include "image/palette.h"
#include "image/testimages.h"
#include "settings/settings.h"

namespace tarnvisor {
namespace {

CZZimage& rowOf(CZZimage& image, const std::vector<int>& values) {
  image.resizedata(static_cast<int32_t>(values.size()), 1, 1);
  fillWith(image, [&](int x, int) { return values[static_cast<size_t>(x)]; });
  return image;
}

TEST(FastLoops, GiveTheBitsOfPlainOnes) {
  for (const size_t length : {0, 1, 15, 16, 63, 64, 127, 129, 1000, 70001}) {
    CZZimage a(static_cast<int32_t>(length) + 1, 1), b(static_cast<int32_t>(length) + 1, 1);
    fillRandom(a, 1);
    fillRandom(b, 2);
    b.row(0)[length / 2] = 3;
    kernels::ByteRange fast, plain, extremes;
    kernels::addRange(a.row(0) + 1, length, fast);
    kernels::addExtremes(a.row(0) + 1, length, extremes);
    kernels::plain::addRange(a.row(0) + 1, length, plain);
    EXPECT_EQ(std::tuple(fast.low, fast.high, fast.sum), std::tuple(plain.low, plain.high, plain.sum));
    EXPECT_EQ(std::tuple(extremes.low, extremes.high), std::tuple(plain.low, plain.high));
    EXPECT_EQ(kernels::squaredDifferenceSum(a.row(0) + 1, b.row(0), length),
              kernels::plain::squaredDifferenceSum(a.row(0) + 1, b.row(0), length));
    CZZimage block(static_cast<int32_t>(length) + 1, 7);
    fillRandom(block, 3);
    EXPECT_EQ(kernels::squaredDifferenceSum(a.row(0), block.row(0) + 1, length, 7, 0, block.stride),
              kernels::plain::squaredDifferenceSum(a.row(0), block.row(0) + 1, length, 7, 0, block.stride));
    CZZimage half, plainHalf;
    half.copyImage(block);
    plainHalf.copyImage(block);
    kernels::halveRows(half.row(0), b.row(0), length / 2, half.row(0));
    kernels::plain::halveRows(plainHalf.row(0), b.row(0), length / 2, plainHalf.row(0));
    EXPECT_EQ(pixelsOf(half), pixelsOf(plainHalf)) << length;
    for (const uint8_t t : {0, 1, 100, 254, 255}) {
      CZZimage x, y;
      x.copyImage(a);
      y.copyImage(a);
      kernels::thresholdRow(x.row(0), length, t);
      kernels::plain::thresholdRow(y.row(0), length, t);
      EXPECT_EQ(pixelsOf(x), pixelsOf(y)) << length;
    }
    CZZimage table(256, 1), mapped;
    fillRandom(table, 7);
    mapped.copyImage(a);
    kernels::mapRow(mapped.row(0) + 1, length, table.row(0));
    kernels::plain::mapRow(a.row(0) + 1, length, table.row(0));
    EXPECT_EQ(pixelsOf(mapped), pixelsOf(a)) << length;
    const uint16_t weights[] = {60000, 19595, 40000};  // their sum runs over a byte
    CZZimage quick(static_cast<int32_t>(length / 3) + 1, 1), slow;
    slow.copyImage(quick);
    kernels::weighTriples(a.row(0) + 1, length / 3, weights, quick.row(0));
    kernels::plain::weighTriples(a.row(0) + 1, length / 3, weights, slow.row(0));
    EXPECT_EQ(pixelsOf(quick), pixelsOf(slow)) << length;
  }
  // The sum's lanes are emptied before they can run over.
  const std::vector<uint8_t> white(2'000'000, 255), black(white.size(), 0);
  EXPECT_EQ(kernels::squaredDifferenceSum(white.data(), black.data(), white.size()), 65025ull * white.size());
}

TEST(GreyOfColours, IsTheSameWithAndWithoutTheFastLoop) {
  CZZimage colours(3 * 5000, 1);
  fillRandom(colours, 3);
  for (const GreyWeights& weights :
       {GreyWeights{}, GreyWeights{0.29, 0.57, 0.14}, GreyWeights{0.25, 0.5, 0.25},
        GreyWeights{1.0, -0.5, 0.1}, GreyWeights{3.7, 1e300, 0.001}}) {
    greyWeights = weights;
    std::vector<uint8_t> grey(5000);
    greyRow(colours.row(0), 3, grey.size(), grey.data());
    for (size_t x = 0; x < grey.size(); ++x) {
      const uint8_t* p = colours.row(0) + 3 * x;
      auto level = static_cast<uint8_t>(truncated(p[0] * weights.red));
      level = static_cast<uint8_t>(truncated(level + p[1] * weights.blue));
      level = static_cast<uint8_t>(truncated(level + p[2] * weights.green));
      ASSERT_EQ(grey[x], level) << weights.red << " pixel " << x;
    }
  }
  resetPaletteSettings();
}

// One pixel of each light, through both roads to grey.
std::vector<int> greyOfLights(int32_t light, bool rows) {
  greyWeights = {};
  greyWeights.light = light;
  CZZimage lights(3, 1, 0, 0, kColour);
  fillWith(lights, [](int x, int) { return x % 3 == 2 - x / 3 ? 255 : 0; });  // red, green, blue
  std::vector<uint8_t> grey(3);
  if (rows) greyRow(lights.row(0), 3, grey.size(), grey.data());
  if (!rows && lights.convertToGrey()) grey.assign(lights.row(0), lights.row(0) + 3);
  resetPaletteSettings();
  return {grey.begin(), grey.end()};
}

TEST(GreyOfColours, CountsTheLightOfTheNameUnlessAsStored) {
  EXPECT_EQ(greyOfLights(kAsStored, false), (std::vector<int>{76, 149, 29}));
  EXPECT_EQ(greyOfLights(kAsStored, true), (std::vector<int>{149, 29, 76})) << "as it has always been";
  for (const bool rows : {false, true}) {
    EXPECT_EQ(greyOfLights(kLuminance, rows), (std::vector<int>{76, 149, 29}));
    EXPECT_EQ(greyOfLights(kOwnWeights, rows), (std::vector<int>{76, 149, 29}));
    EXPECT_EQ(greyOfLights(kGreenOnly, rows), (std::vector<int>{0, 255, 0}));
  }
}

TEST(GreyOfColours, AProfileThatTellsNoLightIsAsStored) {
  const TempFolder folder;
  settings.setPath(folder.file("zz.ini"));
  const GreyWeights own{0.5, 0.25, 0.125, kGreenOnly};
  greyWeights = own;
  saveGreyWeights();
  resetPaletteSettings();
  readGreyWeights();
  EXPECT_EQ(greyWeights, own);
  settings.setPath(folder.file("old.ini"));
  readGreyWeights();
  EXPECT_EQ(greyWeights.light, kAsStored);
  settings.setPath(TARNVISOR_PROFILE "/tarnvisor.def");
  readGreyWeights();
  EXPECT_EQ(greyWeights.light, kLuminance) << "of a fresh profile";
  settings.setPath({});
  resetPaletteSettings();
}

TEST(Statistics, AgreeWithThePlainLoopOnAnyPicture) {
  for (uint32_t seed = 0; seed < 300; ++seed) {
    CZZimage image(1 + static_cast<int32_t>(seed % 9), 1 + static_cast<int32_t>(seed % 4));
    fillRandom(image, seed, seed % 2 ? 0 : 240, 255);
    int32_t low = 255, high = 0, gotLow = 0, gotHigh = 0;
    double sum = 0, mean = 0;
    for (const int v : pixelsOf(image)) {
      sum += v;
      if (v < low)
        low = v;
      else if (v > high)
        high = v;
    }
    image.statistics({}, &mean, &gotLow, &gotHigh);
    EXPECT_EQ(std::tuple(gotLow, gotHigh), std::tuple(low, high)) << seed;
    EXPECT_DOUBLE_EQ(mean, sum / (image.width * image.height));
  }
}

TEST(PointOperations, ClipAndCutAsTheirTablesSay) {
  const std::vector<int> in{0, 1, 100, 200, 255};
  struct Case {
    const char* what;
    std::function<void(CZZimage&)> act;
    std::vector<int> out;
  };
  const Case cases[] = {
      {"add", [](CZZimage& i) { i.addConstant({}, 60); }, {60, 61, 160, 255, 255}},
      {"add much", [](CZZimage& i) { i.addConstant({}, INT32_MIN); }, {0, 0, 0, 0, 0}},
      {"multiply", [](CZZimage& i) { i.multiply({}, 1.5); }, {0, 1, 150, 255, 255}},
      {"multiply below 0 keeps the low byte",
       [](CZZimage& i) { i.multiply({}, -1.0); },
       {0, 255, 156, 56, 1}},
      {"linear", [](CZZimage& i) { i.linear({}, 2.0, -10.5); }, {0, 0, 189, 255, 255}},
      {"threshold", [](CZZimage& i) { i.threshold({}, 100); }, {0, 0, 0, 255, 255}},
      {"threshold 255", [](CZZimage& i) { i.threshold({}, 255); }, {0, 0, 0, 0, 0}},
      {"threshold -1", [](CZZimage& i) { i.threshold({}, -1); }, {255, 255, 255, 255, 255}},
      {"stretch of all", [](CZZimage& i) { i.stretch({}); }, in},
      {"stretch of a part",
       [](CZZimage& i) {
         i.stretch({1, 0, 4, 1});
       },
       {0, 0, 0, 255, 255}},
      {"invert a part",
       [](CZZimage& i) {
         i.invert({2, 0, 9, 1});
       },
       {0, 1, 155, 55, 0}},
  };
  for (const Case& c : cases) {
    CZZimage image;
    rowOf(image, in);
    c.act(image);
    if (std::string(c.what) == "stretch of a part") {
      // The first pixel sets the minimum, 200 is the maximum: (v - 1) * 255 / 199.
      EXPECT_EQ(image.row(0)[2], 126);
      continue;
    }
    EXPECT_EQ(pixelsOf(image), c.out) << c.what;
  }
}

TEST(PointOperations, FlatteningBlendsTheFourEdges) {
  CZZimage image(3, 3);
  fillWith(image, [](int x, int y) { return x == 0 ? 10 : x == 2 ? 30 : y == 0 ? 100 : y == 2 ? 140 : 7; });
  image.flattenFromEdges({});
  EXPECT_EQ(image.row(1)[1], (20 + 120) / 2);
  EXPECT_EQ(image.row(0)[1], 100);
}

TEST(TwoImages, CombineOnlyWhenOfOneSize) {
  CZZimage a, b, wrong(7, 7);
  const auto run = [&](auto operation) {
    rowOf(a, {10, 200, 100});
    rowOf(b, {30, 100, 101});
    operation();
    return pixelsOf(a);
  };
  EXPECT_EQ(run([&] { a.subtract(b, 5); }), (std::vector<int>{0, 105, 4}));
  EXPECT_EQ(run([&] { a.average(b); }), (std::vector<int>{20, 150, 100}));
  EXPECT_EQ(run([&] { a.andWith(b); }), (std::vector<int>{10, 64, 100}));
  EXPECT_EQ(run([&] { a.squaredDifference(b); }), (std::vector<int>{255, 255, 1}));
  EXPECT_EQ(run([&] { a.average(wrong); }), (std::vector<int>{10, 200, 100}));
  const auto sum = a.sumSquaredDifference(b, {1, 0, 3, 1}, 1, 0);
  EXPECT_EQ(std::tuple(sum.sum, sum.pixels), std::tuple(170.0 * 170 + 0, int64_t{2}));
  EXPECT_EQ(a.sumSquaredDifference(b, {}, 1, 0).pixels, 0);
  b.xOrigin = 1;
  CZZimage difference;
  difference.rmsDifference(a, b);
  EXPECT_EQ(pixelsOf(difference), (std::vector<int>{170, 0}));
  EXPECT_EQ(difference.xOrigin, 1);
}

TEST(Measures, CountLevelsAndTheirPeak) {
  CZZimage image(33, 7);
  fillRandom(image, 5, 3, 9);
  NumberStore store;
  image.histogram({1, 2, 30, 6}, store);
  std::vector<double> plain(256);
  for (int y = 2; y < 6; ++y)
    for (int x = 1; x < 30; ++x) ++plain[image.row(y)[x]];
  EXPECT_EQ(store.values, plain);
  rowOf(image, {0, 0, 0, 255, 255, 255, 7, 7, 5, 5});
  EXPECT_EQ(image.modeLevel({}), 5);
  EXPECT_EQ(CZZimage().modeLevel({}), 0);
  CZZimage rows(4, 9);
  fillWith(rows, [](int, int y) { return 10 * y; });
  EXPECT_EQ(rows.peakbrightness(2), 30);  // rows 3 and 6
  EXPECT_EQ(rows.meanBrightness(2), 45);  //
  EXPECT_EQ(rows.meanBrightness(3), 66);  // rows 2, 4, 6 and 8, divided by three rows
  EXPECT_EQ(rows.meanLevel({0, 1, 4, 3}), 15);
  CZZimage wide(9'000'000, 2);  // a row's sum passes 2^31
  wide.fill(255);
  EXPECT_EQ(wide.meanBrightness(1), 255);
}

TEST(Measures, LevelsAreSmoothedBeforeTheyAreSought) {
  CZZimage flat(1000, 40);
  EXPECT_EQ(flat.findLevels(32, 10).low, 0);  // nothing between 1 and 254
  EXPECT_EQ(flat.findLevels(32, 10).high, 255);
  flat.fill(100);
  // 39 rows of 1,000 pixels; an eighth at level 100, then falling by 7/8 a level until under a tenth of it.
  const auto levels = flat.findLevels(32, 10);
  EXPECT_EQ(levels.low, 99);
  EXPECT_EQ(levels.high, 100 + 18);  // (7/8)^17 > 0.1 > (7/8)^18
}

TEST(Measures, FocusAndGradientTellSharpness) {
  CZZimage image(5, 5);
  image.row(2)[2] = 10;
  // The neighbours at distance 1 have +10, the centre -40, which doesn't count.
  EXPECT_DOUBLE_EQ(image.laplacianFocus(1, 5), 40.0 / 9);
  EXPECT_DOUBLE_EQ(image.laplacianFocus(1, 10), 0);
  EXPECT_DOUBLE_EQ(image.laplacianFocus({1, 1, 2, 3}, 1, 0), 5);
  EXPECT_DOUBLE_EQ(image.laplacianFocus({0, 1, 4, 4}, 1, 0), 0);
  EXPECT_DOUBLE_EQ(image.laplacianFocus(3, 0), 0);
  image.xOrigin = image.yOrigin = INT32_MAX;  // as a damaged file may say
  EXPECT_DOUBLE_EQ(image.laplacianFocus(1, 5), 40.0 / 9);
  EXPECT_DOUBLE_EQ(image.gradientEnergy({}), 200.0 / 25);
}

TEST(Measures, ProfilesTakeOneFieldOfAFrame) {
  CZZimage image(2, 4);
  fillWith(image, [](int x, int y) { return 10 * y + x; });
  NumberStore store;
  image.profileByColumn({}, store, 0);
  EXPECT_EQ(store.values, (std::vector<double>{15, 16}));
  image.profileByColumn({}, store, 2);
  EXPECT_EQ(store.values, (std::vector<double>{20, 21}));
  image.profileByRow({0, 1, 2, 4}, store, 0);
  EXPECT_EQ(store.values, (std::vector<double>{10.5, 20.5, 30.5}));
  image.profileByRow({}, store, 1);
  EXPECT_EQ(store.values, (std::vector<double>{0.5, 20.5}));
}

TEST(Accumulating, DeviationIsThatOfThePopulation) {
  PixelStatistics statistics;
  CZZimage image;
  rowOf(image, {0}).startStats(&statistics);
  for (const int v : {2, 4, 4, 4, 5, 5, 7, 9}) rowOf(image, {v}).addStats(&statistics);
  image.finishStats(&statistics);
  EXPECT_EQ(image.row(0)[0], 2);
  image.addStats(nullptr);
  image.finishStats(nullptr);
  EXPECT_EQ(image.row(0)[0], 2);
}

TEST(Accumulating, MotionComparesChangesWithValues) {
  MotionStatistics statistics;
  CZZimage image;
  // After the seed: values 10, 30, 10, 30 (deviation 10), differences -20, 20, -20, 20 (deviation 20).
  for (const int v : {30, 10, 30, 10, 30}) rowOf(image, {v, 8}).addMotionStats(&statistics);
  image.writeMotionRatio(&statistics, 16, 2.0);
  EXPECT_EQ(pixelsOf(image), (std::vector<int>{32, 0}));
  image.writeMotionRatio(&statistics, 1000, 2.0);
  EXPECT_EQ(image.row(0)[0], 255);
  image.writeMotionRatio(&statistics, 16, 10.0);
  EXPECT_EQ(image.row(0)[0], 0);
}

TEST(Palettes, HaveTheirRampsAndBands) {
  const std::tuple<int, int, PaletteEntry> cases[] = {
      {0, 77, {77, 77, 77}},     {1, 0, {255, 0, 0}},   {1, 127, {1, 254, 0}}, {1, 128, {0, 255, 0}},
      {1, 255, {0, 1, 254}},     {2, 9, {0, 0, 9}},     {3, 9, {0, 9, 0}},     {4, 9, {9, 0, 0}},
      {5, 65, {239, 16, 0}},     {5, 18, {0, 223, 32}}, {5, 32, {0, 0, 255}},  {5, 63, {240, 15, 0}},
      {6, 7, {5, 5, 7}},         {6, 5, {5, 5, 5}},     {7, 7, {5, 5, 7}},     {8, 200, {150, 150, 200}},
      {9, 200, {200, 200, 200}}, {9, 17, {12, 12, 17}}};
  for (const auto& [palette, level, entry] : cases)
    EXPECT_EQ(paletteOf(palette)[static_cast<size_t>(level)], entry) << palette << " " << level;
}

TEST(Palettes, IndicesOutsideWrapToTheEnds) {
  CZZimage image(4, 4);
  image.setPalette(-2);
  EXPECT_EQ(image.paletteIndex, 9);
  image.setPalette(10);
  EXPECT_EQ(image.paletteIndex, 0);
  image.setPalette(4);
  image.setPalette(-1);
  EXPECT_EQ(image.paletteIndex, 4);
  EXPECT_EQ(image.header().palette[255], (PaletteEntry{255, 0, 0}));
}

TEST(Palettes, TheHeaderSaysWhatIsShown) {
  resetPaletteSettings();
  CZZimage image(5, 3);
  EXPECT_EQ(image.header().totalBytes(), 1064u);
  EXPECT_EQ(std::tuple(image.header().height, image.header().sizeImage), std::tuple(-3, 15u));
  image.paletteIndex = 1;
  image.dropHeader();
  EXPECT_EQ(image.header().palette[0], PaletteEntry{});  // black zero
  image.blackZero = 0;
  EXPECT_EQ(image.header().palette[0], (PaletteEntry{255, 0, 0}));
  CZZimage bayer(4, 4, -1, 0, kBayer);
  EXPECT_EQ(std::tuple(bayer.header().bitCount, bayer.header().totalBytes()), std::tuple(24, 40u));
}

TEST(Palettes, AdjustedGreySpreadsTheLevelsInUse) {
  const Palette palette = adjustedGrey(10, 110, 70, 230);
  for (const auto& [level, grey] : {std::pair{0, 0}, {1, 7}, {10, 70}, {60, 150}, {110, 230}})
    EXPECT_NEAR(palette[static_cast<size_t>(level)].green, grey, 1) << level;
  EXPECT_EQ(palette[13].red, 74);  // 70 + 3 * 1.6
  CZZimage image(1000, 40);
  image.fill(100);
  adjustPaletteOn = true;
  EXPECT_EQ(image.header().palette[98].green, 69);  // 98 steps of 70 / 99
  EXPECT_EQ(image.paletteAdjusted, 1);
  adjustPaletteOn = false;
  EXPECT_EQ(image.header().palette[98].green, 98);
  EXPECT_EQ(image.paletteAdjusted, 0);
  adjustedGrey(0, 255, -5000, 99999);  // settings may hold anything
}

}  // namespace
}  // namespace tarnvisor
