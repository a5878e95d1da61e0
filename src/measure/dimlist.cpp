#include "measure/dimlist.h"

#include <algorithm>
#include <cmath>

#include "base/text.h"
#include "measure/dimcircle.h"
#include "measure/dimline.h"
#include "measure/dimpolygon.h"
#include "measure/dimrect.h"

namespace tarnvisor {

namespace {

std::unique_ptr<CDim> makeDim(int32_t type) {
  switch (type) {
    case CDimList::kCircle:
      return std::make_unique<CDimCircle>();
    case CDimList::kPolygon:
      return std::make_unique<CDimPolygon>();
    case CDimList::kRect:
      return std::make_unique<CDimRect>();
    default:
      return std::make_unique<CDimLine>();
  }
}

void moveBy(CDim& dim, int64_t dx, int64_t dy) {
  Point first;
  if (!dim.GetPoint(0, first)) return;
  const auto moved = [](int32_t from, int64_t by) {
    return static_cast<int32_t>(std::clamp<int64_t>(from + by, INT32_MIN, INT32_MAX));
  };
  dim.MoveTo({moved(first.x, dx), moved(first.y, dy)});
}

void rotateAboutCentre(CDim& dim, double angle) {
  Point centre;
  double x = 0.0, y = 0.0;
  dim.Centre(centre, x, y);
  dim.Rotate(angle, x, y);
}

}  // namespace

int32_t CDimList::append(std::unique_ptr<CDim> item) {
  items.push_back(std::move(item));
  return size() - 1;
}

int32_t CDimList::add(Point point, int32_t type) {
  auto item = makeDim(type);
  item->colour = colour;
  item->width = width;
  item->AddPoint(point);
  selectedindex = append(std::move(item));
  return selectedindex;
}

int32_t CDimList::insert(const CDim& dim) { return append(dim.Clone()); }

int32_t CDimList::addPointTo(int32_t index, Point point) {
  return isValid(index) ? at(index).AddPoint(point) : -1;
}

void CDimList::remove(int32_t index) {
  items.erase(items.begin() + index);
  if (selectedindex == index) --selectedindex;
}

void CDimList::removeAll() {
  for (int32_t i = size() - 1; i >= 0; --i) remove(i);
}

std::vector<int32_t> CDimList::selection(int32_t index) const {
  std::vector<int32_t> indices;
  for (int32_t i = 0; i < size(); ++i)
    if (i == index || at(i).selected) indices.push_back(i);
  return indices;
}

void CDimList::clearSelection() {
  for (const auto& item : items) item->selected = false;
}

bool CDimList::hasSameItems(const CDimList& other) const {
  return std::equal(items.begin(), items.end(), other.items.begin(), other.items.end(),
                    [](const auto& a, const auto& b) { return a->isSame(*b); });
}

std::unique_ptr<CDimList> CDimList::clone() const {
  auto copy = std::make_unique<CDimList>();
  copy->width = width;
  copy->colour = colour;
  copy->hidden = hidden;
  for (const auto& item : items) copy->insert(*item);
  copy->selectedindex = selectedindex;
  return copy;
}

int32_t CDimList::countIn(const Rect& rect, bool circle) const {
  return static_cast<int32_t>(std::count_if(items.begin(), items.end(),
                                            [&](const auto& item) { return item->Overlaps(rect, circle); }));
}

int32_t CDimList::countPointsIn(const Rect& rect, bool circle) const {
  return static_cast<int32_t>(std::count_if(items.begin(), items.end(), [&](const auto& item) {
    return item->points.size() == 1 && item->Overlaps(rect, circle);
  }));
}

double CDimList::sumOf(const std::function<double(CDim&)>& measure) const {
  double sum = 0.0;
  for (const auto& item : items) sum += measure(*item);
  return sum;
}

double CDimList::totalLength(double sx, double sy) const {
  return sumOf([=](CDim& dim) { return dim.Length(sx, sy); });
}

double CDimList::totalLengthIn(const Rect& rect, bool circle, double sx, double sy) const {
  return sumOf([=](CDim& dim) { return dim.LengthIn(rect, circle, sx, sy); });
}

double CDimList::totalArea(double sx, double sy) const {
  return sumOf([=](CDim& dim) { return dim.Area(sx, sy); });
}

double CDimList::totalAreaIn(const Rect& rect, bool circle, double sx, double sy) const {
  return sumOf([=](CDim& dim) { return dim.AreaIn(rect, circle, sx, sy); });
}

double CDimList::totalTortuosity0() const {
  return sumOf([](CDim& dim) { return dim.Tortuosity0(); });
}

double CDimList::totalTortuosity1(double sx, double sy, int32_t& curves) {
  curves = 0;
  return sumOf([&](CDim& dim) {
    int32_t count = 0;
    const double tortuosity = dim.Tortuosity1(sx, sy, count);
    curves += count;
    return tortuosity;
  });
}

void CDimList::draw(Canvas& canvas, int32_t selectedIndex, bool withLabels) const {
  if (hidden) return;
  for (int32_t i = 0; i < size(); ++i)
    withLabels ? at(i).Draw(canvas, i == selectedIndex, format("%1i", i + 1))
               : at(i).DrawBare(canvas, i == selectedIndex);
}

int32_t CDimList::hit(double x, double y, double reach, int32_t startIndex) {
  const int32_t count = size(), start = isValid(startIndex) ? startIndex + 1 : 0;
  selectedindex = -1;
  for (int32_t n = 0; n < count; ++n) {
    const int32_t i = start < count - n ? start + n : start - (count - n);
    if (at(i).DistanceTo(x, y) > reach) continue;
    selectedindex = i;
    break;
  }
  return selectedindex;
}

int32_t CDimList::nearest(double x, double y, double reach) const {
  return nearestOf(x, y, reach, [](int32_t) { return true; });
}

int32_t CDimList::nearestSelected(double x, double y, double reach, int32_t index) const {
  return nearestOf(x, y, reach, [&](int32_t i) { return i == index || at(i).selected; });
}

int32_t CDimList::nearestOf(double x, double y, double reach,
                            const std::function<bool(int32_t)>& isAsked) const {
  int32_t found = -1;
  double least = reach;
  for (int32_t i = 0; i < size(); ++i) {
    if (!isAsked(i)) continue;
    const double distance = at(i).DistanceTo(x, y);
    if (distance > least || (found >= 0 && distance == least)) continue;
    found = i;
    least = distance;
  }
  return found;
}

int32_t CDimList::toggleSelect(double x, double y, double reach) {
  selectedindex = nearest(x, y, reach);
  if (selectedindex >= 0) at(selectedindex).selected = !at(selectedindex).selected;
  return selectedindex;
}

void CDimList::withSelected(int32_t index, const std::function<void(CDim&)>& work) {
  for (const int32_t i : selection(index)) work(at(i));
}

void CDimList::offset(int32_t dx, int32_t dy) {
  for (const auto& item : items) moveBy(*item, dx, dy);
}

void CDimList::drag(int32_t index, Point point) {
  Point first;
  if (!at(index).GetPoint(0, first)) return;
  const int64_t dx = int64_t{point.x} - first.x, dy = int64_t{point.y} - first.y;
  withSelected(index, [=](CDim& dim) { moveBy(dim, dx, dy); });
}

void CDimList::rotateByPoint(int32_t index, Point point) {
  Point first, centre;
  if (!at(index).GetPoint(0, first)) return;
  double x = 0.0, y = 0.0;
  at(index).Centre(centre, x, y);
  rotate(index, std::atan2(first.y - y, first.x - x) - std::atan2(point.y - y, point.x - x));
}

void CDimList::rotate(int32_t index, double angle) {
  withSelected(index, [=](CDim& dim) { rotateAboutCentre(dim, angle); });
}

void CDimList::scale(int32_t numerator, int32_t denominator) {
  for (const auto& item : items) item->Scale(numerator, denominator);
}

void CDimList::clip(const Rect& rect, bool circle) {
  for (int32_t i = size() - 1; i >= 0; --i) {
    auto part = at(i).Clipped(rect, circle);
    if (!part) {
      remove(i);
      continue;
    }
    part->selected = at(i).selected;
    items[static_cast<size_t>(i)] = std::move(part);
  }
}

}  // namespace tarnvisor
