#include "traces/contours.h"

#include <algorithm>
#include <cmath>

#include "base/text.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr uint32_t kIndexedColour = 0x1000000;
constexpr double kKiloHertz = 0.001;

// Method and threshold come back however the work ends.
class KeptMethod {
 public:
  explicit KeptMethod(CbvAnalysis& kept)
      : analysis(kept), method(kept.parameters.cbvMethod), threshold(kept.threshold) {}
  ~KeptMethod() {
    analysis.parameters.cbvMethod = method;
    analysis.threshold = threshold;
  }
  KeptMethod(const KeptMethod&) = delete;
  KeptMethod& operator=(const KeptMethod&) = delete;

 private:
  CbvAnalysis& analysis;
  const int32_t method;
  const int32_t threshold;
};

void takeClock(ZZTrace& trace, const ZZTrace& from) {
  trace.circular = from.circular;
  trace.origin = from.origin;
  trace.starttime = from.starttime;
  trace.period = from.period;
  trace.pixelperiod = from.pixelperiod;
  trace.xunits = from.xunits;
  trace.slot = from.slot;
}

// Spectra that were scaled to fit their items carry the scale in ygain, and their extent is as much less.
double extentScale(const C2DTrace& spectrum) {
  return spectrum.yunits == "kHz" && spectrum.ygain > 0 ? spectrum.ygain / kKiloHertz : 1.0;
}

// What an item of two bytes counts for: one, unless the spectra reach beyond them.
double itemStep(const C2DTrace& spectrum) {
  constexpr double kHighest = 65535;
  double farthest = 0;
  for (uint32_t row = 0; row < spectrum.size(); ++row) farthest = std::max(farthest, spectrum.extent(row));
  const double step = farthest * extentScale(spectrum) / kHighest;
  return step > 1 && std::isfinite(step) ? step : 1.0;
}

ZZTrace::Own contour(const C2DTrace& spectrum, std::string name, uint32_t colourIndex) {
  auto trace = std::make_unique<CTrace>(kUint16Code, spectrum.size());
  if (!trace->data) return nullptr;
  takeClock(*trace, spectrum);
  trace->name = std::move(name);
  trace->yunits = "kHz";
  trace->ygain = kKiloHertz * itemStep(spectrum);
  trace->colour = colourIndex | kIndexedColour;
  return trace;
}

// For each selected row cbvfind(row) * extent / width, row meaning its shown values. The first value stands
// as it is, later ones pass the artifact check against the last accepted, as the target shows them. Row k of
// the selection gives sample k of the target, or, `aligned`, the sample of the row's own index. Samples that
// the target hasn't are left out. The target's scale takes in itemStep.
void reviewRows(const C2DTrace& spectrum, Selection selection, const ReviewSettings& review, ZZTrace& target,
                bool aligned, ZZTrace* spread = nullptr) {
  const RingSpan span = ringSpan(spectrum, selection);
  if (!hasRowData(spectrum) || !hasSamples(target) || span.count == 0) return;
  const uint16_t width = spectrum.width();
  RowBuffer buffer(width);
  if (!buffer.isReady()) return noteLowMemory();
  const double scale = extentScale(spectrum) / itemStep(spectrum);
  const ShownValues power(spectrum), shownResult(target);
  review.analysis->beginSignal();
  *review.run = {};
  double accepted = 0;
  for (uint32_t k = 0; k < span.count; ++k) {
    const uint32_t row = span.at(k);
    const std::span<double> bins = buffer.read(*spectrum.data, row);
    for (double& bin : bins) bin = power.of(bin);
    const double extent = spectrum.extent(row) * scale;
    double value = shiftOfBins(cbvfind(*review.analysis, bins), extent, width);
    double shown = shownResult.of(value);
    if (k == 0)
      accepted = shown;
    else
      artifactcheck(review.artifacts, accepted, shown, *review.run);
    if (shown != shownResult.of(value) && shownResult.hasItems()) value = shownResult.item(shown);
    const uint32_t index = aligned ? row : k;
    if (index < target.size()) target.data->putval(index, value);
    if (spread && index < spread->size())
      spread->data->putval(index, shiftOfBins(review.analysis->moment.spread, extent, width));
  }
}

}  // namespace

Outcome checkReviewTarget(const C2DTrace& spectrum, const ZZTrace& target) {
  if (dynamic_cast<const C2DTrace*>(&target) || hasRowData(target))
    return Outcome::failure("Cannot perform this operation on a Doppler spectrum trace.");
  if (target.period != spectrum.period) return Outcome::failure("Sample rates are not the same.");
  return Outcome::success();
}

namespace {

// gain: what a hertz counts for in the spectra's unit
ZZTrace::Own reviewedCbv(const C2DTrace& spectrum, Selection selection, const ReviewSettings& review,
                         double gain, ZZTrace::Own* spread) {
  const RingSpan span = ringSpan(spectrum, selection);
  if (!hasRowData(spectrum) || span.count == 0) return nullptr;
  auto cbv = std::make_unique<CTrace>(kUint16Code, span.count);
  if (!cbv->data) return nullptr;
  takeClock(*cbv, spectrum);
  cbv->circular = 0;
  cbv->origin = 0;
  cbv->setstarttime(spectrum.timeof(span.first));
  cbv->name = "CBV";
  cbv->yunits = spectrum.yunits;
  cbv->ygain = gain * itemStep(spectrum);
  if (spectrum.ygain != 0) cbv->xscale = spectrum.xscale / spectrum.ygain * gain;
  ZZTrace::Own beside;
  if (spread && review.analysis->parameters.cbvMethod == kFirstMoment && (beside = cbv->clone()))
    beside->name = "CBV spread";
  reviewRows(spectrum, selection, review, *cbv, false, beside.get());
  if (spread) *spread = std::move(beside);
  return cbv;
}

}  // namespace

ZZTrace::Own calculateCbv(const C2DTrace& spectrum, Selection selection, const ReviewSettings& review,
                          double dopplerscale, ZZTrace::Own* spread) {
  const bool isFrequency = spectrum.yunits == "kHz";
  return reviewedCbv(spectrum, selection, review, isFrequency ? kKiloHertz : dopplerscale, spread);
}

// Where both have the same time, row by row; else the rows that a sample of the target is for.
void recalculateCbv(const C2DTrace& spectrum, Selection selection, const ReviewSettings& review,
                    ZZTrace& target) {
  const RingSpan span = ringSpan(spectrum, selection);
  const ZZTrace::Own fresh =
      reviewedCbv(spectrum, selection, review, target.ygain / itemStep(spectrum), nullptr);
  if (!fresh || !hasSamples(target)) return;
  for (uint32_t k = 0; k < span.count; ++k) {
    const double time = spectrum.timeof(span.at(k)) + 0.5 * spectrum.period;
    const double age = std::floor((time - target.starttime * 0.001) / target.period);
    if (!(age >= 0 && age < target.size())) continue;
    const auto index = static_cast<uint32_t>((target.origin + static_cast<uint64_t>(age)) % target.size());
    target.data->putval(index, fresh->data->at(k));
  }
}

ZZTrace::Own signalStrength(const C2DTrace& spectrum) {
  constexpr const char* kSection = "PowerTrace";
  if (!hasRowData(spectrum)) return nullptr;
  auto power = std::make_unique<CTrace>(kFloatCode, spectrum.size());
  if (!power->data) return nullptr;
  takeClock(*power, spectrum);
  const auto component = [&](const char* key, int32_t missing) {
    return static_cast<uint32_t>(std::clamp(settings.getInt(kSection, key, missing), 0, 255));
  };
  power->name = settings.getString(kSection, "name", "Signal Strength");
  power->yunits = settings.getString(kSection, "units", "");
  power->colour = component("red", 255) | component("green", 0) << 8 | component("blue", 0) << 16;
  power->ygain = 0.001;
  power->xscale = 1.0;
  power->tracetype = kPowerTrace;
  RowBuffer buffer(spectrum.width());
  if (!buffer.isReady()) {
    noteLowMemory();
    return nullptr;
  }
  const ShownValues scale(spectrum);
  for (uint32_t row = 0; row < spectrum.size(); ++row) {
    double sum = 0;
    if (spectrum.extent(row) != 0)
      for (const double bin : buffer.read(*spectrum.data, row).subspan(1)) sum += scale.of(bin);
    power->data->putval(row, sum);
  }
  return power;
}

std::vector<ZZTrace::Own> powerContours(const C2DTrace& spectrum, Selection selection,
                                        const ReviewSettings& review) {
  constexpr int32_t kHighest = 95, kLowest = 50, kStep = 5;
  std::vector<ZZTrace::Own> contours;
  if (!hasRowData(spectrum)) return contours;
  const KeptMethod kept(*review.analysis);
  for (int32_t percent = kHighest; percent >= kLowest; percent -= kStep) {
    ZZTrace::Own trace =
        contour(spectrum, format("%0i%% contour", percent), static_cast<uint32_t>(contours.size()));
    if (!trace) break;
    review.analysis->parameters.cbvMethod = kPercentPower;
    review.analysis->threshold = percent;
    reviewRows(spectrum, selection, review, *trace, true);
    contours.push_back(std::move(trace));
  }
  return contours;
}

int32_t LevelContours::max() const {
  const int64_t level = min + int64_t{interval} * (std::clamp(tracenumber, 1, kMostTraces) - 1);
  return static_cast<int32_t>(std::clamp<int64_t>(level, INT32_MIN, INT32_MAX));
}

void LevelContours::readSettings() {
  const LevelContours defaults;
  min = settings.getInt("ContoursDlg", "min", defaults.min);
  interval = settings.getInt("ContoursDlg", "interval", defaults.interval);
  tracenumber = settings.getInt("ContoursDlg", "tracenumber", defaults.tracenumber);
}

void LevelContours::saveSettings() const {
  settings.setInt("ContoursDlg", "min", min);
  settings.setInt("ContoursDlg", "interval", interval);
  settings.setInt("ContoursDlg", "tracenumber", tracenumber);
}

std::vector<ZZTrace::Own> levelContours(const C2DTrace& spectrum, Selection selection,
                                        const ReviewSettings& review, const LevelContours& levels) {
  std::vector<ZZTrace::Own> contours;
  if (!hasRowData(spectrum)) return contours;
  const KeptMethod kept(*review.analysis);
  const int32_t count = std::clamp(levels.tracenumber, 0, LevelContours::kMostTraces);
  for (int32_t i = 0; i < count; ++i) {
    const int32_t level = LevelContours{levels.min, levels.interval, i + 1}.max();
    ZZTrace::Own trace =
        contour(spectrum, format("%3u contour", static_cast<uint32_t>(level)), static_cast<uint32_t>(i));
    if (!trace) break;
    review.analysis->parameters.cbvMethod = kMaxFrequency;
    review.analysis->threshold = level;
    reviewRows(spectrum, selection, review, *trace, true);
    contours.push_back(std::move(trace));
  }
  return contours;
}

}  // namespace tarnvisor
