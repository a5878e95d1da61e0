// A started application with the chart channel, and a chart in front whose window counts in round numbers.
#pragma once

#include "assembly/assembly.h"
#include "charts/commandids.h"
#include "charts/commonflodoc.h"
#include "support/apptest.h"
#include "support/recordingcanvas.h"

namespace tarnvisor {

class ChartTest : public AppTest {
 protected:
  // The plot in the window, once its text was measured.
  static constexpr int32_t kLeft = 93, kTop = 6, kColumns = 321, kHeight = 240;
  static constexpr Size kWindow{kLeft + kColumns + 19, kTop + kHeight + 54};

  void SetUp() override {
    registerStoredClasses();
    options.documentTable = documentTable();
    ASSERT_TRUE(startWithData());
    doc = newChart();
    view().setWindowSize(kWindow);
    view().draw(canvas);
  }

  static CReviewDoc* newChart() { return static_cast<CReviewDoc*>(process.reviewTemplate->newDocument()); }
  ZchartView& view() { return *static_cast<ZchartView*>(doc->views().front().get()); }

  // Takes a trace into the chart and draws it.
  ZZTrace& add(ZZTrace::Own trace, const std::string& name = "") {
    trace->name = name;
    ZZTrace& added = *doc->addtrace(std::move(trace));
    draw();
    return added;
  }
  // 640 samples, 64 a second: the value is the index. A column of the window stands for 1/32 s.
  ZZTrace& addRamp(const std::string& name = "ramp") {
    auto ramp = std::make_unique<CTrace>(kDoubleCode, 640);
    for (uint32_t i = 0; i < 640; ++i) ramp->data->putval(i, static_cast<double>(i));
    ramp->period = 1.0 / 64;
    return add(std::move(ramp), name);
  }
  // 320 rows of 4, one a column: cell c of row r holds 100 c + r.
  C2DTrace& addRows(const std::string& name = "rows") {
    auto rows = std::make_unique<C2DTrace>(kWordRowsCode, 320, 4);
    for (uint32_t r = 0; r < 320; ++r)
      for (uint32_t c = 0; c < 4; ++c) rows->data->putcell(r, c, 100.0 * c + r);
    rows->rowvalues->fill(4.0);
    rows->period = 1.0 / 32;
    return static_cast<C2DTrace&>(add(std::move(rows), name));
  }
  void draw() {
    canvas.calls.clear();
    view().draw(canvas);
  }
  bool drew(const std::string& words) const {
    for (const std::string& call : canvas.calls)
      if (call.find(words) != std::string::npos) return true;
    return false;
  }

  template <class Command>
  CommandResult route(Command command) {
    CommandTarget* const chain[] = {&view(), doc};
    return routeCommand(chain, command);
  }
  template <class Command>
  void run(Command command) {
    EXPECT_EQ(route(command), CommandResult::Done) << command;
  }
  bool isEnabled(int32_t id) { return view().commands()->find(id)->enabled(view()); }
  std::string pane(const std::string& name) {
    for (const StatusPane& p : view().panes())
      if (p.name == name) return p.text;
    return "no such pane";
  }

  // From one column of the plot to another, both in a row of it.
  void drag(int32_t from, int32_t to, int32_t row = 200) {
    view().mouseDown({{kLeft + from, kTop + row}});
    view().mouseMove({{kLeft + to, kTop + row}});
    view().mouseUp({{kLeft + to, kTop + row}});
  }
  void pointAt(int32_t column, int32_t row = 200) {
    view().mouseMove({{kLeft + column, kTop + row}, MouseButton::None});
  }

  std::string lastMessage() const { return host.messages.empty() ? "" : host.messages.back(); }

  RecordingCanvas canvas;
  CReviewDoc* doc = nullptr;
};

}  // namespace tarnvisor
