// A camera behind the frame grabber: what it can be asked to do, by role, and how its frames come. A backend
// implements this for one kind of cameras; the grabber is the only one who calls it.
//
// Threads: a driver has a thread of its own, which fills blocks and hands them over. All calls come from the
// thread that opened it, but for requeue(), which may come from any.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/geometry.h"
#include "base/outcome.h"

namespace tarnvisor {

enum class CameraRole {
  Binning,          // 1, or 2: two by two sensor pixels make one
  SoftwareTrigger,  // 1: frames are fired by the host; 0: the camera runs freely
  PixelClock,       // MHz
  FrameRate,        // frames a second
  Exposure,         // microseconds
  Strobe,           // 1: the light flashes with each frame
  StrobeStart,      // microseconds from the beginning of the exposure
  StrobeEnd,        // microseconds from the end of the exposure, negative before it
  Gain,             // factor
  MirrorLeftRight,  // 1: mirrored
  MirrorUpDown
};
inline constexpr size_t kCameraRoles = 11;
const char* nameOf(CameraRole role);  // "exposure"...

struct CameraRange {
  double low = 0, high = 0;
  double step = 0;  // 0: any value between
};

// What identifies a camera; the texts may be of any length.
struct CameraInfo {
  std::string id;  // as findCameras() and openCamera() have it
  std::string vendor, model, serial;
};

// A block that was filled. It is the receiver's until it goes back by requeue().
struct CameraFrame {
  uint8_t* block = nullptr;  // as announced; pixels begin here: grey, 8 bits, rows from the top
  int32_t width = 0, height = 0;
  int32_t stride = 0;    // bytes a row
  int64_t counter = -1;  // the camera's: a gap tells of frames that never came; -1 where it counts none
  double seconds = 0;    // when it arrived, by steadySeconds()
};

class FrameReceiver {
 public:
  virtual ~FrameReceiver() = default;
  // Both on the driver's thread, and never after stop() returned.
  virtual void take(const CameraFrame& frame) = 0;
  // No more frames will come; the driver is still to be stopped. Once at most after each start.
  virtual void lost(const std::string& why) = 0;
};

class CameraDriver {
 public:
  // Stops, forgets all blocks and lets go of the camera, without keeping the caller waiting for one that is
  // gone.
  virtual ~CameraDriver() = default;

  virtual CameraInfo info() const = 0;
  // Nothing for a role that the camera does not have. The step of whole or switched values is 1.
  virtual std::optional<CameraRange> range(CameraRole role) = 0;
  // As the camera tells it; nothing for a role it does not have, or when it does not answer.
  virtual std::optional<double> value(CameraRole role) = 0;
  // The camera takes the nearest that it can. Binning, and an area, only while it is stopped.
  virtual Outcome set(CameraRole role, double value) = 0;

  // The whole sensor at the present binning, and the part of it that frames show.
  virtual Size sensor() const = 0;
  virtual Rect area() const = 0;
  virtual Outcome setArea(const Rect& area) = 0;

  // How many blocks it needs at least, of how many bytes for the present area.
  virtual int32_t bufferCount() const = 0;
  virtual int64_t bufferSize() const = 0;
  // Blocks are the caller's memory and outlive their being announced. They wait to be filled from then on.
  virtual Outcome announce(uint8_t* block, int64_t bytes) = 0;
  virtual void revokeAll() = 0;  // only while stopped
  virtual void requeue(uint8_t* block) = 0;

  virtual Outcome start(FrameReceiver& receiver) = 0;
  // take() runs no more when it returns, and all announced blocks wait to be filled.
  virtual void stop() = 0;
};

struct CameraChoice {
  std::string id;     // what is kept in the settings
  std::string words;  // what people choose from
};
inline constexpr const char* kSimulatedCamera = "simulated";

// The cameras that are there now, the simulated one last. Takes a second: it asks the network.
std::vector<CameraChoice> findCameras();
// By its id; with an empty one the first real camera that is there. Null, and why in words, when there is
// none.
std::unique_ptr<CameraDriver> openCamera(const std::string& id, std::string& why);

}  // namespace tarnvisor
