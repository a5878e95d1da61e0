#include "movie/movieexport.h"

#include <algorithm>
#include <climits>

#include "base/files.h"
#include "base/fraction.h"
#include "base/text.h"
#include "movie/movieoutput.h"
#include "video/videowriter.h"

namespace tarnvisor {

namespace {

constexpr std::string_view kBegin = "saveAVI::";

// Into the canvas at a place, as far as they meet; the rest of the canvas keeps what earlier frames left.
void placeInto(CZZimage& canvas, const CZZimage& image, int64_t x, int64_t y) {
  const int64_t columns = std::min<int64_t>(image.width, canvas.width - x);
  for (int32_t row = 0; row < image.height && y + row < canvas.height; ++row)
    std::copy_n(image.row(row), columns * image.bytesPerPixel,
                canvas.row(static_cast<int32_t>(y + row)) + x * image.bytesPerPixel);
}

}  // namespace

MovieExport::MovieExport(CZZMovie& exported, std::string path, CZZMovie::Range range, int32_t step,
                         const MakeSink& makeSink)
    : movie(exported), name(std::move(path)), file(name), apart(step) {
  movie.forgetFailure();
  from = range.first >= 0 && range.first < movie.count ? range.first : 0;
  const int32_t to = range.last > 0 && range.last <= movie.count ? range.last : movie.count;
  images = step > 0 && to > from ? (to - from) / step : 0;
  extents = movie.frameExtents(from, to);
  if (!begin(makeSink)) writer.reset();
}

namespace {

MovieExport::MakeSink aviOf(double framesPerSecond, const CZZMovie::Compression* compression) {
  VideoFormat format;
  format.codec = "DIB ";
  if (compression) {
    format.codec = compression->codec;
    format.quality = compression->quality;
    format.keyEvery = compression->keyEvery;
  }
  const Fraction rate = fractionOf(framesPerSecond);
  format.rate = rate.above;
  format.scale = rate.below;
  const bool compresses = compression != nullptr;
  return [format, compresses](const std::string& path, const MovieExport::Pictures& pictures,
                              std::string& why) -> std::unique_ptr<FrameSink> {
    VideoFormat whole = format;
    whole.width = pictures.size.width;
    whole.height = pictures.size.height;
    whole.colour = pictures.colour;
    auto made = VideoWriter::create(path, whole, why);
    if (!made) why.insert(0, compresses ? "compress start failed. " : "failed AVI file open. ");
    return made;
  };
}

}  // namespace

MovieExport::MovieExport(CZZMovie& exported, std::string path, double framesPerSecond, CZZMovie::Range range,
                         int32_t step, const CZZMovie::Compression* compression)
    : MovieExport(exported, std::move(path), range, step, aviOf(framesPerSecond, compression)) {
  if (compression && compression->codec == "DIB ") words.insert(kBegin.size(), "not compressing.");
}

MovieExport::~MovieExport() = default;

bool MovieExport::fail(const std::string& why) {
  words += why;
  return false;
}

bool MovieExport::begin(const MakeSink& makeSink) {
  words = kBegin;
  if (images < 1) return fail("failed:n<1");
  if (!mayReplace(name)) return fail("the file may not be written.");
  if (sameFile(name, movie.fileName)) return fail("a movie can't be exported over itself.");
  if (!prepareImages(extents)) return fail("not enough memory.");
  if (!file.isOpen()) return fail("failed AVI file open. " + file.commit().why());
  file.releaseToWriterByName();
  std::string why;
  writer =
      makeSink(file.temporaryPath(), {{canvas.width, canvas.height}, canvas.colourset != kGrey, images}, why);
  return writer || fail(why);
}

// The canvas, which is as large as the images need, and for a mosaic the picture with its colours.
bool MovieExport::prepareImages(const CZZMovie::Extents& where) {
  const CZZimage& form = movie.form();
  const int64_t width = where.width, height = where.height / (form.isField() ? 2 : 1);
  canvas.colourset = form.colourset;
  colour.colourset = kColour;
  return width <= INT32_MAX && height <= INT32_MAX &&
         canvas.resizedata(static_cast<int32_t>(width), static_cast<int32_t>(height), form.bytesPerPixel) &&
         (form.colourset != kBayer || colour.resizedata(canvas.width, canvas.height, 3));
}

bool MovieExport::next() {
  if (!writer || stopped || writer->failed() || written >= images) return false;
  const int32_t index = from + written++ * apart;
  movie.getImage(index, each);
  if (!movie.hasRead()) {
    unread = index;
    return false;
  }
  const FrameRecord& record = movie.recordOf(index);
  placeInto(canvas, each, record.xOrigin - extents.x,
            (record.yOrigin - extents.y) / (movie.isFieldMovie() ? 2 : 1));
  const bool mosaic = canvas.colourset == kBayer;
  if (mosaic) colour.copyPixels(canvas);
  const CZZimage& shown = mosaic ? colour : canvas;
  if (!writer->write(shown.pixels, shown.stride)) words += "bad frame\n";
  return true;
}

bool MovieExport::finish() {
  if (!writer) return false;
  const std::unique_ptr<FrameSink> ending = std::move(writer);
  const bool whole = ending->close();
  if (unread >= 0) return fail(format("image %i can't be read", unread));
  if (stopped) return fail("cancelled.");
  if (!whole) return fail(ending->why());
  if (const Outcome placed = file.commit(); !placed) return fail(placed.why());
  words += "ok";
  return true;
}

bool CZZMovie::saveAVI(const std::string& name, double framesPerSecond, int32_t first, int32_t last,
                       int32_t step, const Compression* compression, std::string& report) {
  MovieExport exporting(*this, name, framesPerSecond, {first, last}, step, compression);
  while (exporting.next()) {
  }
  const bool done = exporting.finish();
  report += exporting.report();
  return done;
}

}  // namespace tarnvisor
