// What takes pictures one after the other into a file.
#pragma once

#include <cstdint>
#include <string>

namespace tarnvisor {

class FrameSink {
 public:
  FrameSink() = default;
  virtual ~FrameSink() = default;
  FrameSink(const FrameSink&) = delete;
  FrameSink& operator=(const FrameSink&) = delete;

  // One picture, top row first, rows `stride` bytes apart. False when it could not be taken.
  [[nodiscard]] virtual bool write(const uint8_t* rows, int32_t stride) = 0;
  virtual bool failed() const = 0;             // a write to the file failed
  virtual const std::string& why() const = 0;  // the first failure in words; empty while there is none
  // Ends the file; false when it is not whole. A second call gives the same answer.
  virtual bool close() = 0;
};

}  // namespace tarnvisor
