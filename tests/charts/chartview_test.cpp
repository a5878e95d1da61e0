// The window of a chart: time, selection, scales, status and markers.

#include "base/clock.h"
#include "charts/markereditor.h"
#include "frame/pictureexport.h"
#include "results/resultdoc.h"
#include "support/charttest.h"
#include "traces/tracetests.h"

namespace tarnvisor {
namespace {

class ChartWindow : public ChartTest {
 protected:
  CMarker& addMarker(double time, const std::string& label) {
    CMarker& marker = doc->markers.add(std::make_unique<CMarker>());
    marker.time = time;
    marker.SetLabel(label);
    draw();
    return marker;
  }
};

// --- selection

TEST_F(ChartWindow, SelectsByADragUnlessDataIsComingIn) {
  addRamp();
  ASSERT_EQ(view().secondsPerColumn, 1.0 / 32);
  const std::tuple<int32_t, int32_t, double, double> cases[] = {
      {32, 96, 1, 3}, {96, 32, 1, 3}, {320, 9000, 10, 10.03125}, {64, -500, 0, 2}, {64, 66, 2, 2}};
  for (const auto& [from, to, selfrom, selto] : cases) {
    drag(from, to);
    EXPECT_EQ(view().selfrom, selfrom) << from;
    EXPECT_EQ(view().selto, selto) << from;
    EXPECT_EQ(view().hasSelection(), selfrom != selto);
  }
  view().select(7, 4);
  doc->running = 1;
  drag(32, 96);
  EXPECT_EQ(view().selfrom, 4);
  EXPECT_EQ(view().selto, 7);
  EXPECT_TRUE(view().keyDown({Key::Escape}));
  EXPECT_FALSE(view().hasSelection());
}

TEST_F(ChartWindow, LeavesTheChartUnchangedWhereItOnlyShowsIt) {
  addRamp();
  doc->setModified(false);
  drag(32, 96);
  view().zoomTime(2, 3);
  view().fit();
  view().keyDown({Key::Right});
  EXPECT_FALSE(doc->isModified());
}

TEST_F(ChartWindow, FindsTheSelectionInATraceRoundTheRingsEnd) {
  auto ring = traceOf(Doubles(10));
  ring->period = 0.5;
  ring->starttime = 2000;
  ring->circular = 1;
  ring->setorigin(7);
  const ZZTrace& trace = add(std::move(ring));
  struct Case {
    double from, to;
    int count;  // -1: nothing
    uint32_t first, end;
  } const cases[] = {{2, 3, 2, 7, 9},      {3, 5, 4, 9, 3},     {5, 99, 4, 3, 7},  {-9, 99, 10, 7, 7},
                     {5, 3, 4, 9, 3},      {2.1, 2.6, 1, 8, 9}, {0, 1, -1, 0, 0},  {7, 99, -1, 0, 0},
                     {2.1, 2.4, -1, 0, 0}, {4, 4, 10, 7, 7},    {NAN, 3, -1, 0, 0}};
  for (const Case& c : cases) {
    view().select(c.from, c.to);
    const auto range = view().rangeIn(trace);
    ASSERT_EQ(range.has_value(), c.count >= 0) << c.from;
    if (!range) continue;
    EXPECT_EQ(range->count, static_cast<uint32_t>(c.count)) << c.from;
    EXPECT_EQ(range->from, c.first) << c.from;
    EXPECT_EQ(range->to, c.end) << c.from;
  }
}

// --- status

TEST_F(ChartWindow, TellsOfATraceWhatTheCursorPointsAt) {
  add(traceOf({1, 2}), "short");
  ZZTrace& ramp = addRamp("pulse");
  ramp.ygain = 0.5;
  ramp.yoffset = 1;
  view().setActive(&ramp);
  pointAt(64);
  EXPECT_EQ(pane("trace"), "1:pulse");
  EXPECT_EQ(pane("x"), "x = 2.000 ");
  EXPECT_EQ(pane("y"), "y = 65.000 ");
  EXPECT_EQ(pane("dx"), "");
  EXPECT_EQ(pane("scale"), "");
  view().select(1, 3.5);
  EXPECT_EQ(pane("dx"), "dx = 2.500 ");
  doc->running = 1;
  for (const char* name : {"x", "y", "dx"}) EXPECT_EQ(pane(name), "") << "samples move under the cursor";
  doc->running = 0;
  view().setActive(doc->firsttrace());
  view().cursor = 5;
  EXPECT_EQ(pane("trace"), "0:short");
  for (const char* name : {"x", "y"}) EXPECT_EQ(pane(name), "") << "the column is beyond its data";
}

TEST_F(ChartWindow, TellsOfRowsTheItemUnderTheMouseAndTheScale) {
  C2DTrace& rows = addRows();
  rows.fsoffset = 12;
  pointAt(64, 90);  // 150 of 240 pixels up: 2.5 of 4
  EXPECT_EQ(pane("x"), "x = 2.000 ");
  EXPECT_EQ(pane("y"), "y = 264.000 ");
  EXPECT_EQ(pane("scale"), "2.50 FS=  500 OS=   12");
  rows.ygain = 0.004;
  rows.yunits = "kHz";
  rows.rowvalues->fill(1000);
  EXPECT_EQ(pane("scale"), "2.50 FS= 2000 OS=   48") << "powers that were scaled to fit";
  rows.setextent(64, 2.0);  // the mouse is above this row
  EXPECT_EQ(pane("y"), "y = 0.000 ");
}

TEST_F(ChartWindow, TellsNothingOfATraceOfSizeZero) {
  add(std::make_unique<CTrace>(kDoubleCode, 0), "empty");
  add(std::make_unique<C2DTrace>(kWordRowsCode, 0, 4), "rows");
  view().select(1, 2);
  for (const auto& trace : doc->traces.items) {
    view().setActive(trace.get());
    pointAt(3);
    for (const StatusPane& p : view().panes()) EXPECT_EQ(p.text, "") << p.name;
  }
  for (const int32_t id : {cmd::EditCopy, cmd::EditCut, cmd::ChartResults, cmd::SimpleSmoothing})
    EXPECT_FALSE(isEnabled(id)) << id;
}

// --- scales

TEST_F(ChartWindow, StepsTheFullScaleWithinItsLimits) {
  C2DTrace& rows = addRows();
  rows.setdisplay(500, 2, 100, 900);
  const std::tuple<int32_t, double, double> cases[] = {
      {cmd::IncreaseFullScale, 900, 0},  {cmd::ReduceFullScale, 450, 0}, {cmd::ReduceFullScale, 225, 0},
      {cmd::ReduceFullScale, 112.5, 0},  {cmd::ReduceFullScale, 100, 0}, {cmd::RaiseOffset, 100, 10},
      {cmd::IncreaseFullScale, 200, 10}, {cmd::LowerOffset, 200, -10}};
  for (const auto& [id, fullscale, offset] : cases) {
    doc->setModified(false);
    run(id);
    EXPECT_EQ(rows.fullscale, fullscale);
    EXPECT_EQ(rows.fsoffset, offset);
    EXPECT_TRUE(doc->isModified());
  }
  rows.setdisplay(500, 2, 900, 100);
  run("&Increase  full scale");
  EXPECT_EQ(rows.fullscale, 900) << "limits in the wrong order are no trap";
  run("&Linear intensity scale");
  EXPECT_EQ(rows.fullscale, 900);
}

TEST_F(ChartWindow, EnablesWhatIsForRowsOnlyThere) {
  const int32_t forRows[] = {cmd::ReduceFullScale,     cmd::IncreaseFullScale, cmd::RaiseOffset,
                             cmd::LowerOffset,         cmd::ChartColour,       cmd::InverseColours,
                             cmd::MinimumToBackground, cmd::HalvePoints,       cmd::CutPedestal,
                             cmd::CutPsdArtifacts,     cmd::DpsHistogram,      cmd::NormaliseToSelection,
                             cmd::ImageFromTrace};
  for (const int32_t id : forRows) EXPECT_FALSE(isEnabled(id)) << id;
  ZZTrace& ramp = addRamp();
  for (const int32_t id : forRows) EXPECT_FALSE(isEnabled(id)) << id;
  C2DTrace& rows = addRows();
  view().setActive(&rows);
  for (const int32_t id : forRows) EXPECT_TRUE(isEnabled(id)) << id;
  EXPECT_FALSE(view().commands()->find("Differentiate trace")->enabled(view()));
  const std::pair<int32_t, bool (DisplayPalette::*)() const> flags[] = {
      {cmd::ChartColour, &DisplayPalette::colour},
      {cmd::InverseColours, &DisplayPalette::inverse},
      {cmd::MinimumToBackground, &DisplayPalette::backgnd}};
  for (const auto& [id, get] : flags) {
    const bool before = (rows.palette.*get)();
    run(id);
    EXPECT_NE((rows.palette.*get)(), before) << id;
    EXPECT_EQ(view().commands()->find(id)->ticked(view()), !before) << id;
  }
  EXPECT_EQ(settings.getInt("Palette", "inverse", 7), rows.palette.inverse());
  EXPECT_EQ(doc->addtrace(kWordRowsCode, 4, 4)->palette.colour(), rows.palette.colour());
  view().setActive(&ramp);
  EXPECT_TRUE(view().commands()->find("Differentiate trace")->enabled(view()));
}

TEST_F(ChartWindow, GivesAllTracesTheRatioOfTheActiveOne) {
  for (const double xscale : {2.0, 4.0, 0.5}) add(traceOf({1, 2, 3})).xscale = xscale;
  view().screenTrace(*doc->traces.items[1]).FS = 100;
  view().setActive(doc->traces.items[1].get());
  run(cmd::SameScale);
  EXPECT_EQ(view().screenTrace(*doc->traces.items[0]).FS, 50);
  EXPECT_EQ(view().screenTrace(*doc->traces.items[2]).FS, 12.5);
}

TEST_F(ChartWindow, HidesATraceAndSharesTheHeightAmongTheOthers) {
  for (const char* name : {"a", "b", "c"}) addRamp(name);
  const auto frames = [&] {
    std::vector<std::string> all;
    for (const std::string& call : canvas.calls)
      if (call.starts_with("rectangle")) all.push_back(call.substr(10));
    return all;
  };
  draw();
  // Two gaps of 6 between the strips.
  EXPECT_THAT(frames(), ElementsAre("92,6-415,82", "92,88-415,164", "92,170-415,246"));
  view().setActive(doc->findtrace("b"));
  run("&Hide Trace");
  EXPECT_TRUE(view().commands()->find(cmd::HideTrace)->ticked(view()));
  draw();
  EXPECT_THAT(frames(), ElementsAre("92,6-415,112", "92,140-415,246"));
  EXPECT_TRUE(drew("b (not drawn)"));
  run("&Hide Trace");
  draw();
  EXPECT_EQ(frames().size(), 3u);
  doc->findtrace("c")->hidden = true;
  doc->updateAllViews();
  draw();
  EXPECT_THAT(frames(), ElementsAre("92,6-415,123", "92,129-415,246"));
}

// --- zoom

TEST_F(ChartWindow, ZoomsTimeAboutAMomentThatStaysWhereItIs) {
  for (const int32_t start : {0, 5000, -3000}) {
    addRamp().starttime = start;
    doc->updateAllViews();
    for (const double factor : {0.5, 0.25, 0.75, 1.5}) {
      pointAt(200);
      const double moment = view().cursor;
      view().zoomTime(factor, moment);
      pointAt(200);
      EXPECT_NEAR(view().cursor, moment, view().secondsPerColumn) << factor;
    }
    EXPECT_EQ(view().secondsPerColumn, 0.5 * 0.25 * 0.75 * 1.5 / 32);
    view().wheel({{kLeft + 200, 50}, 1, false, true});
    EXPECT_EQ(view().secondsPerColumn, 0.5 * 0.25 * 0.75 * 1.5 / 32 / 1.25);
    EXPECT_FALSE(view().showsAll());
    doc->deletetrace(*doc->firsttrace());
    view().fit();
  }
}

TEST_F(ChartWindow, TellsLargeValuesThatDifferLittleAndKeepsTheScaleOfATraceNotYetFilled) {
  ZZTrace& seconds = add(traceOf({1700000000, 1700000004, 1700000010}), "seconds");
  auto zeros = traceOf(Doubles(8));
  zeros->xscale = 2;
  ZZTrace& waiting = add(std::move(zeros), "waiting");
  draw();
  EXPECT_THAT(canvas.calls, Contains(ContainsRegex("\"170000000[45]\""))) << seconds.name;
  EXPECT_EQ(view().screenTrace(waiting).FS, 512);
  EXPECT_EQ(view().screenTrace(waiting).OS, 0);
}

TEST_F(ChartWindow, SurvivesAbsurdPeriodsAndStartTimes) {
  const double periods[] = {1e-300, 5e-324, 1e-9, 1, 1e9, 1e300, 1e308};
  for (const double period : periods)
    for (const int32_t start : {INT32_MIN, 0, INT32_MAX})
      for (const int kind : {0, 1, 2}) {
        SCOPED_TRACE(format("period %g from %i, kind %i", period, start, kind));
        ZZTrace& trace = kind == 2 ? static_cast<ZZTrace&>(addRows()) : addRamp();
        if (kind == 0) addRamp("beside");
        trace.period = period;
        trace.starttime = start;
        trace.marked = kind == 1;
        trace.ygain = period;
        trace.xscale = -1e308;
        addMarker(1e300, "m");
        doc->updateAllViews();
        draw();
        const auto check = [&] {
          ASSERT_TRUE(std::isfinite(view().secondsPerColumn));
          ASSERT_GT(view().secondsPerColumn, 0);
          ASSERT_GE(view().contentSize().width, kWindow.width);
          ASSERT_LE(view().contentSize().width, (1 << 28) + kWindow.width);
          draw();
          (void)view().panes();
        };
        for (const Key key : {Key::Plus, Key::End, Key::Minus, Key::Home}) {
          for (int i = 0; i < 150; ++i) view().keyDown({key}), view().keyDown({key, false, true});
          check();
        }
        view().wheel({{200, 100}, 2000000000, false, true});
        check();
        view().wheel({{200, 100}, -2000000000, true, false});
        view().scrollTo({1 << 28, 0});
        check();
        drag(1, 300);
        (void)view().rangeIn(trace);
        for (const int32_t id : {cmd::ZoomActualSize, cmd::ZoomFit, cmd::SameScale, cmd::ChartResults})
          route(id);
        check();
        doc->deleteContents();
        host.messages.clear();
      }
}

// --- markers

TEST_F(ChartWindow, PutsMarkersAtTheCursorAndDragsAndDeletesThem) {
  addRamp();
  pointAt(64);
  run(cmd::InsertMarker);
  ASSERT_EQ(doc->markers.size(), 1u);
  CMarker& marker = *doc->markers.items[0];
  EXPECT_EQ(marker.time, 2.0);
  EXPECT_EQ(marker.label, "1");
  EXPECT_TRUE(doc->isModified());
  draw();
  // A box of two characters by one line, its right edge at the moment, ten below the top.
  EXPECT_TRUE(drew(format("rectangle %i,16-%i,32", kLeft + 50, kLeft + 64)));
  EXPECT_FALSE(isEnabled(cmd::EditMarker));
  drag(60, 156, 15);
  EXPECT_EQ(marker.time, 4.875);
  EXPECT_FALSE(view().hasSelection());
  EXPECT_TRUE(isEnabled(cmd::EditMarker));
  draw();
  drag(150, -400, 15);
  EXPECT_EQ(marker.time, 0.0);
  run(cmd::DeleteFromTrace);
  EXPECT_EQ(doc->markers.size(), 0u);
  EXPECT_EQ(doc->traces.size(), 1u);
  pointAt(32);
  for (const char* label : {"1", "2"}) {
    run(cmd::InsertMarker);
    EXPECT_EQ(doc->markers.items.back()->label, label);
  }
  for (const size_t left : {1, 0}) {
    run(cmd::Undo);
    EXPECT_EQ(doc->markers.size(), left);
  }
  for (const double time : {0.0, 4.875, 2.0}) {
    run(cmd::Undo);
    ASSERT_EQ(doc->markers.size(), 1u);
    EXPECT_EQ(doc->markers.items[0]->time, time);
  }
  run(cmd::Redo);
  EXPECT_EQ(doc->markers.items[0]->time, 4.875);
}

TEST_F(ChartWindow, PlacesMarkersOnlyWithinWhatIsShown) {
  addRamp();
  const std::pair<double, bool> cases[] = {{0, true},   {10, true},    {10.1, false},     {-0.5, false},
                                           {-1, false}, {1e18, false}, {INFINITY, false}, {NAN, false}};
  for (const auto& [time, shown] : cases) {
    addMarker(time, "flag");
    EXPECT_EQ(drew("\"flag\""), shown) << time;
    doc->markers.Clear();
  }
  addMarker(4, "late");
  view().zoomTime(0.25, 0);
  draw();
  EXPECT_FALSE(drew("\"late\""));
  view().keyDown({Key::PageDown});
  draw();
  EXPECT_TRUE(drew("\"late\""));
}

TEST_F(ChartWindow, EditsMarkersInTheOneEditor) {
  MarkerEditor& editor = MarkerEditor::shared();
  addRamp();
  CMarker& marker = addMarker(2, "old");
  view().mouseDouble({{kLeft + 62, kTop + 15}});
  ASSERT_EQ(editor.marker(), &marker);
  doc->setModified(false);
  editor.label = "longer";
  editor.update();
  EXPECT_EQ(marker.label, "longer");
  EXPECT_TRUE(doc->isModified());
  draw();
  EXPECT_TRUE(drew("\"longer\""));
  CMarker& other = addMarker(6, "x");
  drag(190, 190, 15);
  run(cmd::EditMarker);
  EXPECT_EQ(editor.marker(), &other);
  run(cmd::DeleteFromTrace);
  EXPECT_FALSE(editor.isOpen());
  run(cmd::InsertMarker);
  EXPECT_FALSE(editor.isOpen());
  run(cmd::EditNewMarks);
  EXPECT_TRUE(view().commands()->find(cmd::EditNewMarks)->ticked(view()));
  run(cmd::InsertMarker);
  EXPECT_EQ(editor.marker(), doc->markers.items.back().get());
  process.reviewTemplate->discard(*doc);
  EXPECT_FALSE(editor.isOpen());
}

// --- paper, pictures, results

TEST_F(ChartWindow, PrintsTheTimeTheTitleAndWhatTheWindowShows) {
  const FixedClock clock(795184889);
  addRamp("shown");
  doc->setTitle("Chart of S-17");
  ASSERT_TRUE(app->db->newSubject("S-17") && app->db->updateSubject("S-17", "Ann", "Lee", ""));
  doc->patientId = "S-17";
  doc->examIdOfDoc = app->db->newExam("S-17", "left ring", "", "e");
  CMarker& marker = addMarker(2, "here");
  view().screenTrace(*doc->firsttrace()).scaleAbout(0, 0.5);
  RecordingJob job({2000, 3000});
  job.pages[0].printer = true;
  host.printJob = &job;
  for (const int32_t id : {cmd::FilePrint, cmd::FilePrintPreview}) {
    job.pages[0].calls.clear();
    run(id);
    const auto texts = job.texts(0);
    ASSERT_GE(texts.size(), 3u);
    EXPECT_THAT(texts[2], MatchesRegex("Subject S-17, Ann Lee; exam 1 of ....-..-.., left ring"));
    EXPECT_EQ(texts[0], "printed:Tuesday, March 14, 1995, 12:41:29");
    EXPECT_EQ(texts[1], "Chart of S-17");
    for (const char* words : {"\"shown\"", "\"here\""})
      EXPECT_THAT(job.pages[0].calls, Contains(HasSubstr(words)));
    EXPECT_EQ(host.calls.back(), "print Chart of S-17");
  }
  drag(62, 126, 15);  // markers are still where the window drew them
  EXPECT_EQ(marker.time, 4.0 - 1.0 / 16);
}

TEST_F(ChartWindow, WritesAPictureThroughTheHost) {
  EXPECT_FALSE(view().hasPicture());
  addRamp("shown");
  RecordingCanvas picture;
  host.pictureCanvas = &picture;
  host.paths = {std::nullopt, folder.file("chart.svg")};
  exportPicture(view());
  EXPECT_THAT(picture.calls, IsEmpty());
  host.fill({{"Magnification", "1"}});
  exportPicture(view());
  draw();
  EXPECT_EQ(picture.calls, canvas.calls) << "as the window shows it";
}

TEST_F(ChartWindow, AddsAResultRowOfTheSelection) {
  ZZTrace& ramp = addRamp("pulse");
  ramp.ygain = 0.5;
  ramp.data->putval(70, NAN);
  doc->setTitle("S-17");
  view().select(1, 2);  // samples 64 to 127, of which 70 is none
  run(cmd::ChartResults);
  view().select(0, 0);
  run(cmd::ChartResults);
  C2DTrace& rows = addRows("rows");
  rows.setextent(33, 0.0);
  rows.setextent(34, 0.0);
  view().setActive(&rows);
  view().select(1, 1.25);  // rows 32 to 39 without two
  run(cmd::ChartResults);
  view().select(20, 30);
  run(cmd::ChartResults);
  EXPECT_THAT(lastMessage(), HasSubstr("no samples"));
  auto* table = dynamic_cast<CResultDoc*>(process.resultTemplate->documents().front().get());
  ASSERT_EQ(table->rowCount(), 3u);
  const auto cells = [&](size_t row) {
    std::vector<std::string> all;
    for (size_t i = 0; i < 9; ++i) all.push_back(table->cell(row, i));
    return all;
  };
  // (64 + ... + 127) - 70 = 6042 in 63 samples, halved
  EXPECT_THAT(cells(0), ElementsAre("S-17", "pulse", "      1.00", "      2.00", "     47.95", "     63.50",
                                    "     32.00", "        98", "     3021.0"));
  EXPECT_THAT(cells(1), ElementsAre("S-17", "pulse", "      0.00", "     10.00", "    159.95", "    319.50",
                                    "      0.00", "       100", "   102205.0"));
  // Rows 32, 35 ... 39: their numbers sum to 217, each four times, with 0 to 300 on top.
  EXPECT_THAT(cells(2), ElementsAre("S-17", "rows", "      1.00", "      1.25", "    186.17", "    339.00",
                                    "     32.00", "        75", "     4468.0"));
}

}  // namespace
}  // namespace tarnvisor
