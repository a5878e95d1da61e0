#include "traces/pulsatility.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <deque>
#include <functional>
#include <limits>

#include "traces/firfilter.h"

namespace tarnvisor {

namespace {

constexpr uint32_t kRed = 0x0000FF;
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

// With the active trace's clock and units.
ZZTrace::Own traceLike(const ZZTrace& active, int32_t typecode, const char* name, uint32_t colour) {
  auto made = std::make_unique<CTrace>(typecode, active.size());
  made->copyprops(active);
  made->name = name;
  made->colour = colour;
  made->tracetype = kPlainTrace;
  if (!made->data) return nullptr;
  return made;
}

// The shown values themselves, for computing.
ZZTrace::Own shownLike(const ZZTrace& active) {
  ZZTrace::Own shown = traceLike(active, kDoubleCode, "", 0);
  if (!shown) return nullptr;
  shown->data->copyfrom(0, *active.data, active.size(), 0);
  for (double& sample : doublesOf(*shown->data)) sample = active.displayed(sample);
  shown->ygain = 1;
  shown->yoffset = 0;
  return shown;
}

// Peaks, troughs and mean have items of two bytes. Where those of the active trace fit them they keep its
// scale; else they share one that spans the values and 0.
struct Scale {
  double gain, offset;
};
Scale scaleFor(const ZZTrace& active, std::span<const double> shown) {
  constexpr double kHighest = 65535;
  bool fits = active.ygain != 0;
  double low = 0, high = 0;
  for (const double value : shown) {
    const double item = std::round((value - active.yoffset) / active.ygain);
    fits = fits && item >= 0 && item <= kHighest && active.displayed(item) == value;
    if (!std::isfinite(value)) continue;
    low = std::min(low, value);
    high = std::max(high, value);
  }
  if (fits) return {active.ygain, active.yoffset};
  const double gain = high / kHighest - low / kHighest;
  return {gain > 0 ? gain : 1, low};
}

// Out takes each sample that no other of the 2 * half + 1 around it beats; the others are none. The queue
// holds the samples of the window that none after them beats.
template <class Beats>
void extremes(std::span<const double> samples, size_t half, std::span<double> out, Beats beats) {
  std::ranges::fill(out, kNone);
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

// 0 before the first.
template <class Iterator>
void holdLast(Iterator begin, Iterator end) {
  double held = 0;
  for (; begin != end; ++begin) std::isnan(*begin) ? * begin = held : held = *begin;
}

// Null, with low memory noted, when there is none.
CdataVect::Own noneYet(uint32_t count) {
  CdataVect::Own values = newVector(kDoubleCode, count);
  if (!values) noteLowMemory();
  return values;
}

// A trace of two bytes an item that shows values in the span, and 0 around it.
ZZTrace::Own stored(const ZZTrace& active, const Scale& scale, const RingSpan& span,
                    std::span<const double> values, const char* name, uint32_t colour) {
  ZZTrace::Own trace = traceLike(active, kUint16Code, name, colour);
  if (!trace) return nullptr;
  trace->ygain = scale.gain;
  trace->yoffset = scale.offset;
  const ShownValues shown(*trace);
  trace->data->fill(shown.nearestItem(0));
  for (uint32_t k = 0; k < span.count; ++k) trace->data->putval(span.at(k), shown.nearestItem(values[k]));
  return trace;
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

// Items of the index, smoothed for pulsatility. What computing leaves must not cost a step of it.
bool fillIndex(ZZTrace& index, const RingSpan& span, Selection selection, int smoothings,
               std::span<const double> systolic, std::span<const double> diastolic,
               std::span<const double> divisor) {
  constexpr double kNudge = 1e-6;
  CTrace exact(kDoubleCode, index.size());
  if (!exact.data) return false;
  exact.origin = index.origin;
  exact.circular = index.circular;
  for (uint32_t k = 0; k < span.count; ++k)
    exact.data->putval(span.at(k), divisor[k] == 0 ? 0.0 : (systolic[k] - diastolic[k]) / divisor[k] * 1000);
  for (int pass = 0; pass < smoothings; ++pass) removePulse(exact, selection);
  for (uint32_t i = 0; i < index.size(); ++i) {
    const double item = exact.data->at(i);
    index.data->putval(i, std::clamp<double>(item + std::copysign(kNudge, item), INT32_MIN, INT32_MAX));
  }
  return true;
}

}  // namespace

PulseTraces pulseIndex(const ZZTrace& active, Selection selection, PulseIndex kind, int32_t halfwindow) {
  constexpr uint32_t kMagenta = 0xFF00FF;
  constexpr uint32_t kBlue = 0xFF0000;
  constexpr uint32_t kGreen = 0x8000;
  const RingSpan span = ringSpan(active, selection);
  if (!hasSamples(active) || span.count == 0) return {};
  const bool wantsMean = kind == PulseIndex::Pulsatility;
  const auto half = static_cast<size_t>(std::max(halfwindow, 0));
  const ZZTrace::Own shown = shownLike(active);
  const CdataVect::Own samples = shown ? readSamples(*shown, span) : nullptr;
  const CdataVect::Own systolic = noneYet(span.count), diastolic = noneYet(span.count);
  if (!samples || !systolic || !diastolic) return {};
  const std::span<double> peaks = doublesOf(*systolic), troughs = doublesOf(*diastolic);
  extremes(doublesOf(*samples), half, peaks, std::greater<double>());
  holdLast(peaks.begin(), peaks.end());
  extremes(doublesOf(*samples), half, troughs, std::less<double>());
  holdLast(troughs.rbegin(), troughs.rend());
  const Scale scale = scaleFor(active, doublesOf(*samples));
  if (wantsMean) removePulse(*shown, selection);
  const CdataVect::Own mean = wantsMean ? readSamples(*shown, span) : nullptr;
  PulseTraces made;
  made.systolic = stored(active, scale, span, peaks, "systolic peak", kMagenta);
  made.diastolic = stored(active, scale, span, troughs, "diastolic min", kBlue);
  if (mean) made.mean = stored(active, scale, span, doublesOf(*mean), "mean", kGreen);
  made.index = indexTrace(active, kind);
  if (!made.systolic || !made.diastolic || (wantsMean && !made.mean) || !made.index) return {};
  const bool filled = fillIndex(*made.index, span, selection, wantsMean ? 2 : 0, peaks, troughs,
                                wantsMean ? doublesOf(*mean) : peaks);
  return filled ? std::move(made) : PulseTraces{};
}

}  // namespace tarnvisor
