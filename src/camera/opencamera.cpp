#include "araviscamera.h"
#include "camera/cameradriver.h"

namespace tarnvisor {

std::vector<CameraChoice> findCameras() { return findAravisCameras(); }

std::unique_ptr<CameraDriver> openCamera(const std::string& id, std::string& why) {
  return openAravisCamera(id, why);
}

}  // namespace tarnvisor
