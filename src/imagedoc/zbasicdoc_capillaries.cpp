// Finding and counting capillaries, and the smaller finders beside it.
#include <algorithm>
#include <cstdlib>
#include <span>

#include "analysis/finder.h"
#include "analysis/minima.h"
#include "app/asked.h"
#include "app/processstate.h"
#include "base/text.h"
#include "framework/documenttype.h"
#include "host/host.h"
#include "image/palette.h"
#include "imagedoc/processing.h"
#include "imagedoc/texts.h"
#include "imagedoc/zbasicdoc.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr int32_t kPointType = 0;
constexpr int32_t kCircleType = 4;

// The finder works on grey; a colour or mosaic picture is made grey on the copy that it works on, and the
// notes of the document that shows what comes of it tell by which weights.
bool makeGrey(CZZimage& working, ZBasicDoc& document) {
  if (working.colourset == kColour)
    document.appendNotes("made grey by " + greyWeightsText(weightsOfImages()) + text::kLineEnd);
  return working.convertToGrey();
}

// A number kept as text under section "minima".
int32_t storedNumber(const char* key, const char* standard) {
  return static_cast<int32_t>(std::strtol(settings.getString("minima", key, standard).c_str(), nullptr, 10));
}

struct AskedNumber {
  const char* label;
  const char* key;
  const char* standard;
  double low;
  int32_t value = 0;
};

// Asks for the numbers one after the other. False for Cancel.
[[nodiscard]] bool askNumbers(const char* title, std::span<AskedNumber> numbers) {
  for (AskedNumber& n : numbers) {
    n.value = storedNumber(n.key, n.standard);
    Form form(title);
    form.add(n.label, n.value, {n.low, 1e9, {}});
    if (!tarnvisor::asked(form)) return false;
    settings.setString("minima", n.key, format("%i", n.value));
  }
  return true;
}

}  // namespace

// Of the words of a density (densityText).
std::string ZBasicDoc::unitOfResult(const std::string& quantity) const {
  if (quantity == "capillary density") return "per " + shownDensityUnit();
  if (quantity != "area") return {};
  return calibrated ? densityUnit(unitName()) : "megapixel";
}

void ZBasicDoc::reportDensity(int64_t count) {
  const std::string density = densityText(count, roiArea());
  if (density.empty()) return;
  resultText = density;
  countedList = currentlist;
  countedFrom = countingBasis(currentlist);
  appendNotes(resultText + ", " + countedWords() + roiText());
}

// A line that calibrated the image is no capillary.
bool ZBasicDoc::isCounted(const CDim& mark) const {
  return !mark.label.starts_with(text::kCalibrationLabel) && mark.Overlaps(roiOrWhole(), hasCircularRoi());
}

int32_t ZBasicDoc::capillariesIn(int32_t list) const {
  const auto& marks = dimlists[static_cast<size_t>(list)].items;
  return static_cast<int32_t>(
      std::ranges::count_if(marks, [&](const auto& mark) { return isCounted(*mark); }));
}

// Whoever reads a density sees that it is none of the skin.
std::string ZBasicDoc::shownDensityUnit() const {
  return calibrated ? densityUnit(unitName()) : "megapixel, not calibrated";
}

std::string ZBasicDoc::countedPer(const std::string& unit) const {
  if (resultText.empty() || countedList < 0) return {};
  const int32_t count = capillariesIn(countedList);
  const std::string kinds = kindsCounted(countedList);
  const bool areCircles = count == 0 || kinds == format("%i circle%s", count, count == 1 ? "" : "s");
  return format("%i counted in list %i%s, per %s", count, countedList,
                areCircles ? "" : (" (" + kinds + ")").c_str(), unit.c_str());
}

// What the result counts and is per, as stored; empty where it is no density of marks that are there.
std::string ZBasicDoc::countedWords() const { return countedPer(densityUnit(unitName())); }

std::string ZBasicDoc::resultLines() const {
  const std::string counted = countedPer(shownDensityUnit());
  return counted.empty() ? resultText : resultText + "\n" + counted;
}

std::vector<SideFact> ZBasicDoc::densityFacts() const {
  if (resultText.empty()) return {};
  if (countedList < 0) return {{"Result", resultText}};
  const std::string counted = kindsCounted(countedList);
  const double count = capillariesIn(countedList), area = roiArea();
  const bool isLength = calibrated && userunits == "um";
  std::vector<SideFact> all{
      {"Counted", counted.empty() ? "nothing" : counted},
      {"Density", format("%.2f per %s", count * 1e6 / area, shownDensityUnit().c_str()), !calibrated},
      {"Area", isLength ? format("%.3f mm²", area * 1e-6) : format("%.0f %s²", area, unitName().c_str())}};
  if (countedList == currentlist && isReviewed()) all.push_back({"Reviewed", reviewWords()});
  if (isLength) {
    const double width = roiOrWhole().width() * scale().x * 1e-3;
    all.push_back({"Per mm of width", format("%.2f", count / width)});
  }
  return all;
}

std::string ZBasicDoc::densityOf(int32_t list) const { return densityText(capillariesIn(list), roiArea()); }

// Not where the image lies: that of a video is another for each image shown.
std::string ZBasicDoc::countingBasis(int32_t list) const {
  const Scale s = scale();
  std::string words = roiText() + format("%d %g %g", hasCircularRoi() ? 1 : 0, s.x, s.y);
  for (const auto& mark : dimlists[static_cast<size_t>(list)].items) {
    words += '\n';
    for (const Point p : mark->points) words += format("%i,%i ", p.x, p.y);
  }
  return words;
}

// What moved with all else, or beside the region, leaves the density what it was.
void ZBasicDoc::dropStaleResult() {
  followLoops();
  if (resultText.empty() || countedList < 0 || !hasImage()) return;
  if (countingBasis(countedList) != countedFrom && densityOf(countedList) != resultText) forgetResult();
}

void ZBasicDoc::forgetResult() {
  if (countedList >= 0) countedBefore = countedList;
  resultText.clear();
  countedList = -1;
  countedFrom.clear();
}

void ZBasicDoc::recogniseResult() {
  countedList = countedBefore = -1;
  if (resultText.empty() || !hasImage()) return;
  // What corrects marks, or finds them again, means those that the result tells of.
  if (tellsLoops() && !dimlists[kNailfoldList].items.empty()) setCurrentList(kNailfoldList);
  for (int32_t list = kListCount - 1; list >= 0; --list)
    if (densityOf(list) == resultText) countedList = list;
  if (countedList >= 0) countedFrom = countingBasis(countedList);
  // Somebody who looks is shown the marks that were counted; a script's first list is the one it names so.
  if (!isUnattended() && countedList >= 0 && currentDims().items.empty()) setCurrentList(countedList);
}

std::string ZBasicDoc::finderLimits() const {
  const Rect area = theImage()->clipToImage(roi);
  std::string words;
  for (const int32_t window : windowsTooLarge(finderParameters, {area.width(), area.height()}))
    words += format("%s its %s step (window %i)", words.empty() ? "finder without" : ",",
                    window > 0 ? "background" : "smoothing", window);
  return words.empty() ? words : words + ": too large for the region of " + regionSize();
}

// What is found in the corners of a circular ROI's rectangle lies outside and is no mark.
void ZBasicDoc::markFound(CZZimage& working, const Rect& rect) {
  if (const std::string limits = finderLimits(); !limits.empty()) appendNotes(limits + text::kLineEnd);
  const Rect area = roiOrWhole();
  for (const CapillaryRegion& region :
       findcaps(working, rect, finderParameters, readApexSettings()).regions) {
    // A field's pixels count twice, so that area and circle are the frame's.
    const double cy = region.cy * frameRow(1);
    const auto [first, second] = capillaryCircle(static_cast<double>(region.area), region.cx, cy);
    const int32_t index = addDimension(first, kCircleType);
    addPointToDimension(index, second);
    if (!currentDims().at(index).Overlaps(area, hasCircularRoi())) currentDims().remove(index);
  }
}

void ZBasicDoc::runFinder(CZZimage& working, const Rect& rect) {
  markFound(working, rect);
  reportDensity(capillariesIn(currentlist));
}

bool ZBasicDoc::copyForFinder(CZZimage& working) {
  return working.copyImage(*theImage()) && makeGrey(working, *this);
}

bool ZBasicDoc::countCapillaries() {
  if (!hasImage()) return false;
  const WaitScope wait;
  const Rect area = roiOrWhole();
  if (area.isEmpty()) {
    report("The region lies outside the image: there is nothing to count in.");
    return false;
  }
  if (marksRowOfLoops()) {
    report(
        "This list holds a row of nailfold loops and its curve, which are no capillaries of a field: switch to another list.");
    return false;
  }
  const int32_t marked = capillariesIn(currentlist);
  {
    const Change change(*this);
    if (CZZimage working; marked > 0) {
      reportDensity(marked);
    } else if (copyForFinder(working)) {
      rejected[static_cast<size_t>(currentlist)].removeAll();
      runFinder(working, roi);
    } else {
      report("There is not enough memory.");
      return false;
    }
    setModified();
  }
  updateAllViews(CView::Change::Marks);
  return true;
}

void ZBasicDoc::findCapillaries() {
  if (!marksRowOfLoops()) capillariesIn(currentlist) == 0 ? tellFinderLimits() : offerToLeaveOut();
  if (countCapillaries()) host().messages.show(resultLines());
}

void ZBasicDoc::tellFinderLimits() const {
  if (const std::string limits = finderLimits(); !limits.empty()) host().messages.show("The " + limits + ".");
}

// Closes a window of a command that could not be carried out.
void ZBasicDoc::discard() {
  report("There is not enough memory.");
  type()->discard(*this);
}

void ZBasicDoc::thresholdCapillaries() {
  tellFinderLimits();
  ZBasicDoc* copy = duplicate("-threshold");
  if (!copy) return;
  if (!makeGrey(*copy->theImage(), *copy)) return copy->discard();
  const WaitScope wait;
  copy->currentDims().removeAll();  // what is found is counted, not what was marked before
  copy->runFinder(*copy->theImage(), roi);
  copy->imagedirty = 1;
  copy->setModified();
  copy->updateAllViews();
}

void ZBasicDoc::thresholdPreprocessCheck() {
  tellFinderLimits();
  ZBasicDoc* copy = duplicate("-preprocess");
  if (!copy) return;
  if (!makeGrey(*copy->theImage(), *copy)) return copy->discard();
  const WaitScope wait;
  copy->roi = roi;
  copy->roicircle = roicircle;
  if (const std::string limits = copy->finderLimits(); !limits.empty())
    copy->appendNotes(limits + text::kLineEnd);
  // The apex filter of this road is the command's: it leaves an undo copy and its words.
  copy->roiChild()->stretch({});
  windowChain(*copy->roiChild(), finderParameters);
  copy->roiChild()->stretch({});
  copy->apexFilterCommand();
  copy->roiChild()->stretch({});
  copy->setModified();
  copy->updateAllViews();
}

// The windows as lengths where there is a scale, and what of them does not fit.
std::string ZBasicDoc::windowSizes(const FinderParameters& parameters) const {
  std::string words;
  for (const int32_t window : {parameters.uw1, parameters.uw2, parameters.w3, parameters.w4}) {
    if (window == 0) continue;
    words += format("%s%i", words.empty() ? "" : ", ", window);
    words += calibrated ? format(" (%.3g %s)", std::abs(window) * scale().x, userunits.c_str()) : " pixels";
  }
  if (!hasImage()) return words;
  const Rect area = theImage()->clipToImage(roi);
  for (const int32_t window : windowsTooLarge(parameters, {area.width(), area.height()}))
    words += format("\n%i is too large for the region of %s", window, regionSize().c_str());
  return words;
}

void ZBasicDoc::processing() {
  FinderParameters edited = finderParameters;
  Form form("Processing");
  form.addNote(
      "enter negative window size for lowpass (smoothing), and positive window size for highpasss (sharpen) or  zero for no filter.");
  form.add("window 1", edited.uw1)
      .withUnit("pixels")
      .add("window 2", edited.uw2)
      .withUnit("pixels")
      .add("window 3", edited.w3)
      .withUnit("pixels")
      .add("window 4", edited.w4)
      .withUnit("pixels");
  const auto sizes = [this, &edited] { return windowSizes(edited); };
  std::string shown = sizes();
  form.addReading("window sizes", shown).setOnChange([&] { shown = sizes(); });
  form.add("maximum capillary area (pixels)", edited.umax, {0, 1e9, {}});
  form.add("minimum capillary area (pixels)", edited.umin, {0, 1e9, {}});
  if (!host().forms.run(form)) return;
  if (edited.umin >= edited.umax)
    return report(format("Areas from %i to %i pixels are none: the smallest must be below the largest.",
                         edited.umin, edited.umax));
  finderParameters = edited;
  writeProcessingSettings();
  if (hasImage() && !isUnattended()) tellFinderLimits();
}

void ZBasicDoc::apexFilterCommand() {
  if (roiChild()->empty()) return;
  const ApexParameters parameters = readApexSettings();
  if (apexKernel(parameters).empty())
    return tellNotDone("filter apex", format("there is no kernel of size %i", parameters.apexw));
  runStep("filter apex ", StepArea::Roi, [parameters](CZZimage& area) { apexFilter(area, parameters); });
}

void ZBasicDoc::find8Regions() {
  ZBasicDoc* copy = duplicate("-8region");
  if (!copy) return;
  const WaitScope wait;
  if (!regionsByLevel(*theImage(), *copy->theImage())) return copy->discard();
  copy->appendNotes("find 8 regions\r\n");
  copy->setModified();
  copy->updateAllViews();
}

template <class Points>
void ZBasicDoc::addMinima(const Points& points, bool labelled) {
  const Rect whole = theImage()->frameRect();
  const Point corner = (roi.isEmpty() ? whole : roi.intersected(whole)).topLeft();
  for (const MinimumPoint& point : points) {
    const Point at = Point{point.x, frameRow(point.y)} + corner;
    if (!roi.isEmpty() && !isInRoi(at)) continue;
    CDim& mark = currentDims().at(addDimension(at, kPointType));
    if (labelled) mark.label = format("%i", point.value);
  }
}

void ZBasicDoc::minimaWithinWindow() {
  if (roiChild()->empty()) return;
  AskedNumber asked[] = {{"threshold", "threshold", "128", 0},
                         {"window width", "width", "50", 0},
                         {"window height", "height", "50", 0}};
  if (!askNumbers("find minima within window", asked)) return;
  const WaitScope wait;
  const Change change(*this);
  currentDims().removeAll();
  const auto points = minimaInWindow(*roiChild(), asked[0].value, asked[1].value, asked[2].value);
  addMinima(points, false);
  setModified();
  if (hasDimensions())
    appendNotes(format(" found %li minima. w=%i h=%i, t=%i", static_cast<long>(currentDims().size()),
                       asked[1].value, asked[2].value, asked[0].value) +
                roiText());
  updateAllViews();
}

void ZBasicDoc::minimaWithinTolerance() {
  if (roiChild()->empty()) return;
  AskedNumber asked[] = {{"threshold", "threshold", "128", 0}, {"tolerance", "tolerance", "50", 0}};
  if (!askNumbers("find minima within tolerance", asked)) return;
  const WaitScope wait;
  const Change change(*this);
  currentDims().removeAll();
  const auto points = minimaInTolerance(*roiChild(), asked[0].value, asked[1].value);
  addMinima(points, true);
  setModified();
  appendNotes(format(" found %li minima. t=%i, tol=%i", static_cast<long>(currentDims().size()),
                     asked[0].value, asked[1].value) +
              roiText());
  updateAllViews();
}

void ZBasicDoc::walkToMinima() {
  Point start;
  const auto ask = [](const char* label, int32_t& value, int32_t end) {
    Form form("Walk to minima");
    form.add(label, value, {0, end - 1.0, {}});
    return tarnvisor::asked(form);
  };
  if (!ask("start at x=", start.x, theImage()->width) || !ask("start at y=", start.y, theImage()->height))
    return;
  ZBasicDoc* copy = duplicate("-walk2min");
  if (!copy) return;
  const WaitScope wait;
  copy->theImage()->xOrigin = copy->theImage()->yOrigin = 0;
  const DownhillWalk walk = tarnvisor::walkToMinima(*theImage(), *copy->theImage(), start);
  copy->appendNotes(format("walk2minima8 from (%i,%i) took %i steps\r\n", start.x, start.y, walk.steps));
  copy->setModified();
  copy->updateAllViews();
}

}  // namespace tarnvisor
