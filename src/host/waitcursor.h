// The port for the wait cursor of an operation that runs to its end in one go.
#pragma once

namespace tarnvisor {

class WaitCursor {
 public:
  virtual ~WaitCursor() = default;
  virtual void begin() = 0;
  virtual void end() = 0;
};

}  // namespace tarnvisor
