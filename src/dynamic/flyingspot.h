// The window "Flying Spot": a velocity that the user sets, image by image, so that a spot along the selected
// line goes with the blood.
#pragma once

#include <cstdint>
#include <memory>

#include "dynamic/vivocapdoc.h"
#include "host/form.h"

namespace tarnvisor {

class FlyingSpot {
 public:
  explicit FlyingSpot(CVivoCapDoc& measured) : doc(measured) {}
  ~FlyingSpot() { storePlace(); }
  FlyingSpot(const FlyingSpot&) = delete;
  FlyingSpot& operator=(const FlyingSpot&) = delete;

  bool isOn() const { return window && window->isOpen(); }
  void toggle();
  // Another image is shown; line: the one that is selected, or null.
  void moved(int32_t images, const CDim* line);
  // Where the spot is on the line.
  Point placeOn(const CDim& line) const;

 private:
  void open();
  void storePlace() const;
  CVivoCapDoc& doc;
  std::unique_ptr<OpenForm> window;
  int32_t velocity = 0, takesLine = 0, records = 0;
  double distance = 0;  // of the spot from the line's beginning, in units
};

}  // namespace tarnvisor
