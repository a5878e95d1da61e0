// Image markers reach the main window of this user's running program, be it this process or another.
#pragma once

#include "charts/marker.h"

namespace tarnvisor {

class InstanceMarkerLink final : public MarkerLink {
 public:
  bool freezeSave(const std::string& path) override;
  bool autoLoad(const std::string& path) override;
};

}  // namespace tarnvisor
