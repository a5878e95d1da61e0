#include "image/tiffbound.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace tarnvisor {

namespace {

// The bytes of a picture that a byte of the file stands for at most.
uint64_t bestRatio(uint16_t compression, uint64_t rowBytes) {
  switch (compression) {
    case COMPRESSION_NONE:
      return 1;
    case COMPRESSION_PACKBITS:
      return 64;
    case COMPRESSION_CCITTRLE:
    case COMPRESSION_CCITTRLEW:
    case COMPRESSION_CCITTFAX3:
    case COMPRESSION_CCITTFAX4:
      return rowBytes * 8;  // a row like the one above takes a bit
    case COMPRESSION_LZW:
      return 1400;
    case COMPRESSION_DEFLATE:
    case COMPRESSION_ADOBE_DEFLATE:
    case COMPRESSION_JPEG:
    case COMPRESSION_OJPEG:
      return 1032;
    default:
      return 8192;
  }
}

// Of the picture as strips or tiles; 0 when that is beyond all numbers.
uint64_t pictureBytes(TIFF* tiff) {
  uint32_t height = 0;
  uint16_t samples = 1, planar = PLANARCONFIG_CONTIG;
  TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &planar);
  const bool tiled = TIFFIsTiled(tiff);
  const uint64_t one = tiled ? TIFFTileSize64(tiff) : TIFFVStripSize64(tiff, height);
  const uint64_t count = tiled ? TIFFNumberOfTiles(tiff) : planar == PLANARCONFIG_SEPARATE ? samples : 1;
  uint64_t all = 0;
  return __builtin_mul_overflow(one, count, &all) ? 0 : all;
}

// The JPEG decoder goes on with grey after a warning; the others fail.
int noteDamage(TIFF*, void* isDamaged, const char* module, const char*, va_list) {
  if (module && std::string_view(module) == "JPEGLib") *static_cast<bool*>(isDamaged) = true;
  return 1;
}

}  // namespace

TIFF* openTiffToRead(const std::string& path, const char* mode, bool& isDamaged) {
  TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
  if (!options) return nullptr;
  TIFFOpenOptionsSetWarningHandlerExtR(options, noteDamage, &isDamaged);
  TIFF* tiff = TIFFOpenExt(path.c_str(), mode, options);
  TIFFOpenOptionsFree(options);
  return tiff;
}

bool holdsItsPixels(TIFF* tiff) {
  const auto fileBytes = static_cast<uint64_t>(TIFFGetSizeProc(tiff)(TIFFClientdata(tiff)));
  uint64_t held = 0;
  const uint32_t parts = TIFFIsTiled(tiff) ? TIFFNumberOfTiles(tiff) : TIFFNumberOfStrips(tiff);
  for (uint32_t i = 0; i < parts && held < fileBytes; ++i) {
    const uint64_t offset = std::min(TIFFGetStrileOffset(tiff, i), fileBytes);
    held += std::min(TIFFGetStrileByteCount(tiff, i), fileBytes - offset);
  }
  uint16_t compression = COMPRESSION_NONE;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &compression);
  const uint64_t wanted = pictureBytes(tiff), ratio = bestRatio(compression, TIFFScanlineSize64(tiff));
  return wanted > 0 && ratio > 0 && (wanted - 1) / ratio < std::min(held, fileBytes);
}

}  // namespace tarnvisor
