#include "traces/smoothing.h"

#include <cmath>

namespace tarnvisor {

namespace {

void smoothRows(ZZTrace& trace, const RingSpan& span, double alpha) {
  for (uint32_t k = 0; k < span.count; ++k) trace.data->lowpassat(span.at(k), 1 / alpha);
}

// The limits of the check are of shown values.
void smoothSamples(std::span<double> samples, double alpha, const ArtifactSettings* artifacts,
                   const ShownValues& scale) {
  resetArtifactCount();
  double out = samples[0];
  double previous = scale.of(samples[0]);
  for (double& sample : samples.subspan(1)) {
    double shown = scale.of(sample);
    const bool passes = artifactcheck(artifacts, previous, shown);
    if (shown != scale.of(sample) && scale.hasItems()) sample = scale.item(shown);
    if (!passes) continue;
    // The formula would round what is to stay as it is.
    out = alpha == 1.0 ? sample : (sample - out) * alpha + out;
    sample = out;
  }
}

}  // namespace

double smoothingAlpha(double period, double seconds) {
  return seconds > 0 ? 1 - std::exp(-period / seconds) : 1.0;
}

void smooth(ZZTrace& trace, Selection selection, double alpha, const ArtifactSettings* artifacts) {
  const RingSpan span = ringSpan(trace, selection);
  if (span.count == 0) return;
  if (hasRowData(trace)) return smoothRows(trace, span, alpha);
  const CdataVect::Own samples = readSamples(trace, span);
  if (!samples) return;
  smoothSamples(doublesOf(*samples), alpha, artifacts, ShownValues(trace));
  writeSamples(trace, span, *samples);
}

}  // namespace tarnvisor
