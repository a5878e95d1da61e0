// Measures and the stored form.
#include "measure/dim.h"

#include <cmath>
#include <new>

#include "base/numbers.h"
#include "measure/dimcircle.h"
#include "measure/dimline.h"
#include "measure/dimlist.h"
#include "measure/dimpolygon.h"
#include "measure/dimrect.h"
#include "measure/distance.h"
#include "measure/segmentclip.h"

namespace tarnvisor {

namespace {

constexpr uint32_t kVersion = 3;
constexpr uint32_t kOldObject = 255;  // no version: the first word is the colour

double scaledDistance(Point a, Point b, double sx, double sy) {
  const double dx = double(b.x) - a.x, dy = double(b.y) - a.y;
  if (dx == 0.0 && dy == 0.0) return 0.0;
  return std::sqrt(dx * sx * dx * sx + dy * sy * dy * sy);
}

}  // namespace

const ArchiveClass& CDim::archiveClass() {
  static const ArchiveClass record{"CDim", 1, nullptr,
                                   [] { return std::unique_ptr<ArchiveObject>(std::make_unique<CDim>()); }};
  return record;
}

void registerDimensionClasses() {
  for (const ArchiveClass* record :
       {&CDim::archiveClass(), &CDimLine::archiveClass(), &CDimCircle::archiveClass(),
        &CDimRect::archiveClass(), &CDimPolygon::archiveClass(), &CDimList::archiveClass()})
    registerArchiveClass(*record);
}

void CDim::serialize(Archive& archive) {
  if (archive.isStoring()) {
    archive.putDword(kVersion);
    archive.putDword(colour);
    archive.putInt(width);
    archive.writeString(label);
    archive.writeValues<Point>(points);
    return;
  }
  const uint32_t version = archive.getDword();
  label.clear();
  if (version == kOldObject) {
    colour = kOldObject;
  } else {
    colour = archive.getDword();
    width = archive.getInt();
    if (version > 2) label = archive.readString();
  }
  archive.readValues(points);
  Close();
  Update();
}

bool CDim::GetPoint(int32_t index, Point& out) const {
  if (!hasPoint(index)) return false;
  out = points[static_cast<size_t>(index)];
  return true;
}

int32_t CDim::AddPoint(Point point) {
  try {
    points.push_back(point);
    Update();
  } catch (const std::bad_alloc&) {
    return -1;
  }
  return pointCount() - 1;
}

double CDim::Length(double sx, double sy) const { return PathLength(0, pointCount() - 1, sx, sy); }

double CDim::LengthX(double sx) const {
  double sum = 0.0;
  for (size_t i = 1; i < points.size(); ++i) sum += std::abs(double(points[i].x) - points[i - 1].x) * sx;
  return sum;
}

double CDim::LengthY(double sy) const {
  double sum = 0.0;
  for (size_t i = 1; i < points.size(); ++i) sum += std::abs(double(points[i].y) - points[i - 1].y) * sy;
  return sum;
}

double CDim::LengthIn(const Rect& rect, bool circle, double sx, double sy) const {
  double sum = 0.0;
  for (size_t i = 1; i < points.size(); ++i) {
    Point a = points[i - 1], b = points[i];
    if (circle)
      sum += scaledDistance(a, b, sx, sy) * shareInCircle(a, b, rect);
    else if (clipSegment(a, b, rect, false))
      sum += scaledDistance(a, b, sx, sy);
  }
  return sum;
}

double CDim::PathLength(int32_t i, int32_t j, double sx, double sy) const {
  double sum = 0.0;
  const int32_t end = std::min(j, pointCount() - 1);
  for (int32_t k = std::max(i, 0); k < end; ++k) sum += Distance(k, k + 1, sx, sy);
  return sum;
}

double CDim::Distance(int32_t i, int32_t j, double sx, double sy) const {
  if (!hasPoint(i) || !hasPoint(j)) return 0.0;
  return scaledDistance(points[static_cast<size_t>(i)], points[static_cast<size_t>(j)], sx, sy);
}

double CDim::Direction(int32_t i, int32_t j, double sx, double sy) const {
  if (!hasPoint(i) || !hasPoint(j)) return 0.0;
  const Point a = points[static_cast<size_t>(i)], b = points[static_cast<size_t>(j)];
  return std::atan2((double(b.y) - a.y) * sy, (double(b.x) - a.x) * sx);
}

double CDim::Area(double, double) const { return 0.0; }
double CDim::AreaIn(const Rect& rect, bool circle, double sx, double sy) const {
  return Overlaps(rect, circle) ? Area(sx, sy) : 0.0;
}

double CDim::Tortuosity1(double, double, int32_t& curves) {
  curves = 0;
  return 0.0;
}

bool CDim::chord(double& dx, double& dy) const {
  if (points.empty()) return false;
  dx = double(points.back().x) - points.front().x;
  dy = double(points.back().y) - points.front().y;
  return dx != 0.0 || dy != 0.0;
}

void CDim::PointAtDistance(double length, Point& out) const {
  const double whole = Length(1.0, 1.0);
  PointAtFraction(whole > 0.0 ? length / whole : 0.0, out);
}

void CDim::PointAtFraction(double fraction, Point& out) const {
  if (points.empty()) return;
  const Point first = points.front(), last = points.back();
  out = {truncated(first.x + fraction * (double(last.x) - first.x)),
         truncated(first.y + fraction * (double(last.y) - first.y))};
}

void CDim::Centre(Point& out, double& x, double& y) const {
  if (points.empty()) return;
  out = points.front();
  x = out.x;
  y = out.y;
}

void CDim::Anchor(Point& out) const {
  double x = 0.0, y = 0.0;
  Centre(out, x, y);
}

double CDim::DistanceTo(double x, double y) const {
  double nearest = kNever;
  for (size_t i = 0; i < points.size(); ++i) {
    nearest = std::min(nearest, distanceToPoint(x, y, points[i]));
    if (i > 0) nearest = std::min(nearest, distanceToSegment(x, y, points[i - 1], points[i]));
  }
  return nearest;
}

bool CDim::isSame(const CDim& other) const {
  return &classRecord() == &other.classRecord() && colour == other.colour && width == other.width &&
         label == other.label && points == other.points;
}

bool CDim::Overlaps(const Rect& rect, bool circle) const {
  if (points.size() == 1) return PointIn(0, rect, circle);
  for (size_t i = 1; i < points.size(); ++i) {
    Point a = points[i - 1], b = points[i];
    if (clipSegment(a, b, rect, circle)) return true;
  }
  return false;
}

bool CDim::AllInside(const Rect& rect) const {
  for (const Point& point : points)
    if (!rect.contains(point)) return false;
  return true;
}

bool CDim::AnyPointIn(const Rect& rect, bool circle) const {
  for (int32_t i = 0; i < pointCount(); ++i)
    if (PointIn(i, rect, circle)) return true;
  return false;
}

bool CDim::PointIn(int32_t index, const Rect& rect, bool circle) const {
  if (!hasPoint(index)) return false;
  const Point point = points[static_cast<size_t>(index)];
  return isWithin(point.x, point.y, rect, circle);
}

bool CDim::isWithin(double x, double y, const Rect& rect, bool circle) {
  if (x < rect.left || x >= rect.right || y < rect.top || y >= rect.bottom) return false;
  if (!circle) return true;
  const double dx = x - (double(rect.left) + rect.right) * 0.5;
  const double dy = y - (double(rect.top) + rect.bottom) * 0.5;
  const double radius = (double(rect.bottom) - rect.top) * 0.5;
  return dx * dx + dy * dy <= radius * radius;
}

}  // namespace tarnvisor
