#include "dynamic/flyingspot.h"

#include <algorithm>
#include <cmath>

#include "base/numbers.h"
#include "host/host.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr const char* kSection = "fspotdlg";
constexpr int32_t kFastest = 5000;  // units a second

}  // namespace

void FlyingSpot::toggle() {
  if (isOn()) {
    storePlace();
    window.reset();
  } else {
    open();
  }
  host().windows.refreshBars();
}

void FlyingSpot::open() {
  doc.prepareSpotVelocities();
  distance = 0;
  Form form("Flying Spot");
  form.addSlider("FS", velocity, -kFastest, kFastest)
      .addNote("in " + doc.unitName() + "/s; a spot goes along the selected line")
      .addCheck("take the length of the selected line", takesLine)
      .addCheck("record", records);
  FormEvents events{
      .onClose =
          [this] {
            storePlace();
            host().windows.refreshBars();
            doc.updateAllViews(CView::Change::Marks);  // the spot goes
          },
      .place = Point{settings.getInt(kSection, "left", 500), settings.getInt(kSection, "top", 100)}};
  window = host().forms.show(std::move(form), std::move(events));
}

void FlyingSpot::storePlace() const {
  if (!window) return;
  settings.setInt(kSection, "left", window->place().x);
  settings.setInt(kSection, "top", window->place().y);
}

void FlyingSpot::moved(int32_t images, const CDim* line) {
  if (!isOn()) return;
  distance += velocity * images / doc.imagesPerSecond();
  const int32_t before = velocity;
  if (takesLine && line)
    velocity = std::clamp(truncated(line->Length(doc.scale().x, doc.scale().y)), -kFastest, kFastest);
  const auto at = static_cast<size_t>(doc.currentIndex());
  if (at < doc.spotVelocities.size()) {
    double& stored = doc.spotVelocities[at];
    if (!records) {
      velocity = std::clamp(truncated(stored), -kFastest, kFastest);
    } else if (stored != velocity) {
      stored = velocity;
      doc.setModified();
    }
  }
  if (velocity != before) window->refresh();
}

// From the end it begins anew.
Point FlyingSpot::placeOn(const CDim& line) const {
  const Scale scale = doc.scale();
  const double length = line.Length(scale.x, scale.y);
  double left = length > 0 ? distance - length * std::floor(distance / length) : 0;
  for (int32_t i = 1; i < line.pointCount(); ++i) {
    const double part = line.Distance(i - 1, i, scale.x, scale.y);
    if (left <= part && part > 0) {
      const Point a = line.points[static_cast<size_t>(i) - 1], b = line.points[static_cast<size_t>(i)];
      return {truncated(a.x + left / part * (b.x - a.x)), truncated(a.y + left / part * (b.y - a.y))};
    }
    left -= part;
  }
  return line.points.empty() ? Point{} : line.points.back();
}

}  // namespace tarnvisor
