#include "imagedoc/markspanel.h"

#include <cmath>
#include <limits>
#include <numbers>
#include <numeric>

#include "analysis/finder.h"
#include "analysis/profile.h"
#include "base/text.h"
#include "imagedoc/commandids.h"
#include "imagedoc/loopmarks.h"
#include "imagedoc/overlay.h"
#include "imagedoc/zbasicview.h"

namespace tarnvisor {

namespace {

enum Column : size_t { kNumber, kKind, kLength, kArea, kLevel, kComment, kColumns };

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

// By even and odd crossings of the row.
bool isInside(const CDim& mark, Point at) {
  bool inside = false;
  const std::vector<Point>& corners = mark.points;
  for (size_t i = 0, j = corners.size() - 1; i < corners.size(); j = i++) {
    const Point a = corners[i], b = corners[j];
    if ((a.y > at.y) == (b.y > at.y)) continue;
    const double along = (static_cast<double>(at.y) - a.y) / (static_cast<double>(b.y) - a.y);
    inside ^= at.x < a.x + (static_cast<double>(b.x) - a.x) * along;
  }
  return inside;
}

double meanWithin(const CZZimage& image, const CDim& mark) {
  Point middle;
  double x = 0, y = 0;
  mark.Centre(middle, x, y);
  const bool isRound = std::string_view(kindOf(mark)) == "circle";
  const double square = mark.Area(1, 1) / std::numbers::pi;  // of a circle's radius
  Rect box{mark.points[0].x, mark.points[0].y, mark.points[0].x, mark.points[0].y};
  for (const Point p : mark.points)
    box = {std::min(box.left, p.x), std::min(box.top, p.y), std::max(box.right, p.x),
           std::max(box.bottom, p.y)};
  if (isRound) {
    const auto reach = static_cast<int32_t>(std::sqrt(std::min(square, 1e9))) + 1;
    box = {middle.x - reach, middle.y - reach, middle.x + reach, middle.y + reach};
  }
  box = Rect{box.left, box.top, box.right + 1, box.bottom + 1}.intersected(image.frameRect());
  const bool isRect = std::string_view(kindOf(mark)) == "rect";
  double sum = 0;
  int64_t count = 0;
  for (int32_t row = box.top; row < box.bottom; ++row)
    for (int32_t column = box.left; column < box.right; ++column) {
      const double dx = column - x, dy = row - y;
      if (!isRect && !(isRound ? dx * dx + dy * dy <= square : isInside(mark, {column, row}))) continue;
      sum += greyLevelAt(image, Point{column, row} - image.frameOrigin());
      ++count;
    }
  return count > 0 ? sum / static_cast<double>(count) : kNone;
}

}  // namespace

double levelOf(const CZZimage& image, const CDim& mark) {
  if (image.empty() || mark.points.empty()) return kNone;
  if (mark.Area(1, 1) > 0) return meanWithin(image, mark);
  const std::vector<double> levels = levelsAlong(image, mark.points);
  if (levels.empty()) return kNone;
  return std::accumulate(levels.begin(), levels.end(), 0.0) / static_cast<double>(levels.size());
}

std::vector<SideFact> MarksPanel::facts() const {
  const ZBasicDoc& doc = view.imageDocument();
  if (!doc.hasImage()) return {};
  std::vector<SideFact> all = doc.densityFacts();
  const Scale s = doc.scale();
  if (doc.calibrated)
    all.push_back({"Scale", (s.x == s.y ? format("%g", s.x) : format("%g by %g", s.x, s.y)) + " " +
                                doc.userunits + " a pixel"});
  else
    all.push_back({"Scale", "not calibrated", true, cmd::CalibrateMagnification});
  return all;
}

std::vector<SidePanel::Group> MarksPanel::groups() const {
  std::vector<Group> all;
  const ZBasicDoc& doc = view.imageDocument();
  for (int32_t i = 0; i < kListCount; ++i) {
    const CDimList& list = doc.dimlists[static_cast<size_t>(i)];
    const std::string name = listName(i);
    all.push_back({name.empty() ? format("List %i", i) : name, list.items.size(), !list.hidden});
  }
  return all;
}

size_t MarksPanel::currentGroup() const { return static_cast<size_t>(view.imageDocument().currentlist); }
void MarksPanel::chooseGroup(size_t group) { view.takeList(static_cast<int32_t>(group)); }

void MarksPanel::showGroup(size_t group, bool shown) {
  ZBasicDoc& doc = view.imageDocument();
  doc.dimlists[group].hidden = !shown;
  doc.updateAllViews(CView::Change::Marks);
}

bool MarksPanel::showsLabels() const { return drawsLabels(); }

void MarksPanel::showLabels(bool shown) {
  setDrawsLabels(shown);
  view.imageDocument().updateAllViews(CView::Change::Marks);
}

std::vector<SidePanel::Column> MarksPanel::columns() const {
  const std::string unit = view.imageDocument().unitName();
  // A row of loops and its central millimetre have nothing to add up.
  const bool adds = view.imageDocument().currentlist != kNailfoldList;
  return {{"No", true},    {"Kind"},   {"Length", true, unit, adds, adds}, {"Area", true, unit + "²", true},
          {"Level", true}, {"Comment"}};
}

size_t MarksPanel::rowCount() const { return view.imageDocument().currentDims().items.size(); }

double MarksPanel::levelAt(size_t row) const {
  const ZBasicDoc& doc = view.imageDocument();
  const CDim& mark = *doc.currentDims().items[row];
  if (levels.size() <= row) levels.resize(rowCount());
  Level& known = levels[row];
  if (known.points != mark.points || known.kind != kindOf(mark))
    known = {kindOf(mark), mark.points, doc.hasImage() ? levelOf(*doc.theImage(), mark) : kNone};
  return known.level;
}

double MarksPanel::number(size_t row, size_t column) const {
  const ZBasicDoc& doc = view.imageDocument();
  const CDim& mark = *doc.currentDims().items[row];
  const Scale s = doc.scale();
  switch (column) {
    case kNumber:
      return static_cast<double>(row) + 1;
    case kLength:
      return mark.Length(s.x, s.y);
    case kArea:
      return mark.Area(s.x, s.y);
    case kLevel:
      return levelAt(row);
    default:
      return kNone;
  }
}

std::string MarksPanel::cell(size_t row, size_t column) const {
  const CDim& mark = *view.imageDocument().currentDims().items[row];
  if (column == kKind) {
    const std::string loop = view.imageDocument().currentlist == kNailfoldList ? loopKind(mark) : "";
    return loop.empty() ? kindOf(mark) : loop + " loop";
  }
  if (column == kComment) return std::string(trimmed(mark.label));
  const double value = number(row, column);
  if (column == kNumber) return format("%zu", row + 1);
  const bool isNone = std::isnan(value) || (value == 0 && column != kLevel);
  return isNone ? std::string() : format(column == kArea ? "%.0f" : "%.1f", value);
}

bool MarksPanel::isSelected(size_t row) const {
  return static_cast<int32_t>(row) == view.selected ||
         view.imageDocument().currentDims().items[row]->selected;
}

void MarksPanel::select(std::span<const size_t> rows) { view.selectMarks(rows); }

}  // namespace tarnvisor
