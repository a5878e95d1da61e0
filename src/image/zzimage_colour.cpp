#include <algorithm>
#include <cstring>
#include <new>

#include "base/numbers.h"
#include "image/palette.h"
#include "image/zzimage.h"
#include "settings/log.h"

namespace tarnvisor {

namespace {

// Blue, green and red byte to grey, in one truncation.
uint8_t greyOf(const GreyWeights& weights, uint32_t blue, uint32_t green, uint32_t red) {
  return truncatedToByte(blue * weights.blue + green * weights.green + red * weights.red);
}

}  // namespace

void CZZimage::planesToColour() {
  const int32_t rows = height / 3;
  if (!owned || empty() || bytesPerPixel != 1 || rows < 1 || width > INT32_MAX / 9) return;
  const size_t planeBytes = static_cast<size_t>(rows) * static_cast<size_t>(stride);
  const std::unique_ptr<uint8_t[]> planes(new (std::nothrow) uint8_t[planeBytes * 3]);
  if (!planes) return;
  std::memcpy(planes.get(), pixels, planeBytes * 3);
  const ptrdiff_t planeStride = stride;
  stride *= 3;
  for (int32_t y = 0; y < rows; ++y) {
    const uint8_t* plane = planes.get() + y * planeStride;
    uint8_t* to = row(y);
    for (int32_t x = 0; x < width; ++x, to += 3) {
      to[0] = plane[2 * planeBytes + static_cast<size_t>(x)];
      to[1] = plane[planeBytes + static_cast<size_t>(x)];
      to[2] = plane[x];
    }
  }
  height = rows;
  width *= 3;
  rowBytes = width;
}

std::unique_ptr<uint8_t[]> CZZimage::demosaic(uint8_t* target, int32_t targetStride) const {
  std::unique_ptr<uint8_t[]> made;
  if (empty() || width > INT32_MAX / 3) return made;
  if (!target) {
    targetStride = width * 3;
    made.reset(new (std::nothrow) uint8_t[static_cast<size_t>(targetStride) * height]());
    if (!made) return made;
    target = made.get();
  }
  const ptrdiff_t up = -static_cast<ptrdiff_t>(stride), down = stride;
  const auto cross = [=](const uint8_t* p) {
    return static_cast<uint8_t>((p[up] + p[down] + p[1] + p[-1]) >> 2);
  };
  const auto corners = [=](const uint8_t* p) {
    return static_cast<uint8_t>((p[up - 1] + p[up + 1] + p[down - 1] + p[down + 1]) >> 2);
  };
  const auto across = [](const uint8_t* p) { return static_cast<uint8_t>((p[-1] + p[1]) >> 1); };
  const auto along = [=](const uint8_t* p) { return static_cast<uint8_t>((p[up] + p[down]) >> 1); };
  const auto put = [](uint8_t* at, uint8_t blue, uint8_t green, uint8_t red) {
    at[0] = blue;
    at[1] = green;
    at[2] = red;
  };
  // Cells of a blue site, two green and a red one; the border rows and columns stay as they are.
  for (int32_t y = 1; y < height - 2; y += 2) {
    const uint8_t* p = row(y) + 1;
    uint8_t* to = target + static_cast<ptrdiff_t>(y) * targetStride + 3;
    for (int32_t x = 1; x < width - 2; x += 2, p += 2, to += 6) {
      put(to, p[0], cross(p), corners(p));
      put(to + 3, across(p + 1), p[1], along(p + 1));
      const uint8_t* q = p + down;
      put(to + targetStride, along(q), q[0], across(q));
      put(to + targetStride + 3, corners(q + 1), cross(q + 1), q[1]);
    }
  }
  return made;
}

void CZZimage::bayerToGrey() {
  colourset = kGrey;
  if (empty()) return;
  uint8_t* top = row(0);
  int32_t x = 1;
  for (; x - 1 < width - 2; x += 2) top[x] = static_cast<uint8_t>((top[x - 1] + top[x + 1]) >> 1);
  if (x < width) top[x] = top[x - 1];
  uint8_t* bottom = row(height - 1);
  if (width > 1) bottom[0] = bottom[1];
  for (x = 2; x - 1 < width - 2; x += 2)
    bottom[x] = static_cast<uint8_t>((bottom[x - 1] + bottom[x + 1]) >> 1);
  if (width < 2) return;
  const ptrdiff_t down = stride;
  const auto cross = [=](const uint8_t* p) {
    return static_cast<uint8_t>((p[-down] + p[down] + p[-1] + p[1]) >> 2);
  };
  for (int32_t y = 1; y < height - 2; y += 2) {
    uint8_t* p = row(y);
    p[0] = static_cast<uint8_t>((p[-down] + p[down] + p[1]) / 3);
    for (x = 2; x < width - 1; x += 2) p[x] = cross(p + x);
    p += down;
    for (x = 1; x < width - 1; x += 2) p[x] = cross(p + x);
  }
}

bool CZZimage::copyrgb32(const uint32_t* source) {
  if (colourset == kBayer) {
    logPrintf("copyrgb32 %s=bayer not supported!\n", tag.c_str());
    return false;
  }
  if (empty()) return true;
  const GreyWeights weights = weightsOfImages();
  for (int32_t y = 0; y < height; ++y) {
    uint8_t* to = row(y);
    for (int32_t x = 0; x < width; ++x) {
      const uint32_t pixel = *source++;
      const uint32_t blue = pixel & 255, green = pixel >> 8 & 255, red = pixel >> 16 & 255;
      if (colourset == kColour) {
        *to++ = static_cast<uint8_t>(blue);
        *to++ = static_cast<uint8_t>(green);
        *to++ = static_cast<uint8_t>(red);
      } else {
        *to++ = greyOf(weights, blue, green, red);
      }
    }
  }
  return true;
}

bool CZZimage::convertToGrey() {
  if (colourset == kBayer) bayerToGrey();
  if (colourset != kColour) return true;
  // In place: what is written never passes what is still to be read. A child keeps its parent's stride.
  const int32_t greyStride = owned ? strideFor(width, 1) : stride;
  const GreyWeights weights = weightsOfImages();
  if (!empty())
    for (int32_t y = 0; y < height; ++y) {
      const uint8_t* from = row(y);
      uint8_t* to = pixels + static_cast<ptrdiff_t>(y) * greyStride;
      for (int32_t x = 0; x < width; ++x, from += 3) to[x] = greyOf(weights, from[0], from[1], from[2]);
    }
  colourset = kGrey;
  bytesPerPixel = 1;
  stride = greyStride;
  rowBytes = width;
  return true;
}

}  // namespace tarnvisor
