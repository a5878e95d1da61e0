// Capillary widths along the lines of the current list, and the loops of a nailfold from lines across their
// apices. All is measured, and asked, before anything changes.
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <span>

#include "analysis/width.h"
#include "app/asked.h"
#include "app/basicapp.h"
#include "base/numbers.h"
#include "base/text.h"
#include "host/host.h"
#include "imagedoc/levelchart.h"
#include "imagedoc/resulttables.h"
#include "imagedoc/texts.h"
#include "imagedoc/zbasicview.h"
#include "measure/dimline.h"
#include "results/resultdoc.h"

namespace tarnvisor {

namespace {

constexpr const char* kWidthLabel = "w=";

bool isLine(const CDim& mark) {
  return dynamic_cast<const CDimLine*>(&mark) && !mark.points.empty() &&
         mark.label != text::kCalibrationLabel;
}

// Units of the document for a pixel along the line.
double unitsAlong(const CDim& line, const Scale& scale) {
  const double pixels = line.Length(1.0, 1.0);
  return pixels > 0 ? line.Length(scale.x, scale.y) / pixels : 0.0;
}

struct LineWidth {
  VesselWidth found;  // its width 0 or below where none counts
  double units = 0;
  std::string words;
  bool isAccepted() const { return found.width > 0; }
};

// Measures line after line, and shows the user each that has a width unless it is quiet.
class LineMeasure {
 public:
  LineMeasure(ZBasicDoc& measured, bool asksUser, bool many)
      : doc(measured), asks(asksUser), severalFollow(many) {
    with.load();
    rule = with.ruleInImage();
  }
  LineWidth measure(const CDim& line);
  bool isCancelled() const { return cancelled; }
  bool isSubSampled() const { return with.subSample != 0; }
  // For the notes: widths between the samples can't be compared with others.
  std::string words() const {
    return format("capillary widths by %s, edges between the pixels%s", rule ? nameOf(*rule) : "no method",
                  text::kLineEnd);
  }

 private:
  enum Verdict : int32_t { kAccept, kReject, kSkip };
  Verdict ask(const CDim& line, const LineWidth& width);

  ZBasicDoc& doc;
  bool asks, severalFollow;
  bool cancelled = false;
  WidthSettings with;
  std::optional<WidthRule> rule;
};

LineWidth LineMeasure::measure(const CDim& line) {
  LineWidth result;
  if (line.pointCount() < 2 || cancelled || !doc.hasImage()) return result;
  result.found.width = -1;
  if (rule) result.found = widthAlong(*doc.theImage(), line.points, line.width, *rule, with);
  if (result.found.width < 1) {
    result.found.width = -1;
    return result;
  }
  result.units = result.found.width * unitsAlong(line, doc.scale());
  result.words = format("%.1f ", result.units) + doc.unitName();
  if (!asks) return result;
  const Verdict verdict = ask(line, result);
  if (verdict != kAccept) result.found.width = verdict == kReject ? -1 : 0;
  return result;
}

LineMeasure::Verdict LineMeasure::ask(const CDim& line, const LineWidth& width) {
  showProfileBetween(doc, line.points, width.found.left, width.found.right);
  int32_t verdict = kAccept, acceptsRest = 0;
  Form form("Result");
  form.addNote("diameter = " + width.words);
  if (severalFollow) form.addCheck("accept all that follow", acceptsRest);
  form.endWith("verdict", verdict, {"&Accept", "&Reject Value", "&Skip Use"});
  if (!host().forms.run(form)) {
    cancelled = severalFollow;
    verdict = kSkip;
  }
  asks = asks && !acceptsRest;
  return static_cast<Verdict>(verdict);
}

// The selected line alone, or with nothing selected all lines; none, which is told, where what is selected is
// no line.
std::vector<int32_t> chosenLines(ZBasicDoc& doc, int32_t selected) {
  const CDimList& dims = doc.currentDims();
  std::vector<int32_t> chosen;
  if (dims.isValid(selected)) {
    if (isLine(dims.at(selected))) return {selected};
    doc.report("A width is measured along a line. Select one, or none to measure all.");
    return {};
  }
  for (int32_t i = 0; i < dims.size(); ++i)
    if (isLine(dims.at(i))) chosen.push_back(i);
  return chosen;
}

}  // namespace

bool ZBasicView::hasLines() const {
  return hasImage() &&
         std::ranges::any_of(doc.currentDims().items, [](const auto& mark) { return isLine(*mark); });
}

void ZBasicView::widthMethod() {
  WidthSettings width;
  width.load();
  int32_t choice = std::clamp(width.method == 0 ? WidthSettings::kOuterEdge : width.method, 1, 3) - 1;
  Form form("Capillary Width Method");
  form.addChoice("method", choice,
                 {nameOf(WidthRule::Threshold), nameOf(WidthRule::Edge), nameOf(WidthRule::OuterEdge)})
      .add("level (0-1)", width.pointOnRise, {0, 1, {}})
      .addCheck("edges between the pixels, and none where noise hides them", width.subSample)
      .addNote(
          "\"Capillary Width vs. time\" of a video reads the three another way: threshold stands for edge detection, edge detection for outer edge detection, outer edge detection for threshold.");
  if (!asked(form)) return;
  width.method = choice + 1;
  width.store();
}

// --- one width a line

void ZBasicView::findCapillaryWidth() {
  finishShape();
  const std::vector<int32_t> chosen = chosenLines(doc, selected);
  if (chosen.empty()) return;
  const bool one = hasSelection();
  CDimList& dims = doc.currentDims();
  const auto before = dims.clone();
  std::vector<std::pair<int32_t, LineWidth>> widths;
  LineMeasure lines(doc, one && !isUnattended(), false);
  widths.reserve(chosen.size());
  for (const int32_t i : chosen) widths.emplace_back(i, lines.measure(before->at(i)));
  theApp().documents.activate(doc);
  if (!dims.hasSameItems(*before)) return;  // changed behind the question
  int32_t found = 0;
  edit([&] {
    for (const auto& [i, width] : widths) {
      CDim& line = dims.at(i);
      if (width.isAccepted()) {
        ++found;
        line.label = kWidthLabel + width.words;
        addResultRow(kDiameterResults,
                     recordOf(kDiameterResults, doc.title(), doc.unitName(),
                              {{"line", i + 1.0}, {"width", width.units}}),
                     &doc);
      } else if (width.found.width < 0 && line.label.starts_with(kWidthLabel)) {
        line.label.clear();  // what was measured there before holds no more
      }
    }
    if (found > 0 && lines.isSubSampled()) doc.appendNotes(lines.words());
  });
  if (found == 0 && !one) doc.report("No line has a width that can be told.");
}

// --- loops

namespace {

constexpr size_t kMostFitted = 100;  // loops whose middles are fitted

struct Loop {
  int32_t line = 0;  // its place in the list
  LineWidth apex, left, right;
  double loopWidth = 0;
  Point middle;
  std::vector<Point> outline;
};

struct LineFit {
  bool holds = false;
  double slope = 0, intercept = 0, correlation = 0;
};

LineFit fitted(std::span<const Point> points) {
  double sx = 0, sy = 0, sxx = 0, syy = 0, sxy = 0;
  for (const Point p : points) {
    const double x = p.x, y = p.y;
    sx += x;
    sy += y;
    sxx += x * x;
    syy += y * y;
    sxy += x * y;
  }
  const auto n = static_cast<double>(points.size());
  const double d = n * sxx - sx * sx;
  if (d == 0) return {};
  const double spread = (syy - sy * sy / n) * (sxx - sx * sx / n);
  return {true, (n * sxy - sx * sy) / d, (sy * sxx - sxy * sx) / d,
          spread > 0 ? (sxy - sx * sy / n) / std::sqrt(spread) : 0};
}

// Its limbs, at right angles to the line from the apex.
void measureLimbs(LineMeasure& lines, const CDim& line, const Scale& scale, Loop& loop) {
  std::unique_ptr<CDimLine> one, other;
  line.PerpendicularsAtStart(one, other);
  if (!one || !other) return;
  loop.left = lines.measure(*one);
  loop.right = lines.measure(*other);
  // Between the samples a limb that was not found has no edge.
  const auto hasEdge = [&](const LineWidth& limb) { return limb.found.width >= 0 && limb.found.right > 0; };
  const bool counts = !lines.isSubSampled() || (hasEdge(loop.left) && hasEdge(loop.right));
  const double apart = (loop.left.found.right + loop.right.found.right) * unitsAlong(line, scale);
  if (counts) loop.loopWidth = std::abs(std::trunc(apart));
  for (const auto& [limb, across] : {std::pair{&loop.left, one.get()}, {&loop.right, other.get()}}) {
    if (lines.isSubSampled() && !hasEdge(*limb)) continue;
    Point edge;
    across->PointAtDistance(limb->found.right, edge);
    loop.outline.push_back(edge);
  }
}

Loop measureLoop(LineMeasure& lines, const CDim& line, int32_t index, const Scale& scale) {
  Loop loop{.line = index};
  Point edge = line.points.front();
  loop.middle = edge;
  if (line.pointCount() > 1) {
    loop.apex = lines.measure(line);
    const VesselWidth& found = loop.apex.found;
    const double length = line.Length(1.0, 1.0);
    line.PointAtDistance(found.right, edge);
    line.PointAtFraction(length > 0 ? (found.left + found.right) / (2 * length) : 0, loop.middle);
  }
  loop.outline.push_back(edge);
  if (line.pointCount() > 1) measureLimbs(lines, line, scale, loop);
  return loop;
}

// Sums what was measured of one column.
struct Column {
  double sum = 0;
  int32_t count = 0;
  void add(double value, bool counts) {
    if (!counts) return;
    sum += value;
    ++count;
  }
  double mean() const { return count > 0 ? sum / count : std::numeric_limits<double>::quiet_NaN(); }
};

double shown(const LineWidth& width) { return width.isAccepted() ? width.units : 0.0; }

void addPath(CDimList& list, int32_t type, std::span<const Point> points) {
  if (points.empty()) return;
  const int32_t index = list.add(points.front(), type);
  for (const Point p : points.subspan(1)) list.addPointTo(index, p);
  list.at(index).Close();
}

// Row by row, and one of them all; what is drawn goes into the list.
void tellLoops(ZBasicDoc& doc, std::span<const Loop> loops, CDimList& drawn) {
  const auto addRow = [&doc](const std::vector<NamedValue>& values) {
    addResultRow(kNailfoldResults, recordOf(kNailfoldResults, doc.title(), doc.unitName(), values), &doc);
  };
  Column apex, wide, left, right;
  std::vector<Point> middles;
  for (const Loop& loop : loops) {
    apex.add(loop.apex.units, loop.apex.isAccepted());
    left.add(loop.left.units, loop.left.isAccepted());
    right.add(loop.right.units, loop.right.isAccepted());
    wide.add(loop.loopWidth, loop.loopWidth > 1.0);
    if (middles.size() < kMostFitted) middles.push_back(loop.middle);
    addPath(drawn, CDimList::kPolygon, loop.outline);
    addRow({{"line", loop.line + 1.0},
            {"apex width", shown(loop.apex)},
            {"left width", shown(loop.left)},
            {"right width", shown(loop.right)},
            {"loop width", loop.loopWidth},
            {"x", static_cast<double>(loop.middle.x)},
            {"y", static_cast<double>(loop.middle.y)}});
  }
  std::ranges::stable_sort(middles, {}, &Point::x);
  addPath(drawn, CDimList::kPolyline, middles);
  const double row = drawn.at(drawn.size() - 1).Length(1.0, 1.0);
  const Point ends = middles.back() - middles.front();
  const LineFit fit = fitted(middles);
  double density = 0;
  if (fit.holds && doc.hasImage()) {
    const Rect frame = doc.theImage()->frameRect();
    const double from = fit.slope * frame.left + fit.intercept, to = fit.slope * frame.right + fit.intercept;
    const Scale scale = doc.scale();
    const double across = std::hypot(frame.width() * scale.x, (to - from) * scale.y);
    density = static_cast<double>(loops.size()) * 1000 / across;
    addPath(drawn, CDimList::kLine,
            std::array{Point{frame.left, truncated(from)}, Point{frame.right, truncated(to)}});
  }
  addRow({{"line", static_cast<double>(loops.size())},
          {"apex width", apex.mean()},
          {"loop width", wide.mean()},
          {"left width", left.mean()},
          {"right width", right.mean()},
          {"x", fit.slope},
          {"y", fit.intercept},
          {"density", density},
          {"fit", fit.correlation * fit.correlation},
          {"cord", row > 0 ? std::hypot(ends.x, ends.y) / row : 0}});
}

}  // namespace

void ZBasicView::measureNailfoldLoops() {
  finishShape();
  if (doc.currentlist == kNailfoldList)
    return doc.report("What is found of the loops goes into this list. Draw the lines in another.");
  const std::vector<int32_t> chosen = chosenLines(doc, selected);
  CDimList& dims = doc.currentDims();
  const auto before = dims.clone();
  LineMeasure lines(doc, !isUnattended(), true);
  std::vector<Loop> loops;
  loops.reserve(chosen.size());
  for (const int32_t i : chosen) loops.push_back(measureLoop(lines, before->at(i), i, doc.scale()));
  theApp().documents.activate(doc);
  if (lines.isCancelled() || loops.empty() || !dims.hasSameItems(*before)) return;
  edit([&] {
    for (const Loop& loop : loops)
      if (loop.apex.isAccepted()) dims.at(loop.line).label = kWidthLabel + loop.apex.words + "\n";
    CDimList& found = doc.dimlists[kNailfoldList];
    found.removeAll();
    tellLoops(doc, loops, found);
    if (lines.isSubSampled()) doc.appendNotes(lines.words());
  });
}

}  // namespace tarnvisor
