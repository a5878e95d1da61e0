#include "charts/markerlink.h"

#include "app/instancelink.h"

namespace tarnvisor {

bool InstanceMarkerLink::freezeSave(const std::string& path) {
  return sendToInstance(kInstanceClass, InstanceMessage::FreezeSave, path);
}

bool InstanceMarkerLink::autoLoad(const std::string& path) {
  return sendToInstance(kInstanceClass, InstanceMessage::AutoLoad, path);
}

}  // namespace tarnvisor
