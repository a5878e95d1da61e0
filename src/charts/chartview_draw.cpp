// How a chart is drawn.
#include <algorithm>
#include <array>
#include <cmath>

#include "base/text.h"
#include "charts/chartview.h"

namespace tarnvisor {

namespace {

constexpr Colour kPaper = 0xffffff;
constexpr Colour kInk = 0x303030;
constexpr Colour kFaint = 0x909090;
constexpr Colour kFrame = 0xb0b0b0;
constexpr Colour kActive = 0xc06000;
constexpr Colour kSelected = 0xf7e4d0;
constexpr Colour kSelectedEdge = 0xc09060;
constexpr int32_t kTenthsOfPoint = 90;
constexpr int32_t kAxisCharacters = 11;

void line(Canvas& canvas, Point from, Point to) {
  const std::array<Point, 2> ends{from, to};
  canvas.polyline(ends);
}

}  // namespace

void ZchartView::measure(const Canvas& canvas) {
  text = TextMeasure::of(canvas);
  axisWidth = kAxisCharacters * text.character + text.line;
}

void ZchartView::draw(Canvas& canvas) {
  canvas.setFont("", kTenthsOfPoint);
  const int32_t before = axisWidth;
  measure(canvas);
  if (axisWidth != before) {
    onSize();
    contentChanged();
  }
  const Size size = windowSize();
  drawChart(canvas, {0, 0, size.width, size.height}, scrollPosition().y);
}

void ZchartView::drawIn(Canvas& canvas, const Rect& area) {
  const TextMeasure kept = text;
  const int32_t keptWidth = axisWidth;
  const Rect shown = plotArea();
  canvas.setFont("", kTenthsOfPoint);
  measure(canvas);
  drawChart(canvas, area, 0, &shown);
  text = kept;
  axisWidth = keptWidth;
}

// shownIn: the window's plot where the area is another one's, which then shows the same time.
void ZchartView::drawChart(Canvas& canvas, const Rect& area, int32_t scrolled, const Rect* shownIn) {
  const Rect plot = areaOf(area);
  canvas.fill(area, kPaper);
  if (plot.isEmpty() || shownTraces().empty()) return;
  TimeColumns columns = columnsIn(plot, shownIn ? *shownIn : plot);
  const Rect visible{area.left, plot.top, area.right, plot.bottom};
  int32_t bottom = plot.top;
  for (Strip& strip : strips(plot)) {
    strip.plot = strip.plot.offsetBy(0, -scrolled);
    if (strip.plot.bottom <= plot.top || strip.plot.top >= plot.bottom) continue;
    drawStrip(canvas, strip, columns, visible);
    bottom = std::min(plot.bottom, strip.plot.bottom);
  }
  const auto left = static_cast<int32_t>(std::fmin(std::fmax(columns.first, -2e9), 2e9 - columns.count));
  canvas.setClip({plot.left, area.top, plot.right, plot.bottom});
  // The mouse goes by the window's placements.
  MarkerPlacements elsewhere;
  MarkerPlacements& placed = shownIn ? elsewhere : placements;
  placed.place(doc.markers, {left, 0, left + columns.count, bottom - plot.top}, columns.perColumn, text);
  placed.draw(canvas, {plot.left, bottom});
  canvas.setClip({});
  CTimeAxis time;
  CValueAxis values;
  CAxis& axis = isTimeAxis() ? static_cast<CAxis&>(time) : values;
  axis.measureAlong(canvas);
  axis.pos = left;
  axis.size = columns.count;
  if (!isTimeAxis()) axis.units = doc.titles.along.empty() ? unitAlongX() : doc.titles.along;
  axis.setScale(columns.perColumn);
  axis.paintBelow(canvas, {plot.left, plot.top, plot.right, bottom}, kInk);
}

void ZchartView::drawSelection(Canvas& canvas, const Rect& plot, const TimeColumns& columns,
                               bool overColours) const {
  if (!hasSelection()) return;
  const auto columnAt = [&](double time) {
    return plot.left +
           static_cast<int32_t>(std::lround(std::clamp(columns.columnOf(time), -1.0, plot.width() + 1.0)));
  };
  const int32_t from = columnAt(selfrom), to = columnAt(selto);
  if (to < plot.left || from > plot.right) return;
  if (!overColours)
    canvas.fill({std::max(from, plot.left), plot.top, std::min(to + 1, plot.right), plot.bottom}, kSelected);
  canvas.setPen({kSelectedEdge, 1, overColours});
  for (const int32_t x : {from, to})
    if (x >= plot.left && x < plot.right) line(canvas, {x, plot.top}, {x, plot.bottom - 1});
}

void ZchartView::drawStrip(Canvas& canvas, const Strip& strip, const TimeColumns& columns,
                           const Rect& visible) {
  canvas.setClip(visible);
  ZZTrace& trace = *strip.trace;
  CScreenTrace& screen = screenTrace(trace);
  const bool isActive = &trace == active();
  const std::string unnamed =
      doc.titles.up.empty() ? format("trace %i", doc.indexOfTrace(&trace) + 1) : doc.titles.up;
  const std::string& label = trace.name.empty() ? unnamed : trace.name;
  const Rect& plot = strip.plot;
  if (isActive)
    canvas.fill({plot.left - axisWidth + 1, plot.top, plot.left - axisWidth + 4, plot.bottom}, kActive);
  if (!screen.drawn) {
    canvas.text({plot.left + 4, plot.top}, label + " (not drawn)", kFaint);
    return;
  }
  const bool overColours = rowsOf(&trace) != nullptr;
  if (!overColours) drawSelection(canvas, plot, columns, false);
  canvas.setClip(plot.intersected(visible));
  screen.draw(canvas, plot, columns);
  if (overColours) drawSelection(canvas, plot, columns, true);
  drawOver(canvas, strip, columns);
  canvas.setClip(visible);
  canvas.setPen({isActive ? kActive : kFrame, 1, false});
  canvas.rectangle({plot.left - 1, plot.top, plot.right + 1, plot.bottom});
  CValueAxis axis;
  axis.measure(canvas);
  axis.size = plot.height();
  axis.units = trace.yunits;
  const double scale = screen.FS / std::max(1, plot.height());
  axis.setScale(scale);
  axis.pos = std::floor(screen.OS / scale);
  axis.paintLeft(canvas, plot, kInk);
  const Size size = canvas.textSize(label);
  canvas.fill({plot.left + 3, plot.top + 2, plot.left + 9 + size.width, plot.top + 4 + size.height}, kPaper);
  canvas.text({plot.left + 6, plot.top + 3}, label, drawnColour(trace));
}

}  // namespace tarnvisor
