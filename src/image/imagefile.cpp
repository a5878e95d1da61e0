#include "image/imagefile.h"

#include "base/files.h"
#include "image/palette.h"

namespace tarnvisor {

namespace {

// A ".tiff" file can be written and not read: it has always been so.
constexpr ImageFormat kFormats[] = {
    {"zzg", loadZzg, loadZzgRegion, saveZzg}, {"ZZG", loadZzg, loadZzgRegion, saveZzg},
    {"bmp", loadBmp, nullptr, saveBmp},       {"BMP", loadBmp, nullptr, saveBmp},
    {"tif", loadTiff, nullptr, saveTiff},     {"TIF", loadTiff, nullptr, saveTiff},
    {"tiff", nullptr, nullptr, saveTiff},     {"TIFF", nullptr, nullptr, saveTiff},
};

bool meansAll(const Rect& rect) { return rect.right <= rect.left || rect.bottom <= rect.top; }

}  // namespace

const ImageFormat* imageFormatOf(const std::string& path) {
  const std::string extension = extensionOf(path);
  for (const ImageFormat& format : kFormats)
    if (extension == format.extension) return &format;
  return nullptr;
}

bool CZZimage::load(const std::string& path, const Rect& rect, std::string* why) {
  const ImageFormat* format = imageFormatOf(path);
  if (!format) return false;
  readGreyWeights();
  bool loaded = false;
  std::string told;
  if (!meansAll(rect))
    loaded = format->loadRegion && format->loadRegion(*this, path, rect);
  else
    loaded = format->load && format->load(*this, path, told);
  if (loaded) tag[0] = 'L';
  if (why) *why = told;
  return loaded;
}

bool CZZimage::save(const std::string& path, const Rect& rect) {
  const ImageFormat* format = imageFormatOf(path);
  if (!format || !format->save || empty()) return false;
  return format->save(*this, path, meansAll(rect) ? Rect{} : rect);
}

}  // namespace tarnvisor
