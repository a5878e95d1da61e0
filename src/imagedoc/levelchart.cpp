#include "imagedoc/levelchart.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "analysis/profile.h"
#include "app/basicapp.h"
#include "base/numbers.h"
#include "base/text.h"
#include "charts/livechartdoc.h"
#include "imagedoc/texts.h"
#include "imagedoc/zbasicdoc.h"

namespace tarnvisor {

namespace {

// What each chart shows. The document is looked up among the open ones each time: it may have been closed.
struct Following {
  const CDocument* watched = nullptr;
  int32_t dimension = -1;
};
Following following[2];

Following& followingOf(LevelChart kind) { return following[static_cast<size_t>(kind)]; }
const char* titleOf(LevelChart kind) {
  return kind == LevelChart::Profile ? text::kGreyLevelProfile : text::kHistogramTitle;
}

// 256 counts of the levels in a rectangle, of colour those of its grey.
std::vector<double> levelCounts(const CZZimage& image, const Rect& rect) {
  NumberStore counts;
  if (image.bytesPerPixel == 1) {
    image.histogram(rect, counts);
    return counts.values;
  }
  counts.setSize(256);
  const Rect local = image.clipToImage(rect);
  for (int32_t y = local.top; y < local.bottom; ++y)
    for (int32_t x = local.left; x < local.right; ++x)
      ++counts.values[truncatedToByte(greyOf(image.row(y) + 3 * static_cast<ptrdiff_t>(x)))];
  return counts.values;
}

void fill(ZliveChartDoc& chart, std::span<const double> values, double perValue, const std::string& unit,
          const std::string& name, const char* yUnit) {
  auto size = static_cast<uint32_t>(values.size());
  CdataVect* series = chart.setseries(viewOf(chart), size, perValue, unit, name, kFloatCode, yUnit);
  if (!series) return;
  for (uint32_t i = 0; i < size; ++i) series->putval(i, values[i]);
  chart.updateAllViews();
}

double meanLevel(std::span<const double> counts) {
  double pixels = 0, sum = 0;
  for (size_t level = 0; level < counts.size(); ++level) {
    pixels += counts[level];
    sum += counts[level] * static_cast<double>(level);
  }
  return pixels > 0 ? sum / pixels : 0.0;
}

// "  mean= 30.3 mode= 30 pixels=200"
std::string summaryOfCounts(std::span<const double> counts) {
  const auto mode = std::max_element(counts.begin(), counts.end()) - counts.begin();
  return format("  mean=%5.1f mode=%3i pixels=%.0f", meanLevel(counts), static_cast<int32_t>(mode),
                std::accumulate(counts.begin(), counts.end(), 0.0));
}

// Gives how many units a pixel along the path is.
double showPath(ZliveChartDoc& chart, ZBasicDoc& document, std::span<const Point> path) {
  const Scale scale = document.scale();
  double pixels = 0, length = 0;
  for (size_t i = 1; i < path.size(); ++i) {
    const double dx = static_cast<double>(path[i].x) - path[i - 1].x;
    const double dy = static_cast<double>(path[i].y) - path[i - 1].y;
    pixels += std::hypot(dx, dy);
    length += std::hypot(dx * scale.x, dy * scale.y);
  }
  const std::vector<double> levels = levelsAlong(*document.theImage(), path);
  const double perPixel = pixels > 0 && length > 0 ? length / pixels : 1.0;
  const double apart = levels.size() > 1
                           ? lengthWithin(*document.theImage(), path) / static_cast<double>(levels.size() - 1)
                           : 1.0;
  fill(chart, levels, perPixel * apart, document.unitName(), document.title(), "level");
  return perPixel;
}

void refresh(LevelChart kind, ZliveChartDoc& chart, ZBasicDoc& document, int32_t selected) {
  const CZZimage* image = document.theImage();
  if (!image || image->empty()) return;
  if (kind == LevelChart::Histogram) {
    const std::vector<double> counts = levelCounts(*image, document.roi);
    return fill(chart, counts, 1.0, "level", document.title() + summaryOfCounts(counts), "pixels");
  }
  // With nothing selected the line that was shown stays.
  int32_t& dimension = followingOf(kind).dimension;
  const CDimList& list = document.currentDims();
  if (list.isValid(selected)) dimension = selected;
  if (!list.isValid(dimension)) return;
  (void)showPath(chart, document, list.at(dimension).points);
}

void show(LevelChart kind, ZBasicDoc& document, int32_t dimension) {
  ZliveChartDoc* chart = showLiveChart(titleOf(kind));
  if (!chart) return;
  // Another document's line of the same number is another line.
  if (followedBy(kind) != &document) followingOf(kind).dimension = -1;
  followingOf(kind).watched = &document;
  refresh(kind, *chart, document, dimension);
}

}  // namespace

ZBasicDoc* followedBy(LevelChart kind) {
  const auto& open = theApp().documents.documents();
  const auto at = std::find(open.begin(), open.end(), followingOf(kind).watched);
  return at == open.end() ? nullptr : dynamic_cast<ZBasicDoc*>(*at);
}

void showGreyLevelProfile(ZBasicDoc& document, int32_t dimension) {
  show(LevelChart::Profile, document, dimension);
}

void showHistogram(ZBasicDoc& document) { show(LevelChart::Histogram, document, -1); }

void refreshLevelCharts(ZBasicDoc& document, int32_t selectedDimension) {
  for (const LevelChart kind : {LevelChart::Profile, LevelChart::Histogram})
    if (followedBy(kind) == &document)
      if (ZliveChartDoc* chart = findLiveChart(titleOf(kind)))
        refresh(kind, *chart, document, selectedDimension);
}

void showProfileBetween(ZBasicDoc& document, std::span<const Point> path, double from, double to) {
  ZliveChartDoc* chart = document.hasImage() ? showLiveChart(titleOf(LevelChart::Profile)) : nullptr;
  if (!chart) return;
  followingOf(LevelChart::Profile) = {&document, -1};
  const double perPixel = showPath(*chart, document, path);
  if (ZchartView* view = viewOf(*chart)) view->select(from * perPixel, to * perPixel);
}

void previewLevelProfile(ZBasicDoc& document, std::span<const Point> path) {
  const CZZimage* image = document.theImage();
  if (!image || image->empty() || followedBy(LevelChart::Profile) != &document) return;
  if (ZliveChartDoc* chart = findLiveChart(titleOf(LevelChart::Profile))) showPath(*chart, document, path);
}

LevelSummary levelsWithin(const CZZimage& image, const Rect& rect) {
  LevelSummary s;
  if (image.bytesPerPixel == 1) {
    int32_t darkest = 0, lightest = 0;
    image.statistics(rect, &s.mean, &darkest, &lightest);
    s.minimum = darkest;
    s.maximum = lightest;
    return s;
  }
  const std::vector<double> counts = levelCounts(image, rect);
  const auto isPresent = [](double count) { return count > 0; };
  const auto first = std::ranges::find_if(counts, isPresent);
  if (first == counts.end()) return s;
  s.mean = meanLevel(counts);
  s.minimum = static_cast<double>(first - counts.begin());
  s.maximum =
      static_cast<double>(counts.rend() - std::find_if(counts.rbegin(), counts.rend(), isPresent) - 1);
  return s;
}

LevelSummary summaryOf(std::span<const double> levels) {
  if (levels.empty()) return {};
  LevelSummary s{0, levels.front(), levels.front()};
  for (const double v : levels) {
    s.mean += v;
    s.minimum = std::min(s.minimum, v);
    s.maximum = std::max(s.maximum, v);
  }
  s.mean /= static_cast<double>(levels.size());
  return s;
}

}  // namespace tarnvisor
