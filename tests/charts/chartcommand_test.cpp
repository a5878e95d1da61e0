// What the commands of a chart ask, do and leave alone.

#include "charts/livechartdoc.h"
#include "charts/xychart.h"
#include "frame/mainframe.h"
#include "imagedoc/zbasicdoc.h"
#include "support/charttest.h"
#include "traces/artifact.h"
#include "traces/tracetests.h"

namespace tarnvisor {
namespace {

class ChartCommands : public ChartTest {
 protected:
  void answer(int32_t id, Answer with) {
    host.answers = {with};
    run(id);
  }
  Doubles first() { return samplesOf(*doc->firsttrace()); }
};

// --- cut, copy, paste

TEST_F(ChartCommands, AskBeforeTheyDeleteOrCut) {
  add(traceOf({1, 2, 3, 4}), "pulse");
  const std::tuple<int32_t, bool, const char*> cases[] = {
      {cmd::DeleteFromTrace, true, "Do you really want to delete selected data in pulse trace?"},
      {cmd::DeleteFromTrace, false, "Do you really want to delete pulse trace?"},
      {cmd::EditCut, true, "Do you really want to cut selected data from pulse trace to the clipboard?"},
      {cmd::EditCut, false, "Do you really want to cut pulse trace to the clipboard?"},
      {cmd::ClearTraces, false, "Do you really want to clear all traces to zero?"}};
  for (const auto& [id, selected, question] : cases) {
    view().select(1, selected ? 3 : 1);
    answer(id, Answer::No);
    EXPECT_EQ(lastMessage(), question);
    EXPECT_THAT(first(), ElementsAre(1, 2, 3, 4));
    EXPECT_TRUE(host.clipboardData.empty());
    EXPECT_FALSE(doc->canUndo());
  }
}

TEST_F(ChartCommands, DeleteASelectionByZerosThatMoveNothing) {
  auto samples = traceOf({1, 2, 3, 4, 5});
  samples->circular = 1;
  samples->setorigin(3);
  add(std::move(samples));
  view().select(1, 4);
  answer(cmd::DeleteFromTrace, Answer::Yes);
  EXPECT_THAT(first(), ElementsAre(0, 0, 3, 4, 0));
  EXPECT_EQ(doc->firsttrace()->origin, 3u);
  view().setActive(&add(rowsOf({{1, 2}, {3, 4}, {5, 6}})));
  view().select(1, 2);
  answer(cmd::EditCut, Answer::Yes);
  EXPECT_THAT(samplesOf(*doc->traces.items[1]), ElementsAre(1, 2, 0, 0, 5, 6));
  view().select(0, 0);
  answer(cmd::DeleteFromTrace, Answer::Yes);
  EXPECT_EQ(doc->traces.size(), 1u);
  EXPECT_EQ(view().active(), doc->firsttrace());
}

TEST_F(ChartCommands, ClearAllTracesAndKeepTheRowsItems) {
  add(traceOf({1, 2}));
  auto& rows = static_cast<C2DTrace&>(add(rowsOf({{3, 4}})));
  answer(cmd::ClearTraces, Answer::Yes);
  EXPECT_THAT(first(), ElementsAre(0, 0));
  EXPECT_EQ(rows.extent(0), 0);
  EXPECT_THAT(samplesOf(rows), ElementsAre(3, 4));
}

// Samples in order of time, whatever end of the ring the selection reaches.
TEST_F(ChartCommands, CopyWhatIsSelected) {
  for (const uint32_t origin : {0u, 3u}) {
    auto samples = traceOf({7, 8, 9, 5, 6});
    if (origin == 0) samples = traceOf({5, 6, 7, 8, 9});
    samples->circular = 1;
    samples->setorigin(origin);
    samples->starttime = 2000;
    samples->xscale = 0.125;
    samples->colour = 0x123456;
    view().setActive(&add(std::move(samples), "pulse"));
    const std::tuple<double, double, Doubles, int32_t> cases[] = {{3, 5, {6, 7}, 3000},
                                                                  {3, 7, {6, 7, 8, 9}, 3000},
                                                                  {5, 99, {8, 9}, 5000},
                                                                  {0, 4, {5, 6}, 2000},
                                                                  {0, 99, {5, 6, 7, 8, 9}, 2000}};
    for (const auto& [from, to, copied, starttime] : cases) {
      view().select(from, to);
      run(cmd::EditCopy);
      view().select(0, 0);
      run(cmd::EditPaste);
      const ZZTrace& pasted = *doc->traces.items.back();
      EXPECT_EQ(view().active(), &pasted);
      EXPECT_EQ(samplesOf(pasted), copied) << origin << " " << from;
      EXPECT_EQ(pasted.starttime, starttime) << origin << " " << from;
      EXPECT_EQ(pasted.origin, 0u);
      EXPECT_EQ(pasted.xscale, 0.125);
      EXPECT_EQ(pasted.name, "pulse");
      EXPECT_EQ(pasted.colour, 0x123456u);
      run("Undo");
      view().setActive(doc->traces.items.back().get());
    }
    run(cmd::EditCopy);
    run(cmd::EditPaste);
    EXPECT_EQ(storedBytes(*doc->traces.items.back()), storedBytes(*doc->traces.items[doc->traces.size() - 2]))
        << "a whole trace is copied as it is, its ring too";
  }
}

TEST_F(ChartCommands, PasteIntoASelectionWhatFitsThere) {
  constexpr const char* kNothing = "No common selection between Source and Destination traces ";
  struct Case {
    const char* what;
    ZZTrace::Own source, target;
    double from, to;
    Doubles after;  // empty: the message
  } cases[] = {{"shorter", traceOf({8, 9}), traceOf({1, 2, 3, 4, 5}), 1, 4, {1, 8, 9, 4, 5}},
               {"longer", traceOf({7, 8, 9}, kUint8Code), traceOf({1, 2, 3, 4}), 2, 9, {1, 2, 7, 8}},
               {"rows", rowsOf({{7, 8}}), rowsOf({{1, 2}, {3, 4}}), 1, 2, {1, 2, 7, 8}},
               {"beside the trace", traceOf({8}), traceOf({1, 2}), 5, 9, {}},
               {"rows into samples", rowsOf({{8}}), traceOf({1, 2}), 0, 2, {}},
               {"samples into rows", traceOf({8}), rowsOf({{1}, {2}}), 0, 2, {}},
               {"other rows", rowsOf({{7, 8, 9}}), rowsOf({{1, 2}}), 0, 1, {}}};
  for (Case& c : cases) {
    SCOPED_TRACE(c.what);
    view().select(0, 0);
    view().setActive(&add(std::move(c.source)));
    run(cmd::EditCopy);
    ZZTrace& target = add(std::move(c.target));
    view().setActive(&target);
    const Doubles before = samplesOf(target);
    view().select(c.from, c.to);
    host.messages.clear();
    run(cmd::EditPaste);
    EXPECT_EQ(samplesOf(target), c.after.empty() ? before : c.after);
    EXPECT_EQ(lastMessage(), c.after.empty() ? kNothing : "");
    EXPECT_EQ(doc->canUndo(), !c.after.empty());
    doc->deletetrace(target);
    doc->deletetrace(*doc->firsttrace());
  }
  add(traceOf({1, 2}));
  view().select(50, 60);
  for (const int32_t id : {cmd::EditCopy, cmd::EditCut}) {
    run(id);
    EXPECT_EQ(lastMessage(), kNothing);
  }
}

// Shown: 0.001 * item + 5 into 0.01 * item - 1.
TEST_F(ChartCommands, PasteAndZeroByValue) {
  ZZTrace& source = add(traceOf({-5000, -4500, -4996, 32000}, kInt16Code));
  source.ygain = 0.001;
  source.yoffset = 5;
  view().setActive(&source);
  run(cmd::EditCopy);
  ZZTrace& target = add(traceOf({9, 9, 9, 9, 9, 9}, kUint8Code));
  target.ygain = 0.01;
  target.yoffset = -1;
  view().setActive(&target);
  view().select(1, 5);
  run(cmd::EditPaste);
  EXPECT_THAT(samplesOf(target), ElementsAre(9, 100, 150, 100, 255, 9)) << "0, 0.5, 0.004 and the highest";
  view().select(0, 2);
  answer(cmd::DeleteFromTrace, Answer::Yes);
  EXPECT_THAT(samplesOf(target), ElementsAre(100, 100, 150, 100, 255, 9));
  answer(cmd::ClearTraces, Answer::Yes);
  EXPECT_THAT(samplesOf(target), Each(100));
  EXPECT_THAT(samplesOf(source), Each(-5000));
  target.ygain = 0;
  view().select(1, 3);
  run(cmd::EditPaste);
  EXPECT_EQ(lastMessage(), "No common selection between Source and Destination traces ");
}

TEST_F(ChartCommands, PasteRowsWithTheirExtentsByValue) {
  auto& source = static_cast<C2DTrace&>(add(rowsOf({{1, 2000}})));
  source.ygain = 2;
  view().setActive(&source);
  run(cmd::EditCopy);
  auto& target = static_cast<C2DTrace&>(add(rowsOf({{0, 0}, {0, 0}}, kWordRowsCode)));
  target.ygain = 0.5;
  view().setActive(&target);
  view().select(1, 2);
  run(cmd::EditPaste);
  EXPECT_THAT(samplesOf(target), ElementsAre(0, 0, 4, 8000));
  EXPECT_EQ(target.extent(1), 8);
  EXPECT_EQ(target.fsmax, 8000);
}

TEST_F(ChartCommands, BeginEachSignalWithoutWhatAnotherLeft) {
  ZZTrace& trace = add(traceOf({1, 9, 9, 9, 1}));
  host.fill({{"samples above the upper limit", "replace by the fixed value"},
             {"upper limit", "5"},
             {"upper limit is", "absolute"}});
  run("Artifact &Filter...");
  for (int time = 0; time < 2; ++time) {
    host.fill({{"time constant", "other"}, {"other (seconds)", "0"}});
    view().setActive(&trace);
    run("&Simple smoothing....");
    EXPECT_THAT(first(), ElementsAre(1, 0, 0, 9, 1)) << time;
    view().select(0, 3);  // ends with two rejections
    host.fill({{"time constant", "other"}, {"other (seconds)", "0"}});
    run("Undo");
    view().setActive(doc->firsttrace());
    run("&Simple smoothing....");
    run("Undo");
    view().select(0, 0);
  }
  host.fill({{"samples above the upper limit", "off"}});
  run("Artifact &Filter...");
  process.velocity.autonoise = 1;
  process.velocity.noisefloorRC = 4;
  view().setActive(&addRows());
  std::vector<Doubles> contours;
  for (int time = 0; time < 2; ++time) {
    host.fill({{"No of traces", "1"}});
    run("&Level contour...");
    contours.push_back(samplesOf(*view().active()));
    run("Undo");
    view().setActive(doc->traces.items[1].get());
  }
  process.velocity = {};
  EXPECT_EQ(contours[0], contours[1]);
}

TEST_F(ChartCommands, TellWhatIsWrongWithTheClipboard) {
  add(traceOf({1, 2}));
  run(cmd::EditPaste);
  EXPECT_EQ(lastMessage(), "The clipboard holds no trace.");
  const std::pair<ClipboardResult, const char*> cases[] = {
      {ClipboardResult::CannotOpen, "Cannot Open Clipboard"},
      {ClipboardResult::CannotRegister, "Cannot Register Clipboard"}};
  for (const auto& [result, words] : cases) {
    host.clipboardResult = result;
    run(cmd::EditCopy);
    EXPECT_EQ(lastMessage(), words);
    host.messages.clear();
    answer(cmd::EditCut, Answer::Yes);
    EXPECT_EQ(lastMessage(), words);
    EXPECT_EQ(doc->traces.size(), 1u) << "what is not on the clipboard is not cut";
  }
  std::vector<uint8_t>& bytes = host.clipboardData.begin()->second;
  const std::vector<uint8_t> whole = bytes;
  for (size_t length = 0; length < whole.size(); ++length) {
    bytes.assign(whole.begin(), whole.begin() + length);
    run(cmd::EditPaste);
    ASSERT_THAT(lastMessage(), HasSubstr("can't be pasted")) << length;
  }
  EXPECT_EQ(doc->traces.size(), 1u);
}

// --- images and other charts

TEST_F(ChartCommands, MakeAnImageOfARowForEachRow) {
  auto rows = rowsOf({{0, 250}, {500, 999}, {125, -1}});
  rows->circular = 1;
  rows->setorigin(1);
  rows->zeroat(1);
  add(std::move(rows));
  run("create image from trace");
  const auto* made = dynamic_cast<ZBasicDoc*>(app->documents.active());
  ASSERT_NE(made, nullptr);
  ASSERT_EQ(made->image->width, 2);
  ASSERT_EQ(made->image->height, 3);
  const int levels[3][2] = {{0, 0}, {64, 0}, {0, 128}};
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 2; ++x) EXPECT_EQ(made->image->row(y)[x], levels[y][x]) << x << "," << y;
}

TEST_F(ChartCommands, ShowTheRowUnderTheCursorInOneProfile) {
  C2DTrace& rows = addRows("spectrum");
  rows.yunits = "kHz";
  rows.ygain = 0.001;
  rows.rowvalues->fill(1000);
  rows.xscale = 3;
  rows.fullscale = 512;
  pointAt(10);
  EXPECT_EQ(findLiveChart("2D trace profile"), nullptr);
  run("&PSD profile");
  ZliveChartDoc* chart = findLiveChart("2D trace profile");
  ASSERT_NE(chart, nullptr);
  const auto shown = [&] { return samplesOf(*chart->firsttrace()); };
  EXPECT_THAT(shown(), ElementsAre(10, 110, 210, 310));
  const ZZTrace& trace = *chart->firsttrace();
  EXPECT_EQ(trace.name, "spectrum");
  EXPECT_EQ(trace.xunits, "kHz");
  EXPECT_EQ(trace.typecode(), kUint16Code);
  EXPECT_EQ(trace.period, 0.25);
  EXPECT_EQ(trace.pixelperiod, 3);
  EXPECT_EQ(trace.xscale, 2);
  EXPECT_EQ(trace.displayed(210), 210);
  EXPECT_FALSE(chart->isModified());
  // The same spectra, scaled to fit: a fourth of each power, and as much less of the extent.
  rows.ygain = 0.004;
  rows.rowvalues->fill(250);
  pointAt(11);
  EXPECT_DOUBLE_EQ(chart->firsttrace()->period, 0.25);
  EXPECT_EQ(chart->firsttrace()->displayed(210), 840);
  EXPECT_EQ(chart->firsttrace()->xscale, 8);
  rows.setextent(12, 0);
  pointAt(12);
  EXPECT_THAT(shown(), Each(0)) << "a row that holds nothing";
  pointAt(50);
  EXPECT_THAT(shown(), ElementsAre(50, 150, 250, 350));
  drag(60, 70);
  EXPECT_THAT(shown(), ElementsAre(70, 170, 270, 370));
  pointAt(5000);
  EXPECT_THAT(shown(), ElementsAre(70, 170, 270, 370)) << "outside the plot nothing is pointed at";
  run("&PSD profile");
  EXPECT_EQ(process.profileTemplate->documents().size(), 1u);
}

TEST_F(ChartCommands, FillALiveChartsOneTraceAgainAndAgain) {
  auto* chart = static_cast<ZliveChartDoc*>(process.profileTemplate->newDocument());
  struct Case {
    uint32_t size;
    double period;
    const char* xunits;
    int32_t code;
    double pixelperiod;
  } const cases[] = {{100, 0.5, "mm", kUint8Code, 2},   {40, 1.0, "mm", kUint8Code, 2},
                     {40, 0.25, "mm", kUint8Code, 2},   {40, 0.25, "um", kUint8Code, 4},
                     {300, 0.25, "um", kDoubleCode, 4}, {7, 0.125, "um", kDoubleCode, 4}};
  for (const Case& c : cases) {
    uint32_t size = c.size;
    CdataVect* vector =
        chart->setseries(viewOf(*chart), size, c.period, c.xunits, "profile", c.code, "level");
    ASSERT_NE(vector, nullptr);
    ASSERT_EQ(chart->traces.size(), 1u);
    const ZZTrace& trace = *chart->firsttrace();
    EXPECT_EQ(vector, trace.data.get());
    EXPECT_EQ(size, c.size);
    EXPECT_EQ(vector->size, c.size);
    EXPECT_EQ(trace.typecode(), c.code);
    EXPECT_EQ(trace.period, c.period);
    EXPECT_EQ(trace.pixelperiod, c.pixelperiod);
    EXPECT_EQ(std::tie(trace.name, trace.xunits, trace.yunits),
              std::make_tuple("profile", c.xunits, "level"));
  }
  chart->firsttrace()->data->fill(3);
  chart->firsttrace()->data->putval(6, 10.0);
  chart->updateAllViews();
  std::vector<std::string> texts;
  for (const StatusPane& p : viewOf(*chart)->panes()) texts.push_back(p.text);
  EXPECT_EQ(std::vector<std::string>(texts.end() - 3, texts.end()),
            (std::vector<std::string>{"mean=  4.0", "min=  3.0", "max= 10.0"}));
}

TEST_F(ChartCommands, ChartAResultOverTheExamsOfASubject) {
  CBasicMainFrame frame(*app);
  ASSERT_TRUE(app->db->newSubject("S-1"));
  exams->selectSubject("S-1", "");
  for (const auto& [day, density] : {std::pair("2020-01-11", "8"), std::pair("2020-01-01", "9.5")}) {
    const int32_t exam = app->db->newExam("S-1", "left", "", day);
    ASSERT_TRUE(
        app->db->insertResult(exam, "a.tv1", std::string(density) + ", capillary density, 0.4, area"));
    ASSERT_TRUE(app->db->insertResult(exam, "b.tv1", "10, capillary density"));
    SqliteDatabase(app->dbPath)
        .execute(std::string("update exams set created='") + day + " 12:00:00' where folder='" + day + "';");
  }
  host.fill({{"Result", "capillary density"}});
  ASSERT_EQ(routeCommand(app->commandChain(), std::string_view("Course of results...")), CommandResult::Done);
  auto* chart = dynamic_cast<xychartdoc*>(app->documents.active());
  ASSERT_NE(chart, nullptr);
  EXPECT_EQ(chart->title(), "S-1, left capillary density");
  EXPECT_EQ(chart->xTrace()->name, "since 2020-01-01");
  std::vector<std::pair<double, double>> found;
  for (const xychartdoc::Pair& p : chart->pairs()) found.emplace_back(p.x, p.y);
  EXPECT_THAT(found, ElementsAre(std::pair(0, 9.75), std::pair(10, 9)));
  const int32_t other = app->db->newExam("S-1", "right", "", "r");
  ASSERT_TRUE(app->db->insertResult(other, "a.tv1", "30, capillary density"));
  exams->selectExam(other, "r");
  host.fill({{"Result", "capillary density"}});
  routeCommand(app->commandChain(), std::string_view("Course of results..."));
  chart = dynamic_cast<xychartdoc*>(app->documents.active());
  EXPECT_EQ(chart->title(), "S-1, right capillary density");
  ASSERT_EQ(chart->pairs().size(), 1U) << "of the selected exam's site alone";
  EXPECT_EQ(chart->pairs()[0].y, 30);
}

TEST_F(ChartCommands, DrawATraceAgainstAnotherOfAnotherPeriod) {
  ZZTrace& x = add(traceOf({0, 10, 20, NAN}), "x");
  x.period = 0.5;  // 0 to 2 s
  ZZTrace& y = add(traceOf({1, 2, 3, 4, 5, 6, 7, 8}), "y");
  y.period = 0.25;
  y.starttime = 250;
  y.ygain = 2;
  host.fill({{"along x", "x"}, {"along y", "y"}});
  run("&X-Y chart...");
  auto* chart = dynamic_cast<xychartdoc*>(app->documents.active());
  ASSERT_NE(chart, nullptr);
  EXPECT_EQ(chart->title(), "y against x");
  std::vector<std::pair<double, double>> found;
  for (const xychartdoc::Pair& p : chart->pairs()) found.emplace_back(p.x, p.y);
  // y at 0.25, 0.5 ... 2.0 s: the last two where x has no number, and after its end.
  EXPECT_THAT(found, ElementsAre(std::pair(0, 2), std::pair(10, 4), std::pair(10, 6), std::pair(20, 8),
                                 std::pair(20, 10)));
  auto& shown = static_cast<xychartvw&>(*chart->views().front());
  draw();
  canvas.calls.clear();
  shown.draw(canvas);
  EXPECT_TRUE(drew("polyline"));
  EXPECT_EQ(shown.panes().back().text, "5 points");
  for (const double huge : {1e308, 1e-308, 5e-324})
    for (const double least : {-huge, huge / 2, huge}) {
      chart->traces.items[0] = traceOf({least, huge});
      chart->traces.items[1] = traceOf({huge, least});
      chart->updateAllViews();
      shown.draw(canvas);
    }
  chart->traces.items.pop_back();
  chart->updateAllViews();
  shown.draw(canvas);
  EXPECT_EQ(shown.panes().back().text, "");
}

// --- the tool box

// What each leaves of samples, the filters' own tests hold; here is what the forms do.
TEST_F(ChartCommands, SmoothWithTheChosenTimeConstant) {
  const std::tuple<const char*, double, int32_t> cases[] = {{"0.1 seconds", 0.1, 0},
                                                            {"0.5 seconds", 0.5, 1},
                                                            {"1 second", 1, 2},
                                                            {"3 seconds", 3, 3},
                                                            {"other", 9, 4}};
  for (const auto& [choice, seconds, index] : cases) {
    ZZTrace& step = add(traceOf({0, 1}));
    step.period = 0.0625;
    host.fill({{"time constant", choice}, {"other (seconds)", "9"}});
    run("&Simple smoothing....");
    EXPECT_DOUBLE_EQ(first()[1], 1 - std::exp(-0.0625 / seconds)) << choice;
    EXPECT_EQ(doc->lastTCradio, index);
    EXPECT_EQ(settings.getInt("chartdoc", "lastTCradio", -1), index);
    EXPECT_EQ(settings.getDouble("chartdoc", "lastTC", -1), 9);
    doc->deletetrace(step);
  }
  add(traceOf({0, 1})).period = 0.0625;
  host.fills = {[](Form&) { return false; }};
  run("&Simple smoothing....");
  EXPECT_THAT(first(), ElementsAre(0, 1));
  process.quietMode = 1;
  doc->lastTCradio = 3;
  run("&Simple smoothing....");
  process.quietMode = 0;
  EXPECT_DOUBLE_EQ(first()[1], 1 - std::exp(-0.0625 / 3)) << "quietly, with what was chosen last";
}

TEST_F(ChartCommands, RejectArtifactsAsTheFormSays) {
  resetArtifactCount();
  host.fill({{"samples above the upper limit", "replace by the fixed value"},
             {"upper limit", "10"},
             {"fixed value", "-1"}});
  run("Artifact &Filter...");
  add(traceOf({1, 50, 2, 3}));
  host.fill({{"time constant", "other"}, {"other (seconds)", "0"}});
  run("&Simple smoothing....");
  EXPECT_THAT(first(), ElementsAre(1, -1, 2, 3));
  resetArtifactCount();
}

TEST_F(ChartCommands, FilterByAFileAndChangeNothingWhenItIsNone) {
  add(traceOf({1, 2, 3}));
  ASSERT_TRUE(replaceFile(folder.file("words.txt"), std::string_view("0.5 half 0.5")));
  ASSERT_TRUE(replaceFile(folder.file("double.txt"), std::string_view(" 2\n")));
  for (const auto& [path, messages] :
       {std::pair<std::optional<std::string>, size_t>{folder.file("words.txt"), 1},
        {std::nullopt, 1},
        {folder.file("none.txt"), 2}}) {
    host.paths = {path};
    run("&FIR filter...");
    EXPECT_THAT(first(), ElementsAre(1, 2, 3));
    EXPECT_FALSE(doc->canUndo());
    EXPECT_EQ(host.messages.size(), messages);
    EXPECT_EQ(settings.getString("FIR filter", "filename", "fir.txt"), "fir.txt");
  }
  host.paths = {folder.file("double.txt")};
  run("&FIR filter...");
  EXPECT_THAT(first(), ElementsAre(2, 4, 6));
  EXPECT_EQ(settings.getString("FIR filter", "filename", ""), folder.file("double.txt"));
}

TEST_F(ChartCommands, DrawContoursThatGoTogether) {
  C2DTrace& rows = addRows();
  const auto names = [&](size_t from) {
    std::vector<std::string> all;
    for (size_t i = from; i < doc->traces.size(); ++i) all.push_back(doc->traces.items[i]->name);
    return all;
  };
  run("&Power contour");
  EXPECT_EQ(names(1).size(), 10u);
  view().setActive(&rows);
  host.fill({{"No of traces", "3"}, {"Minimum", "5"}, {"Interval", "100"}});
  run("&Level contour...");
  EXPECT_THAT(names(11), ElementsAre("  5 contour", "105 contour", "205 contour"));
  EXPECT_EQ(settings.getInt("ContoursDlg", "interval", 0), 100);
  run("Undo");
  EXPECT_EQ(doc->traces.size(), 11u) << "the contours of one command";
}

// --- files of other programs

TEST_F(ChartCommands, ExportAndImportTraces) {
  addRamp("pulse");
  view().select(1, 1.0625);
  host.fill({{"Range", "Selection"}, {"&X values", "none"}, {"Row delimiter", "lf only"}, {"&Headers", "0"}});
  host.paths = {folder.file("out.txt")};
  run(cmd::ExportTrace);
  EXPECT_EQ(readWholeText(folder.file("out.txt")).value_or(""), "64\n66\n") << "a line a column";
  EXPECT_EQ(settings.getInt("Export", "headers", -1), 0);
  host.paths = {folder.file("out.txt")};
  run(cmd::Import);
  ASSERT_EQ(doc->traces.size(), 2u);
  EXPECT_THAT(samplesOf(*doc->traces.items[1]), ElementsAre(64, 66));
  EXPECT_EQ(view().active(), doc->traces.items[1].get());
  EXPECT_NE(doc->traces.items[1]->colour, 0u);
  run("Undo");
  host.fill({});
  host.paths = {folder.file("out.csv")};
  run(cmd::ExportTrace);
  EXPECT_THAT(readWholeText(folder.file("out.csv")).value_or(""), StartsWith("time (s),"));
  host.paths = {folder.file("missing.txt")};
  run(cmd::Import);
  EXPECT_THAT(lastMessage(), HasSubstr("missing.txt"));
  host.messages.clear();
  host.fill({{"&Binary", "1"}});
  host.paths = {folder.file("no/such/folder.bin")};
  run(cmd::ExportTrace);
  EXPECT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(doc->traces.size(), 1u);
  EXPECT_EQ(settings.getInt("Export", "binary", 0), 0) << "what failed is not kept";
}

}  // namespace
}  // namespace tarnvisor
