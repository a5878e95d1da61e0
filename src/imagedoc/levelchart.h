// The windows "Grey level profile" of a line and "Histogram" of the region of interest: live charts that
// follow the image view in front. There is one window of each kind, which follows the document that it was
// asked for last; after that document has gone it keeps what it showed.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "image/zzimage.h"

namespace tarnvisor {

class ZBasicDoc;

// Opens or raises the chart of the dimension with that index in the document's current list.
void showGreyLevelProfile(ZBasicDoc& document, int32_t dimension);
void showHistogram(ZBasicDoc& document);
// Brings open charts of this document up to date. Cheap when there are none.
void refreshLevelCharts(ZBasicDoc& document, int32_t selectedDimension);

// While a line is drawn or dragged: an open profile of this document shows the path through these points,
// which no dimension has yet.
void previewLevelProfile(ZBasicDoc& document, std::span<const Point> path);

// The profile along a path that need be no dimension, opened or raised, with the stretch between two places
// selected, in pixels from its first point.
void showProfileBetween(ZBasicDoc& document, std::span<const Point> path, double from, double to);

struct LevelSummary {
  double mean = 0, minimum = 0, maximum = 0;
};
LevelSummary summaryOf(std::span<const double> levels);  // zeros for none
// Of a rectangle in the parent frame, empty for all; of colour the levels that "Convert to grey" would give.
LevelSummary levelsWithin(const CZZimage& image, const Rect& rect);

enum class LevelChart { Profile, Histogram };
// The document that the chart of a kind follows; null for none, or one that has gone.
ZBasicDoc* followedBy(LevelChart kind);

}  // namespace tarnvisor
