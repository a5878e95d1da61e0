// Charts as files, byte by byte.

#include "charts/livechartdoc.h"
#include "charts/xychart.h"
#include "support/charttest.h"
#include "traces/tracetests.h"

namespace tarnvisor {
namespace {

class ChartFiles : public ChartTest {
 protected:
  // A chart of one trace; from the second version on tc is stored, from the third the base document's facts.
  FileBytes chart(bool withMagic, int version, bool withMarkers, int saves) {
    CTraceArray list;
    list.items.push_back(traceOf({1, 2, 3}, kUint8Code));
    FileBytes file;
    if (withMagic) file.hex("5A 5A 00 00  20 00");
    for (const uint8_t byte : storedBytes(list)) file.put(byte);
    file.hex("00 00 00 00 00 00 29 40");  // the clock, 12.5
    file.word(version).dword(7).dword(-8).dword(4).single(0.25).dword(1).dword(640);
    if (version >= 2) file.real(2.5);
    if (version >= 3)
      file.dword(2).dword(saves).hex("02 50 31").dword(-1).hex("01 75 03 6F 6B 21 01 61 01 62");
    if (withMarkers)
      file.hex("01 00  01 00")
          .newClass("CMarker")
          .hex("01 00 07 00  00 00 00 00 00 00 04 40  03 00 02 00 04 00  03 61 62 63  04 6E 6F 74 65");
    return file;
  }
  void load(ZchartDoc& into, const FileBytes& file) { EXPECT_EQ(loadBytes(into, file.bytes), 0u); }
  std::string written(const std::string& name, const std::vector<uint8_t>& bytes) {
    EXPECT_TRUE(replaceFile(folder.file(name), std::span<const uint8_t>(bytes)));
    return folder.file(name);
  }
};

TEST_F(ChartFiles, AreReadAndWrittenToTheByte) {
  ZchartDoc read;
  load(read, chart(true, 3, true, 5));
  EXPECT_THAT(samplesOf(*read.firsttrace()), ElementsAre(1, 2, 3));
  EXPECT_EQ(read.clock, 12.5);
  EXPECT_EQ(read.lastTCradio, 4);
  EXPECT_EQ(read.lastTC, 0.25F);
  EXPECT_EQ(read.circular, 1);
  EXPECT_EQ(read.NoPtsToSample, 640);
  EXPECT_EQ(read.tc, 2.5);
  EXPECT_EQ(std::tie(read.patientId, read.userLabel, read.resultText, read.stationId, read.stationIdFirst),
            std::make_tuple("P1", "u", "ok!", "a", "b"));
  ASSERT_EQ(read.markers.size(), 1u);
  EXPECT_EQ(read.markers.items[0]->time, 2.5);
  EXPECT_EQ(read.markers.items[0]->label, "abc");
  EXPECT_EQ(read.markers.items[0]->text, "note");
  EXPECT_EQ(storedBytes(read), chart(true, 3, true, 6).bytes) << "the two counters too; a store is counted";
}

TEST_F(ChartFiles, KeepTheirCountersWhateverIsReadBetween) {
  ZchartDoc read, fresh, other;
  const std::vector<uint8_t> withZeros = storedBytes(fresh);
  load(read, chart(true, 3, true, 5));
  EXPECT_EQ(loadBytes(other, withZeros), 0u);
  EXPECT_EQ(storedBytes(read), chart(true, 3, true, 6).bytes);
}

TEST_F(ChartFiles, OfOlderVersionsLackWhatCameLater) {
  for (const bool withMagic : {true, false})
    for (const int version : {1, 2, 3}) {
      SCOPED_TRACE(version);
      ZchartDoc read;
      load(read, chart(withMagic, version, false, 5));
      EXPECT_EQ(read.traces.size(), 1u);
      EXPECT_EQ(read.clock, 12.5);
      EXPECT_EQ(read.NoPtsToSample, 640);
      EXPECT_EQ(read.tc, version < 2 ? 3.0 : 2.5);
      EXPECT_EQ(read.resultText, version < 3 ? "" : "ok!");
      EXPECT_EQ(read.markers.size(), 0u);
    }
}

// A kind with fields of its own has them between the base document's facts and the markers.
TEST_F(ChartFiles, KeepAKindsOwnFieldsBeforeTheMarkers) {
  struct Kind : ZchartDoc {
    void serializeOwn(Archive& archive) override {
      archive.isStoring() ? archive.putWord(0xABCD) : void(own = archive.getWord());
    }
    int own = 0;
  } kind;
  FileBytes file = chart(true, 3, false, 5);
  file.word(0xABCD).hex("01 00  00 00");
  load(kind, file);
  EXPECT_EQ(kind.own, 0xABCD);
  const std::vector<uint8_t> again = storedBytes(kind);
  EXPECT_EQ(std::vector<uint8_t>(again.end() - 6, again.end()), FileBytes().hex("CD AB 01 00 00 00").bytes);
}

TEST_F(ChartFiles, KeepEveryFieldAndOpenInTheirKinds) {
  addRamp("one");
  addRows("two").setdisplay(700, 3, 2, 900);
  doc->clock = 3.5;
  doc->lastTCradio = 2;
  doc->tc = 4.5;
  doc->markers.add(std::make_unique<CMarker>()).SetLabel("here");
  const auto traces = storedBytes(doc->traces);
  ASSERT_TRUE(doc->onSaveDocument(folder.file("a.zz1")));
  const auto* opened = dynamic_cast<CReviewDoc*>(app->openDocumentFile(folder.file("a.zz1")));
  ASSERT_NE(opened, nullptr);
  EXPECT_EQ(storedBytes(const_cast<CTraceArray&>(opened->traces)), traces);
  EXPECT_EQ(opened->clock, 3.5);
  EXPECT_EQ(opened->lastTCradio, 2);
  EXPECT_EQ(opened->tc, 4.5);
  EXPECT_TRUE(*opened->markers.items.at(0) == *doc->markers.items[0]);
  EXPECT_FALSE(opened->isModified());
  xychartdoc* pairs = makeXyChart(*doc->firsttrace(), *doc->firsttrace(), "t");
  ASSERT_TRUE(pairs->onSaveDocument(folder.file("a.zzxy")));
  process.xyChartTemplate->discard(*pairs);
  pairs = dynamic_cast<xychartdoc*>(app->openDocumentFile(folder.file("a.zzxy")));
  ASSERT_NE(pairs, nullptr);
  EXPECT_EQ(pairs->traces.size(), 2u);
}

TEST_F(ChartFiles, ThatAreDamagedLeaveWhatWasReadAndAreNotWrittenOver) {
  const auto trace = [](double first) { return traceOf({first, 2, 3}, kUint8Code); };
  for (const double first : {10, 20, 30}) add(trace(first));
  const std::vector<uint8_t> whole = storedBytes(*doc);
  CTraceArray some;
  size_t ends[4] = {6 + 2};
  for (int n = 1; n < 4; ++n) {
    some.items.push_back(trace(1));
    ends[n] = 6 + storedBytes(some).size();
  }
  const auto cut = [&](size_t length) { return std::vector<uint8_t>(whole.begin(), whole.begin() + length); };
  std::vector<uint8_t> otherClass = whole;
  otherClass[ends[2]] = 0x77;
  const std::tuple<const char*, std::vector<uint8_t>, int> cases[] = {
      {"cut in the third", cut(ends[2] + 20), 2},    {"an unknown class", otherClass, 2},
      {"cut in the second", cut(ends[2] - 1), 1},    {"cut in the clock", cut(ends[3] + 4), 3},
      {"cut in the settings", cut(ends[3] + 20), 3}, {"only the count", cut(ends[0]), 0},
      {"half the first", cut(ends[1] - 5), 0},       {"nothing", {}, 0}};
  for (const auto& [what, bytes, left] : cases) {
    SCOPED_TRACE(what);
    const std::string path = written("damaged.zz1", bytes);
    auto* opened = static_cast<ZchartDoc*>(app->openDocumentFile(path));
    if (left == 0) {
      EXPECT_EQ(opened, nullptr);
      EXPECT_THAT(lastMessage(), HasSubstr("can't be opened"));
      continue;
    }
    ASSERT_NE(opened, nullptr);
    EXPECT_EQ(opened->traces.size(), static_cast<size_t>(left));
    EXPECT_EQ(samplesOf(*opened->firsttrace())[0], 10);
    EXPECT_THAT(lastMessage(), HasSubstr(format(", %i traces: ", left)));
    host.paths = {path};
    EXPECT_FALSE(opened->save()) << "not even when that very file is chosen";
    host.paths = {folder.file("rest.zz1")};
    EXPECT_TRUE(opened->save());
    EXPECT_EQ(readWholeFile(path), bytes);
    EXPECT_TRUE(opened->save()) << "the new file is whole: nothing is asked";
    opened->type()->discard(*opened);
    std::filesystem::remove(folder.file("rest.zz1"));
  }
}

TEST_F(ChartFiles, KeepTheSettingsOfNewCharts) {
  EXPECT_EQ(doc->lastTCradio, 0);
  EXPECT_EQ(doc->lastTC, 1.0F);
  EXPECT_EQ(doc->tc, 3.0);
  EXPECT_EQ(doc->circular, 0);
  EXPECT_EQ(doc->NoPtsToSample, 500);
  doc->lastTCradio = 3;
  doc->lastTC = 0.75F;
  doc->tc = 1.25;
  doc->circular = 1;
  doc->setNoPtsToSample(-4);
  EXPECT_EQ(doc->NoPtsToSample, 0);
  doc->setNoPtsToSample(99);
  doc->saveSettings();
  const CReviewDoc& next = *newChart();
  EXPECT_EQ(next.lastTCradio, 3);
  EXPECT_EQ(next.lastTC, 0.75F);
  EXPECT_EQ(next.tc, 1.25);
  EXPECT_EQ(next.circular, 1);
  EXPECT_EQ(next.NoPtsToSample, 99);
  EXPECT_EQ(settings.getInt("chartdoc", "NoPtsToSample", 0), 99);
}

}  // namespace
}  // namespace tarnvisor
