#include "araviscamera.h"
#include "camera/cameradriver.h"
#include "camera/simulatedcamera.h"

namespace tarnvisor {

std::vector<CameraChoice> findCameras() {
  std::vector<CameraChoice> all = findAravisCameras();
  all.push_back({kSimulatedCamera, "Simulated finger"});
  return all;
}

std::unique_ptr<CameraDriver> openCamera(const std::string& id, std::string& why) {
  if (id == kSimulatedCamera) return openSimulatedCamera();
  return openAravisCamera(id, why);
}

}  // namespace tarnvisor
