// The windows "Grey level profile" of a line and "Histogram" of the region of interest: live charts that
// follow the image view in front. They have no file.
#pragma once

#include <cstdint>

namespace tarnvisor {

class ZBasicDoc;

// Opens or raises the chart of the dimension with that index in the document's current list.
void showGreyLevelProfile(ZBasicDoc& document, int32_t dimension);
void showHistogram(ZBasicDoc& document);
// Brings open charts of this document up to date. Cheap when there are none.
void refreshLevelCharts(ZBasicDoc& document, int32_t selectedDimension);

}  // namespace tarnvisor
