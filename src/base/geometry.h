// Integer geometry in image pixels: x grows to the right, y downward. A rectangle is half-open: left and top
// belong to it, right and bottom do not.
#pragma once

#include <algorithm>
#include <cstdint>

namespace tarnvisor {

struct Point {
  int32_t x = 0;
  int32_t y = 0;
  friend bool operator==(const Point&, const Point&) = default;
};

// Coordinates of a damaged file may be anything: sums wrap instead of overflowing.
inline int32_t wrapAdd(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}
inline int32_t wrapSub(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}
inline Point operator+(Point a, Point b) { return {wrapAdd(a.x, b.x), wrapAdd(a.y, b.y)}; }
inline Point operator-(Point a, Point b) { return {wrapSub(a.x, b.x), wrapSub(a.y, b.y)}; }

struct Size {
  int32_t width = 0;
  int32_t height = 0;
  friend bool operator==(const Size&, const Size&) = default;
};

struct Rect {
  int32_t left = 0;
  int32_t top = 0;
  int32_t right = 0;
  int32_t bottom = 0;
  friend bool operator==(const Rect&, const Rect&) = default;

  int32_t width() const { return wrapSub(right, left); }
  int32_t height() const { return wrapSub(bottom, top); }
  bool isEmpty() const { return right <= left || bottom <= top; }
  bool isZero() const { return left == 0 && top == 0 && right == 0 && bottom == 0; }
  bool contains(Point p) const { return p.x >= left && p.x < right && p.y >= top && p.y < bottom; }

  Rect normalised() const {
    return {std::min(left, right), std::min(top, bottom), std::max(left, right), std::max(top, bottom)};
  }
  // The common part; (0, 0, 0, 0) when there is none.
  Rect intersected(const Rect& o) const {
    const Rect r{std::max(left, o.left), std::max(top, o.top), std::min(right, o.right),
                 std::min(bottom, o.bottom)};
    return r.isEmpty() ? Rect{} : r;
  }
  Rect offsetBy(int32_t dx, int32_t dy) const {
    return {wrapAdd(left, dx), wrapAdd(top, dy), wrapAdd(right, dx), wrapAdd(bottom, dy)};
  }
  Rect inflatedBy(int32_t n) const {
    return {wrapSub(left, n), wrapSub(top, n), wrapAdd(right, n), wrapAdd(bottom, n)};
  }
  Point topLeft() const { return {left, top}; }
};

// A colour as stored in files: 0x00bbggrr.
using Colour = uint32_t;

}  // namespace tarnvisor
