// tarnvisor._core: the compiled part of the Python module.
#include <cerrno>

#include "base/files.h"
#include "base/text.h"
#include "bindings.h"

namespace tarnvisor::python {

py::str text(std::string_view words) {
  const auto size = static_cast<py::ssize_t>(words.size());
  PyObject* decoded = PyUnicode_DecodeUTF8(words.data(), size, nullptr);
  if (!decoded) {
    PyErr_Clear();
    decoded = PyUnicode_DecodeLatin1(words.data(), size, nullptr);
  }
  if (!decoded) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(decoded);
}

std::string pathOf(const py::object& path) {
  PyObject* bytes = nullptr;
  if (!PyUnicode_FSConverter(path.ptr(), &bytes)) throw py::error_already_set();
  return py::reinterpret_steal<py::bytes>(bytes);
}

std::string existingFile(const py::object& path) {
  std::string file = pathOf(path);
  if (fileExists(file)) return file;
  errno = folderExists(file) ? EISDIR : ENOENT;
  PyErr_SetFromErrnoWithFilename(PyExc_OSError, file.c_str());
  throw py::error_already_set();
}

py::array view(const py::dtype& type, std::vector<py::ssize_t> shape, std::vector<py::ssize_t> strides,
               const void* first, const py::capsule& owner) {
  py::array looks(type, std::move(shape), std::move(strides), first, owner);
  py::detail::array_proxy(looks.ptr())->flags &= ~py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
  return looks;
}

size_t placeOf(py::ssize_t index, size_t count, const char* what) {
  const auto all = static_cast<py::ssize_t>(count);
  const py::ssize_t place = index < 0 ? index + all : index;
  if (place < 0 || place >= all)
    throw py::index_error(format("there is no %s %zi: there are %zu", what, index, count));
  return static_cast<size_t>(place);
}

}  // namespace tarnvisor::python

PYBIND11_MODULE(_core, module) {
  namespace python = tarnvisor::python;
  const auto error = pybind11::register_exception<python::Failure>(module, "Error", PyExc_RuntimeError);
  error.doc() = "What did not work, in the program's own words.";
  module.attr("ScriptError") = pybind11::exception<python::Failure>(module, "ScriptError", error);
  python::bindImage(module);
  python::bindMovie(module);
  python::bindMeasure(module);
  python::bindTraces(module);
  python::bindDocuments(module);
  python::bindScript(module);
}
