// The demonstration's chart: a simulated pulse whose rate is known, as flow, as a Doppler signal and as its
// spectra.
#pragma once

#include <string>

#include "base/outcome.h"
#include "synth/doppler.h"

namespace tarnvisor {

class ZchartDoc;

// Saves the chart, bound to the selected exam, under this path. Its truth has been drawn then.
Outcome saveDemonstrationChart(const std::string& path, DopplerTruth& truth);

// Beats a minute; 0 where a trace is missing or too few beats are seen.
struct PulseRates {
  double ofMaxima = 0;   // from the maxima of the trace "flow"
  double ofSpectra = 0;  // the strongest rhythm of the velocity that is found in the trace "Doppler spectrum"
};
PulseRates findPulse(const ZchartDoc& chart);

}  // namespace tarnvisor
