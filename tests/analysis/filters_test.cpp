// Fast filters against their plain twins, bit for bit, on every kind of processor this machine can act as,
// whole images and views, one thread and several; and the values that the rules fix by hand.
#include <hwy/targets.h>

#include "analysis/blur.h"
#include "analysis/kernelfilter.h"
#include "analysis/laplacian.h"
#include "analysis/lulu.h"
#include "analysis/windowfilter.h"
#include "base/parallel.h"
#include "plain.h"

namespace tarnvisor {
namespace {

using plain::Picture;

class Filters : public testing::Test {
 protected:
  // Holds the filter to the wanted result with each kind of vectors, with three threads for the plainest.
  static void expect(const Picture& from, const Picture& wanted, const std::function<void(CZZimage&)>& filter,
                     const std::string& what) {
    static const int64_t targets = hwy::SupportedTargets();
    for (int64_t left = targets; left != 0; left &= left - 1) {
      hwy::SetSupportedTargetsForTest(left & -left);
      hwy::GetChosenTarget().Update(left & -left);
      setParallelThreads((left & (left - 1)) ? 1 : 3);
      expectHere(from, wanted, filter, what);
    }
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().Update(targets);
    setParallelThreads(0);
  }

 private:
  // As a whole image and as a view in a larger one, whose rest must stay.
  static void expectHere(const Picture& from, const Picture& wanted,
                         const std::function<void(CZZimage&)>& filter, const std::string& what) {
    CZZimage whole;
    plain::load(whole, from);
    filter(whole);
    ASSERT_TRUE(plain::unload(whole) == wanted) << what << " on " << from.width << " x " << from.height;
    Picture around = plain::noise(from.width + 9, from.height + 5, 77);
    CZZimage parent;
    plain::load(parent, around);
    CZZchildimage view(from.width, from.height, parent.row(2) + 3, parent.stride);
    for (int32_t y = 0; y < from.height; ++y)
      for (int32_t x = 0; x < from.width; ++x) {
        view.row(y)[x] = from.at(x, y);
        around.at(x + 3, y + 2) = wanted.at(x, y);
      }
    filter(view);
    ASSERT_TRUE(plain::unload(parent) == around)
        << what << " on a view of " << from.width << " x " << from.height;
  }
};

constexpr Size kSizes[] = {{1, 1},  {2, 1},   {1, 2},   {2, 2},    {3, 3},   {7, 5},
                           {16, 9}, {31, 64}, {67, 33}, {130, 41}, {65, 390}};

TEST_F(Filters, WindowFilterEqualsItsPlainTwin) {
  for (const Size size : kSizes) {
    const int32_t smaller = std::min(size.width, size.height);
    for (int32_t w = -smaller - 1; w <= smaller + 1; w += 1 + smaller / 8) {
      for (const bool high : {false, true}) {
        const Picture p =
            plain::noise(size.width, size.height, static_cast<uint32_t>(w + 999), high && w % 2);
        expect(
            p, plain::window(p, high, w),
            [&](CZZimage& i) {
              windowFilter(i, high ? WindowMode::HighPass : WindowMode::LowPass, i, Rect{}, w);
            },
            "window " + std::to_string(w));
      }
    }
  }
}

TEST_F(Filters, QuotientsOfLargeWindowsAreExactWhereRoundingIsClosest) {
  // A bright image with single darker pixels: sums lie just under whole multiples of the count.
  Picture p = plain::flat(230, 130, 255);
  for (size_t i = 0; i < p.bytes.size(); i += 5003) p.bytes[i] = 254;
  for (const int32_t w : {101, 128, 129, -129})
    expect(
        p, plain::window(p, true, w),
        [&](CZZimage& i) { windowFilter(i, WindowMode::HighPass, i, Rect{}, w); },
        "bright, window " + std::to_string(w));
}

TEST_F(Filters, WindowFilterWorksInsideItsRectangleAndIntoAnotherImage) {
  const Picture p = plain::noise(40, 30, 5);
  CZZimage source, target;
  plain::load(source, p);
  plain::load(target, plain::flat(40, 30, 9));
  ASSERT_TRUE(windowFilter(target, WindowMode::LowPass, source, Rect{10, 5, 30, 25}, 5));
  Picture part = plain::flat(20, 20, 0);
  for (int32_t y = 0; y < 20; ++y)
    for (int32_t x = 0; x < 20; ++x) part.at(x, y) = p.at(x + 10, y + 5);
  part = plain::window(part, false, 5);
  Picture wanted = plain::flat(40, 30, 9);
  for (int32_t y = 0; y < 20; ++y)
    for (int32_t x = 0; x < 20; ++x) wanted.at(x + 10, y + 5) = part.at(x, y);
  EXPECT_EQ(plain::unload(target), wanted);
  EXPECT_EQ(plain::unload(source), p);
  CZZimage small(20, 20);
  EXPECT_FALSE(windowFilter(small, WindowMode::LowPass, source, Rect{}, 5));
  EXPECT_FALSE(windowFilter(source, WindowMode::LowPass, source, Rect{}, 30));
  EXPECT_FALSE(windowFilter(source, WindowMode::LowPass, source, Rect{}, INT32_MIN));
  EXPECT_EQ(plain::unload(source), p);
}

TEST_F(Filters, WindowSumsPastThirtyTwoBitsStayRight) {
  CZZimage image;
  plain::load(image, plain::flat(2990, 2980, 255));
  image.row(1490)[1495] = 0;
  ASSERT_TRUE(windowFilter(image, WindowMode::HighPass, image, Rect{}, 2979));
  EXPECT_EQ(image.row(1490)[1495], 0);  // 0 - 255 + 128
  EXPECT_EQ(image.row(100)[100], 129);  // the mean of the others, cut, is 254
  EXPECT_EQ(image.row(0)[0], 128);      // its window ends before the dark pixel
}

TEST_F(Filters, Kernel3x3EqualsItsPlainTwin) {
  const std::tuple<std::vector<int32_t>, double, int32_t> cases[] = {
      {{kLaplacianKernel.begin(), kLaplacianKernel.end()}, 1.0, 0},
      {{1, 2, 1, 2, 4, 2, 1, 2, 1}, 1.0 / 16, 0},
      {{0, -1, 0, -1, 5, -1, 0, -1, 0}, 1.0, -40000},
      {{-7, 3, 1, 0, 9, -2, 2, 2, 2}, 1.0, INT32_MAX},
      {{-7, 3, 1, 0, 9, -2, 2, 2, 2}, -0.37, 200},
      {{9000, -9000, 1, 0, 0, 500, -500, 0, 3}, 0.001, 128},
      {{INT32_MAX, 0, 0, 0, INT32_MIN, 0, 0, 0, 5}, 1e-9, 100},
      {{1, 0, 0, 0, -1, 0, 0, 0, 0}, 1e300, 0},
      {{1, 0, 0, 0, -1, 0, 0, 0, 0}, HUGE_VAL, 7}};
  for (const Size size : kSizes)
    for (const auto& [k, f, o] : cases) {
      const Picture p = plain::noise(size.width, size.height, 3);
      expect(
          p, plain::kernel3x3(p, k, f, o),
          [&](CZZimage& i) { filter3x3(i, std::span<const int32_t, 9>(k.data(), 9), f, o); }, "3x3");
    }
}

TEST_F(Filters, KernelNxNEqualsItsPlainTwinInAllNineZones) {
  std::vector<std::vector<int32_t>> kernels;
  for (const int32_t width : {0, 3, 9, 29})
    kernels.push_back(apexKernel({width, 0.7079664, 1000, 2000, 0.5, 128}));
  kernels.push_back({1, 0, -1, 2, 0, -2, 1, 0, -1});               // neither mirrored nor of a sum but 0
  kernels.push_back({1, -1, 1, -1, 0, -1, 1, -1, 1});              // mirrored, sum 0 inside
  kernels.push_back({5, 6, 7, 8});                                 // even size
  kernels.push_back({40000, 1, 40000, 2, 3, 2, 40000, 1, 40000});  // past 16 bits
  kernels.push_back({-32768, 32767, -32768, 32767, -32768, 32767, -32768, 32767, -32768});
  for (const Size size : kSizes)
    for (const auto& k : kernels) {
      const int32_t n = static_cast<int32_t>(std::lround(std::sqrt(k.size())));
      const Picture p = plain::noise(size.width, size.height, 8);
      for (const double f : {0.5, -3.25})
        expect(
            p, plain::kernelNxN(p, k, n, f, 128), [&](CZZimage& i) { filterNxN(i, k, n, f, 128); },
            "kernel of " + std::to_string(n) + " " + std::to_string(k[0]) + " factor " + std::to_string(f));
    }
}

TEST_F(Filters, BlurEqualsItsPlainTwin) {
  for (const Size size : kSizes)
    for (const float sigma : {1e-20f, 0.3f, 1.0f, 2.4f, 5.0f, 12.0f}) {
      const Picture p = plain::noise(size.width, size.height, 4, size.width % 2);
      const BlurKernel k = blurKernel(sigma);
      expect(
          p, plain::blurred(p, k.weights, k.edgeWeights), [&](CZZimage& i) { gaussianBlur(i, sigma); },
          "sigma " + std::to_string(sigma));
    }
}

TEST_F(Filters, BlurKernelHasItsShape) {
  // Sigma 1: lengths and bell by hand; the tail is bent only past r + 2, which lies outside four weights.
  const BlurKernel one = blurKernel(1.0f);
  ASSERT_EQ(one.weights.size(), 4u);
  const double sum = 1 + 2 * (std::exp(-0.5) + std::exp(-2.0) + std::exp(-4.5));
  EXPECT_NEAR(one.weights[0], 1 / sum, 1e-6);
  EXPECT_NEAR(one.weights[3], std::exp(-4.5) / sum, 1e-6);
  EXPECT_NEAR(one.edgeWeights[0], (1 - 1 / sum) / 2, 1e-6);
  EXPECT_NEAR(one.edgeWeights[3], 0, 1e-6);
  // Sigma 5: sqrt(k[r]) / (16 - r) is 0.1111 at 15, 0.0704 at 14, .. and least, 0.0543, at r = 10; 9 is more,
  // so weights from 11 on lie on the parabola of that slope.
  const BlurKernel five = blurKernel(5.0f);
  ASSERT_EQ(five.weights.size(), 16u);
  double least = 1;
  for (int r = 15; r > 8; --r) least = std::min(least, std::sqrt(std::exp(-0.02 * r * r)) / (16 - r));
  EXPECT_NEAR(five.weights[15] / five.weights[0], least * least, 1e-6);
  EXPECT_NEAR(five.weights[13] / five.weights[0], 9 * least * least, 1e-6);
  EXPECT_NEAR(five.weights[4] / five.weights[0], std::exp(-0.32), 1e-6);
}

TEST_F(Filters, ALargeSigmaBlursTheLongAxisOnlyOrNone) {
  Picture p = plain::flat(100, 12, 0);
  for (int32_t y = 0; y < 12; ++y) p.at(50, y) = static_cast<uint8_t>(20 * y);
  CZZimage image;
  plain::load(image, p);
  ASSERT_TRUE(gaussianBlur(image, 3.0f));  // length 10: under 50, not under 6
  EXPECT_EQ(image.row(0)[50], 0);
  EXPECT_GT(image.row(11)[47], 0);
  plain::load(image, p);
  for (const float sigma : {30.0f, 1e9f, HUGE_VALF}) EXPECT_TRUE(gaussianBlur(image, sigma));
  for (const float sigma : {0.0f, -1.0f, std::nanf("")}) EXPECT_FALSE(gaussianBlur(image, sigma));
  EXPECT_EQ(plain::unload(image), p);
}

TEST_F(Filters, NeighbourFiltersEqualTheirPlainTwins) {
  for (const Size size : kSizes)
    for (const int32_t kind : {0, 1}) {
      const Picture p = plain::noise(size.width, size.height, 6, kind);
      expect(
          p, plain::modifiedLaplacian(p), [](CZZimage& i) { modifiedLaplacian(i); }, "modified Laplacian");
      expect(
          p, plain::lulu(p, true), [](CZZimage& i) { lowerLulu(i); }, "L3");
      expect(
          p, plain::lulu(p, false), [](CZZimage& i) { upperLulu(i); }, "U3");
      expect(
          p, plain::minimum(p), [](CZZimage& i) { min3x3(i); }, "minimum");
      expect(
          p, plain::window(plain::modifiedLaplacian(p), false, 5),
          [](CZZimage& i) { sumModifiedLaplacian(i, 5); }, "sum");
    }
}

TEST_F(Filters, PiecesOfALargeImageJoinWithoutSeams) {
  const Picture p = plain::noise(701, 9000, 12);
  CZZimage one, three;
  plain::load(one, p);
  plain::load(three, p);
  for (CZZimage* i : {&one, &three}) {
    setParallelThreads(i == &one ? 1 : 3);
    for (const bool done :
         {lowerLulu(*i), filter3x3(*i, kLaplacianKernel, -0.5, 90), modifiedLaplacian(*i), min3x3(*i)})
      ASSERT_TRUE(done);
  }
  setParallelThreads(0);
  EXPECT_TRUE(plain::unload(one) == plain::unload(three));
}

TEST_F(Filters, ColourAndEmptyImagesAreLeftAlone) {
  CZZimage colour(8, 8, -1, 0, kColour), empty, grey(4, 4);
  EXPECT_FALSE(filterNxN(grey, apexKernel({}), 27, 0.5, 128)) << "a kernel of another size";
  for (CZZimage* i : {&colour, &empty}) {
    EXPECT_FALSE(windowFilter(*i, WindowMode::LowPass, *i, Rect{}, 3));
    EXPECT_FALSE(filter3x3(*i, kLaplacianKernel, 1.0, 0));
    EXPECT_FALSE(filterNxN(*i, std::vector<int32_t>{1}, 1, 1.0, 0));
    EXPECT_FALSE(gaussianBlur(*i, 1.0f));
    EXPECT_FALSE(sumModifiedLaplacian(*i, 3));
    for (bool (*filter)(CZZimage&) : {min3x3, lowerLulu, upperLulu}) EXPECT_FALSE(filter(*i));
  }
}

}  // namespace
}  // namespace tarnvisor
