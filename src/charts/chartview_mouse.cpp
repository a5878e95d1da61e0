// What mouse and keys do on a chart.
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "charts/chartview.h"
#include "charts/livechartdoc.h"

namespace tarnvisor {

namespace {
constexpr int32_t kDragDistance = 3;
constexpr double kZoomStep = 1.25;
}  // namespace

void ZchartView::cursorMoved() {
  if (C2DTrace* rows = rowsOf(active())) refreshRowProfile(*this, *rows);
}

MarkerPlacement* ZchartView::markerAt(Point at) {
  const Rect plot = plotArea();
  std::vector<Strip> all = strips(plot);
  const int32_t bottom = all.empty() ? plot.bottom : all.back().plot.bottom - scrollPosition().y;
  return placements.hit(at, {plot.left, std::min(plot.bottom, bottom)});
}

void ZchartView::point(Point at) {
  mouse = at;
  if (plotArea().contains(at)) cursor = timeAtWindow(at.x);
  cursorMoved();
  site().panesChanged();
}

void ZchartView::mouseDown(const MouseEvent& event) {
  point(event.at);
  if (event.button != MouseButton::Left) return;
  site().setFocus();
  for (const auto& [key, placement] : placements.all())
    if (placement.selected) placements.find(*placement.marker)->selected = false;
  pressedAt = event.at;
  gripped = nullptr;
  if (MarkerPlacement* placement = markerAt(event.at)) {
    placement->selected = true;
    gripped = placement->marker;
    beforeDrag = doc.markers.clones();
    grip = Grip::Marker;
  } else {
    std::vector<Strip> all = strips(plotArea());
    const Point content = event.at + Point{0, scrollPosition().y};
    if (const Strip* strip = stripAt(content, all)) setActive(strip->trace);
    // While data comes in the time under the mouse moves on.
    grip = plotArea().contains(event.at) && !doc.running ? Grip::Select : Grip::None;
    if (grip == Grip::Select && !event.shift) select(cursor, cursor);
  }
  if (grip != Grip::None) site().captureMouse(true);
  cursorMoved();  // the active trace may be another one
  redraw();
}

void ZchartView::mouseMove(const MouseEvent& event) {
  point(event.at);
  const bool far = std::abs(event.at.x - pressedAt.x) >= kDragDistance;
  const Rect plot = plotArea();
  const auto within = [&](int32_t x) { return timeAtWindow(std::clamp(x, plot.left, plot.right)); };
  if (grip == Grip::Select && far) {
    select(within(pressedAt.x), within(event.at.x));
  } else if (grip == Grip::Marker && far && gripped && placements.find(*gripped)) {
    gripped->time = std::max(0.0, within(event.at.x));
    doc.setModified();
    doc.updateAllViews();
  }
}

void ZchartView::mouseUp(const MouseEvent& event) {
  if (grip == Grip::None || event.button != MouseButton::Left) return;
  mouseMove(event);
  if (grip == Grip::Marker) ZchartDoc::Change(doc).changedMarkers(std::move(beforeDrag));
  grip = Grip::None;
  gripped = nullptr;
  site().captureMouse(false);
}

void ZchartView::mouseDouble(const MouseEvent& event) {
  if (MarkerPlacement* placement = markerAt(event.at)) {
    placement->selected = true;
    placement->marker->Open();
    editMarker();
    return;
  }
  mouseDown(event);
}

void ZchartView::wheel(const WheelEvent& event) {
  if (event.control) return zoomTime(std::pow(kZoomStep, -event.steps), timeAtWindow(event.at.x));
  std::vector<Strip> all = strips(plotArea());
  const Point content = event.at + Point{0, scrollPosition().y};
  if (event.shift) {
    if (const Strip* strip = stripAt(content, all)) {
      CScreenTrace& screen = screenTrace(*strip->trace);
      screen.scaleAbout(screen.valueAt(content.y, strip->plot), std::pow(kZoomStep, -event.steps));
      redraw();
    }
    return;
  }
  // Strips that don't fit are scrolled through first; time otherwise.
  const bool upright =
      contentSize().height > windowSize().height && contentSize().width <= windowSize().width;
  CView::wheel({event.at, event.steps, !upright, false});
}

bool ZchartView::keyDown(const KeyEvent& event) {
  const int32_t page = std::max(1, plotArea().width() * 3 / 4);
  const auto across = [this](int32_t distance) {
    scrollTo({scrollPosition().x + distance, scrollPosition().y});
    return true;
  };
  ZZTrace* trace = active();
  const auto values = [&](double share) {
    if (!trace) return false;
    CScreenTrace& screen = screenTrace(*trace);
    screen.OS += screen.FS * share;
    redraw();
    return true;
  };
  switch (event.key) {
    case Key::Plus:
    case Key::Minus: {
      const double factor = event.key == Key::Plus ? 1 / kZoomStep : kZoomStep;
      if (event.control)
        zoomValue(factor);
      else
        zoomTime(factor, timeAtWindow((plotArea().left + plotArea().right) / 2));
      return true;
    }
    case Key::PageUp:
      return across(-page);
    case Key::PageDown:
      return across(page);
    case Key::Home:
      return across(-scrollPosition().x);
    case Key::End:
      return across(contentSize().width);
    case Key::Up:
      return event.control ? values(1.0 / 16) : CView::keyDown(event);
    case Key::Down:
      return event.control ? values(-1.0 / 16) : CView::keyDown(event);
    case Key::Escape:
      select(0.0, 0.0);
      return true;
    default:
      return CView::keyDown(event);
  }
}

}  // namespace tarnvisor
