// TIFF files as the library itself writes them.
#pragma once

#include <tiffio.h>

#include "support/testing.h"

namespace tarnvisor {

struct TiffPage {
  uint32_t width = 0, height = 0;
  std::vector<Bytes> lines;  // of a tile its bytes; of separate planes one plane behind the other
  uint32_t bits = 8, samples = 1;
  uint32_t photometric = PHOTOMETRIC_MINISBLACK, planar = PLANARCONFIG_CONTIG, compression = COMPRESSION_NONE;
  uint32_t tileSide = 0;
  std::string description = {};
  double resolution = 0;  // pixels in a unit, both ways
  int resolutionUnit = 0;
};

inline std::string writeTiff(const std::string& path, const std::vector<TiffPage>& pages) {
  TIFF* tiff = TIFFOpen(path.c_str(), "w");
  for (const TiffPage& page : pages) {
    const std::pair<uint32_t, uint32_t> facts[] = {
        {TIFFTAG_IMAGEWIDTH, page.width},       {TIFFTAG_IMAGELENGTH, page.height},
        {TIFFTAG_BITSPERSAMPLE, page.bits},     {TIFFTAG_SAMPLESPERPIXEL, page.samples},
        {TIFFTAG_PLANARCONFIG, page.planar},    {TIFFTAG_PHOTOMETRIC, page.photometric},
        {TIFFTAG_COMPRESSION, page.compression}};
    for (const auto& [tag, value] : facts) TIFFSetField(tiff, tag, value);
    if (!page.description.empty()) TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, page.description.c_str());
    if (page.resolution > 0)
      for (const uint32_t tag : {TIFFTAG_XRESOLUTION, TIFFTAG_YRESOLUTION})
        TIFFSetField(tiff, tag, page.resolution);
    if (page.resolutionUnit) TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, page.resolutionUnit);
    if (page.tileSide)
      for (const uint32_t tag : {TIFFTAG_TILEWIDTH, TIFFTAG_TILELENGTH})
        TIFFSetField(tiff, tag, page.tileSide);
    else
      TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, page.height);
    for (uint32_t i = 0; i < page.lines.size(); ++i) {
      Bytes line = page.lines[i];
      if (page.tileSide)
        TIFFWriteTile(tiff, line.data(), 0, 0, 0, 0);
      else
        TIFFWriteScanline(tiff, line.data(), i % page.height, static_cast<uint16_t>(i / page.height));
    }
    TIFFWriteDirectory(tiff);
  }
  TIFFClose(tiff);
  return path;
}

}  // namespace tarnvisor
