#include "charts/chartview.h"

#include <algorithm>
#include <cmath>

#include "base/text.h"

namespace tarnvisor {

namespace {

constexpr int32_t kMostColumns = 1 << 28;
constexpr double kColumnsPerSample = 64;  // the nearest zoom
constexpr double kLeastSecondsPerColumn = 1e-300;

}  // namespace

ZchartView::ZchartView(ZchartDoc& shown) : CView(shown), doc(shown) {}

// --- traces

std::vector<ZZTrace*> ZchartView::shownTraces() const {
  std::vector<ZZTrace*> shown;
  for (const auto& trace : doc.traces.items)
    if (trace->data && (showsHidden || !trace->hidden)) shown.push_back(trace.get());
  return shown;
}

ZZTrace* ZchartView::active() const {
  const std::vector<ZZTrace*> shown = shownTraces();
  for (ZZTrace* trace : shown)
    if (trace == activeTrace) return trace;
  return shown.empty() ? nullptr : shown.front();
}

void ZchartView::setActive(ZZTrace* trace) {
  activeTrace = trace;
  redraw();
  site().panesChanged();
}

CScreenTrace& ZchartView::screenTrace(ZZTrace& trace) {
  std::unique_ptr<CScreenTrace>& screen = screenTraces[&trace];
  if (!screen) {
    screen = CScreenTrace::make(trace);
    screen->selfScale();
  }
  return *screen;
}

void ZchartView::traceGone(const ZZTrace& trace) {
  screenTraces.erase(&trace);
  if (activeTrace == &trace) activeTrace = nullptr;
}

void ZchartView::traceReplaced(const ZZTrace& old, ZZTrace& by) {
  const auto at = screenTraces.find(&old);
  if (at != screenTraces.end()) {
    std::unique_ptr<CScreenTrace> screen = std::move(at->second);
    screenTraces.erase(at);
    const bool sameKind = (dynamic_cast<const C2DTrace*>(&old) != nullptr) == (rowsOf(&by) != nullptr);
    if (sameKind) {
      screen->setTrace(by);
      screenTraces[&by] = std::move(screen);
    }
  }
  if (activeTrace == &old) activeTrace = &by;
}

void ZchartView::onUpdate(Change) {
  for (auto& [trace, screen] : screenTraces) screen->dataChanged();
  if (fitted) setSecondsPerColumn(wholeWidth());
  contentChanged();
  redraw();
  site().panesChanged();
}

// --- time

bool ZchartView::isTimeAxis() const {
  const std::vector<ZZTrace*> shown = shownTraces();
  return std::all_of(shown.begin(), shown.end(), [](const ZZTrace* t) {
    return t->xunits.empty() || t->xunits == "s" || t->xunits == "sec" || t->xunits == "seconds";
  });
}

std::string ZchartView::unitAlongX() const {
  for (const ZZTrace* trace : shownTraces())
    if (!trace->xunits.empty()) return trace->xunits;
  return {};
}

ZchartView::Span ZchartView::span() const {
  Span all;
  bool some = false;
  for (const ZZTrace* trace : shownTraces()) {
    const double first = trace->starttime * 0.001;
    const double last = first + trace->size() * trace->period;
    if (!trace->size() || !std::isfinite(last) || !(trace->period > 0)) continue;
    all = some ? Span{std::min(all.first, first), std::max(all.last, last)} : Span{first, last};
    some = true;
  }
  return all;
}

// Seconds a column at which the window shows everything.
double ZchartView::wholeWidth() const {
  const Span all = span();
  return (all.last - all.first) / std::max(1, plotArea().width() - 1);
}

void ZchartView::setSecondsPerColumn(double wanted) {
  const Span all = span();
  const double duration = all.last - all.first;
  const double furthest = std::max({std::abs(all.first), std::abs(all.last), duration});
  double shortest = duration;
  for (const ZZTrace* trace : shownTraces())
    if (trace->size() && trace->period > 0) shortest = std::min(shortest, trace->period);
  const double low =
      std::max({shortest / kColumnsPerSample, furthest / kMostColumns, kLeastSecondsPerColumn});
  const double high = std::max(low, duration / 8);
  if (!(furthest > 0) || !std::isfinite(high)) return;
  secondsPerColumn = std::clamp(std::isfinite(wanted) ? wanted : high, low, high);
}

int32_t ZchartView::firstColumn() const {
  return static_cast<int32_t>(std::fmin(std::fmax(std::floor(span().first / secondsPerColumn), -2e9), 2e9));
}

TimeColumns ZchartView::columnsIn(const Rect& plot, const Rect& shownIn) const {
  TimeColumns columns;
  columns.count = plot.width();
  const double scale = static_cast<double>(std::max(1, shownIn.width())) / std::max(1, plot.width());
  columns.perColumn = secondsPerColumn * scale;
  columns.first = (static_cast<double>(firstColumn()) + scrollPosition().x) / scale;
  return columns;
}

double ZchartView::timeAtWindow(int32_t x) const {
  return (static_cast<double>(x) - plotArea().left + scrollPosition().x + firstColumn()) * secondsPerColumn;
}

void ZchartView::zoomTime(double factor, double about) {
  const double column = (about / secondsPerColumn) - firstColumn() - scrollPosition().x;
  const double before = secondsPerColumn;
  setSecondsPerColumn(secondsPerColumn * factor);
  if (secondsPerColumn == before) return;
  fitted = false;
  contentChanged();
  const double left = about / secondsPerColumn - firstColumn() - column;
  scrollTo({static_cast<int32_t>(std::clamp(left, 0.0, 1e9)), scrollPosition().y});
  site().panesChanged();
}

void ZchartView::fit() {
  fitted = true;
  setSecondsPerColumn(wholeWidth());
  for (ZZTrace* trace : shownTraces()) screenTrace(*trace).selfScale();
  contentChanged();
  scrollTo({0, scrollPosition().y});
  site().panesChanged();
}

void ZchartView::select(double from, double to) {
  selfrom = std::min(from, to);
  selto = std::max(from, to);
  lastExport.clear();
  redraw();
  site().panesChanged();
}

std::optional<ZchartView::Range> ZchartView::rangeIn(const ZZTrace& trace) const {
  const uint32_t size = trace.size();
  if (!size) return std::nullopt;
  if (!hasSelection()) return Range{trace.origin % size, trace.origin % size, size};
  // Ends that are meant to be a sample's own time are that, though 1.1 / 0.1 is a little over 11.
  const auto ageOf = [&](double time) {
    constexpr double kNudge = 1e-9;
    const double age = std::ceil((time - trace.starttime * 0.001) / trace.period - kNudge);
    return std::clamp(age, 0.0, static_cast<double>(size));
  };
  const double from = ageOf(selfrom), to = ageOf(selto);
  if (!(to > from)) return std::nullopt;
  const auto count = static_cast<uint32_t>(to - from);
  const auto index = [&](double age) {
    return static_cast<uint32_t>((trace.origin + static_cast<uint64_t>(age)) % size);
  };
  return Range{index(from), index(to), count};
}

// --- places

Rect ZchartView::areaOf(const Rect& whole) const {
  return {whole.left + axisWidth, whole.top + gap(), whole.right - 2 * gap() - text.character,
          whole.bottom - 3 * text.line - gap()};
}

Rect ZchartView::plotArea() const {
  const Size size = windowSize();
  Rect area = areaOf({0, 0, size.width, size.height});
  area.right = std::max(area.right, area.left + 1);
  area.bottom = std::max(area.bottom, area.top + 1);
  return area;
}

int32_t ZchartView::stripsHeight() const {
  int32_t height = 0;
  for (const ZZTrace* trace : shownTraces()) {
    const auto screen = screenTraces.find(trace);
    const bool drawn = screen == screenTraces.end() || screen->second->drawn;
    height = std::min(height, 1 << 24) + (drawn ? leastStrip() : text.line) + gap();
  }
  return height - gap();
}

std::vector<ZchartView::Strip> ZchartView::strips(const Rect& area) const {
  std::vector<Strip> all;
  const std::vector<ZZTrace*> shown = shownTraces();
  int32_t drawnCount = 0, fixed = 0;
  const auto isDrawn = [&](const ZZTrace* trace) {
    const auto screen = screenTraces.find(trace);
    return screen == screenTraces.end() || screen->second->drawn;
  };
  for (const ZZTrace* trace : shown) isDrawn(trace) ? ++drawnCount : fixed += text.line;
  fixed += gap() * (static_cast<int32_t>(shown.size()) - 1);
  const int32_t room = std::max(area.height(), stripsHeight()) - fixed;
  int32_t y = area.top, nth = 0;
  for (ZZTrace* trace : shown) {
    int32_t height = text.line;
    if (isDrawn(trace)) {
      height =
          static_cast<int32_t>(int64_t{room} * (nth + 1) / drawnCount - int64_t{room} * nth / drawnCount);
      ++nth;
    }
    all.push_back({trace, {area.left, y, area.right, y + height}});
    y += height + gap();
  }
  return all;
}

Size ZchartView::contentSize() const {
  const Span all = span();
  const Size size = windowSize();
  const Rect plot = plotArea();
  const double columns = std::ceil((all.last - all.first) / secondsPerColumn);
  const auto wide = static_cast<int32_t>(std::clamp(columns, 0.0, static_cast<double>(kMostColumns)));
  const int32_t high = stripsHeight() + size.height - plot.height();
  return {std::max(size.width, wide + size.width - plot.width()), std::max(size.height, high)};
}

void ZchartView::onSize() {
  if (fitted) setSecondsPerColumn(wholeWidth());
}

ZchartView::Strip* ZchartView::stripAt(Point at, std::vector<Strip>& all) const {
  for (Strip& strip : all)
    if (at.y >= strip.plot.top - gap() / 2 && at.y < strip.plot.bottom + gap() / 2) return &strip;
  return nullptr;
}

// --- status

std::vector<StatusPane> ZchartView::panes() const {
  ZZTrace* trace = active();
  std::vector<StatusPane> texts{{"trace", ""}, {"x", ""}, {"y", ""}, {"dx", ""}, {"scale", ""}};
  if (!lastExport.empty()) texts.push_back({"export", "exported " + lastExport});
  if (!trace || !trace->size()) return texts;
  texts[0].text = format("%1i:", doc.indexOfTrace(trace)) + trace->name;
  const C2DTrace* rows = rowsOf(trace);
  const auto screen = screenTraces.find(trace);
  uint32_t index = 0;
  const bool onTrace = !doc.running && screen != screenTraces.end() && screen->second->indexAt(cursor, index);
  if (onTrace) {
    texts[1].text = format("x = %.3f ", cursor);
    texts[2].text = rows ? "" : format("y = %.3f ", trace->displayed(trace->data->at(index)));
  }
  if (hasSelection() && !doc.running) texts[3].text = format("dx = %.3f ", selto - selfrom);
  if (!rows) return texts;
  const ShownValues strength(*rows);
  double height = 0;
  std::vector<Strip> all = strips(plotArea());
  for (const Strip& strip : all)
    if (onTrace && strip.trace == trace && mouse.y >= 0) {
      height = screen->second->valueAt(mouse.y + scrollPosition().y, strip.plot);
      const double extent = rows->rowvalues ? rows->rowvalues->at(index) * std::abs(rows->ygain) : 0;
      const double item = extent > 0 ? std::floor(height / extent * rows->width()) : -1;
      const bool inRow = item >= 0 && item < rows->width();
      const double value = inRow ? strength.of(trace->data->at(index, static_cast<uint32_t>(item))) : 0.0;
      texts[2].text = format("y = %.3f ", value);
    }
  texts[4].text = format("%.2f FS=%5.f OS=%5.f", height, strength.of(rows->fullscale) - strength.of(0),
                         strength.of(rows->fsoffset));
  return texts;
}

}  // namespace tarnvisor
