// What a chart's document does with its traces, and how the drawing prepares them.

#include "charts/chartmeasures.h"
#include "charts/screentrace.h"
#include "support/charttest.h"
#include "traces/tracetests.h"

namespace tarnvisor {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

class ChartDocument : public ChartTest {
 protected:
  struct Counter : CView {
    using CView::CView;
    void onUpdate(Change) override { ++told; }
    int told = 0;
  };
  // All that Undo has to bring back.
  std::string state() {
    std::string all;
    for (const auto& trace : doc->traces.items) {
      all += trace->name + ":";
      for (const double sample : samplesOf(*trace)) all += format(" %g", sample);
      all += ";";
    }
    return all;
  }
};

TEST_F(ChartDocument, TellsItsViewsOnceOfABatch) {
  auto owned = std::make_unique<Counter>(*doc);
  const Counter& counter = *owned;
  doc->addView(std::move(owned));
  {
    const TraceBatch batch(*doc);
    const TraceBatch within(*doc);
    EXPECT_EQ(doc->updatecount, 0);
    EXPECT_NE(doc->addtrace(kFloatCode, 10), nullptr);
    EXPECT_NE(doc->addtrace(kWordRowsCode, 10, 4), nullptr);
    doc->deletetrace(*doc->firsttrace());
    EXPECT_EQ(counter.told, 0);
  }
  EXPECT_EQ(counter.told, 1);
  EXPECT_EQ(doc->updatecount, 1);
  (void)doc->addtrace(kInt8Code, 3);
  EXPECT_EQ(counter.told, 2);
  doc->deletetrace(*doc->firsttrace(), false);
  EXPECT_EQ(counter.told, 2);
  EXPECT_EQ(doc->addtrace(kWordRowsCode, 3), nullptr) << "rows need a width";
  EXPECT_EQ(counter.told, 2);
}

TEST_F(ChartDocument, NeitherDrawsNorCountsSamplesThatStandForNone) {
  ZZTrace& ramp = addRamp();
  ramp.absent = 0;
  EXPECT_EQ(summaryOf(ramp, 0, 3).mean, 1.5);
  SampleExtents extents;
  EXPECT_EQ(extents.of(*ramp.data, 0, 640, ramp.absent), (Extent{1, 639}));
}

TEST_F(ChartDocument, ShowsRowsFromTheirLowestPlaceOn) {
  C2DTrace& rows = addRows();
  rows.lowest = -2;
  CScreenTrace& shown = view().screenTrace(rows);
  shown.selfScale();
  EXPECT_EQ(shown.OS, -2.0);
}

TEST_F(ChartDocument, MakesTracesAsTheSettingsSayAndFindsThem) {
  doc->circular = 1;
  ZZTrace& one = *doc->addtrace(kFloatCode, 8);
  C2DTrace& rows = *doc->addtrace(kByteRowsCode, 8, 3);
  EXPECT_EQ(one.circular, 1);
  EXPECT_EQ(rows.circular, 1);
  EXPECT_EQ(rows.width(), 3);
  rows.name = "r";
  EXPECT_EQ(doc->findtrace("r"), &rows);
  EXPECT_EQ(doc->findtrace("s"), nullptr);
  EXPECT_EQ(doc->firsttrace(), &one);
  EXPECT_EQ(doc->indexOfTrace(&rows), 1);
  one.period = 0.5;
  doc->ringadvance(11);
  EXPECT_EQ(one.origin, 3u);
  EXPECT_EQ(rows.origin, 3u);
  EXPECT_EQ(doc->clock, 0.0);  // whoever writes samples keeps the time
}

TEST_F(ChartDocument, TakesATraceFromTheViewsBeforeItGoes) {
  addRamp("first");
  ZZTrace& second = addRows("second");
  view().setActive(&second);
  EXPECT_EQ(view().active(), &second);
  doc->deletetrace(second);
  EXPECT_EQ(view().active(), doc->firsttrace());
  draw();
  view().setActive(doc->firsttrace());
  doc->replacetrace(*doc->firsttrace(), traceOf({5, 6}));
  EXPECT_EQ(view().active(), doc->firsttrace());
  EXPECT_EQ(doc->firsttrace()->size(), 2u);
  draw();
  doc->deleteContents();
  EXPECT_EQ(view().active(), nullptr);
  draw();
}

TEST_F(ChartDocument, UndoesAndRedoesEachKindOfChange) {
  using Change = ZchartDoc::Change;
  const auto first = [&]() -> ZZTrace& { return *doc->firsttrace(); };
  const std::pair<const char*, std::function<void()>> cases[] = {
      {"alter",
       [&] {
         Change change(*doc);
         ASSERT_TRUE(change.altering(first()));
         first().data->putval(1, 99.0);
         first().name = "other";
       }},
      {"add", [&] { Change(*doc).add(traceOf({7})); }},
      {"remove", [&] { Change(*doc).remove(first()); }},
      {"replace",
       [&] {
         Change(*doc).replace(first(), traceOf({8, 8}));
       }},
      {"several at once",
       [&] {
         Change change(*doc);
         ASSERT_TRUE(change.altering(first()));
         first().data->putval(0, 42.0);
         change.remove(first());
         ZZTrace* fresh = change.add(traceOf({1, 2, 3}));
         change.replace(first(), traceOf({4}));
         change.remove(*fresh);
         change.add(traceOf({5}));
       }},
      {"cut",
       [&] {
         host.answers = {Answer::Yes};
         run(cmd::EditCut);
       }},
      {"paste", [&] { run(cmd::EditPaste); }},
      {"halving",
       [&] {
         view().setActive(doc->findtrace("b"));
         run(cmd::HalvePoints);
       }},
  };
  add(traceOf({1, 2, 3}), "a");
  add(rowsOf({{1, 3, 5, 7, 9, 11}, {2, 2, 4, 4, 6, 6}}, kWordRowsCode), "b");
  run(cmd::EditCopy);
  for (const auto& [what, change] : cases) {
    SCOPED_TRACE(what);
    view().setActive(doc->firsttrace());
    doc->setModified(false);
    const std::string before = state();
    change();
    const std::string after = state();
    EXPECT_NE(before, after);
    EXPECT_TRUE(doc->isModified());
    for (int times = 0; times < 2; ++times) {
      run("Undo");
      EXPECT_EQ(state(), before);
      draw();
      run("Redo");
      EXPECT_EQ(state(), after);
      draw();
    }
    run("Undo");
  }
  Change(*doc).add(traceOf({1}));
  EXPECT_EQ(route("Redo"), CommandResult::Disabled) << "another change ends what could be redone";
  EXPECT_THAT(samplesOf(*doc->findtrace("b")), ElementsAre(1, 3, 5, 7, 9, 11, 2, 2, 4, 4, 6, 6));
  doc->deletetrace(*doc->findtrace("b"));
  EXPECT_FALSE(doc->canUndo()) << "a deletion past the commands leaves nothing to count places in";
}

TEST_F(ChartDocument, UndoKeepsTheLastChangesThatFitItsMemory) {
  const auto change = [&](double value) {
    ZchartDoc::Change c(*doc);
    ASSERT_TRUE(c.altering(*doc->firsttrace()));
    doc->firsttrace()->data->putval(0, value);
  };
  ASSERT_NE(doc->addtrace(kUint8Code, 100 << 20), nullptr);
  for (const double value : {1, 2, 3, 4}) change(value);
  for (const double value : {3, 2}) {
    ASSERT_TRUE(doc->canUndo());
    doc->undo();
    EXPECT_EQ(doc->firsttrace()->data->at(0), value);
  }
  EXPECT_FALSE(doc->canUndo()) << "three copies are 300 of 256 MB";
  doc->deletetrace(*doc->firsttrace());
}

// --- what drawing prepares, against plain walks

struct OpenScreenTrace : CScreenTrace {
  using CScreenTrace::CScreenTrace;
  using CScreenTrace::extentOfAges;
};

// Random numbers, a good part of them none, in groups and alone.
Doubles noise(size_t count, bool wholes, std::mt19937& random) {
  Doubles values(count);
  for (size_t i = 0; i < count; ++i) {
    const uint32_t r = random();
    values[i] = wholes ? r % 60000 : (r % 11 == 0 || (i / 70) % 9 == 4 ? kNaN : (r / 7.0 - 3e8));
  }
  return values;
}

TEST(ScreenTraces, FindExtentsAsAPlainWalkDoes) {
  std::mt19937 random(7);
  for (const uint32_t size : {1u, 255u, 512u, 513u, 5000u, 70001u})
    for (const int32_t code : {kDoubleCode, kUint16Code}) {
      SCOPED_TRACE(format("%u of type %i", size, code));
      const Doubles samples = noise(size, code != kDoubleCode, random);
      auto trace = traceOf(samples, code);
      trace->circular = 1;
      trace->setorigin(random() % size);
      OpenScreenTrace screen(*trace);
      SampleExtents extents;
      for (int round = 0; round < 300; ++round) {
        uint32_t from = random() % (size + 2), to = random() % (size + 2);
        if (round % 3 == 0) from -= from % 256, to -= to % 256;
        if (round % 7 == 0) from = 0, to = UINT32_MAX;
        Extent plain, ring;
        for (uint32_t i = from; i < std::min(to, size); ++i) {
          plain.take(samples[i]);
          ring.take(samples[(i + trace->origin) % size]);
        }
        ASSERT_EQ(extents.of(*trace->data, from, to), plain) << from << " to " << to;
        ASSERT_EQ(screen.extentOfAges(from, to), ring) << from << " to " << to;
      }
      trace->data->putval(size / 2, 65535.0);
      screen.dataChanged();
      extents.clear();
      EXPECT_GE(extents.of(*trace->data, 0, size).high, 65535.0);
      EXPECT_EQ(screen.extentOfAges(0, size), extents.of(*trace->data, 0, size));
    }
}

TEST(ScreenTraces, FindTheGreatestOfRowsAsAPlainWalkDoes) {
  constexpr uint32_t kWidth = 5;
  std::mt19937 random(8);
  for (const uint32_t size : {1u, 63u, 64u, 65u, 1000u})
    for (const int32_t code : {kDoubleRowsCode, kWordRowsCode}) {
      SCOPED_TRACE(format("%u of type %i", size, code));
      const Doubles cells = noise(size * kWidth, code != kDoubleRowsCode, random);
      C2DTrace trace(code, size, kWidth);
      Doubles extents(size);
      for (uint32_t r = 0; r < size; ++r) {
        for (uint32_t c = 0; c < kWidth; ++c) trace.data->putcell(r, c, cells[r * kWidth + c]);
        const uint32_t kind = random() % 40;
        extents[r] = (r / 40) % 5 == 2 || kind == 0 ? 0.0 : kind == 1 ? -3.0 : kind;
        trace.setextent(r, extents[r]);
      }
      RowMaxima maxima;
      for (int round = 0; round < 300; ++round) {
        const uint32_t from = random() % size, to = round % 5 ? from + random() % 200 : UINT32_MAX;
        Doubles plain(kWidth, -1.0), found = plain;
        double greatest = 0;
        for (uint32_t r = from; r < std::min(to, size); ++r) {
          if (!(extents[r] > 0)) continue;
          for (uint32_t c = 0; c < kWidth; ++c) {
            const double cell = cells[r * kWidth + c];
            plain[c] = greatest == 0 || std::isnan(plain[c]) || cell > plain[c] ? cell : plain[c];
          }
          greatest = std::max(greatest, extents[r]);
        }
        ASSERT_EQ(maxima.of(*trace.data, *trace.rowvalues, from, to, found), greatest);
        for (uint32_t c = 0; c < kWidth; ++c)
          if (std::isnan(plain[c]))
            ASSERT_TRUE(std::isnan(found[c])) << from << " to " << to;
          else
            ASSERT_EQ(found[c], plain[c]) << from << " to " << to;
      }
    }
}

TEST(ScreenTraces, MapValuesToThePalette) {
  const std::tuple<double, double, double, int32_t> cases[] = {
      {0, 500, 0, 0},     {500, 500, 0, 255},   {250, 500, 0, 128},    {1.95, 500, 0, 0},
      {1.96, 500, 0, 1},  {-1, 500, 0, 0},      {1e300, 500, 0, 255},  {350, 500, 100, 128},
      {100, 500, 100, 0}, {-50, 500, -100, 25}, {kNaN, 500, 0, 0},     {5, 0, 0, 255},
      {0, 0, 0, 0},       {-INFINITY, 1, 0, 0}, {INFINITY, 1, 0, 255}, {255.5, 256, 0, 255}};
  for (const auto& [value, fullscale, offset, index] : cases)
    EXPECT_EQ(C2DScreenTrace::paletteIndex(value, fullscale, offset), index)
        << value << " of " << fullscale << " from " << offset;
}

// --- drawing

TEST(ScreenTraces, WithoutSamplesDrawNothing) {
  CTrace samples(kDoubleCode, 0);
  C2DTrace rows(kWordRowsCode, 0, 4);
  for (ZZTrace* trace : {static_cast<ZZTrace*>(&samples), static_cast<ZZTrace*>(&rows)}) {
    RecordingCanvas canvas;
    CScreenTrace::make(*trace)->draw(canvas, {0, 0, 100, 50}, {0.0, 1.0, 100});
    EXPECT_THAT(canvas.calls, ElementsAre());
  }
}

std::vector<Point> pointsOf(const RecordingCanvas& canvas) {
  std::vector<Point> points;
  for (const std::string& call : canvas.calls) {
    if (!call.starts_with("polyline")) continue;
    std::istringstream words(call.substr(9));
    for (Point at; words >> at.x && words.ignore(1) && words >> at.y;) points.push_back(at);
  }
  return points;
}

TEST(ScreenTraces, DrawInAColumnItsExtentAndNoMore) {
  std::mt19937 random(9);
  const Doubles samples = noise(6400, false, random);
  auto trace = traceOf(samples);
  trace->circular = 1;
  trace->setorigin(1234);
  trace->period = 1.0 / 64;
  trace->starttime = -500;
  trace->ygain = -1;
  CScreenTrace screen(*trace);
  screen.selfScale();
  const Rect plot{10, 20, 110, 220};
  RecordingCanvas canvas;
  canvas.printer = true;
  screen.draw(canvas, plot, {-0.5, 1.0, 100});
  std::vector<std::vector<int32_t>> drawn(100);
  for (const Point& p : pointsOf(canvas)) {
    ASSERT_THAT(p.x, AllOf(Ge(plot.left), Lt(plot.right)));
    drawn[static_cast<size_t>(p.x - plot.left)].push_back(p.y);
  }
  for (uint32_t column = 0; column < 100; ++column) {
    Extent extent;
    for (uint32_t age = column * 64; age < (column + 1) * 64; ++age)
      extent.take(-samples[(age + 1234) % 6400]);
    const auto& ys = drawn[column];
    ASSERT_EQ(ys.empty(), extent.isEmpty()) << column;
    if (ys.empty()) continue;
    EXPECT_EQ(*std::max_element(ys.begin(), ys.end()), screen.yOf(extent.low, plot)) << column;
    EXPECT_EQ(*std::min_element(ys.begin(), ys.end()), screen.yOf(extent.high, plot)) << column;
  }
  // A screen fills what these lines cover: each column's own extent, and what joins it to its neighbours'.
  RecordingCanvas screenCanvas;
  screen.draw(screenCanvas, plot, {-0.5, 1.0, 100});
  std::vector<Rect> fills(100);
  for (const std::string& call : screenCanvas.calls) {
    Rect r;
    if (std::sscanf(call.c_str(), "fill %d,%d-%d,%d", &r.left, &r.top, &r.right, &r.bottom) != 4) continue;
    for (int32_t x = r.left; x < r.right; ++x) fills[static_cast<size_t>(x - plot.left)] = r;
  }
  for (size_t column = 0; column < 100; ++column) {
    if (drawn[column].empty()) continue;
    const auto [top, bottom] = std::minmax_element(drawn[column].begin(), drawn[column].end());
    EXPECT_LE(fills[column].top, *top) << column;
    EXPECT_GT(fills[column].bottom, *bottom) << column;
    int32_t least = *top, greatest = *bottom;
    for (const size_t other : {column - 1, column + 1}) {
      if (other >= 100) continue;
      for (const int32_t y : drawn[other]) {
        least = std::min(least, y);
        greatest = std::max(greatest, y);
      }
    }
    EXPECT_GE(fills[column].top, least) << column;
    EXPECT_LE(fills[column].bottom, greatest + 1) << column;
  }
}

TEST(ScreenTraces, JoinFewSamplesByLinesWithGapsWhereThereIsNone) {
  auto trace = traceOf({0, 1, kNaN, 2, 4});
  RecordingCanvas canvas;
  canvas.printer = true;
  CScreenTrace screen(*trace);
  screen.FS = 10;
  screen.draw(canvas, {0, 0, 100, 101}, {0.0, 0.125, 100});
  EXPECT_THAT(canvas.calls, ElementsAre("pen 0 width 1", "polyline 0,100 8,90", "polyline 24,80 32,60"));
  canvas.calls.clear();
  trace->marked = true;
  trace->linewidth = 7;
  trace->colour = 0x12345678;
  screen.draw(canvas, {0, 0, 100, 101}, {0.0, 0.125, 100});
  EXPECT_THAT(canvas.calls, ElementsAre("pen 345678 width 1", "pen 345678 width 7", "point 0,100",
                                        "point 8,90", "point 24,80", "point 32,60"));
}

TEST(ScreenTraces, DrawRowsUpwardInPaletteColours) {
  auto trace = rowsOf({{0, 100, 200, 300}, {400, 0, 0, 0}, {0, 0, 0, 500}, {1, 1, 1, 1}}, kWordRowsCode);
  trace->setextent(3, 0.0);
  trace->circular = 1;
  trace->setorigin(1);
  C2DScreenTrace screen(*trace);
  screen.selfScale();
  EXPECT_EQ(screen.FS, 4.0);
  const auto colour = [&](double value) {
    const PaletteEntry& e = trace->palette.entries()[C2DScreenTrace::paletteIndex(value, 500, 0)];
    return 0xff000000U | static_cast<uint32_t>(e.red << 16 | e.green << 8 | e.blue);
  };
  const PaletteEntry& w = DisplayPalette::kWindowColour;
  const uint32_t paper = 0xff000000U | static_cast<uint32_t>(w.red << 16 | w.green << 8 | w.blue);
  const uint32_t none = colour(0);
  RecordingCanvas canvas;
  screen.draw(canvas, {5, 5, 10, 9}, {0.0, 1.0, 5});
  EXPECT_EQ(canvas.calls.back(), "pixels 5x4 5,5-10,9");
  const std::vector<uint32_t> each{none,        colour(500), paper, colour(300), paper,  // top
                                   none,        none,        paper, colour(200), paper,  //
                                   none,        none,        paper, colour(100), paper,  //
                                   colour(400), none,        paper, none,        paper};
  EXPECT_EQ(canvas.lastPixels, each);
  // All rows in a column, two cells in a pixel: the greatest.
  screen.draw(canvas, {0, 0, 1, 2}, {0.0, 4.0, 1});
  EXPECT_THAT(canvas.lastPixels, ElementsAre(colour(500), colour(400)));
}

}  // namespace
}  // namespace tarnvisor
