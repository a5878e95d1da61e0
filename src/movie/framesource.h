// What a movie records from: the camera, or a scripted source in its place. It adds each frame to the movie
// that it was given as its target.
#pragma once

#include <cstdint>

#include "base/geometry.h"

namespace tarnvisor {

class CZZMovie;

class FrameSource {
 public:
  virtual ~FrameSource() = default;
  virtual int32_t colourset() const = 0;
  virtual double rate() const = 0;         // frames a second
  virtual bool isProgressive() const = 0;  // false: each frame is two fields
  // The window of the sensor that goes into the movie, which takes it until told otherwise. Null ends it.
  virtual void setTarget(CZZMovie* movie, const Rect& window) = 0;
};

}  // namespace tarnvisor
