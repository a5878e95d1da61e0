#include <cmath>

#include "base/text.h"
#include "bindings.h"
#include "traces/trace.h"

namespace tarnvisor::python {

namespace {

py::dtype typeOf(const ZZTrace& trace) {
  switch (trace.typecode()) {
    case kInt8Code:
      return py::dtype::of<int8_t>();
    case kUint8Code:
      return py::dtype::of<uint8_t>();
    case kInt16Code:
      return py::dtype::of<int16_t>();
    case kUint16Code:
      return py::dtype::of<uint16_t>();
    case kInt32Code:
      return py::dtype::of<int32_t>();
    case kUint32Code:
      return py::dtype::of<uint32_t>();
    case kFloatCode:
      return py::dtype::of<float>();
    default:
      return py::dtype::of<double>();
  }
}

py::array samplesOf(const std::shared_ptr<ZZTrace>& trace) {
  if (trace->size() == 0) return py::array_t<double>(0);
  const py::dtype type = typeOf(*trace);
  const py::ssize_t rows = trace->size(), width = trace->data->width, item = type.itemsize();
  if (hasRows(*trace->data))
    return view(type, {rows, width}, {width * item, item}, trace->data->dataat(0), keeping(trace));
  return view(type, {rows}, {item}, trace->data->dataat(0), keeping(trace));
}

// In time order, as they are shown.
py::array_t<double> valuesOf(const ZZTrace& trace) {
  const uint32_t rows = trace.size();
  const py::ssize_t width = rows > 0 ? trace.data->width : 1;
  const bool isPlane = rows > 0 && hasRows(*trace.data);
  py::array_t<double> values(isPlane ? std::vector<py::ssize_t>{rows, width}
                                     : std::vector<py::ssize_t>{rows});
  if (rows == 0) return values;
  const uint32_t origin = trace.origin % rows;
  double* to = values.mutable_data();
  const double* const end = to + rows * width;
  trace.data->getcopy(to, origin, rows - origin);
  if (origin > 0) trace.data->getcopy(to + (rows - origin) * width, 0, origin);
  for (; to != end; ++to) *to = trace.isAbsent(*to) ? std::nan("") : trace.displayed(*to);
  return values;
}

py::array_t<double> timesOf(const ZZTrace& trace) {
  const uint32_t rows = trace.size();
  py::array_t<double> times(rows);
  for (uint32_t age = 0; age < rows; ++age)
    times.mutable_at(age) = trace.timeof((trace.origin % rows + age) % rows);
  return times;
}

}  // namespace

void bindTraces(py::module_& module) {
  py::class_<ZZTrace, std::shared_ptr<ZZTrace>>(
      module, "Trace", "A sampled signal of a chart. A shown value is sample * gain + offset.")
      .def_property_readonly("name", [](const ZZTrace& t) { return text(t.name); })
      .def_property_readonly(
          "samples", &samplesOf,
          "numpy view without a copy of what is stored, in its own type: (samples,), or (rows, width) of spectra and "
          "the like. A ring: the oldest is the one at origin.")
      .def("values", &valuesOf,
           "Shown values in time order, float64 of the shape of samples; NaN where nothing was measured.")
      .def("times", &timesOf, "Seconds of these values, float64 of shape (samples,).")
      .def_readonly("period", &ZZTrace::period, "Seconds a sample.")
      .def_property_readonly(
          "start", [](const ZZTrace& t) { return t.starttime * 0.001; }, "Seconds, of the oldest sample.")
      .def_readonly("origin", &ZZTrace::origin, "Index of the oldest sample.")
      .def_readonly("gain", &ZZTrace::ygain, "Units of y a step of the samples.")
      .def_readonly("offset", &ZZTrace::yoffset, "In units of y.")
      .def_readonly("x_scale", &ZZTrace::xscale, "Factor of the x axis.")
      .def_property_readonly("x_unit", [](const ZZTrace& t) { return text(t.xunits); })
      .def_property_readonly("y_unit", [](const ZZTrace& t) { return text(t.yunits); })
      .def("__len__", &ZZTrace::size)
      .def("__repr__", [](const ZZTrace& t) {
        return format("<tarnvisor.Trace \"%s\" of %u samples>", t.name.c_str(), t.size());
      });
}

}  // namespace tarnvisor::python
