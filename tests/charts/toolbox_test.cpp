// The tool box of the chart view: what its commands do to the document around the filters themselves.

#include "app/processstate.h"
#include "charts/commandids.h"
#include "charts/commonflodoc.h"
#include "settings/settings.h"
#include "support/tempfolder.h"
#include "traces/tracetests.h"

namespace tarnvisor {
namespace {

constexpr int32_t kTools[] = {
    cmd::SimpleSmoothing,  cmd::FirFilter,       cmd::ArtifactFilter,       cmd::RemovePulse,
    cmd::PulsatilityIndex, cmd::ResistanceIndex, cmd::Differentiate,        cmd::PowerSpectrum,
    cmd::GoldenMaxima,     cmd::HalvePoints,     cmd::NormaliseToSelection, cmd::CutToAverage,
    cmd::CutPedestal,      cmd::CutPsdArtifacts, cmd::DpsHistogram,         cmd::SignalStrength,
    cmd::PowerContour,     cmd::LevelContour};

// A chart without an application; commands take their stored parameters.
class ToolBox : public testing::Test {
 protected:
  ToolBox() {
    settings.setPath(folder.file("a.ini"));
    settings.setString("FIR filter", "filename", folder.file("fir.txt"));
    std::ofstream(folder.file("fir.txt")) << "0.25 0.5 0.25";
    process.quietMode = 1;
  }
  ~ToolBox() override {
    process.quietMode = 0;
    settings.setPath("");
  }

  CommandResult run(int32_t id) {
    CommandTarget* const chain[] = {&view, &doc};
    return routeCommand(chain, id);
  }
  std::vector<std::vector<uint8_t>> stored() const {
    std::vector<std::vector<uint8_t>> all;
    for (const auto& trace : doc.traces.items) all.push_back(storedBytes(*trace));
    return all;
  }
  void show(ZZTrace::Own trace) {
    doc.deleteContents();
    view.select(0, 0);
    view.setActive(doc.addtrace(std::move(trace)));
  }

  TempFolder folder;
  TestHost host;
  CReviewDoc doc;
  ZchartView view{doc};
};

std::unique_ptr<CTrace> wave(uint32_t count, int32_t typecode) {
  auto trace = std::make_unique<CTrace>(typecode, count);
  for (uint32_t i = 0; i < count; ++i) trace->data->putval(i, 500 + 400 * std::sin(i * 0.1) + i % 7);
  trace->period = 0.01;
  trace->origin = count / 3;
  return trace;
}

std::unique_ptr<C2DTrace> spectra(uint32_t count, uint16_t width, int32_t typecode) {
  auto trace = std::make_unique<C2DTrace>(typecode, count, width);
  for (uint32_t row = 0; row < count; ++row)
    for (uint16_t i = 0; i < width; ++i)
      trace->data->putcell(row, i, i == 4 ? 900.0 : 20.0 + (row * 7 + i * 13) % 230);
  trace->rowvalues->fill(5000);
  trace->period = 0.01;
  trace->origin = count / 3;
  return trace;
}

TEST_F(ToolBox, EveryChangeIsTakenBackByOneUndoAndMadeAgainByRedo) {
  for (const bool rows : {false, true}) {
    for (const int32_t id : kTools) {
      ZZTrace::Own shown;
      rows ? shown = spectra(40, 24, kWordRowsCode) : shown = wave(1200, kUint16Code);
      show(std::move(shown));
      for (const auto& [from, to] : {std::pair{0.0, 0.0}, std::pair{0.05, 0.31}}) {
        view.select(from, to);
        const auto before = stored();
        if (run(id) != CommandResult::Done) continue;
        const auto after = stored();
        EXPECT_EQ(doc.canUndo(), before != after) << id;
        if (before == after) continue;
        doc.undo();
        EXPECT_EQ(stored(), before) << id;
        EXPECT_FALSE(doc.canUndo()) << id;
        doc.redo();
        EXPECT_EQ(stored(), after) << id;
        doc.undo();
      }
    }
  }
}

TEST_F(ToolBox, LivesWithSignalsOfAnySizeAndValue) {
  const double odd[] = {NAN, HUGE_VAL, -HUGE_VAL, 1e308, -1e308, 5e-324, 0, -0.0, 4294967296.5};
  for (const int32_t code : {1, 2, 3, 4, 5, 6, 7, 8, 10, 12, 16}) {
    for (const uint32_t size : {1u, 2u, 3u, 600u}) {
      for (const uint16_t width : {1, 5, 16}) {
        if (code < kByteRowsCode && width > 1) continue;
        for (const int32_t id : kTools) {
          ZZTrace::Own trace;
          code < kByteRowsCode ? trace = wave(size, code) : trace = spectra(size, width, code);
          for (uint32_t i = 0; i < size; i += 3) trace->data->putval(i, odd[(i + size) % std::size(odd)]);
          trace->period = size == 2 ? 1e-300 : 1e300;
          trace->ygain = size == 3 ? 0 : -1e300;
          trace->starttime = INT32_MAX;
          show(std::move(trace));
          run(id);
          doc.undo();
        }
      }
    }
  }
}

TEST_F(ToolBox, LeavesEverythingWhereTheSelectionHoldsNoSample) {
  show(wave(100, kUint16Code));
  view.select(50, 60);
  const auto before = stored();
  for (const int32_t id : {cmd::SimpleSmoothing, cmd::PulsatilityIndex, cmd::GoldenMaxima}) run(id);
  EXPECT_EQ(host.messages,
            std::vector<std::string>(3, "The selection holds no samples of the active trace."));
  EXPECT_EQ(stored(), before);
  EXPECT_FALSE(doc.canUndo());
}

TEST_F(ToolBox, MakesNoSpectrumOfTooFewSamples) {
  show(wave(511, kUint16Code));
  run(cmd::PowerSpectrum);
  EXPECT_THAT(host.messages, ElementsAre("A power spectrum takes 512 samples; the trace has 511."));
  EXPECT_EQ(doc.traces.size(), 1u);
  EXPECT_FALSE(doc.canUndo());
  show(wave(512, kUint16Code));
  run(cmd::PowerSpectrum);
  ASSERT_EQ(doc.traces.size(), 2u);
  EXPECT_EQ(doc.traces.items[1]->name, "Calculated PSD");
  EXPECT_EQ(view.active(), doc.traces.items[1].get());
}

}  // namespace
}  // namespace tarnvisor
