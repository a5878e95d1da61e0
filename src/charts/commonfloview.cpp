// Velocities of the spectra of a chart.
#include <algorithm>
#include <cmath>

#include "app/asked.h"
#include "app/processstate.h"
#include "base/text.h"
#include "charts/commandids.h"
#include "charts/commonflodoc.h"
#include "host/host.h"
#include "traces/contours.h"
#include "traces/rowfilters.h"
#include "traces/shownvalues.h"

namespace tarnvisor {

namespace {

constexpr const char* kNoSpectra = "No trace holds Doppler spectra.";

}  // namespace

C2DTrace* ZcommonFLOView::spectra() const {
  if (C2DTrace* rows = rowsOf(active()); rows && rows->size()) return rows;
  for (ZZTrace* trace : shownTraces())
    if (C2DTrace* rows = rowsOf(trace); rows && rows->size()) return rows;
  return nullptr;
}

std::optional<Selection> ZcommonFLOView::selectedRows() const {
  const C2DTrace* rows = spectra();
  const auto range = rows ? rangeIn(*rows) : std::nullopt;
  if (!range) {
    doc.report(rows ? "The selection holds no spectra." : kNoSpectra);
    return std::nullopt;
  }
  if (const Outcome may = flo.checkThreshold(); !may) {
    doc.report(may.why());
    return std::nullopt;
  }
  return Selection{range->from, range->to};
}

std::vector<StatusPane> ZcommonFLOView::panes() const {
  std::vector<StatusPane> texts = ZchartView::panes();
  texts.push_back({"threshold", flo.thresholdWords()});
  return texts;
}

// The threshold is a share of what the colours show.
void ZcommonFLOView::fullScaleChanged(const C2DTrace& rows) {
  const VelocitySettings& velocity = process.velocity;
  if (velocity.fsLinkThreshold && !velocity.autonoise)
    flo.setThreshold(static_cast<int32_t>(
        std::clamp(ShownValues(rows).of(rows.fullscale) * velocity.fsThreshold, 0.0, 1e9)));
}

// --- how a velocity is found

template <int32_t Method>
void ZcommonFLOView::choose() {
  process.velocity.cbvMethod = Method;
}

template <int32_t Method>
bool ZcommonFLOView::isChosen() const {
  return process.velocity.cbvMethod == Method;
}

void ZcommonFLOView::cbvParameters() {
  VelocitySettings v = process.velocity;
  int32_t threshold = flo.analysis.threshold;
  Form form("CBV parameters");
  form.addChoice("method", v.cbvMethod,
                 {"max frequency shift", "peak frequency shift", "percent of total power", "average speed",
                  "automatic", "first moment above noise"});
  form.add("threshold", threshold, {0, 1e9});
  form.add("least mean power", v.minThreshold, {0, 1e9});
  form.addCheck("Auto Noise Threshold: &Enable", v.autonoise);
  form.add("Threshold: %noiseSD + noise", v.threshOfAv2, {0, 1e6});
  form.add("auto noise time constant", v.noisefloorRC, {0, 1e6});
  form.add("no. &over threshold", v.nOverThresh, {0, 4096});
  form.add("threshold for DPS HPF", v.loCutOff, {0, 1e6});
  form.add("coeficient @ w/4", v.ped1, {0, 1000});
  form.add("coeficient @ w/2", v.ped2, {0, 1000});
  form.add("coeficient @ w.3/4", v.ped3, {0, 1000});
  form.addCheck("&keep original Doppler", v.keepDop);
  form.addCheck("&cut Doppler above CBV", v.cutDopTop);
  form.add("spectra averaged at most (first moment)", v.momentRows, {1, 1000});
  form.addChoice("window", v.fftWindow, {"Rectangular", "Bartlett", "Hanning", "Hamming", "Blackman"});
  form.addCheck("&Link threshold to Doppler full scale", v.fsLinkThreshold);
  form.add("threshold as ratio of FS", v.fsThreshold, {0, 1000});
  form.addNote("The filter of the Doppler power spectrum drops what lies below so many hertz.");
  if (!asked(form)) return;
  process.velocity = v;
  if (threshold == flo.analysis.threshold) return;  // a stored chart's is no setting of the next one
  flo.setThreshold(threshold);
  flo.saveSettings();
}

void ZcommonFLOView::thresholdWindow() {
  if (showsThreshold()) return thresholdForm.reset();
  constexpr int32_t kRefreshMs = 250, kHighest = 10000;
  shownThreshold = flo.analysis.threshold;
  Form form("Threshold");
  form.addSlider("threshold", shownThreshold, 0, std::max(kHighest, shownThreshold));
  form.setOnChange([this] { flo.setThreshold(shownThreshold); });
  FormEvents events{.refreshMs = kRefreshMs,
                    .onRefresh = [this] { shownThreshold = flo.analysis.threshold; }};
  if (!flo.hasSource()) events.buttons.push_back({"Calculate", [this] { calculateCbv(); }, true});
  thresholdForm = host().forms.show(std::move(form), std::move(events));
}

// --- what is made of the spectra

void ZcommonFLOView::calculateCbv() {
  const auto selection = selectedRows();
  if (!selection) return;
  if (!process.velocity.autonoise && process.velocity.cbvMethod != kFirstMoment && !isUnattended() &&
      !showsThreshold())
    thresholdWindow();
  const WaitScope wait;
  ZchartDoc::Change change(doc);
  ZZTrace::Own spread;
  CbvAnalysis analysis = flo.reviewAnalysis();
  const ReviewSettings review{.analysis = &analysis, .artifacts = &chartArtifacts()};
  ZZTrace* made =
      change.add(tarnvisor::calculateCbv(*spectra(), *selection, review, flo.dopplerscale, &spread));
  if (spread) change.add(std::move(spread));
  if (made) setActive(made);
}

void ZcommonFLOView::recalculateShift() {
  const auto selection = selectedRows();
  if (!selection) return;
  std::vector<std::string> names;
  int32_t chosen = 0;
  for (const ZZTrace::Own& trace : doc.traces.items) {
    if (trace->name == "CBV") chosen = static_cast<int32_t>(names.size());
    names.push_back(format("%i: ", static_cast<int>(names.size())) + trace->name);
  }
  Form form("Recalculate Doppler Shift");
  form.addChoice("Trace", chosen, names);
  form.addNote("Its samples are calculated anew from the spectra, by the method and the threshold in force.");
  if (!asked(form)) return;
  ZZTrace& target = *doc.traces.items[static_cast<size_t>(chosen)];
  if (const Outcome fits = checkReviewTarget(*spectra(), target); !fits) return doc.report(fits.why());
  const WaitScope wait;
  ZchartDoc::Change change(doc);
  if (!change.altering(target)) return;
  CbvAnalysis analysis = flo.reviewAnalysis();
  recalculateCbv(*spectra(), *selection, {.analysis = &analysis, .artifacts = &chartArtifacts()}, target);
}

void ZcommonFLOView::trimSpectrum() {
  const auto selection = selectedRows();
  if (!selection) return;
  const WaitScope wait;
  ZchartDoc::Change change(doc);
  CbvAnalysis analysis = flo.reviewAnalysis();
  if (change.altering(*spectra())) tarnvisor::trimSpectrum(*spectra(), *selection, analysis);
}

const CommandTableBase& ZcommonFLOView::commandTable() {
  using V = ZcommonFLOView;
  static const CommandTable<V> table{
      {{cmd::CbvParameters,
        "CBV parameters...",
        &V::cbvParameters,
        {.tip = "CBV parameters", .status = "Sets how a velocity is found in a Doppler spectrum."}},
       {cmd::FindMaximum,
        "Find &Maximum",
        &V::choose<kMaxFrequency>,
        nullptr,
        &V::isChosen<kMaxFrequency>,
        {.tip = "Maximum frequency",
         .status = "Takes the highest frequency above the threshold for the velocity."}},
       {cmd::FindPeak,
        "Find &Peak in spectrum",
        &V::choose<kPeakFrequency>,
        nullptr,
        &V::isChosen<kPeakFrequency>,
        {.tip = "Peak", .status = "Takes the strongest of the higher frequencies for the velocity."}},
       {cmd::FindPercent,
        "Find by % of &total power",
        &V::choose<kPercentPower>,
        nullptr,
        &V::isChosen<kPercentPower>,
        {.tip = "Percent of power",
         .status =
             "Takes the frequency below which the threshold's percent of the power lies for the velocity."}},
       {cmd::FindAverage,
        "Find &Average",
        &V::choose<kAverageSpeed>,
        nullptr,
        &V::isChosen<kAverageSpeed>,
        {.tip = "Average", .status = "Takes the mean frequency of all the power for the velocity."}},
       {cmd::FindAutomatic,
        "&Automatic",
        &V::choose<kAutomatic>,
        nullptr,
        &V::isChosen<kAutomatic>,
        {.tip = "Automatic",
         .status = "Takes the strongest frequency, with the low ones weighed down, for the velocity."}},
       {cmd::FindMoment,
        "&First moment above noise",
        &V::choose<kFirstMoment>,
        nullptr,
        &V::isChosen<kFirstMoment>,
        {.tip = "First moment",
         .status =
             "Takes the mean frequency of the power above the noise for the velocity; gives the spread beside it."}},
       {cmd::CalculateCbv,
        "&Calculate CBV",
        &V::calculateCbv,
        &V::hasSpectra,
        {.tip = "Calculate CBV",
         .status = "Makes a trace of the velocities that the selected spectra show."}},
       {cmd::RecalculateShift,
        "Recalculate Doppler Shift",
        &V::recalculateShift,
        &V::hasSpectra,
        {.tip = "Recalculate Doppler shift",
         .status = "Calculates the velocities of the selected spectra anew into a trace that is there."}},
       {cmd::TrimSpectrum,
        "&Trim Doppler Spectrum",
        &V::trimSpectrum,
        &V::hasSpectra,
        {.tip = "Trim Doppler spectrum",
         .status = "Empties the selected spectra above the velocity found in each."}},
       {cmd::SwapUnits,
        "swap units mm/s <-> kHz",
        &V::swapUnits,
        {.tip = "Swap units", .status = "Shows speeds as frequency shifts in kHz, and back."}},
       {cmd::ThresholdWindow,
        "T&hreshold...",
        &V::thresholdWindow,
        nullptr,
        &V::showsThreshold,
        {.tip = "Threshold", .status = "Shows the window of the threshold, which stays open."}}},
      &ZchartView::commandTable()};
  return table;
}

}  // namespace tarnvisor
