// What a camera can be asked to do, by role, over its features. The strobe is an output line that is high
// during the exposure or, where the camera has timers, while a timer runs that starts with the exposure.
#pragma once

#include <optional>
#include <string>

#include "aravisfeatures.h"
#include "base/geometry.h"
#include "camera/cameradriver.h"

namespace tarnvisor {

class AravisRoles {
 public:
  // The features are borrowed. They are settled first: see openAravisCamera().
  explicit AravisRoles(AravisFeatures& features);

  std::optional<CameraRange> range(CameraRole role);
  std::optional<double> value(CameraRole role);
  Outcome set(CameraRole role, double value);

  Size sensor();
  Rect area();
  Outcome setArea(const Rect& area);

  // From one frame to the next, as the camera is set now.
  double frameSeconds();

 private:
  // A role that is one feature, in a unit of its own.
  struct Plain {
    const char* feature = nullptr;
    double (*toRole)(double) = nullptr;  // null: they agree
    double (*toFeature)(double) = nullptr;
  };
  Plain plain(CameraRole role) const;
  void findStrobe();
  std::string strobeSource() const;
  double exposure();
  Outcome setBinning(double factor);
  Outcome setTrigger(bool software);
  Outcome setStrobe(bool on);
  Outcome setStrobeStart(double start);
  Outcome setStrobeEnd(double end);
  Outcome setExposure(double exposure);

  AravisFeatures& features;
  Plain clock, frameRate, exposureTime, gain, mirrorLeftRight, mirrorUpDown;
  std::string line, timer;  // of the strobe; empty: none
};

// The 8-bit grey format is chosen, the whole sensor shown without binning, and nothing left that the camera
// does by itself.
Outcome settle(AravisFeatures& features);

}  // namespace tarnvisor
