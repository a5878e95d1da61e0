// Cameras of the USB3 Vision and GigE Vision kind, by the features that their standards name.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "camera/cameradriver.h"

namespace tarnvisor {

// Empty where there is no network and no bus, or no right to look. Takes a second.
std::vector<CameraChoice> findAravisCameras();
// As openCamera() has it. The camera begins in a known state: it runs freely, shows the whole sensor without
// binning, and sets nothing by itself. A change of binning shows the whole sensor again.
std::unique_ptr<CameraDriver> openAravisCamera(const std::string& id, std::string& why);

}  // namespace tarnvisor
