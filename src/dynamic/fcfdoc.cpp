#include "dynamic/fcfdoc.h"

#include <array>
#include <cmath>

#include "app/asked.h"
#include "base/text.h"
#include "dynamic/commandids.h"
#include "dynamic/resulttables.h"
#include "dynamic/texts.h"
#include "imagedoc/texts.h"
#include "results/resultdoc.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {
constexpr const char* kFiguresBegin = "FCD ";
}  // namespace

const CommandTableBase& fcfdoc::commandTable() {
  using D = fcfdoc;
  static const CommandTable<D> table(
      {
          {cmd::RecalculateFcf,
           "&Recalculate",
           &D::recalculate,
           &D::hasMaps,
           {.tip = "Recalculate FCF and FCD",
            .status = "Sets threshold and gain, and computes FCF and FCD anew.",
            .icon = "flow"}},
          {cmd::ViewFcf,
           "FCF",
           &D::view<kFcf>,
           &D::hasMaps,
           &D::isShown<kFcf>,
           {.tip = "Show FCF", .status = "Shows flux over conc where the threshold tells of a vessel."}},
          {cmd::ViewConc,
           "CONC",
           &D::view<kConc>,
           &D::hasMaps,
           &D::isShown<kConc>,
           {.tip = "Show CONC", .status = "Shows how much the grey level varies."}},
          {cmd::ViewFlux,
           "FLUX",
           &D::view<kFlux>,
           &D::hasMaps,
           &D::isShown<kFlux>,
           {.tip = "Show FLUX", .status = "Shows how much the grey level changes from image to image."}},
          {cmd::ViewMask,
           "MASK",
           &D::view<kMask>,
           &D::hasMaskMap,
           &D::isShown<kMask>,
           {.tip = "Show MASK", .status = "Shows the changes that all neighbours of a pixel share."}},
          {cmd::UseConcThreshold,
           "Use CONC threshold",
           &D::useConcThreshold,
           &D::hasMaps,
           &D::testsConc,
           {.tip = "Threshold of CONC", .status = "Takes as vessel what varies by the threshold."}},
          {cmd::UseMaskThreshold,
           "Use MASK threshold",
           &D::useMaskThreshold,
           &D::hasMaskMap,
           &D::testsMask,
           {.tip = "Threshold of MASK",
            .status = "Takes as vessel what changes by the threshold with all its neighbours."}},
          {cmd::FcfThresholdUp,
           "threshold &up",
           &D::thresholdUp,
           &D::hasMaps,
           {.tip = "Higher threshold", .status = "Raises the threshold by 0.2.", .keys = "Ctrl+Up"}},
          {cmd::FcfThresholdDown,
           "threshold &down",
           &D::thresholdDown,
           &D::hasMaps,
           {.tip = "Lower threshold", .status = "Lowers the threshold by 0.2.", .keys = "Ctrl+Down"}},
          {cmd::AddFcdRow,
           "Add FCD to re&sults",
           &D::writeFcdRow,
           &D::hasMaps,
           {.tip = "Add to results",
            .status = "Adds FCF and FCD of the region to the results of functional capillary flow."}},
      },
      &ZBasicDoc::commandTable(),
      {{&D::hasMaps, "The maps have not been calculated."}, {&D::hasMaskMap, "The maps have no mask."}});
  return table;
}

const char* fcfdoc::nameOf(Map map) {
  static constexpr const char* kNames[kMapCount] = {"FCF", "FLUX", "CONC", "MASK"};
  return kNames[map];
}

const char* fcfdoc::unitOf(Map map) {
  static constexpr const char* kUnits[kMapCount] = {"1/frame", "grey levels/frame", "grey levels",
                                                    "grey levels/frame"};
  return kUnits[map];
}

const std::vector<double>& fcfdoc::mapOf(Map map) const {
  return map == kFlux ? maps.flux : map == kConc ? maps.conc : map == kMask ? maps.mask : fcf;
}

Rect fcfdoc::measuredPlaces() const {
  const Point origin = imageOrigin();
  return roiOrWhole().offsetBy(-origin.x, -origin.y);
}

bool fcfdoc::takeMaps(FlowMaps made, Point origin, const Rect& shared) {
  maps = std::move(made);
  if (!makePicture(origin)) {
    maps = {};
    return false;
  }
  setRoi(shared);
  recomputeFcf();
  return true;
}

void fcfdoc::recomputeFcf() {
  if (!hasMaps() || !hasImage()) return;
  applyThreshold();
  tellFigures();
  setModified();
}

void fcfdoc::applyThreshold() {
  if (!hasMaskMap()) useConc = 1;
  if (autoThreshold) findThreshold();
  computeFcf(maps, useConc != 0, threshold, fcf);
  counted.known = false;
  show(kFcf);
}

double fcfdoc::automaticGain(const std::vector<double>& map) const {
  const double greatest = greatestOf(map, maps, measuredPlaces());
  return greatest > 0 ? 255.0 / greatest : 0.0;
}

// As far above the peak of the tested map's histogram as its lower end lies below it.
void fcfdoc::findThreshold() {
  const std::vector<double>& tested = testedMap(maps, useConc != 0);
  const double scale = automaticGain(tested);
  if (!(scale > 0)) return;
  showMap(tested, scale, *image);
  std::array<uint32_t, 256> counts{};
  image->countLevels(measuredPlaces().intersected(maps.whole()), counts);
  const HistogramLevels levels = histogramLevels(counts, 200);
  threshold = (2 * levels.peak - levels.low) / scale;
}

void fcfdoc::show(Map wanted) {
  const std::vector<double>& map = mapOf(wanted);
  if (map.empty() || !hasImage()) return;
  if (const double found = autoGain ? automaticGain(map) : 0.0; found > 0) gain = found;
  showMap(map, gain, *image);
  viewShown = wanted;
  updateAllViews();
}

double fcfdoc::shownValueAt(Point at) const {
  const std::vector<double>& map = mapOf(viewShown);
  const Point place = at - imageOrigin();
  if (map.empty() || !maps.whole().contains(place)) return 0.0;
  return map[static_cast<size_t>(place.y) * static_cast<size_t>(maps.width) + static_cast<size_t>(place.x)];
}

// --- figures

const FlowFigures& fcfdoc::figures() const {
  const Rect places = measuredPlaces();
  if (!counted.known || counted.places != places)
    counted = {places, true, flowFigures(maps, fcf, threshold, places)};
  return counted.figures;
}

void fcfdoc::writeFcdRow() {
  const Rect area = roiOrWhole();
  const Scale s = scale();
  const double wide = area.width() * s.x, high = area.height() * s.y;
  const FlowFigures& f = figures();
  addResultRow(kFlowResults,
               recordOf(kFlowResults, title(), unitName(),
                        {{"width", wide},
                         {"height", high},
                         {"area", wide * high},
                         {"FCF", f.fcf},
                         {"FCD (%)", f.fcd},
                         {"flux", f.flux},
                         {"conc", f.conc},
                         {"threshold", threshold},
                         {"rms av.", f.mask},
                         {"rms area", f.maskArea}}),
               this);
}

std::string fcfdoc::figuresText() const {
  const Rect area = roiOrWhole();
  const FlowFigures& f = figures();
  return kFiguresBegin + format("%.3f %%, FCF %.3f 1/frame in %i,%i,%i,%i by %s threshold %g, gain %g", f.fcd,
                                f.fcf, area.left, area.top, area.right, area.bottom,
                                useConc ? "CONC" : "MASK", threshold, gain);
}

// The notes hold the last figures alone: steps of the threshold would bury what else is told there. A density
// that was counted on the map is another result, and its words stay.
void fcfdoc::tellFigures() {
  const std::string before = resultText + text::kLineEnd;
  const size_t at = tellsFigures() ? notes.rfind(before) : std::string::npos;
  if (at != std::string::npos) notes.erase(at, before.size());
  resultText = figuresText();
  countedList = -1;
  appendNotes(resultText + text::kLineEnd);
}

bool fcfdoc::tellsFigures() const { return resultText.starts_with(kFiguresBegin); }

StepResult fcfdoc::tell(const std::string& what) {
  if (what != "status" || !hasMaps()) return ZBasicDoc::tell(what);
  return {true,
          {},
          {},
          statusText() + format("map %s %s\ngain %g\n", nameOf(viewShown), unitOf(viewShown), gain) +
              figuresText() + "\n"};
}

std::string fcfdoc::judgementOfResult() const {
  for (const char* told : {text::kNotCorrected, text::kPartlyUncorrected})
    if (notes.find(told) != std::string::npos)
      return "low: its images were not all corrected for movement, and what moved counts as flow";
  return ZBasicDoc::judgementOfResult();
}

// --- commands

void fcfdoc::runStep(const std::string&, StepArea, const std::function<void(CZZimage&)>&) {
  report(text::kMapsStay);
}

// Of this map alone: where others begin is chosen in the form. Below 0 there is none; what many steps down
// leave of it is 0, too.
void fcfdoc::stepThreshold(double by) {
  constexpr double kLeast = 1e-9;
  const double wanted = threshold + by < kLeast ? 0.0 : threshold + by;
  if (wanted == threshold) return;
  threshold = wanted;
  autoThreshold = 0;
  recomputeFcf();
}

void fcfdoc::test(bool byConc) {
  useConc = byConc ? 1 : 0;
  recomputeFcf();
}

void fcfdoc::recalculate() {
  double wanted = threshold, wantedGain = gain;
  int32_t findsThreshold = autoThreshold, findsGain = autoGain;
  Form form("Functional Capillary Flow");
  form.add(text::kThresholdLabel, wanted, {0, 1e6, {}})
      .add(text::kGainLabel, wantedGain, {1e-6, 1e9, {}})
      .addCheck("Auto threshold", findsThreshold)
      .addCheck("Auto Gain", findsGain);
  if (!asked(form)) return;
  threshold = wanted;
  gain = wantedGain;
  autoThreshold = findsThreshold != 0;
  autoGain = findsGain != 0;
  settings.setDouble("fcf", "threshold", threshold);
  settings.setDouble("fcf", "gain", gain);
  recomputeFcf();
}

}  // namespace tarnvisor
