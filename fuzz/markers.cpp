// A list of markers' bytes, then all that a chart does with them.
#include <cstddef>
#include <cstdlib>

#include "charts/markereditor.h"
#include "charts/markerplacement.h"
#include "countingcanvas.h"

using namespace tarnvisor;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  registerMarkers();
  MemoryStream memory({data, data + size});
  Archive archive(memory, Archive::Direction::Loading);
  CMarkerList list, other;
  try {
    list.serialize(archive);
  } catch (const ArchiveException&) {
  }
  MarkerPlacements placements;
  placements.place(list, {-5, 0, 400, 300}, 0.01, {7, 16});
  CountingCanvas canvas;
  placements.draw(canvas, {INT32_MAX, 3});
  if (MarkerPlacement* hit = placements.hit({20, 20}, {0, 300})) hit->selected = true;
  for (const auto& item : list.items) {
    item->Draw(canvas, INT32_MAX, INT32_MIN);
    MarkerEditor::shared().open(*item);
    MarkerEditor::shared().update();
    if (other.size() < 100) other.add(item->Clone());
  }
  MemoryStream out;
  Archive storing(out, Archive::Direction::Storing);
  const auto copy = list.CopyRange(storing, 0.0, 10.0, true);
  storing.close();
  const size_t before = other.size();
  (void)other.Merge(*copy);
  if (other.size() < before) std::abort();
  list.Clear();
  if (!placements.all().empty() || MarkerEditor::shared().isOpen()) std::abort();
  return 0;
}
