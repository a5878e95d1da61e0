#include "charts/livechartdoc.h"

#include <cmath>

#include "app/basicapp.h"
#include "app/processstate.h"
#include "base/text.h"
#include "charts/chartmeasures.h"
#include "traces/shownvalues.h"

namespace tarnvisor {

CdataVect* ZliveChartDoc::setseries(ZchartView* view, uint32_t& size, double period,
                                    const std::string& xunits, const std::string& name, int32_t typecode,
                                    const std::string& yunits) {
  ZZTrace* trace = firsttrace();
  if (trace && trace->typecode() != typecode) {
    deletetrace(*trace, false);
    trace = nullptr;
  }
  const bool fresh = !trace;
  if (fresh) trace = addtrace(typecode, size);
  if (!trace || (trace->size() != size && !trace->resizedata(size))) return nullptr;
  if (trace->xunits != xunits || fresh) {
    trace->xunits = xunits;
    trace->pixelperiod = 1 / period;
  }
  trace->period = period;
  trace->yunits = yunits;
  trace->name = name;
  size = trace->size();
  if (view) view->select(0.0, 0.0);
  setModified(false);
  return trace->data.get();
}

CdataVect* ZliveChartDoc::setseriesfrom(ZchartView* view, const std::string& name, const C2DTrace& model,
                                        uint32_t row) {
  constexpr double kPerScreenUnit = 0.00390625;
  uint32_t size = model.width();
  const double extent = model.extent(row) * std::abs(model.ygain);
  const double period = extent > 0 && std::isfinite(extent) ? extent / size : 1.0;
  CdataVect* vector = setseries(view, size, period, model.yunits, name, model.typecode(), "");
  if (!vector) return nullptr;
  const ShownValues strength(model);
  strength.giveTo(*firsttrace());
  firsttrace()->pixelperiod = model.xscale;
  firsttrace()->xscale = (strength.of(model.fullscale) - strength.of(0)) * kPerScreenUnit;
  return vector;
}

void ZliveChartView::onUpdate(Change what) {
  ZchartView::onUpdate(what);
  if (showsAll()) fit();
}

std::vector<StatusPane> ZliveChartView::panes() const {
  std::vector<StatusPane> texts = ZchartView::panes();
  const ZZTrace* trace = active();
  const bool some = trace && trace->size();
  const auto range = some ? rangeIn(*trace) : std::nullopt;
  const TraceSummary summary = range ? summaryOf(*trace, range->from, range->count) : TraceSummary{};
  texts.push_back({"mean", range ? format("mean=%5.1f", summary.mean) : ""});
  texts.push_back({"min", range ? format("min=%5.1f", summary.minimum) : ""});
  texts.push_back({"max", range ? format("max=%5.1f", summary.maximum) : ""});
  return texts;
}

ZliveChartDoc* findLiveChart(const std::string& title) {
  for (CDocument* document : theApp().documents.documents())
    if (auto* chart = dynamic_cast<ZliveChartDoc*>(document); chart && chart->title() == title) return chart;
  return nullptr;
}

ZliveChartDoc* showLiveChart(const std::string& title) {
  if (ZliveChartDoc* chart = findLiveChart(title)) {
    theApp().documents.activate(*chart);
    return chart;
  }
  CDocument* fresh = process.profileTemplate ? process.profileTemplate->newDocument() : nullptr;
  auto* chart = dynamic_cast<ZliveChartDoc*>(fresh);
  if (chart) chart->setTitle(title);
  return chart;
}

ZchartView* viewOf(const ZchartDoc& document) {
  return document.views().empty() ? nullptr : dynamic_cast<ZchartView*>(document.views().front().get());
}

namespace {

void fill(ZliveChartDoc& chart, ZchartView& view, C2DTrace& rows) {
  uint32_t index = 0;
  if (!rows.size() || !view.screenTrace(rows).indexAt(view.cursor, index)) return;
  CdataVect* vector = chart.setseriesfrom(viewOf(chart), rows.name, rows, index);
  if (!vector) return;
  const CdataVect::Own row = rows.data->getArray(index);
  if (row) vector->copyfrom(0, *row, rows.width(), 0);
  if (rows.extent(index) == 0) vector->fill(0.0);
  chart.updateAllViews();
}

}  // namespace

void showRowProfile(ZchartView& view, C2DTrace& rows) {
  if (ZliveChartDoc* chart = showLiveChart(kRowProfile)) fill(*chart, view, rows);
}

void refreshRowProfile(ZchartView& view, C2DTrace& rows) {
  if (ZliveChartDoc* chart = findLiveChart(kRowProfile); chart && viewOf(*chart) != &view)
    fill(*chart, view, rows);
}

}  // namespace tarnvisor
