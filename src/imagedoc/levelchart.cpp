#include "imagedoc/levelchart.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "app/basicapp.h"
#include "base/numbers.h"
#include "base/text.h"
#include "image/palette.h"
#include "imagedoc/texts.h"
#include "imagedoc/zbasicdoc.h"
#include "measure/segmentclip.h"

namespace tarnvisor {

namespace {

constexpr int32_t kProfileId = 11032;
constexpr int32_t kHistogramId = 11035;

double greyOf(const uint8_t* blueGreenRed) {
  return blueGreenRed[0] * greyWeights.blue + blueGreenRed[1] * greyWeights.green +
         blueGreenRed[2] * greyWeights.red;
}

template <LevelChart Kind>
std::unique_ptr<CDocument> makeChart() {
  return std::make_unique<LevelChartDoc>(Kind);
}
std::unique_ptr<CView> makeChartView(CDocument& document) {
  return std::make_unique<LevelChartView>(static_cast<LevelChartDoc&>(document));
}

DocumentClass chartClass(LevelChart kind) {
  if (kind == LevelChart::Profile)
    return {kProfileId, "\nProfile\n\n\n\n\n",           "LevelChartDoc", "LevelChartView",
            "",         &makeChart<LevelChart::Profile>, &makeChartView};
  return {kHistogramId, "\nHistogram\n\n\n\n\n",           "LevelChartDoc", "LevelChartView",
          "",           &makeChart<LevelChart::Histogram>, &makeChartView};
}

// 256 counts of the levels in a rectangle, of colour those of its grey.
std::vector<double> levelCounts(const CZZimage& image, const Rect& rect) {
  NumberStore counts;
  if (image.bytesPerPixel == 1) {
    image.histogram(rect, counts);
    return counts.values;
  }
  (void)counts.setSize(256);
  const Rect local = image.clipToImage(rect);
  for (int32_t y = local.top; y < local.bottom; ++y)
    for (int32_t x = local.left; x < local.right; ++x)
      ++counts.values[truncatedToByte(greyOf(image.row(y) + 3 * static_cast<ptrdiff_t>(x)))];
  return counts.values;
}

// The open chart of a kind; null when there is none.
LevelChartDoc* openChart(LevelChart kind) {
  for (CDocument* document : theApp().documents.documents())
    if (auto* chart = dynamic_cast<LevelChartDoc*>(document); chart && chart->kind == kind) return chart;
  return nullptr;
}

// The type belongs to the application, so that its documents go with it; it matches no file.
DocumentType& chartType(LevelChart kind) {
  DocumentManager& manager = theApp().documents;
  const DocumentClass facts = chartClass(kind);
  for (const auto& type : manager.types())
    if (type->id() == facts.id) return *type;
  return *manager.registerType(std::make_unique<DocumentType>(facts));
}

void show(LevelChart kind, ZBasicDoc& document, int32_t dimension) {
  LevelChartDoc* chart = openChart(kind);
  if (chart)
    theApp().documents.activate(*chart);
  else
    chart = static_cast<LevelChartDoc*>(chartType(kind).newDocument());
  if (!chart) return;
  chart->setTitle(kind == LevelChart::Profile ? text::kGreyLevelProfile : text::kHistogramTitle);
  chart->follow(document, dimension);
}

}  // namespace

void showGreyLevelProfile(ZBasicDoc& document, int32_t dimension) {
  show(LevelChart::Profile, document, dimension);
}

void showHistogram(ZBasicDoc& document) { show(LevelChart::Histogram, document, -1); }

void refreshLevelCharts(ZBasicDoc& document, int32_t selectedDimension) {
  for (const LevelChart kind : {LevelChart::Profile, LevelChart::Histogram})
    if (LevelChartDoc* chart = openChart(kind); chart && chart->followed() == &document)
      chart->refresh(document, selectedDimension);
}

double greyLevelAt(const CZZimage& image, Point at) {
  const int32_t y = image.isField() ? at.y / 2 : at.y;
  const uint8_t* p = image.row(y) + static_cast<ptrdiff_t>(at.x) * image.bytesPerPixel;
  return image.bytesPerPixel == 1 ? p[0] : greyOf(p);
}

std::vector<double> levelsAlong(const CZZimage& image, std::span<const Point> path) {
  std::vector<double> levels;
  if (image.empty()) return levels;
  const Rect whole{0, 0, image.width, image.frameHeight()};
  const auto take = [&](Point p) {
    if (whole.contains(p)) levels.push_back(greyLevelAt(image, p));
  };
  const Point origin = image.frameOrigin();
  if (path.size() == 1) take(path.front() - origin);
  for (size_t i = 1; i < path.size(); ++i) {
    // What lies outside is cut off first: a damaged file's line may be of any length.
    Point a = path[i - 1] - origin, b = path[i] - origin;
    if (!clipSegment(a, b, whole, false)) continue;
    const double dx = b.x - a.x, dy = b.y - a.y;
    const int32_t steps = truncated(std::hypot(dx, dy));
    for (int32_t n = 0; n < steps; ++n)
      take({truncated(a.x + dx * n / steps + 0.5), truncated(a.y + dy * n / steps + 0.5)});
    if (i + 1 == path.size()) take(b);
  }
  return levels;
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

// --- the document

LevelChartDoc::LevelChartDoc(LevelChart shownKind) : kind(shownKind) {}

ZBasicDoc* LevelChartDoc::followed() const {
  const auto& open = theApp().documents.documents();
  const auto at = std::find(open.begin(), open.end(), watched);
  return at == open.end() ? nullptr : dynamic_cast<ZBasicDoc*>(*at);
}

void LevelChartDoc::follow(ZBasicDoc& document, int32_t dimensionIndex) {
  // Another document's line of the same number is another line.
  if (watched != &document) {
    dimension = -1;
    values.clear();
  }
  watched = &document;
  refresh(document, dimensionIndex);
}

void LevelChartDoc::refresh(ZBasicDoc& document, int32_t dimensionIndex) {
  const CZZimage* image = document.theImage();
  if (!image || image->empty()) return;
  subject = document.title();
  if (kind == LevelChart::Histogram) {
    values = levelCounts(*image, document.roi);
    perValue = 1.0;
    unit = "";
  } else {
    const CDimList& list = document.currentDims();
    // With nothing selected the line that was shown stays.
    if (list.isValid(dimensionIndex)) dimension = dimensionIndex;
    if (!list.isValid(dimension)) return updateAllViews();
    const CDim& dim = list.at(dimension);
    const Scale scale = document.scale();
    values = levelsAlong(*image, dim.points);
    const double pixels = dim.Length(1.0, 1.0);
    perValue = pixels > 0 ? dim.Length(scale.x, scale.y) / pixels : 1.0;
    unit = document.unitName();
  }
  updateAllViews();
}

bool LevelChartDoc::onSaveDocument(const std::string&) {
  report("A live chart has no file.");
  return false;
}

// --- the view

double axisStep(double range, int32_t most) {
  if (!(range > 0) || !std::isfinite(range) || most < 1) return 1.0;
  const double power = std::pow(10.0, std::floor(std::log10(range / most)));
  for (const double factor : {1.0, 2.0, 5.0})
    if (range / (factor * power) <= most) return factor * power;
  return 10.0 * power;
}

void LevelChartView::onUpdate() {
  redraw();
  site().panesChanged();
}

std::vector<StatusPane> LevelChartView::panes() const {
  if (chart.kind == LevelChart::Histogram) {
    double count = 0, sum = 0;
    for (size_t level = 0; level < chart.values.size(); ++level) {
      count += chart.values[level];
      sum += chart.values[level] * static_cast<double>(level);
    }
    const auto highest = std::max_element(chart.values.begin(), chart.values.end()) - chart.values.begin();
    return {{"mean", format("mean=%5.1f", count > 0 ? sum / count : 0.0)},
            {"mode", format("mode=%3i", static_cast<int32_t>(highest))},
            {"count", format("pixels=%.0f", count)}};
  }
  const LevelSummary s = summaryOf(chart.values);
  return {{"mean", format("mean=%5.1f", s.mean)},
          {"min", format("min=%5.1f", s.minimum)},
          {"max", format("max=%5.1f", s.maximum)}};
}

namespace {
constexpr Colour kPaper = 0xffffff, kInk = 0, kRule = 0xd8d8d8, kCurve = 0x903000;
}

void LevelChartView::drawAxes(Canvas& canvas, const Rect& plot, double highest) const {
  const int32_t lineHeight = canvas.textSize("0").height;
  const auto mark = [&](Point from, Point to) {
    canvas.setPen({kRule, 1, false});
    canvas.polyline(std::array<Point, 2>{from, to});
  };
  const double stepY = axisStep(highest, std::max(1, plot.height() / (3 * lineHeight)));
  for (int32_t k = 0; k * stepY <= highest; ++k) {
    const int32_t y = plot.bottom - truncated(k * stepY / highest * plot.height());
    mark({plot.left, y}, {plot.right, y});
    const std::string number = format("%g", k * stepY);
    canvas.text({plot.left - 4 - canvas.textSize(number).width, y - lineHeight / 2}, number, kInk);
  }
  const double range = chart.perValue * std::max<double>(1, static_cast<double>(chart.values.size()) - 1);
  const double stepX = axisStep(range, std::max(1, plot.width() / 70));
  for (int32_t k = 0; k * stepX <= range; ++k) {
    const int32_t x = plot.left + truncated(k * stepX / range * plot.width());
    mark({x, plot.top}, {x, plot.bottom});
    const std::string number = format("%g", k * stepX);
    canvas.text({x - canvas.textSize(number).width / 2, plot.bottom + 3}, number, kInk);
  }
  canvas.setPen({kInk, 1, false});
  canvas.rectangle(plot);
  const std::string axis = chart.kind == LevelChart::Histogram ? "level" : chart.unit;
  canvas.text({plot.right - canvas.textSize(axis).width, plot.bottom + 3 + lineHeight}, axis, kInk);
}

void LevelChartView::draw(Canvas& canvas) {
  const Size area = windowSize();
  canvas.fill({0, 0, area.width, area.height}, kPaper);
  canvas.setFont("", 90);
  const int32_t lineHeight = canvas.textSize("0").height;
  const int32_t left = canvas.textSize("00000000").width;
  const Rect plot{left, lineHeight + 8, area.width - 16, area.height - 2 * lineHeight - 10};
  canvas.text({left, 4}, chart.title() + ": " + chart.subject, kInk);
  if (plot.isEmpty() || chart.values.empty()) return;
  const bool counts = chart.kind == LevelChart::Histogram;
  const double top = *std::max_element(chart.values.begin(), chart.values.end());
  const double highest = counts ? std::max(1.0, top) : 255.0;
  drawAxes(canvas, plot, highest);
  const double last = std::max<double>(1, static_cast<double>(chart.values.size()) - 1);
  std::vector<Point> curve;
  for (size_t i = 0; i < chart.values.size(); ++i)
    curve.push_back({plot.left + truncated(static_cast<double>(i) / last * plot.width()),
                     plot.bottom - truncated(chart.values[i] / highest * plot.height())});
  canvas.setPen({kCurve, 1, false});
  canvas.polyline(curve);
}

}  // namespace tarnvisor
