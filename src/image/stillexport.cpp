#include <cstring>

#include "base/files.h"
#include "base/text.h"
#include "image/imagefile.h"

namespace tarnvisor {

bool makeShown(const CZZimage& image, CZZimage& shown) {
  const bool mosaic = image.colourset == kBayer;
  shown.colourset = mosaic ? int32_t{kColour} : image.colourset;
  const int32_t rows = image.frameHeight() / image.height;
  if (!shown.resizedata(image.width, image.frameHeight(), shown.colourset == kColour ? 3 : 1)) return false;
  shown.paletteIndex = image.paletteIndex;
  shown.blackZero = image.blackZero;
  if (mosaic) image.demosaic(shown.pixels, shown.stride * rows);
  for (int32_t y = 0; y < shown.height; ++y) {
    const uint8_t* from = mosaic ? shown.row(y - y % rows) : image.row(y / rows);
    if (from != shown.row(y)) std::memcpy(shown.row(y), from, static_cast<size_t>(shown.rowBytes));
  }
  return true;
}

Outcome exportStill(const CZZimage& image, const std::string& path, PixelSize pixel) {
  const std::string ending = lowerCase(extensionOf(path));
  const bool bitmap = ending == "bmp", tiff = ending == "tif" || ending == "tiff";
  if (!bitmap && !tiff && ending != "zzg")
    return Outcome::failure(path + ": pictures are exported as .bmp, .tif or .zzg");
  if (image.empty()) return Outcome::failure("there is no picture");
  CZZimage shown;
  const bool made = bitmap || tiff ? makeShown(image, shown) : shown.copyImage(image);
  if (!made) return Outcome::failure("there is not enough memory");
  return bitmap ? exportBmp(shown, path) : tiff ? exportTiff(shown, path, pixel) : saveZzg(shown, path, {});
}

}  // namespace tarnvisor
