// What the parts of the module share. Each part binds one subject; module.cpp puts them together.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tarnvisor::python {

namespace py = pybind11;

// tarnvisor.Error: the system's own words for what did not work.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Texts of the system as Python has them: UTF-8, and what is none counts as Latin-1.
py::str text(std::string_view words);
// A str, bytes or os.PathLike as the system takes it. FileNotFoundError where no such file is.
std::string pathOf(const py::object& path);
std::string existingFile(const py::object& path);

// What keeps memory alive for as long as an array looks at it.
template <class Owner>
py::capsule keeping(std::shared_ptr<Owner> owner) {
  return py::capsule(new std::shared_ptr<Owner>(std::move(owner)),
                     [](void* kept) { delete static_cast<std::shared_ptr<Owner>*>(kept); });
}
// An array that looks at memory of the owner, which nobody may write to.
py::array view(const py::dtype& type, std::vector<py::ssize_t> shape, std::vector<py::ssize_t> strides,
               const void* first, const py::capsule& owner);

// An index as Python counts them, from the end where it is negative; IndexError outside.
size_t placeOf(py::ssize_t index, size_t count, const char* what);

void bindImage(py::module_& module);
void bindMovie(py::module_& module);
void bindMeasure(py::module_& module);
void bindTraces(py::module_& module);
void bindDocuments(py::module_& module);
void bindScript(py::module_& module);

}  // namespace tarnvisor::python
