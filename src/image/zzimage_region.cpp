#include <cstring>

#include "image/zzimage.h"

namespace tarnvisor {

namespace {

template <class Rule>
void changeAll(CZZimage& image, Rule rule) {
  if (image.empty()) return;
  for (int32_t y = 0; y < image.height; ++y) {
    uint8_t* p = image.row(y);
    for (int32_t x = 0; x < image.width; ++x) p[x] = rule(p[x]);
  }
}

// Four consecutive codes, one for each way a step was taken, that are neither the old nor the new value.
uint8_t pathBase(uint8_t old, uint8_t fresh) {
  if (old < 100) return fresh < 150 ? 150 : 100;
  return fresh < 50 ? 50 : 10;
}

// The box of v from its first to its last row and column; false when v is absent.
struct Box {
  int32_t left = INT32_MAX, top = INT32_MAX, right = -1, bottom = -1;
};

}  // namespace

void CZZimage::fill(uint8_t v) {
  if (empty()) return;
  for (int32_t y = 0; y < height; ++y) std::memset(row(y), v, static_cast<size_t>(rowBytes));
}

void CZZimage::replaceValue(uint8_t a, uint8_t b) {
  changeAll(*this, [=](uint8_t v) { return v == a ? b : v; });
}

void CZZimage::binarise(int32_t t, uint8_t below, uint8_t above) {
  changeAll(*this, [=](uint8_t v) { return v >= t ? above : below; });
}

void CZZimage::floodFill(uint8_t v, int32_t x, int32_t y) {
  if (empty() || x < 0 || y < 0 || x >= width || y >= height) return;
  const ptrdiff_t rowStep = stride;
  uint8_t* p = row(y) + x;
  const uint8_t old = *p;
  if (old == v) return;  // nothing would ever look painted
  const uint8_t base = pathBase(old, v);
  const auto go = [&](int32_t dx, int32_t dy) {
    x += dx;
    y += dy;
    p += dx + dy * rowStep;
  };
  const auto enter = [&](uint8_t direction, int32_t dx, int32_t dy) {
    go(dx, dy);
    *p = static_cast<uint8_t>(base + direction);
  };
  *p = v;
  for (;;) {
    if (y > 1 && p[-rowStep] == old) {
      enter(0, 0, -1);
    } else if (x < width - 1 && p[1] == old) {
      enter(1, 1, 0);
    } else if (y < height - 1 && p[rowStep] == old) {
      enter(2, 0, 1);
    } else if (x > 0 && p[-1] == old) {
      enter(3, -1, 0);
    } else {
      // Nowhere to go: back along the way that the code tells, until the start.
      const int32_t code = *p - base;
      if (code < 0 || code > 3) return;
      *p = v;
      if (code == 0)
        go(0, 1);
      else if (code == 1)
        go(-1, 0);
      else if (code == 2)
        go(0, -1);
      else
        go(1, 0);
    }
  }
}

bool CZZimage::fillFirstZero(uint8_t v) {
  if (empty()) return false;
  for (int32_t y = 0; y < height; ++y) {
    const void* found = std::memchr(row(y), 0, static_cast<size_t>(width));
    if (!found) continue;
    floodFill(v, static_cast<int32_t>(static_cast<const uint8_t*>(found) - row(y)), y);
    return true;
  }
  return false;
}

int64_t CZZimage::countValue(uint8_t v) const {
  int64_t count = 0;
  for (int32_t y = 0; !empty() && y < height; ++y) {
    const uint8_t* p = row(y);
    int32_t inRow = 0;
    for (int32_t x = 0; x < width; ++x) inRow += p[x] == v;
    count += inRow;
  }
  return count;
}

bool CZZimage::boundingBox(uint8_t v, Point& origin, Point& corner) const {
  Box box;
  for (int32_t y = 0; !empty() && y < height; ++y) {
    const uint8_t* p = row(y);
    const void* found = std::memchr(p, v, static_cast<size_t>(width));
    if (!found) continue;
    int32_t last = width - 1;
    while (p[last] != v) --last;
    box.left = std::min(box.left, static_cast<int32_t>(static_cast<const uint8_t*>(found) - p));
    box.right = std::max(box.right, last);
    box.top = std::min(box.top, y);
    box.bottom = y;
  }
  if (box.bottom < 0) return false;
  origin = {box.left, box.top};
  corner = {box.right, box.bottom};
  return true;
}

bool CZZimage::centroid(uint8_t v, double& x, double& y) const {
  int64_t count = 0, sumX = 0, sumY = 0;
  for (int32_t j = 0; !empty() && j < height; ++j) {
    const uint8_t* p = row(j);
    for (int32_t i = 0; i < width; ++i)
      if (p[i] == v) {
        ++count;
        sumX += i;
        sumY += j;
      }
  }
  if (count == 0) return false;
  x = static_cast<double>(sumX) / static_cast<double>(count);
  y = static_cast<double>(sumY) / static_cast<double>(count);
  return true;
}

}  // namespace tarnvisor
