// Commands that scan lines through a video, and measure the velocity along them.
#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <regex>

#include "analysis/width.h"
#include "app/asked.h"
#include "base/parallel.h"
#include "base/text.h"
#include "dynamic/texts.h"
#include "dynamic/vivocapdoc.h"
#include "host/host.h"
#include "imagedoc/texts.h"
#include "linescan/linefeed.h"
#include "linescan/resulttables.h"
#include "linescan/texts.h"
#include "linescanrun.h"
#include "measure/dimline.h"
#include "results/resultdoc.h"

namespace tarnvisor {

namespace {

// A label without the velocities that it tells.
std::string withoutVelocity(const std::string& label) {
  static const std::regex told("-?[0-9]+\\.[0-9] [^ ]+/s");
  return std::string(trimmed(std::regex_replace(label, told, "")));
}

constexpr double kNotMeasured = std::numeric_limits<double>::quiet_NaN();

// What was sampled becomes the window's scan, in a ring of its own length.
bool fillScan(ZlineScanDoc& scan, const void* source, const LinescanRun::Line& line,
              const ZlineScanDoc::LineFacts& facts) {
  const uint32_t rows = line.rows->size / static_cast<uint32_t>(scan.sampleperiod);
  scan.setNoPtsToSample(static_cast<int32_t>(rows));
  CdataVect* row = scan.setline(source, line.pixels.points(), line.pixels.across(), facts);
  if (!row) return false;
  const TraceBatch batch(scan);
  const bool calculates = std::exchange(scan.cbvON, false);  // all at once afterwards
  scan.setZeroing(false);
  scan.startCapture();
  for (uint32_t i = 0; i < rows * static_cast<uint32_t>(scan.sampleperiod); ++i) {
    if (line.stored[i]) {
      row->copyfrom(0, *line.rows->getArray(i), row->size);
      scan.linesample(1);
    } else {
      scan.skiplines(1);
    }
  }
  scan.setZeroing(true);
  scan.cbvON = calculates;
  scan.release(source);
  return true;
}

}  // namespace

ImageFacts CVivoCapDoc::imageFacts() const {
  if (!hasMovie()) return ZBasicDoc::imageFacts();
  const Scale s = scale();
  return {s.x, s.y, unitName(), 1.0 / imagesPerSecond(), isFieldMovie()};
}

bool CVivoCapDoc::setScale(double x, double y, const std::string& name, int64_t date, bool asDefault,
                           bool addToTable) {
  const Scale before = scale();
  if (!ZBasicDoc::setScale(x, y, name, date, asDefault, addToTable)) return false;
  if (scale().x == before.x && scale().y == before.y) return true;
  for (CDimList& list : dimlists)
    for (const auto& line : list.items) line->label = withoutVelocity(line->label);
  return true;
}

bool CVivoCapDoc::scanLines(ScanOrder order) {
  const auto refuse = [this](const char* words) {
    report(words);
    return false;
  };
  if (!hasMovie()) return false;
  ZlineScanDoc* scan = openLinescan();
  if (!scan) return refuse(text::kLinescansOff);
  if (scan->velocity.cbvmethod == kTwoLines) return refuse(text::kOneLineOnly);
  if (scan->isTaken()) return refuse(text::kLinescanTaken);
  const ImageFacts facts = imageFacts();
  const bool fields = samplesFields(*scan, facts);
  if (selection().size() * (fields ? 2 : 1) < scan->sampleperiod) return refuse(text::kTooFewImages);
  if (!order.goesOn && !isUnattended() && !scan->saveModified()) return false;
  const uint64_t changedAt = scan->changeCount();
  const int32_t period = scan->sampleperiod;
  LinescanRun::Lines lines;
  for (ScanLine& line : order.lines) lines.push_back({std::move(line)});
  const auto ordered = std::make_shared<ScanOrder>(std::move(order));
  auto run =
      std::make_unique<LinescanRun>(*this, std::move(lines), fields, [=, this](LinescanRun::Lines all) {
        ZlineScanDoc* to = openLinescan();
        // It stayed in use meanwhile.
        if (!to || to->isTaken() || to->velocity.cbvmethod == kTwoLines ||
            samplesFields(*to, facts) != fields || to->sampleperiod != period)
          return report(text::kLinescanChanged);
        if (to->changeCount() != changedAt && !isUnattended() && !to->saveModified()) return;
        const auto fill = [&](ZlineScanDoc& into, size_t i) {
          return fillScan(into, this, all[i], lineFacts(into, facts, ordered->nameOf(i)));
        };
        // All but the last are computed beside each other; what the window shows at the end is the last.
        const size_t beside = all.size() - 1, atOnce = static_cast<size_t>(parallelThreads());
        for (size_t from = 0; from < beside; from += atOnce) {
          std::vector<std::unique_ptr<ZlineScanDoc>> scans;
          for (size_t i = from; i < std::min(beside, from + atOnce); ++i) {
            scans.push_back(to->makeAlike());
            if (!fill(*scans.back(), i) || !scans.back()->prepareVelocity()) return report(text::kNoLinescan);
            all[i].rows.reset();
          }
          parallelFor(static_cast<int64_t>(scans.size()), 1, [&](int64_t begin, int64_t end) {
            for (int64_t k = begin; k < end; ++k) scans[static_cast<size_t>(k)]->computeVelocity();
          });
          for (size_t k = 0; k < scans.size(); ++k)
            if (ordered->afterEach) ordered->afterEach(*scans[k], from + k);
        }
        to->beginOf(*this);
        if (!fill(*to, beside)) return report(text::kNoLinescan);
        to->setTitle(ordered->nameOf(beside));
        to->calculateVelocity(!ordered->ofMany);
        if (ordered->afterEach) ordered->afterEach(*to, beside);
        if (ordered->atEnd) ordered->atEnd();
      });
  if (!run->prepare()) return refuse(text::kNoMemory);
  start(std::move(run));
  return true;
}

bool CVivoCapDoc::scanLine(std::span<const Point> path, int32_t across, const std::string& name) {
  ScanOrder order;
  order.lines.emplace_back(path, across, scale().x / scale().y);
  if (order.lines.front().isEmpty()) {
    report(text::kLineTooLong);
    return false;
  }
  order.nameOf = [name](size_t) { return name; };
  return scanLines(std::move(order));
}

StepResult CVivoCapDoc::scan(std::span<const Point> path, int32_t width) {
  if (!hasMovie()) return StepResult::failure("the video has no images");
  if (width < 1) return StepResult::failure("a line is a pixel wide or more");
  return scanLine(path, width, title() + " line") ? StepResult{} : StepResult::failure({});
}

StepResult CVivoCapDoc::scan(int32_t dimension) {
  if (!currentDims().isValid(dimension - 1))
    return StepResult::failure(format("the list has no dimension %i", dimension));
  if (!hasMovie()) return StepResult::failure("the video has no images");
  const CDim& dim = currentDims().at(dimension - 1);
  const std::string name = format("%s line%i", title().c_str(), dimension);
  return scanLine(dim.points, dim.width, name) ? StepResult{} : StepResult::failure({});
}

// --- the lines of the list

void CVivoCapDoc::addCapillaryRow(const std::vector<NamedValue>& values) {
  if (!addResultRow(kCapillaryResults, recordOf(kCapillaryResults, title(), unitName(), values), this))
    report(text::kNoMemory);
}

// Velocities computed with additions can't be compared with others.
void CVivoCapDoc::noteAdditions(const ZlineScanDoc& scan) {
  const std::string words = additionWords(scan.velocity);
  if (!words.empty()) appendNotes("Velocities: " + words + text::kLineEnd);
}

// A line whose velocity is not to be told has an empty one. Its number is `place` + 1.
void CVivoCapDoc::addLineRow(const CDim& line, size_t place, const ZlineScanDoc& scan, bool accepted,
                             double diameter) {
  const VelocityStatistics found = scan.statistics();
  const bool told = accepted && scan.hasNumber(found);
  const Scale s = scale();
  const double velocity = told ? found.mean : kNotMeasured;
  Point anchor;
  line.Anchor(anchor);
  addCapillaryRow({{"line", static_cast<double>(place + 1)},
                   {"length", line.Length(s.x, s.y)},
                   {"diameter", diameter},
                   {"velocity", velocity},
                   {"flow", std::numbers::pi * diameter * diameter * velocity * 0.25},
                   {"x", anchor.x * s.x},
                   {"y", anchor.y * s.y},
                   {"av r", told ? found.correlation : kNotMeasured},
                   {"%good", found.share() * 100}});
}

void CVivoCapDoc::calculateCbv() {
  if (!canScan() || isBusy()) return;
  ScanOrder order;
  // What is measured, as it was: the list may change meanwhile.
  struct Measured {
    std::vector<std::unique_ptr<CDim>> lines;
    std::vector<std::string> labels;
    double velocity = 0, flow = 0;
    int32_t told = 0;
  };
  const auto all = std::make_shared<Measured>();
  for (const auto& dim : currentDims().items) {
    order.lines.emplace_back(dim->points, dim->width, scale().x / scale().y);
    if (order.lines.back().isEmpty()) return report(text::kLineTooLong);
    all->lines.push_back(dim->Clone());
  }
  order.nameOf = [stem = title()](size_t i) {
    return format("%s line%i", stem.c_str(), static_cast<int>(i + 1));
  };
  order.afterEach = [all, this](ZlineScanDoc& scan, size_t i) {
    // A line as it is drawn is one pixel wide: nobody told the vessel's width by it, and a flow would be made
    // up.
    const int32_t width = all->lines[i]->width;
    const double diameter = width > 1 ? width * scale().x : kNotMeasured;
    addLineRow(*all->lines[i], i, scan, true, diameter);
    const VelocityStatistics found = scan.statistics();
    const bool told = scan.hasNumber(found);
    all->labels.push_back(told ? format("%.1f ", found.mean) + scan.velocityUnits() : text::kNoVelocity);
    if (!told) return;
    all->velocity += found.mean;
    all->flow += std::numbers::pi * diameter * diameter * found.mean * 0.25;
    ++all->told;
  };
  order.ofMany = all->lines.size() > 1;
  order.atEnd = [all, this] {
    const ZlineScanDoc* scan = theLinescan();
    const auto mean = [&](double sum) { return all->told ? sum / all->told : kNotMeasured; };
    addCapillaryRow({{"velocity", mean(all->velocity)}, {"flow", mean(all->flow)}});
    const Change change(*this);
    for (size_t i = 0; i < all->labels.size(); ++i) {
      const auto place = static_cast<int32_t>(i);
      if (currentDims().isValid(place) && currentDims().at(place).isSame(*all->lines[i]))
        currentDims().at(place).label = all->labels[i];
    }
    if (scan) noteAdditions(*scan);
    setModified();
    updateAllViews();
  };
  scanLines(std::move(order));
}

// --- one after the other, each accepted

struct CVivoCapDoc::LineWalk {
  std::vector<std::unique_ptr<CDim>> lines;
  size_t at = 0;
};

void CVivoCapDoc::calculateAll() {
  if (!hasMovie() || isBusy()) return;
  const auto walk = std::make_shared<LineWalk>();
  for (const auto& dim : currentDims().items) walk->lines.push_back(dim->Clone());
  scanNext(walk);
}

void CVivoCapDoc::scanNext(const std::shared_ptr<LineWalk>& walk) {
  if (walk->at >= walk->lines.size()) return updateAllViews();
  const CDim& line = *walk->lines[walk->at];
  ScanOrder order;
  order.lines.emplace_back(line.points, line.width, scale().x / scale().y);
  if (order.lines.front().isEmpty()) return report(text::kLineTooLong);
  order.nameOf = [this, walk](size_t) {
    return format("%s line%i", title().c_str(), static_cast<int>(walk->at + 1));
  };
  order.afterEach = [this, walk](ZlineScanDoc& scan, size_t) { evaluate(walk, scan); };
  order.goesOn = walk->at > 0;
  order.ofMany = walk->lines.size() > 1;
  scanLines(std::move(order));
}

void CVivoCapDoc::evaluate(const std::shared_ptr<LineWalk>& walk, ZlineScanDoc& scan) {
  const size_t place = walk->at++;
  const CDim& line = *walk->lines[place];
  int32_t verdict = 0;
  Form form("Velocity");
  const double diameter = diameterAcross(line);
  form.addNote(format("line %i\n", static_cast<int>(place + 1)) + scan.resultWords());
  form.addNote(std::isnan(diameter) ? "The diameter can't be measured across the middle of the line."
                                    : format("diameter = %.1f ", diameter) + unitName());
  form.endWith("verdict", verdict, {"&OK", "&Reject"});
  const bool accepted = isUnattended() || (host().forms.run(form) && verdict == 0);
  if (!accepted &&
      host().messages.show(text::kVelocityRejected, Buttons::YesNo, Icon::Question) == Answer::Yes) {
    host().messages.show(text::kMarkGoodPart, Buttons::Ok, Icon::Information);
    return;
  }
  const VelocityStatistics found = scan.statistics();
  const auto index = static_cast<int32_t>(place);
  if (currentDims().isValid(index) && currentDims().at(index).isSame(line)) {
    const bool told = accepted && scan.hasNumber(found);
    const std::string rest = withoutVelocity(line.label);
    const std::string label = told ? rest + format("%.1f ", found.mean) + scan.velocityUnits() : rest;
    if (label != line.label) {
      const Change change(*this);
      currentDims().at(index).label = label;
      if (told) noteAdditions(scan);
      setModified();
    }
  }
  addLineRow(line, place, scan, accepted, diameter);
  scanNext(walk);
}

// By the thousand: of micrometres, millimetres a square millimetre.
void CVivoCapDoc::densityOfLines() {
  if (!hasMovie() || isBusy()) return;
  const Rect region = roi.isEmpty() ? theImage()->frameRect() : roi;
  const Scale s = scale();
  const double area = static_cast<double>(region.width()) * region.height() * s.x * s.y;
  const std::string words =
      format("functional capillary density = %.1f ", currentDims().totalLength(s.x, s.y) * 1000.0 / area);
  Form form("Capillary density");
  form.addNote(words);
  if (!asked(form)) return;
  const Change change(*this);
  appendNotes(words + text::kLineEnd);
  setModified();
  updateAllViews();
}

// Of the capillary that a line runs along, across its middle: the median of what some images of the selection
// show, as plasma that passes by looks like a narrow vessel, or none. Not measured where none is found.
double CVivoCapDoc::diameterAcross(const CDim& line) {
  constexpr double kLeastAcross = 20, kWidths = 4;
  constexpr int32_t kImages = 25;
  WidthSettings with;
  with.load();
  const auto rule = with.ruleInImage();
  const std::unique_ptr<CDimLine> across = line.Perpendicular(std::max(kLeastAcross, kWidths * line.width));
  const double pixels = across ? across->Length(1.0, 1.0) : 0;
  if (!rule || !(pixels > 0)) return kNotMeasured;
  std::vector<double> widths;
  CZZimage each;
  const CZZMovie::Range range = selection();
  for (int32_t i = 0, images = std::min(range.size(), kImages); i < images; ++i) {
    movie->getImage(range.first + static_cast<int32_t>(int64_t{i} * range.size() / images), each);
    const double width =
        movie->hasRead() && !each.empty() ? widthAlong(each, across->points, 1, *rule, with).width : 0;
    if (width > 0) widths.push_back(width);
  }
  if (widths.empty()) return kNotMeasured;
  const auto middle = widths.begin() + static_cast<ptrdiff_t>(widths.size() / 2);
  std::nth_element(widths.begin(), middle, widths.end());
  return *middle * across->Length(scale().x, scale().y) / pixels;
}

}  // namespace tarnvisor
