// The tool box of a chart: filters over the selection, and traces made of the active one.
#include <cmath>

#include "analysis/linescan.h"
#include "app/asked.h"
#include "app/processstate.h"
#include "base/text.h"
#include "charts/chartview.h"
#include "charts/commonflodoc.h"
#include "charts/livechartdoc.h"
#include "host/host.h"
#include "settings/settings.h"
#include "traces/contours.h"
#include "traces/derivedtraces.h"
#include "traces/firfilter.h"
#include "traces/gaps.h"
#include "traces/maxima.h"
#include "traces/pulsatility.h"
#include "traces/rowfilters.h"
#include "traces/smoothing.h"

namespace tarnvisor {

namespace {

constexpr double kTimeConstants[] = {0.1, 0.5, 1.0, 3.0};
constexpr int32_t kFreeConstant = 4;
constexpr const char* kFirSection = "FIR filter";
constexpr const char* kNoSamples = "The selection holds no samples of the active trace.";

ArtifactSettings artifactSettings;  // of all charts, for the life of the process

}  // namespace

ArtifactSettings& chartArtifacts() { return artifactSettings; }

// What is selected of the active trace. A trace with no data ends a command with no message.
std::optional<Selection> ZchartView::selectionToWorkOn() const {
  const ZZTrace* trace = active();
  if (!trace || !trace->size()) return std::nullopt;
  const auto range = rangeIn(*trace);
  if (!range) {
    doc.report(kNoSamples);
    return std::nullopt;
  }
  return Selection{range->from, range->to};
}

// Runs a change of the active trace over the selection, with a copy of the trace kept for Undo.
template <class Act>
void ZchartView::alter(Act act) {
  const auto selection = selectionToWorkOn();
  if (!selection) return;
  const WaitScope wait;
  ZchartDoc::Change change(doc);
  ZZTrace& trace = *active();
  if (!change.altering(trace)) return;
  {
    const GapBridge bridge(trace);
    act(trace, *selection);
  }
  if (C2DTrace* rows = rowsOf(&trace)) rows->reachGreatestItem();
}

// Runs what makes new traces of the active one over the selection; the last of them becomes the active one.
template <class Make>
void ZchartView::derive(Make make) {
  const auto selection = selectionToWorkOn();
  if (!selection) return;
  const WaitScope wait;
  ZchartDoc::Change change(doc);
  const GapBridge bridge(*active());
  for (ZZTrace::Own& made : make(*active(), *selection))
    if (ZZTrace* added = change.add(std::move(made))) activeTrace = added;
}

namespace {

template <class... Traces>
std::vector<ZZTrace::Own> listOf(Traces&&... traces) {
  std::vector<ZZTrace::Own> list;
  (list.push_back(std::forward<Traces>(traces)), ...);
  return list;
}

}  // namespace

void ZchartView::simpleSmoothing() {
  int32_t choice = doc.lastTCradio;
  double seconds = static_cast<double>(doc.lastTC);
  Form form("Simple smoothing");
  form.addChoice("time constant", choice, {"0.1 seconds", "0.5 seconds", "1 second", "3 seconds", "other"});
  form.add("other (seconds)", seconds, {.low = 0});
  if (!asked(form)) return;
  doc.lastTCradio = choice;
  doc.lastTC = static_cast<float>(seconds);
  doc.saveSettings();
  const double tc = choice >= 0 && choice < kFreeConstant ? kTimeConstants[choice] : seconds;
  alter([&](ZZTrace& trace, Selection selection) {
    smooth(trace, selection, smoothingAlpha(trace.period, tc), &artifactSettings);
  });
}

void ZchartView::artifactFilter() {
  ArtifactSettings fresh = artifactSettings;
  double low = static_cast<double>(fresh.lowlimit), high = static_cast<double>(fresh.highlimit);
  const std::vector<std::string> actions{"replace by the fixed value", "replace by the previous sample",
                                         "off"};
  const std::vector<std::string> modes{"absolute", "percent of the previous sample"};
  Form form("Artifact Filter");
  form.addChoice("samples below the lower limit", fresh.lowaction, actions);
  form.add("lower limit", low);
  form.addChoice("lower limit is", fresh.lowmode, modes);
  form.addChoice("samples above the upper limit", fresh.highaction, actions);
  form.add("upper limit", high);
  form.addChoice("upper limit is", fresh.highmode, modes);
  form.addChoice("samples equal to the fixed value", fresh.equalaction, actions);
  form.add("fixed value", fresh.fixedvalue);
  form.addNote("Simple smoothing passes each new sample through these tests.");
  if (!asked(form)) return;
  fresh.lowlimit = static_cast<float>(low);
  fresh.highlimit = static_cast<float>(high);
  changeArtifactSettings(artifactSettings, fresh);
}

void ZchartView::firFilter() {
  std::string path = settings.getString(kFirSection, "filename", "fir.txt");
  if (!process.quietMode) {
    const auto chosen = host().choosers.openFile(
        {"FIR filter", "Text Files (*.txt)|*.txt|All Files (*.*)|*.*||", ".txt", path});
    if (!chosen) return;
    path = *chosen;
  }
  FirFilter filter;
  if (const Outcome read = readFirFile(path, filter); !read) return doc.report(read.why());
  settings.setString(kFirSection, "filename", path);
  alter([&](ZZTrace& trace, Selection selection) { applyFir(filter, trace, trace, selection); });
}

void ZchartView::removePulse() {
  alter([](ZZTrace& trace, Selection selection) { tarnvisor::removePulse(trace, selection); });
}

void ZchartView::velocityIndex(PulseIndex kind) {
  static int32_t halfWindow = kDefaultHalfWindow;
  Form form(kind == PulseIndex::Pulsatility ? "Pulsatility Index" : "Resistance Index");
  form.add("half window (samples)", halfWindow, {1, 100000});
  if (!asked(form)) return;
  derive([&](ZZTrace& trace, Selection selection) {
    PulseTraces made = pulseIndex(trace, selection, kind, halfWindow);
    return listOf(std::move(made.systolic), std::move(made.diastolic), std::move(made.mean),
                  std::move(made.index));
  });
}

void ZchartView::pulsatilityIndex() { velocityIndex(PulseIndex::Pulsatility); }
void ZchartView::resistanceIndex() { velocityIndex(PulseIndex::Resistance); }

void ZchartView::differentiate() {
  derive([](ZZTrace& trace, Selection) { return listOf(derivativeTrace(trace)); });
}

// A trace without rows would be lost when the chart is stored and read.
void ZchartView::powerSpectrum() {
  if (const ZZTrace* trace = active(); trace && trace->size() < kPsdSamples)
    return doc.report(
        format("A power spectrum takes %u samples; the trace has %u.", kPsdSamples, trace->size()));
  derive([](ZZTrace& trace, Selection) {
    return listOf(ZZTrace::Own(calculatedPsd(trace, {trace.pixelperiod})));
  });
}

void ZchartView::psdProfile() {
  if (C2DTrace* rows = rowsOf(active())) showRowProfile(*this, *rows);
}

void ZchartView::goldenMaxima() {
  const auto selection = selectionToWorkOn();
  if (!selection) return;
  const WaitScope wait;
  const auto found = goldenSearchMaxima(*active(), *selection);
  if (!process.quietMode)
    host().messages.show(format("%i maxima found; the log lists them.", static_cast<int>(found.size())));
}

void ZchartView::halvePoints() {
  C2DTrace* rows = rowsOf(active());
  if (!rows || !rows->size()) return;
  const WaitScope wait;
  ZZTrace::Own half = halvedTrace(*rows);
  if (!half || !half->data) return;
  ZchartDoc::Change change(doc);
  change.replace(*rows, std::move(half));
}

void ZchartView::normaliseToSelection() {
  alter([](ZZTrace& trace, Selection selection) {
    if (C2DTrace* rows = rowsOf(&trace)) tarnvisor::normaliseToSelection(*rows, selection);
  });
}

void ZchartView::cutToAverage() {
  alter([](ZZTrace& trace, Selection selection) { tarnvisor::cutToAverage(trace, selection); });
}

void ZchartView::cutPedestal() {
  alter([](ZZTrace& trace, Selection selection) {
    tarnvisor::cutPedestal(trace, selection, process.velocity);
  });
}

void ZchartView::cutPsdArtifacts() {
  alter([](ZZTrace& trace, Selection selection) { tarnvisor::cutPsdArtifacts(trace, selection); });
}

void ZchartView::dpsHistogram() {
  alter([](ZZTrace& trace, Selection selection) { tarnvisor::dpsHistogram(trace, selection); });
}

void ZchartView::signalStrength() {
  derive([](ZZTrace& trace, Selection) {
    const C2DTrace* rows = rowsOf(&trace);
    return listOf(rows ? tarnvisor::signalStrength(*rows) : nullptr);
  });
}

namespace {

template <class Contours>
std::vector<ZZTrace::Own> contoursOf(ZchartDoc& doc, ZZTrace& trace, Contours contours) {
  auto* rows = dynamic_cast<C2DTrace*>(&trace);
  if (!rows) return {};
  const auto* common = dynamic_cast<const ZcommonFLODoc*>(&doc);
  CbvAnalysis analysis = common ? common->reviewAnalysis() : CbvAnalysis{};
  analysis.parameters = process.velocity;
  ReviewSettings review;
  review.analysis = &analysis;
  review.artifacts = &artifactSettings;
  return contours(*rows, review);
}

}  // namespace

void ZchartView::powerContour() {
  derive([this](ZZTrace& trace, Selection selection) {
    return contoursOf(doc, trace, [&](C2DTrace& rows, const ReviewSettings& review) {
      return powerContours(rows, selection, review);
    });
  });
}

void ZchartView::levelContour() {
  LevelContours levels;
  levels.readSettings();
  Form form("Doppler Contours");
  form.add("No of traces", levels.tracenumber, {1, LevelContours::kMostTraces});
  form.add("Minimum", levels.min, {0, 1e6});
  form.add("Interval", levels.interval, {0, 1e6});
  form.addNote(format("Maximum: %i", levels.max()));
  if (!asked(form)) return;
  levels.saveSettings();
  derive([&](ZZTrace& trace, Selection selection) {
    return contoursOf(doc, trace, [&](C2DTrace& rows, const ReviewSettings& review) {
      return levelContours(rows, selection, review, levels);
    });
  });
}

// Of rows that were sampled along a vessel. A linescan has its own way.
void ZchartView::calculateVelocity() {
  derive([](ZZTrace& trace, Selection selection) {
    const auto* rows = dynamic_cast<const C2DTrace*>(&trace);
    VelocityReview review = rows ? reviewVelocity(*rows, selection.from, selection.to) : VelocityReview{};
    return listOf(std::move(review.correlation), std::move(review.cbv));
  });
}

}  // namespace tarnvisor
