#include "linescan/zlinescanview.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "app/asked.h"
#include "base/text.h"
#include "host/host.h"
#include "linescan/commandids.h"

namespace tarnvisor {

namespace {

constexpr Colour kSlope = 0x0000FF, kSelectedSlope = 0xFFFF40;
constexpr int32_t kPen = 2;
constexpr int32_t kReach = 5;  // window pixels

}  // namespace

const CommandTableBase& ZlineScanBaseView::commandTable() {
  using V = ZlineScanBaseView;
  static const CommandTable<V> table{
      {{cmd::CalculateVelocity, "&Calculate velocity", &V::calculateScan, &V::canCalculateScan},
       {cmd::DeleteFromTrace, "&Delete", &V::deleteSlope, &V::mayDelete},
       {cmd::SetAsLinescan,
        "Set trace as linescan",
        &V::setAsLinescan,
        &V::hasRowsActive,
        {.tip = "Set as linescan", .status = "Takes the active trace as the scan to calculate velocity of."}},
       {cmd::InterpolateRows,
        "&Interpolate...",
        &V::interpolate,
        &V::hasRowsActive,
        {.tip = "Interpolate", .status = "Gives the rows of the active trace another number of points."}},
       {cmd::VelocityResult,
        "Velocity &result...",
        &V::velocityResult,
        &V::hasVelocity,
        {.tip = "Velocity result",
         .status =
             "Shows the mean velocity of the selection and how good it is; adds it to the results when accepted.",
         .keys = "Ctrl+Shift+R"}}},
      &ZchartView::commandTable(),
      {{&V::hasVelocity, "No velocity has been calculated."}}};
  return table;
}

// --- slopes

// They lie over what has the scan's own points.
bool ZlineScanBaseView::carriesSlopes(const ZZTrace& trace) const {
  const LinescanTraces set = scan.traceSet();
  const auto* rows = dynamic_cast<const C2DTrace*>(&trace);
  return rows && set.scan && (rows == set.scan || rows == set.difference) &&
         rows->width() == set.scan->width();
}

void ZlineScanBaseView::drawOver(Canvas& canvas, const Strip& strip, const TimeColumns& columns) {
  if (!carriesSlopes(*strip.trace)) return;
  const CScreenTrace& screen = screenTrace(*strip.trace);
  const auto placeOf = [&](double time, double value) {
    constexpr double kFar = 1e6;
    const double column = std::clamp(columns.columnOf(time), -kFar, kFar);
    return Point{strip.plot.left + static_cast<int32_t>(std::lround(column)), screen.yOf(value, strip.plot)};
  };
  const std::vector<Slope>& slopes = scan.slopes();
  for (size_t i = 0; i < slopes.size(); ++i) {
    const Slope& slope = slopes[i];
    const Colour colour = static_cast<int32_t>(i) == scan.selectedslope ? kSelectedSlope : kSlope;
    const std::array<Point, 2> ends{placeOf(slope.t0, slope.y0), placeOf(slope.t1, slope.y1)};
    canvas.setPen({colour, kPen, false});
    canvas.polyline(ends);
    const Point at{(ends[0].x + ends[1].x) / 2 + 4, (ends[0].y + ends[1].y) / 2};
    const int32_t line = canvas.textSize("0").height;
    const auto number = static_cast<int32_t>(i + 1);
    canvas.text(at, format("%i", number), colour);
    canvas.text(at + Point{0, line}, format("%7.2f", slope.velocity()), colour);
  }
}

ZlineScanBaseView::Place ZlineScanBaseView::placeAt(Point at) {
  std::vector<Strip> all = strips(plotArea());
  const Point content = at + Point{0, scrollPosition().y};
  const Strip* strip = stripAt(content, all);
  if (!strip || !carriesSlopes(*strip->trace)) return {};
  const CScreenTrace& screen = screenTrace(*strip->trace);
  return {true, timeAtWindow(at.x), screen.valueAt(content.y, strip->plot), kReach * secondsPerColumn,
          kReach * screen.FS / std::max(1, strip->plot.height())};
}

void ZlineScanBaseView::mouseDown(const MouseEvent& event) {
  const Place place = event.button == MouseButton::Left ? placeAt(event.at) : Place{};
  if (!place.known) return ZchartView::mouseDown(event);
  before = scan.slopes();
  dragging = event.control ? scan.beginSlope(place.time, place.value)
                           : scan.takeSlopeEnd(place.time, place.value, place.timeReach, place.valueReach);
  if (!dragging) return ZchartView::mouseDown(event);
  const Slope& slope = scan.slopes()[static_cast<size_t>(scan.selectedslope)];
  grabbedTime = slope.t0 - place.time;
  grabbedValue = slope.y0 - place.value;
  site().setFocus();
  site().captureMouse(true);
  redraw();
}

void ZlineScanBaseView::moveEnd(Point at) {
  const Place place = placeAt(at);
  if (!place.known) return;
  scan.moveSlopeEnd(place.time + grabbedTime, place.value + grabbedValue);
}

void ZlineScanBaseView::mouseMove(const MouseEvent& event) {
  if (!dragging) return ZchartView::mouseMove(event);
  moveEnd(event.at);
}

void ZlineScanBaseView::mouseUp(const MouseEvent& event) {
  if (!dragging) return ZchartView::mouseUp(event);
  moveEnd(event.at);
  dragging = false;
  site().captureMouse(false);
  scan.endSlope(std::move(before));
  before.clear();
}

std::vector<StatusPane> ZlineScanBaseView::panes() const {
  std::vector<StatusPane> texts = ZchartView::panes();
  const std::vector<Slope>& slopes = scan.slopes();
  std::string words;
  if (hasSlope()) {
    const Slope& slope = slopes[static_cast<size_t>(scan.selectedslope)];
    words =
        format("slope %i: %.2f %s", scan.selectedslope + 1, slope.velocity(), scan.velocityUnits().c_str());
  }
  texts.push_back({"velocity", words});
  return texts;
}

bool ZlineScanBaseView::hasSlope() const {
  return scan.selectedslope >= 0 && scan.selectedslope < static_cast<int32_t>(scan.slopes().size());
}

void ZlineScanBaseView::deleteSlope() {
  if (!hasSlope()) return remove();
  std::vector<Slope> left = scan.slopes();
  left.erase(left.begin() + scan.selectedslope);
  scan.setSlopes(std::move(left));
}

// --- other scans

void ZlineScanBaseView::setAsLinescan() {
  auto* rows = dynamic_cast<C2DTrace*>(active());
  if (!rows || !rows->width()) return;
  int32_t width = scan.velocity.linesperpoint;
  Form form("Set trace as linescan");
  form.add("Line width", width, {1, static_cast<double>(rows->width()), {}});
  if (!asked(form) || active() != rows) return;
  scan.setAsScan(*rows, width);
}

void ZlineScanBaseView::velocityResult() {
  const ZZTrace* cbv = scan.traceSet().cbv;
  if (!cbv) return;
  const auto range = rangeIn(*cbv);
  if (!range) return scan.report("The selection holds no rows.");
  scan.addVelocityResult(range->from, range->to);
}

StepResult ZlineScanBaseView::tell(const std::string& what) {
  const ZZTrace* cbv = what == "velocity" ? scan.traceSet().cbv : nullptr;
  if (!cbv) return ZchartView::tell(what);
  const auto range = rangeIn(*cbv);
  return range ? scan.tellVelocity(range->from, range->to)
               : StepResult::failure("the selection holds no rows");
}

void ZlineScanBaseView::interpolate() {
  auto* rows = dynamic_cast<C2DTrace*>(active());
  if (!rows) return;
  int32_t size = 2048;
  Form form("Interpolate");
  form.add("Enter new size", size, {1, UINT16_MAX, {}}).withUnit("points a row");
  if (!asked(form) || active() != rows) return;
  const WaitScope wait;
  const LinescanTraces set = scan.traceSet();
  if (rows == set.scan || rows == set.scan2D) return scan.interpolateScan(static_cast<uint16_t>(size));
  ZchartDoc::Change change(scan);
  if (change.altering(*rows)) rows->setrowwidth(static_cast<uint16_t>(size));
}

}  // namespace tarnvisor
