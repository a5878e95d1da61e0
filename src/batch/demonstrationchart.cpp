#include "batch/demonstrationchart.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "base/text.h"
#include "charts/commonflodoc.h"
#include "traces/contours.h"
#include "traces/maxima.h"
#include "vectors/fftwindow.h"

namespace tarnvisor {

namespace {

constexpr const char* kFlow = "flow";
constexpr const char* kSpectrum = "Doppler spectrum";
constexpr const char* kSeconds = "s";
constexpr uint16_t kBins = 256;
constexpr size_t kSpectrumSamples = 2 * size_t{kBins};
constexpr size_t kSpectrumStep = 320;  // samples from one spectrum to the next: 25 a second
constexpr int32_t kHannWindow = 2;

void describe(ZZTrace& trace, const char* name, const char* unit, double rate) {
  trace.name = name;
  trace.yunits = unit;
  trace.xunits = kSeconds;
  trace.period = 1 / rate;
}

ZZTrace::Own flowTrace(const DopplerSignals& signals, const DopplerPulse& pulse) {
  constexpr double kStepsPerMillimetre = 1000;
  auto flow = std::make_unique<CTrace>(kUint16Code, static_cast<uint32_t>(signals.velocity.size()));
  if (!flow->data) return nullptr;
  describe(*flow, kFlow, "mm/s", pulse.velocityRate);
  flow->ygain = 1 / kStepsPerMillimetre;
  flow->xscale = 1.0 / kBins;  // a place is 1 mm/s high
  for (uint32_t i = 0; i < flow->size(); ++i)
    flow->data->putval(i, std::round(signals.velocity[i] * kStepsPerMillimetre));
  return flow;
}

ZZTrace::Own signalTrace(const DopplerSignals& signals, const DopplerPulse& pulse) {
  constexpr double kSteps = 10000;  // of the signal's one
  auto trace = std::make_unique<CTrace>(kInt16Code, static_cast<uint32_t>(signals.signal.size()));
  if (!trace->data) return nullptr;
  describe(*trace, "Doppler", "V", pulse.signalRate);
  trace->ygain = 1 / kSteps;
  for (uint32_t i = 0; i < trace->size(); ++i)
    trace->data->putval(i, std::clamp(std::round(signals.signal[i] * kSteps), -32768.0, 32767.0));
  return trace;
}

// Power of the signal's frequencies, half-overlapping, the strongest of all as the highest item.
ZZTrace::Own spectrumTrace(const DopplerSignals& signals, const DopplerPulse& pulse) {
  CFFT fft;
  CFFTWindow window;
  if (!fft.setup(kBins) || !window.build(kHannWindow, kSpectrumSamples)) return nullptr;
  const size_t rows = (signals.signal.size() - kSpectrumSamples) / kSpectrumStep + 1;
  auto trace = std::make_unique<C2DTrace>(kWordRowsCode, static_cast<uint32_t>(rows), kBins);
  if (!trace->data) return nullptr;
  std::vector<double> powers(rows * kBins);
  std::vector<double> samples(kSpectrumSamples);
  for (size_t row = 0; row < rows; ++row) {
    std::copy_n(signals.signal.begin() + static_cast<ptrdiff_t>(row * kSpectrumStep), kSpectrumSamples,
                samples.begin());
    window.apply(samples.data());
    fft.realpower(samples.data(), powers.data() + row * kBins);
  }
  const double scale = 65535 / *std::max_element(powers.begin(), powers.end());
  describe(*trace, kSpectrum, "kHz", pulse.signalRate / kSpectrumStep);
  trace->ygain = 0.001;
  // A spectrum stands at the middle of its samples.
  trace->setstarttime(0.5 * (kSpectrumSamples - kSpectrumStep) / pulse.signalRate);
  trace->setdisplay(12000, 500, 500, 65000);
  for (uint32_t row = 0; row < rows; ++row) {
    trace->setextent(row, pulse.signalRate / 2);
    for (uint32_t bin = 0; bin < kBins; ++bin)
      trace->data->putcell(row, bin, powers[size_t{row} * kBins + bin] * scale);
  }
  return trace;
}

void mark(ZchartDoc& chart, double seconds, const char* label, const char* what) {
  auto marker = std::make_unique<CMarker>();
  marker->SetLabel(label);
  marker->text = format("%s, at %.3f s", what, seconds);
  marker->time = seconds;
  chart.markers.add(std::move(marker));
}

double rateOfMaxima(const ZZTrace& flow) {
  const std::vector<Maximum> maxima = goldenSearchMaxima(flow, {});
  if (maxima.size() < 2) return 0;
  const double seconds = flow.timeof(maxima.back().index) - flow.timeof(maxima.front().index);
  return 60.0 * static_cast<double>(maxima.size() - 1) / seconds;
}

// Between 30 and 240 a minute; a parabola through the strongest bin and its neighbours tells where between
// bins.
double strongestRhythm(const ZZTrace& velocity) {
  constexpr int32_t kPoints = 1024;
  CFFT fft;
  CFFTWindow window;
  const size_t count = std::min(size_t{velocity.size()}, size_t{2} * kPoints);
  if (!count || !fft.setup(kPoints) || !window.build(kHannWindow, static_cast<int32_t>(count))) return 0;
  std::vector<double> samples(size_t{2} * kPoints), powers(kPoints);
  const double mean = velocity.data->mean();
  for (uint32_t i = 0; i < count; ++i) samples[i] = velocity.data->at(i) - mean;
  window.apply(samples.data());
  fft.realpower(samples.data(), powers.data());
  const double perMinute = 60 / (velocity.period * 2 * kPoints);  // a bin
  const auto first = static_cast<ptrdiff_t>(std::max(1.0, 30 / perMinute));
  const auto last = static_cast<ptrdiff_t>(std::min(kPoints - 2.0, 240 / perMinute));
  if (last <= first) return 0;
  const auto peak = std::max_element(powers.begin() + first, powers.begin() + last);
  const double before = *(peak - 1), after = *(peak + 1), bend = before - 2 * *peak + after;
  const double between = bend < 0 ? 0.5 * (before - after) / bend : 0;
  return (static_cast<double>(peak - powers.begin()) + between) * perMinute;
}

}  // namespace

Outcome saveDemonstrationChart(const std::string& path, DopplerTruth& truth) {
  const DopplerPulse pulse;
  const DopplerSignals signals = renderDoppler(pulse, truth);
  CReviewDoc chart;
  if (!chart.onNewDocument()) return Outcome::failure("the demonstration's chart can't be made");
  std::vector<ZZTrace::Own> traces;
  traces.push_back(flowTrace(signals, pulse));
  traces.push_back(spectrumTrace(signals, pulse));
  traces.push_back(signalTrace(signals, pulse));
  if (std::find(traces.begin(), traces.end(), nullptr) != traces.end()) return Outcome::failure(kLowMemory);
  ZchartDoc::giveColours(traces, 0);
  for (ZZTrace::Own& trace : traces) chart.addtrace(std::move(trace));
  // Where the whole of their boxes can be seen.
  constexpr size_t kFromEnd = 3;
  if (const size_t beats = truth.systoles.size(); beats > 2 * kFromEnd) {
    mark(chart, truth.systoles[kFromEnd], "begin", "A systole near the beginning");
    mark(chart, truth.systoles[beats - 1 - kFromEnd], "end", "A systole near the end");
  }
  if (!chart.onSaveDocument(path)) return Outcome::failure(path + " can't be written");
  return Outcome::success();
}

PulseRates findPulse(const ZchartDoc& chart) {
  PulseRates rates;
  if (const ZZTrace* flow = chart.findtrace(kFlow)) rates.ofMaxima = rateOfMaxima(*flow);
  if (const auto* spectra = dynamic_cast<const C2DTrace*>(chart.findtrace(kSpectrum))) {
    CbvAnalysis analysis;
    ReviewSettings review;
    review.analysis = &analysis;
    if (const ZZTrace::Own velocity = calculateCbv(*spectra, {}, review))
      rates.ofSpectra = strongestRhythm(*velocity);
  }
  return rates;
}

}  // namespace tarnvisor
