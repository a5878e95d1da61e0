// Image markers reach the main window of this user's running program, be it this process or another.
#pragma once

#include "measure/marker.h"

namespace tarnvisor {

// The link of the process as long as it lives.
class InstanceMarkerLink final : public MarkerLink {
 public:
  InstanceMarkerLink() : before(setMarkerLink(this)) {}
  InstanceMarkerLink(const InstanceMarkerLink&) = delete;
  InstanceMarkerLink& operator=(const InstanceMarkerLink&) = delete;
  ~InstanceMarkerLink() override { (void)setMarkerLink(before); }
  bool freezeSave(const std::string& path) override;
  bool autoLoad(const std::string& path) override;

 private:
  MarkerLink* before;
};

}  // namespace tarnvisor
