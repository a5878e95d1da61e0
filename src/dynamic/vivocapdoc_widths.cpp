// What lines across and along capillaries give against time: widths over the selected images, and the
// velocities that were told by the flying spot.
#include <algorithm>
#include <optional>

#include "analysis/width.h"
#include "app/processstate.h"
#include "base/parallel.h"
#include "base/text.h"
#include "charts/chartdoc.h"
#include "dynamic/texts.h"
#include "dynamic/vivocapdoc.h"
#include "framework/documenttype.h"
#include "measure/dimline.h"

namespace tarnvisor {

namespace {

bool isAcross(const CDim& mark) { return dynamic_cast<const CDimLine*>(&mark) && mark.pointCount() > 1; }

ZZTrace* addTrace(ZchartDoc& chart, const CVivoCapDoc& video, const std::string& name,
                  const std::string& unit, std::span<const double> values) {
  ZZTrace* trace = chart.addtrace(kDoubleCode, static_cast<uint32_t>(values.size()));
  if (!trace) return nullptr;
  trace->period = trace->pixelperiod = 1 / video.imagesPerSecond();
  trace->xunits = "secs";
  trace->yunits = unit;
  trace->name = name;
  for (uint32_t i = 0; i < values.size(); ++i) trace->data->putval(i, values[i]);
  return trace;
}

ZchartDoc* newChart(const std::string& title) {
  auto* chart =
      process.reviewTemplate ? dynamic_cast<ZchartDoc*>(process.reviewTemplate->newDocument()) : nullptr;
  if (chart) chart->setTitle(title);
  return chart;
}

}  // namespace

// --- widths

class CVivoCapDoc::WidthJob : public Job {
 public:
  explicit WidthJob(CVivoCapDoc& video) : doc(video), range(video.selection()) {
    with.load();
    rule = with.ruleAgainstTime();
    const CDimList& dims = doc.currentDims();
    for (int32_t i = 0; i < dims.size(); ++i)
      if (isAcross(dims.at(i)))
        lines.push_back({i + 1, dims.at(i).Clone(),
                         std::vector<double>(static_cast<size_t>(doc.imageCount()), notMeasured())});
  }
  std::string title() const override { return "Capillary widths"; }
  Progress progress() const override { return {"Measuring widths", done, range.size()}; }
  bool step() override {
    if (done >= range.size()) return false;
    const int32_t index = range.first + done++;
    doc.movie->getImage(index, each);
    unread += !doc.movie->hasRead();
    parallelFor(static_cast<int64_t>(lines.size()), kLinesAtOnce, [&](int64_t from, int64_t to) {
      for (int64_t i = from; i < to; ++i) {
        Line& line = lines[static_cast<size_t>(i)];
        line.widths[static_cast<size_t>(index)] = widthOf(*line.mark);
      }
    });
    return done < range.size();
  }
  void end(bool cancelled) override {
    if (cancelled) return;
    if (unread > 0) doc.report(format(text::kUnreadForWidths, unread));
    showChart();
  }

 private:
  static constexpr int64_t kLinesAtOnce = 4;  // by one thread
  struct Line {
    int32_t number;
    std::unique_ptr<CDim> mark;
    std::vector<double> widths;  // of every image
  };
  // Of an image that was not looked at, a line outside it, and where there are no edges. By edges between the
  // pixels it is no number, which is neither drawn nor counted, also in a file.
  double notMeasured() const { return with.subSample ? std::numeric_limits<double>::quiet_NaN() : 0; }
  // In units.
  double widthOf(const CDim& mark) const {
    if (!rule || !doc.movie->hasRead() || !mark.AllInside(each.frameRect())) return notMeasured();
    const double width = widthAlong(each, mark.points, mark.width, *rule, with).width;
    const double pixels = mark.Length(1.0, 1.0);
    if (with.subSample && !(width > 0)) return notMeasured();
    if (!(width > 0) || !(pixels > 0)) return width;
    return width * mark.Length(doc.scale().x, doc.scale().y) / pixels;
  }
  void showChart() const {
    ZchartDoc* chart = newChart(doc.stemOfTitle() + "_Capillary_Widths_vs_time");
    if (!chart) return;
    const TraceBatch batch(*chart);
    // Widths between the pixels can't be compared with others.
    const std::string how = with.subSample ? " sub-pixel" : "";
    for (const Line& line : lines)
      if (!addTrace(*chart, doc, format("%i", line.number) + how, doc.unitName(), line.widths)) return;
    ZchartDoc::giveColours(chart->traces.items, 0);
  }

  CVivoCapDoc& doc;
  CZZMovie::Range range;
  WidthSettings with;
  std::optional<WidthRule> rule;
  std::vector<Line> lines;
  CZZimage each;
  int32_t done = 0, unread = 0;
};

bool CVivoCapDoc::hasLinesAcross() const {
  return hasMovie() &&
         std::ranges::any_of(currentDims().items, [](const auto& mark) { return isAcross(*mark); });
}

void CVivoCapDoc::widthsAgainstTime() {
  if (process.reviewTemplate) start(std::make_unique<WidthJob>(*this));
}

// --- the flying spot

void CVivoCapDoc::prepareSpotVelocities() {
  const auto count = static_cast<size_t>(imageCount());
  if (spotVelocities.size() != count) spotVelocities.assign(count, 0.0);
}

void CVivoCapDoc::chartSpotVelocities() {
  std::string title = stemOfTitle() + " Flying spot velocity";
  std::ranges::replace(title, ' ', '-');
  ZchartDoc* chart = newChart(title);
  if (!chart) return;
  const TraceBatch batch(*chart);
  addTrace(*chart, *this, "velocity", unitName() + "/s", spotVelocities);
  ZchartDoc::giveColours(chart->traces.items, 0);
}

}  // namespace tarnvisor
