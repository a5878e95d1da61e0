#include <tiffio.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

#include "base/clock.h"
#include "base/files.h"
#include "base/numbers.h"
#include "base/text.h"
#include "image/imagefile.h"
#include "image/palette.h"
#include "image/texts.h"
#include "image/tiffbound.h"
#include "settings/log.h"

namespace tarnvisor {

namespace {

constexpr const char* kMake = "ZZ Instruments";
constexpr const char* kSoftware = "Tarnvisor";
constexpr const char* kBuildDate = __DATE__;

struct CloseTiff {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using OpenTiff = std::unique_ptr<TIFF, CloseTiff>;

void logError(const char* module, const char* pattern, va_list arguments) {
  logPrintf("tiff %s: %s\n", module ? module : "", formatList(pattern, arguments).c_str());
}

// The library would print on standard error.
void quietTiff() {
  static const bool quiet = [] {
    TIFFSetErrorHandler(logError);
    TIFFSetWarningHandler(nullptr);
    return true;
  }();
  static_cast<void>(quiet);
}

struct TiffFacts {
  uint16_t samples = 1, bits = 1, planar = PLANARCONFIG_CONTIG;
  uint32_t width = 0, height = 0;
};

TiffFacts factsOf(TIFF* tiff) {
  TiffFacts facts;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &facts.samples);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &facts.bits);
  TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &facts.height);
  TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &facts.width);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &facts.planar);
  return facts;
}

bool isPlausible(const TiffFacts& facts) {
  return facts.width > 0 && facts.height > 0 && facts.width <= INT32_MAX / 8 && facts.height <= INT32_MAX;
}

uint8_t lowByte(double v) { return static_cast<uint8_t>(truncated(v)); }

// Rows as they are read, before the image is touched; its memory is only taken row by row as rows arrive.
struct TiffRows {
  std::vector<uint8_t> bytes;
  bool adds = false;  // to the pixels that are there, instead of replacing them
};

bool readGreyRows(TIFF* tiff, const TiffFacts& facts, TiffRows& rows) {
  std::vector<uint8_t> line(facts.width);
  for (uint32_t y = 0; y < facts.height; ++y) {
    if (TIFFReadScanline(tiff, line.data(), y, 0) < 0) return false;
    rows.bytes.insert(rows.bytes.end(), line.begin(), line.end());
  }
  return true;
}

bool readColourRows(TIFF* tiff, const TiffFacts& facts, TiffRows& rows) {
  const GreyWeights weights = weightsOfImages();
  std::vector<uint8_t> line(size_t{facts.width} * 3);
  for (uint32_t y = 0; y < facts.height; ++y) {
    if (TIFFReadScanline(tiff, line.data(), y, 0) < 0) return false;
    const uint8_t* p = line.data();
    for (uint32_t x = 0; x < facts.width; ++x, p += 3) {
      uint8_t t = lowByte(p[0] * weights.red);
      t = lowByte(t + p[1] * weights.green);
      rows.bytes.push_back(lowByte(t + p[2] * weights.blue));
    }
  }
  return true;
}

// Planes apart: signed samples times whole weights, so that with weights under 1 nothing changes.
bool readPlanes(TIFF* tiff, const TiffFacts& facts, TiffRows& rows) {
  const int32_t weights[] = {truncated(greyWeights.red), truncated(greyWeights.green),
                             truncated(greyWeights.blue)};
  std::vector<uint8_t> line(facts.width);
  rows.adds = true;
  for (uint16_t plane = 0; plane < 3; ++plane) {
    size_t at = 0;
    for (uint32_t y = 0; y < facts.height; ++y) {
      if (TIFFReadScanline(tiff, line.data(), y, plane) < 0) return false;
      if (plane == 0) rows.bytes.resize(rows.bytes.size() + facts.width, 0);
      const auto weight = static_cast<uint32_t>(weights[plane]);
      for (const uint8_t sample : line) {
        const auto value = static_cast<uint32_t>(sample < 128 ? sample : sample - 256);
        rows.bytes[at] = static_cast<uint8_t>(rows.bytes[at] + value * weight);
        ++at;
      }
    }
  }
  return true;
}

// True also for what isn't read: other sample counts and scan lines longer than a row.
bool readRows(TIFF* tiff, const TiffFacts& facts, int32_t stride, TiffRows& rows) {
  const auto line = static_cast<uint64_t>(TIFFScanlineSize64(tiff));
  if (facts.samples == 1) {
    if (line > static_cast<uint64_t>(stride)) return true;
    return line == facts.width && readGreyRows(tiff, facts, rows);
  }
  if (facts.samples != 3) return true;
  if (facts.planar == PLANARCONFIG_CONTIG)
    return line == uint64_t{facts.width} * 3 && readColourRows(tiff, facts, rows);
  return line == facts.width && readPlanes(tiff, facts, rows);
}

void placeRows(CZZimage& image, const TiffRows& rows) {
  if (rows.bytes.empty()) return;
  const uint8_t* from = rows.bytes.data();
  for (int32_t y = 0; y < image.height; ++y, from += image.width) {
    uint8_t* to = image.row(y);
    for (int32_t x = 0; x < image.width; ++x)
      to[x] = rows.adds ? static_cast<uint8_t>(to[x] + from[x]) : from[x];
  }
}

void setFields(TIFF* tiff, const CZZimage& image, int32_t samples) {
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, samples == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(image.width));
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(image.height));
  TIFFSetField(tiff, TIFFTAG_MAKE, kMake);
  TIFFSetField(tiff, TIFFTAG_SOFTWARE, kSoftware);
  TIFFSetField(tiff, TIFFTAG_MODEL, kBuildDate);
  // Months count from 0 here: files exist so, and nobody reads the date back.
  const LocalTime t = localTime(currentTime());
  TIFFSetField(
      tiff, TIFFTAG_DATETIME,
      format("%04i:%02i:%02i %02i:%02i:%02i", t.year, t.month, t.day, t.hour, t.minute, t.second).c_str());
}

// For programs that read the resolution, and for those that read OME-XML, whose lengths are micrometres.
void tellScale(TIFF* tiff, const CZZimage& image, int32_t samples, PixelSize pixel) {
  constexpr double kCentimetre = 1e4;
  if (!pixel.isKnown()) return;
  TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_CENTIMETER);
  TIFFSetField(tiff, TIFFTAG_XRESOLUTION, kCentimetre / pixel.x);
  TIFFSetField(tiff, TIFFTAG_YRESOLUTION, kCentimetre / pixel.y);
  TIFFSetField(
      tiff, TIFFTAG_IMAGEDESCRIPTION,
      format(
          "<?xml version=\"1.0\" encoding=\"UTF-8\"?><OME xmlns=\"http://www.openmicroscopy.org/Schemas/OME/2016-06\">"
          "<Image ID=\"Image:0\"><Pixels ID=\"Pixels:0\" DimensionOrder=\"XYCZT\" Type=\"uint8\" SizeX=\"%i\" "
          "SizeY=\"%i\" SizeZ=\"1\" SizeC=\"%i\" SizeT=\"1\" PhysicalSizeX=\"%.10g\" PhysicalSizeY=\"%.10g\">"
          "<Channel ID=\"Channel:0:0\" SamplesPerPixel=\"%i\"/><TiffData/></Pixels></Image></OME>",
          image.width, image.height, samples, pixel.x, pixel.y, samples)
          .c_str());
}

// Rows of as many bytes as there are samples; the library's are red, green, blue.
bool writeRows(TIFF* tiff, const CZZimage& image, int32_t samples) {
  std::vector<uint8_t> line(static_cast<size_t>(image.width) * static_cast<size_t>(samples));
  for (int32_t y = 0; y < image.height; ++y) {
    std::copy_n(image.row(y), line.size(), line.data());
    for (size_t x = 0; samples == 3 && x < line.size(); x += 3) std::swap(line[x], line[x + 2]);
    if (TIFFWriteScanline(tiff, line.data(), static_cast<uint32_t>(y), 0) < 0) return false;
  }
  // The library's close has no result; whether what it wrote is whole is asked before, by flushing.
  return TIFFFlush(tiff) == 1;
}

Outcome writeTiff(const std::string& path, const CZZimage& image, int32_t samples, PixelSize pixel) {
  AtomicFile file(path);
  if (!file.isOpen()) return file.commit();
  file.releaseToWriterByName();
  {
    quietTiff();
    const OpenTiff tiff(TIFFOpen(file.temporaryPath().c_str(), "w"));
    if (!tiff) return Outcome::failure(path + ": can't be written");
    setFields(tiff.get(), image, samples);
    tellScale(tiff.get(), image, samples, pixel);
    errno = 0;
    if (!writeRows(tiff.get(), image, samples))
      return Outcome::failure(format("%s: writing failed: %s", path.c_str(), std::strerror(errno)));
  }
  return file.commit();
}

}  // namespace

bool loadTiff(CZZimage& image, const std::string& path, std::string& why) {
  if (!fileExists(path)) return false;
  quietTiff();
  bool isDamaged = false;
  const OpenTiff tiff(openTiffToRead(path, "rm", isDamaged));
  if (!tiff) return false;
  const TiffFacts facts = factsOf(tiff.get());
  if (facts.bits != 8) {
    why = texts::kNotGreylevel;
    return false;
  }
  if (!isPlausible(facts)) return false;
  if (!holdsItsPixels(tiff.get())) {
    why = kFewerPixels;
    return false;
  }
  const auto width = static_cast<int32_t>(facts.width), height = static_cast<int32_t>(facts.height);
  TiffRows rows;
  if (!readRows(tiff.get(), facts, CZZimage::strideFor(width, image.bytesPerPixel), rows)) return false;
  if (!image.resizedata(width, height, image.bytesPerPixel)) return false;
  placeRows(image, rows);
  if (isDamaged) why = kDamagedPicture;
  image.frameNumber = 0;
  image.interlace = 0;
  return true;
}

// Of colours a row's first third, as grey: stored files are so.
Outcome saveTiff(CZZimage& image, const std::string& path, const Rect&) {
  return writeTiff(path, image, 1, {});
}

const char* tiffFlaw(const CZZimage& image, const Rect& part) {
  if (image.isField()) return "does not keep fields";
  if (image.colourset == kBayer) return "does not keep a mosaic";
  if (image.colourset == kColour) return "does not keep colours";
  return part == Rect{0, 0, image.width, image.height} ? nullptr : "does not keep a region alone";
}

Outcome exportTiff(CZZimage& image, const std::string& path, PixelSize pixel) {
  return writeTiff(path, image, image.bytesPerPixel, pixel);
}

}  // namespace tarnvisor
