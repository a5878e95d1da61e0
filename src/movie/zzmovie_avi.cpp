// Video files: opening one as a movie, and the export.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/files.h"
#include "base/numbers.h"
#include "movie/moviefile.h"
#include "movie/movieoutput.h"
#include "movie/moviepass.h"
#include "movie/zzmovie.h"
#include "settings/log.h"
#include "video/videoreader.h"
#include "video/videowriter.h"

namespace tarnvisor {

bool CZZMovie::openVideo(const std::string& name) {
  ringMode = 0;
  video = VideoReader::open(name, trouble);
  if (!video) return false;
  mode = kAvi;
  holder.interlace = 0;
  createImages(video->frames(), video->width(), video->height(), kGrey);
  rate = video->rate();
  scale = video->scale();
  count = video->frames() == slots && holder.width == video->width() ? slots : 0;
  if (count < 1 && trouble.empty()) trouble = "It holds no frames.";
  return count > 0;
}

bool CZZMovie::hasWeighedColours() const { return video && video->hasWeighedColours(); }
std::string CZZMovie::unknownCodec() const { return video ? video->unknownCodec() : std::string(); }

namespace {

// Into the canvas at a place, as far as they meet; the rest of the canvas keeps what earlier frames left.
void placeInto(CZZimage& canvas, const CZZimage& image, int64_t x, int64_t y) {
  const int64_t columns = std::min<int64_t>(image.width, canvas.width - x);
  for (int32_t row = 0; row < image.height && y + row < canvas.height; ++row)
    std::copy_n(image.row(row), columns * image.bytesPerPixel,
                canvas.row(static_cast<int32_t>(y + row)) + x * image.bytesPerPixel);
}

}  // namespace

bool CZZMovie::saveAVI(const std::string& name, int32_t framesPerSecond, int32_t first, int32_t last,
                       int32_t step, const Compression* compression, std::string& report) {
  report += "saveAVI::";
  cancelled = false;
  const int32_t from = isInside(first) ? first : 0;
  const int32_t to = last > 0 && last <= count ? last : count;
  const int32_t n = step > 0 && to > from ? (to - from) / step : 0;
  if (n < 1) {
    report += "failed:n<1";
    return false;
  }
  if (sameFile(name, fileName)) {
    report += "a movie can't be exported over itself.";
    return false;
  }
  VideoFormat format;
  format.codec = "DIB ";
  if (compression && compression->codec == format.codec) report += "not compressing.";
  if (compression) {
    format.codec = compression->codec;
    format.quality = compression->quality;
    format.keyEvery = compression->keyEvery;
  }
  const Extents extents = frameExtents(from, to);
  const int32_t rowsPerRow = holder.isField() ? 2 : 1;
  CZZimage canvas, colour;
  canvas.colourset = holder.colourset;
  colour.colourset = kColour;
  const auto upTo = [](int64_t v, int64_t unit) { return (v + unit - 1) / unit * unit; };
  const int64_t width = upTo(extents.width, 8), height = upTo(extents.height / rowsPerRow, 2);
  const bool inColour = holder.colourset != kGrey;
  if (width > INT32_MAX || height > INT32_MAX ||
      !canvas.resizedata(static_cast<int32_t>(width), static_cast<int32_t>(height), holder.bytesPerPixel) ||
      (holder.colourset == kBayer && !colour.resizedata(canvas.width, canvas.height, 3))) {
    report += "not enough memory.";
    return false;
  }
  format.width = canvas.width;
  format.height = canvas.height;
  format.rate = std::max(1, framesPerSecond);
  format.scale = 1;
  format.colour = inColour;
  std::string why;
  // An export that is there stays until the new one is whole.
  const std::string made = nameBeside(name);
  const auto writer = VideoWriter::create(made, format, why);
  if (!writer) {
    report += (compression ? "compress start failed. " : "failed AVI file open. ") + why;
    return false;
  }
  CZZimage& shown = holder.colourset == kBayer ? colour : canvas;
  CZZimage each;
  MoviePass exporting(*this, "Exporting " + fileNameOf(name), n);
  while (!writer->failed() && exporting.next()) {
    const int32_t i = from + exporting.step() * step;
    getImage(i, each);
    const FrameRecord& record = recordOf(i);
    placeInto(canvas, each, record.xOrigin - extents.x, (record.yOrigin - extents.y) / rowsPerRow);
    if (&shown == &colour) colour.copyPixels(canvas);
    if (!writer->write(shown.pixels, shown.stride)) report += "bad frame";
  }
  const bool whole = writer->close();
  if (exporting.wasStopped()) {
    std::remove(made.c_str());
    report += "cancelled.";
    return false;
  }
  if (!whole) {
    report += writer->why();
    return false;
  }
  if (made != name && std::rename(made.c_str(), name.c_str()) != 0) {
    report += std::strerror(errno);
    return false;
  }
  report += "ok";
  return true;
}

}  // namespace tarnvisor
