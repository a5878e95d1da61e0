// A dust mask's bytes, then every measure and change of the list that they make.
#include <cstddef>

#include "countingcanvas.h"
#include "measure/dimline.h"
#include "measure/dimlist.h"

using namespace tarnvisor;

namespace {

void useAll(CDimList& list) {
  const Rect rect{-3, 2, 90, 70};
  int32_t curves = 0;
  for (const bool circle : {false, true}) {
    list.countIn(rect, circle);
    list.countPointsIn(rect, circle);
    list.totalLengthIn(rect, circle, 1.5, 0.5);
    list.totalAreaIn(rect, circle, 1.5, 0.5);
  }
  list.totalLength(1, 1);
  list.totalArea(1, 1);
  list.totalTortuosity0();
  list.totalTortuosity1(1, 1, curves);
  CountingCanvas canvas;
  list.draw(canvas, 0);
  for (int32_t i = 0; i < list.size(); ++i) {
    Point p;
    std::unique_ptr<CDimLine> one, other;
    list.at(i).Anchor(p);
    list.at(i).PointAtDistance(7.0, p);
    list.at(i).Perpendicular(9.0);
    list.at(i).PerpendicularsAtStart(one, other);
    list.at(i).selected = i % 2 == 0;
  }
  if (list.hit(3, 3, 3, 0) >= 0) list.drag(list.selectedindex, {70, -8});
  if (list.size() > 0) list.rotateByPoint(0, {9, 9});
  list.offset(INT32_MAX, INT32_MIN);
  list.scale(3, -2);
  list.clone()->clip(rect, false);
  list.clip(rect, true);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  registerDimensionClasses();
  MemoryStream memory({data, data + size});
  Archive archive(memory, Archive::Direction::Loading);
  CDimList list;
  try {
    list.serialize(archive);
  } catch (const ArchiveException&) {
  }
  useAll(list);
  return 0;
}
