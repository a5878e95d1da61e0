// The steps of a script on charts.
#include "base/files.h"
#include "base/text.h"
#include "batch/pictures.h"
#include "batch/runner.h"
#include "charts/chartview.h"

namespace tarnvisor {

ZchartView* ScriptRunner::frontChart() const {
  CDocument* document = app.documents.active();
  if (!document || document->views().empty()) return nullptr;
  return dynamic_cast<ZchartView*>(document->views().front().get());
}

// Seconds; units of x where x is no time. The same twice selects nothing.
StepResult ScriptRunner::selectInChart(ZchartView& chart, const Step& step) {
  const double from = std::strtod(step.args[0].c_str(), nullptr),
               to = std::strtod(step.args[1].c_str(), nullptr);
  chart.select(from, to);
  return {true, {}, {{"from", format("%g", chart.selfrom)}, {"to", format("%g", chart.selto)}}, {}};
}

StepResult ScriptRunner::trace(const Step& step) {
  ZchartView* chart = frontChart();
  if (!chart) return unavailable(step);
  ZZTrace* trace = chart->chartDocument().findtrace(step.args[0]);
  if (!trace) return StepResult::failure("there is no trace \"" + step.args[0] + "\"");
  if (trace->hidden) chart->showsHidden = true;
  chart->setActive(trace);
  return {true, {}, {{"trace", trace->name}}, {}};
}

// The active trace's selection as text or binary, by the ending; any other ending is a picture's.
StepResult ScriptRunner::exportChart(ZchartView& chart, const std::string& path) {
  const std::string kind = lowerCase(extensionOf(path));
  Outcome done = Outcome::success();
  if (kind == "txt" || kind == "bin") {
    CTextSettings exchange;
    exchange.read();
    exchange.binary = kind == "bin";
    // No window tells how long a line stands for: a line a sample.
    const ZZTrace* trace = chart.active();
    const double perColumn = chart.secondsPerColumn;
    if (trace && trace->period > 0) chart.secondsPerColumn = trace->period;
    done = chart.exportTo(path, exchange, false, true);
    chart.secondsPerColumn = perColumn;
  } else {
    done = saveSnapshot(chart, path);
  }
  return done ? StepResult{true, {}, {{"path", path}}, "exported " + path} : StepResult::failure(done.why());
}

StepResult ScriptRunner::printChart(ZchartView& chart, const std::string& what) const {
  const ZchartDoc& doc = chart.chartDocument();
  if (what == "status") {
    std::string text = "title " + doc.title() + "\n";
    for (const StatusPane& pane : chart.panes())
      if (!pane.text.empty()) text += pane.name + " " + pane.text + "\n";
    return {true, {}, {}, text};
  }
  if (what != "traces") return StepResult::failure("a chart has no " + what);
  std::string text;
  for (const auto& trace : doc.traces.items) {
    const uint32_t width = trace->data ? trace->data->width : 0;
    text += format("%s\t%u%s\t%g s\tfrom %g s\t%s%s%s\n", trace->name.c_str(), trace->size(),
                   width > 1 ? format(" x %u", width).c_str() : "", trace->period, trace->starttime * 0.001,
                   trace->yunits.c_str(), trace->hidden ? "\thidden" : "",
                   trace.get() == chart.active() ? "\tactive" : "");
  }
  return {true, {}, {}, text};
}

}  // namespace tarnvisor
