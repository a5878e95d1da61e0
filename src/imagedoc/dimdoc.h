// The window "Dimension list": the measures of an image document's current list as a table.
#pragma once

namespace tarnvisor {

class ZBasicDoc;

// Opens or raises the list of this document.
void showDimensionList(ZBasicDoc& document);
// Brings an open list of this document up to date. Cheap when there is none.
void refreshDimensionList(ZBasicDoc& document);

}  // namespace tarnvisor
