#include "analysis/flow.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <numeric>
#include <utility>

#include "base/numbers.h"
#include "base/parallel.h"
#include "flowrows.h"
#include "vectors/fft.h"

namespace tarnvisor {

namespace {

constexpr int32_t kStripRows = 64;
constexpr int64_t kLeastRows = 16;  // for a thread
constexpr size_t kMostAtOnce = 2;   // images

int32_t stripsOf(int32_t height) { return (height + kStripRows - 1) / kStripRows; }

// The squared differences of the last three rows of an image, with an item more on both sides of each. What
// lies outside the image is never the least.
class DifferenceRows {
 public:
  explicit DifferenceRows(int32_t width)
      : apart(static_cast<size_t>(width) + 2), items(3 * apart, UINT16_MAX) {}
  // From its item -1 on.
  uint16_t* row(int32_t y) { return items.data() + static_cast<size_t>(y % 3) * apart; }

 private:
  size_t apart;
  std::vector<uint16_t> items;
};

double deviation(double sum, double sumSquares, double m) {
  return std::sqrt((sumSquares - sum * sum / m) / m);
}

}  // namespace

// --- statistics of a range

bool FlowStatistics::begin(int32_t frameWidth, int32_t frameHeight) {
  width = frameWidth;
  height = frameHeight;
  const size_t places = columns() * static_cast<size_t>(height);
  try {
    for (auto* plane : {&first, &previous}) plane->assign(places, 0);
    for (auto* plane : {&sum, &sumSquares, &sumDiffSquares, &mask}) plane->assign(places, 0);
    count.assign((columns() + 1) * (static_cast<size_t>(height) + 1), 0);
    edges.assign(2 * columns() * static_cast<size_t>(stripsOf(height)), 0);
  } catch (const std::bad_alloc&) {
    *this = {};
    return false;
  }
  return true;
}

void FlowStatistics::countIn(const Placed& placed) {
  const size_t apart = columns() + 1;
  const auto left = static_cast<size_t>(placed.at.x), top = static_cast<size_t>(placed.at.y);
  const size_t right = left + static_cast<size_t>(placed.image->width);
  const size_t bottom = top + static_cast<size_t>(placed.image->height);
  ++count[top * apart + left];
  --count[top * apart + right];
  --count[bottom * apart + left];
  ++count[bottom * apart + right];
}

void FlowStatistics::accumulateFirst(const Placed& seed) {
  for (int32_t y = 0; y < seed.image->height; ++y)
    for (auto* plane : {&first, &previous})
      std::memcpy(plane->data() + at(seed.at.x, seed.at.y + y), seed.image->row(y),
                  static_cast<size_t>(seed.image->width));
  countIn(seed);
}

// What the neighbouring strips' last and first rows are compared to, before these strips are at work.
void FlowStatistics::keepEdges() {
  for (int32_t strip = 0; strip < stripsOf(height); ++strip) {
    uint8_t* kept = edges.data() + 2 * columns() * static_cast<size_t>(strip);
    for (const int32_t y : {strip * kStripRows - 1, (strip + 1) * kStripRows}) {
      if (y >= 0 && y < height) std::memcpy(kept, previous.data() + at(0, y), columns());
      kept += columns();
    }
  }
}

// Row after row through all images, so that the sums of a row are still at hand for the next of them.
void FlowStatistics::accumulateStrip(std::span<const Placed> next, int32_t strip) {
  const int32_t top = strip * kStripRows, bottom = std::min(height, top + kStripRows);
  uint8_t* above = edges.data() + 2 * columns() * static_cast<size_t>(strip);
  uint8_t* below = above + columns();
  std::vector<DifferenceRows> differences;
  for (const Placed& placed : next) differences.emplace_back(placed.image->width);
  for (int32_t line = std::max(0, top - 1); line <= bottom; ++line)
    for (size_t k = 0; k < next.size(); ++k) {
      const CZZimage& image = *next[k].image;
      const auto wide = static_cast<size_t>(image.width);
      const int32_t x = next[k].at.x, y = line - next[k].at.y;
      if (y >= 0 && y < image.height) {
        const size_t place = at(x, line);
        uint16_t* items = differences[k].row(y) + 1;
        if (line < top || line == bottom)
          flow::difference(image.row(y), wide, (line < top ? above : below) + x, items);
        else
          flow::accumulateNext(image.row(y), wide,
                               {previous.data() + place, sum.data() + place, sumSquares.data() + place,
                                sumDiffSquares.data() + place},
                               items);
      }
      const int32_t whole = y - 1;  // whose neighbours are all known by now
      if (line <= top || whole < 0 || whole >= image.height) continue;
      uint16_t* here = differences[k].row(whole);
      flow::neighbourMinimum(whole > 0 ? differences[k].row(whole - 1) : here, here,
                             y < image.height ? differences[k].row(y) : here, wide,
                             mask.data() + at(x, line - 1));
    }
}

void FlowStatistics::accumulateNext(std::span<const Placed> next) {
  for (; !next.empty(); next = next.subspan(std::min(next.size(), kMostAtOnce))) {
    const auto together = next.first(std::min(next.size(), kMostAtOnce));
    for (const Placed& placed : together) countIn(placed);
    keepEdges();
    parallelFor(stripsOf(height), 1, [&](int64_t begin, int64_t end) {
      for (int64_t strip = begin; strip < end; ++strip)
        accumulateStrip(together, static_cast<int32_t>(strip));
    });
  }
}

bool FlowStatistics::finishStatistics(int32_t rowsApart, FlowMaps& maps) const {
  const size_t places = columns() * static_cast<size_t>(height) * static_cast<size_t>(rowsApart);
  std::vector<int32_t> images;
  try {
    images = count;
    for (auto* map : {&maps.flux, &maps.conc, &maps.mask}) map->assign(places, 0.0);
  } catch (const std::bad_alloc&) {
    maps = {};
    return false;
  }
  maps.width = width;
  maps.height = height * rowsApart;
  const size_t apart = columns() + 1;
  for (size_t line = 0; line < images.size(); line += apart) {
    std::partial_sum(&images[line], &images[line] + apart, &images[line]);
    for (size_t x = 0; line > 0 && x < apart; ++x) images[line + x] += images[line - apart + x];
  }
  parallelFor(height, kLeastRows, [&](int64_t begin, int64_t end) {
    for (int64_t y = begin; y < end; ++y) {
      const int32_t* n = images.data() + static_cast<size_t>(y) * apart;
      const size_t from = static_cast<size_t>(y) * columns();
      const size_t to = from * static_cast<size_t>(rowsApart);
      for (size_t x = 0; x < columns(); ++x) {
        if (n[x] == 0) continue;
        const double m = n[x] > 1 ? n[x] - 1 : std::numeric_limits<double>::quiet_NaN();
        maps.conc[to + x] = deviation(sum[from + x], sumSquares[from + x], m);
        maps.flux[to + x] = deviation(previous[from + x] - first[from + x], sumDiffSquares[from + x], m);
        maps.mask[to + x] = std::sqrt(mask[from + x] / m);
      }
      for (auto* map : {&maps.flux, &maps.conc, &maps.mask})
        for (int32_t more = 1; more < rowsApart; ++more)
          std::copy_n(map->data() + to, columns(), map->data() + to + columns() * static_cast<size_t>(more));
    }
  });
  return true;
}

// --- the maps

HistogramLevels histogramLevels(std::array<uint32_t, 256> counts, int32_t divisor) {
  HistogramLevels levels;
  double smooth = 0;
  uint32_t most = 0;
  for (int32_t v = 1; v < 255; ++v) {
    uint32_t& bin = counts[static_cast<size_t>(v)];
    smooth += (bin - smooth) * 0.125;
    bin = static_cast<uint32_t>(smooth);
    if (bin > most || v == 1) {
      most = bin;
      levels.peak = v;
    }
  }
  const uint32_t limit = most / static_cast<uint32_t>(std::max(divisor, 1));
  const auto isRare = [&](int32_t v) { return counts[static_cast<size_t>(v)] < limit; };
  levels.high = levels.peak;
  while (levels.high < 255 && !isRare(levels.high)) ++levels.high;
  levels.low = levels.peak - 1;
  while (levels.low > 0 && !isRare(levels.low)) --levels.low;
  return levels;
}

const std::vector<double>& testedMap(const FlowMaps& maps, bool useConc) {
  return useConc ? maps.conc : maps.mask;
}

void computeFcf(const FlowMaps& maps, bool useConc, double threshold, std::vector<double>& fcf) {
  const std::vector<double>& tested = testedMap(maps, useConc);
  fcf.resize(maps.flux.size());
  parallelFor(maps.height, kLeastRows, [&](int64_t begin, int64_t end) {
    const auto wide = static_cast<size_t>(maps.width);
    for (size_t i = static_cast<size_t>(begin) * wide; i < static_cast<size_t>(end) * wide; ++i)
      fcf[i] = tested[i] < threshold ? 0.0
               : maps.conc[i] > 0    ? maps.flux[i] / maps.conc[i]
                                     : std::numeric_limits<double>::quiet_NaN();
  });
}

double greatestOf(const std::vector<double>& map, const FlowMaps& size, const Rect& region) {
  const Rect area = region.intersected(size.whole());
  double greatest = 0;
  for (int32_t y = area.top; y < area.bottom; ++y) {
    const double* row = map.data() + static_cast<size_t>(y) * static_cast<size_t>(size.width);
    for (int32_t x = area.left; x < area.right; ++x) greatest = row[x] > greatest ? row[x] : greatest;
  }
  return greatest;
}

void showMap(const std::vector<double>& map, double gain, CZZimage& image) {
  parallelFor(image.height, kLeastRows, [&](int64_t begin, int64_t end) {
    for (auto y = static_cast<int32_t>(begin); y < end; ++y) {
      const double* row = map.data() + static_cast<size_t>(y) * static_cast<size_t>(image.width);
      for (int32_t x = 0; x < image.width; ++x) image.row(y)[x] = truncatedToByte(row[x] * gain);
    }
  });
}

void showSpeed(const FlowMaps& maps, double threshold, double gain, CZZimage& image) {
  for (int32_t y = 0; y < image.height; ++y) {
    const size_t from = static_cast<size_t>(y) * static_cast<size_t>(maps.width);
    for (int32_t x = 0; x < image.width; ++x) {
      const double conc = maps.conc[from + static_cast<size_t>(x)];
      const double flux = maps.flux[from + static_cast<size_t>(x)];
      image.row(y)[x] = conc > std::max(threshold, 0.0) ? truncatedToByte(flux * gain / conc) : uint8_t{0};
    }
  }
}

namespace {

// What a row of a map adds to the figures.
struct Share {
  double sum = 0;
  int64_t above = 0, numbers = 0;

  void add(double value, double limit) {
    const bool isNumber = !std::isnan(value);
    sum += isNumber ? value : 0.0;
    above += value > limit;
    numbers += isNumber;
  }
  void add(const Share& row) {
    sum += row.sum;
    above += row.above;
    numbers += row.numbers;
  }
  double mean(double places) const { return of(sum, places); }
  double percent(double places) const { return of(100.0 * static_cast<double>(above), places); }

 private:
  double of(double part, double places) const {
    return numbers > 0 ? part / places : std::numeric_limits<double>::quiet_NaN();
  }
};

}  // namespace

FlowFigures flowFigures(const FlowMaps& maps, const std::vector<double>& fcf, double threshold,
                        const Rect& region) {
  const Rect area = region.intersected(maps.whole());
  const std::array<std::pair<const std::vector<double>*, double>, 4> limited{
      {{&fcf, 0.0}, {&maps.flux, 0.0}, {&maps.conc, 0.0}, {&maps.mask, threshold}}};
  using Shares = std::array<Share, 4>;
  std::vector<Shares> rows(area.isEmpty() ? 0 : static_cast<size_t>(area.height()));
  parallelFor(static_cast<int64_t>(rows.size()), kLeastRows, [&](int64_t begin, int64_t end) {
    for (int64_t row = begin; row < end; ++row)
      for (size_t k = 0; k < limited.size(); ++k) {
        const auto& [map, limit] = limited[k];
        if (map->empty()) continue;
        const double* first =
            map->data() + static_cast<size_t>(area.top + row) * static_cast<size_t>(maps.width);
        for (int32_t x = area.left; x < area.right; ++x)
          rows[static_cast<size_t>(row)][k].add(first[x], limit);
      }
  });
  Shares all;
  for (const Shares& row : rows)
    for (size_t k = 0; k < all.size(); ++k) all[k].add(row[k]);
  const double places = static_cast<double>(rows.size()) * (rows.empty() ? 0 : area.width());
  return {all[0].mean(places), all[0].percent(places), all[1].mean(places),
          all[2].mean(places), all[3].mean(places),    all[3].percent(places)};
}

// --- by spectra

namespace {

// work(pixel, n bins, for writing) for each pixel of a block of 2n images.
template <class Work>
bool forEachSpectrum(std::span<const uint8_t> block, int32_t n, const Work& work) {
  if (CFFT::exponentOf(n) < 0) return false;
  const size_t samples = 2 * static_cast<size_t>(n), pixels = block.size() / samples;
  parallelFor(static_cast<int64_t>(pixels), 4096, [&](int64_t begin, int64_t end) {
    CFFT fft;
    fft.setup(n);
    std::vector<double> series(samples);
    for (auto pixel = static_cast<size_t>(begin); pixel < static_cast<size_t>(end); ++pixel) {
      for (size_t k = 0; k < samples; ++k) series[k] = block[k * pixels + pixel];
      fft.realpower(series.data(), series.data());
      work(pixel, series);
    }
  });
  return true;
}

}  // namespace

bool fftPerPixel(std::span<uint8_t> block, int32_t n) {
  const auto bins = static_cast<size_t>(n);
  const size_t pixels = block.size() / (2 * std::max<size_t>(bins, 1));
  return forEachSpectrum(block, n, [&](size_t pixel, const std::vector<double>& spectrum) {
    for (size_t k = 0; k < bins; ++k) block[k * pixels + pixel] = truncatedToByte(spectrum[k]);
  });
}

bool fluxConcSpeed(std::span<const uint8_t> block, const SpectralFlow& with, uint8_t* flux, uint8_t* conc,
                   uint8_t* speed) {
  const double n = with.n;
  const int32_t low = std::max(with.lowCutoff, 1), high = std::min(with.highCutoff, with.n);
  return forEachSpectrum(block, with.n, [&](size_t pixel, const std::vector<double>& spectrum) {
    double sum = 0, weighted = 0;
    for (int32_t k = low; k < high; ++k) {
      sum += spectrum[static_cast<size_t>(k)];
      weighted += k * spectrum[static_cast<size_t>(k)];
    }
    const double concSum = sum / n, fluxSum = weighted * 2 / n / n;
    if (flux) flux[pixel] = truncatedToByte(fluxSum);
    if (conc) conc[pixel] = truncatedToByte(concSum);
    if (speed)
      speed[pixel] = concSum > with.threshold ? truncatedToByte(fluxSum / concSum * 255.0) : uint8_t{0};
  });
}

}  // namespace tarnvisor
