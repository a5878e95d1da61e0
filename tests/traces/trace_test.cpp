#include "traces/tracetests.h"

namespace tarnvisor {
namespace {

TEST(Traces, StepRoundTheRingOrStopAtItsEnds) {
  const std::tuple<int32_t, uint32_t, int64_t, uint32_t> cases[] = {
      {0, 3, -5, 0},        {1, 3, -5, 8},        {0, 8, 5, 9},        {1, 8, 5, 3},   {1, 8, 2, 0},
      {0, 8, 2, 9},         {1, 25, 0, 5},        {0, 25, 0, 9},       {1, 3, -23, 0}, {0, 3, INT64_MAX, 9},
      {0, 3, INT64_MIN, 0}, {1, 7, INT64_MAX, 4}, {1, 7, INT64_MIN, 9}};
  CTrace trace(kUint8Code, 10);
  for (const auto& [circular, index, steps, expected] : cases) {
    trace.circular = circular;
    EXPECT_EQ(trace.ringadd(index, steps), expected) << circular << " " << index << " " << steps;
  }
  EXPECT_EQ(CTrace().ringadd(5, 5), 0u);
  trace.setorigin(12);
  trace.advance(-4);
  EXPECT_EQ(trace.origin, 8u);
}

TEST(Traces, TellTheTimeOfAnIndexAndBack) {
  CTrace trace(kUint8Code, 10);
  trace.period = 0.5;
  trace.starttime = 2000;
  trace.origin = 4;
  EXPECT_EQ(std::make_tuple(trace.timeof(4), trace.timeof(9), trace.timeof(3)),
            std::make_tuple(2.0, 4.5, 6.5));
  uint32_t index = 77;
  EXPECT_TRUE(trace.indexof(2.9, index));
  EXPECT_EQ(index, 5u);
  // The result isn't wrapped: samples before the origin aren't found, but times before the start are.
  index = 77;
  EXPECT_FALSE(trace.indexof(6.5, index));
  EXPECT_FALSE(trace.indexof(5.0, index));
  EXPECT_FALSE(trace.indexof(-0.1, index));
  EXPECT_FALSE(trace.indexof(NAN, index));
  EXPECT_EQ(index, 77u);
  EXPECT_TRUE(trace.indexof(0.0, index));
  EXPECT_EQ(index, 0u);
  trace.setstarttime(-1.2349);
  EXPECT_EQ(trace.starttime, -1234);
  trace.setstarttime(1e300);
  EXPECT_EQ(trace.starttime, INT32_MAX);
}

TEST(Traces, OrderARangeForwardInTime) {
  const struct {
    uint32_t from, to, ordered, end;
    bool result;
  } cases[] = {{3, 8, 8, 3, false}, {5, 8, 5, 8, true}, {3, 5, 5, 3, false}, {3, 4, 3, 4, true},
               {8, 3, 8, 3, false}, {3, 1, 1, 3, true}, {8, 5, 5, 8, true},  {4, 4, 4, 4, true}};
  CTrace trace(kUint8Code, 10);
  trace.origin = 5;
  for (const auto& c : cases) {
    uint32_t from = c.from, to = c.to;
    EXPECT_EQ(trace.orderrange(from, to), c.result) << c.from << " " << c.to;
    EXPECT_EQ(from, c.ordered) << c.from << " " << c.to;
    EXPECT_EQ(to, c.end) << c.from << " " << c.to;
  }
}

TEST(Traces, ReportTheCodeTheyAreMadeFrom) {
  TestHost host;
  for (const int32_t code : {1, 2, 3, 4, 5, 6, 7, 8}) {
    const CTrace trace(code, 3);
    EXPECT_EQ(trace.typecode(), code);
    EXPECT_EQ(trace.size(), 3u);
  }
  const std::pair<int32_t, int32_t> rows[] = {{10, 2}, {12, 4}, {16, 8}};
  for (const auto& [code, reported] : rows) {
    const C2DTrace trace(code, 3, 5);
    EXPECT_EQ(trace.typecode(), reported);
    EXPECT_EQ(trace.width(), 5);
    EXPECT_EQ(samplesOf(*trace.rowvalues), Doubles(3));
    EXPECT_EQ(CTrace(code, 3).data, nullptr);
    EXPECT_EQ(C2DTrace(reported, 3, 5).data, nullptr);
  }
  EXPECT_EQ(CTrace().typecode(), 0);
}

TEST(Traces, TakeRangesInTimeOrder) {
  auto trace = traceOf({0, 1, 2, 3, 4, 5}, kInt16Code);
  trace->origin = 4;
  trace->starttime = 5000;
  trace->ygain = 0.25;
  trace->name = "x";
  const auto taken = [&](uint32_t from, uint32_t to) {
    const ZZTrace::Own copy = trace->ZZTrace::clone(from, to);
    EXPECT_STREQ(copy->classRecord().name, "CTrace");
    EXPECT_EQ(copy->typecode(), kInt16Code);
    EXPECT_EQ(copy->name, "x");
    EXPECT_EQ(std::make_tuple(copy->ygain, copy->origin, copy->starttime), std::make_tuple(0.25, 0u, 0));
    return samplesOf(*copy);
  };
  EXPECT_THAT(taken(1, 3), ElementsAre(1, 2));
  EXPECT_THAT(taken(3, 1), ElementsAre(1, 2));
  EXPECT_THAT(taken(5, 2), ElementsAre(5, 0, 1));
  EXPECT_THAT(taken(2, 5), ElementsAre(5, 0, 1));
  EXPECT_THAT(taken(2, 2), ElementsAre(4, 5, 0, 1, 2, 3));
  EXPECT_THAT(taken(0, 6), ElementsAre(4, 5, 0, 1, 2, 3));
  const ZZTrace::Own whole = trace->clone();
  EXPECT_EQ(whole->origin, 4u);
  EXPECT_EQ(whole->starttime, 5000);
  EXPECT_THAT(samplesOf(*whole), ElementsAre(0, 1, 2, 3, 4, 5));
  trace->copyfrom(*trace, 1, 3);
  EXPECT_THAT(samplesOf(*trace), ElementsAre(1, 2));
}

TEST(Traces, ExtractTheVectorAsItLies) {
  const auto trace = traceOf({0, 1, 2, 3});
  EXPECT_THAT(samplesOf(*ZZTrace::extract(*trace->data, 2, 2)), ElementsAre(0, 1, 2, 3));
  EXPECT_THAT(samplesOf(*ZZTrace::extract(*trace->data, 1, 3)), ElementsAre(1, 2));
  EXPECT_THAT(samplesOf(*ZZTrace::extract(*trace->data, 3, 2)), ElementsAre(3, 0, 1));
  EXPECT_THAT(samplesOf(*ZZTrace::extract(*trace->data, 3, 0)), ElementsAre(3));
  EXPECT_THAT(samplesOf(*ZZTrace::extract(*trace->data, 4, 2)), ElementsAre(0, 1));
  const auto rows = rowsOf({{1, 2}, {3, 4}, {5, 6}});
  EXPECT_THAT(samplesOf(*ZZTrace::extract(*rows->data, 2, 1)), ElementsAre(5, 6, 1, 2));
}

TEST(Traces, ResizeFromTheirStartAndReportAFailure) {
  TestHost host;
  auto trace = traceOf({1, 2, 3});
  trace->origin = 2;
  EXPECT_TRUE(trace->resizedata(4));
  EXPECT_EQ(trace->origin, 0u);
  EXPECT_THAT(samplesOf(*trace), ElementsAre(1, 2, 3, 0));
  EXPECT_TRUE(host.messages.empty());
  EXPECT_FALSE(CTrace().resizedata(4));
  EXPECT_TRUE(takeLowMemory());
  auto rows = rowsOf({{1, 2}, {3, 4}});
  EXPECT_TRUE(rows->resizedata(3));
  EXPECT_THAT(samplesOf(*rows->rowvalues), ElementsAre(2, 2, 0));
}

TEST(Traces, AssignDataAloneWithTheirRing) {
  auto from = traceOf({1, 2, 3}, kInt8Code);
  from->circular = 1;
  from->origin = 2;
  from->period = 9;
  auto to = traceOf({7});
  to->assigndata(*from);
  EXPECT_EQ(std::make_tuple(to->typecode(), to->circular, to->origin, to->period),
            std::make_tuple(kInt8Code, 1, 2u, 1.0));
  to->zeroat(1);
  to->zeroat(3);
  EXPECT_THAT(samplesOf(*to), ElementsAre(1, 0, 3));
  // Rows keep one extent each.
  auto rows = rowsOf({{1, 2}});
  rows->assigndata(*rowsOf({{1, 2}, {3, 4}, {5, 6}}));
  EXPECT_THAT(samplesOf(*rows->rowvalues), ElementsAre(2, 0, 0));
}

TEST(Traces, ResampleRowsToAnotherWidth) {
  auto rows = rowsOf({{0, 4, 8}, {8, 4, 0}}, kWordRowsCode);
  const CdataVect::Own expected = newVector(kUint16Code, 6);
  rows->setrowwidth(6);
  ASSERT_EQ(rows->width(), 6);
  EXPECT_EQ(rows->size(), 2u);
  EXPECT_EQ(rows->typecode(), kUint16Code);
  for (const Doubles& row : {Doubles{0, 4, 8}, Doubles{8, 4, 0}}) {
    expected->stretch(*traceOf(row)->data);
    EXPECT_EQ(rowOf(*rows, row[0] == 0 ? 0 : 1), samplesOf(*expected));
  }
  rows->setrowwidth(0);
  EXPECT_EQ(rows->width(), 6);
}

TEST(Traces, BecomeNewWithTheirDefaults) {
  C2DTrace trace(kByteRowsCode, 2, 2);
  trace.name = "n";
  trace.linewidth = 1;
  trace.fullscale = 7;
  trace.palette.setColour(false);
  trace.setdefaults();
  EXPECT_EQ(trace.data, nullptr);
  EXPECT_EQ(trace.rowvalues, nullptr);
  EXPECT_EQ(trace.name, "");
  EXPECT_EQ(trace.linewidth, 5);
  EXPECT_EQ(trace.fullscale, 500.0);
  EXPECT_TRUE(trace.palette.colour());
}

std::string exported(const ZZTrace& trace, int64_t from, int64_t to, bool header = false, bool swap = false) {
  std::ostringstream file;
  EXPECT_TRUE(trace.exportbin(file, {header, swap}, from, to));
  return file.str();
}

TEST(BinaryExport, SwapsTheBytesOfEachItemOnly) {
  auto trace = traceOf({0x6162, 0x6364, 0x6566}, kUint16Code);
  EXPECT_EQ(exported(*trace, -1, 0), "badcfe");
  EXPECT_EQ(exported(*trace, -1, 0, false, true), "abcdef");
  EXPECT_EQ(exported(*trace, -1, 0, true).substr(0, 128), exported(*trace, -1, 0, true, true).substr(0, 128));
}

TEST(BinaryExport, BeginsWithAHeaderOf128Bytes) {
  auto trace = rowsOf({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}, kWordRowsCode);
  trace->period = 2.0;
  trace->starttime = 1500;
  trace->ygain = 0.5;
  trace->yoffset = -1.0;
  trace->name = std::string(70, 'n');
  FileBytes expected;
  expected.hex("02 00 00 00  03 00 00 00  02 00  3F 00");
  expected.hex("00 00 00 00 00 00 00 40  00 00 00 00 00 00 16 40");  // the time of row 2
  expected.hex("00 00 00 00 00 00 E0 3F  00 00 00 00 00 00 F0 BF");
  expected.real(0).real(0).text(std::string(67, 'n').c_str()).hex("00");
  expected.hex("07 00 08 00 09 00 01 00 02 00 03 00");
  const std::string file = exported(*trace, 2, 1, true);
  EXPECT_EQ(std::vector<uint8_t>(file.begin(), file.end()), expected.bytes);
}

}  // namespace
}  // namespace tarnvisor
