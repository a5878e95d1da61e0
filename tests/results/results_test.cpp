#include "archive/archive.h"
#include "base/clock.h"
#include "charts/resulttables.h"
#include "dynamic/resulttables.h"
#include "imagedoc/resulttables.h"
#include "linescan/resulttables.h"
#include "results/resultview.h"
#include "support/imagedoctest.h"
#include "support/recordingcanvas.h"

namespace tarnvisor {
namespace {

using Results = ImageDocument;

TEST(ResultNumbers, RoundExactTiesAwayFromZero) {
  const std::tuple<double, int, int, const char*> cases[] = {{37.25, 5, 1, " 37.3"},
                                                             {-37.25, 5, 1, "-37.3"},
                                                             {0.5, 4, 0, "   1"},
                                                             {2.5, 4, 0, "   3"},
                                                             {9.5, 1, 0, "10"},
                                                             {-0.5, 3, 0, " -1"},
                                                             {37.35, 5, 1, " 37.4"},
                                                             {1.005, 7, 2, "   1.00"},
                                                             {99.9, 3, 0, "100"},
                                                             {0.125, 6, 2, "  0.13"},
                                                             {1e15, 3, 1, "1000000000000000.0"},
                                                             {-0.0, 4, 1, "-0.0"},
                                                             {NAN, 5, 1, "  nan"},
                                                             {INFINITY, 4, 1, " inf"}};
  for (const auto& [value, width, decimals, text] : cases)
    EXPECT_EQ(resultNumber(value, width, decimals), text) << value;
  EXPECT_EQ(resultNumber(1.0, 65535, 65535).size(), 64u) << "a damaged column's field";
}

TEST_F(Results, ARowOfEachKindComesBackFromItsFile) {
  for (const ResultTable* kind : {&kImageResults, &kVoronoiResults, &kDiameterResults, &kNailfoldResults,
                                  &kFlowResults, &kCapillaryResults, &kChartResults, &kLinescanResults}) {
    CResultDoc* table = addResultRow(*kind, {"a.dtv", "um", std::vector<double>(30, 2)});
    ASSERT_NE(table, nullptr) << kind->title;
    std::set<std::string> titles;
    for (size_t place = 0; place < table->columns.size(); ++place)
      titles.insert(table->columnAt(place).title);
    EXPECT_EQ(titles.size(), table->columns.size()) << "each place has a column of its own";
    ASSERT_TRUE(table->onSaveDocument(folder.file("t.rst")));
    CResultDoc opened;
    ASSERT_TRUE(opened.onOpenDocument(folder.file("t.rst")));
    EXPECT_EQ(opened.rows, table->rows);
    for (size_t place = 0; place < table->columns.size(); ++place)
      EXPECT_EQ(opened.cell(0, place), table->cell(0, place)) << table->title();
  }
}

TEST_F(Results, ASmallNumberKeepsItsDigitsWhereItIsRead) {
  CResultDoc* table = addResultRow(kChartResults, {"a.zz1", "flow", {1, 2, 0.00125, 0.012, -2e-9, 0, 0.3}});
  ASSERT_NE(table, nullptr);
  CResultView view(*table);
  const std::pair<size_t, const char*> shown[] = {
      {4, "0.00125"}, {5, "      0.01"}, {6, "-2e-09"}, {7, "         0"}, {8, "        0.3"}};
  for (const auto& [place, text] : shown) EXPECT_EQ(view.cellText(0, place), text) << place;
  EXPECT_THAT(table->asText(), HasSubstr("0.00125"));
  EXPECT_THAT(table->selectionText(), HasSubstr("0.00125"));
  EXPECT_EQ(table->cell(0, 4), "      0.00") << "as it is stored";
  ASSERT_TRUE(table->exportCsv(folder.file("t.csv")));
  EXPECT_THAT(readWholeText(folder.file("t.csv")).value_or(""), HasSubstr(",      0.00,"));
}

const ResultRecord kCapillary{"a.dtv", "um", {3, 12.5, 9.25, 120.6, 7.4, 1, 2, 0.75, 37.25}};

TEST_F(Results, ThePermutedTableIsShownCopiedAndExportedInDisplayOrder) {
  exams->selectSubject("S-1", "");
  CResultDoc* table = addResultRow(kCapillaryResults, kCapillary);
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(table->title(), "Capillary Measurement Results");
  std::vector<std::string> titles;
  for (size_t place = 0; place < 11; ++place) titles.push_back(table->columnAt(place).title);
  EXPECT_THAT(titles, ElementsAre("line", "diameter", "velocity", "flow", "x", "y", "length", "av r", "%good",
                                  "filename", "units"));
  EXPECT_EQ(table->cell(0, 2), "    121") << "velocity shows no decimals";
  EXPECT_EQ(table->cell(0, 8), " 37.3");
  ASSERT_TRUE(table->exportCsv(folder.file("t.csv")));
  EXPECT_EQ(readWholeText(folder.file("t.csv")),
            "line,diameter,velocity,flow,x,y,length,av r,%good,filename,units,\n"
            "  3,   9.25,    121,      7,  1.0,  2.0,  12.50, 0.75, 37.3,a.dtv,um,\n"
            "Subject ID,S-1\nExam ID,-1\n\n");
  table->examIdOfDoc = 77;
  exams->selectExam(exams->examId(), "another");
  ASSERT_TRUE(table->exportCsv(folder.file("t.csv")));
  EXPECT_THAT(readWholeText(folder.file("t.csv")).value_or(""), EndsWith("Exam ID,77\n\n"));
  table->setselection(9, 0, 2, 0);
  table->columns[0]->visible = 0;  // filename, at the ninth place
  table->copy();
  EXPECT_EQ(host.clipboardText, "    121\t      7\t  1.0\t  2.0\t  12.50\t 0.75\t 37.3\r\n");
}

TEST_F(Results, EachKindHasOneTableUntilItIsClosed) {
  CResultDoc* first = addResultRow(kDiameterResults, {"a", "um", {1, 2}});
  EXPECT_EQ(addResultRow(kDiameterResults, {"b", "um", {2, 3}}), first);
  EXPECT_EQ(first->rowCount(), 2u);
  EXPECT_EQ(findResultDocument("diameter calculation results"), first);
  EXPECT_EQ(lastResultDocument(), first);
  host.answers.push_back(Answer::Cancel);
  EXPECT_FALSE(app->documents.close(*first));
  host.answers.push_back(Answer::No);
  EXPECT_TRUE(app->documents.close(*first));
  EXPECT_EQ(lastResultDocument(), nullptr);
  CResultDoc* next = addResultRow(kDiameterResults, {"c", "um", {}});
  EXPECT_EQ(next->rowCount(), 1u);
  EXPECT_EQ(next->cell(0, 3), "    0.0") << "what the record lacks counts as 0";
}

TEST_F(Results, ATableIsSavedAndOpenedAsItWas) {
  exams->selectSubject("S-1", "");
  CResultDoc* table = addResultRow(kCapillaryResults, kCapillary);
  table->marker = 7;
  ASSERT_TRUE(table->onSaveDocument(folder.file("t.rst")));
  const std::string text = readWholeText(folder.file("t.rst")).value_or("");
  // 11 columns, the first of a class met for the first time: schema 0 and a name of 10 letters.
  EXPECT_EQ(text.substr(0, 20), std::string("\x0b\0\xff\xff\0\0\x0a\0"
                                            "Ccolformat\x09\0",
                                            20));
  auto* opened = dynamic_cast<CResultDoc*>(app->openDocumentFile(folder.file("t.rst")));
  ASSERT_NE(opened, nullptr);
  EXPECT_EQ(opened->rows, table->rows);
  EXPECT_EQ(opened->ncolumns, 11);
  EXPECT_EQ(opened->marker, 7);
  EXPECT_EQ(opened->patientId, "S-1");
  EXPECT_EQ(opened->columnAt(0).title, "line");
  EXPECT_NE(addResultRow(kCapillaryResults, kCapillary), opened) << "a file takes no new rows";
}

TEST_F(Results, AnOldFileHasNoSubjectAndADamagedOneIsRefused) {
  const std::string old(
      "\0\0"
      "\x02\0\0\0"
      "\x05\0"
      "\x01\0"
      "\x02\0"
      "\x01"
      "a\x01"
      "b",
      16);
  ASSERT_TRUE(replaceFile(folder.file("old.rst"), std::string_view(old)));
  auto* opened = dynamic_cast<CResultDoc*>(app->openDocumentFile(folder.file("old.rst")));
  ASSERT_NE(opened, nullptr);
  EXPECT_EQ(opened->ncolumns, 2);
  EXPECT_EQ(opened->marker, 5);
  EXPECT_EQ(opened->patientId, "");
  EXPECT_THAT(opened->rows, ElementsAre(ElementsAre("a", "b")));
  EXPECT_EQ(opened->cell(0, 7), "");
  for (size_t length = 0; length < old.size(); ++length) {
    ASSERT_TRUE(replaceFile(folder.file("cut.rst"), std::string_view(old).substr(0, length)));
    EXPECT_EQ(app->openDocumentFile(folder.file("cut.rst")), nullptr) << length;
  }
  const std::string absurd(
      "\0\0"
      "\x02\0\0\0"
      "\x05\0"
      "\xff\xff\xff\xff\xff\xff",
      14);  // four thousand million rows
  ASSERT_TRUE(replaceFile(folder.file("absurd.rst"), std::string_view(absurd)));
  EXPECT_EQ(app->openDocumentFile(folder.file("absurd.rst")), nullptr);
  EXPECT_THAT(host.messages.back(), HasSubstr("the file ends too early"));
  std::string many(
      "\0\0"
      "\x02\0\0\0"
      "\x05\0"
      "\x01\0"
      "\xff\xff"
      "\0\0\x20\0",
      16);  // two million cells, and bytes for one less
  many.append(size_t{0x1fffff}, '\0');
  ASSERT_TRUE(replaceFile(folder.file("many.rst"), std::string_view(many)));
  EXPECT_EQ(app->openDocumentFile(folder.file("many.rst")), nullptr);
  EXPECT_THAT(host.messages.back(), HasSubstr("the file ends too early"));
}

TEST_F(Results, ALongTableIsReadAsItWasWritten) {
  CResultDoc table;
  table.addcolumns(kDiameterResults.columns);
  table.rows.assign(1'000'000, {"a", "um", "1", "2"});
  ASSERT_TRUE(table.onSaveDocument(folder.file("long.rst")));
  CResultDoc opened;
  ASSERT_TRUE(opened.onOpenDocument(folder.file("long.rst")));
  EXPECT_TRUE(opened.rows == table.rows);
}

TEST_F(Results, AnExportNamesTheSubjectThatWasMeasured) {
  exams->selectSubject("S-1", "");
  exams->selectExam(4, "four");
  CResultDoc* table = addResultRow(kDiameterResults, {"a", "um", {1, 2}});
  exams->selectSubject("S-2", "");
  exams->selectExam(5, "five");
  ASSERT_TRUE(table->exportCsv(folder.file("t.csv")));
  EXPECT_THAT(readWholeText(folder.file("t.csv")).value_or(""),
              EndsWith("Subject ID,S-1\nExam ID,4\nfour\n"));
}

TEST_F(Results, ATableOfSeveralSubjectsHasAColumnForThem) {
  exams->selectSubject("S-1", "");
  CResultDoc* table = addResultRow(kDiameterResults, {"a, \"left\"", "um", {1, 2}});
  exams->selectSubject("S-2", "");
  exams->selectExam(5, "five");
  addResultRow(kDiameterResults, {"b", "um", {2, 3}});
  CdbDocument measured;
  measured.patientId = "S,3";
  measured.examIdOfDoc = 6;
  addResultRow(kDiameterResults, {"c", "um", {3, 4}}, &measured);
  const std::string text =
      "filename,units,line,width,Subject ID,Exam ID,\n"
      "\"a, \"\"left\"\"\",um,    1,    2.0,S-1,,\n"
      "b,um,    2,    3.0,S-2,5,\n"
      "c,um,    3,    4.0,\"S,3\",6,\n";
  ASSERT_TRUE(table->exportCsv(folder.file("t.csv")));
  EXPECT_EQ(readWholeText(folder.file("t.csv")), text);
  ASSERT_TRUE(table->onSaveDocument(folder.file("t.rst")));
  CResultDoc opened;
  ASSERT_TRUE(opened.onOpenDocument(folder.file("t.rst")));
  EXPECT_EQ(opened.ncolumns, 6);
  ASSERT_TRUE(opened.exportCsv(folder.file("t.csv")));
  EXPECT_EQ(readWholeText(folder.file("t.csv")), text);
}

TEST_F(Results, AColumnOfAnyNumberIsWrittenAndAPlaceWithoutOneShowsTheLast) {
  const ColumnRecord columns[] = {{0, 1, "a", 9, 0, 0}, {0xffff, 1, "b", 9, 0, 0}};
  CResultDoc table;
  table.addcolumns(columns);
  ASSERT_TRUE(table.addrow({"x", "y", {}}));
  EXPECT_EQ(table.cell(0, 0xffff), "y");
  EXPECT_EQ(table.columnAt(1).title, "b");
}

TEST_F(Results, AFileWithAbsurdlyManyColumnsIsRefused) {
  CResultDoc table;
  const ColumnRecord wide{0, 1, "a", 0xffff, 0, 0};
  for (const bool refused : {false, true}) {
    while (table.columns.size() < (refused ? 257u : 256u)) table.addcolumns({&wide, 1});
    ASSERT_TRUE(table.onSaveDocument(folder.file("wide.rst")));
    CResultDoc opened;
    EXPECT_EQ(opened.onOpenDocument(folder.file("wide.rst")), !refused);
  }
}

TEST_F(Results, AnExportThatFailsSaysSoAndLeavesNothing) {
  CResultDoc* table = addResultRow(kDiameterResults, {"a", "um", {1, 2}});
  app->documents.activate(*table);
  host.paths.push_back(folder.file("missing/t.csv"));
  EXPECT_EQ(routeCommand(app->commandChain(), std::string_view("Export...")), CommandResult::Done);
  EXPECT_THAT(host.messages.back(), HasSubstr("missing/t.csv"));
}

TEST_F(Results, PrintsPageByPage) {
  struct Pages : PrintContext {
    int linesPerPage() const override { return 6; }
    int columnsPerLine() const override { return 80; }
    void beginPage() override { printed += "<"; }
    void text(int line, int column, const std::string& words) override {
      printed += std::to_string(line) + "," + std::to_string(column) + " " + words + ";";
    }
    void endPage() override { printed += ">"; }
    std::string printed;
  } pages;
  const FixedClock clock(795184889);
  CResultDoc table;
  table.setTitle("T");
  table.patientId = "S-1";
  table.addcolumns(std::span(kDiameterResults.columns).first(2));
  for (const char* name : {"a", "b", "c"}) table.addrow({name, "um", {}});
  table.print(pages);
  const std::string head =
      "<0,0 T;1,0 Tuesday, March 14, 1995, 12:41:29;2,0 Subject S-1; no exam;3,0 filename;";
  EXPECT_EQ(pages.printed,
            head + "4,0 a;5,0 b;3,20 units;4,20 um;5,20 um;>" + head + "4,0 c;3,20 units;4,20 um;>");
}

TEST_F(Results, TheViewScrollsToNewRowsUnderAHeadThatStays) {
  CResultDoc table;
  table.addcolumns(kDiameterResults.columns);
  auto owned = std::make_unique<CResultView>(table);
  CResultView& view = *owned;
  table.addView(std::move(owned));
  view.setMetrics(10, 20);
  view.setWindowSize({200, 100});
  for (int i = 0; i < 10; ++i) table.addrow({"f" + std::to_string(i), "um", {1.0 * i, 2}});
  EXPECT_EQ(view.contentSize(), (Size{(20 + 6 + 5 + 8) * 10, 11 * 20}));
  EXPECT_EQ(view.scrollPosition(), (Point{0, 120}));
  EXPECT_EQ(view.headRect(1), (Rect{200, 0, 260, 20}));
  EXPECT_EQ(view.cellRect(9, 0), (Rect{0, 80, 200, 100}));
  const auto hit = view.cellAt({10, 85});
  ASSERT_TRUE(hit);
  EXPECT_EQ(hit->row, 9u);
  EXPECT_FALSE(view.cellAt({10, 5})) << "the head";
  RecordingCanvas canvas;
  view.draw(canvas);
  std::string drawn;
  for (const std::string& call : canvas.calls) drawn += call;
  EXPECT_EQ(drawn.find("f5"), std::string::npos) << "it lies under the head";
  EXPECT_NE(drawn.find("f9"), std::string::npos);
  EXPECT_NE(drawn.find("filename"), std::string::npos);
  view.scrollTo({9999, -5});
  EXPECT_EQ(view.scrollPosition(), (Point{390 - 200, 0}));
}

}  // namespace
}  // namespace tarnvisor
