#include "traces/pulsatility.h"

#include <algorithm>
#include <deque>
#include <functional>

#include "traces/firfilter.h"

namespace tarnvisor {

namespace {

constexpr uint32_t kRed = 0x0000FF;

// With the active trace's clock and scale.
ZZTrace::Own traceLike(const ZZTrace& active, int32_t typecode, const char* name, uint32_t colour) {
  auto made = std::make_unique<CTrace>(typecode, active.size());
  made->copyprops(active);
  made->name = name;
  made->colour = colour;
  made->tracetype = kPlainTrace;
  if (!made->data) return nullptr;
  return made;
}

// Out takes each sample that no other of the 2 * half + 1 around it beats; the others are 0. The queue holds
// the samples of the window that none after them beats.
template <class Beats>
void extremes(std::span<const double> samples, size_t half, std::span<double> out, Beats beats) {
  std::deque<size_t> queue;
  for (size_t next = 0; next < samples.size(); ++next) {
    while (!queue.empty() && beats(samples[next], samples[queue.back()])) queue.pop_back();
    queue.push_back(next);
    if (next < 2 * half) continue;
    const size_t centre = next - half;
    while (queue.front() + half < centre) queue.pop_front();
    if (!beats(samples[queue.front()], samples[centre])) out[centre] = samples[centre];
  }
}

template <class Iterator>
void holdLast(Iterator begin, Iterator end) {
  double held = 0;
  for (; begin != end; ++begin) *begin == 0 ? *begin = held : held = *begin;
}

// Peaks or troughs into their trace, which makes whole numbers of them, held over the samples between.
template <class Beats, class Hold>
CdataVect::Own fillExtremes(ZZTrace& trace, const RingSpan& span, CdataVect& samples, size_t half,
                            Beats beats, Hold hold) {
  const CdataVect::Own found = newVector(kDoubleCode, span.count);
  if (!found) {
    noteLowMemory();
    return nullptr;
  }
  extremes(doublesOf(samples), half, doublesOf(*found), beats);
  writeSamples(trace, span, *found);
  CdataVect::Own held = readSamples(trace, span);
  if (!held) return nullptr;
  hold(doublesOf(*held));
  writeSamples(trace, span, *held);
  return held;
}

// The first step reads the active trace. Later ones read ahead beyond the selection, so the rest of the
// trace stands there until they are done.
ZZTrace::Own meanTrace(const ZZTrace& active, Selection selection, const RingSpan& span) {
  constexpr uint32_t kGreen = 0x8000;
  ZZTrace::Own mean = traceLike(active, kUint16Code, "mean", kGreen);
  if (!mean) return nullptr;
  mean->data->copyfrom(0, *active.data, active.size(), 0);
  applyFir(pulseFilter(), active, *mean, selection);
  applyFir(pulseFilter(), *mean, *mean, selection);
  applyFir(pulseFilter(), *mean, *mean, selection);
  const CdataVect::Own kept = readSamples(*mean, span);
  if (!kept) return nullptr;
  mean->data->fill(0.0);
  writeSamples(*mean, span, *kept);
  return mean;
}

ZZTrace::Own indexTrace(const ZZTrace& active, PulseIndex kind) {
  ZZTrace::Own index = traceLike(
      active, kInt32Code, kind == PulseIndex::Pulsatility ? "Pulsatility Index" : "Resistance Index", kRed);
  if (!index) return nullptr;
  index->ygain = 0.001;
  index->yoffset = 0;
  index->yunits.clear();
  index->xscale = 0.0078125;
  index->tracetype = kIndexTrace;
  return index;
}

// The systolic samples become the index.
void fillIndex(std::span<double> systolic, std::span<const double> diastolic,
               std::span<const double> divisor) {
  for (size_t k = 0; k < systolic.size(); ++k)
    systolic[k] = divisor[k] == 0 ? 0.0 : (systolic[k] - diastolic[k]) / divisor[k] * 1000;
}

}  // namespace

PulseTraces pulseIndex(const ZZTrace& active, Selection selection, PulseIndex kind, int32_t halfwindow) {
  constexpr uint32_t kMagenta = 0xFF00FF;
  constexpr uint32_t kBlue = 0xFF0000;
  const RingSpan span = ringSpan(active, selection);
  if (!hasSamples(active) || span.count == 0) return {};
  const bool wantsMean = kind == PulseIndex::Pulsatility;
  const auto half = static_cast<size_t>(std::max(halfwindow, 0));
  PulseTraces made;
  made.systolic = traceLike(active, kUint16Code, "systolic peak", kMagenta);
  made.diastolic = traceLike(active, kUint16Code, "diastolic min", kBlue);
  if (wantsMean) made.mean = meanTrace(active, selection, span);
  made.index = indexTrace(active, kind);
  const CdataVect::Own samples = readSamples(active, span);
  if (!made.systolic || !made.diastolic || (wantsMean && !made.mean) || !made.index || !samples) return {};
  const CdataVect::Own systolic =
      fillExtremes(*made.systolic, span, *samples, half, std::greater<double>(),
                   [](std::span<double> items) { holdLast(items.begin(), items.end()); });
  const CdataVect::Own diastolic =
      fillExtremes(*made.diastolic, span, *samples, half, std::less<double>(),
                   [](std::span<double> items) { holdLast(items.rbegin(), items.rend()); });
  const CdataVect::Own mean = wantsMean ? readSamples(*made.mean, span) : nullptr;
  if (!systolic || !diastolic || (wantsMean && !mean)) return {};
  fillIndex(doublesOf(*systolic), doublesOf(*diastolic), doublesOf(wantsMean ? *mean : *systolic));
  writeSamples(*made.index, span, *systolic);
  if (wantsMean)
    for (int pass = 0; pass < 2; ++pass) removePulse(*made.index, selection);
  return made;
}

}  // namespace tarnvisor
