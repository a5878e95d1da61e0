#include "support/archivetest.h"
#include "vecttest.h"

namespace tarnvisor {
namespace {

using namespace vecttest;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

template <class Vect>
double kept(double value) {
  Vect vect(1);
  vect.putval(0, value);
  return vect.at(0);
}

TEST(Item, TruncatesAndIsCutToItsWidth) {
  EXPECT_EQ(kept<Cubyte1Vect>(300.7), 44);
  EXPECT_EQ(kept<Cubyte1Vect>(-1.9), 255);
  EXPECT_EQ(kept<Cbyte1Vect>(200), -56);
  EXPECT_EQ(kept<Cubyte2Vect>(-3), 65533);
  EXPECT_EQ(kept<Cbyte2Vect>(-2.99), -2);
  EXPECT_EQ(kept<Cubyte4Vect>(4294967296.0 * 3 + 7.5), 7);
  EXPECT_EQ(kept<Cbyte4Vect>(2147483648.0), -2147483648.0);
  EXPECT_EQ(kept<Cubyte4Vect>(std::ldexp(3, 80)), 0);
  EXPECT_EQ(kept<CfloatVect>(0.1), static_cast<double>(0.1f));
  for (const double lost : {kNan, kInfinity, -kInfinity}) {
    EXPECT_EQ(kept<Cubyte2Vect>(lost), 0);
    EXPECT_EQ(kept<Cbyte4Vect>(lost), 0);
  }
}

TEST(Vector, IsMadeEmptySizedCopiedOrFromARange) {
  const Cubyte2Vect empty;
  EXPECT_EQ(empty.data, nullptr);
  EXPECT_EQ(empty.elementsize, 2);
  EXPECT_EQ(all(Cubyte2Vect(2, 2)), Values(4, 0.0));
  auto ramp = of<Cubyte2Vect>({0, 1, 2, 3, 4, 5, 6, 7});
  ramp.stride = 3;
  ramp.cursor = 5;
  const Cubyte2Vect copy(ramp);
  EXPECT_EQ(all(copy), all(ramp));
  EXPECT_NE(copy.data, ramp.data);
  EXPECT_EQ(copy.stride, 3u);
  EXPECT_EQ(copy.cursor, 5u);
  const Cubyte2Vect some(ramp, 1, 3, 2);
  EXPECT_EQ(all(some), (Values{1, 3, 5}));
  EXPECT_EQ(some.cursor, 5u);
  CdoubleVect other(3);
  other.assign(ramp);
  EXPECT_EQ(all(other), all(ramp));
  other.assign(other);
  EXPECT_EQ(other.size, 8u);
}

TEST(Vector, ClonesKeepClassAndShape) {
  auto rows = of<CArrayVect>({1, 2, 3, 4, 5, 6}, 2);
  rows.stride = 4;
  const auto flat = rows.flatclone();
  EXPECT_STREQ(flat->classRecord().name, "Cubyte2Vect");
  EXPECT_EQ(flat->size, 6u);
  EXPECT_EQ(flat->width, 1);
  EXPECT_EQ(all(*flat), all(rows));
  const auto none = rows.emptyclone();
  EXPECT_STREQ(none->classRecord().name, "CArrayVect");
  EXPECT_EQ(none->width, 2);
  EXPECT_EQ(none->stride, 4u);
  EXPECT_EQ(none->size, 0u);
  EXPECT_EQ(all(*rows.clone(1, 2)), (Values{3, 4, 5, 6}));
}

TEST(Vector, SaysWhatFailedInOneLine) {
  auto hundred = of<CdoubleVect>({1});
  const auto view = hundred.getArray(0);
  view->width = 65535;
  view->size = UINT32_MAX;
  const std::string refused = "Cdatavect global alloc failure\n";
  EXPECT_EQ(errors([&] { EXPECT_EQ(view->clone(), nullptr); }),
            refused + "clone() failed. Deleting cloneofthis\n");
  EXPECT_EQ(errors([&] { EXPECT_EQ(view->clone(0, UINT32_MAX, 1), nullptr); }),
            refused + "clone(...) failed. Deleting cloneofthis\n");
  CdoubleVect target(3);
  EXPECT_EQ(errors([&] { target.assign(*view); }), refused + "arrayvect = operator memory failure!\n");
  EXPECT_EQ(target.size, 0u);
  Cdouble2DVect wide(10, 65535);
  EXPECT_FALSE(wide.resize(UINT32_MAX));
  EXPECT_EQ(wide.size, 10u);
  EXPECT_EQ(errors([&] { EXPECT_EQ(hundred.getArray(1)->at(0), 1); }), "datavect bad index for getArray\n");
}

TEST(Vector, ResizesWithZeroesAndBringsTheCursorBack) {
  auto vect = of<Cubyte1Vect>({1, 2, 3, 4});
  vect.cursor = 3;
  EXPECT_TRUE(vect.resize(3));
  EXPECT_EQ(vect.cursor, 3u);
  EXPECT_TRUE(vect.resize(2));
  EXPECT_EQ(vect.cursor, 0u);
  EXPECT_TRUE(vect.setwidth(5));
  EXPECT_EQ(all(vect), (Values{1, 2, 0, 0, 0}));
  auto rows = of<CArrayVect>({1, 2, 3, 4, 5, 6}, 2);
  EXPECT_TRUE(rows.setwidth(3));  // the items stay where they lie
  EXPECT_EQ(all(rows), (Values{1, 2, 3, 4, 5, 6, 0, 0, 0}));
  EXPECT_FALSE(rows.setwidth(0));
}

TEST(Vector, RotatesWithItsCursor) {
  const std::tuple<uint32_t, uint32_t, uint32_t, Values> cases[] = {
      {0, 2, 2, {0, 1, 2, 3, 4}}, {5, 2, 2, {0, 1, 2, 3, 4}}, {1, 0, 4, {1, 2, 3, 4, 0}},
      {1, 3, 2, {1, 2, 3, 4, 0}}, {4, 2, 3, {4, 0, 1, 2, 3}}, {3, 3, 0, {3, 4, 0, 1, 2}}};
  for (const auto& [k, cursor, expected, items] : cases) {
    auto vect = of<Cbyte4Vect>({0, 1, 2, 3, 4});
    vect.cursor = cursor;
    vect.rotate(k);
    EXPECT_EQ(all(vect), items);
    EXPECT_EQ(vect.cursor, expected);
  }
  auto rows = of<CArrayVect1>({1, 2, 3, 4, 5, 6}, 2);
  rows.rotate(2);
  EXPECT_EQ(all(rows), (Values{5, 6, 1, 2, 3, 4}));
}

TEST(Vector, ViewsBorrowAndReleaseNothing) {
  auto vect = of<Cubyte1Vect>({1, 2, 3, 4});
  vect.cursor = 2;
  const auto tail = vect.getArrayAtCursor();
  EXPECT_TRUE(tail->isView());
  EXPECT_EQ(all(*tail), (Values{3, 4}));
  tail->clear();
  tail->release();
  EXPECT_EQ(tail->size, 2u);
  tail->advancedata(-1);
  tail->putval(0, 9.0);
  EXPECT_EQ(all(vect), (Values{1, 9, 3, 4}));
  vect.clear();
  EXPECT_EQ(all(vect), Values(4, 0.0));
  vect.release();
  EXPECT_EQ(vect.size, 0u);
  EXPECT_EQ(vect.data, nullptr);
}

TEST(Reading, GoesThroughAnyTypeAndByStride) {
  auto vect = of<Cbyte2Vect>({-1, 300, 7, 8, 9});
  uint8_t byte = 0;
  vect.getval(1, byte);
  EXPECT_EQ(byte, 44);
  float out[2] = {};
  EXPECT_EQ(vect.getcopy(out, 1, 2, 3), 2u);
  EXPECT_EQ(out[0], 300.0f);
  EXPECT_EQ(out[1], 9.0f);
  vect.stride = 2;
  uint16_t next = 0;
  vect.nextval(next);
  EXPECT_EQ(next, 65535);
  vect.nextval(next);
  EXPECT_EQ(next, 7);
  vect.push(2.9);
  EXPECT_EQ(vect.at(4), 2);
  EXPECT_EQ(vect.cursor, 6u);
}

TEST(Reading, CopiesStopAtTheEnd) {
  auto vect = of<Cubyte1Vect>({1, 2, 3, 4, 5, 6, 7});
  double out[8] = {};
  EXPECT_EQ(errors([&] { EXPECT_EQ(vect.getcopy(out, 7, 1, 1), 0u); }), "tried to start getcopy past end\n");
  const Cubyte1Vect empty;
  EXPECT_EQ(errors([&] { EXPECT_EQ(empty.getcopy(out, 0, 1, 1), 0u); }), "tried to start getcopy past end\n");
  EXPECT_EQ(vect.getcopy(out, 2, 9, 2), 2u);  // (7 - 2) / 2, though three would fit
  EXPECT_EQ(vect.getcopy(out, 2, 3, 2), 3u);
  EXPECT_EQ(vect.getcopy(out, 2, 0, 1), 0u);
  auto rows = of<CArrayVect>({1, 2, 3, 4, 5, 6}, 2);
  EXPECT_EQ(rows.getcopy(out, 0, 2, 2), 2u);
  EXPECT_EQ(Values(out, out + 4), (Values{1, 2, 5, 6}));
}

TEST(Filling, ReachesItemsRowsAndRings) {
  Cubyte1Vect ten(10);
  ten.fillrange(5, 2, 3);
  EXPECT_EQ(all(ten), (Values{3, 3, 0, 0, 0, 3, 3, 3, 3, 3}));
  ten.fillrange(0, 10, 1);
  EXPECT_EQ(all(ten), Values(10, 1.0));
  ten.fillrange(-2, 11, 7.9);
  EXPECT_EQ(all(ten), (Values{7, 1, 1, 1, 1, 1, 1, 1, 7, 7}));
  CArrayVect rows(3, 2);
  rows.fill(1.5);
  rows.putval(1, 4.0);
  rows.putcell(2, 1, 5.0);
  rows.addat(2, 1, 2.0);
  EXPECT_EQ(all(rows), (Values{1, 1, 4, 4, 1, 7}));
  EXPECT_EQ(rows.at(2, 1), 7);
  EXPECT_EQ(rows.at(2, 2), 0.0);
  EXPECT_EQ(rows.at(1), 4);
  EXPECT_EQ(ten.at(7, 1), 7);
  rows.fillrange(2, 1, 9.0);
  EXPECT_EQ(all(rows), (Values{9, 9, 4, 4, 9, 9}));
  rows.flatten();
  EXPECT_EQ(rows.size, 6u);
  rows.reverse();
  EXPECT_EQ(all(rows), (Values{9, 9, 4, 4, 9, 9}));
}

TEST(Filling, CopiesFromVectorsOfOtherShapes) {
  const auto flat = of<CdoubleVect>({1, 2, 3, 4, 5, 6});
  const auto pairs = of<CArrayVect1>({1, 2, 3, 4}, 2);
  CArrayVect rows(3, 3);
  rows.copyfrom(1, flat, 2);  // two rows of items
  EXPECT_EQ(all(rows), (Values{0, 0, 0, 1, 2, 3, 4, 5, 6}));
  rows.fill(0);
  rows.copyfrom(0, pairs, 2);  // rows without their gaps
  EXPECT_EQ(all(rows), (Values{1, 2, 3, 4, 0, 0, 0, 0, 0}));
  rows.copyfrom(0, CArrayVect(3, 4), 3);
  rows.copyfrom(0, rows, 3, 1);
  EXPECT_EQ(rows.at(0), 1);
  Cubyte1Vect items(4);
  items.copyfrom(2, flat, 9, 3);
  EXPECT_EQ(all(items), (Values{0, 0, 4, 5}));
  items.copyfrom(1, pairs, 3);  // only whole rows that end within
  EXPECT_EQ(all(items), (Values{0, 1, 2, 5}));
}

TEST(Filling, SamplesPixels) {
  const uint8_t pixels[] = {10, 21, 30, 40, 51, 60};
  const uint32_t index[] = {0, 1, 2, 3, 4, 5};
  const PointIndices points{index, 2, 3};
  Cubyte1Vect means(2);
  means.sampleavg(pixels, points);
  EXPECT_EQ(all(means), (Values{15, 35}));
  CArrayVect rows(2, 3);
  rows.cursor = 1;
  rows.sampleavg(pixels, points);
  EXPECT_EQ(all(rows), (Values{0, 0, 0, 15, 35, 55}));
  rows.sample(pixels, points);
  EXPECT_EQ(all(rows), (Values{0, 0, 0, 10, 21, 30}));
  CdoubleVect exact(5);
  exact.sampleavg(pixels, points);
  EXPECT_EQ(all(exact), (Values{15.5, 35, 55.5, 0, 0}));
}

TEST(Filling, DecimatesAveragesAndStretches) {
  const auto ramp = of<Cubyte1Vect>({0, 4, 8, 12, 16});
  CdoubleVect two(3);
  ramp.decimate(2, two);
  EXPECT_EQ(all(two), (Values{0, 8, 0}));
  Cubyte1Vect means(2);
  means.binaverage(ramp, 2);
  EXPECT_EQ(all(means), (Values{2, 10}));
  means.binaverage(ramp, 3);  // too short a source
  EXPECT_EQ(all(means), (Values{2, 10}));
  CArrayVect rows(2, 2);
  rows.binaverage(ramp, 2);
  EXPECT_EQ(all(rows), (Values{2, 10, 0, 0}));
  CdoubleVect longer(6);
  longer.stretch(of<CdoubleVect>({0, 6, 0, 3}));  // slopes 3, -3, 1.5, two items each
  EXPECT_EQ(all(longer), (Values{0, 3, 6, 3, 0, 1.5}));
  CdoubleVect odd(5);
  odd.stretch(of<CdoubleVect>({0, 5, -10}));  // turns at 2.5
  EXPECT_EQ(all(odd), (Values{0, 2, 4, 2, 0}));
  CdoubleVect half(2);
  half.stretch(of<CdoubleVect>({0, 1, 5, 6, 6}));  // the first step down the source is lost
  EXPECT_EQ(all(half), (Values{0, 8}));
  CArrayVect stretched(2, 4);
  stretched.stretch(of<CArrayVect>({0, 8, 8, 0}, 2));
  EXPECT_EQ(all(stretched), (Values{0, 2, 4, 6, 8, 6, 4, 2}));
}

TEST(Arithmetic, WorksItemByItem) {
  auto vect = of<Cubyte1Vect>({1, 100, 200});
  vect.scale(1.5);
  EXPECT_EQ(all(vect), (Values{1, 150, 44}));
  vect.offset(2);
  EXPECT_EQ(all(vect), (Values{255, 148, 42}));
  vect.linear(-0.5, 3);
  EXPECT_EQ(all(vect), (Values{132, 185, 238}));  // -124.5, -71, -18
  vect.square();
  EXPECT_EQ(all(vect), (Values{16, 177, 68}));
  auto negative = of<Cbyte1Vect>({-5, 5});
  negative.clampnegative();
  EXPECT_EQ(all(negative), (Values{0, 5}));
  const auto left = of<CdoubleVect>({1, 5, 9});
  const auto right = of<CdoubleVect>({2, 2, 2.5});
  vect.difference(left, right);
  EXPECT_EQ(all(vect), (Values{255, 3, 6}));
  vect.sum(left, right);
  EXPECT_EQ(all(vect), (Values{3, 7, 11}));
  EXPECT_EQ(vect.differenceat(0), 248);
  vect.normalise(10, 20);
  EXPECT_EQ(all(vect), (Values{20, 10, 10}));
}

TEST(Arithmetic, RatioSaturatesAndLowpassOnlyInRows) {
  auto vect = of<Cubyte1Vect>({200, 10, 5});
  vect.ratio(of<CdoubleVect>({1, -1, 0}), 2);
  EXPECT_EQ(all(vect), (Values{255, 0, 0}));
  vect.ratio(CdoubleVect(2), 2);  // another length
  EXPECT_EQ(vect.at(0), 255);
  vect.lowpassat(0, -1.0);  // (255 - 0) / -1 + 0
  EXPECT_EQ(vect.at(0), 1);
  auto rows = of<CArrayVect1>({200, 100, 100, 200}, 2);
  rows.lowpassat(0, -1.0);  // (200 - 100) / -1 + 100, (100 - 200) / -1 + 200
  EXPECT_EQ(all(rows), (Values{0, 255, 100, 200}));
  rows.lowpassat(0, 1.0);
  rows.lowpassat(0, 3.0);  // -33.3 + 100, 18.3 + 200
  EXPECT_EQ(all(rows), (Values{66, 218, 100, 200}));
  rows.ratio(of<Cubyte1Vect>({2, 100}), 10);
  EXPECT_EQ(all(rows), (Values{255, 21, 255, 20}));
  rows.differenceat(1);
  EXPECT_EQ(all(rows), (Values{255, 21, 0, 255}));
}

TEST(Arithmetic, DerivativeIsRecursive) {
  auto floating = of<CdoubleVect>({0, 4, 6, 16, 16});
  floating.derivative();
  EXPECT_EQ(all(floating), (Values{4, 3, 6.5, 3.25, 0}));
  auto integer = of<Cubyte1Vect>({10, 5, 6, 6});
  integer.derivative();
  EXPECT_EQ(all(integer), (Values{251, 126, 63, 0}));  // (1 + 251) >> 1, (0 + 126) >> 1
}

TEST(Measure, RangesAreCircularAndLimitsMayStayUnwritten) {
  double mean = -7, min = -7, max = -7, std = -7;
  const auto vect = of<CdoubleVect>({1, 2, 3, 6});
  EXPECT_EQ(vect.meanstd(mean, min, max, std, 2, 2), 4u);
  EXPECT_EQ((Values{mean, min, max, std}), (Values{3, 1, 6, std::sqrt(3.5)}));
  EXPECT_EQ(vect.meanminmax(mean, min, max, 3, 1), 2u);
  EXPECT_EQ((Values{mean, min, max}), (Values{3.5, 1, 6}));
  max = -7;
  EXPECT_EQ(of<CdoubleVect>({-1, 0, -2}).meanminmax(mean, min, max, 0, 0), 3u);
  EXPECT_EQ((Values{mean, min, max}), (Values{-1, -2, -7}));
  EXPECT_EQ(of<Cubyte1Vect>({0, 0}).meanminmax(mean, min, max, 0, 0), 2u);
  EXPECT_EQ((Values{mean, min, max}), (Values{0, 0, -7}));
  min = -7;
  EXPECT_EQ(of<Cubyte1Vect>({255}).meanminmax(mean, min, max, 0, 0), 1u);
  EXPECT_EQ((Values{min, max}), (Values{-7, 255}));
  EXPECT_EQ(of<CArrayVect>({1, 2, 3, 4}, 2).meanminmax(mean, min, max, 1, 0), 2u);
  EXPECT_EQ(mean, 3.5);
  EXPECT_EQ(CdoubleVect().meanminmax(mean, min, max, 0, 0), 0u);
}

TEST(Measure, FindsExtremes) {
  const auto vect = of<Cbyte2Vect>({4, -2, 7, -2, 7});
  EXPECT_EQ(vect.minindex(-5, 99), 1u);
  EXPECT_EQ(vect.maxindex(3, 99), 4u);
  EXPECT_EQ(vect.maxindex(3, 3), 0u);
  EXPECT_EQ(vect.maxvalue(), 7);
  EXPECT_EQ(of<CdoubleVect>({-3, 0}).maxvalue(), std::numeric_limits<double>::min());
  EXPECT_EQ(of<CdoubleVect>({kNan, 3}).maxvalue(), 3);
}

TEST(Measure, FindsPeaks) {
  struct Case {
    Values items;
    bool local;
    double threshold, value, position;
  };
  const double smallest = std::numeric_limits<double>::min();
  for (const Case& c : {Case{{9, 1, 5, 5, 2, 9}, false, 8, 9, 0},
                        {{9, 1, 5, 5, 2, 9}, true, 4, 5, 2},
                        {{9, 1, 5, 5, 2, 9}, true, 5, 5, -1},
                        {{3, 2, 1}, true, 0, smallest, 0},
                        {{3, 2, 1}, true, 1, smallest, -1},
                        {{-3, -2}, false, 0, smallest, 0}}) {
    CdoubleVect value(2), position(2);
    const auto vect = of<CdoubleVect>(c.items);
    (c.local ? vect.peaklocal(0, &value, 1, &position, 1, c.threshold)
             : vect.peakmax(0, &value, 1, &position, 1, c.threshold));
    EXPECT_EQ(value.at(1), c.value);
    EXPECT_EQ(position.at(1), c.position);
  }
  CdoubleVect position(1);
  of<CArrayVect>({1, 2, 3, 9, 8, 7}, 3).peakmax(1, nullptr, 0, &position, 0, 0);
  EXPECT_EQ(position.at(0), 0);
}

TEST(Measure, FindsTheWidthOfATrough) {
  int32_t left = -9, right = -9;
  EXPECT_EQ(CdoubleVect(10).troughwidth(0.5, left, right), 0);
  EXPECT_EQ(CdoubleVect(5).troughwidthchecked(left, right), 0);
  EXPECT_EQ(CdoubleVect(5).edgewidth(0, 0, left, right), 0);
  EXPECT_EQ(left, -9);
  const auto trough =
      of<CdoubleVect>({100, 100, 100, 100, 90, 60, 20, 0, 20, 60, 90, 100, 100, 100, 100, 100});
  // The mean is 77.5: first borders 4 and 10; then half way to the means beside them, 100 and 98.3.
  EXPECT_EQ(trough.troughwidth(0.5, left, right), 3);
  EXPECT_EQ(left, 5);
  EXPECT_EQ(right, 9);
  // The differences, smoothed: falling most at 6, rising most at 9.
  EXPECT_EQ(trough.troughwidthchecked(left, right), 4);
  EXPECT_EQ(left, 5);
  EXPECT_EQ(right, 9);
  EXPECT_TRUE(trough.istrough(4, 11));
  EXPECT_FALSE(of<CdoubleVect>({9, 9, 0, 1, 1, 9, 9, 9, 0, 0}).istrough(3, 5));
  EXPECT_EQ(of<CdoubleVect>(Values(10, 4.0)).troughwidthchecked(left, right), -1);
  EXPECT_FALSE(of<CdoubleVect>({9, 9, 9, 9, 0, 0, 0, 0, 0, 0}).istrough(4, 9)) << "a plain edge";
  EXPECT_FALSE(of<CdoubleVect>({0, 0, 0, 0, 0, 0, 9, 9, 9, 9}).istrough(0, 6)) << "a plain edge";
  EXPECT_GT(trough.edgewidth(0, 0, left, right), 4);
}

// Sums in the order that floating sums have.
template <class Term>
double sumInSixteens(uint64_t count, Term term) {
  double sums[16] = {};
  const uint64_t whole = count - count % 16;
  for (uint64_t i = 0; i < whole; ++i) sums[i % 16] += term(i);
  for (int half = 8; half > 0; half /= 2)
    for (int i = 0; i < half; ++i) sums[i] += sums[i + half];
  for (uint64_t i = whole; i < count; ++i) sums[0] += term(i);
  return sums[0];
}

TEST(Loops, EqualTheirPlainTwinsBitForBit) {
  for (const uint32_t count : {1u, 15u, 16u, 100u, 4099u, 70001u}) {
    Values values = noise(count, 1000003);
    for (double& value : values) value = value * 0.37 - 1000;
    auto vect = of<CdoubleVect>(values);
    double mean = 0, min = 0, max = 0, std = 0;
    vect.meanstd(mean, min, max, std, 0, 0);
    const double expected = sumInSixteens(count, [&](uint64_t i) { return values[i]; }) / count;
    EXPECT_EQ(mean, expected);
    EXPECT_EQ(vect.mean(), expected);
    const double squares =
        sumInSixteens(count, [&](uint64_t i) { return (values[i] - mean) * (values[i] - mean); });
    EXPECT_EQ(std, std::sqrt(squares / count));
    EXPECT_EQ(vect.data[vect.minindex(0, count)], *std::min_element(values.begin(), values.end()));
    EXPECT_EQ(min, *std::min_element(values.begin(), values.end()));
    EXPECT_EQ(vect.maxvalue(),
              std::max(*std::max_element(values.begin(), values.end()), std::numeric_limits<double>::min()));
    auto bytes = of<Cubyte1Vect>(noise(count, 256));
    auto words = of<Cubyte2Vect>(noise(count, 65536));
    const Values before = all(words), bytesBefore = all(bytes);
    for (const double k : {0.37, -3.3, 1e7}) {
      auto scaled = words;
      auto scaledBytes = bytes;
      scaled.linear(k, 0.9);
      scaledBytes.linear(k, 0.9);
      for (uint32_t i = 0; i < count; ++i) {
        ASSERT_EQ(scaled.data[i], static_cast<uint16_t>(static_cast<int64_t>(k * before[i] + 0.9)));
        ASSERT_EQ(scaledBytes.data[i], static_cast<uint8_t>(static_cast<int64_t>(k * bytesBefore[i] + 0.9)));
      }
    }
    EXPECT_EQ(words.mean(), std::accumulate(before.begin(), before.end(), 0.0) / count);
    EXPECT_EQ(bytes.maxvalue(), std::max(*std::max_element(bytesBefore.begin(), bytesBefore.end()),
                                         std::numeric_limits<double>::min()));
  }
}

TEST(Storing, TakesTheBytesWorkedOutByHand) {
  auto vect = of<Cubyte2Vect>({1, 0x203});
  vect.stride = 3;
  vect.cursor = 1;
  const Bytes bytes = {2, 0, 0, 0, 3, 0, 1, 0, 0, 0, 1, 0, 3, 2};
  EXPECT_EQ(storedBytes(vect), bytes);
  Cubyte2Vect back;
  EXPECT_EQ(loadBytes(back, bytes), 0u);
  EXPECT_EQ(all(back), all(vect));
  EXPECT_EQ(back.stride, 3u);
  EXPECT_EQ(back.cursor, 0u);
  auto rows = of<CArrayVect1>({1, 2, 3, 4}, 2);
  const Bytes rowBytes = {2, 0, 0, 0, 1, 0, 0, 0, 0, 0, 2, 0, 1, 2, 3, 4};
  EXPECT_EQ(storedBytes(rows), rowBytes);
  CArrayVect1 rowsBack;
  EXPECT_EQ(loadBytes(rowsBack, rowBytes), 0u);
  EXPECT_EQ(rowsBack.width, 2);
  EXPECT_EQ(all(rowsBack), all(rows));
}

TEST(Storing, ReadsNothingIntoAVectorThatHoldsABlock) {
  auto source = of<Cubyte1Vect>({1, 2, 3});
  Cubyte1Vect used(5);
  EXPECT_EQ(loadBytes(used, storedBytes(source)), 3u);
  EXPECT_EQ(used.size, 0u);
}

TEST(Storing, RefusesCountsBeyondTheFile) {
  for (const Bytes& bytes : {Bytes{3, 0, 0, 0, 1, 0, 0, 0, 0, 0, 2, 0, 1, 2, 3, 4},
                             Bytes{255, 255, 255, 255, 1, 0, 0, 0, 0, 0, 255, 255, 1},
                             Bytes{255, 255, 255, 255, 1, 0, 0, 0, 0, 0, 0, 0, 1}, Bytes{1, 0, 0, 0, 1}}) {
    Cdouble2DVect rows;
    EXPECT_THROW(loadBytes(rows, bytes), ArchiveException);
    EXPECT_EQ(rows.size, 0u);
  }
}

TEST(Storing, KnowsAllElevenClassesByNameAndBase) {
  registerDataVectors();
  const std::pair<const char*, const char*> classes[] = {
      {"Cubyte1Vect", "CdataVect"},   {"Cbyte1Vect", "CdataVect"},     {"Cubyte2Vect", "CdataVect"},
      {"Cbyte2Vect", "CdataVect"},    {"Cubyte4Vect", "CdataVect"},    {"Cbyte4Vect", "CdataVect"},
      {"CfloatVect", "CdataVect"},    {"CdoubleVect", "CdataVect"},    {"CArrayVect", "Cubyte2Vect"},
      {"CArrayVect1", "Cubyte1Vect"}, {"Cdouble2DVect", "CdoubleVect"}};
  for (const auto& [name, base] : classes) {
    const ArchiveClass* record = findArchiveClass(name);
    ASSERT_NE(record, nullptr) << name;
    EXPECT_EQ(record->schema, 1);
    EXPECT_STREQ(record->base->name, base);
    EXPECT_STREQ(record->create()->classRecord().name, name);
  }
}

}  // namespace
}  // namespace tarnvisor
