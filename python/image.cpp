#include "image.h"

#include <algorithm>

#include "base/text.h"
#include "dicom/dicomreader.h"
#include "image/imagefile.h"
#include "image/stillimport.h"
#include "program.h"

namespace tarnvisor::python {

namespace {

const char* coloursOf(const CZZimage& image) {
  return image.colourset == kColour ? "colour" : image.colourset == kBayer ? "mosaic" : "grey";
}

// One that can't be read has no pages, and says why when its first is read.
void requirePage(int32_t page, int32_t pages) {
  if (page != 0 && page >= pages)
    throw py::index_error(format("there is no page %i: there are %i", page, pages));
}

// By the road that an image document takes to a file of pixels, without the scale that the settings lend it.
void read(const std::string& path, int32_t page, Image& image) {
  if (isDicomFile(path)) {
    std::string why;
    const auto pictures = openDicom(path, why);
    if (!pictures) throw Failure(path + " can't be read: " + why);
    requirePage(page, pictures->frames());
    if (!pictures->read(page, *image.pixels)) throw Failure(path + " can't be read: it is damaged.");
    image.pixel = {pictures->scale().x, pictures->scale().y};
    for (const std::string& line : pictures->remarks()) image.notes += line + "\n";
    return;
  }
  requirePage(page, stillPages(path));
  std::string flaw;
  if (page == 0 && loadsAsItStands(path)) {
    if (!image.pixels->load(path, {}, &flaw))
      throw Failure(path + " can't be read" + (flaw.empty() ? "." : ": " + flaw));
  } else if (const Outcome done = importStill(path, page, *image.pixels, &flaw); !done) {
    throw Failure(done.why());
  }
  const ToldScale told = stillScale(path, page);
  if (told.isTold()) image.pixel = {told.x, told.y};
  for (const std::string& line : {flaw, told.doubt})
    if (!line.empty()) image.notes += line + "\n";
}

Image readImage(const py::object& path, int32_t page) {
  const std::string file = existingFile(path);
  if (page < 0) throw py::index_error("pages are counted from 0");
  Image image{std::make_shared<CZZimage>(), {}, {}, false};
  const Turn turn;
  read(file, page, image);
  if (image.pixels->empty()) throw Failure(file + " holds no picture.");
  return image;
}

using Bytes = py::array_t<uint8_t, py::array::c_style>;

Image makeImage(const Bytes& from, const std::optional<std::pair<double, double>>& scale) {
  const bool colour = from.ndim() == 3;
  if (from.ndim() != (colour ? 3 : 2) || (colour && from.shape(2) != 3))
    throw py::value_error("an image is an array of bytes of shape (rows, columns) or (rows, columns, 3)");
  constexpr py::ssize_t kMostSide = 1 << 20;
  if (std::min(from.shape(0), from.shape(1)) < 1 || std::max(from.shape(0), from.shape(1)) > kMostSide ||
      from.shape(0) * from.shape(1) > kMostImportedPixels)
    throw py::value_error("an image of that size can't be made");
  if (scale && !(scale->first > 0 && scale->second > 0)) throw py::value_error("a scale is above 0");
  const auto rows = static_cast<int32_t>(from.shape(0)), columns = static_cast<int32_t>(from.shape(1));
  Image image{std::make_shared<CZZimage>(columns, rows, -1, 0, colour ? kColour : kGrey), {}, {}, true};
  if (image.pixels->empty()) throw std::bad_alloc();
  if (scale) image.pixel = {scale->first, scale->second};
  pixelsOf(image.pixels, true).attr("__setitem__")(py::ellipsis(), from);
  return image;
}

void save(const Image& image, const py::object& path) {
  const std::string file = pathOf(path);
  const Turn turn;
  if (const Outcome done = exportStill(*image.pixels, file, image.pixel); !done) throw Failure(done.why());
}

}  // namespace

py::array pixelsOf(const std::shared_ptr<CZZimage>& image, bool mayWrite) {
  const py::ssize_t rows = image->height, columns = image->width;
  // In memory a pixel is blue, green, red.
  const bool colour = image->bytesPerPixel == 3;
  py::array looks = colour ? view(py::dtype::of<uint8_t>(), {rows, columns, 3}, {image->stride, 3, -1},
                                  image->pixels + 2, keeping(image))
                           : view(py::dtype::of<uint8_t>(), {rows, columns}, {image->stride, 1},
                                  image->pixels, keeping(image));
  if (mayWrite) py::detail::array_proxy(looks.ptr())->flags |= py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
  return looks;
}

void bindImage(py::module_& module) {
  py::class_<Image, std::shared_ptr<Image>>(module, "Image", "A still image of 8-bit samples.")
      .def(
          py::init(&makeImage), py::arg("pixels"), py::arg("scale") = py::none(),
          "A copy of an array of uint8, shape (rows, columns) or (rows, columns, 3) in the order red, green, "
          "blue; its pixels may be written to. scale: (x, y) in micrometres a pixel.")
      .def_property_readonly(
          "pixels", [](const Image& i) { return pixelsOf(i.pixels, i.isUsers); },
          "numpy view without a copy, uint8, top row first: (rows, columns), or (rows, columns, 3) in the order red, "
          "green, blue. Read-only unless the image was made in Python. It keeps the image's memory alive.")
      .def_property_readonly(
          "scale",
          [](const Image& i) {
            return i.pixel.isKnown() ? std::optional(std::pair(i.pixel.x, i.pixel.y)) : std::nullopt;
          },
          "(x, y) in micrometres a pixel; None where nobody tells it.")
      .def_property_readonly(
          "aspect",
          [](const Image& i) {
            return i.pixel.isKnown() ? std::optional(i.pixel.y / i.pixel.x) : std::nullopt;
          },
          "Height of a pixel divided by its width; None without a scale.")
      .def_property_readonly(
          "notes", [](const Image& i) { return text(i.notes); },
          "Lines on what is amiss with the file or doubtful of its scale; empty for nothing.")
      .def_property_readonly(
          "colours", [](const Image& i) { return coloursOf(*i.pixels); },
          "'grey', 'colour', or 'mosaic' for a sensor's raw pattern.")
      .def_property_readonly(
          "field", [](const Image& i) { return i.pixels->interlace; },
          "0 for a whole frame, 1 or 2 for the field of an interlaced frame that holds its even or odd rows.")
      .def_property_readonly(
          "origin",
          [](const Image& i) { return std::pair(i.pixels->frameOrigin().x, i.pixels->frameOrigin().y); },
          "(x, y) of the first pixel among the marks of its document, in pixels of a frame.")
      .def("save", &save, py::arg("path"), "Writes a .bmp, .tif or .zzg file, by the ending.")
      .def("__repr__", [](const Image& i) {
        return format("<tarnvisor.Image %ix%i %s>", i.pixels->width, i.pixels->height, coloursOf(*i.pixels));
      });
  module.def("read_image", &readImage, py::arg("path"), py::arg("page") = 0,
             "Reads a still of any kind that the program opens. page: of a file with several, from 0.");
}

}  // namespace tarnvisor::python
