// TIFF pictures of any kind that the library knows: pages, 16 bits, colour, palettes, tiles.
#include <tiffio.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <utility>

#include "base/text.h"
#include "image/decodedstill.h"
#include "image/tiffbound.h"

namespace tarnvisor {

namespace {

class OpenTiff {
 public:
  explicit OpenTiff(const std::string& path) {
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
    tiff.reset(openTiffToRead(path, "r", *isDamaged));
  }
  TIFF* get() const { return tiff.get(); }
  explicit operator bool() const { return tiff != nullptr; }
  // Since the last call.
  [[nodiscard]] bool takeDamage() const { return std::exchange(*isDamaged, false); }

 private:
  struct Close {
    void operator()(TIFF* file) const { TIFFClose(file); }
  };
  std::unique_ptr<bool> isDamaged = std::make_unique<bool>(false);  // the library keeps its address
  std::unique_ptr<TIFF, Close> tiff;
};

struct Facts {
  uint32_t width = 0, height = 0;
  uint16_t bits = 1, samples = 1, photometric = PHOTOMETRIC_MINISBLACK, format = SAMPLEFORMAT_UINT,
           planar = PLANARCONFIG_CONTIG;
};

Facts factsOf(TIFF* tiff) {
  Facts f;
  TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &f.width);
  TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &f.height);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &f.bits);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &f.samples);
  TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &f.photometric);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &f.format);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &f.planar);
  return f;
}

// Samples of 16 bits are read here, since the library's own picture has 8.
bool isWide(const Facts& f) {
  const bool grey =
      f.samples == 1 && (f.photometric == PHOTOMETRIC_MINISBLACK || f.photometric == PHOTOMETRIC_MINISWHITE);
  const bool colour = f.samples >= 3 && f.photometric == PHOTOMETRIC_RGB && f.planar == PLANARCONFIG_CONTIG;
  return f.bits == 16 && f.format == SAMPLEFORMAT_UINT && (grey || colour);
}

// One sample of the file into its place: of colours the order turns to blue, green, red, and what comes after
// them (opacity) is dropped; white-is-zero is turned round.
void takeWidePixels(const Facts& f, const uint16_t* from, uint32_t pixels, uint16_t* to) {
  for (uint32_t x = 0; x < pixels; ++x, from += f.samples) {
    if (f.samples == 1) {
      *to++ = f.photometric == PHOTOMETRIC_MINISWHITE ? static_cast<uint16_t>(~from[0]) : from[0];
      continue;
    }
    *to++ = from[2];
    *to++ = from[1];
    *to++ = from[0];
  }
}

bool readWideTiles(TIFF* tiff, const Facts& f, DecodedStill& still) {
  uint32_t tileWidth = 0, tileHeight = 0;
  TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &tileWidth);
  TIFFGetField(tiff, TIFFTAG_TILELENGTH, &tileHeight);
  const tmsize_t size = TIFFTileSize(tiff);
  const uint64_t wanted = uint64_t{tileWidth} * tileHeight * f.samples * 2;
  if (tileWidth == 0 || tileHeight == 0 || size <= 0 || static_cast<uint64_t>(size) != wanted ||
      !isPossibleStill(tileWidth, tileHeight))
    return false;
  std::vector<uint16_t> tile(static_cast<size_t>(size) / 2);
  const auto channels = static_cast<uint32_t>(still.channels);
  for (uint32_t top = 0; top < f.height; top += tileHeight)
    for (uint32_t left = 0; left < f.width; left += tileWidth) {
      if (TIFFReadTile(tiff, tile.data(), left, top, 0, 0) < 0) return false;
      for (uint32_t y = top; y < std::min(f.height, top + tileHeight); ++y)
        takeWidePixels(f, tile.data() + size_t{y - top} * tileWidth * f.samples,
                       std::min(tileWidth, f.width - left),
                       still.wide.data() + (size_t{y} * f.width + left) * channels);
    }
  return true;
}

bool readWideRows(TIFF* tiff, const Facts& f, DecodedStill& still) {
  const tmsize_t size = TIFFScanlineSize(tiff);
  if (size < 0 || static_cast<uint64_t>(size) != uint64_t{f.width} * f.samples * 2) return false;
  std::vector<uint16_t> line(static_cast<size_t>(size) / 2);
  for (uint32_t y = 0; y < f.height; ++y) {
    if (TIFFReadScanline(tiff, line.data(), y, 0) < 0) return false;
    takeWidePixels(f, line.data(), f.width,
                   still.wide.data() + size_t{y} * f.width * static_cast<uint32_t>(still.channels));
  }
  return true;
}

bool isGreyKind(const Facts& f) {
  return f.photometric == PHOTOMETRIC_MINISBLACK || f.photometric == PHOTOMETRIC_MINISWHITE;
}

// Anything of up to 8 bits through the library's own picture of red, green, blue and opacity.
bool readPicture(TIFF* tiff, const Facts& f, DecodedStill& still) {
  const size_t pixels = size_t{f.width} * f.height;
  std::vector<uint32_t> picture(pixels);
  if (!TIFFReadRGBAImageOriented(tiff, f.width, f.height, picture.data(), ORIENTATION_TOPLEFT, 1))
    return false;
  still.samples.resize(pixels * static_cast<size_t>(still.channels));
  uint8_t* to = still.samples.data();
  for (const uint32_t p : picture) {
    if (still.channels == 3) {
      *to++ = static_cast<uint8_t>(TIFFGetB(p));
      *to++ = static_cast<uint8_t>(TIFFGetG(p));
    }
    *to++ = static_cast<uint8_t>(TIFFGetR(p));
  }
  return true;
}

}  // namespace

int32_t tiffPages(const std::string& path) {
  constexpr int32_t kMost = 65535;
  const OpenTiff tiff(path);
  if (!tiff) return 0;
  int32_t pages = 1;
  while (pages < kMost && TIFFReadDirectory(tiff.get())) ++pages;
  return pages;
}

bool isPlainGreyTiff(const std::string& path) {
  const OpenTiff tiff(path);
  if (!tiff) return false;
  const Facts f = factsOf(tiff.get());
  return f.bits == 8 && f.samples == 1 && f.photometric == PHOTOMETRIC_MINISBLACK &&
         !TIFFIsTiled(tiff.get()) && !TIFFReadDirectory(tiff.get());
}

namespace {

// Of the present page.
std::string decodePage(const OpenTiff& file, DecodedStill& still) {
  TIFF* tiff = file.get();
  static_cast<void>(file.takeDamage());
  const Facts f = factsOf(tiff);
  if (!isPossibleStill(f.width, f.height)) return "it is damaged or too large.";
  if (!holdsItsPixels(tiff)) return kFewerPixels;
  still.width = static_cast<int32_t>(f.width);
  still.height = static_cast<int32_t>(f.height);
  still.channels = isGreyKind(f) ? 1 : 3;
  bool done = false;
  if (isWide(f)) {
    still.wide.resize(size_t{f.width} * f.height * static_cast<size_t>(still.channels));
    done = TIFFIsTiled(tiff) ? readWideTiles(tiff, f, still) : readWideRows(tiff, f, still);
  } else {
    char why[1024] = "";
    if (!TIFFRGBAImageOK(tiff, why)) return "its kind of pixels is not known.";
    done = readPicture(tiff, f, still);
  }
  still.isDamaged = file.takeDamage();
  return done ? "" : "it is damaged.";
}

// Of the present page; the description is the file's, which stands at the first.
TiffWords wordsOf(TIFF* tiff, const std::string& description) {
  const Facts f = factsOf(tiff);
  TiffWords words{static_cast<int32_t>(f.width), static_cast<int32_t>(f.height), description};
  float x = 0, y = 0;
  uint16_t unit = RESUNIT_NONE;
  TIFFGetField(tiff, TIFFTAG_XRESOLUTION, &x);
  TIFFGetField(tiff, TIFFTAG_YRESOLUTION, &y);
  TIFFGetField(tiff, TIFFTAG_RESOLUTIONUNIT, &unit);
  words.xResolution = x;
  words.yResolution = y;
  words.unit = unit == RESUNIT_INCH         ? TiffWords::Unit::Inch
               : unit == RESUNIT_CENTIMETER ? TiffWords::Unit::Centimetre
                                            : TiffWords::Unit::None;
  return words;
}

std::string descriptionOf(TIFF* tiff) {
  const char* text = nullptr;
  return TIFFGetField(tiff, TIFFTAG_IMAGEDESCRIPTION, &text) && text ? text : "";
}

bool isOfOneKind(const Facts& a, const Facts& b) {
  return a.width == b.width && a.height == b.height && a.bits == b.bits && isGreyKind(a) == isGreyKind(b) &&
         isWide(a) == isWide(b);
}

struct Places {
  std::vector<uint64_t> pages;
  std::vector<std::string> remarks;
  std::string shortage;
};

// Of several channels or layers the first ones, as far as the file tells which they are.
void keepMoments(Places& places, const ToldPages& told) {
  const auto found = static_cast<int64_t>(places.pages.size());
  if (told.isTold && found < told.count())
    places.shortage =
        format("The file is damaged or was cut off: it holds %lli of the %lli pages that it tells of.",
               static_cast<long long>(found), static_cast<long long>(told.count()));
  if (!told.isTold || found > told.count() || told.channels * told.layers == 1) return;
  std::vector<uint64_t> kept;
  for (int64_t i = 0; i < told.moments && i * told.apart < found; ++i)
    kept.push_back(places.pages[static_cast<size_t>(i * told.apart)]);
  places.remarks.push_back(format("of %lli channels and %lli layers at each moment the first",
                                  static_cast<long long>(told.channels),
                                  static_cast<long long>(told.layers)));
  places.pages = std::move(kept);
}

// Where the pages lie, if they are several of one kind; else nothing.
Places placesOfPages(TIFF* tiff) {
  constexpr size_t kMost = size_t{1} << 20;
  const Facts first = factsOf(tiff);
  const ToldPages told = pagesOf(descriptionOf(tiff), first.samples);
  Places places;
  bool goesOn = false;
  do {
    if (!isOfOneKind(first, factsOf(tiff))) return {};
    places.pages.push_back(TIFFCurrentDirOffset(tiff));
    goesOn = places.pages.size() < kMost && !TIFFLastDirectory(tiff);
  } while (goesOn && TIFFReadDirectory(tiff));
  if (goesOn)
    places.shortage =
        "The file is damaged or was cut off: pages behind the last one that is shown can't be read.";
  keepMoments(places, told);
  if (places.pages.size() < 2) places = {};
  return places;
}

class TiffSequence final : public DecodedSequence {
 public:
  TiffSequence(OpenTiff file, Places found) : tiff(std::move(file)), places(std::move(found)) {
    TIFFSetSubDirectory(tiff.get(), places.pages.front());
    const Facts f = factsOf(tiff.get());
    extent = {static_cast<int32_t>(f.width), static_cast<int32_t>(f.height)};
    colours = isGreyKind(f) ? kGrey : kColour;
    told = scaleOf(wordsOf(tiff.get(), descriptionOf(tiff.get())));
    if (isWide(f)) findRange();
  }
  int32_t frames() const override { return static_cast<int32_t>(places.pages.size()); }
  Size size() const override { return extent; }
  int32_t colourset() const override { return colours; }
  const ToldScale& scale() const override { return told; }
  std::string shortage() const override { return places.shortage; }
  std::vector<std::string> remarks() const override {
    std::vector<std::string> lines = DecodedSequence::remarks();
    lines.insert(lines.end(), places.remarks.begin(), places.remarks.end());
    return lines;
  }

 protected:
  bool decode(int32_t index, DecodedStill& still) override {
    return TIFFSetSubDirectory(tiff.get(), places.pages[static_cast<size_t>(index)]) &&
           decodePage(tiff, still).empty() && !still.isDamaged;
  }

 private:
  OpenTiff tiff;
  Places places;
  Size extent;
  int32_t colours = kGrey;
  ToldScale told;
};

}  // namespace

std::string decodeTiff(const std::string& path, int32_t page, DecodedStill& still) {
  const OpenTiff tiff(path);
  if (!tiff) return "it is no TIFF file.";
  if (page < 0 || page > 65535 || !TIFFSetDirectory(tiff.get(), static_cast<tdir_t>(page)))
    return "it has no page of that number.";
  return decodePage(tiff, still);
}

ToldScale tiffScale(const std::string& path, int32_t page) {
  const OpenTiff tiff(path);
  if (!tiff) return {};
  const std::string description = descriptionOf(tiff.get());
  if (page > 0 && !TIFFSetDirectory(tiff.get(), static_cast<tdir_t>(page))) return {};
  return scaleOf(wordsOf(tiff.get(), description));
}

bool isTiffSequence(const std::string& path) {
  const OpenTiff tiff(path);
  return tiff && !placesOfPages(tiff.get()).pages.empty();
}

std::unique_ptr<StillSequence> openTiffSequence(const std::string& path, std::string& why) {
  OpenTiff tiff(path);
  if (!tiff) {
    why = "it is no TIFF file.";
    return nullptr;
  }
  Places places = placesOfPages(tiff.get());
  if (places.pages.empty()) return nullptr;
  TIFFSetSubDirectory(tiff.get(), places.pages.front());
  try {
    DecodedStill first;
    why = decodePage(tiff, first);
    if (!why.empty()) return nullptr;
    return std::make_unique<TiffSequence>(std::move(tiff), std::move(places));
  } catch (const std::bad_alloc&) {
    why = "there is not enough memory.";
    return nullptr;
  }
}

}  // namespace tarnvisor
