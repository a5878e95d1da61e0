#include <algorithm>
#include <cstring>
#include <new>

#include "base/numbers.h"
#include "image/zzimage.h"
#include "settings/log.h"

namespace tarnvisor {

namespace {

void copyRows(uint8_t* to, ptrdiff_t toStep, const uint8_t* from, ptrdiff_t fromStep, int64_t rows,
              size_t bytes) {
  for (int64_t y = 0; y < rows; ++y) std::memmove(to + y * toStep, from + y * fromStep, bytes);
}

// The rectangle r, moved by the origin (in 64 bits).
struct WideRect {
  int64_t left, top, right, bottom;
};
WideRect inFrame(const Rect& r, const CZZimage& image) {
  return {static_cast<int64_t>(r.left) + image.xOrigin, static_cast<int64_t>(r.top) + image.yOrigin,
          static_cast<int64_t>(r.right) + image.xOrigin, static_cast<int64_t>(r.bottom) + image.yOrigin};
}

void takeTag(CZZimage& to, const CZZimage& from) { to.tag[1] = from.tag[0]; }

}  // namespace

bool CZZimage::copyImage(const CZZimage& src) {
  if (&src == this) return true;
  if (!resizedata(src.width, src.height, src.bytesPerPixel)) return false;
  frameNumber = src.frameNumber;
  interlace = src.interlace;
  xOrigin = src.xOrigin;
  yOrigin = src.yOrigin;
  colourset = src.colourset;
  if (paletteIndex != src.paletteIndex || blackZero != src.blackZero) dropHeader();
  paletteIndex = src.paletteIndex;
  blackZero = src.blackZero;
  takeTag(*this, src);
  if (empty() || !src.pixels) return true;
  // In one block, unless the bytes after a row are pixels of somebody's parent.
  const bool wholeBlock = stride == src.stride && ((owned && src.owned) || stride == rowBytes);
  if (wholeBlock)
    std::memcpy(pixels, src.pixels, static_cast<size_t>(stride) * static_cast<size_t>(height));
  else
    copyRows(pixels, stride, src.pixels, src.stride, height, static_cast<size_t>(rowBytes));
  return true;
}

bool CZZimage::copyPixels(CZZimage& src) {
  const int32_t columns = std::min(width, src.width);
  const int32_t rows = std::min(height, src.height);
  if (&src == this || empty() || src.empty()) return true;
  if (colourset == src.colourset) {
    copyRows(pixels, stride, src.pixels, src.stride, rows, static_cast<size_t>(columns) * bytesPerPixel);
    return true;
  }
  if (colourset == kColour && src.colourset == kBayer) {
    if (width == src.width && height == src.height) src.demosaic(pixels, stride);
    return true;
  }
  for (int32_t y = 0; y < rows; ++y) {
    uint8_t* to = row(y);
    uint8_t* from = src.row(y);
    if (colourset == kColour) {
      for (int32_t x = 0; x < columns; ++x, to += 3) to[0] = to[1] = to[2] = from[x];
      continue;
    }
    // No conversion: a ramp comes out and the source's first byte is left raised. It has always been so, and
    // callers keep away from this mixture.
    for (int32_t x = 0; x < columns; ++x) {
      to[x] = *from;
      *from = static_cast<uint8_t>(*from + src.bytesPerPixel);
    }
  }
  return true;
}

bool CZZimage::copyFromRect(const CZZimage& src, const Rect& rect) {
  if (rect.normalised().isEmpty()) return copyImage(src);
  const Rect r = src.clipToImage(rect);
  if (&src == this || src.empty() || r.isEmpty()) return false;
  if (!resizedata(r.width(), r.height(), src.bytesPerPixel)) return false;
  frameNumber = src.frameNumber;
  interlace = src.interlace;
  colourset = src.colourset;
  xOrigin = yOrigin = 0;
  if (paletteIndex != src.paletteIndex) dropHeader();
  paletteIndex = src.paletteIndex;
  copyRows(pixels, stride, src.row(r.top) + static_cast<ptrdiff_t>(r.left) * bytesPerPixel, src.stride,
           r.height(), static_cast<size_t>(rowBytes));
  return true;
}

bool CZZimage::copyROI(const CZZimage& src, const Rect& rect) {
  if (rect.normalised().isEmpty()) return copyImage(src);
  if (interlace != src.interlace || colourset != src.colourset) {
    logPrintf("copyROI failed. different interlace or colour!\n");
    return false;
  }
  if (empty() || src.empty() || &src == this) return true;
  const WideRect a = inFrame(clipToImage(rect), *this);
  const WideRect b = inFrame(src.clipToImage(rect), src);
  const int64_t left = std::max(a.left, b.left), right = std::min(a.right, b.right);
  const int64_t top = std::max(a.top, b.top), bottom = std::min(a.bottom, b.bottom);
  if (left >= right || top >= bottom) return true;
  uint8_t* to = row(static_cast<int32_t>(top - yOrigin)) + (left - xOrigin) * bytesPerPixel;
  const uint8_t* from =
      src.row(static_cast<int32_t>(top - src.yOrigin)) + (left - src.xOrigin) * bytesPerPixel;
  copyRows(to, stride, from, src.stride, bottom - top, static_cast<size_t>((right - left) * bytesPerPixel));
  return true;
}

bool CZZimage::copyfromToROI(const CZZimage& src, const Rect& rect) {
  if (interlace != src.interlace || colourset != src.colourset) {
    logPrintf("copyfromToROI failed. different interlace or colour!\n");
    return false;
  }
  if (empty() || src.empty() || &src == this) return true;
  const Rect r = clipToImage(rect);
  copyRows(row(r.top) + static_cast<ptrdiff_t>(r.left) * bytesPerPixel, stride, src.pixels, src.stride,
           std::min(r.height(), src.height),
           static_cast<size_t>(std::min(r.width(), src.width)) * bytesPerPixel);
  return true;
}

bool CZZimage::extractfrom(const CZZimage& src, int32_t field) {
  if (colourset != src.colourset) {
    logPrintf("CZZimage::extractfrom() colour missmatch! %i<-%i\n", colourset, src.colourset);
    return false;
  }
  const bool skipping = !src.isField() && (field == 1 || field == 2);
  const int32_t rows = std::min(height, skipping ? src.height / 2 : src.height);
  if (&src != this && !empty() && !src.empty() && rows > 0)
    copyRows(pixels, stride, src.row(skipping && field == 2 ? 1 : 0),
             static_cast<ptrdiff_t>(src.stride) * (skipping ? 2 : 1), rows,
             static_cast<size_t>(std::min(width, src.width)) * bytesPerPixel);
  frameNumber = src.frameNumber;
  interlace = field;
  xOrigin = yOrigin = 0;
  takeTag(*this, src);
  return true;
}

bool CZZimage::split(CZZimage& first, CZZimage& second) const {
  if (first.colourset != colourset || second.colourset != colourset) {
    logPrintf("split:colour missmatch!!\n");
    return false;
  }
  const int32_t rows = height / 2;
  if (!first.resizedata(width, rows, bytesPerPixel) || !second.resizedata(width, rows, bytesPerPixel))
    return false;
  const int32_t frame = frameNumber / 2 * 2;
  CZZimage* const fields[] = {&first, &second};
  for (int32_t f = 0; f < 2; ++f) {
    fields[f]->frameNumber = wrapAdd(frame, 1 + f);
    fields[f]->interlace = f + 1;
    fields[f]->xOrigin = xOrigin;
    fields[f]->yOrigin = yOrigin / 2;
    if (!fields[f]->empty())
      copyRows(fields[f]->pixels, fields[f]->stride, row(f), static_cast<ptrdiff_t>(stride) * 2, rows,
               static_cast<size_t>(rowBytes));
  }
  return true;
}

bool CZZimage::merge(const CZZimage& first, const CZZimage& second) {
  if (first.colourset != colourset || second.colourset != colourset) {
    logPrintf("merge:colour missmatch!!\n");
    return false;
  }
  if (&first == this || &second == this || first.height > INT32_MAX / 2) return false;
  if (!resizedata(first.width, first.height * 2, first.bytesPerPixel)) return false;
  frameNumber = first.frameNumber;
  interlace = 0;
  xOrigin = first.xOrigin;
  yOrigin = static_cast<int32_t>(static_cast<uint32_t>(first.yOrigin) * 2u);
  if (empty() || !first.pixels || !second.pixels) return true;
  const ptrdiff_t twoRows = static_cast<ptrdiff_t>(stride) * 2;
  copyRows(pixels, twoRows, first.pixels, first.stride, first.height, static_cast<size_t>(rowBytes));
  // Where the second field lies in the first one's rows and columns.
  const int64_t dx = static_cast<int64_t>(second.xOrigin) - first.xOrigin;
  const int64_t dy = static_cast<int64_t>(second.yOrigin) - first.yOrigin;
  const int64_t left = std::max<int64_t>(0, dx), right = std::min<int64_t>(width, second.width + dx);
  const int64_t top = std::max<int64_t>(0, dy), bottom = std::min<int64_t>(first.height, second.height + dy);
  if (left >= right || top >= bottom) return true;
  copyRows(row(static_cast<int32_t>(2 * top + 1)) + left * bytesPerPixel, twoRows,
           second.row(static_cast<int32_t>(top - dy)) + (left - dx) * bytesPerPixel, second.stride,
           bottom - top, static_cast<size_t>((right - left) * bytesPerPixel));
  return true;
}

void CZZimage::swapFields() {
  if (empty()) return;
  for (int32_t y = 0; y + 1 < height; y += 2) std::swap_ranges(row(y), row(y) + rowBytes, row(y + 1));
}

void CZZimage::flipVertical() {
  if (empty()) return;
  const std::unique_ptr<uint8_t[]> spare(new (std::nothrow) uint8_t[static_cast<size_t>(rowBytes)]);
  if (!spare) return;
  const auto bytes = static_cast<size_t>(rowBytes);
  for (int32_t i = 0; i < height / 2; ++i) {
    std::memcpy(spare.get(), row(i), bytes);
    std::memcpy(row(i), row(height - 1 - i), bytes);
    std::memcpy(row(height - 1 - i), spare.get(), bytes);
  }
}

void CZZimage::copyWords(const uint16_t* source, int32_t sourceStride, double gain) {
  if (empty()) return;
  for (int32_t y = 0; y < height; ++y, source += sourceStride)
    for (int32_t x = 0; x < width; ++x) row(y)[x] = truncatedToByte(source[x] * gain);
}

void CZZimage::copyDoubles(const double* source, int32_t sourceStride, double gain) {
  if (empty()) return;
  for (int32_t y = 0; y < height; ++y, source += sourceStride)
    for (int32_t x = 0; x < width; ++x) row(y)[x] = truncatedToByte(source[x] * gain);
}

}  // namespace tarnvisor
