#include "traces/derivedtraces.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "vectors/fft.h"

namespace tarnvisor {

namespace {

constexpr uint16_t kPsdBins = 256;
constexpr double kHighestItem = 65535;
// The strongest power of a weak signal takes fewer items than there are colours, and the others vanish.
constexpr double kWeak = 256;
// Beyond it extents and gains would be no numbers.
constexpr double kGreatestScale = 1e290;

double scaleToFit(double greatest) {
  const bool fits = greatest >= kWeak && greatest <= kHighestItem;
  return fits || greatest == 0 ? 1.0 : std::min(kHighestItem / greatest, kGreatestScale);
}

// Spectra of the shown values of all blocks: stored times `scale`, or, without a target, only looked at. The
// greatest power that is a number: samples near the end of the doubles have none.
double walkSpectra(const ZZTrace& source, C2DTrace* target, uint32_t rows, double scale, CFFT& fft) {
  std::vector<double> samples(kPsdSamples);
  RowBuffer power(kPsdBins);
  if (!power.isReady()) return 0;
  const RingSpan ring = ringSpan(source, {});
  double greatest = 0;
  for (uint32_t row = 0; row < rows; ++row) {
    const uint32_t start = ring.at(uint64_t{row} * kPsdSamples);
    const uint32_t part = std::min(kPsdSamples, ring.size - start);
    source.data->getcopy(samples.data(), start, part);
    if (part < kPsdSamples) source.data->getcopy(samples.data() + part, 0, kPsdSamples - part);
    for (double& sample : samples) sample = source.displayed(sample);
    fft.realpower(samples.data(), power.items().data());
    for (const double item : power.items())
      if (std::isfinite(item)) greatest = std::max(greatest, item);
    if (!target) continue;
    for (double& item : power.items()) item *= scale;
    power.write(*target->data, row);
  }
  return greatest;
}

ZZTrace::Own plainLike(const ZZTrace& scan, uint32_t count, const char* name, uint32_t colour) {
  auto trace = std::make_unique<CTrace>(kDoubleCode, count);
  if (!trace->data) return nullptr;
  trace->period = scan.period;
  trace->pixelperiod = scan.pixelperiod;
  trace->xunits = scan.xunits;
  trace->name = name;
  trace->colour = colour;
  return trace;
}

}  // namespace

ZZTrace::Own derivativeTrace(const ZZTrace& trace) {
  if (!hasSamples(trace)) return nullptr;
  auto made = std::make_unique<CTrace>(kDoubleCode, trace.size());
  if (!made->data) return nullptr;
  made->copyprops(trace);
  made->name = "dy/dx of " + trace.name;
  made->data->copyfrom(0, *trace.data, trace.size(), 0);
  // In time order, so that the oldest sample isn't taken for the successor of the newest.
  const uint32_t oldest = trace.origin % trace.size();
  made->data->rotate(oldest);
  made->data->derivative();
  made->yoffset = 0;  // of a constant nothing is left
  if (oldest > 0) made->data->rotate(trace.size() - oldest);
  return made;
}

std::unique_ptr<C2DTrace> calculatedPsd(const ZZTrace& source, const PsdView& view) {
  if (!hasSamples(source)) return nullptr;
  CFFT fft;
  const bool ready = fft.setup(kPsdBins);
  const uint32_t rows = ready ? source.size() / kPsdSamples : 0;
  auto psd = std::make_unique<C2DTrace>(kWordRowsCode, rows, kPsdBins);
  if (!psd->data) return nullptr;
  psd->palette.readSettings();
  psd->period = source.period * kPsdSamples;
  psd->pixelperiod = view.pixelperiod;
  psd->name = "Calculated PSD";
  psd->yunits = "kHz";
  psd->xunits = source.xunits;
  psd->xscale = view.displaymax * (0.5 / source.period) * 0.00390625;
  psd->slot = source.slot;
  psd->starttime = source.starttime;
  psd->ygain = 0.001;
  if (rows == 0) return psd;
  const double greatest = walkSpectra(source, nullptr, rows, 1.0, fft);
  const double scale = scaleToFit(greatest);
  psd->ygain /= scale;
  walkSpectra(source, psd.get(), rows, scale, fft);
  // Frequencies are shown through ygain too: what it gained by the scale the extent gives up.
  psd->rowvalues->fill(1 / (2 * source.period) * scale);
  psd->reachGreatestItem();
  return psd;
}

ComplexSpectrum complexSpectrum(const C2DTrace& scan, Selection selection) {
  constexpr uint32_t kRed = 0x0000FF, kGreen = 0x00FF00;
  constexpr uint16_t kBins = 64;
  ComplexSpectrum made;
  const RingSpan span = ringSpan(scan, selection);
  if (!hasRowData(scan) || span.count == 0) return made;
  // The scan's rows of the selection, the oldest first.
  const CdataVect::Own part = ZZTrace::extract(*scan.data, span.first, span.at(span.count));
  if (!part) return made;
  if (span.count == span.size) part->rotate(span.first);
  made.real = plainLike(scan, span.count, "real", kRed);
  if (!made.real) return made;
  part->dotcos(*made.real->data, 0, 0, 1.0);
  made.spectrum = std::make_unique<C2DTrace>(kWordRowsCode, span.count, kBins);
  if (!made.spectrum->data) {
    made.spectrum.reset();
    return made;
  }
  made.spectrum->palette.readSettings();
  made.spectrum->period = scan.period;
  made.spectrum->pixelperiod = scan.pixelperiod;
  made.spectrum->xunits = scan.xunits;
  made.spectrum->name = "FFT of real";
  made.spectrum->setdisplay(1000.0, 1.25, 10.0, 65535.0);
  made.spectrum->rowvalues->fill(kBins);
  made.spectrum->data->rowfft(0, 0, *made.real->data, nullptr);
  made.cbv = plainLike(scan, span.count, "cbv", kGreen);
  if (made.cbv) made.spectrum->centroid(0, 0, *made.cbv, false);
  return made;
}

}  // namespace tarnvisor
