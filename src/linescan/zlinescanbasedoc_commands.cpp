// The commands of a linescan, and its forms.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <numbers>

#include "app/asked.h"
#include "app/processstate.h"
#include "base/text.h"
#include "charts/commonflodoc.h"
#include "framework/documenttype.h"
#include "host/host.h"
#include "linescan/commandids.h"
#include "linescan/resulttables.h"
#include "linescan/texts.h"
#include "linescan/zlinescanbasedoc.h"
#include "results/resultdoc.h"
#include "settings/settings.h"
#include "traces/derivedtraces.h"

namespace tarnvisor {

namespace {

constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();  // shows as an empty cell

// Of "hand line3" 3; 0 for none.
int32_t trailingNumber(const std::string& name) {
  const size_t at = name.find_last_not_of("0123456789");
  return at + 1 < name.size() ? std::atoi(name.c_str() + at + 1) : 0;
}

std::vector<ZZTrace*> seriesOf(const ZchartDoc& document) {
  std::vector<ZZTrace*> found;
  for (const auto& trace : document.traces.items)
    if (trace->size() && !dynamic_cast<C2DTrace*>(trace.get())) found.push_back(trace.get());
  return found;
}

}  // namespace

const CommandTableBase& ZlineScanBaseDoc::commandTable() {
  using D = ZlineScanBaseDoc;
  static const CommandTable<D> table{
      {{cmd::VelocityForm,
        "CBV calculation &parameters...",
        &D::editParameters,
        {.tip = "Velocity parameters", .status = "Changes how velocity is calculated, and calculates it."}},
       {cmd::CbvUsingFft,
        "CBV using FFT",
        &D::cbvUsingFft,
        &D::hasScan,
        {.tip = "CBV using FFT", .status = "Opens a chart of the scan's spectra and their centre."}},
       {cmd::CorrelateTwoTraces,
        "correlate",
        &D::correlateTwo,
        &D::hasTwoSeries,
        {.tip = "Correlate", .status = "Adds the correlation of two traces.", .asks = true}},
       {cmd::DeleteSlopes,
        "Delete all &velocity slopes",
        &D::deleteAllSlopes,
        &D::hasSlopes,
        {.tip = "Delete slopes", .status = "Takes away all slopes that are drawn over the scan."}},
       {cmd::UseInterlace,
        "&Use Interlace",
        &D::toggleInterlace,
        &D::mayToggleInterlace,
        &D::isOn<&D::useinterlace>,
        {.tip = "Use interlace", .status = "Takes two samples of each frame, one of each field."}},
       {cmd::CbvVersusCorrelation,
        "cvb vs correlation points",
        &D::toggleScatter,
        nullptr,
        &D::isOn<&D::showcbvcorrel>,
        {.tip = "Velocity against correlation",
         .status = "Shows each velocity against its correlation.",
         .shown = "CBV vs. correlation points"}},
       {cmd::CbvVersusLimit,
        "average cbv vs correlation limit",
        &D::toggleLimitChart,
        nullptr,
        &D::isOn<&D::showcbvvcoef>,
        {.tip = "Velocity against limit",
         .status = "Shows how the average velocity depends on the limit of the correlation.",
         .shown = "Average CBV vs. correlation limit"}},
       {cmd::HoughVelocities,
        "Calculate &Hough Velocities",
        &D::houghVelocities,
        &D::hasScan,
        {.tip = "Hough velocities",
         .status = "Finds straight stripes in the scan, and draws them as slopes."}},
       {cmd::SlopeVelocities,
        "linescan slope velocities",
        &D::listSlopes,
        &D::hasSlopes,
        {.tip = "List the slopes", .status = "Adds the velocities of all slopes to their table."}}},
      &ZchartDoc::commandTable(),
      {{&D::hasScan, "This needs a scan."},
       {&D::hasTwoSeries, "This needs two traces."},
       {&D::hasSlopes, "Draw slopes in the scan first."}}};
  return table;
}

void ZlineScanBaseDoc::editParameters() {
  VelocityParameters fresh = velocity;
  int32_t hipass = fresh.hipass, twod = fresh.twod, zeropeak = fresh.zeropeak, slopesWanted = correl2velo,
          hough = dohough, subpoint = fresh.subpoint, bothways = fresh.bothways;
  int32_t method = fresh.cbvmethod == kRowCorrelation ? 0 : fresh.cbvmethod == kTwoLines ? 1 : 2;
  const Limits count{1, 1 << 24, {}}, percent{0, 100, {}};
  Form form("Velocity calculation parameters");
  form.addChoice("method", method, {"shift between rows", "delay between two lines", "none"});
  form.addCheck("Enable linescan high pass filter", hipass)
      .add("smoothing factor", fresh.smoothing, {0, 1, {}})
      .addCheck("Use 2D correlation.", twod)
      .add("No. of linescan sample periods between correlations", fresh.gap, count)
      .add("No. of correlations to smooth", fresh.filter, count)
      .add("Correlation coeficient lower acceptable limit", fresh.coeflimit, {0, 1, {}})
      .addCheck("include zero velocity peaks", zeropeak)
      .addCheck("Peaks between points", subpoint)
      .addCheck("Flow both ways, and standing", bothways)
      .add("No. of points of two lines", fresh.noofpoints, {1, UINT16_MAX, {}})
      .addCheck("Draw velocity lines from correlation peaks", slopesWanted)
      .add("Peak detection window (x sample points)", fresh.correlpeakwindow, {0, 1 << 24, {}})
      .addCheck("Enable Hough calculation", hough)
      .add("Hough greylevel threshold (no. of Standard deviations)", fresh.houghdifthreshold)
      .add("minimum peak height (% of maximum)", fresh.houghthreshold, percent)
      .add("Peak detection noise threshold (% of maximum)", fresh.houghtol, percent)
      .add("minimum velocity", fresh.houghmin, {0, 1e9, {}})
      .withUnit("points a second");
  if (!asked(form)) return;
  fresh.cbvmethod = method == 0 ? kRowCorrelation : method == 1 ? kTwoLines : velocity.cbvmethod;
  if (method == 2 && (fresh.cbvmethod == kRowCorrelation || fresh.cbvmethod == kTwoLines))
    fresh.cbvmethod = 1;
  fresh.hipass = hipass != 0;
  fresh.twod = twod != 0;
  fresh.zeropeak = zeropeak != 0;
  fresh.subpoint = subpoint != 0;
  fresh.bothways = bothways != 0;
  Change change(*this);
  change.exchange(velocity, fresh);
  change.exchange(correl2velo, slopesWanted != 0);
  change.exchange(dohough, hough != 0);
  saveVelocitySettings();
  if (canCalculate()) calculateVelocity(change, true);
}

void ZlineScanBaseDoc::toggleInterlace() {
  useinterlace = !useinterlace;
  settings.setInt("linescan", "useinterlace", useinterlace);
}

void ZlineScanBaseDoc::toggleScatter() {
  showcbvcorrel = !showcbvcorrel;
  settings.setInt("linescan", "showcbvcorrel", showcbvcorrel);
  if (showcbvcorrel) refreshScatter();
}

void ZlineScanBaseDoc::toggleLimitChart() {
  showcbvvcoef = !showcbvvcoef;
  settings.setInt("linescan", "showcbvvcoef", showcbvvcoef);
  if (showcbvvcoef) refreshLimitChart();
}

void ZlineScanBaseDoc::deleteAllSlopes() { setSlopes({}); }

void ZlineScanBaseDoc::listSlopes() {
  const ZZTrace* scan = scantrace();
  const std::string name = scan ? scan->name : "";
  double sum = 0;
  int32_t counted = 0;
  const auto addRow = [&](const std::vector<NamedValue>& values) {
    const bool added =
        addResultRow(kLinescanResults, recordOf(kLinescanResults, title(), name, values), this);
    if (!added) report(kLowMemory);
    return added != false;
  };
  for (size_t i = 0; i < slopeList.size(); ++i) {
    const Slope& slope = slopeList[i];
    const double speed = slope.velocity();
    if (!addRow({{"line", static_cast<double>(i + 1)},
                 {"x", slope.middle()},
                 {"dx", slope.duration()},
                 {"dy", slope.y1 - slope.y0},
                 {"velocity", speed}}))
      return;
    if (!std::isfinite(speed)) continue;
    sum += speed;
    ++counted;
  }
  if (counted) addRow({{"average", sum / counted}});
}

void ZlineScanBaseDoc::cbvUsingFft() {
  const C2DTrace* scan = scantrace();
  CDocument* fresh = scan && process.reviewTemplate ? process.reviewTemplate->newDocument() : nullptr;
  auto* review = dynamic_cast<ZchartDoc*>(fresh);
  if (!review) return;
  const WaitScope wait;
  review->setTitle(title() + " CBV using FFT");
  ComplexSpectrum made = complexSpectrum(*scan, {0, 0});
  const TraceBatch batch(*review);
  review->addtrace(scan->clone());
  review->addtrace(std::move(made.real));
  review->addtrace(std::move(made.spectrum));
  review->addtrace(std::move(made.cbv));
}

bool ZlineScanBaseDoc::hasTwoSeries() const { return seriesOf(*this).size() > 1; }

void ZlineScanBaseDoc::correlateTwo() {
  const std::vector<ZZTrace*> all = seriesOf(*this);
  std::vector<std::string> names;
  names.reserve(all.size());
  for (const ZZTrace* trace : all) names.push_back(trace->name);
  int32_t first = 0, second = 1;
  Form form("Correlate");
  form.addChoice("first trace", first, names).addChoice("second trace", second, names);
  if (!asked(form) || seriesOf(*this) != all) return;
  Change(*this).add(correlateTraces(*all[static_cast<size_t>(first)], *all[static_cast<size_t>(second)]));
}

// --- the result

bool ZlineScanBaseDoc::hasVelocity() const { return traceSet().cbv != nullptr; }

std::string ZlineScanBaseDoc::resultWords(uint32_t from, uint32_t to) const {
  const VelocityStatistics found = statistics(from, to);
  const std::string judged = judgement(from, to);
  const std::string unit = velocityUnits();
  if (!found.hasReading())
    return "There is no velocity: no row's correlation passes the limit and stands out of chance.";
  if (!hasNumber(found))
    return format("There is no velocity to be told: %s\npercent good = %.1f %%\n", judged.c_str(),
                  found.share() * 100);
  return format(
             "velocity = %.1f %s\n%.3f to %.3f %s\npercent good = %.1f %%\nwith average correlation = %0.2f\n",
             found.mean, unit.c_str(), found.least, found.greatest, unit.c_str(), found.share() * 100,
             found.correlation) +
         (found.peakRatio > 0 ? format("peak ratio = %.1f\n", found.peakRatio) : "") + judged;
}

void ZlineScanBaseDoc::addVelocityResult(uint32_t from, uint32_t to) {
  const VelocityStatistics found = statistics(from, to);
  if (!hasNumber(found)) return report(resultWords(from, to));
  Form form("Velocity");
  form.addNote(resultWords(from, to)).setOkLabel("&Accept");
  if (!asked(form)) return;
  const ZZTrace* scan = scantrace();
  const double pointLength = scan ? scan->ygain : 0.0;
  const double diameter = scan ? velocity.linesperpoint * pointLength : kUnknown;
  const double length =
      scan ? static_cast<const C2DTrace*>(scan)->width() * pointLength : velocity.linedistance;
  if (!addResultRow(kCapillaryResults,
                    recordOf(kCapillaryResults, title(), scan ? scan->yunits : traceSet().line1->yunits,
                             {{"line", static_cast<double>(trailingNumber(scan ? scan->name : ""))},
                              {"length", length},
                              {"diameter", diameter},
                              {"velocity", found.mean},
                              {"flow", std::numbers::pi * diameter * diameter * found.mean * 0.25},
                              {"x", kUnknown},
                              {"y", kUnknown},
                              {"av r", found.correlation},
                              {"%good", found.share() * 100}}),
                    this))
    report(kLowMemory);
}

}  // namespace tarnvisor
