#include "imagedoc/loopmarks.h"

#include <algorithm>
#include <cmath>

#include "base/numbers.h"
#include "base/text.h"

namespace tarnvisor {

namespace {

constexpr Colour kClearColour = 0x00ff00, kFaintColour = 0x00ffff, kGiantColour = 0xff00ff;
constexpr Colour kRowColour = 0xffff00, kCentralColour = 0xffffff, kAvascularColour = 0x0080ff;
constexpr const char* kRow = "row: ";
constexpr const char* kCentral = "central mm";
constexpr double kSameLoop = 40;  // micrometres between a drawn apex and the one that was found of it
constexpr int32_t kStretchWidth = 3;

bool isPoint(const CDim& mark) { return mark.points.size() == 1; }
bool isFoundRow(const CDim& mark) { return !isPoint(mark) && mark.label.starts_with(kRow); }
bool isCentral(const CDim& mark) { return !isPoint(mark) && mark.label == kCentral; }

LoopMark::Kind kindOfPoint(const CDim& mark) {
  using K = LoopMark::Kind;
  switch (mark.colour) {
    case kClearColour:
      return K::Clear;
    case kFaintColour:
      return K::Faint;
    case kGiantColour:
      return K::Giant;
    default:
      return K::Drawn;
  }
}

// Areas are polygons, circles and rectangles, whose first point comes again or which are of another class.
bool isDrawnRow(const CDim& mark) {
  return std::string(mark.classRecord().name) == "CDimLine" && !isPoint(mark) && mark.label.empty();
}

LoopPoint inMicrometres(Point p, LoopScale scale) { return {p.x * scale.x, p.y * scale.y}; }

std::vector<LoopPoint> inMicrometres(const std::vector<Point>& points, LoopScale scale) {
  std::vector<LoopPoint> out;
  out.reserve(points.size());
  for (const Point p : points) out.push_back(inMicrometres(p, scale));
  return out;
}

std::vector<LoopPoint> apexesOf(const LoopMarks& marks, LoopScale scale) {
  std::vector<LoopPoint> out;
  for (const LoopMark& loop : marks.loops) out.push_back(inMicrometres(loop.apex, scale));
  return out;
}

Point rounded(LoopPoint p) {
  return {static_cast<int32_t>(std::lround(p.x)), static_cast<int32_t>(std::lround(p.y))};
}

Point middleOf(const CDim& path) {
  std::vector<LoopPoint> points = inMicrometres(path.points, {1, 1});
  const LoopRowPath along(points);
  return rounded(along.at(along.length() / 2));
}

CDim& addPath(CDimList& list, const std::vector<LoopPoint>& path, Point corner, Colour colour,
              const std::string& label) {
  CDim& mark = list.at(list.add(rounded(path.front()) + corner, CDimList::kPolyline));
  for (size_t i = 1; i < path.size(); ++i) mark.AddPoint(rounded(path[i]) + corner);
  mark.colour = colour;
  mark.label = label;
  return mark;
}

void addApex(CDimList& list, const NailfoldLoop& loop, Point corner) {
  CDim& mark = list.at(list.add(rounded(loop.apex) + corner, CDimList::kPoint));
  mark.colour = loop.giant ? kGiantColour : loop.clear ? kClearColour : kFaintColour;
  if (loop.giant) mark.label = format("giant, %.0f um", loop.apexWidth);
}

std::string verdictOf(const NailfoldLoops& found) {
  std::string words = nameOf(found.verdict);
  for (size_t i = 0; i < found.reasons.size(); ++i) words += (i ? "; " : " (") + found.reasons[i];
  return found.reasons.empty() ? words : words + ")";
}

}  // namespace

const char* nameOf(LoopMark::Kind kind) {
  static constexpr const char* names[] = {"clear", "faint", "giant", "drawn"};
  return names[static_cast<size_t>(kind)];
}

std::string loopKind(const CDim& mark) { return isPoint(mark) ? nameOf(kindOfPoint(mark)) : ""; }

size_t LoopMarks::clear() const {
  return loops.size() -
         static_cast<size_t>(std::ranges::count(loops, LoopMark::Kind::Faint, &LoopMark::kind));
}

size_t LoopMarks::giant() const {
  return static_cast<size_t>(std::ranges::count(loops, LoopMark::Kind::Giant, &LoopMark::kind));
}

LoopMarks loopMarksOf(const CDimList& list) {
  LoopMarks marks;
  size_t number = 0;
  for (const auto& mark : list.items) {
    ++number;
    if (isPoint(*mark)) {
      marks.loops.push_back({mark->points.front(), kindOfPoint(*mark), number});
    } else if (isCentral(*mark)) {
      marks.centre = middleOf(*mark);
    } else if (isFoundRow(*mark)) {
      marks.row = mark->points;
      marks.verdict = mark->label.substr(std::string_view(kRow).size());
    } else if (isDrawnRow(*mark) && marks.row.empty()) {
      marks.row = mark->points;
      marks.verdict = kDrawnByHand;
    }
  }
  return marks;
}

std::optional<LoopCount> countOf(const LoopMarks& marks, LoopScale scale) {
  if (marks.row.empty() || !scale.isKnown()) return std::nullopt;
  const std::vector<LoopPoint> row = inMicrometres(marks.row, scale);
  const LoopRowPath path(row);
  const LoopPoint centre = marks.centre ? inMicrometres(*marks.centre, scale) : path.at(path.length() / 2);
  LoopCount counted = countLoops(row, apexesOf(marks, scale), centre, 1);
  if (!(counted.rowLength > 0)) return std::nullopt;
  return counted;
}

std::vector<double> neighboursOf(const LoopMarks& marks, LoopScale scale) {
  return neighbourDistances(apexesOf(marks, scale));
}

std::string wordsOf(const LoopMarks& marks, const LoopCount& counted) {
  std::string words = format("%zu on %.2f mm of row, %zu clear, %.1f +- %.1f per mm", counted.loops,
                             counted.rowLength, marks.clear(), counted.perMm, counted.perMmError);
  if (counted.centralPerMm >= 0) words += format(", %.0f in the central mm", counted.centralPerMm);
  if (marks.giant() > 0) words += format(", %zu giant (apex over %.0f um)", marks.giant(), kGiantLoop);
  if (!counted.avascular.empty())
    words += format(", %zu avascular (over %.0f um without a loop, %.0f %% of the row)",
                    counted.avascular.size(), kAvascularStretch, 100 * counted.avascularShare);
  // Of the count, not of the density: "low" alone would be read as few loops.
  return words + (marks.verdict == kDrawnByHand ? ", marked " : ", reliability ") + marks.verdict;
}

void removeFoundLoops(CDimList& list) {
  for (int32_t i = list.size() - 1; i >= 0; --i) {
    const CDim& mark = list.at(i);
    const bool found =
        isPoint(mark) ? kindOfPoint(mark) != LoopMark::Kind::Drawn : isFoundRow(mark) || isCentral(mark);
    if (found) list.remove(i);
  }
}

void putLoopMarks(CDimList& list, const NailfoldLoops& found, double pixelSize, Point corner,
                  const CDimList& rejected) {
  removeFoundLoops(list);
  if (found.row.size() < 2) return;
  std::vector<LoopMark> taken = loopMarksOf(list).loops;
  std::ranges::copy(loopMarksOf(rejected).loops, std::back_inserter(taken));
  addPath(list, found.row, corner, kRowColour, kRow + verdictOf(found));
  if (const LoopCount counted = countLoops(found.row, {}, found.centre, pixelSize); !counted.central.empty())
    addPath(list, counted.central, corner, kCentralColour, kCentral);
  for (const NailfoldLoop& loop : found.loops) {
    const Point at = rounded(loop.apex) + corner;
    if (std::ranges::none_of(taken, [&](const LoopMark& mark) {
          return std::hypot(mark.apex.x - at.x, mark.apex.y - at.y) * pixelSize < kSameLoop;
        }))
      addApex(list, loop, corner);
  }
  list.selectedindex = -1;
}

void drawLoopStretches(Canvas& canvas, const CDimList& list, LoopScale scale) {
  const LoopMarks marks = loopMarksOf(list);
  const auto counted = list.hidden ? std::nullopt : countOf(marks, scale);
  if (!counted || marks.verdict.empty()) return;
  const auto draw = [&](const std::vector<LoopPoint>& stretch, Colour colour) {
    std::vector<Point> path;
    path.reserve(stretch.size());
    for (const LoopPoint p : stretch) path.push_back(rounded({p.x / scale.x, p.y / scale.y}));
    canvas.setPen({colour, kStretchWidth, false});
    canvas.polyline(path);
  };
  if (!counted->central.empty()) draw(counted->central, kCentralColour);
  const std::vector<LoopPoint> row = inMicrometres(marks.row, scale);
  const LoopRowPath path(row);
  for (const AvascularStretch& gap : counted->avascular)
    draw(path.between(path.placeOf(gap.from), path.placeOf(gap.to)), kAvascularColour);
}

}  // namespace tarnvisor
