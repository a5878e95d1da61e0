// The filters and the segmentation once more, as plain loops that follow their rules word by word, and
// pictures to run both on. The fast ones must give the same bytes.
#pragma once

#include "analysis/finder.h"
#include "base/numbers.h"
#include "image/zzimage.h"
#include "support/testing.h"

namespace tarnvisor::plain {

struct Picture {
  int32_t width = 0, height = 0;
  std::vector<uint8_t> bytes;
  uint8_t& at(int32_t x, int32_t y) {
    return bytes[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
  }
  uint8_t at(int32_t x, int32_t y) const { return const_cast<Picture*>(this)->at(x, y); }
  // With the nearest edge pixel outside.
  int32_t near(int32_t x, int32_t y) const {
    return at(std::clamp(x, 0, width - 1), std::clamp(y, 0, height - 1));
  }
  bool has(int32_t x, int32_t y) const { return x >= 0 && y >= 0 && x < width && y < height; }
  friend bool operator==(const Picture&, const Picture&) = default;
};

inline Picture flat(int32_t width, int32_t height, uint8_t value) {
  return {width, height,
          std::vector<uint8_t>(static_cast<size_t>(width) * static_cast<size_t>(height), value)};
}

// Noise of a few kinds: all levels, the two ends only, or few levels.
inline Picture noise(int32_t width, int32_t height, uint32_t seed, int32_t kind = 0) {
  Picture p = flat(width, height, 0);
  std::mt19937 random(seed);
  for (uint8_t& b : p.bytes) {
    const uint32_t r = random();
    b = static_cast<uint8_t>(kind == 0 ? r : kind == 1 ? (r % 100 < 40 ? 0 : 255) : r % 5);
  }
  return p;
}

inline Picture drawn(const std::vector<std::string>& rows) {  // '#' is 0, anything else 255
  Picture p = flat(static_cast<int32_t>(rows[0].size()), static_cast<int32_t>(rows.size()), 255);
  for (int32_t y = 0; y < p.height; ++y)
    for (int32_t x = 0; x < p.width; ++x)
      if (rows[static_cast<size_t>(y)][static_cast<size_t>(x)] == '#') p.at(x, y) = 0;
  return p;
}

inline void load(CZZimage& image, const Picture& p) {
  image.resizedata(p.width, p.height, 1);
  for (int32_t y = 0; y < p.height; ++y)
    std::copy_n(&p.bytes[static_cast<size_t>(y) * static_cast<size_t>(p.width)], p.width, image.row(y));
}

inline Picture unload(const CZZimage& image) {
  Picture p = flat(image.width, image.height, 0);
  for (int32_t y = 0; y < p.height; ++y)
    std::copy_n(image.row(y), p.width, &p.bytes[static_cast<size_t>(y) * static_cast<size_t>(p.width)]);
  return p;
}

inline Picture mapped(const Picture& p, const std::function<int32_t(int32_t, int32_t)>& pixel) {
  Picture result = p;
  for (int32_t y = 0; y < p.height; ++y)
    for (int32_t x = 0; x < p.width; ++x) result.at(x, y) = static_cast<uint8_t>(pixel(x, y));
  return result;
}

inline Picture window(const Picture& p, bool highPass, int32_t w) {
  highPass = highPass && w > 0;
  w = std::abs(w);
  if (w == 0 || w >= std::min(p.width, p.height)) return p;
  const int32_t half = (w / 2 * 2 + 1) / 2;
  return mapped(p, [&](int32_t x, int32_t y) -> int32_t {
    int64_t sum = 0, count = 0;
    for (int32_t v = std::max(y - half, 0); v <= std::min(y + half, p.height - 1); ++v)
      for (int32_t u = std::max(x - half, 0); u <= std::min(x + half, p.width - 1); ++u, ++count)
        sum += p.at(u, v);
    const int32_t value = p.at(x, y);
    if (!highPass) return static_cast<int32_t>(sum / count);
    return count == 1 ? value : clipToByte(static_cast<int32_t>(value - (sum - value) / (count - 1) + 128));
  });
}

inline Picture kernel3x3(const Picture& p, const std::vector<int32_t>& k, double f, int32_t o) {
  return mapped(p, [&](int32_t x, int32_t y) {
    int64_t sum = 0;
    for (int32_t i = 0; i < 9; ++i)
      sum += int64_t{k[static_cast<size_t>(i)]} * p.near(x + i % 3 - 1, y + i / 3 - 1);
    return truncatedToByte(static_cast<double>(sum) * f + o);
  });
}

inline Picture kernelNxN(const Picture& p, const std::vector<int32_t>& k, int32_t n, double f, int32_t o) {
  return mapped(p, [&](int32_t x, int32_t y) {
    int64_t sum = 0, s = 0;
    for (int32_t row = 0; row < n; ++row) {
      for (int32_t column = 0; column < n; ++column) {
        const int32_t u = x + column - n / 2, v = y + row - n / 2;
        if (!p.has(u, v)) continue;
        sum += int64_t{k[static_cast<size_t>(row * n + column)]} * p.at(u, v);
        s += k[static_cast<size_t>(row * n + column)];
      }
    }
    return truncatedToByte(static_cast<double>(sum) * (s == 0 ? f : f / static_cast<double>(s)) + o);
  });
}

inline std::vector<uint8_t> blurredLine(const std::vector<uint8_t>& bytes, const std::vector<float>& k,
                                        const std::vector<float>& e) {
  const int32_t length = static_cast<int32_t>(bytes.size()), n = static_cast<int32_t>(k.size());
  if (n >= length / 2) return bytes;
  const std::vector<float> v(bytes.begin(), bytes.end());
  std::vector<uint8_t> result(bytes.size());
  const auto at = [](const std::vector<float>& f, int32_t i) { return f[static_cast<size_t>(i)]; };
  for (int32_t i = 0; i < length; ++i) {
    float sum = k[0] * at(v, i);
    if (i < n) sum += v[0] * at(e, i);
    if (i >= length - n) sum += v.back() * at(e, length - 1 - i);
    for (int32_t j = 1; j < n; ++j) {
      if (i - j < 0)
        sum += at(k, j) * at(v, i + j);
      else if (i + j >= length)
        sum += at(k, j) * at(v, i - j);
      else
        sum += at(k, j) * (at(v, i + j) + at(v, i - j));
    }
    result[static_cast<size_t>(i)] = static_cast<uint8_t>(static_cast<int32_t>(sum));
  }
  return result;
}

inline Picture blurred(Picture p, const std::vector<float>& k, const std::vector<float>& e) {
  for (int32_t y = 0; y < p.height; ++y) {
    std::vector<uint8_t> line;
    for (int32_t x = 0; x < p.width; ++x) line.push_back(p.at(x, y));
    line = blurredLine(line, k, e);
    for (int32_t x = 0; x < p.width; ++x) p.at(x, y) = line[static_cast<size_t>(x)];
  }
  for (int32_t x = 0; x < p.width; ++x) {
    std::vector<uint8_t> line;
    for (int32_t y = 0; y < p.height; ++y) line.push_back(p.at(x, y));
    line = blurredLine(line, k, e);
    for (int32_t y = 0; y < p.height; ++y) p.at(x, y) = line[static_cast<size_t>(y)];
  }
  return p;
}

inline Picture modifiedLaplacian(const Picture& p) {
  return mapped(p, [&](int32_t x, int32_t y) {
    const auto term = [&](int32_t dx, int32_t dy) {
      const bool before = p.has(x - dx, y - dy), after = p.has(x + dx, y + dy);
      const int32_t c = p.at(x, y);
      if (before && after) return std::abs(2 * c - p.at(x - dx, y - dy) - p.at(x + dx, y + dy));
      return before ? std::abs(c - p.at(x - dx, y - dy)) : after ? std::abs(c - p.at(x + dx, y + dy)) : 0;
    };
    return std::min(term(1, 0) + term(0, 1), 255);
  });
}

inline Picture lulu(const Picture& p, bool lower) {
  return mapped(p, [&](int32_t x, int32_t y) {
    int32_t outer = lower ? 0 : 255;
    for (int32_t dy = -1; dy <= 0; ++dy) {
      for (int32_t dx = -1; dx <= 0; ++dx) {
        int32_t inner = lower ? 255 : 0;
        for (int32_t i = 0; i < 4; ++i)
          if (const int32_t u = x + dx + i % 2, v = y + dy + i / 2; p.has(u, v))
            inner = lower ? std::min<int32_t>(inner, p.at(u, v)) : std::max<int32_t>(inner, p.at(u, v));
        outer = lower ? std::max(outer, inner) : std::min(outer, inner);
      }
    }
    return outer;
  });
}

inline Picture minimum(const Picture& p) {
  return mapped(p, [&](int32_t x, int32_t y) {
    int32_t least = 255;
    for (int32_t i = 0; i < 9; ++i) least = std::min(least, p.near(x + i % 3 - 1, y + i / 3 - 1));
    return least;
  });
}

// Fills the holes of label 1 through a work image that leaves out the last row and the last two columns.
inline void fillHoles(CZZimage& image) {
  Point low, high;
  if (!image.boundingBox(1, low, high)) return;
  const int32_t columns = high.x - low.x - 1, rows = high.y - low.y;
  CZZimage work(high.x - low.x + 2, high.y - low.y + 2);
  work.fill(255);
  for (int32_t y = 0; y < rows; ++y)
    for (int32_t x = 0; x < columns; ++x)
      if (image.row(low.y + y)[low.x + x] == 1) work.row(y + 1)[x + 1] = 1;
  work.floodFill(254, 0, 0);
  for (int32_t y = 0; y < rows; ++y)
    for (int32_t x = 0; x < columns; ++x)
      if (work.row(y + 1)[x + 1] == 255) image.row(low.y + y)[low.x + x] = 1;
}

// The segmentation of a binary image, one flood fill after the other.
inline std::vector<CapillaryRegion> segmentBinary(CZZimage& image, int32_t umin, int32_t umax, size_t limit) {
  std::vector<CapillaryRegion> regions;
  const int64_t weight = image.isField() ? 2 : 1;
  while (regions.size() < limit && image.fillFirstZero(1)) {
    const int64_t count = image.countValue(1) * weight;
    if (count < umin || count > umax) {
      image.replaceValue(1, 255);
      continue;
    }
    fillHoles(image);
    CapillaryRegion region{image.countValue(1) * weight, 0, 0};
    image.centroid(1, region.cx, region.cy);
    region.cx += image.xOrigin;
    region.cy += image.yOrigin;
    regions.push_back(region);
    image.replaceValue(1, 254);
  }
  image.replaceValue(254, 0);
  return regions;
}

}  // namespace tarnvisor::plain
