#include "measure.h"

#include "base/text.h"
#include "imagedoc/dimdoc.h"

namespace tarnvisor::python {

namespace {

static_assert(sizeof(Point) == 2 * sizeof(int32_t));

py::array pointsOf(const Dimension& d) {
  constexpr py::ssize_t kItem = sizeof(int32_t);
  return view(py::dtype::of<int32_t>(), {d.mark->pointCount(), 2}, {2 * kItem, kItem}, d.mark->points.data(),
              keeping(d.list));
}

Dimension dimensionAt(const std::shared_ptr<DimensionList>& list, py::ssize_t index) {
  const size_t place = placeOf(index, list->dimensions->items.size(), "dimension");
  return {list, list->dimensions->items[place].get()};
}

}  // namespace

void bindMeasure(py::module_& module) {
  py::class_<Dimension>(module, "Dimension", "A mark on an image: a point, a line, an outline.")
      .def_property_readonly(
          "kind", [](const Dimension& d) { return kindOf(*d.mark); },
          "'point', 'line', 'polyline', 'circle', 'polygon' or 'rect'.")
      .def_property_readonly(
          "points", &pointsOf,
          "numpy view, int32 of shape (points, 2): x and y in pixels of the frame, y downward.")
      .def_property_readonly(
          "length", [](const Dimension& d) { return d.mark->Length(d.list->scale.x, d.list->scale.y); },
          "In the unit of its list.")
      .def_property_readonly(
          "area", [](const Dimension& d) { return d.mark->Area(d.list->scale.x, d.list->scale.y); },
          "In square units of its list.")
      .def_property_readonly("unit", [](const Dimension& d) { return text(d.list->unit); })
      .def_property_readonly("label", [](const Dimension& d) { return text(d.mark->label); })
      .def_property_readonly(
          "colour",
          [](const Dimension& d) {
            const Colour c = d.mark->colour;
            return py::make_tuple(c & 0xff, c >> 8 & 0xff, c >> 16 & 0xff);
          },
          "(red, green, blue) from 0 to 255.")
      .def("__repr__", [](const Dimension& d) {
        return format("<tarnvisor.Dimension %s of %i points>", kindOf(*d.mark), d.mark->pointCount());
      });
  py::class_<DimensionList, std::shared_ptr<DimensionList>>(
      module, "DimensionList", "One of the nine lists of marks of an image or video, in their order.")
      .def_readonly("number", &DimensionList::number, "0 to 8.")
      .def_property_readonly("name", [](const DimensionList& l) { return listName(l.number); })
      .def_property_readonly(
          "unit", [](const DimensionList& l) { return text(l.unit); }, "Of lengths; 'pixel' without a scale.")
      .def_property_readonly("hidden", [](const DimensionList& l) { return l.dimensions->hidden; })
      .def("__len__", [](const DimensionList& l) { return l.dimensions->items.size(); })
      .def("__getitem__", &dimensionAt, py::arg("index"))
      .def("__repr__", [](const DimensionList& l) {
        return format("<tarnvisor.DimensionList %i \"%s\" of %i>", l.number, listName(l.number),
                      l.dimensions->size());
      });
}

}  // namespace tarnvisor::python
