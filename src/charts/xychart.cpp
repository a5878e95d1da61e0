#include "charts/xychart.h"

#include <algorithm>
#include <cmath>

#include "app/processstate.h"
#include "base/text.h"
#include "charts/axis.h"
#include "charts/chartprint.h"
#include "charts/commandids.h"
#include "charts/screentrace.h"
#include "framework/documenttype.h"
#include "host/host.h"

namespace tarnvisor {

namespace {

constexpr Colour kPaper = 0xffffff;
constexpr Colour kInk = 0x303030;
constexpr int32_t kTenthsOfPoint = 90;
constexpr double kMargin = 0.05;
constexpr size_t kFewPoints = 40;
constexpr size_t kAxisUnit = 10;     // characters of a unit that stand beside the axis
constexpr double kFarthest = 1e300;  // the distance between two values must be a number too

std::string readingText(double value) { return format("%.4g", value); }

// A range to show, a little wider than what it has to hold.
Extent widened(Extent extent) {
  if (extent.isEmpty()) return {0.0, 1.0};
  const double range = extent.high - extent.low;
  const double more = range > 0 ? range * kMargin : std::max(0.5, std::abs(extent.high) * kMargin);
  return {extent.low - more, extent.high + more};
}

}  // namespace

const ZZTrace* xychartdoc::traceAt(size_t index) const {
  return traces.items.size() > index && traces.items[index]->size() ? traces.items[index].get() : nullptr;
}

std::vector<xychartdoc::Pair> xychartdoc::pairs() const {
  std::vector<Pair> found;
  const ZZTrace* x = xTrace();
  const ZZTrace* y = yTrace();
  if (!x || !y || !(x->period > 0)) return found;
  found.reserve(y->size());
  for (uint32_t age = 0; age < y->size(); ++age) {
    const auto index = static_cast<uint32_t>((uint64_t{y->origin} + age) % y->size());
    const double xAge = std::floor((y->timeof(index) - x->starttime * 0.001) / x->period + 1e-9);
    if (!(xAge >= 0 && xAge < x->size())) continue;
    const auto at = static_cast<uint32_t>((uint64_t{x->origin} + static_cast<uint64_t>(xAge)) % x->size());
    const Pair pair{x->displayed(x->data->at(at)), y->displayed(y->data->at(index))};
    if (std::abs(pair.x) < kFarthest && std::abs(pair.y) < kFarthest) found.push_back(pair);
  }
  return found;
}

const std::vector<xychartdoc::Pair>& xychartvw::points() const {
  if (!isKnown) known = doc.pairs();
  isKnown = true;
  return known;
}

bool xychartdoc::takeCourse(const Course& course) {
  const TraceBatch batch(*this);
  const auto count = static_cast<uint32_t>(course.values.size());
  ZZTrace* const day = addtrace(kDoubleCode, count);
  ZZTrace* const mean = day ? addtrace(kDoubleCode, count) : nullptr;
  if (!mean) return false;
  const std::string whose = course.subject + (course.site.empty() ? "" : ", " + course.site);
  setTitle(whose + " " + course.quantity);
  day->name = "since " + course.firstDay;
  // Exams of one day are parted, too.
  const double span = course.values.empty() ? 0 : course.values.back().day;
  const auto [units, perDay] = span >= 2          ? std::pair("days", 1)
                               : span >= 2.0 / 24 ? std::pair("hours", 24)
                                                  : std::pair("minutes", 24 * 60);
  day->yunits = units;
  mean->name = whose + ": " + wordsOf({course.quantity, 0, course.unit}) + ", mean of each exam";
  if (course.unit.size() <= kAxisUnit) mean->yunits = course.unit;
  for (uint32_t i = 0; i < count; ++i) {
    day->data->putval(i, course.values[i].day * perDay);
    mean->data->putval(i, course.values[i].mean);
  }
  return true;
}

void xychartvw::onUpdate(Change) {
  isKnown = false;
  redraw();
  site().panesChanged();
}

void xychartvw::draw(Canvas& canvas) {
  const Size size = windowSize();
  drawIn(canvas, {0, 0, size.width, size.height});
}

void xychartvw::drawIn(Canvas& canvas, const Rect& area) {
  canvas.setFont("", kTenthsOfPoint);
  canvas.fill(area, kPaper);
  CValueAxis acrossAxis, upwardAxis;
  acrossAxis.measureAlong(canvas);
  upwardAxis.measure(canvas);
  const int32_t line = upwardAxis.line;
  const Rect inner{area.left + 12 * upwardAxis.charw, area.top + line + line / 2, area.right - line,
                   area.bottom - 4 * line};
  Extent x, y;
  for (const xychartdoc::Pair& p : points()) {
    x.take(p.x);
    y.take(p.y);
  }
  if (inner.isEmpty() || points().empty()) return;
  const bool areReadings = points().size() <= kFewPoints;
  across = widened(x);
  // A few readings of one sign are seen against nothing, so that their change looks no greater than it is.
  if (areReadings && y.low > 0) y.take(0);
  upward = widened(y);
  if (areReadings && y.low == 0) upward.low = 0;
  if (areReadings) upward.high += 0.1 * (upward.high - upward.low);  // the room of the numbers
  plot = inner;
  const auto place = [&](const xychartdoc::Pair& p) {
    return Point{inner.left + static_cast<int32_t>(std::lround((p.x - across.low) /
                                                               (across.high - across.low) * inner.width())),
                 inner.bottom - static_cast<int32_t>(std::lround(
                                    (p.y - upward.low) / (upward.high - upward.low) * inner.height()))};
  };
  canvas.setClip(inner);
  const ZZTrace& trace = *doc.yTrace();
  canvas.setPen({drawnColour(trace), trace.marked ? std::clamp(trace.linewidth, 1, 64) : 1, false});
  std::vector<Point> curve;
  for (const xychartdoc::Pair& p : points()) {
    const Point at = place(p);
    if (!curve.empty() && curve.back() == at) continue;
    curve.push_back(at);
    if (trace.marked) canvas.point(at);
  }
  if (!trace.marked) canvas.polyline(curve);
  // Of a few each is a reading of its own, told where its number has room.
  if (areReadings) {
    Rect last{};
    for (const xychartdoc::Pair& p : points()) {
      const Point at = place(p);
      canvas.fill({at.x - 3, at.y - 3, at.x + 4, at.y + 4}, drawnColour(trace));
      const std::string words = readingText(p.y);
      const Size size = canvas.textSize(words);
      const int32_t left = std::clamp(at.x - size.width / 2, inner.left + 2,
                                      std::max(inner.left + 2, inner.right - size.width - 2));
      const int32_t above = at.y - 5 - size.height;
      const int32_t top = above > inner.top ? above : at.y + 6;
      const Rect room{left, top, left + size.width, top + size.height};
      if (!room.intersected(last).isEmpty()) continue;
      last = room;
      canvas.text({left, top}, words, kInk);
    }
  }
  canvas.setClip({});
  canvas.setPen({0xb0b0b0, 1, false});
  canvas.rectangle(inner);
  const auto prepare = [](CAxis& axis, const Extent& extent, int32_t length, const ZZTrace& of) {
    axis.size = length;
    axis.units = of.yunits;
    const double scale = (extent.high - extent.low) / std::max(1, length);
    axis.setScale(scale);
    axis.pos = std::floor(extent.low / scale);
  };
  prepare(acrossAxis, across, inner.width(), *doc.xTrace());
  prepare(upwardAxis, upward, inner.height(), trace);
  acrossAxis.paintBelow(canvas, inner, kInk);
  upwardAxis.paintLeft(canvas, inner, kInk);
  canvas.text({inner.left, area.top + line / 4}, trace.name, trace.colour & 0xffffff);
  const std::string& along = doc.xTrace()->name;
  canvas.text({inner.right - canvas.textSize(along).width, area.bottom - line - line / 2}, along, kInk);
}

void xychartvw::mouseMove(const MouseEvent& event) {
  mouse = event.at;
  site().panesChanged();
}

std::vector<StatusPane> xychartvw::panes() const {
  std::vector<StatusPane> texts{{"x", ""}, {"y", ""}, {"points", ""}};
  if (points().empty()) return texts;
  if (plot.contains(mouse)) {
    texts[0].text =
        format("x = %.3f ", across.low + (across.high - across.low) * (mouse.x - plot.left) / plot.width());
    texts[1].text = format("y = %.3f ",
                           upward.low + (upward.high - upward.low) * (plot.bottom - mouse.y) / plot.height());
  }
  texts[2].text = format("%i points", static_cast<int>(points().size()));
  return texts;
}

const CommandTableBase& xychartvw::commandTable() {
  using V = xychartvw;
  static const CommandTable<V> table{
      {cmd::FilePrint, "&Print...", &V::printCommand, &V::hasPairs},
      {cmd::FilePrintPreview, "Print Pre&view", &V::previewCommand, &V::hasPairs},
  };
  return table;
}

void xychartvw::printOn(PrintJob& job) {
  printChart(job, doc, [this](Canvas& canvas, const Rect& area) { drawIn(canvas, area); });
}
void xychartvw::printCommand() {
  host().printer.print(doc.title(), [this](PrintJob& job) { printOn(job); });
}
void xychartvw::previewCommand() {
  host().printer.preview(doc.title(), [this](PrintJob& job) { printOn(job); });
}
void xychartvw::drawPicture(Canvas& canvas, Size size, const PictureWish&) {
  drawIn(canvas, {0, 0, size.width, size.height});
}

xychartdoc* makeXyChart(const ZZTrace& x, const ZZTrace& y, const std::string& title) {
  ZZTrace::Own first = x.clone(), second = y.clone();
  if (!first || !first->data || !second || !second->data) return nullptr;
  CDocument* fresh = process.xyChartTemplate ? process.xyChartTemplate->newDocument() : nullptr;
  auto* chart = dynamic_cast<xychartdoc*>(fresh);
  if (!chart) return nullptr;
  chart->setTitle(title);
  const TraceBatch batch(*chart);
  chart->addtrace(std::move(first));
  chart->addtrace(std::move(second));
  return chart;
}

}  // namespace tarnvisor
