// How one image is laid over the base.
#include <algorithm>
#include <cmath>
#include <limits>

#include "analysis/movement.h"
#include "analysis/windowfilter.h"
#include "base/numbers.h"

namespace tarnvisor {

namespace {

// Towards zero, as windows were settled on.
std::vector<Rect> dividedBy(int32_t divisor, Regions regions) {
  std::vector<Rect> smaller;
  smaller.reserve(regions.size());
  for (const Rect& r : regions)
    smaller.push_back({r.left / divisor, r.top / divisor, r.right / divisor, r.bottom / divisor});
  return smaller;
}

void logLine(AmcLog* log, std::string_view what, Point shift) {
  if (!log) return;
  *log << what << shift.x << "," << shift.y;
  log->endLine();
}

bool reduce(const CZZimage& from, std::unique_ptr<CZZimage>& to) {
  if (!to) to = std::make_unique<CZZimage>();
  return to->halve(from);
}

// Noise, which no pixel shares with its neighbours, hides where the error is lowest.
constexpr int32_t kSmoothing = 5;

// A part of an image without noise, at the same place of another.
bool smoothInto(std::unique_ptr<CZZimage>& to, const CZZimage& image, const Rect& part) {
  if (!to) to = std::make_unique<CZZimage>();
  if (!to->resizedata(image.width, image.height, 1)) return false;
  to->interlace = image.interlace;
  to->xOrigin = image.xOrigin;
  to->yOrigin = image.yOrigin;
  Rect place = part.offsetBy(image.xOrigin, image.yOrigin);
  if (image.isField())
    place = {place.left, wrapAdd(place.top, place.top), place.right, wrapAdd(place.bottom, place.bottom)};
  return windowFilter(*to, WindowMode::LowPass, image, place, kSmoothing);
}

}  // namespace

bool reduceThrice(const CZZimage& image, std::unique_ptr<CZZimage>& half, std::unique_ptr<CZZimage>& quarter,
                  std::unique_ptr<CZZimage>& eighth) {
  return reduce(image, half) && reduce(*half, quarter) && reduce(*quarter, eighth);
}

std::unique_ptr<CZZimage> fullErrorMap(const AMCparams& params, const CZZimage& eighth, Point& best) {
  const CZZimage& base = *params.baseEighth;
  const std::vector<Rect> regions = dividedBy(8, params.regions);
  int64_t right = base.width, bottom = base.height, left = 0, top = 0;
  for (const Rect& r : regions) {
    right = std::min<int64_t>(right, r.right);
    bottom = std::min<int64_t>(bottom, r.bottom);
    left = std::max<int64_t>(left, r.left);
    top = std::max<int64_t>(top, r.top);
  }
  const int64_t dx = right - eighth.width, dy = bottom - eighth.height;
  const int64_t width = left - dx, height = top - dy;
  const int64_t widest = int64_t{base.width} + eighth.width, highest = int64_t{base.height} + eighth.height;
  // More is only asked for by regions that lie outside.
  if (width < 1 || height < 1 || width > widest || height > highest) return nullptr;
  auto map = std::make_unique<CZZimage>();
  if (!map->resizedata(static_cast<int32_t>(width), static_cast<int32_t>(height), 1)) return nullptr;
  map->xOrigin = static_cast<int32_t>(dx);
  map->yOrigin = static_cast<int32_t>(dy);
  int32_t bestRms = 256;
  ErrorSurface surface(base, eighth, regions);
  for (int32_t y = 0; y < map->height; ++y)
    for (int32_t x = 0; x < map->width; ++x) {
      const Point shift{map->xOrigin + x, map->yOrigin + y};
      int32_t flags = 0;
      const double rms = std::sqrt(surface.at(shift, flags, nullptr));
      map->row(y)[x] = truncatedToByte(rms);
      if (rms >= bestRms) continue;
      bestRms = truncated(rms);  // so that only another grey level is better
      best = shift;
    }
  return map;
}

SubPixel fractionOf(const CZZimage& image, AMCparams& params, Regions regions, Point shift) {
  // Beside a drawn region the base shows nothing: what is smoothed with that is left out.
  std::vector<Rect> inner;
  Rect part = regions.empty() ? Rect{} : regions.front();
  for (const Rect& r : regions) {
    inner.push_back(r.inflatedBy(-kSmoothing / 2));
    part = {std::min(part.left, r.left), std::min(part.top, r.top), std::max(part.right, r.right),
            std::max(part.bottom, r.bottom)};
  }
  // The search may go some pixels further.
  part = part.inflatedBy(3 * kSmoothing);
  if (!params.smoothBase && !smoothInto(params.smoothBase, *params.base, part)) return {};
  if (!smoothInto(params.smooth, image, part.offsetBy(-shift.x, -shift.y))) return {};
  return subPixelShift(*params.smoothBase, *params.smooth, inner, shift);
}

namespace {

struct Scale {
  int32_t divisor;
  const char* name;
  const CZZimage& base;
  const CZZimage& image;
};

struct Search {
  AMCparams& params;
  AmcLog* log;
  Point shift;
  int32_t failures = 0;

  // Refines the shift at one scale. A miss at the coarsest widens the search, at a finer one it ends it.
  bool at(const Scale& scale) {
    const std::vector<Rect> regions = dividedBy(scale.divisor, params.regions);
    logLine(log, scale.name, shift);
    ErrorSurface surface(scale.base, scale.image, regions);
    const double error = descendError(surface, shift, failures, log);
    params.found.rms = std::sqrt(error);
    if (scale.divisor == 8 && error > params.thresholdsq) {
      fullErrorMap(params, scale.image, shift);
      logLine(log, "FULL,", shift);
    }
    const bool isGood = error < params.thresholdsq;
    if (isGood && scale.divisor == 1 && params.subPixel)
      params.found.subPixel = fractionOf(scale.image, params, regions, shift);
    return isGood;
  }
  bool finer(const Scale& scale) {
    shift = shift + shift;
    return at(scale);
  }
};

}  // namespace

void keepLastShift(CZZimage& current, AMCparams& params, AmcLog* log) {
  current.xOrigin = wrapAdd(params.base->xOrigin, params.lastx);
  current.yOrigin = wrapAdd(params.base->yOrigin, params.lasty);
  if (params.status == 0) params.status = kAboveThreshold;
  if (!log) return;
  *log << "!success," << params.status;
  log->endLine();
}

bool alignFast(CZZimage& current, AMCparams& params, AmcLog* log) {
  logLine(log, ",", {params.lastx, params.lasty});
  Search search{params, log, {params.lastx / 8, params.lasty / 8}};
  bool found = reduceThrice(current, params.half, params.quarter, params.eighth);
  if (found) {
    search.at({8, "bin3,", *params.baseEighth, *params.eighth});
    found = search.finer({4, "bin2,", *params.baseQuarter, *params.quarter}) &&
            search.finer({2, "bin1,", *params.baseHalf, *params.half}) &&
            search.finer({1, "bin0,", *params.base, current});
  }
  params.status |= search.failures;
  if (!found) {
    keepLastShift(current, params, log);
    return false;
  }
  params.lastx = search.shift.x;
  params.lasty = search.shift.y;
  params.lastgoodmatch = params.currentIndex;
  current.xOrigin = wrapAdd(params.base->xOrigin, params.lastx);
  current.yOrigin = wrapAdd(params.base->yOrigin, params.lasty);
  return true;
}

}  // namespace tarnvisor
