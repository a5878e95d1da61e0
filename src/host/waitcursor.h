// The port for an operation that runs to its end in one go: the wait cursor, and, where it takes long, how
// far it is and a way to stop it.
#pragma once

#include <cstdint>
#include <string>

namespace tarnvisor {

class WaitCursor {
 public:
  virtual ~WaitCursor() = default;
  virtual void begin() = 0;
  virtual void end() = 0;
  // Between begin and end, as often as the operation has something to tell. False when the user wants it to
  // stop.
  virtual bool progress(const std::string& /*what*/, int64_t /*done*/, int64_t /*total*/) { return true; }
};

}  // namespace tarnvisor
