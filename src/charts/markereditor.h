// The window "Edit Marker": one for the whole program, linked to the marker that it shows. It stays open
// beside the charts, and where it was moved to. It closes when that marker goes, by itself or with its list.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "charts/marker.h"
#include "host/form.h"

namespace tarnvisor {

class MarkerEditor final : public MarkerWatcher {
 public:
  static constexpr const char* kTitle = "Edit Marker";
  static MarkerEditor& shared();

  void open(CMarker& marker);  // shows this marker instead of any other
  void close();                // changes of the fields are dropped
  bool isOpen() const { return shown != nullptr; }
  CMarker* marker() const { return shown; }
  // The fields go to the marker. A new label sets the box's width; a width or height that was changed here
  // replaces the old one after that. Then the fields show what the marker has.
  void update();
  void markerGone(const CMarker& marker) override;

  std::string text;
  std::string label;
  int32_t width = 0;  // 0 to 65535 each; other values are clipped
  int32_t height = 0;
  int32_t pole = 0;

  // Does the update; for the chart that shows the marker.
  std::function<void(const std::function<void()>& update)> onUpdate;

 private:
  void takeFields();
  void giveFields();
  Form form();
  void openWindow();
  void closeWindow();
  CMarker* shown = nullptr;  // borrowed
  std::unique_ptr<OpenForm> window;
  std::optional<Point> place;  // of the last window
};

}  // namespace tarnvisor
