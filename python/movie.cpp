#include "movie.h"

#include "base/text.h"
#include "image.h"
#include "program.h"
#include "reading.h"

namespace tarnvisor::python {

namespace {

std::shared_ptr<Movie> openMovie(const py::object& path) {
  const std::string file = existingFile(path);
  const Turn turn;
  DocumentContents read = readDocument(file);
  if (!read.movie)
    throw Failure(file + " has no movie." + (read.messages.empty() ? "" : " " + read.messages));
  return read.movie;
}

CZZMovie& framesOf(const Movie& movie) {
  if (!movie.frames) throw py::value_error("the movie is closed");
  return *movie.frames;
}

py::array frame(const Movie& movie, py::ssize_t index) {
  CZZMovie& frames = framesOf(movie);
  const size_t place = placeOf(index, static_cast<size_t>(frames.count), "frame");
  const auto image = std::make_shared<CZZimage>();
  {
    const Turn turn;
    // Another thread may have closed it while this one waited.
    if (!movie.frames) throw Failure("the movie is closed");
    frames.getImage(static_cast<int32_t>(place), *image);
    if (!frames.hasRead()) throw Failure(format("image %zu of %s can't be read", place, movie.path.c_str()));
  }
  if (image->empty()) throw std::bad_alloc();
  return pixelsOf(image, true);
}

py::array_t<double> timestamps(const Movie& movie) {
  py::array_t<double> times(framesOf(movie).count);
  for (py::ssize_t i = 0; i < times.size(); ++i)
    times.mutable_at(i) = movie.framesPerSecond > 0 ? static_cast<double>(i) / movie.framesPerSecond : 0.0;
  return times;
}

py::array_t<int32_t> origins(const Movie& movie) {
  CZZMovie& frames = framesOf(movie);
  py::array_t<int32_t> places({static_cast<py::ssize_t>(frames.count), py::ssize_t{2}});
  int32_t* to = places.mutable_data();
  const Turn turn;
  if (!movie.frames) throw Failure("the movie is closed");
  for (int32_t i = 0; i < frames.count; ++i) {
    const FrameRecord& record = frames.recordOf(i);
    *to++ = record.isKnown() ? record.xOrigin : 0;
    *to++ = record.isKnown() ? record.yOrigin : 0;
  }
  return places;
}

void closeMovie(Movie& movie) {
  const Turn turn;
  movie.frames.reset();
}

}  // namespace

void bindMovie(py::module_& module) {
  py::class_<Movie, std::shared_ptr<Movie>>(
      module, "Movie",
      "The frames of a movie, read one at a time as they are asked for. Iterates over them; closes its file at the "
      "end of a with block, by close(), or when it goes.")
      .def("__len__", [](const Movie& m) { return framesOf(m).count; })
      .def(
          "frame", &frame, py::arg("index"),
          "A frame from 0, as an array of its own: uint8 of shape (rows, columns), or (rows, columns, 3) in the order "
          "red, green, blue. Decoded videos are grey. A negative index counts from the end; IndexError outside, Error "
          "for a damaged frame.")
      .def("__getitem__", &frame, py::arg("index"), "The same as frame().")
      .def_readonly("fps", &Movie::framesPerSecond, "Frames a second; of a movie of fields, fields a second.")
      .def_property_readonly("path", [](const Movie& m) { return text(m.path); })
      .def_property_readonly(
          "notes", [](const Movie& m) { return text(m.notes); },
          "Lines on what opening it had to say: a recording that was cut off, a rate that is assumed.")
      .def_property_readonly("codec", [](const Movie& m) { return text(framesOf(m).codec()); })
      .def_property_readonly(
          "shape",
          [](const Movie& m) { return std::pair(framesOf(m).form().height, framesOf(m).form().width); },
          "(rows, columns) of a frame.")
      .def_property_readonly("timestamps", &timestamps,
                             "Seconds from the first frame, float64 of shape (frames,).")
      .def_property_readonly(
          "origins", &origins,
          "Where each frame lies among the marks of its document, int32 of shape (frames, 2): x and y in pixels.")
      .def_property_readonly("closed", [](const Movie& m) { return m.frames == nullptr; })
      .def("close", &closeMovie, "Closes the file. Arrays that were read stay.")
      .def("__enter__", [](const std::shared_ptr<Movie>& m) { return framesOf(*m), m; })
      .def("__exit__", [](Movie& m, const py::args&) { closeMovie(m); })
      .def("__repr__", [](const Movie& m) {
        return m.frames ? format("<tarnvisor.Movie %i frames %s>", m.frames->count, m.path.c_str())
                        : std::string("<tarnvisor.Movie closed>");
      });
  module.def(
      "open_movie", &openMovie, py::arg("path"),
      "Opens the movie of a video document (.dtv), or a movie of any kind that the program opens: .mve, AVI and "
      "other videos, sequences of pictures, raw frames.");
}

}  // namespace tarnvisor::python
