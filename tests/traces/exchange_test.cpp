// Traces out as text and binary, and in from text, binary and WAV.

#include "base/bytes.h"
#include "settings/settings.h"
#include "support/tempfolder.h"
#include "traces/traceimport.h"
#include "traces/tracetests.h"

namespace tarnvisor {
namespace {

using Doubles = std::vector<double>;

std::unique_ptr<CTrace> traced(int32_t code, const Doubles& values, double period, const std::string& name) {
  auto trace = traceOf(values, code);
  trace->period = period;
  trace->name = name;
  trace->xunits = "s";
  return trace;
}

// "%.1f", commas and line feeds.
CTextSettings plainText() {
  CTextSettings plain;
  plain.format = plain.precision = plain.coldelim = 1;
  plain.rowdelim = 2;
  return plain;
}

std::string exported(std::vector<const ZZTrace*> traces, const CTextSettings& how,
                     const ExportRange& range = {}) {
  std::ostringstream out;
  const Outcome done = exportTraces(out, traces, how, range);
  return done ? out.str() : "failed: " + done.why();
}

Bytes bytesOf(const std::string& text) { return {text.begin(), text.end()}; }

TEST(NumbersAsText, AreWhatPrintfMakesOfThem) {
  const std::tuple<int32_t, int32_t, const char*> cases[] = {
      {0, 3, "%.3E"}, {1, 3, "%.3f"}, {2, 2, "%.3g"}, {1, 0, "%.0f"}, {7, 12, "%.13g"}, {1, -5, "%.0f"}};
  for (const auto& [format, precision, pattern] : cases) {
    CTextSettings how;
    how.format = format;
    how.precision = precision;
    EXPECT_EQ(how.numberFormat(), pattern);
    for (const double v :
         {0.0, -0.0, 1.0 / 3, -12345.6789, 2.5e-7, 1e308, 5e-324, 123456789012.0, HUGE_VAL}) {
      std::string text = "|";
      how.appendNumber(text, v);
      char expected[500];
      std::snprintf(expected, sizeof expected, pattern, v);
      EXPECT_EQ(text, std::string("|") + expected);
    }
  }
}

TEST(TextSettings, AsCsvPutUnitsIntoTheHeads) {
  const auto one = traced(kFloatCode, {1, 2}, 0.5, "CBV"), other = traced(kFloatCode, {3}, 0.5, "p, \"x\"");
  one->yunits = "mm/s";
  other->yunits = "";
  CTextSettings how = plainText();
  EXPECT_THAT(how.fileFilter(), testing::StartsWith("Text Files"));
  how.coldelim = how.xscaled = how.headers = 0;
  EXPECT_EQ(exported({one.get(), other.get()}, how.asCsv()),
            "time (s),CBV (mm/s),\"p, \"\"x\"\"\"\n0.0,1.0,3.0\n0.5,2.0,\n");
}

TEST(TextSettings, AreStoredInTheirSectionAndPutRightWhenRead) {
  const TempFolder folder;
  settings.setPath(folder.file("a.ini"));
  CTextSettings stored, read;
  stored.yscaled = stored.zscaled = stored.coldelim = 0;
  stored.binary = 1;
  stored.headers = 0;
  stored.xscaled = stored.rowdelim = 2;
  stored.format = 0;
  stored.precision = 11;
  stored.swapbytes = 1;
  stored.store();
  EXPECT_EQ(readWholeText(settings.path()),
            "[Export]\ny_scaled=0\nx_scaled=2\nz_scaled=0\nbinary=1\nheaders=0\ncol delimiters=0\n"
            "row delimiters=2\nformat=0\nprecision=11\nswapbytes=1\n");
  read.read();
  EXPECT_EQ(read.binary, 1);
  EXPECT_EQ(read.precision, 11);
  EXPECT_EQ(read.rowdelim, 2);
  for (const char* key : {"col delimiters", "row delimiters", "format", "precision", "x_scaled"})
    settings.setInt("Export", key, 1'000'000'000);
  read.read();
  EXPECT_EQ(read.columnDelimiter(), "");
  EXPECT_EQ(read.rowDelimiter(), "");
  EXPECT_EQ(read.numberFormat(), "%.31g");
  EXPECT_EQ(read.xscaled, 2);
  settings.setPath("");
}

TEST(TextSettings, PutDelimitersBetweenAndAtTheEnd) {
  const char* columns[] = {"\t", ",", ";", " ", "", ""};
  const char* rows[] = {"\r\n", "\r", "\n", nullptr, "", ""};
  const auto trace = traced(kFloatCode, {1, 2}, 1, "a");
  for (const int32_t c : {0, 1, 2, 3, 4, -1})
    for (const int32_t r : {0, 1, 2, 3, 4, -1}) {
      CTextSettings how = plainText();
      how.headers = 0;
      how.coldelim = c;
      how.rowdelim = r;
      const std::string between = columns[c < 0 ? 5 : c], end = r == 3 ? between : rows[r < 0 ? 5 : r];
      EXPECT_EQ(exported({trace.get()}, how), "0.0" + between + "1.0" + end + "1.0" + between + "2.0" + end);
    }
}

TEST(TextExport, PutsTracesOfDifferentPeriodsSideBySide) {
  auto fast = traced(kInt16Code, {1, 2, 3, 4, 5}, 0.5, "fast,1");
  auto slow = traced(kFloatCode, {10, 20}, 1, "slow");
  slow->ygain = 2;
  slow->yoffset = 1;
  slow->starttime = 500;
  auto hidden = traced(kFloatCode, {7}, 1, "hidden");
  hidden->hidden = true;
  CTextSettings how = plainText();
  EXPECT_EQ(exported({fast.get(), slow.get(), hidden.get()}, how),
            "s,fast_1,slow\n0.0,1.0,\n0.5,2.0,21.0\n1.0,3.0,21.0\n1.5,4.0,41.0\n2.0,5.0,41.0\n");
  how.yscaled = 0;
  how.xscaled = 2;
  EXPECT_EQ(exported({slow.get(), fast.get()}, how, {false, 0.5, 2, 0.25}),
            "s,slow,fast_1\n1.0,10.0,2.0\n2.0,10.0,3.0\n3.0,20.0,4.0\n");
  EXPECT_EQ(exported({slow.get(), fast.get()}, how, {false, 0.5, 2, 1.2}),
            "s,slow,fast_1\n1.0,10.0,2.0\n3.0,20.0,4.0\n")
      << "a line a column";
  how.headers = how.xscaled = 0;
  slow->starttime = 300;  // between two lines
  EXPECT_EQ(exported({slow.get()}, how), "10.0\n20.0\n");
  EXPECT_EQ(exported({hidden.get()}, how), "7.0\n") << "the active trace, though it be hidden";
}

TEST(TextExport, TellsEachSamplesOwnTimeWhenTheStartIsNoMultipleOfThePeriod) {
  const auto late = traced(kFloatCode, {10, 20, 30, 40, 50}, 1, "late");
  late->starttime = 300;
  CTextSettings how = plainText();
  how.headers = 0;
  EXPECT_EQ(exported({late.get()}, how), "0.30,10.0\n1.30,20.0\n2.30,30.0\n3.30,40.0\n4.30,50.0\n");
  EXPECT_EQ(exported({late.get()}, how, {false, 1, 3, 1}), "1.30,20.0\n2.30,30.0\n");
  how.binary = how.headers = 1;
  const Imported back = importBinary(bytesOf(exported({late.get()}, how, {false, 1, 3})), how);
  ASSERT_EQ(back.traces.size(), 1u) << back.failure;
  EXPECT_EQ(samplesOf(*back.traces[0]), (Doubles{20, 30}));
  EXPECT_EQ(back.traces[0]->starttime, 1300);
}

TEST(TextExport, HasAColumnForEachItemOfARow) {
  auto rows = rowsOf({{1, 2, 3}, {4, 5, 6}}, kWordRowsCode);
  rows->name = "rows";
  rows->ygain = 10;
  auto plain = traced(kDoubleCode, {8, 9}, 1, "plain");
  plain->ygain = 10;
  CTextSettings how = plainText();
  how.zscaled = how.xscaled = 0;
  EXPECT_EQ(exported({rows.get(), plain.get()}, how), "rows,,,plain\n1.0,2.0,3.0,80.0\n4.0,5.0,6.0,90.0\n");
  how.zscaled = 1;
  how.yscaled = how.headers = 0;
  EXPECT_EQ(exported({rows.get(), plain.get()}, how), "10.0,20.0,30.0,8.0\n40.0,50.0,60.0,9.0\n");
}

TEST(TextExport, WritesEverySampleOfARingOnceInTheOrderOfTime) {
  constexpr uint32_t count = 3000;
  for (const double period : {0.1, 1.0 / 3, 0.007, 1e-5})
    for (const uint32_t origin : {0u, 1u, 1234u, count - 1}) {
      Doubles values(count);
      for (uint32_t age = 0; age < count; ++age) values[(origin + age) % count] = age;
      auto ring = traced(kInt32Code, values, period, "ring");
      ring->circular = 1;
      ring->origin = origin;
      ring->starttime = 0;
      CTextSettings how = plainText();
      how.headers = how.xscaled = how.precision = 0;
      std::string expected;
      for (uint32_t age = 0; age < count; ++age) expected += std::to_string(age) + "\n";
      EXPECT_TRUE(exported({ring.get()}, how) == expected) << period << " from " << origin;
    }
}

TEST(TextExport, RefusesWhatMakesNoTable) {
  const auto normal = traced(kFloatCode, {1, 2}, 1, "a");
  const ZZTrace empty;
  for (const double period : {0.0, -1.0, double(NAN), HUGE_VAL}) {
    const auto odd = traced(kFloatCode, {1, 2}, period, "odd");
    EXPECT_EQ(exported({odd.get()}, plainText()), "failed: There are no samples to export.");
    EXPECT_THAT(exported({normal.get(), odd.get()}, plainText()), HasSubstr("\n1.0,2.0,\n"));
  }
  const auto finest = traced(kFloatCode, {1, 2}, 1e-300, "fine");
  EXPECT_THAT(exported({normal.get(), finest.get()}, plainText()), HasSubstr("differ too much"));
  EXPECT_THAT(exported({normal.get()}, plainText(), {false, 0, 1e30, 1}), HasSubstr("too much"));
  EXPECT_THAT(exported({&empty}, plainText()), HasSubstr("no samples"));
  EXPECT_THAT(exported({}, plainText()), HasSubstr("no trace"));
}

TEST(Export, ReplacesTheFileOnlyWhenItSucceeds) {
  const TempFolder folder;
  const std::string path = folder.file("a.txt");
  const auto trace = traced(kFloatCode, {1}, 1, "a");
  const ZZTrace empty;
  const ZZTrace* one[] = {trace.get()};
  const ZZTrace* none[] = {&empty};
  EXPECT_TRUE(exportTraces(path, one, plainText(), {}));
  EXPECT_FALSE(exportTraces(path, none, plainText(), {}));
  EXPECT_EQ(readWholeText(path), "s,a\n0.0,1.0\n");
  EXPECT_FALSE(exportTraces(folder.file("missing/a.txt"), one, plainText(), {}));
}

CTextSettings binary(bool swap) {
  CTextSettings how;
  how.binary = 1;
  how.swapbytes = swap;
  return how;
}

TEST(BinaryTraces, ComeBackAsTheyWere) {
  std::vector<ZZTrace::Own> all;
  all.push_back(traced(kUint8Code, {0, 1, 255}, 0.25, "bytes"));
  all.push_back(traced(kInt16Code, {-32768, 0, 32767}, 0.25, std::string(80, 'n')));
  all.push_back(traced(kInt32Code, {-1, 70000, 0}, 0.25, "int"));
  all.push_back(traced(kFloatCode, {-1.5, 3e30, 0}, 0.25, "float"));
  all.push_back(traced(kDoubleCode, {1.0 / 3, -1e300, 5e-324}, 0.25, "double"));
  all.push_back(rowsOf({{1, 2, 65535}, {4, 5, 6}}, kWordRowsCode));
  std::vector<const ZZTrace*> traces;
  for (const auto& trace : all) {
    trace->ygain = 2;
    trace->yoffset = -3;
    trace->starttime = -1234;
    traces.push_back(trace.get());
  }
  for (const bool swap : {false, true}) {
    const Imported back = importBinary(bytesOf(exported(traces, binary(swap))), binary(swap));
    ASSERT_EQ(back.failure, "");
    ASSERT_EQ(back.traces.size(), all.size());
    for (size_t i = 0; i < all.size(); ++i) {
      EXPECT_EQ(back.traces[i]->typecode(), all[i]->typecode());
      EXPECT_EQ(samplesOf(*back.traces[i]), samplesOf(*all[i]));
      EXPECT_EQ(back.traces[i]->name, all[i]->name.substr(0, 67));
      EXPECT_EQ(back.traces[i]->starttime, -1234);
      EXPECT_EQ(back.traces[i]->ygain, 2);
      EXPECT_EQ(back.traces[i]->yoffset, -3);
      EXPECT_EQ(back.traces[i]->period, all[i]->period);
    }
    EXPECT_EQ(dynamic_cast<C2DTrace&>(*back.traces[5]).rowvalues->at(1), 3) << "rows hold something";
    EXPECT_EQ(dynamic_cast<C2DTrace&>(*back.traces[5]).fsmax, 65535) << "their full scale can be so great";
  }
}

TEST(BinaryTraces, HoldTheSelectedTimeRoundTheRingsEnd) {
  auto ring = traced(kInt16Code, {30, 40, 0, 10, 20}, 0.5, "ring");
  ring->circular = 1;
  ring->origin = 2;
  const std::tuple<double, double, Doubles> cases[] = {
      {0, 25, {0, 10, 20, 30, 40}}, {1, 1.5, {20}}, {1, 2.5, {20, 30, 40}}, {-3, 1, {0, 10}}};
  for (const auto& [from, to, values] : cases) {
    const Imported back = importBinary(bytesOf(exported({ring.get()}, binary(false), {false, from, to})), {});
    ASSERT_EQ(back.traces.size(), 1u) << back.failure;
    EXPECT_EQ(samplesOf(*back.traces[0]), values);
  }
  EXPECT_THAT(exported({ring.get()}, binary(false), {false, 2.5, 5}), HasSubstr("no samples"));
}

TEST(BinaryTraces, WithALyingHeaderAreRefused) {
  const auto trace = traced(kInt16Code, {1, 2, 3, 4}, 0.5, "t");
  const Bytes good = bytesOf(exported({trace.get()}, binary(false)));
  const auto with = [&](size_t at, auto value) {
    Bytes bytes = good;
    if constexpr (std::is_floating_point_v<decltype(value)>)
      putLittleDouble(&bytes[at], value);
    else
      putLittle(&bytes[at], value);
    return bytes;
  };
  Bytes longer = good, shorter = good;
  longer.push_back(0);
  shorter.pop_back();
  const std::pair<Bytes, const char*> cases[] = {{with(0, 5u), "ends before"},
                                                 {with(0, 3u), "goes on behind"},
                                                 {with(0, 0u), "no samples"},
                                                 {with(0, UINT32_MAX), "ends before"},
                                                 {with(4, 0u), "can't have 0 items"},
                                                 {with(4, 65536u), "can't have 65536"},
                                                 {with(4, 65535u), "ends before"},
                                                 {with(8, uint16_t{3}), "of 3 bytes"},
                                                 {with(8, uint16_t{0}), "of 0 bytes"},
                                                 {with(10, uint16_t{0x40}), "no header"},
                                                 {with(12, double(NAN)), "period"},
                                                 {with(12, 0.0), "period"},
                                                 {with(20, 1e10), "start"},
                                                 {with(28, HUGE_VAL), "scale"},
                                                 {with(36, double(NAN)), "scale"},
                                                 {longer, "goes on behind"},
                                                 {shorter, "ends before"},
                                                 {Bytes(127), "too short"},
                                                 {{}, "too short"}};
  for (const auto& [bytes, words] : cases) {
    const Imported back = importBinary(bytes, {});
    EXPECT_THAT(back.failure, HasSubstr(words));
    EXPECT_TRUE(back.traces.empty());
  }
  EXPECT_EQ(importBinary(good, {}).failure, "");
}

struct Read {
  std::string name;
  double period;
  int32_t starttime;
  Doubles values;
  bool operator==(const Read&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Read& r) {
  return out << r.name << " " << r.period << " " << r.starttime << " " << testing::PrintToString(r.values);
}

TEST(TextImport, FindsDelimitersNamesAndTime) {
  const struct {
    const char* text;
    int32_t xscaled;
    std::vector<Read> read;
  } cases[] = {
      {"1\n-2.5\r\n+3e2\r4", 0, {{"file", 1, 0, {1, -2.5, 300, 4}}}},
      {"pulse rate\n1\n2", 0, {{"pulse rate", 1, 0, {1, 2}}}},
      {"time,a,\"b\"\n0.5,1,2\n1.0,3,4\n1.5,5,6\n",
       0,
       {{"a", 0.5, 500, {1, 3, 5}}, {"b", 0.5, 500, {2, 4, 6}}}},
      {"Time (ms);x\n0;1,5\n20;2,5", 0, {{"x", 0.02, 0, {1.5, 2.5}}}},
      {"Time_us\tx\n0\t1\n20\t2", 0, {{"x", 2e-5, 0, {1, 2}}}},
      {"frame\tx\n0\t1\n1\t2", 1, {{"frame", 1, 0, {0, 1}}, {"x", 1, 0, {1, 2}}}},
      {"minutes\tx\n1\t7\n2\t8\n", 0, {{"x", 60, 60000, {7, 8}}}},
      {"0.033 1\n0.067 2\n0.100 3", 1, {{"file", 0.0335, 33, {1, 2, 3}}}},
      {"0 1\n1 2", 0, {{"file 1", 1, 0, {0, 1}}, {"file 2", 1, 0, {1, 2}}}},
      {"0 5\n1 2", 1, {{"file", 1, 0, {5, 2}}}},
      {"n,x\n7,5\n8,2", 2, {{"x", 1, 0, {5, 2}}}},
      {"time,x\n0,1\n1,2\n9,3", 1, {{"time", 1, 0, {0, 1, 9}}, {"x", 1, 0, {1, 2, 3}}}},  // no constant step
      {"t\n0\n1\n2", 1, {{"t", 1, 0, {0, 1, 2}}}},  // alone it is no time
      {"\xef\xbb\xbft,a,b\n0,1,\n1,2,7\n2,,8\n", 0, {{"a", 1, 0, {1, 2}}, {"b", 1, 1000, {7, 8}}}},
      {"t,a,\n0,1,\n1,2,\n", 0, {{"a", 1, 0, {1, 2}}}},
  };
  for (const auto& c : cases) {
    CTextSettings how;
    how.xscaled = c.xscaled;
    const Imported back = importText(c.text, "file", how);
    EXPECT_EQ(back.failure, "");
    std::vector<Read> read;
    for (const auto& trace : back.traces)
      read.push_back(
          {trace->name, std::round(trace->period * 1e9) / 1e9, trace->starttime, samplesOf(*trace)});
    EXPECT_EQ(read, c.read) << c.text;
  }
}

TEST(TextImport, AsksAboutTimesThatAreUnevenBeyondTheirRounding) {
  const std::pair<const char*, const char*> cases[] = {
      {"t,x\n0,1\n1,1\n2,1\n3.1,1\n4,1", "row 4 comes 1.1 after"},
      {"ms,x\n0,1\n10,1\n20,1\n31,1\n40,1", "Take them as even"},
      {"time,x\n0,1\n1,2\n9,3", "a trace of their own"},
      {"t,x\n0,1\n0.03,1\n0.07,1\n0.10,1\n0.13,1\n0.17,1", ""},
      {"t,x\n999.9667,1\n1000,1\n1000.033,1\n1000.067,1", ""},
      {"n,x\n0,1\n1,1\n9,1", ""},
      {"t,x\n0,1\n1,1", ""}};
  for (const auto& [text, words] : cases) {
    const Imported read = importText(text, "file", plainText());
    EXPECT_EQ(read.question.empty(), std::string_view(words).empty()) << text << ": " << read.question;
    EXPECT_THAT(read.question, HasSubstr(words));
  }
}

TEST(TextImport, AsksWhetherPairsAreDecimals) {
  EXPECT_THAT(importText("1,5\n2,5", "file", {}).question, HasSubstr("as two columns"));
  EXPECT_EQ(importText("1,5\n2,5", "file", plainText()).question, "");
  EXPECT_EQ(importText("0.5,5\n2,5", "file", {}).question, "");
  EXPECT_EQ(samplesOf(*importText("CBV\n1,5\n2,5", "file", {}).traces.at(0)), (Doubles{1.5, 2.5}));
}

TEST(TextImport, KeepsDelimitersBetweenQuotes) {
  const Imported back = importText("\"t\",\"p, \"\"x\"\"\"\n\"0\",\"1,5\"\n\"1\",\"2,5\"\n", "file", {});
  ASSERT_EQ(back.traces.size(), 1u) << back.failure;
  EXPECT_EQ(back.traces[0]->name, "p, \"x\"");
  EXPECT_EQ(samplesOf(*back.traces[0]), (Doubles{1.5, 2.5}));
}

TEST(Readings, ThatAreAbsentGoOutAndInAsSuch) {
  auto velocity = traced(kFloatCode, {1, -1, 3}, 0.5, "v"),
       width = traced(kDoubleCode, {4, NAN, 6}, 0.5, "w");
  velocity->absent = -1;
  CTextSettings how = plainText();
  EXPECT_EQ(exported({velocity.get(), width.get()}, how), "s,v,w\n0.0,1.0,4.0\n0.5,,\n1.0,3.0,6.0\n");
  for (const int32_t delimiter : {0, 1, 3})
    for (const int32_t binary : {0, 1}) {
      how.xscaled = 0;
      how.coldelim = delimiter;
      how.binary = static_cast<uint8_t>(binary);
      const std::string out = exported({velocity.get(), width.get()}, how);
      const Imported back = binary ? importBinary(bytesOf(out), how) : importText(out, "file", how);
      ASSERT_EQ(back.traces.size(), 2u) << back.failure;
      for (const auto& trace : back.traces) EXPECT_TRUE(std::isnan(trace->data->at(1)));
      EXPECT_EQ(back.traces[0]->data->at(2), 3);
    }
}

TEST(TextExport, TellsLateTimesApart) {
  const auto late = traced(kFloatCode, Doubles(6, 1), 0.001, "x");
  late->starttime = 100'000'000;
  const Imported back = importText(exported({late.get()}, {}), "file", {});
  ASSERT_EQ(back.traces.size(), 1u) << back.failure;
  EXPECT_NEAR(back.traces[0]->period, 0.001, 1e-6);
  const char* coarse = "time,x\n100000,1\n100000,2\n100000.1,3\n100000.1,4";
  EXPECT_EQ(importText(coarse, "file", {}).traces.size(), 1u);
  EXPECT_THAT(importText(coarse, "file", {}).question, HasSubstr("row 2 has no later one"));
}

TEST(TextImport, ReadsEncodingsAndDecimalCommasOfOtherPrograms) {
  const std::string latin = "Flu\xdf [\xb5m/s]\n1,5 2\n-2,5 3";
  std::string little = "\xff\xfe", big = "\xfe\xff";
  for (const char c : latin) {
    little += {c, '\0'};
    big += {'\0', c};
  }
  for (const std::string& text : {latin, little, big}) {
    const Imported back = importText(text, "file", {});
    ASSERT_EQ(back.traces.size(), 2u) << back.failure;
    EXPECT_EQ(back.traces[0]->name, "Flu\u00df");
    EXPECT_EQ(back.traces[1]->name, "[\u00b5m/s]");
    EXPECT_EQ(samplesOf(*back.traces[0]), (Doubles{1.5, -2.5}));
  }
}

TEST(TextImport, OfAMillionColumnsIsRefusedInTheWordsOfOneLine) {
  std::string text;
  for (int row = 0; row < 2; ++row) {
    for (int i = 0; i < 1'000'000; ++i) text += "7,";
    text += "7\n";
  }
  EXPECT_EQ(importText(text, "file", {}).failure, "Line 1 has too many columns: at most 4096 can be read.");
}

TEST(TextImport, TellsWhatItCannotRead) {
  const std::string wide(2 * 5000, '\t');
  const std::pair<std::string, const char*> cases[] = {
      {"", "no numbers"},
      {"\n \n", "no numbers"},
      {"a\nb\n1", "no numbers"},
      {"a,b", "no numbers"},
      {"1\n2\nx\n", "Line 3"},
      {"a,b\n1,2,3", "Line 2 has 3 numbers between commas under names of 2"},
      {"a,b,c\n1,2", "names more columns"},
      {"1\nnanny", "Line 2"},
      {"1\n1e999", "Line 2"},
      {"1\n0x10", "Line 2"},
      {"1" + wide + "2", "too many columns: at most 4096"},
      {"1.5\n2,5", "Line 2 has another decimal mark"},
      {"1,5\n2.5", "Line 2 has another decimal mark"},
      {"1,5\t2.5", "Line 1 has another decimal mark"},
      {"1;2,5\n2;1.234,5", "Line 2 has another decimal mark"},
      {std::string("1\0002\000", 4), "save it as UTF-8"}};
  for (const auto& [text, words] : cases) {
    const Imported back = importText(text, "file", {});
    EXPECT_THAT(back.failure, HasSubstr(words)) << text.substr(0, 30);
    EXPECT_TRUE(back.traces.empty());
  }
}

TEST(TextImport, ReadsWhatTheExportWrote) {
  auto a = traced(kDoubleCode, {0.125, -2, 1e6, 3}, 0.02, "a");
  auto b = traced(kDoubleCode, {5, 6, 7}, 0.02, "b c");
  b->starttime = 20;
  for (const int32_t column : {0, 1, 2})
    for (const int32_t row : {0, 1, 2})
      for (const int32_t style : {0, 2}) {
        CTextSettings how;
        how.coldelim = column;
        how.rowdelim = row;
        how.format = style;
        how.precision = 15;
        const Imported back = importText(exported({a.get(), b.get()}, how), "file", how);
        ASSERT_EQ(back.traces.size(), 2u) << back.failure;
        EXPECT_EQ(samplesOf(*back.traces[0]), samplesOf(*a));
        EXPECT_EQ(samplesOf(*back.traces[1]), samplesOf(*b));
        EXPECT_EQ(back.traces[1]->name, "b c");
        EXPECT_EQ(back.traces[1]->starttime, 20);
        EXPECT_DOUBLE_EQ(back.traces[1]->period, 0.02);
      }
  CTextSettings oneRow = plainText();
  oneRow.rowdelim = 3;
  oneRow.xscaled = 0;
  const Imported back = importText(exported({b.get()}, oneRow), "file", oneRow);
  ASSERT_EQ(back.traces.size(), 1u) << back.failure;
  EXPECT_EQ(samplesOf(*back.traces[0]), samplesOf(*b));
}

Bytes wav(uint16_t kind, uint16_t channels, uint16_t bits, const Bytes& samples, uint32_t rate = 8000) {
  Bytes bytes(44);
  const auto words = [&](size_t at, const char* text) { std::memcpy(bytes.data() + at, text, 4); };
  const auto block = static_cast<uint16_t>(channels * bits / 8);
  words(0, "RIFF");
  putLittle(&bytes[4], static_cast<uint32_t>(36 + samples.size()));
  words(8, "WAVE");
  words(12, "fmt ");
  putLittle(&bytes[16], 16u);
  putLittle(&bytes[20], kind);
  putLittle(&bytes[22], channels);
  putLittle(&bytes[24], rate);
  putLittle(&bytes[28], rate * block);
  putLittle(&bytes[32], block);
  putLittle(&bytes[34], bits);
  words(36, "data");
  putLittle(&bytes[40], static_cast<uint32_t>(samples.size()));
  for (const uint8_t sample : samples) bytes.push_back(sample);
  return bytes;
}

struct Sound : ::testing::Test {
  Imported read(const Bytes& bytes) {
    EXPECT_TRUE(replaceFile(folder.file("a.wav"), std::span<const uint8_t>(bytes)));
    return importTraces(folder.file("a.wav"), {});
  }
  const TempFolder folder;
};

TEST_F(Sound, OfAllPlainKindsComesIn) {
  Bytes floats(8), doubles(16);
  putLittleFloat(&floats[0], -0.5f);
  putLittleFloat(&floats[4], NAN);
  putLittleDouble(&doubles[0], 0.25);
  putLittleDouble(&doubles[8], 1e300);
  const std::tuple<uint16_t, uint16_t, Bytes, int32_t, Doubles> cases[] = {
      {1, 8, {0, 128, 192}, kFloatCode, {-1, 0, 0.5}},
      {1, 16, {0, 0x80, 1, 0, 0xff, 0x7f}, kInt16Code, {-32768, 1, 32767}},
      {1, 24, {0, 0, 0x80, 0, 0, 0x40}, kFloatCode, {-1, 0.5}},
      {1, 32, {0, 0, 0, 0x80, 0, 0, 0, 0x20}, kFloatCode, {-1, 0.25}},
      {3, 32, floats, kFloatCode, {-0.5, 0}},  // what is no number counts as silence
      {3, 64, doubles, kFloatCode, {0.25, 0}},
      {7, 8, {0xff, 0x00}, kInt16Code, {0, -32124}}};
  for (const auto& [kind, bits, samples, code, values] : cases) {
    const Imported back = read(wav(kind, 1, bits, samples));
    ASSERT_EQ(back.traces.size(), 1u) << kind << " " << bits << back.failure;
    EXPECT_EQ(back.traces[0]->typecode(), code);
    EXPECT_EQ(samplesOf(*back.traces[0]), values) << kind << " " << bits;
    EXPECT_EQ(back.traces[0]->period, 1.0 / 8000);
    EXPECT_EQ(back.traces[0]->name, "a");
    EXPECT_EQ(back.traces[0]->ygain, code == kInt16Code ? 1.0 / 32768 : 1.0);
  }
}

TEST_F(Sound, OfSeveralChannelsIsATraceEach) {
  Bytes samples;
  for (uint8_t i = 0; i < 100; ++i) samples.insert(samples.end(), {i, 0, 0, i});
  const Imported back = read(wav(1, 2, 16, samples, 44100));
  ASSERT_EQ(back.traces.size(), 2u) << back.failure;
  EXPECT_EQ(back.traces[1]->name, "a 2");
  EXPECT_EQ(back.traces[0]->size(), 100u);
  EXPECT_EQ(back.traces[0]->data->at(99), 99);
  EXPECT_EQ(back.traces[1]->data->at(99), 99 * 256);
}

TEST_F(Sound, ThatEndsEarlyGivesWhatItHas) {
  Bytes bytes = wav(1, 1, 16, {1, 0, 2, 0, 3, 0});
  putLittle(&bytes[40], 0x7ffffff0u);
  const Imported back = read(bytes);
  ASSERT_EQ(back.traces.size(), 1u) << back.failure;
  EXPECT_EQ(samplesOf(*back.traces[0]), (Doubles{1, 2, 3}));
  EXPECT_THAT(back.shortage, HasSubstr("2147483626 bytes of samples that it tells of are missing"));
  EXPECT_EQ(read(wav(1, 1, 16, {1, 0, 2, 0})).shortage, "");
}

TEST_F(Sound, OfOddKindsIsRefusedInWords) {
  const Bytes some(64, 7);
  for (const Bytes& bytes : {wav(0x55, 1, 16, some), wav(2, 1, 4, some), wav(1, 0, 16, some),
                             wav(1, 1, 16, {}), wav(1, 1, 16, some, 0), wav(999, 1, 16, some),
                             Bytes{'R', 'I', 'F', 'F', 0, 0, 0, 0, 'W', 'A', 'V', 'E'}}) {
    const Imported back = read(bytes);
    EXPECT_TRUE(back.traces.empty());
    EXPECT_THAT(back.failure, testing::StartsWith(folder.file("a.wav: ")));
  }
}

TEST(Import, TellsTheKindByTheFile) {
  const TempFolder folder;
  const auto trace = traced(kInt16Code, {1, 2}, 1, "t");
  const ZZTrace* one[] = {trace.get()};
  for (const char* name : {"a.bin", "a.dat"}) {
    ASSERT_TRUE(exportTraces(folder.file(name), one, binary(false), {}));
    const Imported back = importTraces(folder.file(name), {});
    ASSERT_EQ(back.traces.size(), 1u) << back.failure;
    EXPECT_EQ(back.traces[0]->typecode(), kInt16Code);
  }
  ASSERT_TRUE(replaceFile(folder.file("b.txt"), std::string_view("1\n2")));
  EXPECT_EQ(importTraces(folder.file("b.txt"), {}).traces.at(0)->name, "b");
  ASSERT_TRUE(replaceFile(folder.file("c.bin"), std::string_view("1\n2")));
  EXPECT_THAT(importTraces(folder.file("c.bin"), {}).failure, HasSubstr("c.bin: It is too short"));
  EXPECT_THAT(importTraces(folder.file("none"), {}).failure, HasSubstr("can't be opened"));
}

}  // namespace
}  // namespace tarnvisor
