#include "image/imagefile.h"

#include "base/files.h"
#include "image/palette.h"
#include "settings/log.h"

namespace tarnvisor {

namespace {

const char* noFlaw(const CZZimage&, const Rect&) { return nullptr; }
const char* notRead(const CZZimage&, const Rect&) { return "can't be read back"; }

// A ".tiff" file can be written and not read: it has always been so.
constexpr ImageFormat kFormats[] = {
    {"zzg", loadZzg, loadZzgRegion, saveZzg, noFlaw}, {"ZZG", loadZzg, loadZzgRegion, saveZzg, noFlaw},
    {"bmp", loadBmp, nullptr, saveBmp, bmpFlaw},      {"BMP", loadBmp, nullptr, saveBmp, bmpFlaw},
    {"tif", loadTiff, nullptr, saveTiff, tiffFlaw},   {"TIF", loadTiff, nullptr, saveTiff, tiffFlaw},
    {"tiff", nullptr, nullptr, saveTiff, notRead},    {"TIFF", nullptr, nullptr, saveTiff, notRead},
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

bool CZZimage::save(const std::string& path, const Rect& rect, std::string* why) {
  const ImageFormat* format = imageFormatOf(path);
  if (!format || !format->save || empty()) return false;
  const Outcome saved = format->save(*this, path, meansAll(rect) ? Rect{} : rect);
  if (!saved) logPrintf("%s\n", saved.why().c_str());
  if (why) *why = saved.why();
  return static_cast<bool>(saved);
}

std::string formatFlaw(const std::string& path, const CZZimage& image, const Rect& rect) {
  const ImageFormat* format = imageFormatOf(path);
  if (!format) return "is no form that pixels are kept in";
  const char* flaw = format->flaw(image, image.clipToImage(meansAll(rect) ? Rect{} : rect));
  return flaw ? flaw : "";
}

}  // namespace tarnvisor
