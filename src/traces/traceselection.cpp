#include "traces/traceselection.h"

#include <algorithm>

namespace tarnvisor {

RingSpan ringSpan(const ZZTrace& trace, Selection selection) {
  const uint32_t size = trace.size();
  if (size == 0) return {};
  if (selection.from == selection.to) return {trace.origin % size, size, size};
  const uint32_t from = std::min(selection.from, size);
  const uint32_t to = std::min(selection.to, size);
  if (from == to) return {};  // both beyond the trace
  return {from % size, trace.rangecount(from, to), size};
}

std::span<double> doublesOf(CdataVect& samples) {
  return {static_cast<double*>(samples.dataat(0)), samples.size};
}

CdataVect::Own readSamples(const ZZTrace& trace, const RingSpan& span, uint32_t ahead) {
  const uint64_t wanted = uint64_t{span.count} + ahead;
  CdataVect::Own samples;
  if (wanted <= UINT32_MAX) samples = newVector(kDoubleCode, static_cast<uint32_t>(wanted));
  if (!samples) {
    noteLowMemory();
    return nullptr;
  }
  double* out = doublesOf(*samples).data();
  for (uint64_t done = 0; done < wanted;) {
    const uint32_t index = span.at(done);
    const auto part = static_cast<uint32_t>(std::min<uint64_t>(wanted - done, span.size - index));
    trace.data->getcopy(out + done, index, part);
    done += part;
  }
  return samples;
}

void writeSamples(ZZTrace& trace, const RingSpan& span, const CdataVect& samples) {
  const uint32_t tail = std::min(span.count, span.size - span.first);
  trace.data->copyfrom(span.first, samples, tail, 0);
  if (tail < span.count) trace.data->copyfrom(0, samples, span.count - tail, tail);
}

}  // namespace tarnvisor
