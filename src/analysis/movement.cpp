// A run over the images of a movie.
#include "analysis/movement.h"

#include <algorithm>
#include <cmath>

#include "analysis/windowfilter.h"
#include "base/numbers.h"
#include "base/text.h"
#include "image/samplepattern.h"
#include "settings/log.h"

namespace tarnvisor {

namespace {

// A composite base that spans more than this is asked for by a region that was never drawn there.
constexpr int64_t kMostBasePixels = int64_t{1} << 28;

constexpr const char* kNoMemory = "There is not enough memory for movement correction.";

bool isFast(const AMCparams& params) { return params.newRgnOld != kOriginal; }
bool filters(const AMCparams& params) { return !isFast(params) && params.lowpass > 0; }

Rect centred(const CZZimage& image, double fraction) {
  const int32_t width = truncated(image.width * fraction), height = truncated(image.height * fraction);
  const int32_t left = wrapSub(image.width, width) / 2, top = wrapSub(image.height, height) / 2;
  return {left, top, wrapAdd(left, width), wrapAdd(top, height)};
}

SubPixel wholeOffset(const CZZimage& image) {
  const Point origin = image.frameOrigin();
  return {static_cast<double>(origin.x), static_cast<double>(origin.y)};
}

MovementRecord* recordOf(AMCparams& params, int64_t index) {
  const int64_t at = index - params.start;
  if (at < 0 || at >= static_cast<int64_t>(params.records.size())) return nullptr;
  return &params.records[static_cast<size_t>(at)];
}

std::string unread(const CZZMovie& movie, int32_t index) {
  return format("Image %i of %s could not be read.", index, movie.fileName.c_str());
}

// --- the base

void openLog(const CZZMovie& movie, AMCparams& params) {
  const std::string path = movie.fileName + ".amclog.txt";
  logPrintf("amclog %s ...", path.c_str());
  if (!movie.fileName.empty()) params.log = AmcLog::open(path, params.base != nullptr);
  logPrintf(params.log ? "ok\n" : " failed\n");
  if (params.log) params.log->endLine();
}

// The base of drawn regions: each as its own image shows it, at its place in the common frame. Nothing else
// of it is ever compared.
std::string composeBase(CZZMovie& movie, AMCparams& params) {
  int64_t left = INT32_MAX, top = INT32_MAX, right = INT32_MIN, bottom = INT32_MIN;
  for (const Rect& r : params.regions) {
    left = std::min<int64_t>(left, r.left);
    top = std::min<int64_t>(top, r.top);
    right = std::max<int64_t>(right, r.right);
    bottom = std::max<int64_t>(bottom, r.bottom);
  }
  const int64_t width = right - left, height = bottom - top;
  if (width < 1 || height < 1) return "The regions for movement correction are empty.";
  if (width > kMostBasePixels / height) return "The regions for movement correction lie too far apart.";
  CZZimage& base = *params.base;
  if (!base.setSize(static_cast<int32_t>(width), static_cast<int32_t>(height))) return kNoMemory;
  base.xOrigin = static_cast<int32_t>(left);
  base.setYOrigin(static_cast<int32_t>(top));
  base.fill(255);
  if (params.log) {
    *params.log << "RESIZEBASE," << static_cast<int32_t>(width) << "," << static_cast<int32_t>(height) << ","
                << base.xOrigin << "," << static_cast<int32_t>(right);
    params.log->endLine();
    *params.log << "ADDTOBASE";
  }
  for (size_t i = 0; i < params.regions.size(); ++i) {
    const int32_t number = i < params.regionImages.size() ? params.regionImages[i] : params.start;
    if (params.log) {
      *params.log << "," << number;
      params.log->endLine();
    }
    const int32_t index = movie.getImage(number, *params.second);
    if (!movie.hasRead()) return unread(movie, index);
    // An empty one would stand for the whole image.
    if (!params.regions[i].isEmpty() && !base.copyROI(*params.second, params.regions[i])) return kNoMemory;
  }
  if (params.log) params.log->endLine();
  params.baseIndex = params.start;
  return {};
}

// Regions from the common frame to the base: drawn ones come in frame rows.
void moveToBase(AMCparams& params) {
  const CZZimage& base = *params.base;
  const bool halves = params.newRgnOld == kFastRegions && base.isField();
  const Point origin = halves ? base.frameOrigin() : Point{base.xOrigin, base.yOrigin};
  for (Rect& r : params.regions) {
    r = r.offsetBy(wrapSub(0, origin.x), wrapSub(0, origin.y));
    if (halves) r = {r.left, r.top / 2, r.right, r.bottom / 2};
  }
}

std::string makeBase(CZZMovie& movie, AMCparams& params) {
  if (params.base) {
    if (params.log) {
      *params.log << "using existing base. lastgoodmatch=" << params.lastgoodmatch;
      params.log->endLine();
    }
    moveToBase(params);
    return {};
  }
  params.base = std::make_unique<CZZimage>();
  if (!params.base->copyImage(*params.current)) return kNoMemory;
  if (params.newRgnOld != kFastRegions) return {};
  std::string trouble = composeBase(movie, params);
  moveToBase(params);
  return trouble;
}

void findLimits(AMCparams& params) {
  const CZZimage& image = *params.current;
  if (!isFast(params)) {
    params.limitx = truncated(params.base->width * params.range * params.limit * 0.0001);
    params.limity = truncated(params.base->frameHeight() * params.range * params.limit * 0.0001);
    return;
  }
  const int32_t rows = image.isField() ? 2 : 1;
  const double across = image.width - params.refRect.width();
  const double down = rows * (image.height - params.refRect.height());
  params.limitx = truncated(truncated(across * 0.5) * params.limit * 0.01);
  params.limity = truncated(truncated(down * 0.5) * params.limit * 0.01);
}

// --- the automatic threshold

struct Rms {
  double average = 0, least = 0, most = 0;
};

// Of the first two images against each other, in grey levels; without them the threshold stays the given one.
Rms findThreshold(CZZMovie& movie, AMCparams& params) {
  Rms rms;
  const auto reduced = [&](int32_t index, CZZimage& image) {
    movie.getImage(index, image);
    return movie.hasRead() && image.halveInPlace() && image.halveInPlace() && image.halveInPlace();
  };
  CZZimage first;
  std::unique_ptr<CZZimage> map;
  if (reduced(params.start, first) && reduced(params.start + 1, *params.second))
    map = centreErrorMap(first, *params.second);
  if (map) {
    double mean = 0;
    int32_t least = 0, most = 0;
    map->statistics({}, &mean, &least, &most);
    rms = {mean * 0.25, least * 0.25, most * 0.25};
    params.threshold = ((mean - least) * params.factor + least) * 0.25;
  }
  params.thresholdsq = params.threshold * params.threshold;
  return rms;
}

void writeHeader(const AMCparams& params, const Rms& rms) {
  if (!params.log) return;
  AmcLog& log = *params.log;
  const auto line = [&](std::string_view name, auto value) {
    log << name << value;
    log.endLine();
  };
  line("method,", params.newRgnOld);
  line("width,", params.base->width);
  line("height,", params.base->frameHeight());
  line("start,", params.start);
  line("end,", params.end);
  line("avrms,", rms.average);
  line("minrms,", rms.least);
  line("maxrms,", rms.most);
  line("threshold,", params.threshold);
  line("thresholdsq,", params.thresholdsq);
  line("limit,", params.limit);
  line("limitx,", params.limitx);
  line("limity,", params.limity);
  const Point origin = params.base->frameOrigin();
  log << "offset," << origin.x << "," << origin.y;
  log.endLine();
  for (const Rect& r : params.regions) {
    log << r.left << "," << r.top << "," << r.right << "," << r.bottom;
    log.endLine();
  }
}

bool reduceBase(AMCparams& params) {
  return reduceThrice(*params.base, params.baseHalf, params.baseQuarter, params.baseEighth);
}

void startRecords(CZZMovie& movie, AMCparams& params) {
  params.records.clear();
  for (int32_t i = params.start; i < params.end; ++i) {
    const FrameRecord& known = movie.recordOf(i);
    params.records.push_back({.index = i, .offset = {known.xOrigin, known.yOrigin}});
  }
  params.smoothBase.reset();
  params.baseSubPixel = wholeOffset(*params.base);
  if (params.records.empty()) return;
  MovementRecord& first = params.records.front();
  first.rms = 0;
  if (params.subPixel) first.subPixel = wholeOffset(*params.current);
  first.baseIndex = params.baseIndex;
  first.aligned = true;
}

// Empty when the run began.
std::string begin(CZZMovie& movie, AMCparams& params) {
  params.records.clear();
  if (movie.count < 1) return "The video holds no images.";
  CZZimage& image = movie.frameAt(params.start);
  params.current = &image;
  if (!movie.hasRead()) return unread(movie, params.start);
  if (image.bytesPerPixel != 1 || image.colourset != kGrey)
    return "Movement correction compares grey images: convert the video to grey first.";
  params.baseIndex = params.currentIndex = params.start;
  if (!params.second) params.second = std::make_unique<CZZimage>();
  if (std::string trouble = makeBase(movie, params); !trouble.empty()) return trouble;
  params.regionCount = static_cast<int32_t>(params.regions.size());
  params.lastgoodmatch = params.start;
  params.currentIndex = params.start + 1;
  if (filters(params)) {
    windowFilter(*params.base, WindowMode::LowPass, *params.base, {}, params.lowpass);
    if (!params.second->copyImage(*params.base)) return kNoMemory;
  }
  findLimits(params);
  Rms rms;
  if (isFast(params)) {
    if (!reduceBase(params)) return kNoMemory;
    if (params.thresholdsq < 0) rms = findThreshold(movie, params);
  } else {
    standardRandom().seed();  // so that a run can be repeated
  }
  writeHeader(params, rms);
  params.lastx = wrapSub(image.xOrigin, params.base->xOrigin);
  params.lasty = wrapSub(image.yOrigin, params.base->yOrigin);
  startRecords(movie, params);
  return {};
}

}  // namespace

void windowFor(AMCparams& params, const CZZimage& image) {
  params.ref *= 0.01;
  params.refRect = centred(image, params.ref);
}

void beginAMC(CZZMovie& movie, AMCparams& params) {
  openLog(movie, params);
  params.start = std::clamp(params.start, 0, movie.count);
  if (params.end < 0 || params.end > movie.count) params.end = movie.count;
  params.trouble = begin(movie, params);
  if (!params.trouble.empty()) params.base.reset();
}

// --- a step

namespace {

// What the Original method found, as the others tell it.
void measureOriginal(const CZZimage& image, AMCparams& params) {
  const std::vector<Rect> window{centred(image, params.window * 0.01)};
  const Point shift{wrapSub(image.xOrigin, params.base->xOrigin),
                    wrapSub(image.yOrigin, params.base->yOrigin)};
  ErrorSurface surface(*params.base, image, window);
  int32_t flags = 0;
  params.found.rms = std::sqrt(surface.at(shift, flags, nullptr));
  if (!params.subPixel) return;
  params.found.subPixel = filters(params) ? subPixelShift(*params.base, image, window, shift)
                                          : fractionOf(image, params, window, shift);
}

void alignOriginal(CZZimage& image, AMCparams& params) {
  image.findOffset(*params.base, params.window * 0.01, params.range * 0.01, params.resolution, params.step,
                   params.method);
  measureOriginal(image, params);
}

// The image to lay the next one over. A failed image is tried again, over a nearer base: it is the next one
// once more.
bool chooseBase(AMCparams& params, bool aligned, int32_t& index) {
  if (params.basemethod == kPreviousBase) {
    index = -1;  // which a movie takes for image 0
    return true;
  }
  if (aligned) {
    index = params.lastgoodmatch = params.currentIndex;
    return true;
  }
  const bool goodIsNearer = params.lastgoodmatch > params.baseIndex;
  if (!goodIsNearer && (params.restart == 0 || params.currentIndex - 1 <= params.baseIndex)) return false;
  --params.currentIndex;
  index = goodIsNearer ? params.lastgoodmatch : params.currentIndex;
  return true;
}

SubPixel offsetOfBase(AMCparams& params) {
  const MovementRecord* record = recordOf(params, std::max(params.baseIndex, 0));
  return record && record->subPixel.isKnown() && !record->doubtful ? record->subPixel
                                                                   : wholeOffset(*params.base);
}

// False where that image can't be had: the base that there is serves on.
bool rebase(CZZMovie& movie, AMCparams& params, int32_t index) {
  const CZZimage& image = movie.frameAt(index);
  if (!movie.hasRead() || !params.base->copyImage(image)) return false;
  params.baseIndex = index;
  params.smoothBase.reset();
  if (isFast(params)) {
    params.lastx = params.lasty = 0;
    if (!reduceBase(params)) return false;
  }
  params.baseSubPixel = offsetOfBase(params);
  if (!params.log) return true;
  const Point origin = params.base->frameOrigin();
  *params.log << "REBASE TO," << params.baseIndex << "," << origin.x << "," << origin.y;
  params.log->endLine();
  return true;
}

bool staysNear(const CZZimage& image, const AMCparams& params) {
  const Point shift = image.frameOrigin() - params.base->frameOrigin();
  return std::abs(int64_t{shift.x}) <= params.limitx && std::abs(int64_t{shift.y}) <= params.limity;
}

// Whether a place and the one found to a fraction are the same; an unknown fraction is nowhere.
bool agree(const SubPixel& fraction, Point whole, int32_t rows) {
  constexpr int32_t kMostApart = 2;  // pixels
  return std::abs(fraction.x - whole.x) <= kMostApart && std::abs(fraction.y - whole.y) <= kMostApart * rows;
}

bool isPoorBase(const MovementRecord& base) { return !base.aligned || base.doubtful || base.hangs; }

void keepResult(CZZMovie& movie, AMCparams& params, const CZZimage& image, bool aligned) {
  movie.setOrigin(params.currentIndex, image.frameOrigin());
  MovementRecord* record = recordOf(params, params.currentIndex);
  if (!record) return;
  *record = params.found;
  record->index = params.currentIndex;
  record->offset = image.frameOrigin();
  record->baseIndex = params.baseIndex;
  record->aligned = aligned;
  if (!aligned) record->subPixel = {};
  const Point base{params.base->xOrigin, params.base->yOrigin};
  const Point shift = Point{image.xOrigin, image.yOrigin} - base;
  const bool isNear = agree(record->subPixel, shift, 1);
  const int32_t rows = image.isField() ? 2 : 1;
  record->subPixel.x += params.baseSubPixel.x;
  record->subPixel.y = record->subPixel.y * rows + params.baseSubPixel.y;
  record->doubtful = params.subPixel && aligned && !(isNear && agree(record->subPixel, record->offset, rows));
  const MovementRecord* under = recordOf(params, std::max(params.baseIndex, 0));
  record->hangs = aligned && under && under != record && isPoorBase(*under);
}

// With the low-pass filter: over a base that was filtered too.
void stepFiltered(CZZMovie& movie, AMCparams& params) {
  CZZimage& image = *params.second;
  if (!image.copyImage(*params.current)) {
    params.trouble = kNoMemory;
    return;
  }
  windowFilter(image, WindowMode::LowPass, image, {}, params.lowpass);
  alignOriginal(image, params);
  keepResult(movie, params, image, true);
  if (params.basemethod != kPreviousBase && staysNear(image, params)) return;
  if (params.basemethod == kFirstBase) return;
  std::swap(params.second, params.base);
  params.baseIndex = params.currentIndex;
  params.baseSubPixel = offsetOfBase(params);
}

bool align(CZZMovie& movie, AMCparams& params) {
  CZZimage& image = *params.current;
  if (!movie.hasRead()) {
    if (params.trouble.empty()) params.trouble = unread(movie, params.currentIndex);
    if (params.log) {
      *params.log << "unread";
      params.log->endLine();
    }
    keepLastShift(image, params, params.log.get());
    return false;
  }
  if (isFast(params)) return alignFast(image, params, params.log.get());
  alignOriginal(image, params);
  if (params.log) params.log->endLine();
  return true;
}

void alignNext(CZZMovie& movie, AMCparams& params) {
  if (params.log) *params.log << params.currentIndex << ",to," << params.baseIndex << ",";
  params.current = &movie.frameAt(params.currentIndex);
  params.found = {};
  if (filters(params) && movie.hasRead()) {
    stepFiltered(movie, params);
    return;
  }
  const bool aligned = align(movie, params);
  const CZZimage& image = *params.current;
  keepResult(movie, params, image, aligned);
  if (params.newRgnOld == kFastRegions || filters(params) || params.basemethod == kFirstBase) return;
  if (params.basemethod != kPreviousBase && aligned && staysNear(image, params)) return;
  const int32_t index = params.currentIndex;
  if (int32_t next = 0; chooseBase(params, aligned, next) && !rebase(movie, params, next))
    params.currentIndex = index;
}

}  // namespace

bool stepAMC(CZZMovie& movie, AMCparams& params) {
  params.status = 0;
  if (!params.base) return false;
  if (params.currentIndex < params.end) {
    alignNext(movie, params);
    ++params.currentIndex;
  }
  if (params.currentIndex < params.end) return true;
  movie.frameAt(0);
  params.log.reset();
  return false;
}

// --- the end

namespace {

// The least offset of the movie, either way, becomes 0.
Point normaliseOffsets(CZZMovie& movie) {
  Point least{INT32_MAX, INT32_MAX};
  for (int32_t i = 0; i < movie.count; ++i) {
    const FrameRecord& record = movie.recordOf(i);
    least = {std::min(least.x, record.xOrigin), std::min(least.y, record.yOrigin)};
  }
  if (movie.count < 1) return {};
  for (int32_t i = 0; i < movie.count; ++i) {
    const FrameRecord& record = movie.recordOf(i);
    movie.setOrigin(i, Point{record.xOrigin, record.yOrigin} - least);
  }
  return Point{} - least;
}

}  // namespace

Point endAMC(CZZMovie& movie, AMCparams& params) {
  params.log.reset();
  const bool began = params.base != nullptr;
  const Point added = began ? normaliseOffsets(movie) : Point{};
  if (began)
    for (MovementRecord& record : params.records) record.moveBy(added);
  movie.frameAt(params.start);
  params.start = -1;
  params.regions.clear();
  params.regionImages.clear();
  params.regionCount = 0;
  for (auto* image : {&params.base, &params.second, &params.baseHalf, &params.baseQuarter, &params.baseEighth,
                      &params.half, &params.quarter, &params.eighth, &params.smoothBase, &params.smooth})
    image->reset();
  params.current = nullptr;
  params.running = false;
  return added;
}

}  // namespace tarnvisor
