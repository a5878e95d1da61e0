// What scripts ask of a chart.
#include "base/files.h"
#include "base/text.h"
#include "charts/chartview.h"
#include "host/host.h"
#include "results/resultdoc.h"

namespace tarnvisor {

// Seconds; units of x where x is no time. The same twice selects nothing.
StepResult ZchartView::selectRange(double from, double to) {
  select(from, to);
  return {true, {}, {{"from", format("%g", selfrom)}, {"to", format("%g", selto)}}, {}};
}

StepResult ZchartView::chooseTrace(const std::string& name) {
  ZZTrace* trace = doc.findtrace(name);
  if (!trace) return StepResult::failure("there is no trace \"" + name + "\"");
  if (trace->hidden) showsHidden = true;
  setActive(trace);
  return {true, {}, {{"trace", trace->name}}, {}};
}

// The active trace's selection as text or binary, by the ending; any other ending is a picture's. A table
// that was filled goes before the trace.
StepResult ZchartView::exportTo(const std::string& path) {
  const std::string kind = lowerCase(extensionOf(path));
  if (const CResultDoc* table = lastResultDocument(); kind == "csv" && table && table->rowCount() > 0)
    return StepResult::nothing();
  Outcome done = Outcome::success();
  std::string part;
  if (kind == "txt" || kind == "bin" || kind == "csv") {
    CTextSettings exchange;
    exchange.read();
    exchange.binary = kind == "bin";
    if (kind == "csv") exchange = exchange.asCsv();
    // No window tells how long a line stands for: a line a sample.
    const ZZTrace* trace = active();
    const double perColumn = secondsPerColumn;
    if (trace && trace->period > 0) secondsPerColumn = trace->period;
    done = exportTo(path, exchange, false, true);
    secondsPerColumn = perColumn;
    part = ": " + lastExport;
  } else {
    setWindowSize(kPlainWindow);
    done = host().pictures.write(path, kPlainWindow, [this](Canvas& canvas) { draw(canvas); });
  }
  return done ? StepResult{true, {}, {{"path", path}}, "exported " + path + part}
              : StepResult::failure(done.why());
}

StepResult ZchartView::tell(const std::string& what) {
  if (what == "status") {
    std::string lines = "title " + doc.title() + "\n";
    for (const StatusPane& pane : panes())
      if (!pane.text.empty()) lines += pane.name + " " + pane.text + "\n";
    return {true, {}, {}, lines};
  }
  if (what != "traces") return StepResult::nothing();
  std::string lines;
  for (const auto& trace : doc.traces.items) {
    const uint32_t width = trace->data ? trace->data->width : 0;
    lines += format("%s\t%u%s\t%g s\tfrom %g s\t%s%s%s\n", trace->name.c_str(), trace->size(),
                    width > 1 ? format(" x %u", width).c_str() : "", trace->period, trace->starttime * 0.001,
                    trace->yunits.c_str(), trace->hidden ? "\thidden" : "",
                    trace.get() == active() ? "\tactive" : "");
  }
  return {true, {}, {}, lines};
}

}  // namespace tarnvisor
