// What is computed of a scan, and what is made of that.
#include <algorithm>
#include <cmath>
#include <optional>

#include "app/asked.h"
#include "app/processstate.h"
#include "base/text.h"
#include "charts/xychart.h"
#include "framework/documenttype.h"
#include "host/host.h"
#include "linescan/texts.h"
#include "linescan/zlinescanbasedoc.h"

namespace tarnvisor {

namespace {

constexpr uint32_t kGreen = 0xFF00, kRed = 0xFF, kBlue = 0xFF0000;
constexpr double kLimitStep = 1.0 / LimitCurves::kLimits;

// Where what is computed goes, for one block.
template <class Change>
class Recording {
 public:
  Recording(Change*& where, Change& change) : place(where), before(std::exchange(where, &change)) {}
  ~Recording() { place = before; }
  Recording(const Recording&) = delete;
  Recording& operator=(const Recording&) = delete;

 private:
  Change*& place;
  Change* before;
};

}  // namespace

bool ZlineScanBaseDoc::correlates() const {
  return velocity.cbvmethod == kRowCorrelation || velocity.cbvmethod == kTwoLines;
}

bool ZlineScanBaseDoc::prepareVelocity() { return !correlates() || makeDerivedTraces(); }

void ZlineScanBaseDoc::calculateVelocity(bool withCharts) {
  if (!canCalculate()) return;
  Change change(*this);
  calculateVelocity(change, withCharts);
}

void ZlineScanBaseDoc::calculateVelocity(Change& change, bool withCharts) {
  const WaitScope wait;
  const Recording scope(recording, change);
  const LinescanTraces set = traceSet();
  const std::initializer_list<ZZTrace*> computed{set.scan2D == set.scan ? nullptr : set.scan,
                                                 set.difference,
                                                 set.correllogram,
                                                 set.correlation,
                                                 set.cbv,
                                                 set.cbvUncut,
                                                 set.peakratio};
  if (correlates()) {
    for (ZZTrace* each : computed)
      if (each && !change.altering(*each)) return;
    if (prepareVelocity()) computeVelocity();
  }
  postCalculate(withCharts);
}

// Once round: each row is computed with the rings of all traces where they were when it was sampled.
void ZlineScanBaseDoc::computeVelocity() {
  if (!correlates()) return;
  const LinescanTraces set = traceSet();
  const bool twoLines = velocity.cbvmethod == kTwoLines;
  const ZZTrace* leader = twoLines ? set.line1 : static_cast<ZZTrace*>(set.scan2D);
  std::vector<uint32_t> origins;
  origins.reserve(traces.items.size());
  for (const auto& trace : traces.items) origins.push_back(trace->origin);
  rowVelocity.resetMean();
  rowVelocity.restart();
  for (ZZTrace* each : {set.cbv, set.cbvUncut, set.correlation, set.peakratio})
    if (each) each->data->fill(kNoReading);
  // The first rows are compared with none: what the last calculation left there is another scan's.
  if (set.difference && !twoLines) {
    set.difference->data->fill(0.0);
    set.difference->rowvalues->fill(0.0);
  }
  for (uint32_t n = 0; n < leader->size(); ++n) {
    // Means of pixels are 0 only where nothing was sampled.
    if (twoLines && set.line1->data->at(set.line1->origin) == 0 &&
        set.line2->data->at(set.line2->origin) == 0)
      set.correllogram->setextent(set.correllogram->origin, 0);
    else if (twoLines)
      twolinestep(velocity, set, set.line1->origin, set.line2->origin);
    else if (set.scan2D->extent(set.scan2D->origin) != 0)
      rowVelocity.rowstep(velocity, set, set.scan2D->origin);
    ringadvance();
  }
  for (size_t i = 0; i < origins.size(); ++i) traces.items[i]->origin = origins[i];
}

void ZlineScanBaseDoc::postCalculate(bool withCharts) {
  // Charts to look at: with nobody there they would only stand between the documents of a script.
  withCharts = withCharts && !isUnattended();
  if (showcbvvcoef && withCharts) refreshLimitChart();
  if (showcbvcorrel && withCharts) refreshScatter();
  if (dohough)
    houghVelocities(false);
  else if (C2DTrace* hough = traceSet().hough)
    hough->hidden = true;
  if (correl2velo) setSlopes(slopesFromCorrelation(velocity, traceSet()));
  tracesChanged();
}

VelocityStatistics ZlineScanBaseDoc::statistics(uint32_t from, uint32_t to) const {
  VelocityStatistics found = velocityStatistics(traceSet(), velocity, from, to);
  const double gain = velocityGain();
  for (double* velocityOf : {&found.mean, &found.least, &found.greatest}) *velocityOf *= gain;
  return found;
}

double ZlineScanBaseDoc::rowPeriod() const {
  const LinescanTraces set = traceSet();
  return set.cbv ? set.cbv->period : 0.0;
}

// With the additions a number that nobody should believe is not told.
bool ZlineScanBaseDoc::hasNumber(const VelocityStatistics& found) const {
  const bool judged = velocity.subpoint || velocity.bothways;
  return found.hasReading() && !(judged && reliabilityOf(found) == Reliability::Unreliable);
}

std::string ZlineScanBaseDoc::judgement(uint32_t from, uint32_t to) const {
  const VelocityStatistics found = velocityStatistics(traceSet(), velocity, from, to);
  const std::string warning = velocityWarning(found, velocity, rowPeriod());
  return wordsFor(reliabilityOf(found)) + (warning.empty() ? "" : "; " + warning);
}

StepResult ZlineScanBaseDoc::tell(const std::string& what) {
  return what == "velocity" ? tellVelocity(0, 0) : ZchartDoc::tell(what);
}

StepResult ZlineScanBaseDoc::tellVelocity(uint32_t from, uint32_t to) const {
  if (!traceSet().cbv) return StepResult::failure("no velocity has been calculated");
  const VelocityStatistics found = statistics(from, to);
  StepResult told;
  if (hasNumber(found))
    told.values = {{"velocity", format("%.3f", found.mean)},
                   {"least", format("%.3f", found.least)},
                   {"greatest", format("%.3f", found.greatest)},
                   {"correlation", format("%.3f", found.correlation)}};
  if (hasNumber(found) && found.peakRatio > 0)
    told.values.emplace_back("ratio", format("%.2f", found.peakRatio));
  told.values.emplace_back("unit", velocityUnits());
  told.values.emplace_back("good", format("%.1f", found.share() * 100));
  told.values.emplace_back("judgement", judgement(from, to));
  told.text = resultWords(from, to) + "\n";
  return told;
}

// --- charts beside the scan

// One is filled again and again. The scan stays in front.
ZchartDoc* ZlineScanBaseDoc::chartTitled(const std::string& title) {
  DocumentType* kind = process.reviewTemplate;
  if (!kind) return nullptr;
  for (const auto& open : kind->documents())
    if (open->title() == title) return dynamic_cast<ZchartDoc*>(open.get());
  CDocument* made = kind->newDocument();
  if (!made) return nullptr;
  made->setTitle(title);
  if (type() && type()->owner()) type()->owner()->activate(*this);
  return dynamic_cast<ZchartDoc*>(made);
}

void ZlineScanBaseDoc::refreshLimitChart() {
  const LinescanTraces set = traceSet();
  if (!set.cbv || !set.cbvUncut || !set.correlation) return;
  ZchartDoc* chart = chartTitled("average cbv vs correlation limit " + title());
  if (!chart) return;
  const LimitCurves curves = limitCurves(set);
  const TraceBatch batch(*chart);
  chart->deleteContents();
  chart->titles = {"correlation limit", "average cbv"};
  const auto add = [&](const std::vector<double>& values, const char* name, uint32_t colour) {
    ZZTrace* trace = chart->addtrace(kDoubleCode, LimitCurves::kLimits);
    if (!trace) return trace;
    for (uint32_t i = 0; i < LimitCurves::kLimits; ++i) trace->data->putval(i, values[i]);
    trace->name = name;
    trace->colour = colour;
    trace->period = kLimitStep;
    trace->xunits = "correlation";
    trace->yunits = set.cbv->yunits;
    trace->ygain = set.cbv->ygain;
    return trace;
  };
  add(curves.mean, "", kGreen);
  add(curves.least, "min", kRed);
  add(curves.greatest, "max", kBlue);
  if (ZZTrace* count = add(curves.count, "n", 0)) {
    count->xscale = 0.1;
    count->tracetype = kCbvCurveTrace;
    count->ygain = 1.0;
    count->yunits.clear();
  }
  chart->setModified(false);
}

void ZlineScanBaseDoc::refreshScatter() {
  const LinescanTraces set = traceSet();
  if (!set.cbv || !set.cbvUncut || !set.correlation) return;
  const std::string wanted = "cbv v correlation - " + title();
  constexpr double kPeriod = 0.0025, kPixelPeriod = 0.005;
  const auto copyOf = [&](const ZZTrace& trace) {
    ZZTrace::Own copy = trace.clone();
    copy->period = kPeriod;
    copy->pixelperiod = kPixelPeriod;
    copy->hidden = false;
    return copy;
  };
  ZZTrace::Own x = copyOf(*set.correlation), y = copyOf(*set.cbvUncut);
  x->xunits = "correlation";
  y->marked = true;
  y->ygain = set.cbv->ygain;
  y->yunits = set.cbv->yunits;
  if (process.xyChartTemplate)
    for (const auto& open : process.xyChartTemplate->documents())
      if (auto* chart = dynamic_cast<ZchartDoc*>(open.get()); chart && chart->title() == wanted) {
        const TraceBatch batch(*chart);
        chart->deleteContents();
        chart->addtrace(std::move(x));
        chart->addtrace(std::move(y));
        chart->setModified(false);
        return;
      }
  if (xychartdoc* made = makeXyChart(*x, *y, wanted)) made->setModified(false);
  if (type() && type()->owner()) type()->owner()->activate(*this);
}

// --- stripes and slopes

void ZlineScanBaseDoc::houghVelocities(bool tells) {
  const LinescanTraces set = traceSet();
  C2DTrace* source = houghSource(velocity, set);
  if (tells && set.scan && !velocity.hipass) report(text::kStripesNeedHighPass);
  if (!source || !set.scan || !velocity.hipass) return tracesChanged();
  const WaitScope wait;
  std::optional<Change> own;
  if (!recording) own.emplace(*this);
  const Recording scope(recording, own ? *own : *recording);
  if (set.hough && !recording->altering(*set.hough)) return;
  C2DTrace* map = makeRows(text::kHough, kWordRowsCode, kHoughColumns, houghRows(*source, *set.scan));
  if (!map) return;
  map->hidden = false;
  const Stripes stripes = houghMap(velocity, *source, *set.scan, *map);
  map->lowest = map->yoffset;
  setSlopes(houghSlopes(velocity, *source, *set.scan, *map, stripes));
  if (tells && stripes == Stripes::None) report(text::kNoStripes);
}

void ZlineScanBaseDoc::setSlopes(std::vector<Slope> fresh) {
  sortSlopes(fresh);
  selectedslope = -1;
  if (fresh == slopeList) return tracesChanged();
  if (recording)
    recording->exchange(slopeList, std::move(fresh));
  else
    Change(*this).exchange(slopeList, std::move(fresh));
}

bool ZlineScanBaseDoc::takeSlopeEnd(double time, double value, double timeReach, double valueReach) {
  const auto isNear = [&](double t, double y) {
    return std::abs(t - time) <= timeReach && std::abs(y - value) <= valueReach;
  };
  selectedslope = -1;
  for (size_t i = 0; i < slopeList.size(); ++i) {
    Slope& slope = slopeList[i];
    const bool first = isNear(slope.t0, slope.y0);
    if (!first && !isNear(slope.t1, slope.y1)) continue;
    if (!first) slope = {slope.t1, slope.y1, slope.t0, slope.y0};
    selectedslope = static_cast<int32_t>(i);
    return true;
  }
  return false;
}

bool ZlineScanBaseDoc::beginSlope(double time, double value) {
  if (slopeList.size() >= kMostSlopes) return false;
  selectedslope = static_cast<int32_t>(slopeList.size());
  slopeList.push_back({time, value, time, value});
  return true;
}

void ZlineScanBaseDoc::moveSlopeEnd(double time, double value) {
  if (selectedslope < 0 || selectedslope >= static_cast<int32_t>(slopeList.size())) return;
  Slope& slope = slopeList[static_cast<size_t>(selectedslope)];
  slope.t0 = time;
  slope.y0 = value;
  updateAllViews(CView::Change::Selection);
}

void ZlineScanBaseDoc::endSlope(std::vector<Slope> before) {
  std::vector<Slope> fresh = slopeList;
  const bool hasOne = selectedslope >= 0 && selectedslope < static_cast<int32_t>(fresh.size());
  Slope moved;
  if (hasOne) {
    Slope& slope = fresh[static_cast<size_t>(selectedslope)];
    if (slope.t1 < slope.t0) slope = {slope.t1, slope.y1, slope.t0, slope.y0};
    moved = slope;
    // A press that drew nothing.
    if (slope.t0 == slope.t1 && slope.y0 == slope.y1) fresh.erase(fresh.begin() + selectedslope);
  }
  slopeList = std::move(before);
  setSlopes(std::move(fresh));
  const auto at = std::find(slopeList.begin(), slopeList.end(), moved);
  selectedslope = hasOne && at != slopeList.end() ? static_cast<int32_t>(at - slopeList.begin()) : -1;
  updateAllViews();
}

// --- another trace as the scan

void ZlineScanBaseDoc::setAsScan(C2DTrace& trace, int32_t linesperpoint) {
  const int32_t points = trace.width() / std::max(1, linesperpoint);
  if (linesperpoint < 1 || points < 1) return;
  Change change(*this);
  const Recording scope(recording, change);
  for (C2DTrace* old : {traceSet().scan2D, scantrace()})
    if (old && old != &trace && indexOfTrace(old) >= 0) change.remove(*old);
  if (!change.altering(trace)) return;
  change.exchange(velocity.linesperpoint, linesperpoint);
  change.exchange(NoPtsToSample, static_cast<int32_t>(trace.size()));
  const std::string name = trace.name;
  trace.name = text::kScan2D;
  trace.tracetype = kScan2DTrace;
  trace.circular = 1;
  trace.hidden = true;
  trace.rowvalues->fill(static_cast<double>(trace.width()) / linesperpoint);
  C2DTrace* scan = makeRows("", rowsCodeOf(trace), static_cast<uint32_t>(points), trace.size());
  if (!scan) return;
  change.exchange(slopeList, {});
  selectedslope = -1;
  scan->name = name;
  scan->ygain = trace.ygain;
  scan->yunits = trace.yunits;
  scan->xunits = trace.xunits;
  scan->period = trace.period;
  scan->starttime = trace.starttime;
  scan->setorigin(trace.origin);
  for (uint32_t row = 0; row < trace.size(); ++row)
    trace.rowaverage(row, *scan, static_cast<uint32_t>(linesperpoint));
  calculateVelocity(change, true);
}

void ZlineScanBaseDoc::interpolateScan(uint16_t points) {
  const LinescanTraces set = traceSet();
  if (!set.scan || !set.scan->width() || points < 1) return;
  const int32_t across = velocity.linesperpoint;
  if (int64_t{points} * across > UINT16_MAX) return report("The line would have too many points.");
  Change change(*this);
  const double apart = static_cast<double>(set.scan->width()) / points;
  for (C2DTrace* each : {set.scan, set.scan2D}) {
    if (each == set.scan2D && set.scan2D == set.scan) continue;
    if (!change.altering(*each)) return;
    each->setrowwidth(static_cast<uint16_t>(each == set.scan ? points : points * across));
    each->ygain *= apart;
    each->xscale *= apart;
    for (uint32_t row = 0; row < each->size(); ++row)
      if (each->extent(row) != 0) each->setextent(row, points);
  }
  calculateVelocity(change, true);
}

}  // namespace tarnvisor
