#include "analysis/loopplanes.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tarnvisor {

namespace {

void addRow(std::vector<float>& sums, const uint8_t* row, float share) {
  for (size_t i = 0; i < sums.size(); ++i) sums[i] += share * row[i];
}

// The pixels from begin to end, in parts, of a row of blue, green, red.
std::array<float, 3> meanOf(const std::vector<float>& sums, double begin, double end) {
  std::array<float, 3> mean{};
  const auto last = std::min(static_cast<int64_t>(std::ceil(end)), static_cast<int64_t>(sums.size() / 3));
  for (auto x = static_cast<int64_t>(begin); x < last; ++x) {
    const double from = std::max(begin, static_cast<double>(x)), to = std::min(end, x + 1.0);
    const auto share = static_cast<float>((to - from) / (end - begin));
    for (size_t c = 0; c < 3; ++c) mean[c] += share * sums[3 * static_cast<size_t>(x) + c];
  }
  return mean;
}

std::array<float, 3> interpolated(const CZZimage& image, double x, double y) {
  const double cx = std::clamp(x, 0.0, image.width - 1.0), cy = std::clamp(y, 0.0, image.height - 1.0);
  const auto x0 = static_cast<int32_t>(cx), y0 = static_cast<int32_t>(cy);
  const int32_t x1 = std::min(x0 + 1, image.width - 1), y1 = std::min(y0 + 1, image.height - 1);
  const auto tx = static_cast<float>(cx - x0), ty = static_cast<float>(cy - y0);
  std::array<float, 3> out;
  for (int32_t c = 0; c < 3; ++c) {
    const float a = image.row(y0)[3 * x0 + c], b = image.row(y0)[3 * x1 + c];
    const float d = image.row(y1)[3 * x0 + c], e = image.row(y1)[3 * x1 + c];
    const float upper = a + tx * (b - a), lower = d + tx * (e - d);
    out[static_cast<size_t>(c)] = upper + ty * (lower - upper);
  }
  return out;
}

std::vector<float> gaussian(double sigma) {
  const auto reach = static_cast<size_t>(std::ceil(3 * sigma));
  std::vector<float> half(reach + 1);
  double sum = 0;
  for (size_t i = 0; i <= reach; ++i)
    sum += (i ? 2 : 1) * std::exp(-0.5 * static_cast<double>(i * i) / (sigma * sigma));
  for (size_t i = 0; i <= reach; ++i)
    half[i] = static_cast<float>(std::exp(-0.5 * static_cast<double>(i * i) / (sigma * sigma)) / sum);
  return half;
}

// Each pixel from those about it in its row and then its column; place(i, n) tells which stands for i.
template <typename Place>
void blurBy(LoopPlane& plane, const std::vector<float>& half, Place place) {
  const auto reach = static_cast<int32_t>(half.size()) - 1;
  std::vector<float> line(static_cast<size_t>(plane.width + 2 * reach));
  for (int32_t y = 0; y < plane.height; ++y) {
    float* row = plane.row(y);
    for (int32_t i = -reach; i < plane.width + reach; ++i) {
      const int32_t from = place(i, plane.width);
      line[static_cast<size_t>(int64_t{i} + reach)] = from < 0 ? 0.0f : row[from];
    }
    const float* middle = line.data() + reach;
    for (int32_t x = 0; x < plane.width; ++x) row[x] = half[0] * middle[x];
    for (int32_t i = 1; i <= reach; ++i) {
      const float share = half[static_cast<size_t>(i)];
      for (int32_t x = 0; x < plane.width; ++x) row[x] += share * (middle[x - i] + middle[x + i]);
    }
  }
  // Rows that were replaced already are kept as long as they are needed.
  LoopPlane kept(plane.width, reach + 1);
  for (int32_t y = 0; y < plane.height; ++y) {
    float* out = plane.row(y);
    std::copy_n(out, plane.width, kept.row(y % (reach + 1)));
    for (int32_t x = 0; x < plane.width; ++x) out[x] *= half[0];
    for (int32_t i = -reach; i <= reach; ++i) {
      const int32_t from = place(y + i, plane.height);
      if (i == 0 || from < 0) continue;
      const float share = half[static_cast<size_t>(std::abs(i))];
      const float* in = from <= y ? kept.row(from % (reach + 1)) : plane.row(from);
      for (int32_t x = 0; x < plane.width; ++x) out[x] += share * in[x];
    }
  }
}

}  // namespace

float LoopPlane::between(double x, double y) const {
  const double cx = std::clamp(x, 0.0, width - 1.0), cy = std::clamp(y, 0.0, height - 1.0);
  const int32_t x0 = std::min(static_cast<int32_t>(cx), std::max(width - 2, 0));
  const int32_t y0 = std::min(static_cast<int32_t>(cy), std::max(height - 2, 0));
  const auto tx = static_cast<float>(cx - x0), ty = static_cast<float>(cy - y0);
  const float* a = row(y0) + x0;
  const float* b = row(std::min(y0 + 1, height - 1)) + x0;
  const int32_t next = x0 + 1 < width ? 1 : 0;
  const float upper = a[0] + tx * (a[next] - a[0]), lower = b[0] + tx * (b[next] - b[0]);
  return upper + ty * (lower - upper);
}

LoopColours resampledColours(const CZZimage& image, double pixels) {
  const auto evenly = [&](int32_t side) { return std::max(2, static_cast<int32_t>(side / pixels / 2) * 2); };
  const int32_t w = evenly(image.width), h = evenly(image.height);
  LoopColours out{LoopPlane(w, h), LoopPlane(w, h), LoopPlane(w, h)};
  out.left = std::max(0.0, 0.5 * (image.width - w * pixels));
  out.top = std::max(0.0, 0.5 * (image.height - h * pixels));
  const auto put = [&](int32_t x, int32_t y, const std::array<float, 3>& of) {
    out.blue.row(y)[x] = of[0];
    out.green.row(y)[x] = of[1];
    out.red.row(y)[x] = of[2];
  };
  std::vector<float> sums(static_cast<size_t>(image.width) * 3);
  for (int32_t y = 0; y < h; ++y) {
    if (pixels <= 1) {
      for (int32_t x = 0; x < w; ++x)
        put(x, y,
            interpolated(image, out.left + (x + 0.5) * pixels - 0.5, out.top + (y + 0.5) * pixels - 0.5));
      continue;
    }
    std::fill(sums.begin(), sums.end(), 0.0f);
    const double begin = out.top + y * pixels, end = begin + pixels;
    for (auto line = static_cast<int32_t>(begin); line < std::min<double>(std::ceil(end), image.height);
         ++line) {
      const double from = std::max<double>(begin, line), to = std::min(end, line + 1.0);
      addRow(sums, image.row(line), static_cast<float>((to - from) / pixels));
    }
    for (int32_t x = 0; x < w; ++x)
      put(x, y, meanOf(sums, out.left + x * pixels, out.left + (x + 1) * pixels));
  }
  return out;
}

LoopCoarse coarsened(const LoopPlane& plane, const LoopPlane& weight, int32_t step) {
  const auto squares = [&](int32_t side) {
    const int32_t count = (side + step - 1) / step;
    return (count * step - side) % 2 && step % 2 ? count + 1 : count;
  };
  const int32_t w = squares(plane.width), h = squares(plane.height);
  LoopCoarse out{LoopPlane(w, h), LoopPlane(w, h), step};
  out.left = (w * step - plane.width) / 2;
  out.top = (h * step - plane.height) / 2;
  std::vector<float> sums(static_cast<size_t>(plane.width)), weights(sums.size());
  for (int32_t y = 0; y < h; ++y) {
    std::fill(sums.begin(), sums.end(), 0.0f);
    std::fill(weights.begin(), weights.end(), 0.0f);
    const int32_t first = y * step - out.top;
    for (int32_t line = std::max(first, 0); line < std::min(first + step, plane.height); ++line) {
      const float *value = plane.row(line), *share = weight.row(line);
      for (size_t x = 0; x < sums.size(); ++x) {
        sums[x] += value[x] * share[x];
        weights[x] += share[x];
      }
    }
    float *sum = out.sum.row(y), *share = out.weight.row(y);
    const auto each = static_cast<size_t>(step);
    size_t next = each - static_cast<size_t>(out.left);  // where the next square begins
    for (size_t x = 0; x < sums.size(); ++sum, ++share, next += each)
      for (const size_t end = std::min(next, sums.size()); x < end; ++x) {
        *sum += sums[x];
        *share += weights[x];
      }
  }
  return out;
}

void blurSums(LoopPlane& plane, double sigma) {
  blurBy(plane, gaussian(sigma), [](int32_t i, int32_t n) { return i < 0 || i >= n ? -1 : i; });
}

void blurFinely(LoopPlane& plane, double sigma) {
  blurBy(plane, gaussian(sigma), [](int32_t i, int32_t n) { return std::clamp(i, 0, n - 1); });
}

LoopPlane blurredBroadly(const LoopPlane& plane, const LoopPlane& weight, double sigma) {
  LoopCoarse coarse = coarsened(plane, weight, std::max(1, static_cast<int32_t>(sigma / 2.5)));
  blurSums(coarse.sum, sigma / coarse.step);
  blurSums(coarse.weight, sigma / coarse.step);
  for (size_t i = 0; i < coarse.sum.values.size(); ++i) {
    const float share = coarse.weight.values[i];
    coarse.sum.values[i] = share > 1e-6f ? coarse.sum.values[i] / share : 0.0f;
  }
  LoopPlane out(plane.width, plane.height);
  const LoopPlane& nodes = coarse.sum;
  std::vector<float> line(static_cast<size_t>(nodes.width));
  const auto place = [&](int32_t i, int32_t count) {
    return std::clamp((i + 0.5) / coarse.step - 0.5, 0.0, count - 1.0);
  };
  for (int32_t y = 0; y < out.height; ++y) {
    const double cy = place(y + coarse.top, nodes.height);
    const auto y0 = static_cast<int32_t>(cy);
    const auto ty = static_cast<float>(cy - y0);
    const float *a = nodes.row(y0), *b = nodes.row(std::min(y0 + 1, nodes.height - 1));
    for (size_t i = 0; i < line.size(); ++i) line[i] = a[i] + ty * (b[i] - a[i]);
    for (int32_t x = 0; x < out.width; ++x) {
      const double cx = place(x + coarse.left, nodes.width);
      const auto x0 = static_cast<size_t>(cx);
      const float from = line[x0], to = line[std::min(x0 + 1, line.size() - 1)];
      out.row(y)[x] = from + static_cast<float>(cx - static_cast<double>(x0)) * (to - from);
    }
  }
  return out;
}

LoopTurn turnTo(double px, double py, int32_t width, int32_t height) {
  LoopTurn turn;
  turn.px = px;
  turn.py = py;
  turn.fromX = 0.5 * (width - 1);
  turn.fromY = 0.5 * (height - 1);
  const double halfWidth = std::abs(py) * turn.fromX + std::abs(px) * turn.fromY;
  const double halfHeight = std::abs(px) * turn.fromX + std::abs(py) * turn.fromY;
  turn.toX = static_cast<int32_t>(std::ceil(halfWidth - 1e-6));
  turn.toY = static_cast<int32_t>(std::ceil(halfHeight - 1e-6));
  turn.width = 2 * turn.toX + 1;
  turn.height = 2 * turn.toY + 1;
  return turn;
}

namespace {

// The pixels of a line that stay within (low, high), of a value that begins at `start` and changes by `step`.
void narrow(double start, double step, double low, double high, int32_t& first, int32_t& end) {
  if (std::abs(step) < 1e-12) {
    if (start <= low || start >= high) end = first;
    return;
  }
  const double a = (low - start) / step, b = (high - start) / step;
  first = std::max(first, static_cast<int32_t>(std::floor(std::clamp(std::min(a, b), -1.0, 1e8))) + 1);
  end = std::min(end, static_cast<int32_t>(std::ceil(std::clamp(std::max(a, b), 0.0, 1e8))));
}

}  // namespace

LoopSpan turnedSpan(const LoopTurn& turn, int32_t width, int32_t height, int32_t y) {
  LoopSpan span{0, turn.width};
  narrow(turn.gridX(0, y), turn.py, -0.5, width - 0.5, span.first, span.end);
  narrow(turn.gridY(0, y), -turn.px, -0.5, height - 0.5, span.first, span.end);
  span.end = std::max(span.first, span.end);
  return span;
}

void turnAll(const LoopTurn& turn, std::initializer_list<Turned> smooth,
             std::initializer_list<Turned> masks) {
  for (const auto& list : {smooth, masks})
    for (const Turned& one : list) one.to.reset(turn.width, turn.height);
  const LoopPlane& any = smooth.begin()->from;
  const int32_t w = any.width, h = any.height;
  struct Source {
    int32_t corner, near;
    float tx, ty;
  };
  std::vector<Source> sources(static_cast<size_t>(turn.width));
  const int32_t right = w > 1 ? 1 : 0, below = h > 1 ? w : 0;
  for (int32_t y = 0; y < turn.height; ++y) {
    const LoopSpan span = turnedSpan(turn, w, h, y);
    const auto startX = static_cast<float>(turn.gridX(0, y)), startY = static_cast<float>(turn.gridY(0, y));
    const auto stepX = static_cast<float>(turn.py), stepY = static_cast<float>(-turn.px);
    for (int32_t x = span.first; x < span.end; ++x) {
      const float gx = std::clamp(startX + stepX * static_cast<float>(x), 0.0f, static_cast<float>(w - 1));
      const float gy = std::clamp(startY + stepY * static_cast<float>(x), 0.0f, static_cast<float>(h - 1));
      const int32_t x0 = std::min(static_cast<int32_t>(gx), std::max(w - 2, 0));
      const int32_t y0 = std::min(static_cast<int32_t>(gy), std::max(h - 2, 0));
      const float beyondX = gx + 0.5f, beyondY = gy + 0.5f;
      sources[static_cast<size_t>(x)] = {y0 * w + x0,
                                         static_cast<int32_t>(beyondY) * w + static_cast<int32_t>(beyondX),
                                         gx - static_cast<float>(x0), gy - static_cast<float>(y0)};
    }
    for (const Turned& one : smooth) {
      const float* from = one.from.values.data();
      float* to = one.to.row(y);
      for (int32_t x = span.first; x < span.end; ++x) {
        const Source& at = sources[static_cast<size_t>(x)];
        const float *a = from + at.corner, *b = a + below;
        const float upper = a[0] + at.tx * (a[right] - a[0]), lower = b[0] + at.tx * (b[right] - b[0]);
        to[x] = upper + at.ty * (lower - upper);
      }
    }
    for (const Turned& one : masks) {
      const float* from = one.from.values.data();
      float* to = one.to.row(y);
      for (int32_t x = span.first; x < span.end; ++x) to[x] = from[sources[static_cast<size_t>(x)].near];
    }
  }
}

}  // namespace tarnvisor
