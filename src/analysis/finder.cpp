#include "analysis/finder.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "analysis/darkregions.h"
#include "analysis/kernelfilter.h"
#include "analysis/windowfilter.h"
#include "base/clock.h"
#include "base/numbers.h"
#include "base/text.h"
#include "settings/log.h"

namespace tarnvisor {

namespace {

void paint(CZZimage& image, const std::vector<PixelRun>& runs, uint8_t value) {
  for (const PixelRun& run : runs)
    std::memset(image.row(run.y) + run.begin, value, static_cast<size_t>(run.end - run.begin));
}

// Dark regions that lie in a region's holes become part of it. They come later in raster order than the
// region around them, and a hole is bounded by the region's own pixels on all sides, so it holds each of them
// whole.
class Segmenter {
 public:
  Segmenter(CZZimage& binary, const FinderParameters& finderParameters)
      : image(binary), parameters(finderParameters), regions(binary), swallowed(regions.size(), 0) {}

  std::vector<CapillaryRegion> keep(size_t limit) {
    std::vector<CapillaryRegion> kept;
    for (size_t region = 0; region < regions.size() && kept.size() < limit; ++region) {
      if (swallowed[region]) continue;
      const int64_t area = regions[region].sums.count * pixelWeight();
      if (area < parameters.umin || area > parameters.umax)
        paint(image, regions.runsOf(region), 255);
      else
        kept.push_back(filled(region));
    }
    return kept;
  }

 private:
  int64_t pixelWeight() const { return image.isField() ? 2 : 1; }

  CapillaryRegion filled(size_t region) {
    PixelSums sums = regions[region].sums;
    const std::vector<PixelRun> holes = regions.holesOf(region);
    std::vector<uint32_t> inside;
    for (const PixelRun& hole : holes) {
      sums.add(hole);
      regions.regionsIn(hole, inside);
    }
    paint(image, holes, 0);
    for (const uint32_t other : inside) swallowed[other] = 1;
    const double count = static_cast<double>(sums.count);
    return {sums.count * pixelWeight(), static_cast<double>(sums.x) / count + image.xOrigin,
            static_cast<double>(sums.y) / count + image.yOrigin};
  }

  CZZimage& image;
  const FinderParameters& parameters;
  DarkRegions regions;
  std::vector<uint8_t> swallowed;
};

}  // namespace

std::vector<int32_t> windowsTooLarge(const FinderParameters& p, Size area) {
  std::vector<int32_t> windows;
  for (const int32_t window : {p.uw1, p.uw2, p.w3, p.w4})
    if (window != 0 && !windowFits(window, area)) windows.push_back(window);
  return windows;
}

void windowChain(CZZimage& image, const FinderParameters& parameters) {
  for (const int32_t window : {parameters.uw1, parameters.uw2, parameters.w3, parameters.w4})
    windowFilter(image, WindowMode::HighPass, image, Rect{}, window);
}

std::vector<int32_t> apexKernel(const ApexParameters& parameters) {
  if (parameters.apexw < 0 || parameters.apexw > 1023) return {};
  const int32_t h = parameters.apexw / 2;
  const double d = -2.0 * parameters.stddev * parameters.stddev * h * h;
  std::vector<int32_t> kernel;
  kernel.reserve(static_cast<size_t>(2 * h + 1) * static_cast<size_t>(2 * h + 1));
  for (int32_t i = -h; i <= h; ++i) {
    for (int32_t j = -h; j <= h; ++j) {
      const double dip = i == 0 && j == 0 ? 1.0 : std::exp((i * i + j * j) / d);
      kernel.push_back(truncated(parameters.gpeak - parameters.ggain * dip));
    }
  }
  return kernel;
}

bool apexFilter(CZZimage& image, const ApexParameters& parameters) {
  const std::vector<int32_t> kernel = apexKernel(parameters);
  return filterNxN(image, kernel, parameters.apexw / 2 * 2 + 1, parameters.apexfactor, parameters.apexoffset);
}

void prepareForThreshold(CZZimage& image, const FinderParameters& parameters, const ApexParameters& apex) {
  image.stretch(Rect{});
  windowChain(image, parameters);
  image.stretch(Rect{});
  apexFilter(image, apex);
  image.stretch(Rect{});
}

IsodataThreshold isodata(const CZZimage& image) {
  if (image.empty()) return {};
  std::array<uint32_t, 256> counts{};
  image.countLevels({0, 0, image.width, image.height}, counts);
  return isodata(counts);
}

IsodataThreshold isodata(std::span<const uint32_t, 256> counts) {
  // Counts and weighted counts of all levels up to each one.
  std::array<int64_t, 256> count{}, sum{};
  int64_t n = 0;
  int64_t s = 0;
  for (size_t level = 0; level < 256; ++level) {
    count[level] = n += counts[level];
    sum[level] = s += static_cast<int64_t>(level) * counts[level];
  }
  if (n == 0) return {};
  const int32_t mean = static_cast<int32_t>(s / n);
  int32_t t = mean;
  for (int32_t round = 0; round < 40; ++round) {
    const int64_t n1 = count[static_cast<size_t>(t)];
    const int64_t s1 = sum[static_cast<size_t>(t)];
    if (n1 == 0 || n1 == n) return {t, true};
    const int32_t next = static_cast<int32_t>(s1 / (2 * n1) + (s - s1) / (2 * (n - n1)));
    if (next == t) return {t, true};
    t = next;
  }
  return {mean, false};
}

std::vector<CapillaryRegion> segment(CZZimage& image, const FinderParameters& parameters, uint8_t threshold,
                                     size_t limit) {
  if (image.empty() || image.bytesPerPixel != 1) return {};
  windowChain(image, parameters);
  image.binarise(threshold != 0 ? threshold : isodata(image).threshold, 0, 255);
  return Segmenter(image, parameters).keep(limit);
}

FoundCapillaries findcaps(CZZimage& image, const Rect& rect, const FinderParameters& parameters,
                          const ApexParameters& apex) {
  if (image.empty() || image.bytesPerPixel != 1) return {};
  const auto child = image.makeChild(rect);
  if (child->empty()) return {};
  const double start = steadySeconds();
  FoundCapillaries found{{}, child->width, child->height};
  prepareForThreshold(*child, parameters, apex);
  found.regions = segment(*child, parameters);
  const int64_t milliseconds = static_cast<int64_t>((steadySeconds() - start) * 1000.0);
  logPrintf("findcaps=%fsecs\n", static_cast<double>(milliseconds) * 0.001);
  return found;
}

std::array<Point, 2> capillaryCircle(double area, double cx, double cy) {
  const double r = std::sqrt(area * 0.31830988614222805);
  if (r <= cx) {
    const Point first{truncated(cx - r), truncated(cy)};
    return {first, Point{truncated(2.0 * r + first.x), first.y}};
  }
  const Point first{truncated(cx), r > cy ? 0 : truncated(cy - r)};
  return {first, Point{first.x, truncated(2.0 * r + first.y)}};
}

std::string densityText(int64_t count, double area) {
  if (!(area > 0)) return {};
  const double shown = area * 1e-6;
  return format("%7.3f, capillary density, %7.3f, area", static_cast<double>(count) / shown, shown);
}

double micrometresIn(const std::string& unit) {
  for (const char* micrometre : {"um", "\u00b5m", "\u03bcm", "micron", "microns", "micrometre", "micrometer"})
    if (equalIgnoringCase(unit, micrometre)) return 1;
  return equalIgnoringCase(unit, "mm") ? 1000 : 0;
}

std::string densityUnit(const std::string& unit) {
  return micrometresIn(unit) == 1 ? "mm2" : "million " + unit + "2";
}

}  // namespace tarnvisor
