// Where the markers of a list lie on a chart, for drawing and finding them under the mouse.
//
// The drawing area is in columns and rows of the chart: its left edge is how far the chart is scrolled, so
// that column = trunc(time / seconds per column) lies in it or not. The rectangles of placements count from
// the area's bottom left corner, y downward: a box sits 10 rows below the top edge, its right edge (the pole)
// at the marker's moment. `origin` is that corner on the canvas.
#pragma once

#include <map>

#include "charts/markerlist.h"

namespace tarnvisor {

struct MarkerPlacement {
  bool selected = false;
  Rect rect;                  // empty when the moment is outside the area
  CMarker* marker = nullptr;  // borrowed from its list
};

class MarkerPlacements final : public MarkerWatcher {
 public:
  using Key = uint32_t;

  // One placement for each marker of the list; those known keep their key and selection.
  void place(const CMarkerList& list, const Rect& area, double secondsPerColumn, const TextMeasure& measure);
  // One marker's rectangle.
  static Rect rectOf(const CMarker& marker, const Rect& area, double secondsPerColumn,
                     const TextMeasure& measure);
  void draw(Canvas& canvas, Point origin) const;
  // The marker whose box holds a point of the canvas, the one drawn last where several do; null for none.
  MarkerPlacement* hit(Point point, Point origin);
  MarkerPlacement* find(const CMarker& marker);
  void clear() { placements.clear(); }
  const std::map<Key, MarkerPlacement>& all() const { return placements; }
  void markerGone(const CMarker& marker) override;  // its placement goes with it

 private:
  std::map<Key, MarkerPlacement> placements;  // in the order in which markers were first placed
  Key nextKey = 1;
};

}  // namespace tarnvisor
