#include "imagedoc/handles.h"

#include <array>
#include <cmath>

#include "imagedoc/zbasicdoc.h"
#include "measure/dimcircle.h"
#include "measure/dimrect.h"
#include "measure/distance.h"

namespace tarnvisor {

namespace {

constexpr std::array<Point, 8> kSides{{{-1, -1}, {0, -1}, {1, -1}, {1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}}};
// Of the way to the next part: beyond that the shape as a whole is meant, so that one whose parts lie close
// together can still be moved.
constexpr double kOwnShare = 0.2;

int32_t onAxis(int32_t side, int32_t low, int32_t high) {
  return side < 0 ? low : side > 0 ? high : wrapAdd(low, wrapSub(high, low) / 2);
}

std::vector<Handle> partsOfBox(const Rect& box, Handle::Of of, int32_t mark) {
  std::vector<Handle> parts;
  for (int32_t i = 0; i < 8; ++i) {
    const Point side = kSides[static_cast<size_t>(i)];
    parts.push_back(
        {of, mark, i, {onAxis(side.x, box.left, box.right), onAxis(side.y, box.top, box.bottom)}});
  }
  return parts;
}

// Of parts in their order along the shape.
Handle nearestPart(const std::vector<Handle>& parts, const Aim& aim) {
  Handle nearest;
  double least = aim.reach;
  const auto reachFrom = [&](size_t i) {
    double next = kNever;
    for (const size_t other : {i - 1, i + 1})
      if (other < parts.size())
        next = std::min(next, std::hypot(double(parts[other].at.x) - parts[i].at.x,
                                         double(parts[other].at.y) - parts[i].at.y));
    return std::min(aim.reach, next * kOwnShare);
  };
  for (size_t i = 0; i < parts.size(); ++i) {
    const double distance = distanceToPoint(aim.x, aim.y, parts[i].at);
    if (distance > reachFrom(i) || distance > least || (nearest && distance == least)) continue;
    nearest = parts[i];
    least = distance;
  }
  return nearest;
}

// The place on the rim that is meant, if it is the rim rather than the centre.
Handle rimUnder(const CDimCircle& circle, int32_t mark, const Aim& aim) {
  Point middle;
  double x = 0, y = 0;
  circle.Centre(middle, x, y);
  const double radius = circle.radius(), off = std::hypot(aim.x - x, aim.y - y);
  if (std::abs(off - radius) > aim.reach || off <= radius * 0.5) return {};
  const auto onRim = [&](double centre, double towards) {
    return static_cast<int32_t>(std::lround(centre + (towards - centre) * radius / off));
  };
  return {Handle::Of::Point, mark, 1, {onRim(x, aim.x), onRim(y, aim.y)}};
}

Handle partUnder(const ZBasicDoc& document, int32_t mark, const Aim& aim) {
  const CDim& shape = document.currentDims().at(mark);
  const auto* circle = dynamic_cast<const CDimCircle*>(&shape);
  if (circle && shape.points.size() == 2) return rimUnder(*circle, mark, aim);
  return nearestPart(partsOfMark(document, mark), aim);
}

double distanceToRoi(const ZBasicDoc& document, const Aim& aim) {
  const Rect& roi = document.roi;
  if (roi.isEmpty()) return kNever;
  if (!document.hasCircularRoi()) return distanceToBox(aim.x, aim.y, roi);
  const double x = (double(roi.left) + roi.right) * 0.5, y = (double(roi.top) + roi.bottom) * 0.5;
  return std::abs(std::hypot(aim.x - x, aim.y - y) - (double(roi.right) - roi.left) * 0.5);
}

}  // namespace

Point sidesOf(const Handle& part) {
  return part.of == Handle::Of::Point || part.part < 0 ? Point{} : kSides[static_cast<size_t>(part.part) % 8];
}

std::vector<Handle> partsOfMark(const ZBasicDoc& document, int32_t mark) {
  const CDim& shape = document.currentDims().at(mark);
  if (const auto* rect = dynamic_cast<const CDimRect*>(&shape); rect && shape.points.size() == 2)
    return partsOfBox(rect->bounds, Handle::Of::MarksBox, mark);
  std::vector<Handle> parts;
  // A single point is moved, and so is what no two points tell.
  if (shape.points.size() < 2 || (dynamic_cast<const CDimCircle*>(&shape) && shape.points.size() == 2))
    return parts;
  for (int32_t i = 0; i < shape.pointCount(); ++i)
    parts.push_back({Handle::Of::Point, mark, i, shape.points[static_cast<size_t>(i)]});
  return parts;
}

std::vector<Handle> partsOfRoi(const ZBasicDoc& document) {
  if (document.roi.isEmpty()) return {};
  std::vector<Handle> parts = partsOfBox(document.roi, Handle::Of::RoisBox, -1);
  if (document.hasCircularRoi()) std::erase_if(parts, [](const Handle& part) { return part.part % 2 == 0; });
  return parts;
}

Handle handleUnder(const ZBasicDoc& document, int32_t selected, const Aim& aim) {
  const CDimList& dims = document.currentDims();
  const std::vector<int32_t> chosen = dims.selection(selected);
  if (chosen.size() == 1)
    if (const Handle part = partUnder(document, chosen[0], aim)) return part;
  if (const int32_t mark = dims.nearestSelected(aim.x, aim.y, aim.reach, selected); mark >= 0)
    return {Handle::Of::Mark, mark, -1, {}};
  const int32_t mark = dims.nearest(aim.x, aim.y, aim.reach);
  const double toRoi = distanceToRoi(document, aim);
  if (mark >= 0 && dims.at(mark).DistanceTo(aim.x, aim.y) <= toRoi) return {Handle::Of::Mark, mark, -1, {}};
  if (const Handle part = nearestPart(partsOfRoi(document), aim)) return part;
  if (toRoi <= aim.reach) return {Handle::Of::Roi, -1, -1, {}};
  return {};
}

std::unique_ptr<CDim> reshapedMark(const ZBasicDoc& document, const Handle& part, Point to) {
  const CDimList& dims = document.currentDims();
  if (!dims.isValid(part.mark)) return nullptr;
  auto shape = dims.at(part.mark).Clone();
  if (part.of == Handle::Of::Point) {
    const bool isCircle = dynamic_cast<const CDimCircle*>(shape.get()) != nullptr;
    if (shape->points.size() == 2 && !isCircle)
      to = document.placeOfSecond(shape->points[part.part == 0 ? 1 : 0], to);
    shape->MovePoint(part.part, to);
  } else if (const auto* rect = dynamic_cast<const CDimRect*>(shape.get())) {
    const Rect box = rect->bounds;
    const Point side = sidesOf(part);
    const Point stays{side.x < 0 ? box.right : box.left, side.y < 0 ? box.bottom : box.top};
    Point goes{side.x < 0 ? box.left : box.right, side.y < 0 ? box.top : box.bottom};
    if (side.x != 0) goes.x = to.x;
    if (side.y != 0) goes.y = to.y;
    shape->points = {stays, document.placeOfSecond(stays, goes)};
    shape->Update();
  }
  return shape;
}

Rect reshapedRoi(const ZBasicDoc& document, const Handle& part, Point to) {
  Rect box = document.roi;
  const Point side = sidesOf(part);
  if (side.x < 0) box.left = to.x;
  if (side.x > 0) box.right = to.x;
  if (side.y < 0) box.top = to.y;
  if (side.y > 0) box.bottom = to.y;
  box = box.normalised();
  if (!document.hasCircularRoi()) return box;
  const int32_t half = (side.x != 0 ? box.width() : box.height()) / 2;
  const Point stays{side.x < 0 ? document.roi.right : document.roi.left,
                    side.y < 0 ? document.roi.bottom : document.roi.top};
  const Point was = document.roi.topLeft() + Point{document.roi.width() / 2, document.roi.height() / 2};
  // The middle moves along the axis that is pulled, away from the end that stays.
  const auto middle = [half](int32_t pulled, int32_t before, int32_t end, int32_t target) {
    return pulled == 0 ? before : wrapAdd(end, target < end ? -half : half);
  };
  const Point centre{middle(side.x, was.x, stays.x, to.x), middle(side.y, was.y, stays.y, to.y)};
  return Rect{centre.x, centre.y, centre.x, centre.y}.inflatedBy(half);
}

}  // namespace tarnvisor
