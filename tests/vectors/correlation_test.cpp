#include "vecttest.h"

namespace tarnvisor {
namespace {

using namespace vecttest;

// 1000 times the squared coefficient of n pairs, from rings.
double pearson(const Values& x, int64_t xAt, const Values& y, int64_t yAt, int64_t n, int64_t sumsAt) {
  const auto item = [](const Values& ring, int64_t i) {
    const auto size = static_cast<int64_t>(ring.size());
    return ring[static_cast<size_t>((i % size + size) % size)];
  };
  double sx = 0, sxx = 0, sy = 0, syy = 0, sxy = 0;
  for (int64_t i = 0; i < n; ++i) {
    const double a = item(x, xAt + i), b = item(y, yAt + i), w = item(y, sumsAt + i);
    sx += a;
    sxx += a * a;
    sy += w;
    syy += w * w;
    sxy += a * b;
  }
  const auto many = static_cast<double>(n);
  const double top = many * sxy - sx * sy;
  return top * top * 1000 / ((many * syy - sy * sy) * (many * sxx - sx * sx));
}

// The plain twin: lag after lag.
Values lags(const Values& x, int64_t start, const Values& y, int64_t otherstart, int64_t n,
            int64_t step = 1) {
  Values values;
  for (int64_t lag = 0; lag < n; lag += step)
    values.push_back(pearson(x, start, y, otherstart + lag, n, otherstart + lag));
  return values;
}

TEST(Correlation, OfIntegersEqualsThePlainTwinBitForBit) {
  const Values x = noise(256, 4096), y = noise(300, 4096, 9);
  for (const uint32_t n : {2u, 7u, 100u, 128u, 256u}) {
    CdoubleVect result(n);
    of<Cubyte2Vect>(x).correlate(250, of<Cubyte2Vect>(y), 290, result, n, false);
    const Values expected = lags(x, 250, y, 290, n);
    for (uint32_t i = 0; i < n; ++i) EXPECT_EQ(result.data[i], expected[i]) << n << " " << i;
  }
  // Beyond what pairs of products can hold, and of bytes.
  const Values high = noise(64, 65536), signedHigh = noise(64, 128, 3);
  CdoubleVect result(64);
  of<Cubyte2Vect>(high).correlate(3, of<Cubyte2Vect>(high), 5, result, 64, false);
  EXPECT_EQ(all(result), lags(high, 3, high, 5, 64));
  result.cursor = 0;
  of<Cbyte1Vect>(signedHigh).correlate(3, of<Cbyte1Vect>(signedHigh), 5, result, 64, false);
  EXPECT_EQ(all(result), lags(signedHigh, 3, signedHigh, 5, 64));
  EXPECT_EQ(result.cursor, 64u);
}

TEST(Correlation, OfLongRunsOfTheGreatestItemsIsExact) {
  const Values x = noise(40000, 2, 5);
  Cbyte2Vect items(40000);
  Values high(40000);
  for (uint32_t i = 0; i < 40000; ++i) high[i] = items.data[i] = x[i] > 0 ? INT16_MAX : INT16_MAX - 1;
  CdoubleVect result(2);
  items.correlatestep(0, items, 0, result, 40000, 20000, false);
  EXPECT_EQ(all(result), lags(high, 0, high, 0, 40000, 20000));
}

TEST(Correlation, OfFloatingItemsAndMixedTypesIsPearsons) {
  Values x = noise(100, 1000), y = noise(120, 1000, 4);
  for (double& value : y) value *= 0.1;
  CdoubleVect result(50);
  of<Cubyte2Vect>(x).correlate(7, of<CdoubleVect>(y), 11, result, 50, false);
  const Values expected = lags(x, 7, y, 11, 50);
  for (size_t i = 0; i < 50; ++i) EXPECT_NEAR(result.data[i], expected[i], 1e-6);
}

TEST(Correlation, LosesItsSignAndHasNoGuard) {
  CdoubleVect result(2);
  of<Cubyte1Vect>({1, 2, 3, 4}).correlate(0, of<Cubyte1Vect>({9, 7, 5, 3}), 0, result, 2, false);
  EXPECT_EQ(all(result), (Values{1000, 1000}));
  Cubyte2Vect flat(4);
  result.cursor = 0;
  flat.correlate(0, flat, 0, result, 2, false);
  EXPECT_TRUE(std::isnan(result.data[0]));
  auto items = of<Cubyte2Vect>({7, 7});
  flat.correlate(0, flat, 0, items, 2, false);
  EXPECT_EQ(all(items), (Values{0, 0}));
}

TEST(Correlation, CentredBeginsEarlierAndRunsBackwards) {
  const Values x = noise(40, 100), y = noise(50, 100, 8);
  const int64_t n = 6;
  CdoubleVect result(6), stepped(3);
  of<Cubyte2Vect>(x).correlate(3, of<Cubyte2Vect>(y), 4, result, 6, true);
  of<Cubyte2Vect>(x).correlatestep(3, of<Cubyte2Vect>(y), 4, stepped, 6, 2, true);
  for (int64_t lag = 0; lag < n; ++lag) {
    const int64_t window = 4 - 2 * n + lag;
    // The window's own sums stay where they began; with steps they are taken anew.
    EXPECT_EQ(result.at(static_cast<uint32_t>(n - 1 - lag)), pearson(x, 3 - n, y, window, n, 4 - 2 * n));
    if (lag % 2 == 0) {
      EXPECT_EQ(stepped.at(static_cast<uint32_t>(2 - lag / 2)), pearson(x, 3 - n, y, window, n, window));
    }
  }
}

TEST(Correlation, HalvesFillTheResultFromItsStart) {
  const Values x = noise(16, 100), y = noise(16, 100, 8);
  const auto mine = of<CArrayVect1>(x, 8), others = of<CArrayVect1>(y, 8);
  const auto first = mine.flatclone(), second = others.flatclone();
  CdoubleVect result(16);
  result.cursor = 5;
  first->correlatehalves(*second, result, true);
  Values expected = lags(x, 8, y, 0, 8);
  const Values later = lags(x, 0, y, 0, 8);
  expected.insert(expected.end(), later.begin(), later.end());
  EXPECT_EQ(all(result), expected);
  EXPECT_EQ(result.cursor, 16u);
  first->correlatehalvesstep(*second, result, 4, false);
  EXPECT_EQ(result.cursor, 2u);
  EXPECT_EQ(result.data[1], later[4]);
}

Values rowOf(const Values& items, size_t row, size_t width) {
  const auto at = items.begin() + static_cast<int64_t>(row * width);
  return Values(at, at + static_cast<int64_t>(width));
}

TEST(Correlation, PairsRowsOfARing) {
  const Values items = noise(5 * 8, 100);
  const auto rows = of<CArrayVect>(items, 8);
  Cdouble2DVect target(6, 5);
  rows.correlaterows(1, 2, target, 3, false);  // row 4 with row 1
  EXPECT_EQ(rowOf(all(target), 3, 5)[2], lags(rowOf(items, 4, 8), 0, rowOf(items, 1, 8), 0, 4)[2]);
  target.fill(-1);
  rows.correlatewindow(target, 3, 2, 2);  // 3 with 0, 4 with 1, and no more: the lead is at 2
  for (size_t pair = 0; pair < 2; ++pair) {
    Values expected = lags(rowOf(items, 3 + pair, 8), 0, rowOf(items, pair, 8), 0, 4);
    expected.push_back(-1);
    EXPECT_EQ(rowOf(all(target), pair, 5), expected);
  }
  EXPECT_EQ(rowOf(all(target), 2, 5), Values(5, -1.0));
  const Values before = all(target);
  rows.correlatewindow(target, 3, 2, 99);
  of<Cubyte2Vect>(items).correlaterows(1, 2, target, 0, false);
  EXPECT_EQ(all(target), before);
}

TEST(Hough, VotesAlongSlopesInARing) {
  Cdouble2DVect map(4, 3);
  map.fill(5);
  const auto rows = of<CArrayVect>({9, 9, 9, 1, 2, 4}, 3);
  const double slopes[] = {99, 1.5, 0.4};
  rows.houghrow(1, map, 1, slopes, 3, 3);
  // Slope 1: 0, 1, 3 (past the limit); slope 2: 0, 0, 0. The row 1 was emptied.
  EXPECT_EQ(all(map), (Values{5, 7, 5, 0, 1, 7, 5, 5, 5, 5, 5, 5}));
  of<Cubyte1Vect>({0, 0, 1}).houghaccumulate(map, 1, slopes, 2, 4);  // 3 rows before 1
  EXPECT_EQ(map.at(2, 1), 6);
}

TEST(Rows, DotWithCosinesOfATruncatedTurn) {
  const auto rows = of<CArrayVect>({1, 2, 3, 4, 5, 6}, 2);
  CdoubleVect cosine(3), sine(3);
  rows.dotcossin(cosine, sine, 2, 1, 1.0);
  EXPECT_EQ(cosine.at(0), 1 + 2 * std::cos(6.283184 / 2));
  EXPECT_EQ(sine.at(2), 6 * std::sin(6.283184 / 2));
  EXPECT_EQ(cosine.at(1), 0);  // not in the range
}

TEST(Rows, HaveACentroid) {
  const auto rows = of<CArrayVect>({1, 0, 0, 3, 0, 0, 0, 9, 0, 2, 0, 0}, 4);
  CdoubleVect plain(3), isSigned(3);
  plain.cursor = 2;
  rows.centroid(0, 0, plain, false);
  EXPECT_EQ(all(plain), (Values{2.25, 3, 1}));
  rows.centroid(2, 2, isSigned, true);  // of the lower half, from the ring's row 2 on
  EXPECT_EQ(all(isSigned), (Values{-1, -2, 0}));
}

}  // namespace
}  // namespace tarnvisor
