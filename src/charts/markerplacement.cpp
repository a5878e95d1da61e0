#include "charts/markerplacement.h"

#include <cmath>
#include <unordered_map>

#include "base/numbers.h"

namespace tarnvisor {

namespace {
constexpr int32_t kBelowTop = 10;
}  // namespace

Rect MarkerPlacements::rectOf(const CMarker& marker, const Rect& area, double secondsPerColumn,
                              const TextMeasure& measure) {
  const double column = marker.time / secondsPerColumn;
  if (marker.time == CMarker::kNoTime || !std::isfinite(column)) return {};
  const int32_t x = truncated(column);
  if (x < area.left || x >= area.right) return {};
  const Size box = marker.boxSize(measure);
  const int32_t right = wrapSub(x, area.left);
  const int32_t top = wrapAdd(wrapSub(area.top, area.bottom), kBelowTop);
  return {wrapSub(right, box.width), top, right, wrapAdd(top, box.height)};
}

void MarkerPlacements::place(const CMarkerList& list, const Rect& area, double secondsPerColumn,
                             const TextMeasure& measure) {
  std::unordered_map<const CMarker*, Key> known;
  for (const auto& [key, placement] : placements) known.emplace(placement.marker, key);
  std::map<Key, MarkerPlacement> former;
  former.swap(placements);
  for (const auto& item : list.items) {
    const auto found = known.find(item.get());
    const Key key = found == known.end() ? nextKey++ : found->second;
    const bool selected = found != known.end() && former[key].selected;
    placements[key] = {selected, rectOf(*item, area, secondsPerColumn, measure), item.get()};
  }
}

void MarkerPlacements::draw(Canvas& canvas, Point origin) const {
  for (const auto& [key, placement] : placements) {
    if (placement.rect.isEmpty()) continue;
    const Rect box = placement.rect.offsetBy(origin.x, origin.y);
    placement.marker->Draw(canvas, box.left, box.top);
    if (!placement.selected) continue;
    canvas.setPen({0, 1, true});
    canvas.rectangle(box.inflatedBy(2));
  }
}

MarkerPlacement* MarkerPlacements::hit(Point point, Point origin) {
  const Point at = point - origin;
  for (auto placement = placements.rbegin(); placement != placements.rend(); ++placement)
    if (placement->second.rect.contains(at)) return &placement->second;
  return nullptr;
}

MarkerPlacement* MarkerPlacements::find(const CMarker& marker) {
  for (auto& [key, placement] : placements)
    if (placement.marker == &marker) return &placement;
  return nullptr;
}

void MarkerPlacements::markerGone(const CMarker& marker) {
  std::erase_if(placements, [&](const auto& entry) { return entry.second.marker == &marker; });
}

}  // namespace tarnvisor
