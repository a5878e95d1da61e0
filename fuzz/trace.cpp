// The traces of a file, then what a chart and its commands do with them.
#include <cstddef>
#include <sstream>

#include "archive/archive.h"
#include "traces/contours.h"
#include "traces/derivedtraces.h"
#include "traces/firfilter.h"
#include "traces/maxima.h"
#include "traces/pulsatility.h"
#include "traces/rowfilters.h"
#include "traces/smoothing.h"

using namespace tarnvisor;

namespace {

constexpr uint32_t kMostRows = 4096;  // of those that are worked on; the reader takes what there is

void useSamples(ZZTrace& trace, Selection selection) {
  uint32_t index = 0;
  trace.indexof(trace.timeof(selection.from), index);
  trace.advance(INT64_MIN);
  std::ostringstream file;
  trace.exportbin(file, {true, true}, selection.from, selection.to);
  derivativeTrace(trace);
  calculatedPsd(trace, {});
  goldenSearchMaxima(trace, selection);
  pulseIndex(trace, selection, PulseIndex::Pulsatility);
  const ArtifactSettings artifacts{.lowaction = 1, .lowlimit = 50, .lowmode = 1};
  smooth(trace, selection, smoothingAlpha(trace.period, 0.1), &artifacts);
  removePulse(trace, selection);
  cutToAverage(trace, selection);
}

void useRows(C2DTrace& trace, Selection selection) {
  CbvAnalysis analysis;
  for (const int32_t method : {kPeakFrequency, kAverageSpeed, kAutomatic}) {
    analysis.parameters.cbvMethod = method;
    calculateCbv(trace, selection, {&analysis, nullptr});
  }
  powerContours(trace, selection, {&analysis, nullptr});
  signalStrength(trace);
  complexSpectrum(trace, selection);
  halvedTrace(trace);
  C2DTrace target(kWordRowsCode, trace.size(), trace.width());
  trace.correlogram(selection.from, selection.to, target, 3);
  trace.correlate(0, 1, target, 0);
  trace.fft(0, 0, target, nullptr);
  trace.peaklocal(0, &target, 0, nullptr, 0, 1.0);
  uint32_t first = 0, last = 0;
  trace.validrange(first, last);
  cutPedestal(trace, selection, analysis.parameters);
  cutPsdArtifacts(trace, selection);
  dpsHistogram(trace, selection);
  normaliseToSelection(trace, selection);
}

void use(ZZTrace& trace) {
  if (trace.size() == 0 || trace.size() > kMostRows || trace.data->width > 256) return;
  const uint32_t half = trace.size() / 2;
  for (const Selection selection : {Selection{0, 0}, Selection{half, trace.size()}, Selection{half, 1}}) {
    const ZZTrace::Own copy = trace.clone(selection.from, selection.to);
    useSamples(*copy, {});
    useSamples(trace, selection);
    if (auto* rows = dynamic_cast<C2DTrace*>(&trace)) useRows(*rows, selection);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  registerTraces();
  CTraceArray traces;
  {
    MemoryStream memory({data, data + size});
    Archive archive(memory, Archive::Direction::Loading);
    try {
      traces.serialize(archive);
    } catch (const ArchiveException&) {
    }
  }
  for (const auto& trace : traces.items) use(*trace);
  MemoryStream stored;
  Archive archive(stored, Archive::Direction::Storing);
  traces.serialize(archive);
  return 0;
}
