#include "traces/tracetests.h"

namespace tarnvisor {
namespace {

// One trace of three 16-bit samples, every field with a value of its own.
FileBytes presentTrace() {
  FileBytes file;
  file.hex("08 00 00 5A  33 22 11 00  01 00 00 00");
  file.hex("00 00 00 00 00 00 E0 3F  00 00 00 00 00 00 00 40");
  file.newClass("Cubyte2Vect").hex("03 00 00 00  01 00  00 00 00 00  0A 00 14 00 E8 03");
  file.hex("00 00 00 00 00 00 08 40  00 00 00 00 00 00 10 40");
  file.hex("FF FF FF FF  02 00 00 00  03 61 62 63  01 73  00");
  file.hex("01 00 00 00  00 00 00 00 00 00 F0 BF");
  return file.hex("7B 00 00 00  01 00 00 00  01 00 00 00  00 00 00 00");
}

TEST(StoredTraces, ReadAndWriteThePresentForm) {
  CTrace trace;
  loadFrom(trace, presentTrace());
  EXPECT_EQ(std::make_tuple(trace.colour, trace.origin, trace.ygain, trace.period),
            std::make_tuple(0x112233u, 1u, 0.5, 2.0));
  EXPECT_THAT(samplesOf(trace), ElementsAre(10, 20, 1000));
  EXPECT_EQ(std::make_tuple(trace.typecode(), trace.xscale, trace.pixelperiod, trace.starttime, trace.slot),
            std::make_tuple(kUint16Code, 3.0, 4.0, -1, 2));
  EXPECT_EQ(trace.name, "abc");
  EXPECT_EQ(trace.xunits, "s");
  EXPECT_EQ(trace.yunits, "");
  EXPECT_EQ(std::make_tuple(trace.circular, trace.yoffset, trace.tracetype), std::make_tuple(1, -1.0, 123));
  EXPECT_TRUE(trace.hidden);
  EXPECT_TRUE(trace.marked);
  EXPECT_EQ(trace.linewidth, 0);  // as stored, not the default
  EXPECT_EQ(storedBytes(trace), presentTrace().bytes);
}

// Version 0 has no stamp.
FileBytes olderTrace(uint32_t version, uint32_t stamp) {
  FileBytes file;
  const auto real = [&](double value) { version < 3 ? file.single(value) : file.real(value); };
  if (version > 0) file.dword(stamp);
  file.dword(0x00FF00).dword(2);
  real(0.25);
  real(0.125);
  file.newClass("Cubyte1Vect").hex("03 00 00 00 01 00 00 00 00 00 05 06 07");
  real(1.5);
  real(0.5);
  version < 2 ? file.real(1.2349) : file.dword(777);
  file.dword(4).hex("01 6E 01 78 01 79");
  if (version >= 4) file.dword(0);
  if (version >= 5) file.real(8);
  if (version >= 6) file.dword(111);
  if (version >= 7) file.dword(1);
  if (version >= 8) file.dword(1).dword(3);
  return file;
}

TEST(StoredTraces, ReadEveryOlderVersion) {
  for (const uint32_t version : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u}) {
    SCOPED_TRACE(version);
    CTrace trace;
    loadFrom(trace, olderTrace(version, 0x5A000000 + version));
    EXPECT_EQ(trace.colour, 0x00FF00u);
    EXPECT_EQ(trace.origin, 2u);
    EXPECT_THAT((Doubles{trace.ygain, trace.period, trace.xscale, trace.pixelperiod}),
                ElementsAre(0.25, 0.125, 1.5, 0.5));
    EXPECT_THAT(samplesOf(trace), ElementsAre(5, 6, 7));
    EXPECT_EQ(trace.starttime, version < 2 ? 2469 : 777);  // 1.2349 * 1000 / 0.5, cut
    EXPECT_EQ(trace.slot, 4);
    EXPECT_EQ(std::tie(trace.name, trace.xunits, trace.yunits), std::make_tuple("n", "x", "y"));
    EXPECT_EQ(std::make_tuple(trace.circular, trace.yoffset, trace.tracetype, trace.hidden, trace.marked,
                              trace.linewidth),
              std::make_tuple(version < 4 ? 1 : 0, version < 5 ? 0 : 8, version < 6 ? 0 : 111, version >= 7,
                              version >= 8, version < 8 ? 5 : 3));
  }
}

TEST(StoredTraces, TakeTheGreatestWordBelowAStampForAColour) {
  FileBytes file = olderTrace(0, 0);
  file.bytes[0] = file.bytes[1] = file.bytes[2] = 0;
  file.bytes[3] = 0x5A;
  CTrace trace;
  loadFrom(trace, file);
  EXPECT_EQ(trace.colour, 0x5A000000u);
  EXPECT_EQ(trace.circular, 1);
}

TEST(StoredTraces, DropAVectorWithoutRows) {
  TestHost host;
  FileBytes file = presentTrace();
  const size_t sizeAt = 3 * 4 + 2 * 8 + 4 + 2 + 11;
  file.bytes.erase(file.bytes.begin() + sizeAt + 10, file.bytes.begin() + sizeAt + 16);
  file.bytes[sizeAt] = 0;
  CTrace trace;
  loadFrom(trace, file);
  EXPECT_EQ(trace.data, nullptr);
  EXPECT_EQ(trace.name, "abc");
  EXPECT_EQ(trace.origin, 0u);
  EXPECT_TRUE(takeLowMemory());
}

// The base's fields with two rows of three bytes, from which the reader goes on.
FileBytes rowBase(const char* vectorClass = "CArrayVect1", const char* vectorBytes = nullptr) {
  FileBytes file;
  file.dword(0x5A000008).dword(255).dword(5).real(1).real(1).newClass(vectorClass);
  file.hex(vectorBytes ? vectorBytes : "02 00 00 00  01 00  00 00 00 00  03 00  07 08 09 00 0B 0C");
  file.real(1).real(1).dword(0).dword(0).hex("00 00 00").dword(1).real(0);
  return file.dword(112).dword(0).dword(0).dword(5);
}

TEST(StoredRowTraces, ReadAndWriteThePresentForm) {
  FileBytes file = rowBase();
  file.hex("04 00 00 00  01 00  DC 00  00 00").real(600).real(1.25).real(65535).real(10);
  file.newClass("CdoubleVect").hex("02 00 00 00 01 00 00 00 00 00").real(2.5).real(0).real(-4);
  C2DTrace trace;
  loadFrom(trace, file);
  EXPECT_TRUE(trace.palette.backgnd());
  EXPECT_FALSE(trace.palette.inverse());
  EXPECT_FALSE(trace.palette.colour());
  EXPECT_THAT((Doubles{trace.fullscale, trace.fsstep, trace.fsmax, trace.fsmin, trace.fsoffset}),
              ElementsAre(600, 1.25, 65535, 10, -4));
  EXPECT_THAT(samplesOf(*trace.rowvalues), ElementsAre(2.5, 0));
  EXPECT_EQ(trace.origin, 1u);  // taken round the ring of two
  trace.origin = 5;
  EXPECT_EQ(storedBytes(trace), file.bytes);
  trace.palette.setInverse(true);
  const std::vector<uint8_t> inverse = storedBytes(trace);
  const size_t markAt = rowBase().bytes.size() + 6;
  EXPECT_EQ(inverse[markAt], 0);
  EXPECT_EQ(file.bytes[markAt], 220);
}

TEST(StoredRowTraces, ReadEveryOlderVersion) {
  for (const int version : {1, 2, 3, 4}) {
    SCOPED_TRACE(version);
    FileBytes file = rowBase();
    file.dword(version).word(0).word(version == 2 ? 1 : 0).word(1);
    version < 2 ? file.dword(300) : file.real(300).real(3).real(999).real(2);
    if (version >= 3) file.newClass("CdoubleVect").hex("02 00 00 00 01 00 00 00 00 00").real(6).real(1);
    if (version >= 4) file.real(12);
    C2DTrace trace;
    loadFrom(trace, file);
    EXPECT_EQ(trace.fullscale, 300);
    EXPECT_THAT((Doubles{trace.fsstep, trace.fsmax, trace.fsmin}),
                version < 2 ? ElementsAre(2, 1000, 1) : ElementsAre(3, 999, 2));
    // Without stored extents the first item of each row stands for it.
    EXPECT_THAT(samplesOf(*trace.rowvalues), version < 3 ? ElementsAre(7, 0) : ElementsAre(6, 1));
    EXPECT_EQ(trace.fsoffset, version < 4 ? 0 : 12);
    EXPECT_EQ(trace.palette.inverse(), version != 2);  // any mark above 0 is not inverse
    EXPECT_TRUE(trace.palette.colour());
  }
}

FileBytes withRows(FileBytes file) {
  return file.dword(4).word(0).word(220).word(1).real(1).real(1).real(1).real(1);
}

TEST(StoredRowTraces, GetOneExtentARowWhateverTheFileSays) {
  const std::tuple<const char*, const char*, Doubles> cases[] = {
      {"CdoubleVect", "01 00 00 00 01 00 00 00 00 00  00 00 00 00 00 00 00 40", {2, 0}},
      {"CdoubleVect", "01 00 00 00 01 00 00 00 00 00  00 00 00 00 00 00 F8 7F", {0, 0}},
      {"Cubyte1Vect", "03 00 00 00 FF FF FF FF FF FF  04 05 06", {4, 5}},
      {"CArrayVect1", "02 00 00 00 01 00 00 00 00 00 02 00 04 05 06 07", {4, 6}}};
  for (const auto& [vectorClass, bytes, expected] : cases) {
    FileBytes file = withRows(rowBase());
    // The rows' own class is in the table already.
    if (std::string(vectorClass) == "CArrayVect1")
      file.word(0x8001);
    else
      file.newClass(vectorClass);
    file.hex(bytes).real(0);
    C2DTrace trace;
    loadFrom(trace, file);
    EXPECT_EQ(samplesOf(*trace.rowvalues), expected) << vectorClass;
    EXPECT_EQ(trace.rowvalues->width, 1);
    EXPECT_EQ(trace.rowvalues->stride, 1u);
  }
  C2DTrace none;
  loadFrom(none, withRows(rowBase()).word(0).real(0));
  EXPECT_THAT(samplesOf(*none.rowvalues), ElementsAre(3, 3));
  C2DTrace shared;  // the data again: number 2 of the file
  loadFrom(shared, withRows(rowBase()).word(2).real(0));
  EXPECT_THAT(samplesOf(*shared.rowvalues), ElementsAre(7, 0));
}

TEST(StoredRowTraces, MakeRowsOfPlainSamples) {
  const FileBytes base = rowBase("Cbyte1Vect", "03 00 00 00 01 00 00 00 00 00 FF 02 03");
  C2DTrace trace;
  loadFrom(trace, withRows(base).word(0).real(0));
  EXPECT_THAT(samplesOf(trace), ElementsAre(-1, 2, 3));
  EXPECT_EQ(trace.width(), 1);
  EXPECT_EQ(trace.data->at(2, 5), 0.0);
  EXPECT_EQ(trace.origin, 2u);
  // A plain trace of rows has as many samples as items.
  CTrace plain;
  loadFrom(plain, rowBase());
  EXPECT_EQ(plain.size(), 6u);
  EXPECT_EQ(plain.data->width, 1);
}

TEST(StoredTraces, KeepOnlyNumbersThatCanBeReckonedWith) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const double bad : {nan, HUGE_VAL, -HUGE_VAL}) {
    CTrace trace = CTrace();
    FileBytes file;
    file.dword(0x5A000008).dword(0).dword(9).real(bad).real(bad).word(0).real(bad).real(bad);
    file.dword(0).dword(0).hex("00 00 00").dword(7).real(bad).dword(0).dword(2).dword(0).dword(0);
    loadFrom(trace, file);
    EXPECT_THAT((Doubles{trace.ygain, trace.period, trace.xscale, trace.pixelperiod, trace.yoffset}),
                ElementsAre(1, 1, 1, 1, 0));
    EXPECT_EQ(trace.data, nullptr);
    EXPECT_EQ(trace.origin, 0u);
    EXPECT_EQ(trace.circular, 1);
    EXPECT_TRUE(trace.hidden);
  }
  FileBytes old = olderTrace(1, 0x5A000001);
  const size_t pixelperiodAt = old.bytes.size() - 10 - 8 - 4;
  std::fill_n(old.bytes.begin() + static_cast<ptrdiff_t>(pixelperiodAt), 4, uint8_t{0});
  CTrace trace;
  loadFrom(trace, old);  // the start is divided by it
  EXPECT_EQ(trace.starttime, INT32_MAX);
  EXPECT_EQ(trace.pixelperiod, 1.0);
}

TEST(TraceLists, StoreTheirTracesByReference) {
  FileBytes file;
  file.word(2).newClass("CTrace").put<uint16_t>(0);
  file.bytes.resize(file.bytes.size() - 2);
  const FileBytes body = presentTrace();
  file.bytes.insert(file.bytes.end(), body.bytes.begin(), body.bytes.end());
  file.word(0x8001).dword(0x5A000008).dword(1).dword(0).real(1).real(1).word(4);  // the first one's vector
  file.real(1).real(1).dword(0).dword(0).hex("01 7A 00 00");
  file.dword(0).real(0).dword(0).dword(0).dword(0).dword(5);
  CTraceArray list;
  loadFrom(list, file);
  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(list.find("z"), list.items[1].get());
  EXPECT_EQ(list.find("q"), nullptr);
  EXPECT_EQ(samplesOf(*list.items[1]), samplesOf(*list.items[0]));
  EXPECT_NE(list.items[1]->data, list.items[0]->data);

  CTraceArray again;
  FileBytes stored;
  stored.bytes = storedBytes(list);
  loadFrom(again, stored);
  loadFrom(again, stored);  // reading appends
  ASSERT_EQ(again.size(), 4u);
  EXPECT_EQ(again.find("abc"), again.items[0].get());
  EXPECT_THAT(samplesOf(*again.items[3]), ElementsAre(10, 20, 1000));
}

TEST(TraceLists, RefuseADamagedFileAndKeepWhatCameBefore) {
  CTraceArray list;
  FileBytes file;
  file.word(2).newClass("CTrace");
  const FileBytes body = presentTrace();
  file.bytes.insert(file.bytes.end(), body.bytes.begin(), body.bytes.end());
  for (const int second :
       {2, 5, 0x8003}) {  // an object owned twice, one that isn't there, a class of vectors
    FileBytes damaged = file;
    damaged.word(second).dword(0);
    list.items.clear();
    EXPECT_THROW(loadFrom(list, damaged), ArchiveException) << second;
    EXPECT_EQ(list.size(), 1u);
  }
  for (size_t length = 0; length < file.bytes.size(); ++length) {
    FileBytes cut;
    cut.bytes.assign(file.bytes.begin(), file.bytes.begin() + static_cast<ptrdiff_t>(length));
    EXPECT_THROW(loadFrom(list, cut), ArchiveException) << length;
  }
}

}  // namespace
}  // namespace tarnvisor
