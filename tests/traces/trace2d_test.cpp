#include "traces/tracetests.h"

namespace tarnvisor {
namespace {

TEST(RowTraces, CopyTheirExtentsWithTheirRows) {
  auto rows = rowsOf({{1, 2}, {3, 4}, {5, 6}, {7, 8}}, kByteRowsCode);
  for (uint32_t row = 0; row < 4; ++row) rows->setextent(row, row + 10.0);
  rows->origin = 2;
  rows->fsoffset = 3;
  rows->palette.setInverse(true);
  const auto copyOf = [&](uint32_t from, uint32_t to) { return rows->ZZTrace::clone(from, to); };
  const ZZTrace::Own part = copyOf(3, 1);
  auto& partRows = dynamic_cast<C2DTrace&>(*part);
  EXPECT_THAT(samplesOf(*part), ElementsAre(7, 8, 1, 2));
  EXPECT_THAT(samplesOf(*partRows.rowvalues), ElementsAre(13, 10));
  EXPECT_EQ(partRows.fsoffset, 3);
  EXPECT_TRUE(partRows.palette.inverse());
  EXPECT_THAT(samplesOf(*dynamic_cast<C2DTrace&>(*copyOf(0, 0)).rowvalues), ElementsAre(12, 13, 10, 11));
  EXPECT_THAT(samplesOf(*dynamic_cast<C2DTrace&>(*rows->clone()).rowvalues), ElementsAre(10, 11, 12, 13));

  CDopTrace doppler;
  doppler.copyfrom(*rows, 0, 0);
  EXPECT_STREQ(doppler.clone()->classRecord().name, "CDopTrace");
}

TEST(RowTraces, TakeDefaultsAndExtentsFromAPlainTrace) {
  C2DTrace rows(kByteRowsCode, 2, 2);
  rows.fullscale = 9;
  rows.palette.setColour(false);
  rows.copyfrom(*traceOf({-4, 0, 300}, kInt16Code), 0, 0);
  EXPECT_EQ(rows.fullscale, 500.0);
  EXPECT_TRUE(rows.palette.colour());
  EXPECT_THAT(samplesOf(*rows.rowvalues), ElementsAre(-4, 0, 300));
  EXPECT_THAT(samplesOf(rows), ElementsAre(-4, 0, 300));
  EXPECT_TRUE(hasRows(*rows.data));
  EXPECT_EQ(rows.width(), 1);
}

TEST(RowTraces, CopyAVectorWithFullRows) {
  const auto source = rowsOf({{1, 2, 3}, {4, 5, 6}}, kWordRowsCode);
  const C2DTrace copy(*source->data);
  EXPECT_THAT(samplesOf(*copy.rowvalues), ElementsAre(3, 3));
  EXPECT_EQ(samplesOf(copy), samplesOf(*source));
}

TEST(RowTraces, FindTheFirstUnbrokenRunFromTheOrigin) {
  const struct {
    Doubles extents;
    uint32_t origin, first, last;
  } cases[] = {{{0, 1, 1, 0, 1}, 0, 1, 2}, {{0, 1, 1, 0, 1}, 3, 4, 4}, {{1, 1, 0, 0, 1}, 2, 4, 1},
               {{0, 0, 0}, 1, 0, 0},       {{1, 1, 1}, 1, 1, 0},       {{5, 0, 0}, 0, 0, 0}};
  for (const auto& c : cases) {
    C2DTrace rows(kByteRowsCode, static_cast<uint32_t>(c.extents.size()), 1);
    for (uint32_t row = 0; row < rows.size(); ++row) rows.setextent(row, c.extents[row]);
    rows.origin = c.origin;
    uint32_t first = 9, last = 9;
    rows.validrange(first, last);
    EXPECT_EQ(first, c.first) << testing::PrintToString(c.extents);
    EXPECT_EQ(last, c.last) << testing::PrintToString(c.extents);
  }
}

// Rows of a pattern that moves by one column a row.
std::unique_ptr<C2DTrace> movingRows() {
  std::vector<Doubles> rows(6, Doubles(8));
  for (size_t row = 0; row < 6; ++row)
    for (size_t i = 0; i < 8; ++i) rows[row][i] = static_cast<double>((i + row) * (i + row) % 11);
  return rowsOf(rows, kWordRowsCode);
}

TEST(RowTraces, CorrelateRowsThatHoldSomething) {
  auto scan = movingRows();
  scan->period = 0.5;
  C2DTrace target(kWordRowsCode, 4, 4), expected(kWordRowsCode, 4, 4);
  scan->correlate(3, 2, target, 1);
  scan->data->correlaterows(3, 2, *expected.data, 1, false);
  EXPECT_EQ(samplesOf(target), samplesOf(expected));
  EXPECT_EQ(target.extent(1), 8 / 2 * 0.5 / 0.5);
  scan->correlatestep(3, 2, target, 2, 2);
  scan->data->correlaterowsstep(3, 2, *expected.data, 2, 2, false);
  EXPECT_EQ(samplesOf(target), samplesOf(expected));
  // An empty row empties the target's.
  scan->zeroat(3);
  scan->correlate(3, 2, target, 1);
  EXPECT_EQ(target.extent(1), 0);
  EXPECT_EQ(samplesOf(target), samplesOf(expected));
  // Neither a plain target nor one too small is written.
  auto plain = traceOf({1, 2});
  scan->correlate(1, 1, *plain, 0);
  scan->correlate(1, 1, target, 4);
  C2DTrace narrow(kWordRowsCode, 4, 3);
  scan->correlate(1, 1, narrow, 0);
  scan->correlate(9, 1, target, 0);
  EXPECT_THAT(samplesOf(*plain), ElementsAre(1, 2));
  EXPECT_EQ(samplesOf(narrow), Doubles(12));
}

TEST(RowTraces, MakeACorrelogram) {
  auto scan = movingRows();
  scan->period = 0.25;
  scan->ygain = 3;
  scan->name = "scan";
  scan->yunits = "um";
  scan->xunits = "s";
  scan->setextent(2, 5);
  C2DTrace target(kWordRowsCode, 6, 4), expected(kWordRowsCode, 6, 4);
  scan->correlogram(1, 5, target, 2);
  scan->data->correlatewindow(*expected.data, 1, 5, 2);
  EXPECT_EQ(samplesOf(target), samplesOf(expected));
  EXPECT_THAT(samplesOf(*target.rowvalues), ElementsAre(8, 5, 8, 8, 0, 0));
  EXPECT_EQ(target.ygain, 6);
  EXPECT_EQ(target.xscale, 6);
  EXPECT_EQ(target.name, "correlogram of scan");
  EXPECT_EQ(target.yunits, "um/s");
  EXPECT_EQ(target.xunits, "s");
  EXPECT_THAT((Doubles{target.fullscale, target.fsstep, target.fsmin, target.fsmax}),
              ElementsAre(1000, 1.25, 10, 65535));
  auto plain = traceOf({1, 2});
  scan->correlogram(1, 5, *plain, 2);
  EXPECT_EQ(plain->name, "");
  C2DTrace small(kWordRowsCode, 3, 4);
  scan->correlogram(1, 5, small, 2);
  EXPECT_EQ(samplesOf(small), Doubles(12));
}

TEST(RowTraces, PutMinusOneForAnEmptyRow) {
  auto rows = rowsOf({{1, 5, 2}, {1, 9, 2}});
  rows->zeroat(0);
  auto values = traceOf({7, 7}), positions = traceOf({7, 7});
  rows->peakmax(0, values.get(), 0, positions.get(), 1, 0);
  EXPECT_THAT(samplesOf(*values), ElementsAre(-1, 7));
  EXPECT_THAT(samplesOf(*positions), ElementsAre(7, -1));
  rows->peakmax(1, values.get(), 1, nullptr, 0, 0);
  rows->peaklocal(1, nullptr, 0, positions.get(), 1, 0);
  EXPECT_THAT(samplesOf(*values), ElementsAre(-1, 9));
  EXPECT_THAT(samplesOf(*positions), ElementsAre(7, 1));
  rows->peaklocal(0, values.get(), 1, positions.get(), 5, 0);
  EXPECT_THAT(samplesOf(*values), ElementsAre(-1, -1));
}

TEST(RowTraces, AverageNeighboursOfARow) {
  auto rows = rowsOf({{1, 3, 5, 7}, {1, 1, 1, 1}});
  C2DTrace target(kDoubleRowsCode, 2, 2);
  rows->zeroat(1);
  rows->rowaverage(0, target, 2);
  rows->rowaverage(1, target, 2);
  rows->rowaverage(2, target, 2);
  EXPECT_THAT(samplesOf(target), ElementsAre(2, 6, 0, 0));
  EXPECT_THAT(samplesOf(*target.rowvalues), ElementsAre(4, 0));
}

TEST(RowTraces, PutCentroidsIntoATraceThatHoldsThemAll) {
  auto rows = rowsOf({{0, 0, 4}, {0, 0, 0}, {1, 0, 1}, {0, 2, 0}});
  auto result = traceOf({7});
  rows->centroid(0, 0, *result, false);
  EXPECT_THAT(samplesOf(*result), ElementsAre(2, 0, 1, 1));
  rows->centroid(2, 4, *result, false);
  EXPECT_THAT(samplesOf(*result), ElementsAre(1, 1, 1, 1));
}

TEST(RowTraces, TransformTheirItemsAsOneSignal) {
  C2DTrace source(kDoubleRowsCode, 64, 2), target(kDoubleRowsCode, 16, 16), expected(kDoubleRowsCode, 16, 16);
  for (uint32_t i = 0; i < 128; ++i) source.data->putcell(i / 2, i % 2, i % 8 < 4 ? 1.0 : -1.0);
  source.name = "wave";
  source.xunits = "s";
  source.fft(0, 0, target, nullptr);
  expected.data->rowfft(0, 0, *source.data->flatclone(), nullptr);
  EXPECT_EQ(samplesOf(target), samplesOf(expected));
  EXPECT_GT(target.data->maxvalue(), 0.1);
  EXPECT_EQ(samplesOf(*target.rowvalues), Doubles(16, 16.0));
  EXPECT_EQ(target.name, "FFT of wave");
  EXPECT_EQ(target.xunits, "1/s");
  EXPECT_EQ(target.fsmax, 65535);
}

}  // namespace
}  // namespace tarnvisor
