// The output of qvoronoi, then what is made of its regions.
#include "analysis/voronoi.h"

#include <cstddef>

using namespace tarnvisor;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const auto diagram = readVoronoi({reinterpret_cast<const char*>(data), size});
  if (!diagram) return 0;
  const Rect image{0, 0, 640, 480};
  double sum = 0;
  for (size_t i = 0; i < diagram->regionCount(); ++i) {
    const auto outline = keptRegion(*diagram, i, image, {10, 10, 400, 400}, i % 2 == 0);
    if (!outline.empty()) sum += outline.front().x;
  }
  for (const PlanePoint& vertex : diagram->vertices) sum += kroghCircle(vertex, sum)[1].x;
  return sum == 0.5 ? 1 : 0;
}
