#include "report/distributionchart.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "base/text.h"
#include "drawing/textmeasure.h"

namespace tarnvisor {

namespace {

constexpr int32_t kTenthsOfPoint = 80;
constexpr Colour kInk = 0x303030, kBar = 0xc89060, kBarEdge = 0x905020, kBox = 0xf0e0d0, kOutlier = 0x0000c0;

class Plot {
 public:
  Plot(Canvas& target, Size area, std::span<const double> shown)
      : canvas(target), values(shown), d(distributionOf(shown)), h(histogramOf(shown)) {
    canvas.setFont("", kTenthsOfPoint);
    const TextMeasure text = TextMeasure::of(canvas);
    line = text.line;
    bars = {6 * text.character, 3 * line, area.width - 3 * text.character, area.height - 5 * line / 2};
    most = *std::ranges::max_element(h.counts);
  }
  void draw(const std::string& along) {
    if (bars.isEmpty()) return;
    drawBars();
    drawBox();
    drawEdges();
    const int32_t width = canvas.textSize(along).width;
    canvas.text({bars.left + std::max(0, (bars.width() - width) / 2), bars.bottom + line * 5 / 4}, along,
                kInk);
  }

 private:
  int32_t columnOf(double value) const {
    const double share = (value - h.first) / (h.width * static_cast<double>(h.counts.size()));
    return bars.left + static_cast<int32_t>(std::lround(share * bars.width()));
  }
  double edge(size_t bin) const { return h.first + h.width * static_cast<double>(bin); }
  void stroke(Point from, Point to) { canvas.polyline(std::array{from, to}); }

  void drawBars() {
    for (size_t i = 0; i < h.counts.size(); ++i) {
      if (h.counts[i] == 0) continue;
      const double share = static_cast<double>(h.counts[i]) / static_cast<double>(most);
      const Rect bar{columnOf(edge(i)),
                     bars.bottom - static_cast<int32_t>(std::lround(share * bars.height())),
                     columnOf(edge(i + 1)), bars.bottom};
      canvas.fill(bar, kBar);
      canvas.setPen({kBarEdge, 1, false});
      canvas.rectangle({bar.left, bar.top, bar.right + 1, bar.bottom + 1});
    }
  }
  // Whiskers reach to the last values within the fences.
  void drawBox() {
    const int32_t top = line, bottom = 2 * line, middle = (top + bottom) / 2;
    double low = d.upperQuartile, high = d.lowerQuartile;
    for (const double value : values) {
      if (d.isOutlier(value)) continue;
      low = std::min(low, value);
      high = std::max(high, value);
    }
    canvas.setPen({kInk, 1, false});
    stroke({columnOf(low), middle}, {columnOf(high), middle});
    const Rect box{columnOf(d.lowerQuartile), top, columnOf(d.upperQuartile) + 1, bottom};
    canvas.fill(box, kBox);
    canvas.rectangle(box);
    canvas.setPen({kInk, 2, false});
    stroke({columnOf(d.median), top}, {columnOf(d.median), bottom - 1});
    canvas.setPen({kOutlier, 2, false});
    for (const double value : values) {
      if (!d.isOutlier(value)) continue;
      const int32_t x = columnOf(value), half = line / 5;
      canvas.ellipse({x - half, middle - half, x + half, middle + half});
    }
  }
  void drawEdges() {
    canvas.setPen({kInk, 1, false});
    stroke({bars.left, bars.bottom}, {bars.right, bars.bottom});
    // As many labels as have room.
    int32_t widest = 1;
    const auto label = [&](size_t i) {
      return format("%.6g", std::abs(edge(i)) < h.width / 2 ? 0.0 : edge(i));
    };
    for (size_t i = 0; i <= h.counts.size(); ++i) widest = std::max(widest, canvas.textSize(label(i)).width);
    const auto places = static_cast<size_t>(std::max(1, bars.width() / (widest + line)));
    const size_t step = std::max<size_t>(1, (h.counts.size() + places) / places);
    for (size_t i = 0; i <= h.counts.size(); i += step) {
      const int32_t x = columnOf(edge(i));
      stroke({x, bars.bottom}, {x, bars.bottom + line / 4});
      canvas.text({x - canvas.textSize(label(i)).width / 2, bars.bottom + line / 4}, label(i), kInk);
    }
    const std::string count = format("%zu", most);
    canvas.text({bars.left - canvas.textSize(count).width - line / 3, bars.top - line / 2}, count, kInk);
    stroke({bars.left - line / 4, bars.top}, {bars.left, bars.top});
    stroke({bars.left, bars.top}, {bars.left, bars.bottom});
  }

  Canvas& canvas;
  std::span<const double> values;
  Distribution d;
  Histogram h;
  Rect bars;
  int32_t line = 1;
  size_t most = 1;
};

}  // namespace

void drawDistribution(Canvas& canvas, Size area, std::span<const double> values, const std::string& along) {
  if (!values.empty()) Plot(canvas, area, values).draw(along);
}

}  // namespace tarnvisor
