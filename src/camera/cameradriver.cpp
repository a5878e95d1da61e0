#include "camera/cameradriver.h"

#include <array>

namespace tarnvisor {

const char* nameOf(CameraRole role) {
  static constexpr std::array<const char*, kCameraRoles> kNames{
      "binning",      "software trigger", "pixel clock", "frame rate",        "exposure",      "strobe",
      "strobe start", "strobe end",       "gain",        "mirror left-right", "mirror up-down"};
  return kNames[static_cast<size_t>(role)];
}

}  // namespace tarnvisor
