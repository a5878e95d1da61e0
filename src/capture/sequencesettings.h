// How a sequence is recorded, and the dialog "Image Sequence Settings".
#pragma once

#include <cstdint>
#include <string>

#include "base/geometry.h"

namespace tarnvisor {

// Section "Dynamic settings", and "directories" for the names.
struct SequenceSettings {
  int32_t frames = 1800;
  int32_t skip = 0;  // frames left out between two
  int32_t loop = 1;  // the newest frames are kept until it is stopped
  int32_t toDisc = 1;
  int32_t compress = 0;
  std::string baseName;
  std::string folder;

  void load();
  void store() const;
  // Bytes of all frames, and a second; seconds from the first to the last.
  double bytes(Size frame) const { return static_cast<double>(frames) * frame.width * frame.height; }
  double seconds(double framesPerSecond) const { return frames * (skip + 1.0) / framesPerSecond; }
  double bytesPerSecond(Size frame, double framesPerSecond) const {
    return frame.width * static_cast<double>(frame.height) * framesPerSecond / (skip + 1.0);
  }
};

// True when the user accepted; what a recording of that source would need is told.
[[nodiscard]] bool askSequenceSettings(SequenceSettings& sequence, const Rect& source,
                                       double framesPerSecond);

}  // namespace tarnvisor
