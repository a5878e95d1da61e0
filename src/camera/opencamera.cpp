#include "camera/cameradriver.h"
#include "camera/simulatedcamera.h"

namespace tarnvisor {

std::vector<CameraChoice> findCameras() { return {{kSimulatedCamera, "Simulated finger"}}; }

std::unique_ptr<CameraDriver> openCamera(const std::string& id, std::string& why) {
  if (id == kSimulatedCamera) return openSimulatedCamera();
  why = "No camera is there.";
  return nullptr;
}

}  // namespace tarnvisor
