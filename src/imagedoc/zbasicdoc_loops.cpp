// The distal row of nailfold loops: found, counted from its marks, told in tables and a chart.
#include <algorithm>
#include <array>
#include <cmath>

#include "analysis/finder.h"
#include "app/asked.h"
#include "base/text.h"
#include "charts/livechartdoc.h"
#include "host/host.h"
#include "imagedoc/loopmarks.h"
#include "imagedoc/resulttables.h"
#include "imagedoc/texts.h"
#include "imagedoc/zbasicdoc.h"
#include "results/resultdoc.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr const char* kFound = "Nailfold loops: ";
constexpr const char* kRefused = "Nailfold loops refused: ";
constexpr double kUnequalPixels = 0.02;  // wide to high, beyond which lengths would depend on the direction

// A measure of each loop that a chart can show, and how wide its bars are.
struct LoopMeasure {
  const char* name;
  const char* unit;
  double bar;
  double (*of)(const NailfoldLoop& loop);
};
constexpr LoopMeasure kMeasures[] = {
    {"apex width", "um", 5, [](const NailfoldLoop& loop) { return loop.apexWidth; }},
    {"limb width", "um", 2, [](const NailfoldLoop& loop) { return loop.limbWidths[0]; }},
    {"other limb's width", "um", 2, [](const NailfoldLoop& loop) { return loop.limbWidths[1]; }},
    {"length", "um", 25, [](const NailfoldLoop& loop) { return loop.length; }},
    {"tortuosity", "", 0.05, [](const NailfoldLoop& loop) { return loop.tortuosity; }},
    {"distance to the next loop", "um", 25, [](const NailfoldLoop& loop) { return loop.neighbour; }},
};
constexpr size_t kMostBars = 1000;

// How many loops lie in each bar; those of which it can't be told in none.
std::vector<double> barsOf(const std::vector<NailfoldLoop>& loops, const LoopMeasure& measure) {
  std::vector<double> bars;
  for (const NailfoldLoop& loop : loops) {
    const double value = measure.of(loop);
    if (value < 0) continue;
    const size_t bar = std::min(static_cast<size_t>(value / measure.bar), kMostBars - 1);
    bars.resize(std::max(bars.size(), bar + 2));
    ++bars[bar];
  }
  return bars;
}

LoopRequest requestFor(const LoopScale& scale, int32_t side) {
  static constexpr LoopPoint kTowards[] = {{0, -1}, {1, 0}, {0, 1}, {-1, 0}};
  LoopRequest request{.pixelSize = scale.x};
  if (side > 0 && static_cast<size_t>(side) <= std::size(kTowards))
    request.distal = kTowards[static_cast<size_t>(side) - 1];
  return request;
}

}  // namespace

LoopScale ZBasicDoc::loopScale() const {
  const double unit = micrometresIn(userunits);
  return hasScale() && unit > 0 ? LoopScale{magx * unit, magy * unit} : LoopScale{};
}

int32_t ZBasicDoc::sideOfNail() { return settings.getInt("loops", "nail", 0); }
void ZBasicDoc::setSideOfNail(int32_t side) { settings.setInt("loops", "nail", side); }

std::string ZBasicDoc::objectionToLoops() const {
  if (!hasImage()) return "There is no image to find loops in.";
  if (theImage()->colourset != kColour)
    return "Finding nailfold loops needs a colour image: blood is told from shadow by its colour.";
  const LoopScale scale = loopScale();
  if (!scale.isKnown())
    return "Finding nailfold loops needs a scale in um or mm: choose a magnification or calibrate the image.";
  if (theImage()->isField() || std::abs(scale.x / scale.y - 1) > kUnequalPixels)
    return "Finding nailfold loops needs pixels that are as wide as high.";
  return {};
}

NailfoldLoops ZBasicDoc::loopsInRegion() {
  return findLoops(*roiChild(), requestFor(loopScale(), sideOfNail()));
}

void ZBasicDoc::findNailfoldLoops() { findLoopsAnew(false); }

void ZBasicDoc::findLoopsAnew(bool keepsRejected) {
  if (const std::string why = objectionToLoops(); !why.empty()) return report(why);
  if (roiOrWhole().isEmpty())
    return report("The region lies outside the image: there is nothing to find in.");
  {
    const WaitScope wait;
    const Change change(*this);
    if (!keepsRejected) rejected[kNailfoldList].removeAll();
    takeLoops(loopsInRegion());
  }
  updateAllViews();
  host().messages.show(resultText);
}

void ZBasicDoc::takeLoops(NailfoldLoops found) {
  static constexpr const char* kSides[] = {"top", "right", "bottom", "left"};
  if (const int32_t side = sideOfNail(); found.verdict != LoopVerdict::Refused && side >= 1 && side <= 4)
    found.reasons.push_back(format("nail at the %s, set by hand", kSides[side - 1]));
  forgetResult();
  CDimList& list = dimlists[kNailfoldList];
  putLoopMarks(list, found, loopScale().x, cornerOfRegion(), rejected[kNailfoldList]);
  list.hidden = false;
  setCurrentList(kNailfoldList);
  if (found.verdict == LoopVerdict::Refused) {
    resultText = kRefused;
    for (const std::string& why : found.reasons) resultText += why;
  } else {
    resultText = kFound;
    followLoops();
  }
  appendNotes(resultText + roiText());
  setModified();
}

bool ZBasicDoc::tellsLoops() const {
  return resultText.starts_with(kFound) || resultText.starts_with(kRefused);
}

std::string ZBasicDoc::judgementOfResult() const {
  if (resultText.starts_with(kRefused))
    return "refused: " + resultText.substr(std::string_view(kRefused).size());
  return resultText.starts_with(kFound) ? loopMarksOf(dimlists[kNailfoldList]).verdict : std::string();
}

// A refusal holds until somebody draws a row.
void ZBasicDoc::followLoops() {
  if (!tellsLoops()) return;
  const LoopMarks marks = loopMarksOf(dimlists[kNailfoldList]);
  if (const auto counted = countOf(marks, loopScale()))
    resultText = kFound + wordsOf(marks, *counted);
  else if (!resultText.starts_with(kRefused))
    resultText = std::string(kFound) + "none without a row, which is a polyline in list 3, and a scale";
}

std::string ZBasicDoc::loopDensityText() const {
  if (!tellsLoops()) return {};
  const auto counted = countOf(loopMarksOf(dimlists[kNailfoldList]), loopScale());
  return counted ? format("loops=%zu, %.1f/mm", counted->loops, counted->perMm) : "loops=?";
}

std::vector<NailfoldLoop> ZBasicDoc::measuresOfLoops() {
  constexpr double kSameApex = 2;  // pixels; marks have whole ones
  const LoopScale scale = loopScale();
  const LoopMarks marks = loopMarksOf(dimlists[kNailfoldList]);
  const std::vector<double> neighbours = neighboursOf(marks, scale);
  const NailfoldLoops found = objectionToLoops().empty() ? loopsInRegion() : NailfoldLoops{};
  const Point corner = cornerOfRegion();
  std::vector<NailfoldLoop> loops;
  for (size_t i = 0; i < marks.loops.size(); ++i) {
    const Point apex = marks.loops[i].apex;
    const auto same = std::ranges::find_if(found.loops, [&](const NailfoldLoop& loop) {
      return std::hypot(loop.apex.x + corner.x - apex.x, loop.apex.y + corner.y - apex.y) < kSameApex;
    });
    loops.push_back(same == found.loops.end() ? NailfoldLoop{} : *same);
    loops.back().neighbour = neighbours[i];
  }
  return loops;
}

void ZBasicDoc::addLoopsToResults() {
  followLoops();
  const WaitScope wait;
  const LoopMarks marks = loopMarksOf(dimlists[kNailfoldList]);
  const auto counted = countOf(marks, loopScale());
  const bool refused = resultText.starts_with(kRefused);
  if (!counted && !refused)
    return report(
        "There is no row of loops: find it, or draw it in list 3 as a polyline with a point at each apex.");
  const std::vector<NailfoldLoop> loops = counted ? measuresOfLoops() : std::vector<NailfoldLoop>{};
  double widest = -1;
  for (const NailfoldLoop& loop : loops) widest = std::max(widest, loop.apexWidth);
  const LoopCount none{.rowLength = -1, .avascularShare = -0.01};
  const LoopCount& told = counted ? *counted : none;
  const auto numberOf = [&](size_t count) { return counted ? static_cast<double>(count) : -1.0; };
  for (size_t i = 0; i < loops.size(); ++i)
    addResultRow(kLoopMeasureResults,
                 recordOf(kLoopMeasureResults, title(), nameOf(marks.loops[i].kind),
                          {{"loop", static_cast<double>(marks.loops[i].number)},
                           {"x", static_cast<double>(marks.loops[i].apex.x)},
                           {"y", static_cast<double>(marks.loops[i].apex.y)},
                           {"apex width", loops[i].apexWidth},
                           {"limb width", loops[i].limbWidths[0]},
                           {"other limb", loops[i].limbWidths[1]},
                           {"length", loops[i].length},
                           {"tortuosity", loops[i].tortuosity},
                           {"to next", loops[i].neighbour}}),
                 this);
  // Last, so that a script exports this table.
  addResultRow(
      kLoopResults,
      recordOf(kLoopResults, title(), counted ? marks.verdict.substr(0, marks.verdict.find(" (")) : "refused",
               {{"row mm", told.rowLength},
                {"loops", numberOf(marks.loops.size())},
                {"clear", numberOf(marks.clear())},
                {"per mm", told.perMm},
                {"+- per mm", told.perMmError},
                {"central per mm", told.centralPerMm},
                {"giant", numberOf(marks.giant())},
                {"widest apex um", widest},
                {"avascular %", 100 * told.avascularShare}}),
      this);
}

void ZBasicDoc::chartLoopMeasures() {
  std::vector<std::string> names;
  for (const LoopMeasure& measure : kMeasures) names.emplace_back(measure.name);
  int32_t chosen =
      std::clamp<int32_t>(settings.getInt("loops", "chart", 0), 0, static_cast<int32_t>(names.size()) - 1);
  Form form("Chart of loop measures");
  form.addChoice("Measure", chosen, names);
  if (!asked(form)) return;
  settings.setInt("loops", "chart", chosen);
  const LoopMeasure& measure = kMeasures[chosen];
  const std::vector<double> bars = barsOf(measuresOfLoops(), measure);
  if (bars.empty()) return report(format("There is no loop whose %s can be told.", measure.name));
  ZliveChartDoc* chart = showLiveChart("Loop measures");
  if (!chart) return;
  auto size = static_cast<uint32_t>(bars.size());
  CdataVect* series = chart->setseries(viewOf(*chart), size, measure.bar, measure.unit,
                                       title() + ", " + measure.name, kFloatCode, "loops");
  if (!series) return;
  for (uint32_t i = 0; i < size; ++i) series->putval(i, bars[i]);
  chart->updateAllViews();
}

}  // namespace tarnvisor
