#include "image/zzimage.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "image/palette.h"
#include "image/samplepattern.h"
#include "settings/log.h"

namespace tarnvisor {

namespace {

constexpr int64_t kLargestBuffer = std::numeric_limits<int32_t>::max();

int64_t wideStride(int64_t width, int64_t bytesPerPixel) { return (width + 3) / 4 * bytesPerPixel * 4; }

// Steps 1 to 5 of clipping, in 64 bits so that no rectangle and no origin overflows.
Rect clipped(const Rect& rect, bool field, int64_t xOrigin, int64_t yOrigin, int32_t width, int32_t height) {
  const Rect n = rect.normalised();
  if (n.isEmpty()) return {0, 0, width, height};
  const int64_t rows = field ? 2 : 1;
  const auto within = [](int64_t v, int32_t bound) {
    return static_cast<int32_t>(std::clamp<int64_t>(v, 0, std::max(bound, 0)));
  };
  const Rect r{within(n.left - xOrigin, width), within(n.top / rows - yOrigin, height),
               within(n.right - xOrigin, width), within(n.bottom / rows - yOrigin, height)};
  return r.isEmpty() ? Rect{} : r;
}

}  // namespace

void CZZimage::FreeBytes::operator()(uint8_t* block) const { std::free(block); }

CZZimage::CZZimage() = default;
CZZimage::~CZZimage() = default;

CZZimage::CZZimage(int32_t newWidth, int32_t newHeight, int32_t newFrameNumber, int32_t newInterlace,
                   int32_t newColourset)
    : frameNumber(newFrameNumber), interlace(newInterlace), colourset(newColourset) {
  bytesPerPixel = colourset == kColour ? 3 : 1;
  const bool field = interlace == 1 || interlace == 2;
  CZZimage::resizedata(newWidth, field ? newHeight / 2 : newHeight, bytesPerPixel);
}

void CZZimage::reset() {
  tag = "00";
  frameNumber = -1;
  interlace = width = height = xOrigin = yOrigin = stride = rowBytes = paletteIndex = paletteAdjusted = 0;
  pixels = nullptr;
  owned.reset();
  blackZero = 1;
  colourset = kGrey;
  bytesPerPixel = 1;
  displayHeader.reset();
  if (samplePattern) *samplePattern = {};  // whether there is one is kept
}

int32_t CZZimage::strideFor(int32_t width, int32_t bytesPerPixel) {
  return static_cast<int32_t>(std::min(wideStride(width, bytesPerPixel), kLargestBuffer));
}

bool CZZimage::resizedata(int32_t newWidth, int32_t newHeight, int32_t newBytesPerPixel) {
  const int64_t newStride = wideStride(newWidth, newBytesPerPixel);
  // Rows of no width take no memory, but twice their number must still be an int32 for a field.
  if (newWidth < 0 || newHeight < 0 || newHeight > kLargestBuffer / 2 || newBytesPerPixel < 1 ||
      newStride > kLargestBuffer || newStride * newHeight > kLargestBuffer) {
    logPrintf("image::resize failed!\n");
    return false;
  }
  const int64_t bytes = newStride * newHeight;
  if (bytes != static_cast<int64_t>(height) * stride) {
    std::unique_ptr<uint8_t[], FreeBytes> fresh;
    if (bytes > 0) {
      fresh.reset(static_cast<uint8_t*>(std::calloc(static_cast<size_t>(bytes), 1)));
      if (!fresh) {
        logPrintf("image::resize failed!\n");
        return false;
      }
    }
    owned = std::move(fresh);
    pixels = owned.get();
  }
  width = newWidth;
  height = newHeight;
  stride = static_cast<int32_t>(newStride);
  bytesPerPixel = newBytesPerPixel;
  rowBytes = width * bytesPerPixel;
  return true;
}

bool CZZimage::setSize(int32_t newWidth, int32_t frameRows) {
  return resizedata(newWidth, isField() ? frameRows / 2 : frameRows, bytesPerPixel);
}

bool CZZimage::setColourset(int32_t newColourset) {
  if (newColourset == colourset) return true;
  logPrintf("%s colourset %i->%i\n", tag.c_str(), colourset, newColourset);
  if (!resizedata(width, height, newColourset == kColour ? 3 : 1)) return false;
  colourset = newColourset;
  return true;
}

void CZZimage::setYOrigin(int32_t y) { yOrigin = isField() ? y / 2 : y; }

Rect CZZimage::clipToImage(const Rect& rect) const {
  return clipped(rect, isField(), xOrigin, yOrigin, width, height);
}

Rect CZZimage::clipLocal(const Rect& rect) const { return clipped(rect, isField(), 0, 0, width, height); }

std::unique_ptr<CZZchildimage> CZZimage::makeChild(const Rect& rect) {
  const Rect r = clipToImage(rect);
  uint8_t* first = pixels ? row(r.top) + static_cast<ptrdiff_t>(r.left) * bytesPerPixel : nullptr;
  auto child = std::make_unique<CZZchildimage>(r.width(), r.height(), first, stride, frameNumber, interlace,
                                               colourset);
  child->xOrigin = xOrigin + r.left;
  child->yOrigin = yOrigin + r.top;
  child->tag[1] = tag[0];
  return child;
}

uint8_t CZZimage::pixelAt(int32_t x, int32_t y) const {
  return row(isField() ? y / 2 : y)[static_cast<ptrdiff_t>(x) * bytesPerPixel];
}

void CZZimage::setPixel(int32_t x, int32_t y, uint8_t value) {
  row(isField() ? y / 2 : y)[static_cast<ptrdiff_t>(x) * bytesPerPixel] = value;
}

uint8_t CZZimage::pixelAtWithOrigin(int32_t x, int32_t y) const {
  return row((isField() ? y / 2 : y) - yOrigin)[static_cast<ptrdiff_t>(x - xOrigin) * bytesPerPixel];
}

void CZZimage::setPixelWithOrigin(int32_t x, int32_t y, uint8_t value) {
  row((isField() ? y / 2 : y) - yOrigin)[static_cast<ptrdiff_t>(x - xOrigin) * bytesPerPixel] = value;
}

int32_t CZZimage::checkedPixelAt(int32_t x, int32_t y) const {
  const int64_t rows = isField() ? 2 : 1;
  const int64_t column = static_cast<int64_t>(x) - xOrigin;
  if (!pixels || column < 0 || column >= width || y < rows * yOrigin ||
      y >= rows * (static_cast<int64_t>(height) + yOrigin))
    return -1;
  // Above the frame a field's y is halved towards zero, which may lead past the last row.
  if (y / rows - yOrigin >= height) return -1;
  return pixelAtWithOrigin(x, y);
}

CZZchildimage::CZZchildimage(int32_t childWidth, int32_t childHeight, uint8_t* firstPixel,
                             int32_t parentStride, int32_t childFrameNumber, int32_t childInterlace,
                             int32_t childColourset) {
  tag = "c0";
  width = childWidth;
  height = childHeight;
  frameNumber = childFrameNumber;
  interlace = childInterlace;
  colourset = childColourset;
  bytesPerPixel = colourset == kColour ? 3 : 1;
  rowBytes = width * bytesPerPixel;
  pixels = firstPixel;
  stride = parentStride < 1 ? rowBytes : parentStride;
}

bool CZZchildimage::resizedata(int32_t newWidth, int32_t newHeight, int32_t newBytesPerPixel) {
  if (newWidth < 0 || newHeight < 0 || newBytesPerPixel < 1 ||
      static_cast<int64_t>(newWidth) * newBytesPerPixel > stride) {
    logPrintf("fail CZZchildimage::resizedata! from %i,%i,%i to %i,%i,%i\n", width, height, bytesPerPixel,
              newWidth, newHeight, newBytesPerPixel);
    return false;
  }
  width = newWidth;
  height = newHeight;
  bytesPerPixel = newBytesPerPixel;
  rowBytes = width * bytesPerPixel;
  return true;
}

void CZZchildimage::usedataof(CZZimage* parent, const Rect& rect) {
  if (!parent) {
    logPrintf("usedataof(NULL)!\n");
    return;
  }
  const Rect r = parent->clipToImage(rect);
  tag[1] = parent->tag[0];
  frameNumber = parent->frameNumber;
  interlace = parent->interlace;
  colourset = parent->colourset;
  bytesPerPixel = parent->bytesPerPixel;
  paletteIndex = parent->paletteIndex;
  blackZero = parent->blackZero;
  stride = parent->stride;
  pixels = parent->pixels ? parent->row(r.top) + static_cast<ptrdiff_t>(r.left) * bytesPerPixel : nullptr;
  xOrigin = parent->xOrigin + r.left;
  yOrigin = parent->yOrigin + r.top;
  width = r.width();
  height = r.height();
  rowBytes = width * bytesPerPixel;
  dropHeader();
}

}  // namespace tarnvisor
